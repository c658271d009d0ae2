#pragma once

#include "connections/fanoutmode.h"
#include "connections/peerallowlist.h"

#include <QHash>
#include <QTcpServer>
#include <QTimer>
#include <memory>
#include <vector>

class LingeringSocket;
class ServerClient;

// A TCP server for any number of clients on one port.
//
// Data flow: accepted socket -> queue of its ServerClient -> newMessage(key) -> takeMessage(key).
// Sent bytes go to one client or to all. A client is known by its peer key ("address:port") from
// clientArrived to clientGone, also when its socket has forgotten the address. Each client's
// bounds are ServerClient's: one that floods is read no faster than it is taken from, one that
// does not read is disconnected, and neither is felt by another.
//
// While reads are throttled nothing is read, and a client that leaves is reported gone only when
// its last bytes could be handed over. Owned by the ConnectionController.
//
// Any slot may stop the server. One that hears of an arrival or a refusal may delete it as well;
// the other signals come out of a client's socket, which must not be deleted meanwhile.
class MultiClientServer final : public QTcpServer
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MultiClientServer)

public:
    // Clients that reconnect all at once wait in the system's queue, not for its next SYN.
    static constexpr int kListenBacklog = 256;
    // How long a client that closed may take to receive what is on its way to it.
    static constexpr int kLingerMs = 5000;
    // The same after stop(), of every client.
    static constexpr int kStopLingerMs = 2000;
    // When accepting failed (no descriptors left), the time until it is tried again.
    static constexpr int kAcceptRetryMs = 1000;
    // What clients that left while reads were throttled may leave to be read, beside their queues,
    // and how many there may be before no further ones are accepted.
    static constexpr qsizetype kMaxDepartedBytes = qsizetype{64} * 1024 * 1024;
    static constexpr int kMaxDepartedClients = 256;

    explicit MultiClientServer(QObject* parent = nullptr);
    ~MultiClientServer() override;

    // Listens; port 0 lets the system choose. False, with errorString(), when that fails.
    bool start(quint16 port, const QHostAddress& address);
    // Listens no more and closes every client. What they sent is offered before; what is on its way
    // to them goes on leaving for kStopLingerMs. Listening anew ends that at once.
    void stop();
    // Clients that stop() has closed are still being sent to.
    [[nodiscard]] bool isLingering() const { return !m_lingering.empty(); }

    // Both are for clients that come from now on; those that are connected stay.
    void setFanoutMode(FanoutMode mode) { m_fanout = mode; }
    void setAllowedPeers(const QList<QString>& entries);
    // Released, newMessage follows at once for every client that has something.
    void setReadThrottled(bool on);
    // Low delay for every client, now and later.
    void setBridgeSocketTuning(bool on);

    // To every connected client. The size of the data when at least one took it, otherwise 0.
    qint64 broadcast(const QByteArray& data);
    // False for no data, an unknown key, or a client that is not connected any more.
    bool writeTo(const QString& peerKey, const QByteArray& data);
    // What the client sent since the last call; empty for an unknown key.
    QByteArray takeMessage(const QString& peerKey);
    // Ends the connection of one client once what is on its way to it has left.
    void disconnectClient(const QString& peerKey);

    // In the order of arrival.
    [[nodiscard]] QStringList clientKeys() const;
    [[nodiscard]] int clientCount() const { return static_cast<int>(m_clients.size()); }
    // The first connected client, or null.
    [[nodiscard]] QTcpSocket* exclusiveOwner() const;
    // From the socket's address as it is now, and from the time it was accepted (empty when it is
    // no client).
    [[nodiscard]] static QString peerKeyFor(const QTcpSocket* socket);
    [[nodiscard]] QString rememberedKeyFor(const QTcpSocket* socket) const;
    // What was written to the client and has not left this machine; also of one that lingers.
    [[nodiscard]] qint64 pendingWriteBytes(const QString& peerKey) const;
    // For a sender to all that paces itself: the most that waits for any client that reads. One
    // that is deaf (ServerClient::deafMs) slows nobody down; one that is slow does, and is not cut
    // off for it.
    [[nodiscard]] qint64 pendingWriteBytes() const;
    [[nodiscard]] bool hasRoomFor(const QString& peerKey, qint64 bytes) const;
    // Tells of what has left by now.
    void pollOutput();

Q_SIGNALS:
    void connectionStateChange();
    void newMessage(const QString& peerKey);
    void clientArrived(const QString& peerKey);
    void clientGone(const QString& peerKey);
    // So many bytes have left this machine.
    void bytesWritten(qint64 bytes);
    // The same, with the client that they are for.
    void bytesWrittenTo(const QString& peerKey, qint64 bytes);
    void connectionRefused(const QString& peer, const QString& reason);
    // The client was disconnected because it does not read. Never out of a write.
    void clientStalled(const QString& peerKey, qint64 unsentBytes);
    // The client left, or was left: what it sent and nobody took, and what did not reach it. After
    // clientGone when it lingered.
    void bytesLost(const QString& peerKey, qint64 unreadBytes, qint64 unsentBytes);
    // The last client that stop() closed has everything, or its time is over.
    void lingered();
    // Connections cannot be accepted for now; said once until one was.
    void acceptFailed(const QString& reason);

private:
    void handleNewConnection();
    [[nodiscard]] QString refusalFor(const QHostAddress& address) const;
    void accept(QTcpSocket* socket);
    void wire(QTcpSocket* socket);
    void tune(QTcpSocket* socket) const;
    void onAcceptError();
    void regulateAccepting();
    void drainClient(const QString& key);
    void offer(const QString& key);
    void clientDisconnected(const QString& key);
    void retire(ServerClient& client);
    void letLinger(ServerClient& client);
    void onLingered(LingeringSocket* socket, const QString& key, qint64 unsentBytes);
    void seeToOutput(const QString& key);
    void handOver(const QString& key);
    void dropStalled(ServerClient& client);
    [[nodiscard]] ServerClient* find(const QString& peerKey) const;
    [[nodiscard]] qsizetype departedBytes() const;

    PeerAllowlist m_allowed;
    std::vector<std::unique_ptr<ServerClient>> m_clients; // in the order of arrival
    QHash<QString, ServerClient*> m_byKey;
    std::vector<std::unique_ptr<LingeringSocket>> m_lingering; // of the last stop()
    QTimer m_acceptRetry;
    QTimer m_poll;
    FanoutMode m_fanout = FanoutMode::Shared;
    bool m_readThrottled = false;
    bool m_bridgeTuning = false;
    bool m_acceptFailureTold = false;
};
