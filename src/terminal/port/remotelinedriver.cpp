#include "terminal/port/remotelinedriver.h"

#include "connections/connectioncontroller.h"
#include "connections/rfc2217transport.h"
#include "terminal/port/locallinedriver.h"

namespace {

constexpr int messageMs = 5000;
constexpr int refusedMs = 6000;

QString nameOf(SerialLine line)
{
    return line == SerialLine::Rts ? QStringLiteral("RTS") : QStringLiteral("DTR");
}

} // namespace

RemoteLineDriver::RemoteLineDriver(ConnectionController& controller)
    : m_controller(controller)
{}

Rfc2217Transport* RemoteLineDriver::remote() const
{
    return qobject_cast<Rfc2217Transport*>(m_controller.transport());
}

ModemLines RemoteLineDriver::inputs()
{
    return remote() ? remote()->inputs() : ModemLines();
}

LineDriver::Sight RemoteLineDriver::sight() const
{
    return remote() ? remote()->sight() : Sight::None;
}

LineDriver::Level RemoteLineDriver::output(SerialLine line, const Settings& settings) const
{
    if (const std::optional<bool> confirmed = remote() ? remote()->level(line) : std::nullopt)
        return {*confirmed, Certainty::Sure};
    return {line == SerialLine::Dtr ? settings.dtrOn : settings.rtsOn, Certainty::Requested};
}

QString RemoteLineDriver::inertReason(SerialLine line, const Settings& settings) const
{
    if (settings.useRemoteSerialConfig) {
        return tr("The remote port is left under its own configuration. Clear \"Keep the remote "
                  "port's own config\" to drive RTS, DTR and Break from here.");
    }
    if (line == SerialLine::Rts && settings.flowControl == QSerialPort::HardwareControl)
        return LocalLineDriver::automaticRtsReason();
    return {};
}

QString RemoteLineDriver::breakHint() const
{
    return tr("Click to send a Break to the remote port (hold for longer)");
}

LineDriver::Answer RemoteLineDriver::drive(SerialLine line, const Settings& settings)
{
    const bool high = line == SerialLine::Dtr ? settings.dtrOn : settings.rtsOn;
    using Result = SerialLines::Answer;
    switch (remote() ? remote()->setLine(line, high) : Result::NotOpen) {
    case Result::NoComPort:
        return {false,
            tr("The remote peer did not accept RFC 2217 com-port control, so %1 cannot be set from "
               "here.")
                .arg(nameOf(line)),
            refusedMs};
    case Result::Later:
        return {true,
            tr("The remote port has not answered yet; it is asked for %1 %2 as soon as it does.")
                .arg(nameOf(line), levelName(high)),
            messageMs};
    case Result::NotOpen:
        // The level goes along with the settings of the opening.
        return {true,
            tr("The connection is not open; the remote port is asked for %1 %2 when it is.")
                .arg(nameOf(line), levelName(high)),
            messageMs};
    case Result::RemoteOwn:
        return {false, inertReason(line, settings), messageMs};
    default:
        return {true,
            tr("Asked the remote port for %1 %2; the lamp turns green when the server confirms it.")
                .arg(nameOf(line), levelName(high)),
            messageMs};
    }
}

LineDriver::Answer RemoteLineDriver::setBreak(bool on)
{
    using Result = SerialLines::Answer;
    const Result result = remote() ? remote()->setLine(SerialLine::Break, on) : Result::NotOpen;
    if (!on)
        return {result == Result::Asked, {}, 0};
    switch (result) {
    case Result::Asked:
        return {
            true, tr("Sent Break to the remote port; it is released when you let go."), messageMs};
    case Result::NotYet:
        return {false,
            tr("The remote port has not answered yet; Break cannot be sent before it does."),
            messageMs};
    case Result::NoComPort:
        return {false,
            tr("The remote peer did not accept RFC 2217 com-port control, so Break cannot be "
               "sent."),
            messageMs};
    default:
        return {false, tr("Could not send Break: the connection is not open."), messageMs};
    }
}
