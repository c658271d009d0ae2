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
    m_socket->setReadBufferSize(held ? kHeldReadBufferBytes : 0);
    if (held)
        m_tail.open(m_socket->socketDescriptor());
    else
        m_tail.close();
}

bool ServerClient::fill()
{
    if (!m_socket)
        return false;
    const QByteArray bytes = readBuffered(*m_socket, kMaxUnreadBytes - m_queue.size());
    m_queue.append(bytes);
    if (m_queue.size() >= kMaxUnreadBytes)
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
    const qint64 waiting = m_socket ? m_socket->bytesToWrite() : 0;
    return waiting == 0 || waiting + size <= kMaxUnsentBytes;
}

bool ServerClient::write(const QByteArray& data)
{
    if (m_output.pendingBytes(m_socket) == 0)
        m_progress.start();
    return isConnected() && m_output.write(*m_socket, data);
}

qint64 ServerClient::unsentBytes() const
{
    if (!m_socket)
        return m_lostUnsent + m_stalledUnsent;
    return m_output.pendingBytes(m_failed ? nullptr : m_socket);
}

qint64 ServerClient::takeLeft()
{
    const qint64 bytes = m_socket && !m_failed ? m_output.takeLeft(*m_socket) : 0;
    if (bytes > 0)
        m_progress.start();
    return bytes;
}

bool ServerClient::needsPoll() const
{
    return m_socket && !m_failed && m_output.needsPoll(*m_socket);
}

bool ServerClient::isDeaf() const
{
    return unsentBytes() > 0 && m_progress.elapsed() >= kDeafMs;
}

void ServerClient::salvage()
{
    if (!m_socket)
        return;
    m_failed = m_socket->error() != QAbstractSocket::UnknownSocketError
               && m_socket->error() != QAbstractSocket::RemoteHostClosedError;
    m_queue.append(readBuffered(*m_socket, m_socket->bytesAvailable()));
}

QTcpSocket* ServerClient::part(qsizetype maxBytes, SocketOutput& output)
{
    QTcpSocket* socket = std::exchange(m_socket, nullptr);
    if (!socket)
        return nullptr;
    collect(*socket, maxBytes);
    output = std::exchange(m_output, {});
    return socket;
}

void ServerClient::departStalled(qsizetype maxBytes)
{
    if (!m_socket)
        return;
    m_stalledUnsent = unsentBytes();
    QTcpSocket* socket = m_socket;
    SocketOutput unsent;
    (void)part(maxBytes, unsent);
    // A stream with a hole would be a lie to the client.
    resetConnection(*socket);
    socket->deleteLater();
}

void ServerClient::depart(qsizetype maxBytes)
{
    const qint64 unsent = unsentBytes();
    SocketOutput output;
    QTcpSocket* socket = part(maxBytes, output);
    if (!socket)
        return;
    m_lostUnsent = unsent;
    socket->abort();
    socket->deleteLater();
}

// What the socket, or the system behind a held one, still has.
void ServerClient::collect(QTcpSocket& socket, qsizetype maxBytes)
{
    socket.disconnect();
    QByteArray rest = readBuffered(socket, socket.bytesAvailable());
    if (m_held)
        rest.append(m_tail.drain(qMax<qsizetype>(maxBytes - rest.size(), 0)));
    m_tail.close();
    m_lostUnread += qMax<qsizetype>(rest.size() - maxBytes, 0);
    rest.truncate(maxBytes);
    m_queue.append(rest);
}
