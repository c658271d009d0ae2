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
    return qMin(m_pending, socket->bytesToWrite() + m_system);
}

qint64 SocketOutput::takeLeft(const QTcpSocket& socket)
{
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
