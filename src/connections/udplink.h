#pragma once

#include "connections/udppeertable.h"

#include <QObject>
#include <deque>
#include <memory>

class HostResolver;
class QUdpSocket;

// A received datagram and the key of its sender.
struct UdpDatagram
{
    QString peerKey;
    QByteArray payload;
};

// One bound UDP socket (IPv4) with the table of the peers it has heard from.
//
// Owned by the ConnectionController. A socket is replaced at each bind and kept, unbound, after a
// close. Datagrams for a host that is given by name wait, in order and bounded, while the name is
// looked up; everything else leaves at once. Received datagrams stay in the system's buffer until
// they are read.
class UdpLink final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(UdpLink)

public:
    // One call of readDatagrams() ends after either; `readyRead` announces the rest.
    static constexpr qsizetype maxDatagramsPerRead = 128;
    static constexpr qsizetype maxBytesPerRead = qsizetype{1024} * 1024;
    // What may wait for names that are being looked up.
    static constexpr std::size_t maxWaitingDatagrams = 256;
    static constexpr qsizetype maxWaitingBytes = qsizetype{1024} * 1024;

    explicit UdpLink(QObject* parent = nullptr);
    ~UdpLink() override;

    // Replaces the socket by one on any IPv4 address and `port`, shared with other programs that
    // share it; 0 lets the system choose.
    void bind(quint16 port);
    [[nodiscard]] bool isBound() const;
    // 0 when not bound.
    [[nodiscard]] quint16 localPort() const;
    void close();

    QList<UdpDatagram> readDatagrams();

    // `host` is an IPv4 address or a name. True when the datagram left or waits for its host;
    // a host that does not resolve is reported by errorOccurred.
    bool send(const QByteArray& data, const QString& host, quint16 port);
    bool sendToPeer(const QByteArray& data, int row);
    bool sendToPeerKey(const QString& key, const QByteArray& data);
    bool sendToLastSender(const QByteArray& data);
    // One datagram for every peer in row order: the result of the last write, 0 with no peers.
    qint64 broadcast(const QByteArray& data);
    // Bytes that wait for a name to be looked up.
    [[nodiscard]] qint64 pendingWriteBytes() const { return m_waitingBytes; }

    [[nodiscard]] const UdpPeerTable& peerTable() const { return m_peers; }
    void clearPeers();

Q_SIGNALS:
    void statusMessage(const QString& text, int timeoutMs);
    void errorOccurred(const QString& text);
    void readyRead();
    void peersChanged();
    void bytesWritten(qint64 bytes);
    // A datagram of so many bytes left for the peer.
    void bytesWrittenTo(const QString& peerKey, qint64 bytes);
    // The address was found, and nothing waits any more.
    void waitingLeft();
    // So many bytes that waited never left: their host was not found, or the socket closed.
    void waitingLost(qint64 bytes);
    // So many of those that left, as was told, were refused by the system.
    void unsent(qint64 bytes);

private:
    struct Waiting
    {
        QString host;
        quint16 port = 0;
        QByteArray data;
    };

    void discardSocket();
    void recordSender(
        const QHostAddress& address, quint16 port, const QByteArray& payload, const QDateTime& now);
    std::deque<Waiting> takeWaiting(const QString& host);
    void dropWaiting();
    void giveUp(qint64 bytes);
    bool waitForHost(const QByteArray& data, const QString& host, quint16 port);
    void onResolved(const QString& host, const QHostAddress& address);
    void onUnresolved(const QString& host, const QString& reason);
    qint64 write(const QByteArray& data, const QHostAddress& address, quint16 port);

    QUdpSocket* m_socket = nullptr; // a child
    std::unique_ptr<HostResolver> m_resolver;
    UdpPeerTable m_peers;
    std::deque<Waiting> m_waiting; // at most maxWaitingDatagrams and maxWaitingBytes
    qsizetype m_waitingBytes = 0;
    bool m_tableFullReported = false;
    bool m_waitingFullReported = false;
};
