#include "connections/lingeringsocket.h"

#include <QPointer>
#include <QTcpSocket>
#include <utility>

LingeringSocket::LingeringSocket(
    QTcpSocket* socket, const SocketOutput& output, QString peer, int lingerMs)
    : m_socket(socket)
    , m_output(output)
    , m_peer(std::move(peer))
    , m_deadline(lingerMs)
{
    socket->setParent(nullptr);
    socket->setReadBufferSize(0);
    connect(socket, &QTcpSocket::readyRead, socket, [socket] { socket->readAll(); });
    connect(socket, &QTcpSocket::errorOccurred, this, &LingeringSocket::look);
    connect(socket, &QTcpSocket::disconnected, this, &LingeringSocket::end);
    connect(socket, &QTcpSocket::bytesWritten, this, &LingeringSocket::look);
    connect(&m_poll, &QTimer::timeout, this, &LingeringSocket::look);
    m_poll.start(SocketOutput::kPollMs);
}

LingeringSocket::~LingeringSocket()
{
    if (QTcpSocket* socket = std::exchange(m_socket, nullptr)) {
        socket->disconnect();
        if (socket->bytesToWrite() > 0)
            resetConnection(*socket);
        else
            socket->abort();
        socket->deleteLater();
    }
}

void LingeringSocket::look()
{
    if (!m_socket)
        return;
    const QPointer<LingeringSocket> self(this);
    if (const qint64 gone = m_output.takeLeft(*m_socket); gone > 0)
        Q_EMIT left(gone, m_peer);
    if (self && m_socket && (allAcknowledged(*m_socket) || m_deadline.hasExpired()))
        end();
}

void LingeringSocket::end()
{
    QTcpSocket* socket = std::exchange(m_socket, nullptr);
    if (!socket)
        return;
    m_poll.stop();
    socket->disconnect();
    if (socket->isOpen())
        socket->readAll();
    const QPointer<LingeringSocket> self(this);
    if (const qint64 gone = m_output.takeLeft(*socket); gone > 0)
        Q_EMIT left(gone, m_peer);
    const qint64 unsent = self ? m_output.drop() : 0;
    if (unsent > 0)
        resetConnection(*socket);
    else
        socket->abort();
    socket->deleteLater();
    if (self)
        Q_EMIT ended(unsent, m_peer);
}
