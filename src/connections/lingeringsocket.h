#pragma once

#include "connections/socketoutput.h"

#include <QDeadlineTimer>
#include <QObject>
#include <QString>
#include <QTimer>

class QTcpSocket;

// A TCP connection that was closed by will and whose last bytes are still leaving.
//
// Takes a connected socket over and ends the connection in good order once the other end's system
// has everything; with a reset when the time is over before. What arrives meanwhile is dropped:
// left unread, it would make the system reset the connection over the last bytes. Bounded by what
// the socket held when it was handed over. Owned by the transport that closed.
class LingeringSocket final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LingeringSocket)

public:
    LingeringSocket(QTcpSocket* socket, const SocketOutput& output, QString peer, int lingerMs);
    // Leaves to the system what it has.
    ~LingeringSocket() override;

    [[nodiscard]] const QString& peer() const { return m_peer; }
    [[nodiscard]] qint64 pendingBytes() const { return m_output.pendingBytes(m_socket); }
    // Ends the connection now; ended() follows.
    void end();

Q_SIGNALS:
    void left(qint64 bytes, const QString& peer);
    // The connection is over, and so many bytes never left; once, the last signal.
    void ended(qint64 unsentBytes, const QString& peer);

private:
    void look();

    QTcpSocket* m_socket; // null when it is over; deleted later
    SocketOutput m_output;
    const QString m_peer;
    const QDeadlineTimer m_deadline;
    QTimer m_poll;
};
