#pragma once

#include <QByteArray>
#include <QtGlobal>

class QTcpSocket;

// Keeps count of what was written to one TCP socket until it has left this machine: QTcpSocket's
// buffer and, where the system tells, what that has not put on the wire. A value beside the socket;
// its owner asks when QTcpSocket has written and, while needsPoll() says so, every kPollMs: the
// system does not tell when its queue runs empty.
class SocketOutput final
{
public:
    static constexpr int kPollMs = 10;

    void add(qint64 bytes) { m_pending += bytes; }
    // To a connected socket, and counted. What the system takes leaves at once, when nothing waits
    // before it: a turn of the event loop later is late for who waits for an answer. QTcpSocket
    // tells nothing of that, so that it is pending until takeLeft(). False when it refuses.
    bool write(QTcpSocket& socket, const QByteArray& bytes);
    // What has not left, and with `socket` null what was not known to have.
    [[nodiscard]] qint64 pendingBytes(const QTcpSocket* socket) const;
    // How many bytes have left since the last call.
    qint64 takeLeft(const QTcpSocket& socket);
    [[nodiscard]] bool needsPoll(const QTcpSocket& socket) const;
    // They will not leave any more: how many, none of them pending after.
    qint64 drop();

private:
    qint64 m_pending = 0;
    qint64 m_atOnce = 0; // of these the system took, since the last takeLeft()
    // Of these the system's, when it was asked last: a broken connection has no descriptor to ask.
    mutable qint64 m_system = 0;
};

// Everything written has been acknowledged by the other end's system; true where none tells.
[[nodiscard]] bool allAcknowledged(const QTcpSocket& socket);

// Ends the connection with a reset, so that the other end does not take what it has for all there
// was.
void resetConnection(QTcpSocket& socket);
