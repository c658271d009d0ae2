#include "base/processsignals.h"

#include <QSocketNotifier>

#ifdef Q_OS_UNIX

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace {

// A handler may do next to nothing; what it writes here wakes the event loop at the other end.
std::array<int, 2> sockets{-1, -1};

bool hangupReloads = false;

void onSignal(int number)
{
    const int before = errno;
    const char byte = number == SIGHUP && hangupReloads ? 'r' : 'e';
    (void)!write(sockets[0], &byte, 1);
    errno = before;
}

void setHandler(int number, void (*handler)(int), int flags)
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART | flags;
    sigaction(number, &action, nullptr);
}

} // namespace

ProcessSignals::ProcessSignals([[maybe_unused]] Hangup hangup, QObject* parent)
    : QObject(parent)
{
    hangupReloads = hangup == Hangup::Reloads;
    // Neither end waits: a flood of signals says no more than one.
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, sockets.data()) != 0)
        return;
    for (const int socket : sockets) {
        fcntl(socket, F_SETFL, O_NONBLOCK);
        fcntl(socket, F_SETFD, FD_CLOEXEC);
    }
    m_notifier = new QSocketNotifier(sockets[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] {
        std::array<char, 64> bytes{};
        const ssize_t count = read(sockets[1], bytes.data(), bytes.size());
        const QByteArrayView asked(bytes.data(), qMax(count, ssize_t{0}));
        if (asked.contains('e'))
            Q_EMIT endRequested();
        else if (asked.contains('r'))
            Q_EMIT reloadRequested();
    });
    setHandler(SIGTERM, onSignal, int(SA_RESETHAND));
    setHandler(SIGINT, onSignal, int(SA_RESETHAND));
    setHandler(SIGHUP, onSignal, hangupReloads ? 0 : int(SA_RESETHAND));
    setHandler(SIGPIPE, SIG_IGN, 0); // who read standard error may go
}

ProcessSignals::~ProcessSignals()
{
    if (m_notifier == nullptr)
        return;
    for (const int number : {SIGTERM, SIGINT, SIGHUP})
        setHandler(number, SIG_DFL, 0);
    m_notifier->setEnabled(false);
    for (int& socket : sockets)
        close(std::exchange(socket, -1));
}

#else

ProcessSignals::ProcessSignals([[maybe_unused]] Hangup hangup, QObject* parent)
    : QObject(parent)
{}

ProcessSignals::~ProcessSignals() = default;

#endif
