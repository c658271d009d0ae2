#include "connections/sockettail.h"

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

void SocketTail::open(qintptr descriptor)
{
    close();
#ifdef Q_OS_UNIX
    m_descriptor = ::fcntl(static_cast<int>(descriptor), F_DUPFD_CLOEXEC, 0);
#else
    Q_UNUSED(descriptor)
#endif
}

void SocketTail::close()
{
#ifdef Q_OS_UNIX
    if (m_descriptor >= 0)
        ::close(m_descriptor);
#endif
    m_descriptor = -1;
}

QByteArray SocketTail::drain(qsizetype maxBytes)
{
    QByteArray all;
#ifdef Q_OS_UNIX
    constexpr qsizetype kBlockBytes = qsizetype{64} * 1024;
    while (m_descriptor >= 0 && all.size() < maxBytes) {
        const qsizetype before = all.size();
        all.resize(before + qMin(kBlockBytes, maxBytes - before));
        const ssize_t size = ::recv(m_descriptor, all.data() + before,
            static_cast<size_t>(all.size() - before), MSG_DONTWAIT);
        all.resize(before + qMax<ssize_t>(size, 0));
        if (size <= 0)
            break;
    }
#else
    Q_UNUSED(maxBytes)
#endif
    return all;
}
