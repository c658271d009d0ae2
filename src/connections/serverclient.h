#pragma once

#include "connections/socketoutput.h"
#include "connections/sockettail.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QString>
#include <utility>

class QTcpSocket;

// One client of a MultiClientServer: its socket, the key it is known by, and what it sent that
// nobody has taken yet.
//
// Owned by the server. The socket is discarded when the connection ends; the client then lives on,
// departed, until its last bytes were handed over. Reading is held back while the server says so
// or the queue is full: the socket takes `kHeldReadBufferBytes` more and the rest waits at the
// client. No function emits a signal of the socket.
class ServerClient final
{
    Q_DISABLE_COPY_MOVE(ServerClient)

public:
    // What may wait to be taken while the client is connected. One read of the system (at most the
    // receive buffer of a socket) may stand behind it.
    static constexpr qsizetype kMaxUnreadBytes = qsizetype{1} * 1024 * 1024;
    // What may wait to leave: a client that lags further behind does not read.
    static constexpr qint64 kMaxUnsentBytes = qint64{16} * 1024 * 1024;
    static constexpr qint64 kHeldReadBufferBytes = 4096;
    // A client to whom nothing has left for so long, with something waiting, does not read.
    static constexpr int kDeafMs = 1000;

    // `socket` is connected and a child of the server.
    ServerClient(QTcpSocket* socket, QString key);
    ~ServerClient();

    [[nodiscard]] const QString& key() const { return m_key; }
    // Null once departed.
    [[nodiscard]] QTcpSocket* socket() const { return m_socket; }
    // May be written to: neither departed nor about to.
    [[nodiscard]] bool isConnected() const;

    // Holds back, or lets go, the reading of the socket.
    void setHeld(bool held);
    // Moves what the socket has received into the queue, up to its bound, and holds the reading
    // back when that is reached. True when something was moved.
    bool fill();
    // The socket has received more than the queue took.
    [[nodiscard]] bool hasMore() const;
    [[nodiscard]] qsizetype unreadBytes() const { return m_queue.size(); }
    // The queue, which is empty then.
    [[nodiscard]] QByteArray take();

    // Whether so many bytes more stay within kMaxUnsentBytes. One message of any size has room when
    // nothing waits: the client has had no chance to read it yet.
    [[nodiscard]] bool hasRoomFor(qsizetype size) const;
    // False when the socket does not take all of it.
    bool write(const QByteArray& data);
    // Written and not left this machine; of a departed client what did not reach it.
    [[nodiscard]] qint64 unsentBytes() const;
    // How many bytes have left since the last call.
    qint64 takeLeft();
    [[nodiscard]] bool needsPoll() const;
    [[nodiscard]] bool isDeaf() const;
    // The connection failed and the socket is about to forget what it holds: received bytes move
    // to the queue, and nothing more counts as left.
    void salvage();

    // As depart(), but the socket is handed out, for its last bytes to leave with the count of
    // them.
    [[nodiscard]] QTcpSocket* part(qsizetype maxBytes, SocketOutput& output);
    // Departs because too much waits for it; takeStalled() gives once how much that was.
    void departStalled(qsizetype maxBytes);
    [[nodiscard]] qint64 takeStalled() { return std::exchange(m_stalledUnsent, 0); }
    // Discards the socket, which is deleted later. What it, or the system behind a held one, still
    // has moves to the queue, at most `maxBytes`; the rest counts as lost.
    void depart(qsizetype maxBytes);
    // Its last bytes are to be announced. False when they were before: a slot that heard of them
    // ended in here again.
    [[nodiscard]] bool announceLast() { return !std::exchange(m_announced, true); }
    // Received bytes that had no room, and bytes that did not reach the client.
    [[nodiscard]] qint64 lostUnreadBytes() const { return m_lostUnread; }
    [[nodiscard]] qint64 lostUnsentBytes() const { return m_lostUnsent; }

private:
    void collect(QTcpSocket& socket, qsizetype maxBytes);

    QTcpSocket* m_socket;
    QString m_key;
    QByteArray m_queue; // at most kMaxUnreadBytes while connected, and one read of the system when
                        // it fails
    SocketTail m_tail;  // open while reading is held back
    SocketOutput m_output;
    QElapsedTimer m_progress; // since something left, or began to wait
    bool m_held = false;
    bool m_failed = false;
    bool m_announced = false;
    qint64 m_lostUnread = 0;
    qint64 m_lostUnsent = 0;
    qint64 m_stalledUnsent = 0;
};
