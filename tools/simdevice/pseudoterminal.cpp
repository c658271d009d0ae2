#include "simdevice/pseudoterminal.h"

#include <QFile>
#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

namespace simdevice {

namespace {

bool fail(QString* error, const QString& what)
{
    if (error != nullptr) {
        *error = PseudoTerminal::tr("%1: %2").arg(what, qt_error_string(errno));
    }
    return false;
}

} // namespace

PseudoTerminal::PseudoTerminal(QObject* parent)
    : QObject(parent)
{}

PseudoTerminal::~PseudoTerminal()
{
    close();
}

bool PseudoTerminal::open(QString* error)
{
    close();
    m_master = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (m_master < 0) {
        return fail(error, tr("No pseudo-terminal available"));
    }
    if (!prepareSlave(error)) {
        close();
        return false;
    }
    m_readNotifier = std::make_unique<QSocketNotifier>(m_master, QSocketNotifier::Read);
    connect(m_readNotifier.get(), &QSocketNotifier::activated, this, &PseudoTerminal::readable);
    m_writeNotifier = std::make_unique<QSocketNotifier>(m_master, QSocketNotifier::Write);
    m_writeNotifier->setEnabled(false);
    connect(m_writeNotifier.get(), &QSocketNotifier::activated, this, [this] {
        m_writeNotifier->setEnabled(false);
        Q_EMIT writable();
    });
    return true;
}

bool PseudoTerminal::prepareSlave(QString* error)
{
    std::array<char, 64> path{};
    if (::grantpt(m_master) != 0 || ::unlockpt(m_master) != 0
        || ::ptsname_r(m_master, path.data(), path.size()) != 0) {
        return fail(error, tr("The pseudo-terminal cannot be set up"));
    }
    m_slave = ::open(path.data(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    termios settings{};
    if (m_slave < 0 || ::tcgetattr(m_slave, &settings) != 0) {
        return fail(error, QFile::decodeName(path.data()));
    }
    ::cfmakeraw(&settings);
    if (::tcsetattr(m_slave, TCSANOW, &settings) != 0) {
        return fail(error, QFile::decodeName(path.data()));
    }
    m_slavePath = QFile::decodeName(path.data());
    return true;
}

void PseudoTerminal::close()
{
    // A notifier may be closed from inside its own activation, so it is left to the event loop.
    for (auto* notifier : {m_readNotifier.release(), m_writeNotifier.release()}) {
        if (notifier != nullptr) {
            notifier->setEnabled(false);
            notifier->disconnect(this);
            notifier->deleteLater();
        }
    }
    for (int* descriptor : {&m_slave, &m_master}) {
        if (*descriptor >= 0) {
            ::close(*descriptor);
            *descriptor = -1;
        }
    }
    m_slavePath.clear();
}

quint64 PseudoTerminal::slaveDevice() const
{
    struct stat status
    {};
    return m_slave >= 0 && ::fstat(m_slave, &status) == 0 ? status.st_rdev : 0;
}

QByteArray PseudoTerminal::read(qsizetype maximum)
{
    if (m_master < 0 || maximum <= 0) {
        return {};
    }
    QByteArray bytes(maximum, Qt::Uninitialized);
    const auto count = ::read(m_master, bytes.data(), static_cast<size_t>(maximum));
    bytes.truncate(qMax<qsizetype>(count, 0));
    return bytes;
}

qsizetype PseudoTerminal::write(QByteArrayView bytes)
{
    if (m_master < 0 || bytes.isEmpty()) {
        return 0;
    }
    const auto count = ::write(m_master, bytes.data(), static_cast<size_t>(bytes.size()));
    const auto accepted = qMax<qsizetype>(count, 0);
    if (accepted < bytes.size()) {
        m_writeNotifier->setEnabled(true);
    }
    return accepted;
}

qsizetype PseudoTerminal::unread() const
{
    int count = 0;
    return m_slave >= 0 && ::ioctl(m_slave, FIONREAD, &count) == 0 ? count : 0;
}

void PseudoTerminal::setReading(bool on)
{
    if (m_readNotifier != nullptr) {
        m_readNotifier->setEnabled(on);
    }
}

} // namespace simdevice
