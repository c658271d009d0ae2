#pragma once

#include "bridge/bridgeroute.h"
#include "bridge/engine/bridgearbiter.h"

// Clients that share a line on which one request at a time is answered: what the kinds of such
// routes have in common. One end has the clients, the other one the line.
class SharedLineRoute : public BridgeRoute
{
    Q_DISABLE_COPY_MOVE(SharedLineRoute)

public:
    SharedLineRoute(const Ends& ends, BridgeSide clients);
    ~SharedLineRoute() override;

    void drained(BridgeSide side, qint64 nowMs) final;
    void finish(qint64 nowMs) override;
    [[nodiscard]] BridgeCounters counters(BridgeSide from, qint64 nowMs) const override;
    void resetCounters() override;
    [[nodiscard]] QString lastRefusal() const final { return m_refusal; }
    [[nodiscard]] const Turns* turns() const final;

protected:
    [[nodiscard]] virtual const BridgeArbiter& arbiter() const = 0;
    // The request in flight has left the port of the line.
    virtual void requestLeft(qint64 nowMs) = 0;

    [[nodiscard]] bool isClients(BridgeSide side) const { return side == m_clients; }
    [[nodiscard]] BridgeEnd& clients() const { return end(m_clients); }
    [[nodiscard]] BridgeEnd& line() const { return end(otherSide(m_clients)); }
    // How the engines know a client: its key, or the port's number where there can be only one.
    [[nodiscard]] QString keyOf(const QString& peer) const;
    [[nodiscard]] QString peerOf(const QString& key) const;
    // False when the line takes nothing now.
    [[nodiscard]] bool writeToLine(const QByteArray& request, qint64 nowMs);
    void writeToClient(const QString& key, const QByteArray& answer);
    [[nodiscard]] bool isSending() const { return m_sending; }

    BridgeCounters m_toLine;
    BridgeCounters m_toClients;
    qint64 m_unanswered = 0;      // requests
    qint64 m_droppedRequests = 0; // the same

private:
    const BridgeSide m_clients;
    QString m_refusal;
    qint64 m_turnSinceMs = 0;
    bool m_sending = false; // the request in flight has not left yet
    mutable Turns m_turns;
};

// Clients of a TCP server that take turns: what the device sends belongs to whose turn it is. What
// it sends in nobody's turn, as an answer that is late, reaches nobody.
class TurnsRoute final : public SharedLineRoute
{
    Q_DISABLE_COPY_MOVE(TurnsRoute)

public:
    TurnsRoute(const Ends& ends, BridgeSide clients, const BridgeConfig& config);
    ~TurnsRoute() override;

    void received(
        BridgeSide side, const QByteArray& payload, const QString& peer, qint64 nowMs) override;
    void closed(BridgeSide side, qint64 nowMs) override;
    void peerLost(BridgeSide side, const QString& peer, qint64 nowMs) override;
    void tick(qint64 nowMs) override;
    [[nodiscard]] int nextTimeoutMs(qint64 nowMs) const override;
    [[nodiscard]] BridgeCounters counters(BridgeSide from, qint64 nowMs) const override;
    void drop(BridgeSide from, qint64 nowMs) override;

protected:
    [[nodiscard]] const BridgeArbiter& arbiter() const override { return m_arbiter; }
    void requestLeft(qint64 nowMs) override { m_arbiter.noteLeft(nowMs); }

private:
    void pump(qint64 nowMs);
    void answer(const QByteArray& bytes, qint64 nowMs);

    BridgeArbiter m_arbiter;
};
