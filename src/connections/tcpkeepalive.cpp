#include "connections/tcpkeepalive.h"

#include <QTcpSocket>

#ifdef Q_OS_LINUX
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#endif

void enableTcpKeepAlive(QTcpSocket& socket)
{
    socket.setSocketOption(QAbstractSocket::KeepAliveOption, 1);
#ifdef Q_OS_LINUX
    const auto set = [descriptor = int(socket.socketDescriptor())](int option, int value) {
        ::setsockopt(descriptor, IPPROTO_TCP, option, &value, sizeof value);
    };
    set(TCP_KEEPIDLE, kTcpKeepAliveIdleSeconds);
    set(TCP_KEEPINTVL, kTcpKeepAliveIntervalSeconds);
    set(TCP_KEEPCNT, kTcpKeepAliveProbes);
#endif
}
