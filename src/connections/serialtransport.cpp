#include "connections/serialtransport.h"

#include "connections/serialhangup.h"
#include "connections/serialopenadvice.h"
#include "connections/serialparameters.h"

#include <QPointer>
#include <QtDebug>
#include <limits>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

using namespace Qt::Literals::StringLiterals;

namespace {

// Read in one turn of the event loop; less than a millisecond even at the speed of memory.
constexpr qsizetype kReadAheadBytes = qsizetype{64} * 1024;

} // namespace

SerialTransport::SerialTransport()
    : Transport(connectionMode::SerialPort)
    , m_port(new QSerialPort(u"COM1"_s))
    , m_output(*m_port, [this] { seeToOutput(); })
    , m_ahead(std::make_unique_for_overwrite<char[]>(kReadAheadBytes))
{
    connect(m_port, &QSerialPort::readyRead, this, [this] {
        if (m_phase == Phase::Lingering) {
            m_port->readAll();
            return;
        }
        const QPointer<SerialTransport> self(this);
        m_toldByDriver = true;
        Q_EMIT readyRead();
        if (self)
            m_toldByDriver = false;
    });
    connect(m_port, &QSerialPort::bytesWritten, this, &SerialTransport::seeToOutput);
    connect(m_port, &QSerialPort::errorOccurred, this, &SerialTransport::onErrorOccurred);
    m_poll.setInterval(SerialOutput::kPollMs);
    connect(&m_poll, &QTimer::timeout, this, &SerialTransport::seeToOutput);
}

SerialTransport::~SerialTransport()
{
    m_port->disconnect(this);
    if (const qint64 unsent = closePort(); unsent > 0)
        qWarning() << "Serial port" << name() << "ended with" << unsent << "bytes not sent";
    m_port->deleteLater();
}

Transport::State SerialTransport::state() const
{
    return m_phase == Phase::Open || m_phase == Phase::Ending ? State::Open : State::Closed;
}

bool SerialTransport::open(const Settings& settings, OpenMode how)
{
    if (state() == State::Open)
        return true;
    const QPointer<SerialTransport> self(this);
    if (m_phase == Phase::Lingering)
        endLinger();
    if (!self || m_phase != Phase::Closed)
        return self && state() == State::Open;
    m_port->setPortName(settings.portName);
    setName(m_displayName.isEmpty() ? settings.portName : m_displayName);
    if (!m_port->open(QIODevice::ReadWrite)) {
        failOpening(how);
        return false;
    }
    m_phase = Phase::Open;
    setErrorText({});
    setUp(settings.sanitized());
    return self && state() == State::Open;
}

// A device may vanish while it is being set up, and whoever hears of a refusal may close it.
void SerialTransport::setUp(const Settings& settings)
{
    const QPointer<SerialTransport> self(this);
    const auto open = [&] { return self && m_phase == Phase::Open; };
    m_dtrRequested = settings.dtrOn;
    m_rtsRequested = settings.rtsOn;
    m_breakActive = false;
    m_pinoutRefused = false;
    m_settingUp = true;
    m_port->setReadBufferSize(isReadingHeld() ? kHeldReadBufferBytes : 0);
    applyLineParameters(settings, SerialParameters::All);
    if (open())
        driveLine(SerialLine::Break, false, false);
    if (open())
        tell(Notice::info(tr("Serial Port %1 OPEN SUCCESS").arg(name()), Notice::kSuccessMs));
    if (open())
        askPinout();
    if (open())
        driveLine(SerialLine::Dtr, m_dtrRequested, true);
    if (open() && !driverOwnsRts())
        driveLine(SerialLine::Rts, m_rtsRequested, true);
    if (self)
        m_settingUp = false;
    if (open())
        Q_EMIT opened();
}

void SerialTransport::apply(const Settings& settings)
{
    if (state() != State::Open)
        return;
    m_output.changeAfter(settings.sanitized());
    seeToOutput();
}

void SerialTransport::carryOut(const Settings& settings)
{
    const QPointer<SerialTransport> self(this);
    const bool ownedBefore = driverOwnsRts();
    applyLineParameters(settings, SerialParameters::Changed);
    if (self && state() == State::Open && m_dtrRequested != settings.dtrOn)
        setLine(SerialLine::Dtr, settings.dtrOn);
    if (!self || state() != State::Open)
        return;
    // The driver leaves RTS wherever its handshake had it.
    const bool rtsComesBack = ownedBefore && !driverOwnsRts();
    if (m_rtsRequested != settings.rtsOn || rtsComesBack)
        setLine(SerialLine::Rts, settings.rtsOn);
}

void SerialTransport::applyLineParameters(const Settings& settings, SerialParameters which)
{
    const QPointer<SerialTransport> self(this);
    for (const QString& refusal : applySerialParameters(*m_port, settings, which)) {
        // A device that vanishes meanwhile refuses everything.
        if (!self || state() != State::Open)
            return;
        tell(Notice::warning(
            tr("Serial Port %1 did not accept %2").arg(m_port->portName(), refusal)));
    }
}

QString SerialTransport::openFailureText(const QString& displayName)
{
    return tr("Serial Port %1 OPEN FAILED! ERROR: ").arg(displayName);
}

QString SerialTransport::closedText(const QString& displayName, bool closed)
{
    return (closed ? tr("Serial Port %1 CLOSE SUCCESS") : tr("Serial Port %1 CLOSE FAILED"))
        .arg(displayName);
}

void SerialTransport::setDisplayName(const QString& name)
{
    m_displayName = name;
    setName(name);
}

void SerialTransport::failOpening(OpenMode how)
{
    const QString text = openFailureText(name()) + m_port->errorString();
    setErrorText(text);
    if (how == OpenMode::Asked) {
        tell(Notice::error(text, serialOpenAdvice(m_port->error(),
                                     serialDeviceFacts(serialDevicePath(m_port->portName())))));
    }
}

void SerialTransport::close()
{
    if (m_phase != Phase::Open)
        return;
    const QPointer<SerialTransport> self(this);
    const auto over = [&] { return !self || m_phase != Phase::Ending; };
    m_phase = Phase::Ending;
    Q_EMIT closing();
    if (!over() && hasUnread()) {
        m_lastCall = true;
        Q_EMIT readyRead();
        if (self)
            m_lastCall = false;
    }
    if (over())
        return;
    tellRefused();
    if (over())
        return;
    if (const qint64 bytes = m_output.takeLeft(); bytes > 0)
        Q_EMIT left(bytes, {});
    if (over())
        return;
    m_residue.clear();
    m_breakActive = false;
    m_phase = Phase::Closed; // from here on nobody wants to hear of errors
    m_port->setBreakEnabled(false);
    if (m_output.pendingBytes() > 0) {
        m_phase = Phase::Lingering;
        m_lingerEnd.setRemainingTime(kLingerMs);
        m_poll.start();
    } else {
        closePort();
    }
    tell(Notice::info(closedText(name(), isLingering() || !m_port->isOpen())));
    if (self)
        Q_EMIT closed({});
}

// Drops the outputs and closes; gives what had not left. A driver that is asked to close a port
// with output in its queue waits for that, up to half a minute: the queue is emptied before.
qint64 SerialTransport::closePort()
{
    m_phase = Phase::Closed;
    m_poll.stop();
    const qint64 unsent = m_output.clear();
    if (!m_port->isOpen())
        return unsent;
    m_port->setDataTerminalReady(false);
    if (!driverOwnsRts())
        m_port->setRequestToSend(false);
    m_port->close();
    return unsent;
}

void SerialTransport::endLinger()
{
    const QPointer<SerialTransport> self(this);
    const qint64 unsent = closePort();
    if (unsent > 0) {
        Q_EMIT discarded(unsent, {});
        if (self)
            tellUnsent(unsentText(unsent));
    }
    if (self)
        Q_EMIT lingered();
}

QString SerialTransport::unsentText(qint64 bytes) const
{
    return tr("Serial Port %1 was closed with %n byte(s) not sent.", nullptr,
        int(qMin<qint64>(bytes, std::numeric_limits<int>::max())))
        .arg(m_port->portName());
}

bool SerialTransport::hasRoomFor(qint64 bytes, const QString& peer) const
{
    Q_UNUSED(peer)
    return m_output.hasRoomFor(bytes);
}

WriteResult SerialTransport::write(const QByteArray& bytes, const QString& peer)
{
    Q_UNUSED(peer)
    if (bytes.isEmpty())
        return {WriteResult::Refusal::Nothing, tr("There is nothing to send.")};
    if (state() != State::Open)
        return {WriteResult::Refusal::NotOpen, tr("The serial port is not open.")};
    if (!m_output.hasRoomFor(bytes.size()))
        return refuseFull(bytes.size());
    if (!m_output.write(bytes)) {
        qWarning() << "Send message failed!" << m_port->errorString();
        return {WriteResult::Refusal::Failed, m_port->errorString()};
    }
    if (!m_poll.isActive())
        m_poll.start();
    tellRefused();
    return {};
}

qint64 SerialTransport::pendingBytes(const QString& peer) const
{
    Q_UNUSED(peer)
    return m_output.pendingBytes();
}

void SerialTransport::tellLeft()
{
    if (state() == State::Open)
        seeToOutput();
}

// The changes whose turn it is, what has left, and the end of a port that waits for that.
void SerialTransport::seeToOutput()
{
    const QPointer<SerialTransport> self(this);
    if (const qint64 bytes = m_output.takeLeft(); bytes > 0)
        Q_EMIT left(bytes, {});
    qint64 overdue = 0;
    while (self && m_phase != Phase::Closed) {
        const std::unique_ptr<Settings> change = m_output.nextChange(&overdue);
        if (!change)
            break;
        if (overdue > 0) {
            tell(Notice::warning(tr("Serial Port %1: the line changed with %2 bytes not sent yet")
                                     .arg(name(), QString::number(overdue))));
        }
        if (self && state() == State::Open)
            carryOut(*change);
        else if (self)
            applySerialParameters(*m_port, *change, SerialParameters::Changed);
    }
    if (!self)
        return;
    if (m_phase == Phase::Lingering && (m_output.pendingBytes() == 0 || m_lingerEnd.hasExpired())) {
        endLinger();
        return;
    }
    if (!m_output.needsPoll() && m_phase != Phase::Lingering)
        m_poll.stop();
    else if (!m_poll.isActive())
        m_poll.start();
}

bool SerialTransport::takeChunk(Chunk& chunk)
{
    if (isReadingHeld() && !m_lastCall)
        return false;
    chunk = {m_residue.take(), {}, true};
    if (state() == State::Open) {
        chunk.bytes.append(m_port->readAll());
        const qsizetype ahead = readDriver();
        chunk.bytes.append(m_ahead.get(), ahead);
    }
    return !chunk.bytes.isEmpty();
}

// QSerialPort reads the driver once in a turn of the event loop, and a driver gives what one of its
// buffers holds, often 4 KiB: on a fast line the turns would cost more than the bytes. Errors and
// the end of the device are QSerialPort's to find, at its next read. Only while QSerialPort is at
// it: bytes taken at any other time could be those that the event loop is about to wake it for, and
// it reports a wake-up for nothing as a read error.
qsizetype SerialTransport::readDriver()
{
    qsizetype size = 0;
    if (!m_toldByDriver)
        return size;
#ifdef Q_OS_UNIX
    const int descriptor = m_port->handle();
    while (size < kReadAheadBytes) {
        const ssize_t part =
            ::read(descriptor, m_ahead.get() + size, std::size_t(kReadAheadBytes - size));
        if (part <= 0)
            break;
        size += part;
    }
#endif
    return size;
}

bool SerialTransport::hasUnread() const
{
    return !m_residue.isEmpty() || (state() == State::Open && m_port->bytesAvailable() > 0);
}

void SerialTransport::discard(Purge which)
{
    if (state() != State::Open)
        return;
    if (purgesInput(which)) {
        m_residue.clear();
        m_port->clear(QSerialPort::Input);
    }
    if (!purgesOutput(which))
        return;
    if (const qint64 bytes = m_output.clear(); bytes > 0)
        Q_EMIT discarded(bytes, {});
}

void SerialTransport::setReadingHeld(bool held)
{
    // A port that holds more than its limit would report readiness again and again.
    if (held && m_port->isOpen() && m_port->bytesAvailable() >= kHeldReadBufferBytes)
        keepUnread();
    m_port->setReadBufferSize(held ? kHeldReadBufferBytes : 0);
    if (!held && hasUnread())
        Q_EMIT readyRead();
}

void SerialTransport::keepUnread()
{
    const qsizetype dropped = m_residue.keep(m_port->readAll());
    if (dropped > 0) {
        tell(Notice::error(
            tr("Serial Port %1: %2 received bytes were dropped because nobody read them")
                .arg(m_port->portName(), QString::number(dropped))));
    }
}

void SerialTransport::onErrorOccurred(QSerialPort::SerialPortError error)
{
    // What the port says while it is being closed is of no interest to anybody.
    if (error == QSerialPort::NoError || m_phase == Phase::Closed)
        return;
    const QPointer<SerialTransport> self(this);
    m_lastErrorText = m_port->errorString();
    const bool vanished = serialDeviceVanished(*m_port, error);
    if (m_askingPinout && !vanished)
        m_pinoutRefused = true;
    if (vanished && m_phase == Phase::Lingering)
        endLinger();
    else if (vanished && m_closesWhenLost)
        closeLost();
    if (self)
        Q_EMIT portErrorOccurred(error);
}

void SerialTransport::closeLost()
{
    if (m_losing || state() != State::Open)
        return;
    const QPointer<SerialTransport> self(this);
    m_losing = true;
    m_breakActive = false;
    if (!isReadingHeld() && m_port->bytesAvailable() > 0)
        Q_EMIT readyRead();
    if (self && state() == State::Open)
        keepUnread();
    if (!self)
        return;
    m_losing = false;
    // The reader may have closed the port, and then nothing was lost.
    if (state() != State::Open)
        return;
    const qint64 unsent = closePort();
    setErrorText(tr("Serial Port %1 DISCONNECTED").arg(m_port->portName()));
    const CloseReason reason{CloseReason::Kind::Lost, errorText(), unsent};
    if (unsent > 0) {
        Q_EMIT discarded(unsent, {});
        if (self)
            tellUnsent(unsentText(unsent));
    }
    if (self)
        tellRefused();
    if (self)
        tell(Notice::warning(reason.text));
    if (self)
        Q_EMIT closed(reason);
}
