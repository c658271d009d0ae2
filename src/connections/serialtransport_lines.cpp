// The control lines of a serial port: what is asked of its outputs, and what can be seen.
#include "connections/serialtransport.h"

#include <QPointer>

using namespace Qt::Literals::StringLiterals;

namespace {

QString lineName(SerialLine line)
{
    return line == SerialLine::Dtr   ? u"DTR"_s
           : line == SerialLine::Rts ? u"RTS"_s
                                     : SerialTransport::tr("Break");
}

} // namespace

SerialLines::Answer SerialTransport::setLine(SerialLine line, bool on)
{
    if (state() != State::Open)
        return Answer::NotOpen;
    if (line == SerialLine::Dtr)
        m_dtrRequested = on;
    else if (line == SerialLine::Rts)
        m_rtsRequested = on;
    const QPointer<SerialTransport> self(this);
    const bool driven = driveLine(line, on, true);
    if (self && line == SerialLine::Break)
        m_breakActive = on && driven;
    if (driven)
        return Answer::Driven;
    return self && line == SerialLine::Rts && driverOwnsRts() ? Answer::Automatic : Answer::Failed;
}

bool SerialTransport::requested(SerialLine line) const
{
    return line == SerialLine::Dtr   ? m_dtrRequested
           : line == SerialLine::Rts ? m_rtsRequested
                                     : m_breakActive;
}

std::optional<bool> SerialTransport::level(SerialLine line) const
{
    if (state() != State::Open || (line == SerialLine::Rts && driverOwnsRts()))
        return {};
    return requested(line);
}

bool SerialTransport::driveLine(SerialLine line, bool on, bool report)
{
    if (line == SerialLine::Rts && driverOwnsRts()) {
        if (report)
            tell(Notice::info(tr("RTS is managed automatically by RTS/CTS flow control")));
        return false;
    }
    const QPointer<SerialTransport> self(this);
    const bool driven = line == SerialLine::Dtr   ? m_port->setDataTerminalReady(on)
                        : line == SerialLine::Rts ? m_port->setRequestToSend(on)
                                                  : m_port->setBreakEnabled(on);
    if (self && !driven && report) {
        Notice notice = Notice::warning(
            tr("Failed to set %1: %2").arg(lineName(line), m_lastErrorText), Notice::kHintMs);
        // Nobody has asked a port without lines for anything but to be opened.
        notice.isDetail = m_settingUp && m_pinoutRefused;
        tell(notice);
    }
    return driven;
}

bool SerialTransport::driverOwnsRts() const
{
    return m_port->flowControl() == QSerialPort::HardwareControl;
}

QSerialPort::PinoutSignals SerialTransport::askPinout()
{
    const QPointer<SerialTransport> self(this);
    m_askingPinout = true;
    const QSerialPort::PinoutSignals lines = m_port->pinoutSignals();
    if (self)
        m_askingPinout = false;
    return lines;
}

ModemLines SerialTransport::inputs()
{
    if (sight() != Sight::All)
        return {};
    const QSerialPort::PinoutSignals lines = askPinout();
    return {lines.testFlag(QSerialPort::ClearToSendSignal),
        lines.testFlag(QSerialPort::DataSetReadySignal),
        lines.testFlag(QSerialPort::DataCarrierDetectSignal),
        lines.testFlag(QSerialPort::RingIndicatorSignal)};
}

SerialLines::Sight SerialTransport::sight() const
{
    if (state() != State::Open)
        return Sight::None;
    return m_pinoutRefused ? Sight::Unknown : Sight::All;
}
