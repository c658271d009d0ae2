#include "connections/seriallink.h"

#include "connections/serialhangup.h"
#include "connections/serialopenadvice.h"

#include <QLocale>
#include <QScopedValueRollback>
#include <QtDebug>
#include <limits>
#include <memory>
#include <utility>

#ifdef Q_OS_UNIX
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>
#endif

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int failureMs = 5000;
constexpr int noticeMs = 3000;
constexpr int openedMs = 1000;
// Beyond it the driver's buffer fills and the device is held back by flow control.
constexpr qint64 throttledReadBufferBytes = 4096;
// Read in one turn of the event loop; less than a millisecond even at the speed of memory.
constexpr qsizetype readAheadBytes = qsizetype{64} * 1024;

QString lineName(SerialLine line)
{
    switch (line) {
    case SerialLine::Dtr:
        return u"DTR"_s;
    case SerialLine::Rts:
        return u"RTS"_s;
    case SerialLine::Break:
        return SerialLink::tr("Break");
    }
    return {};
}

} // namespace

SerialLink::SerialLink(QObject* parent)
    : QObject(parent)
    , m_port(u"COM1"_s, this)
    , m_ahead(std::make_unique_for_overwrite<char[]>(readAheadBytes))
{
    connect(&m_port, &QSerialPort::readyRead, this, [this] {
        const QScopedValueRollback<bool> told(m_toldByDriver, true);
        Q_EMIT readyRead();
    });
    connect(&m_port, &QSerialPort::bytesWritten, this, [this](qint64 bytes) {
        m_fullReported = false;
        Q_EMIT bytesWritten(bytes);
    });
    connect(&m_port, &QSerialPort::errorOccurred, this, &SerialLink::onErrorOccurred);
}

SerialLink::~SerialLink()
{
    m_port.disconnect(this);
}

bool SerialLink::open(
    const Settings& settings, const QString& portName, const QString& displayName, bool quiet)
{
    m_port.setPortName(portName.isEmpty() ? settings.portName : portName);
    if (m_port.isOpen())
        return true;
    if (!m_port.open(QIODevice::ReadWrite)) {
        if (!quiet)
            reportOpenFailure(displayName);
        return false;
    }
    applyLineParameters(settings.sanitized(), Parameters::All);
    m_breakActive = false;
    m_pinoutRefused = false;
    applyLine(SerialLine::Break, false, false);
    // A device that vanishes while it is being set up has been closed and reported by now.
    if (!m_port.isOpen())
        return false;
    Q_EMIT statusMessage(tr("Serial Port %1 OPEN SUCCESS").arg(displayName), openedMs);
    applyLine(SerialLine::Dtr, m_dtrRequested, true);
    if (!driverOwnsRts())
        applyLine(SerialLine::Rts, m_rtsRequested, true);
    return m_port.isOpen();
}

void SerialLink::reconfigure(const Settings& settings)
{
    if (!m_port.isOpen())
        return;
    const bool ownedBefore = driverOwnsRts();
    applyLineParameters(settings.sanitized(), Parameters::Changed);
    // The driver leaves RTS wherever its handshake had it.
    if (ownedBefore && !driverOwnsRts())
        applyLine(SerialLine::Rts, m_rtsRequested, true);
}

void SerialLink::applyLineParameters(const Settings& settings, Parameters which)
{
    const bool all = which == Parameters::All;
    const auto check = [this](bool accepted, const QString& what) {
        if (!accepted) {
            Q_EMIT statusMessage(tr("Serial Port %1 did not accept %2: %3")
                                     .arg(m_port.portName(), what, m_lastErrorText),
                failureMs);
        }
    };
    const auto dataBits = static_cast<QSerialPort::DataBits>(settings.dataBits);
    const auto parity = static_cast<QSerialPort::Parity>(settings.parity);
    const auto stopBits = static_cast<QSerialPort::StopBits>(settings.stopBits);
    const auto flowControl = static_cast<QSerialPort::FlowControl>(settings.flowControl);
    if (all || m_port.baudRate() != settings.baudRate)
        check(m_port.setBaudRate(settings.baudRate), tr("the baud rate"));
    if (all || m_port.dataBits() != dataBits)
        check(m_port.setDataBits(dataBits), tr("the data bits"));
    if (all || m_port.parity() != parity)
        check(setParity(parity), tr("the parity"));
    if (all || m_port.stopBits() != stopBits)
        check(m_port.setStopBits(stopBits), tr("the stop bits"));
    if (all || m_port.flowControl() != flowControl)
        check(m_port.setFlowControl(flowControl), tr("the flow control"));
}

// QSerialPort sets the bit that makes odd and even parity mark and space, and never clears it: a
// port that was once at mark would stay there, also when another program has left it so.
bool SerialLink::setParity(QSerialPort::Parity parity)
{
    if (!m_port.setParity(parity))
        return false;
#ifdef CMSPAR
    if (parity == QSerialPort::MarkParity || parity == QSerialPort::SpaceParity)
        return true;
    termios line{};
    if (::tcgetattr(m_port.handle(), &line) != 0 || (line.c_cflag & CMSPAR) == 0)
        return true;
    line.c_cflag &= ~tcflag_t(CMSPAR);
    return ::tcsetattr(m_port.handle(), TCSANOW, &line) == 0;
#else
    return true;
#endif
}

QString SerialLink::openFailureText(const QString& displayName)
{
    return tr("Serial Port %1 OPEN FAILED! ERROR: ").arg(displayName);
}

void SerialLink::reportOpenFailure(const QString& displayName)
{
    const QString text = openFailureText(displayName) + m_port.errorString();
    const QString advice =
        serialOpenAdvice(m_port.error(), serialDeviceFacts(serialDevicePath(m_port.portName())));
    Q_EMIT errorOccurred(advice.isEmpty() ? text : QString(text + u'\n' + advice));
    Q_EMIT statusMessage(text, failureMs);
}

void SerialLink::close(const QString& displayName)
{
    if (m_port.isOpen()) {
        const QScopedValueRollback<bool> closing(m_closing, true);
        applyLine(SerialLine::Break, false, false);
        applyLine(SerialLine::Dtr, false, false);
        if (!driverOwnsRts())
            applyLine(SerialLine::Rts, false, false);
        closePort();
    }
    m_breakActive = false;
    m_residue.clear();
    Q_EMIT statusMessage(
        (m_port.isOpen() ? tr("Serial Port %1 CLOSE FAILED") : tr("Serial Port %1 CLOSE SUCCESS"))
            .arg(displayName),
        noticeMs);
}

// QSerialPort keeps output that the driver has not taken, and would send it first at the next open.
void SerialLink::closePort()
{
    if (const qint64 left = m_port.bytesToWrite(); left > 0) {
        m_port.clear(QSerialPort::Output);
        Q_EMIT unsent(left);
        Q_EMIT errorOccurred(tr("Serial Port %1 was closed with %n byte(s) not sent.", nullptr,
            int(qMin<qint64>(left, std::numeric_limits<int>::max())))
                                 .arg(m_port.portName()));
    }
    m_port.close();
}

bool SerialLink::send(const QByteArray& data, const Settings& settings, const QString& portName)
{
    if (m_port.isOpen()) {
        if (!portName.isEmpty())
            m_port.setPortName(portName);
    } else if (!open(settings, portName, portName, false)) {
        return false;
    }
    if (data.size() > maxUnsentBytes() - m_port.bytesToWrite()) {
        if (!std::exchange(m_fullReported, true))
            Q_EMIT statusMessage(
                tr("Serial Port %1 is too slow: %2 wait to be sent, and the rest is refused")
                    .arg(m_port.portName(), QLocale().formattedDataSize(pendingWriteBytes())),
                failureMs);
        return false;
    }
    if (m_port.write(data) == -1) {
        qWarning() << "Send message failed!" << m_port.errorString();
        return false;
    }
    return true;
}

qint64 SerialLink::maxUnsentBytes() const
{
    constexpr int bitsPerByte = 10; // with start and stop bit
    return qMax<qint64>(
        kMinUnsentBytes, qint64{m_port.baudRate()} * kMaxUnsentSeconds / bitsPerByte);
}

qint64 SerialLink::pendingWriteBytes() const
{
    qint64 pending = m_port.bytesToWrite();
#ifdef TIOCOUTQ
    int inDriver = 0;
    if (m_port.isOpen() && ::ioctl(m_port.handle(), TIOCOUTQ, &inDriver) == 0)
        pending += inDriver;
#endif
    return pending;
}

QByteArray SerialLink::readAvailable()
{
    if (m_readThrottled)
        return {};
    QByteArray bytes = m_residue.take();
    if (!m_port.isOpen())
        return bytes;
    bytes.append(m_port.readAll());
    const qsizetype ahead = readDriver();
    return bytes.append(m_ahead.get(), ahead);
}

// QSerialPort reads the driver once in a turn of the event loop, and a driver gives what one of its
// buffers holds, often 4 KiB: on a fast line the turns would cost more than the bytes. Errors and
// the end of the device are QSerialPort's to find, at its next read. Only while QSerialPort is at
// it: bytes taken at any other time could be those that the event loop is about to wake it for, and
// it reports a wake-up for nothing as a read error.
qsizetype SerialLink::readDriver()
{
    qsizetype size = 0;
    if (!m_toldByDriver)
        return size;
#ifdef Q_OS_UNIX
    const int descriptor = m_port.handle();
    while (size < readAheadBytes) {
        const ssize_t part =
            ::read(descriptor, m_ahead.get() + size, std::size_t(readAheadBytes - size));
        if (part <= 0)
            break;
        size += part;
    }
#endif
    return size;
}

bool SerialLink::hasUnread() const
{
    return !m_residue.isEmpty() || (m_port.isOpen() && m_port.bytesAvailable() > 0);
}

void SerialLink::setReadThrottled(bool on)
{
    m_readThrottled = on;
    // A port that holds more than its limit would report readiness again and again.
    if (on && m_port.isOpen() && m_port.bytesAvailable() >= throttledReadBufferBytes)
        keepUnread();
    m_port.setReadBufferSize(on ? throttledReadBufferBytes : 0);
}

bool SerialLink::setLine(SerialLine line, bool on)
{
    if (line == SerialLine::Break) {
        if (!m_port.isOpen()) {
            m_breakActive = false;
            if (on) {
                Q_EMIT statusMessage(tr("Open the serial port before sending Break"), noticeMs);
            }
            return !on;
        }
        const bool driven = applyLine(line, on, true);
        m_breakActive = on && driven;
        return driven;
    }
    (line == SerialLine::Dtr ? m_dtrRequested : m_rtsRequested) = on;
    return !m_port.isOpen() || applyLine(line, on, true);
}

bool SerialLink::lineRequested(SerialLine line) const
{
    switch (line) {
    case SerialLine::Dtr:
        return m_dtrRequested;
    case SerialLine::Rts:
        return m_rtsRequested;
    case SerialLine::Break:
        return m_breakActive;
    }
    return false;
}

bool SerialLink::applyLine(SerialLine line, bool on, bool report)
{
    if (line == SerialLine::Rts && driverOwnsRts()) {
        if (report) {
            Q_EMIT statusMessage(
                tr("RTS is managed automatically by RTS/CTS flow control"), noticeMs);
        }
        return false;
    }
    const bool driven = driveLine(line, on);
    if (!driven && report) {
        Q_EMIT statusMessage(
            tr("Failed to set %1: %2").arg(lineName(line), m_lastErrorText), noticeMs);
    }
    return driven;
}

bool SerialLink::driveLine(SerialLine line, bool on)
{
    switch (line) {
    case SerialLine::Dtr:
        return m_port.setDataTerminalReady(on);
    case SerialLine::Rts:
        return m_port.setRequestToSend(on);
    case SerialLine::Break:
        return m_port.setBreakEnabled(on);
    }
    return false;
}

bool SerialLink::driverOwnsRts() const
{
    return m_port.flowControl() == QSerialPort::HardwareControl;
}

QSerialPort::PinoutSignals SerialLink::pinoutSignals()
{
    if (!tellsPinout())
        return QSerialPort::NoSignal;
    const QScopedValueRollback<bool> asking(m_askingPinout, true);
    const QSerialPort::PinoutSignals lines = m_port.pinoutSignals();
    if (m_pinoutRefused) {
        Q_EMIT statusMessage(tr("Serial Port %1 has no control lines that can be read: %2")
                                 .arg(m_port.portName(), m_lastErrorText),
            noticeMs);
    }
    return lines;
}

void SerialLink::keepUnread()
{
    const qsizetype dropped = m_residue.keep(m_port.readAll());
    if (dropped > 0) {
        Q_EMIT statusMessage(
            tr("Serial Port %1: %2 received bytes were dropped because nobody read them")
                .arg(m_port.portName(), QString::number(dropped)),
            failureMs);
    }
}

void SerialLink::onErrorOccurred(QSerialPort::SerialPortError error)
{
    if (error == QSerialPort::NoError)
        return;
    m_lastErrorText = m_port.errorString();
    if (m_askingPinout && !serialDeviceVanished(m_port, error))
        m_pinoutRefused = true;
    if (!m_autoReconnect || m_closing || !serialDeviceVanished(m_port, error))
        return;
    {
        const QScopedValueRollback<bool> closing(m_closing, true);
        m_breakActive = false;
        if (!m_readThrottled && m_port.bytesAvailable() > 0)
            Q_EMIT readyRead();
        // The reader may have closed the port, and then nothing was lost.
        if (!m_port.isOpen())
            return;
        keepUnread();
        closePort();
    }
    Q_EMIT statusMessage(tr("Serial Port %1 DISCONNECTED").arg(m_port.portName()), failureMs);
    Q_EMIT lost();
}
