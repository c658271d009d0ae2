#include "terminal/port/linedriver.h"

#include "connections/connectioncontroller.h"
#include "connections/rfc2217transport.h"

namespace {

constexpr int kMessageMs = 5000;
constexpr int kRefusedMs = 6000;

QString nameOf(SerialLine line)
{
    return line == SerialLine::Rts ? QStringLiteral("RTS") : QStringLiteral("DTR");
}

bool flowControlDrivesRts(const Settings& settings)
{
    return settings.flowControl == QSerialPort::HardwareControl;
}

} // namespace

QString LineDriver::levelName(bool high)
{
    return high ? tr("high") : tr("low");
}

QString LineDriver::stateText(Level level)
{
    QString name = levelName(level.high);
    switch (level.certainty) {
    case Certainty::Sure:
        return name;
    case Certainty::Requested:
        return tr("%1, not confirmed").arg(name);
    case Certainty::Automatic:
        return tr("driven by flow control");
    }
    return {};
}

QString LineDriver::waitingText(Level level)
{
    return tr("%1 when the port opens").arg(levelName(level.high));
}

QString LineDriver::unknownText()
{
    return tr("not known: the port does not tell");
}

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

LineDriver::Answer LocalLineDriver::requested(
    SerialLine /*line*/, const Settings& /*settings*/) const
{
    return {true, {}, 0};
}

LineDriver::Answer LocalLineDriver::setBreak(bool on)
{
    return {m_controller.setSerialLine(SerialLine::Break, on), {}, 0};
}

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
    if (line == SerialLine::Rts && flowControlDrivesRts(settings))
        return LocalLineDriver::automaticRtsReason();
    return {};
}

QString RemoteLineDriver::breakHint() const
{
    return tr("Click to send a Break to the remote port (hold for longer)");
}

LineDriver::Answer RemoteLineDriver::requested(SerialLine line, const Settings& settings) const
{
    using State = Rfc2217Transport::SessionState;
    const bool high = line == SerialLine::Dtr ? settings.dtrOn : settings.rtsOn;
    const bool open = remote() && remote()->isOpen();
    const State state = open ? remote()->sessionState() : State::Negotiating;
    switch (state) {
    case State::ComPortActive:
        return {true,
            tr("Asked the remote port for %1 %2; the lamp turns green when the server confirms it.")
                .arg(nameOf(line), levelName(high)),
            kMessageMs};
    case State::PlainTelnet:
    case State::TransparentTcp:
        return {false,
            tr("The remote peer did not accept RFC 2217 com-port control, so %1 cannot be set from "
               "here.")
                .arg(nameOf(line)),
            kRefusedMs};
    case State::Negotiating:
        break;
    }
    // Nobody has been asked yet: the level goes along when the remote agrees.
    return {true,
        (open ? tr("The remote port has not answered yet; it is asked for %1 %2 as soon as it "
                   "does.")
              : tr("The connection is not open; the remote port is asked for %1 %2 when it is."))
            .arg(nameOf(line), levelName(high)),
        kMessageMs};
}

LineDriver::Answer RemoteLineDriver::setBreak(bool on)
{
    using Result = SerialLines::Answer;
    const Result result = remote() ? remote()->setLine(SerialLine::Break, on) : Result::NotOpen;
    const bool done = result == Result::Asked;
    if (!on)
        return {done, {}, 0};
    switch (result) {
    case Result::Asked:
        return {
            done, tr("Sent Break to the remote port; it is released when you let go."), kMessageMs};
    case Result::NotYet:
        return {done,
            tr("The remote port has not answered yet; Break cannot be sent before it does."),
            kMessageMs};
    case Result::NoComPort:
        return {done,
            tr("The remote peer did not accept RFC 2217 com-port control, so Break cannot be "
               "sent."),
            kMessageMs};
    default:
        return {done, tr("Could not send Break: the connection is not open."), kMessageMs};
    }
}
