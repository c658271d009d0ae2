#pragma once

#include "connections/transport.h"
#include "connections/udppeertable.h"

#include <deque>
#include <memory>

class HostResolver;
class QUdpSocket;

// One bound UDP socket (IPv4) with the table of the peers it has heard from.
//
// A chunk is a datagram, and so is what is written at once. Without a peer a UDP server writes to
// whoever it heard last, the other modes to targetHost:targetPort. Datagrams for a host that is
// given by name wait, in order and bounded, while the name is looked up; everything else leaves at
// once. Received datagrams stay in the system's buffer until they are taken.
class UdpTransport final : public Transport
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(UdpTransport)

public:
    // In one turn of the event loop takeChunk() ends after either; readyRead() announces the rest.
    static constexpr int kMaxDatagramsPerTurn = 128;
    static constexpr qsizetype kMaxBytesPerTurn = qsizetype{1024} * 1024;
    // So many turns at once when it is closed; what has come then is not received.
    static constexpr int kMaxLastTurns = 16;
    // What may wait for names that are being looked up.
    static constexpr std::size_t kMaxWaitingDatagrams = 256;
    static constexpr qsizetype kMaxWaitingBytes = qsizetype{1024} * 1024;

    explicit UdpTransport(connectionMode mode);
    ~UdpTransport() override;

    [[nodiscard]] State state() const override;
    // Binds udpServerPort in the server mode and udpLocalPort in the others, on any IPv4 address,
    // shared with other programs that share it; 0 lets the system choose.
    bool open(const Settings& settings, OpenMode how) override;
    void close() override;
    // The target of the settings, for what is written from now on.
    void apply(const Settings& settings) override { m_settings = settings.sanitized(); }
    WriteResult write(const QByteArray& bytes, const QString& peer = {}) override;
    // Taken when the datagram left for one peer at least.
    WriteResult writeToAll(const QByteArray& bytes) override;
    // What waits for names; nobody's in particular.
    [[nodiscard]] qint64 pendingBytes(const QString& peer = {}) const override;
    [[nodiscard]] bool hasRoomFor(qint64 bytes, const QString& peer = {}) const override;
    bool takeChunk(Chunk& chunk) override;
    void discard(Purge which) override;
    [[nodiscard]] QStringList peers() const override;

    // 0 when not bound.
    [[nodiscard]] quint16 localPort() const;
    // `host` is an IPv4 address or a name. Taken when the datagram left or waits for its host; a
    // host that does not resolve is noticed.
    WriteResult sendTo(const QByteArray& bytes, const QString& host, quint16 port);
    WriteResult sendToRow(const QByteArray& bytes, int row);
    // One datagram for every peer in row order: the result of the last write, 0 with no peers.
    qint64 broadcast(const QByteArray& bytes);
    [[nodiscard]] const UdpPeerTable& peerTable() const { return m_peers; }
    void clearPeers();

protected:
    void setReadingHeld(bool held) override;

private:
    struct Waiting
    {
        QString host;
        quint16 port = 0;
        QByteArray data;
    };

    void announce();
    bool readDatagram(Chunk& chunk);
    void recordSender(const QHostAddress& address, quint16 port, const QByteArray& payload);
    std::deque<Waiting> takeWaiting(const QString& host);
    qint64 dropWaiting();
    WriteResult waitForHost(const QByteArray& bytes, const QString& host, quint16 port);
    void onResolved(const QString& host, const QHostAddress& address);
    void onUnresolved(const QString& host, const QString& reason);
    WriteResult writeTo(const QByteArray& bytes, const QHostAddress& address, quint16 port);
    [[nodiscard]] QString unsentText(qint64 bytes) const;

    QUdpSocket* m_socket = nullptr; // null when closed; deleted later
    std::unique_ptr<HostResolver> m_resolver;
    Settings m_settings;
    UdpPeerTable m_peers;
    std::deque<Waiting> m_waiting; // at most kMaxWaitingDatagrams and kMaxWaitingBytes
    qsizetype m_waitingBytes = 0;
    int m_datagramsLeft = 0; // to take in this turn of the event loop
    qsizetype m_bytesLeft = 0;
    bool m_tableFullReported = false;
    bool m_turnAsked = false;
    bool m_closing = false;
};
