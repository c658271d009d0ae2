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

SerialLines* LocalLineDriver::lines() const
{
    Transport* transport = m_controller.transport();
    return transport ? transport->serialLines() : nullptr;
}

ModemLines LocalLineDriver::inputs()
{
    return lines() ? lines()->inputs() : ModemLines();
}

LineDriver::Sight LocalLineDriver::sight() const
{
    return lines() ? lines()->sight() : Sight::None;
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

LineDriver::Answer LocalLineDriver::drive(SerialLine line, const Settings& settings)
{
    const bool on = line == SerialLine::Dtr ? settings.dtrOn : settings.rtsOn;
    return {m_controller.setSerialLine(line, on), {}, 0};
}

LineDriver::Answer LocalLineDriver::setBreak(bool on)
{
    return {m_controller.setSerialLine(SerialLine::Break, on), {}, 0};
}
