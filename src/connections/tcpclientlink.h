#pragma once

#include "connections/receiveresidue.h"
#include "connections/sockettail.h"

#include <QObject>

class QTcpSocket;

// One outgoing TCP connection at a time, for a plain TCP client and for RFC 2217 alike.
//
// Owned by the ConnectionController. A socket is created for each attempt and discarded when the
// attempt fails, the peer goes or the link is torn down; it is deleted later, never in one of its
// own signals, and its signals are told from those of its successor. What is sent while the
// connection is being made waits in the pending output and leaves in one write. What a lost socket
// had received moves to the residue.
class TcpClientLink final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TcpClientLink)

public:
    // What may wait for a connection that is still being made, and what may wait for a peer that
    // does not read; more is refused.
    static constexpr qsizetype maxPendingBytes = qsizetype{16} * 1024 * 1024;
    // How long a connection that was closed by will may take to get its last bytes out.
    static constexpr int lingerMs = 2000;
    // The socket's read buffer while reads are throttled: beyond it the peer's window closes.
    static constexpr qint64 throttledReadBufferBytes = 4096;

    explicit TcpClientLink(QObject* parent = nullptr);
    ~TcpClientLink() override;

    // Starts an attempt and returns; does nothing while a socket exists.
    void connectTo(const QString& host, quint16 port);
    [[nodiscard]] bool hasSocket() const { return m_socket != nullptr; }
    [[nodiscard]] bool isConnected() const;
    // Closes the connection and discards what was received. What is on its way out has lingerMs to
    // leave, and what does not is told. True when there was a socket.
    bool teardown();

    // False for no data, without a socket, or when what waits has no room for it: all or nothing.
    bool send(const QByteArray& data);
    // Writes the pending output in one write when the socket is connected.
    void flushPending();
    // Everything received so far, also what a lost socket left; nothing while throttled.
    QByteArray readAvailable();
    [[nodiscard]] bool hasUnread() const;
    [[nodiscard]] qint64 pendingWriteBytes() const;

    void setReadThrottled(bool on);
    void setBridgeTuning(bool on);
    // Read buffer by throttling; low delay and keep-alive when a bridge uses the connection.
    void tune(QTcpSocket* socket) const;

Q_SIGNALS:
    void statusMessage(const QString& text, int timeoutMs);
    void errorOccurred(const QString& text);
    void readyRead();
    // The connection stands and the pending output is on its way.
    void connected();
    // A connection that stood is gone; emitted once for each.
    void disconnected();
    void bytesWritten(qint64 bytes);
    // So many bytes that send() took on a standing connection did not leave.
    void unsent(qint64 bytes);

private:
    void wire(QTcpSocket* socket);
    void onDisconnected(QTcpSocket* socket);
    void onError(QTcpSocket* socket);
    bool retire();
    bool offerUnread();
    void discard();
    void linger(QTcpSocket* socket);
    void tellFull(const QString& text);
    void tellUnsent(qint64 bytes);

    QTcpSocket* m_socket = nullptr; // a child; null when there is none
    SocketTail m_tail;
    QByteArray m_pending; // at most maxPendingBytes
    ReceiveResidue m_residue;
    qint64 m_unsent = 0; // what the socket held when it failed
    bool m_fullReported = false;
    bool m_retiring = false;
    bool m_readThrottled = false;
    bool m_bridgeTuning = false;
};
