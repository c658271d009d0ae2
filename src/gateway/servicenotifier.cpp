#include "gateway/servicenotifier.h"

#include <QCoreApplication>
#include <algorithm>

#ifdef Q_OS_LINUX
#include <cstddef>
#include <cstring>
#include <ctime>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#endif

namespace {

// 0 when nobody watches, or another process is watched.
qint64 watchdogMs()
{
    const QByteArray pid = qgetenv("WATCHDOG_PID");
    if (!pid.isEmpty() && pid.toLongLong() != QCoreApplication::applicationPid())
        return 0;
    return qgetenv("WATCHDOG_USEC").toLongLong() / 1000;
}

} // namespace

ServiceNotifier::ServiceNotifier(QObject* parent)
    : QObject(parent)
    , m_socket(qgetenv("NOTIFY_SOCKET"))
{
    const qint64 periodMs = watchdogMs() / 2;
    if (m_socket.isEmpty() || periodMs <= 0)
        return;
    m_alive.setInterval(int(std::clamp(periodMs, qint64{1}, qint64{1} << 30)));
    connect(&m_alive, &QTimer::timeout, this, [this] { send("WATCHDOG=1"); });
    m_alive.start();
}

ServiceNotifier::~ServiceNotifier() = default;

void ServiceNotifier::ready()
{
    send("READY=1");
}

void ServiceNotifier::reloading()
{
    QByteArray message = "RELOADING=1";
#ifdef Q_OS_LINUX
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    constexpr qint64 kMicrosPerSecond = 1'000'000;
    message += "\nMONOTONIC_USEC="
               + QByteArray::number(qint64(now.tv_sec) * kMicrosPerSecond + now.tv_nsec / 1000);
#endif
    send(message);
}

void ServiceNotifier::stopping()
{
    send("STOPPING=1");
}

void ServiceNotifier::status(const QString& text)
{
    if (text == m_status)
        return;
    m_status = text;
    send("STATUS=" + text.simplified().toUtf8());
}

void ServiceNotifier::send(const QByteArray& message) const
{
#ifdef Q_OS_LINUX
    sockaddr_un address = {};
    if (m_socket.isEmpty() || m_socket.size() >= qsizetype(sizeof(address.sun_path)))
        return;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, m_socket.constData(), std::size_t(m_socket.size()));
    if (m_socket.startsWith('@'))
        address.sun_path[0] = '\0';
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket < 0)
        return;
    const auto length = socklen_t(offsetof(sockaddr_un, sun_path) + std::size_t(m_socket.size()));
    // A manager that does not read is not waited for.
    (void)!::sendto(socket, message.constData(), std::size_t(message.size()),
        MSG_NOSIGNAL | MSG_DONTWAIT, reinterpret_cast<const sockaddr*>(&address), length);
    ::close(socket);
#else
    Q_UNUSED(message)
#endif
}
