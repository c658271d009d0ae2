#pragma once

#include "bridge/bridgestats.h"
#include "bridge/portendpoint.h"
#include "connections/readhold.h"

#include <QByteArrayView>
#include <QString>
#include <functional>
#include <memory>

// One end of a bridge: the port and the protocol that is spoken over it. Plain here: payload is
// what the port received, and is written as it is.
//
// Data flow. From the port: receive() -> Deliver, with payload only. To the port: write() with
// payload. What the protocol has to say for itself goes to the port directly.
//
// Time: milliseconds of the bridge's clock; nextTimeoutMs() says when to call tick(). Owned by the
// bridge link, as the other end is; the endpoint outlives it.
class BridgeEnd
{
    Q_DISABLE_COPY_MOVE(BridgeEnd)

public:
    // Payload that the peer sent.
    using Deliver =
        std::function<void(const QByteArray& payload, const QString& peer, qint64 nowMs)>;

    BridgeEnd(PortEndpoint& endpoint, UdpTargetMode udpTarget);
    virtual ~BridgeEnd();

    void setDeliver(Deliver deliver) { m_deliver = std::move(deliver); }
    [[nodiscard]] PortEndpoint& endpoint() const { return m_endpoint; }

    virtual void receive(const QByteArray& bytes, const QString& peer, qint64 nowMs);
    // Payload for one peer, or for whom the kind of port means.
    virtual BridgeWrite write(QByteArrayView payload, const QString& peer);
    // The port is open, and payload can be sent by the protocol.
    [[nodiscard]] virtual bool isWritable() const { return m_endpoint.isOpen(); }

    virtual void opened(qint64 nowMs);
    virtual void closed(qint64 nowMs);
    virtual void peerArrived(const QString& peer, qint64 nowMs);
    virtual void peerLost(const QString& peer, qint64 nowMs);
    virtual void tick(qint64 nowMs);
    // Milliseconds, -1 for never.
    [[nodiscard]] virtual int nextTimeoutMs(qint64 nowMs) const;

    // Reading of the port stops while it is held.
    void hold(bool on);

protected:
    void deliver(const QByteArray& payload, const QString& peer, qint64 nowMs);

private:
    PortEndpoint& m_endpoint;
    const UdpTargetMode m_udpTarget;
    QString m_lastSender; // of a UDP port
    Deliver m_deliver;
    ReadHold m_hold;
};

// What the other end looks like to an RFC 2217 end: the port whose parameters and lines are meant.
struct OtherEnd
{
    PortEndpoint* endpoint = nullptr;
    // What became of the payload that was received here.
    std::function<BridgeCounters()> received;
    // Drops what waits on its way there, or on its way here.
    std::function<void(bool there)> discard;
};
