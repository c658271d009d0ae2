#include "terminal/port/remotelinedriver.h"

#include "terminal/port/locallinedriver.h"
#include "terminal/port/remoteseriallink.h"

namespace {

constexpr int messageMs = 5000;
constexpr int refusedMs = 6000;

QString nameOf(SerialLine line)
{
    return line == SerialLine::Rts ? QStringLiteral("RTS") : QStringLiteral("DTR");
}

} // namespace

RemoteLineDriver::RemoteLineDriver(RemoteSerialLink& link)
    : m_link(link)
{}

ModemLines RemoteLineDriver::inputs()
{
    return m_link.modemLines();
}

LineDriver::Sight RemoteLineDriver::sight() const
{
    if (!m_link.isConnected() || m_link.state() != RemoteSerialLink::State::ComPortActive)
        return Sight::None;
    return m_link.knowsModemLines() ? Sight::All : Sight::Outputs;
}

LineDriver::Level RemoteLineDriver::output(SerialLine line, const Settings& settings) const
{
    if (const std::optional<bool> confirmed = m_link.confirmed(line))
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

LineDriver::Answer RemoteLineDriver::requested(SerialLine line, const Settings& settings) const
{
    const bool high = line == SerialLine::Dtr ? settings.dtrOn : settings.rtsOn;
    switch (m_link.state()) {
    case RemoteSerialLink::State::ComPortActive:
        return {true,
            tr("Asked the remote port for %1 %2; the lamp turns green when the server confirms it.")
                .arg(nameOf(line), levelName(high)),
            messageMs};
    case RemoteSerialLink::State::PlainTelnet:
    case RemoteSerialLink::State::TransparentTcp:
        return {false,
            tr("The remote peer did not accept RFC 2217 com-port control, so %1 cannot be set from "
               "here.")
                .arg(nameOf(line)),
            refusedMs};
    case RemoteSerialLink::State::Negotiating:
        break;
    }
    // Nobody has been asked yet: the level goes along when the remote agrees.
    return {true,
        (m_link.isConnected() ? tr("The remote port has not answered yet; it is asked for %1 %2 as "
                                   "soon as it does.")
                              : tr("The connection is not open; the remote port is asked for %1 %2 "
                                   "when it is."))
            .arg(nameOf(line), levelName(high)),
        messageMs};
}

LineDriver::Answer RemoteLineDriver::setBreak(bool on)
{
    using State = RemoteSerialLink::State;
    QString text;
    const bool done = m_link.sendBreak(on);
    if (!on)
        return {done, {}, 0};
    if (m_link.isConnected() && m_link.state() == State::Negotiating)
        text = tr("The remote port has not answered yet; Break cannot be sent before it does.");
    else if (m_link.isConnected() && m_link.state() != State::ComPortActive)
        text = tr("The remote peer did not accept RFC 2217 com-port control, so Break cannot be "
                  "sent.");
    else if (done)
        text = tr("Sent Break to the remote port; it is released when you let go.");
    else
        text = tr("Could not send Break: the connection is not open.");
    return {done, text, messageMs};
}
