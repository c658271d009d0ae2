#pragma once

#include "bridge/bridgeend.h"
#include "connections/rfc2217/rfc2217clientsession.h"
#include "connections/rfc2217/rfc2217serversession.h"

#include <map>
#include <optional>

// A TCP server whose clients set the parameters and lines of the serial port at the other end of
// the bridge (RFC 2217, the server's side), one session for each client.
//
// Order. What a client sends is taken apart where a command ends. A command waits until the data
// that the client sent before it has left the other port; data behind it waits for the command. So
// an edge of DTR comes between the same two bytes as at the client. Data that a blocked line does
// not let go (kStuckMs without a byte leaving) holds no command up, and neither does anything a
// purge, which is about that data.
//
// Memory: of each client at most one read beyond kMaxWaitingBytes; beyond that the server is not
// read until the commands have been done. Clients: those of the server.
class Rfc2217ServerEnd final : public BridgeEnd
{
    Q_DISABLE_COPY_MOVE(Rfc2217ServerEnd)

public:
    static constexpr qsizetype kMaxWaitingBytes = 65'536;
    static constexpr int kStuckMs = 1000;
    // While a client wants to hear of them, the inputs of the serial port are looked at so often.
    static constexpr int kModemPollMs = 100;
    // And so often it is looked whether what a command waits for has left.
    static constexpr int kDrainPollMs = 1;

    Rfc2217ServerEnd(PortEndpoint& endpoint, UdpTargetMode udpTarget, OtherEnd other);
    ~Rfc2217ServerEnd() override;

    void receive(const QByteArray& bytes, const QString& peer, qint64 nowMs) override;
    BridgeWrite write(QByteArrayView payload, const QString& peer) override;
    void opened(qint64 nowMs) override;
    void closed(qint64 nowMs) override;
    void peerArrived(const QString& peer, qint64 nowMs) override;
    void peerLost(const QString& peer, qint64 nowMs) override;
    void tick(qint64 nowMs) override;
    [[nodiscard]] int nextTimeoutMs(qint64 nowMs) const override;

private:
    using Outcome = Rfc2217ServerSession::Outcome;

    struct Client
    {
        Rfc2217ServerSession session;
        QByteArray waiting;             // not taken apart yet
        std::optional<Outcome> command; // waits for the data before it to leave
        std::optional<quint8> inputs;   // told last; bits of NOTIFY-MODEMSTATE
        bool wantsModemState = false;
        bool holdsBreak = false;
        bool isGone = false; // left while it was being served
    };

    void run(const QString& peer, Client& client, qint64 nowMs);
    [[nodiscard]] bool mayCommand(qint64 nowMs);
    void execute(const QString& peer, Client& client, const Outcome& outcome);
    void drive(Client& client, const Rfc2217ServerSession::ControlAction& action);
    void purge(quint8 which);
    [[nodiscard]] quint8 inputBits() const;
    void tellModemState(const QString& peer, Client& client);
    void say(const QString& peer, const QByteArray& bytes);
    void sweep();
    void regulate();
    [[nodiscard]] Settings lineSettings() const;

    OtherEnd m_other;
    std::map<QString, Client> m_clients; // by peer key
    qint64 m_pollAtMs = -1;              // of the inputs; -1 while nobody wants them
    qint64 m_leftBytes = 0;              // the other port, when it was looked at last
    qint64 m_movedMs = 0;                // when that became more; 0 while nothing is waited for
    ReadHold m_hold;                     // while commands hold up more than may wait
    bool m_running = false;
};

// A TCP client at whose far end a device server speaks RFC 2217 (the client's side): it is set to
// the parameters of the serial port at the other end of the bridge, or, without one, to those of
// this port's own record. Payload waits until the negotiation is over.
class Rfc2217ClientEnd final : public BridgeEnd
{
    Q_DISABLE_COPY_MOVE(Rfc2217ClientEnd)

public:
    Rfc2217ClientEnd(PortEndpoint& endpoint, UdpTargetMode udpTarget, PortEndpoint& other);
    ~Rfc2217ClientEnd() override;

    void receive(const QByteArray& bytes, const QString& peer, qint64 nowMs) override;
    BridgeWrite write(QByteArrayView payload, const QString& peer) override;
    [[nodiscard]] bool isWritable() const override;
    void opened(qint64 nowMs) override;
    void closed(qint64 nowMs) override;
    void tick(qint64 nowMs) override;
    [[nodiscard]] int nextTimeoutMs(qint64 nowMs) const override;

private:
    void take(const Rfc2217ClientSession::Outcome& outcome, const QString& peer, qint64 nowMs);
    void pushSettings();

    PortEndpoint& m_other;
    QObject m_context; // of what is heard from the other end
    Rfc2217ClientSession m_session;
    qint64 m_giveUpAtMs = -1; // the negotiation; -1 while there is none
};
