#include "app/terminationsignals.h"

#include <QSocketNotifier>

#ifdef Q_OS_UNIX

#include <array>
#include <csignal>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr std::array kSignalNumbers{SIGTERM, SIGHUP, SIGINT};

// A handler may do next to nothing; what it writes here wakes the event loop at the other end.
std::array<int, 2> sockets{-1, -1};

void onSignal(int /*number*/)
{
    const char byte = 0;
    (void)!write(sockets[0], &byte, 1);
}

void setHandlers(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART | SA_RESETHAND;
    for (const int number : kSignalNumbers)
        sigaction(number, &action, nullptr);
}

} // namespace

TerminationSignals::TerminationSignals(QObject* parent)
    : QObject(parent)
{
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, sockets.data()) != 0)
        return;
    m_notifier = new QSocketNotifier(sockets[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] {
        m_notifier->setEnabled(false);
        Q_EMIT received();
    });
    setHandlers(onSignal);
}

TerminationSignals::~TerminationSignals()
{
    if (m_notifier == nullptr)
        return;
    setHandlers(SIG_DFL);
    m_notifier->setEnabled(false);
    for (int& socket : sockets)
        close(std::exchange(socket, -1));
}

#else

TerminationSignals::TerminationSignals(QObject* parent)
    : QObject(parent)
{}

TerminationSignals::~TerminationSignals() = default;

#endif
