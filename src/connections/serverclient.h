#pragma once

#include "connections/sockettail.h"

#include <QByteArray>
#include <QString>

class QTcpSocket;

// One client of a MultiClientServer: its socket, the key it is known by, and what it sent that
// nobody has taken yet.
//
// Owned by the server. The socket is discarded when the connection ends; the client then lives on,
// departed, until its last bytes were handed over. Reading is held back while the server says so
// or the queue is full: the socket takes `heldReadBufferBytes` more and the rest waits at the
// client.
class ServerClient final
{
    Q_DISABLE_COPY_MOVE(ServerClient)

public:
    // What may wait to be taken while the client is connected. One read of the system (at most the
    // receive buffer of a socket) may stand behind it.
    static constexpr qsizetype maxUnreadBytes = qsizetype{1} * 1024 * 1024;
    // What may wait to leave: a client that lags further behind does not read.
    static constexpr qint64 maxUnsentBytes = qint64{16} * 1024 * 1024;
    static constexpr qint64 heldReadBufferBytes = 4096;

    ServerClient(QTcpSocket* socket, QString key);
    ~ServerClient();

    [[nodiscard]] const QString& key() const { return m_key; }
    // Null once departed.
    [[nodiscard]] QTcpSocket* socket() const { return m_socket; }
    // Connected for writing: not departed and not about to.
    [[nodiscard]] bool isConnected() const;

    // Holds back, or lets go, the reading of the socket.
    void setHeld(bool held);
    // Moves what the socket has received into the queue, up to its bound, and holds the reading
    // back when that is reached. True when something was moved.
    bool fill();
    [[nodiscard]] bool hasUnread() const { return !m_queue.isEmpty(); }
    [[nodiscard]] qsizetype unreadBytes() const { return m_queue.size(); }
    // The queue, which is empty then.
    [[nodiscard]] QByteArray take();

    enum class Write { Taken, Refused, DoesNotRead };
    // Hands the bytes, all or none, to the socket. DoesNotRead: they would exceed maxUnsentBytes.
    [[nodiscard]] Write write(const QByteArray& bytes);
    // Accepted and not yet taken by the system.
    [[nodiscard]] qint64 unsentBytes() const;

    // Discards the socket. What it, or the system behind it, still holds moves to the queue, at
    // most `maxBytes`; returns what had no room. The socket is deleted later.
    qsizetype depart(qsizetype maxBytes);

private:
    QTcpSocket* m_socket; // a child of the server
    QString m_key;
    QByteArray m_queue; // at most maxUnreadBytes while connected
    SocketTail m_tail;  // open while reading is held back
    bool m_held = false;
};
