#pragma once

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QTcpServer>

#include <functional>
#include <utility>
#include <vector>

class QTcpSocket;

/// The other side of a TCP connection in a test: a server or a client on 127.0.0.1, or both.
///
/// Connections are numbered from 0 in the order in which they came about and keep their number when
/// they end. Everything a connection sends is kept, up to `kReceiveCapacity` bytes each; beyond
/// that it is left in the kernel, so that the sender is held back. A `connection` argument of
/// `latest` means the newest one; a number that does not exist is a harmless no-op.
class TcpPeer final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TcpPeer)

public:
    static constexpr int kLatest = -1;
    static constexpr qsizetype kReceiveCapacity = 64 * 1024 * 1024;
    static constexpr qint64 kSocketBuffer = 64 * 1024;

    using Answer = std::function<QByteArray(const QByteArray& request)>;

    explicit TcpPeer(QObject* parent = nullptr);
    ~TcpPeer() override;

    /// Starts a server. Port 0 lets the system choose; a given one serves to come back after
    /// stop().
    bool listen(quint16 port = 0);
    /// No new connections (refused by the system); existing ones stay.
    void stopListening();
    quint16 port() const { return m_port; }

    /// A client's connection to a server under test. Returns its number.
    int connectTo(quint16 port);

    /// Script: sent to each client as soon as it is accepted.
    void setGreeting(const QByteArray& greeting) { m_greeting = greeting; }
    /// Script: called with each block that arrives; what it returns is sent back.
    void setAnswer(Answer answer) { m_answer = std::move(answer); }

    int connectionCount() const { return int(m_connections.size()); }
    int openCount() const;
    bool isOpen(int connection = kLatest) const;

    void send(const QByteArray& bytes, int connection = kLatest);
    /// Bytes handed to send() that have not reached the system yet.
    qint64 unsent(int connection = kLatest) const;

    /// Ends the connection with RST (SO_LINGER 0), as a crashed or power-cycled peer does.
    void reset(int connection = kLatest);
    /// Sends FIN behind what the system has taken, and goes on receiving.
    void halfClose(int connection = kLatest);
    /// Orderly end after everything was sent.
    void close(int connection = kLatest);

    /// Off: bytes stay in the system's buffers until the sender stalls.
    void setReading(bool on);

    /// Everything received so far; clear with takeReceived().
    QByteArray received(int connection = kLatest) const;
    QByteArray takeReceived(int connection = kLatest);

Q_SIGNALS:
    void connected(int connection);

private:
    struct Connection
    {
        QTcpSocket* socket = nullptr; ///< child of this; null once the connection is over
        QByteArray received;
    };

    int adopt(QTcpSocket* socket);
    void drain(int connection);
    const Connection* find(int connection) const;
    Connection* find(int connection);
    QTcpSocket* socketOf(int connection) const;

    QTcpServer m_server;
    quint16 m_port = 0;
    std::vector<Connection> m_connections;
    QByteArray m_greeting;
    Answer m_answer;
    bool m_reading = true;
};
