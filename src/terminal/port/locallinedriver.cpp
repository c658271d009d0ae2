#include "terminal/port/locallinedriver.h"

#include "connections/connectioncontroller.h"

namespace {

bool flowControlDrivesRts(const Settings& settings)
{
    return settings.flowControl == QSerialPort::HardwareControl;
}

} // namespace

LocalLineDriver::LocalLineDriver(ConnectionController& controller)
    : m_controller(controller)
{}

QString LocalLineDriver::automaticRtsReason()
{
    return tr("RTS is driven by RTS/CTS flow control and cannot be set by hand.");
}

ModemLines LocalLineDriver::inputs()
{
    const QSerialPort::PinoutSignals lines = m_controller.serialPinoutSignals();
    return {lines.testFlag(QSerialPort::ClearToSendSignal),
        lines.testFlag(QSerialPort::DataSetReadySignal),
        lines.testFlag(QSerialPort::DataCarrierDetectSignal),
        lines.testFlag(QSerialPort::RingIndicatorSignal)};
}

LineDriver::Sight LocalLineDriver::sight() const
{
    return m_controller.tellsSerialPinout() ? Sight::All : Sight::None;
}

LineDriver::Level LocalLineDriver::output(SerialLine line, const Settings& settings) const
{
    if (line == SerialLine::Dtr)
        return {settings.dtrOn, Certainty::Sure};
    if (flowControlDrivesRts(settings) && m_controller.isOpen(connectionMode::SerialPort))
        return {true, Certainty::Automatic};
    return {settings.rtsOn, Certainty::Sure};
}

QString LocalLineDriver::inertReason(SerialLine line, const Settings& settings) const
{
    return line == SerialLine::Rts && flowControlDrivesRts(settings) ? automaticRtsReason()
                                                                     : QString();
}

QString LocalLineDriver::breakHint() const
{
    return tr("Click to send a serial break (hold for longer)");
}

LineDriver::Answer LocalLineDriver::requested(
    SerialLine /*line*/, const Settings& /*settings*/) const
{
    return {true, {}, 0};
}

LineDriver::Answer LocalLineDriver::setBreak(bool on)
{
    return {m_controller.setSerialLine(SerialLine::Break, on), {}, 0};
}
