#include "connections/serverclient.h"

#include <QTcpSocket>
#include <utility>

namespace {

// Never asks the system for more, which could meet the end of the connection in mid-read.
QByteArray readBuffered(QTcpSocket& socket, qint64 maxBytes)
{
    const qint64 size = qMin(socket.bytesAvailable(), maxBytes);
    return size > 0 ? socket.read(size) : QByteArray();
}

} // namespace

ServerClient::ServerClient(QTcpSocket* socket, QString key)
    : m_socket(socket)
    , m_key(std::move(key))
{}

ServerClient::~ServerClient() = default;

bool ServerClient::isConnected() const
{
    return m_socket && m_socket->state() == QAbstractSocket::ConnectedState;
}

// A write that meets a reset closes the socket's descriptor, and what the system has received but
// nobody read, because the reading is held back, would go with it: the tail keeps it.
void ServerClient::setHeld(bool held)
{
    if (!m_socket || m_held == held)
        return;
    m_held = held;
    m_socket->setReadBufferSize(held ? heldReadBufferBytes : 0);
    if (held)
        m_tail.open(m_socket->socketDescriptor());
    else
        m_tail.close();
}

bool ServerClient::fill()
{
    if (!m_socket)
        return false;
    const QByteArray bytes = readBuffered(*m_socket, maxUnreadBytes - m_queue.size());
    m_queue.append(bytes);
    if (m_queue.size() >= maxUnreadBytes)
        setHeld(true);
    return !bytes.isEmpty();
}

bool ServerClient::hasMore() const
{
    return m_socket && m_socket->bytesAvailable() > 0;
}

QByteArray ServerClient::take()
{
    return std::exchange(m_queue, {});
}

bool ServerClient::hasRoomFor(qsizetype size) const
{
    return unsentBytes() == 0 || unsentBytes() + size <= maxUnsentBytes;
}

qint64 ServerClient::unsentBytes() const
{
    return m_socket ? m_socket->bytesToWrite() : 0;
}

void ServerClient::salvage()
{
    if (!m_socket)
        return;
    m_lostUnsent = qMax(m_lostUnsent, unsentBytes());
    m_queue.append(readBuffered(*m_socket, m_socket->bytesAvailable()));
}

void ServerClient::depart(qsizetype maxBytes)
{
    QTcpSocket* socket = std::exchange(m_socket, nullptr);
    if (!socket)
        return;
    QByteArray rest = readBuffered(*socket, socket->bytesAvailable());
    if (m_held)
        rest.append(m_tail.drain(qMax<qsizetype>(maxBytes - rest.size(), 0)));
    m_tail.close();
    m_lostUnread += qMax<qsizetype>(rest.size() - maxBytes, 0);
    rest.truncate(maxBytes);
    m_queue.append(rest);
    socket->disconnect();
    socket->abort();
    socket->deleteLater();
}
