#include "connections/rfc2217/rfc2217clientsession.h"

#include "connections/rfc2217/rfc2217values.h"

#include <QStringList>

using namespace Qt::Literals::StringLiterals;

namespace {

using Codec = Rfc2217Codec;
using Event = Codec::Event;

// Where the output lines stand in a push.
constexpr std::size_t kDtrRequest = 5;
constexpr std::size_t kRtsRequest = 6;

// The modem states that are asked for: the levels, and not the changes, which follow from them.
constexpr quint8 kModemStateMask = 0xF0;

QByteArray request(quint8 command, quint8 value)
{
    return Codec::clientRequest(command, QByteArray(1, char(value)));
}

QByteArray introduction()
{
    return Codec::clientRequest(Rfc2217::Signature, "Velmora"_ba)
           + request(Rfc2217::SetModemStateMask, kModemStateMask);
}

QByteArray inquiries()
{
    using namespace Rfc2217;
    return Codec::clientRequest(SetBaudRate, Codec::baudRatePayload(0)) + request(SetDataSize, 0)
           + request(SetParity, 0) + request(SetStopSize, 0) + request(SetControl, FlowInquiry)
           + request(SetControl, DtrInquiry) + request(SetControl, RtsInquiry);
}

} // namespace

Rfc2217ClientSession::Rfc2217ClientSession() = default;

void Rfc2217ClientSession::reset()
{
    *this = Rfc2217ClientSession();
}

QByteArray Rfc2217ClientSession::begin()
{
    reset();
    return m_codec.greeting();
}

Rfc2217ClientSession::Outcome Rfc2217ClientSession::receive(const QByteArray& bytes)
{
    Outcome outcome;
    if (m_state == State::TransparentTcp) {
        outcome.data = bytes;
        return outcome;
    }
    QList<Event> events;
    outcome.data = m_codec.decode(bytes, &events, &outcome.reply);
    if (m_state == State::Negotiating && m_codec.remoteSupportsComPort()) {
        m_state = State::ComPortActive;
        outcome.negotiationFinished = true;
        outcome.message = tr("The remote port accepted serial parameter control.");
    }
    QString report;
    for (const Event& event : std::as_const(events))
        apply(event, report);
    // What comes in one block would be read by nobody if one text replaced the other.
    if (!report.isEmpty())
        outcome.message += outcome.message.isEmpty() ? report : QString(u' ' + report);
    return outcome;
}

Rfc2217ClientSession::Outcome Rfc2217ClientSession::onNegotiationTimeout()
{
    Outcome outcome;
    if (m_state != State::Negotiating)
        return outcome;
    outcome.negotiationFinished = true;
    if (m_codec.remoteSentIac()) {
        m_state = State::PlainTelnet;
        outcome.message = tr("The remote does not support serial parameter control; continuing as "
                             "plain Telnet.");
    } else {
        m_state = State::TransparentTcp;
        outcome.message = tr("The remote is not an RFC 2217 server; continuing as transparent TCP. "
                             "The handshake bytes may have reached the remote serial line.");
    }
    return outcome;
}

void Rfc2217ClientSession::apply(const Event& event, QString& message)
{
    // A response that names no defined value tells nothing.
    if (event.inquiry)
        return;
    const int value = int(event.value);
    switch (event.type) {
    case Event::Type::BaudRate:
        m_remote.baudRate = event.value;
        message = tr("The remote port is now at %1 baud.").arg(event.value);
        break;
    case Event::Type::DataSize:
        m_remote.dataBits = value;
        break;
    case Event::Type::Parity:
        m_remote.parity = value;
        break;
    case Event::Type::StopSize:
        m_remote.stopBits = value;
        break;
    case Event::Type::FlowControl:
        m_remote.flowControl = value;
        break;
    case Event::Type::Dtr:
        m_confirmedDtr = event.on;
        break;
    case Event::Type::Rts:
        m_confirmedRts = event.on;
        break;
    case Event::Type::ModemState:
        m_modemState = quint8(event.value);
        break;
    case Event::Type::Break:
    case Event::Type::Purge:
    case Event::Type::Signature:
    case Event::Type::LineState:
        break;
    }
}

QByteArray Rfc2217ClientSession::settingsUpdate(const Settings& settings)
{
    if (m_state != State::ComPortActive)
        return {};
    QByteArray bytes;
    if (!m_introduced) {
        m_introduced = true;
        bytes += introduction();
    }
    if (!settings.useRemoteSerialConfig)
        return bytes + push(settings.sanitized());
    m_pushed.reset();
    if (!m_inquired) {
        m_inquired = true;
        bytes += inquiries();
    }
    return bytes;
}

// The requests that differ from those last pushed.
QByteArray Rfc2217ClientSession::push(const Settings& settings)
{
    using namespace Rfc2217;
    const Push wanted{
        Codec::clientRequest(SetBaudRate, Codec::baudRatePayload(quint32(settings.baudRate))),
        request(SetDataSize, quint8(settings.dataBits)),
        request(SetParity, Codec::parityToWire(settings.parity)),
        request(SetStopSize, Codec::stopSizeToWire(settings.stopBits)),
        request(SetControl, Codec::flowControlToWire(settings.flowControl)),
        request(SetControl, Codec::controlLineToWire(Event::Type::Dtr, settings.dtrOn)),
        request(SetControl, Codec::controlLineToWire(Event::Type::Rts, settings.rtsOn))};
    QByteArray bytes;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        if (m_pushed && m_pushed->at(i) == wanted[i])
            continue;
        bytes += wanted[i];
        if (i == kDtrRequest)
            m_confirmedDtr.reset();
        else if (i == kRtsRequest)
            m_confirmedRts.reset();
    }
    m_pushed = wanted;
    return bytes;
}

QByteArray Rfc2217ClientSession::breakCommand(bool on) const
{
    if (m_state != State::ComPortActive)
        return {};
    return request(Rfc2217::SetControl, Codec::controlLineToWire(Event::Type::Break, on));
}

QByteArray Rfc2217ClientSession::purgeCommand(quint8 which) const
{
    return m_state == State::ComPortActive ? request(Rfc2217::PurgeData, which) : QByteArray();
}

QByteArray Rfc2217ClientSession::modemStateInquiry() const
{
    if (m_state != State::ComPortActive)
        return {};
    // Some servers answer a request for the state, others tell it when they are given the mask.
    return Codec::clientRequest(Rfc2217::NotifyModemState, {})
           + request(Rfc2217::SetModemStateMask, kModemStateMask);
}

QByteArray Rfc2217ClientSession::encodePayload(const QByteArray& data) const
{
    return m_state == State::TransparentTcp ? data : Codec::encodePayload(data);
}

QString Rfc2217ClientSession::remoteSummary() const
{
    Settings texts;
    texts.parity = m_remote.parity;
    texts.stopBits = m_remote.stopBits;
    texts.flowControl = m_remote.flowControl;
    texts.refreshTexts();
    QStringList lines;
    const auto add = [&lines](qint64 known, const QString& name, const QString& value) {
        if (known >= 0)
            lines.append(name + u": "_s + value);
    };
    add(m_remote.baudRate, tr("Remote baudrate"), QString::number(m_remote.baudRate));
    add(m_remote.dataBits, tr("Remote data bits"), QString::number(m_remote.dataBits));
    add(m_remote.parity, tr("Remote parity"), texts.stringParity);
    add(m_remote.stopBits, tr("Remote stop bits"), texts.stringStopBits);
    add(m_remote.flowControl, tr("Remote flow control"), texts.stringFlowControl);
    return lines.join(u'\n');
}
