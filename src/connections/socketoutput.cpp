#include "connections/socketoutput.h"

#include <QTcpSocket>
#include <utility>

#ifdef Q_OS_LINUX
#include <linux/sockios.h>
#include <sys/ioctl.h>
#endif
#ifdef Q_OS_UNIX
#include <sys/socket.h>
#endif

namespace {

// How many bytes the system took; 0 also when it fails, which QTcpSocket finds out by itself.
qint64 sendAtOnce(const QTcpSocket& socket, const QByteArray& bytes)
{
#ifdef Q_OS_LINUX
    const auto descriptor = static_cast<int>(socket.socketDescriptor());
    if (descriptor < 0 || socket.bytesToWrite() > 0)
        return 0;
    const ssize_t sent =
        ::send(descriptor, bytes.constData(), size_t(bytes.size()), MSG_DONTWAIT | MSG_NOSIGNAL);
    return qMax<qint64>(sent, 0);
#else
    Q_UNUSED(socket)
    Q_UNUSED(bytes)
    return 0;
#endif
}

} // namespace

bool SocketOutput::write(QTcpSocket& socket, const QByteArray& bytes)
{
    const qint64 sent = sendAtOnce(socket, bytes);
    const qint64 rest = bytes.size() - sent;
    if (rest > 0 && socket.write(bytes.constData() + sent, rest) != rest && sent == 0)
        return false;
    m_atOnce += sent;
    add(bytes.size());
    return true;
}

qint64 SocketOutput::pendingBytes(const QTcpSocket* socket) const
{
    if (!socket)
        return m_pending;
#ifdef Q_OS_LINUX
    int unsent = 0;
    const auto descriptor = static_cast<int>(socket->socketDescriptor());
    if (descriptor >= 0 && ::ioctl(descriptor, SIOCOUTQNSD, &unsent) == 0)
        m_system = unsent;
#endif
    return qMin(m_pending, qMax(m_atOnce, m_system) + socket->bytesToWrite());
}

qint64 SocketOutput::takeLeft(const QTcpSocket& socket)
{
    m_atOnce = 0;
    const qint64 pending = pendingBytes(&socket);
    return std::exchange(m_pending, pending) - pending;
}

bool SocketOutput::needsPoll(const QTcpSocket& socket) const
{
    return m_pending > 0 && socket.bytesToWrite() == 0;
}

qint64 SocketOutput::drop()
{
    m_system = 0;
    m_atOnce = 0;
    return std::exchange(m_pending, 0);
}

bool allAcknowledged(const QTcpSocket& socket)
{
    int bytes = 0;
#ifdef Q_OS_LINUX
    const auto descriptor = static_cast<int>(socket.socketDescriptor());
    if (descriptor >= 0 && ::ioctl(descriptor, SIOCOUTQ, &bytes) != 0)
        bytes = 0;
#endif
    return socket.bytesToWrite() == 0 && bytes == 0;
}

void resetConnection(QTcpSocket& socket)
{
#ifdef Q_OS_UNIX
    if (const auto descriptor = static_cast<int>(socket.socketDescriptor()); descriptor >= 0) {
        const linger none{1, 0};
        ::setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &none, sizeof none);
    }
#endif
    socket.abort();
}
