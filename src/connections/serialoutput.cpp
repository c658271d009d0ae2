#include "connections/serialoutput.h"

#include <QSerialPort>
#include <algorithm>
#include <utility>

#ifdef Q_OS_UNIX
#include <cerrno>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>
#endif

namespace {

constexpr int kBitsOfAByte = 10; // with start and stop bit
constexpr int kMsPerSecond = 1000;

qint64 driverQueue(const QSerialPort& port)
{
    int bytes = 0;
#ifdef Q_OS_UNIX
    if (port.isOpen() && ::ioctl(port.handle(), TIOCOUTQ, &bytes) != 0)
        bytes = 0;
#else
    Q_UNUSED(port)
#endif
    return bytes;
}

#ifdef Q_OS_UNIX
// How many bytes the driver takes now; -1 when it fails for another reason than being full.
qint64 writeToDriver(const QSerialPort& port, const QByteArray& bytes)
{
    constexpr qsizetype kMaxAtOnce = qsizetype{64} * 1024; // one turn of the event loop
    const qint64 written =
        ::write(port.handle(), bytes.constData(), size_t(qMin(bytes.size(), kMaxAtOnce)));
    return written < 0 && (errno == EAGAIN || errno == EINTR) ? 0 : written;
}
#endif

} // namespace

qint64 SerialOutput::boundBytes(qint32 baudRate)
{
    return std::clamp(
        qint64{baudRate} / kBitsOfAByte * kBoundSeconds, kMinBoundBytes, kMaxBoundBytes);
}

bool SerialOutput::hasRoomFor(qint64 bytes) const
{
    const qint64 pending = pendingBytes();
    return pending + bytes <= (pending == 0 ? kMaxBoundBytes : boundBytes(m_port.baudRate()));
}

#ifdef Q_OS_UNIX

// To the driver at once, a turn of the event loop later is late for a device that is asked and
// answers, or behind what waits for it.
//
// QSerialPort must not do this: it writes without asking whether there is room, and takes a full
// driver (EAGAIN) for a device that is gone.
bool SerialOutput::pass(const QByteArray& bytes)
{
    m_busy.start();
    if (!m_rest.isEmpty()) {
        m_rest += bytes;
        return true;
    }
    const qint64 written = m_port.bytesToWrite() > 0 ? -1 : writeToDriver(m_port, bytes);
    // Whatever else is wrong QSerialPort meets as well, and finds the words for it.
    if (written < 0)
        return m_port.write(bytes) == bytes.size();
    m_atOnce += written;
    if (written < bytes.size()) {
        m_rest = bytes.mid(written);
        m_writable.reset(new QSocketNotifier(m_port.handle(), QSocketNotifier::Write));
        QObject::connect(m_writable.get(), &QSocketNotifier::activated, m_writable.get(),
            [this] { passRest(); });
    }
    return true;
}

// The driver has room.
void SerialOutput::passRest()
{
    const qint64 written = writeToDriver(m_port, m_rest);
    if (written < 0)
        m_port.write(std::exchange(m_rest, {}));
    else
        m_rest.remove(0, written);
    if (m_rest.isEmpty())
        m_writable.reset();
    const auto wrote = m_wrote; // whoever hears of it may close the port for good
    wrote();
}

#else

bool SerialOutput::pass(const QByteArray& bytes)
{
    m_busy.start();
    return m_port.write(bytes) == bytes.size();
}

#endif

bool SerialOutput::write(const QByteArray& bytes)
{
    if (m_later.empty()) {
        if (!pass(bytes))
            return false;
    } else if (m_later.back().change) {
        m_later.push_back({bytes, nullptr});
    } else {
        m_later.back().bytes.append(bytes);
    }
    if (!m_later.empty())
        m_laterBytes += bytes.size();
    m_told += bytes.size();
    return true;
}

void SerialOutput::changeAfter(const Settings& settings)
{
    if (!m_later.empty() && m_later.back().change) {
        *m_later.back().change = settings;
        return;
    }
    if (m_later.empty())
        m_waiting.start();
    m_later.push_back({{}, std::make_unique<Settings>(settings)});
    ++m_changes;
}

qint64 SerialOutput::ahead() const
{
    return m_rest.size() + m_port.bytesToWrite() + driverQueue(m_port);
}

qint64 SerialOutput::pendingBytes() const
{
    return qMin(m_told, qMax(ahead(), m_atOnce) + m_laterBytes);
}

qint64 SerialOutput::takeLeft()
{
    m_atOnce = 0;
    if (ahead() > 0)
        m_busy.start();
    const qint64 pending = pendingBytes();
    return std::exchange(m_told, pending) - pending;
}

bool SerialOutput::isQuiet() const
{
    const qint64 transmitterMs =
        qint64{kTransmitterBytes} * kBitsOfAByte * kMsPerSecond / qMax(m_port.baudRate(), 1);
    return ahead() == 0 && (!m_busy.isValid() || m_busy.elapsed() >= transmitterMs);
}

std::unique_ptr<Settings> SerialOutput::nextChange(qint64* overdueBytes)
{
    letGo();
    if (m_later.empty())
        return {};
    const bool overdue = m_changes > kMaxChanges || m_waiting.elapsed() >= kChangeWaitMs;
    if (!overdue && !isQuiet())
        return {};
    *overdueBytes = ahead();
    std::unique_ptr<Settings> change = std::move(m_later.front().change);
    m_later.pop_front();
    --m_changes;
    m_waiting.start();
    return change;
}

// The data that no change stands before any more.
void SerialOutput::letGo()
{
    while (!m_later.empty() && !m_later.front().change) {
        const QByteArray bytes = std::exchange(m_later.front().bytes, {});
        m_later.pop_front();
        m_laterBytes -= bytes.size();
        pass(bytes);
    }
}

bool SerialOutput::needsPoll() const
{
    // Of what the driver takes later the owner is told.
    return !m_later.empty() || (m_told > 0 && m_rest.isEmpty() && m_port.bytesToWrite() == 0);
}

qint64 SerialOutput::clear()
{
    std::erase_if(m_later, [](const Later& each) { return !each.change; });
    m_laterBytes = 0;
    // A driver that says it has nothing may still be passing bytes on; those are on their way.
    if (m_port.isOpen() && ahead() > 0)
        m_port.clear(QSerialPort::Output);
    m_rest.clear();
    m_writable.reset();
    m_atOnce = 0;
    return std::exchange(m_told, 0);
}
