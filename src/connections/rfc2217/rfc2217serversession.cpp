#include "connections/rfc2217/rfc2217serversession.h"

#include "connections/rfc2217/rfc2217values.h"

#include <algorithm>
#include <array>
#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace {

using Codec = Rfc2217Codec;
using Event = Codec::Event;
using Line = Rfc2217ServerSession::Line;
using Outcome = Rfc2217ServerSession::Outcome;

constexpr auto kBaudRateKey = "baud_rate"_L1;
constexpr auto kDataBitsKey = "data_bits"_L1;
constexpr auto kParityKey = "parity"_L1;
constexpr auto kStopBitsKey = "stop_bits"_L1;
constexpr auto kFlowControlKey = "flow_control"_L1;

// A code of the Settings record and its value in the outcome's changes.
struct Named
{
    int code = 0;
    QLatin1StringView name;
};

constexpr std::array kParityNames{Named{0, "none"_L1}, Named{3, "odd"_L1}, Named{2, "even"_L1},
    Named{5, "mark"_L1}, Named{4, "space"_L1}};
constexpr std::array kFlowControlNames{
    Named{0, "none"_L1}, Named{1, "rtscts"_L1}, Named{2, "xonxoff"_L1}};

template<std::size_t N>
QLatin1StringView nameOf(const std::array<Named, N>& rows, int code)
{
    const auto row = std::ranges::find(rows, code, &Named::code);
    return row == rows.end() ? rows.front().name : row->name;
}

template<std::size_t N>
int codeOf(const std::array<Named, N>& rows, const QString& name, int otherwise)
{
    const auto row = std::ranges::find(rows, name, &Named::name);
    return row == rows.end() ? otherwise : row->code;
}

// 1.5 stop bits have the code 3.
constexpr int kOneAndAHalfStop = 3;

double stopBitsNumber(int code)
{
    return code == kOneAndAHalfStop ? 1.5 : code;
}

QByteArray answer(const Event& event, quint8 value)
{
    return Codec::serverResponse(event.command, QByteArray(1, char(value)));
}

void applyBaudRate(const Event& event, const Settings& settings, Outcome& outcome)
{
    const quint32 rate = event.inquiry ? quint32(settings.baudRate) : event.value;
    if (!event.inquiry)
        outcome.settingsChanges.insert(kBaudRateKey, qint64(rate));
    outcome.reply = Codec::serverResponse(event.command, Codec::baudRatePayload(rate));
}

void applyLine(const Event& event, Line line, bool present, Outcome& outcome)
{
    const bool on = event.inquiry ? present : event.on;
    if (!event.inquiry)
        outcome.controlActions.append({line, on});
    outcome.reply = answer(event, Codec::controlLineToWire(event.type, on));
}

// Everything that is one byte on the wire: `present` and the event's value are codes of the record.
void applyCode(const Event& event, int present, quint8 (*toWire)(int), QLatin1StringView key,
    QJsonValue (*toJson)(int), Outcome& outcome)
{
    const int code = event.inquiry ? present : int(event.value);
    if (!event.inquiry)
        outcome.settingsChanges.insert(key, toJson(code));
    outcome.reply = answer(event, toWire(code));
}

// What the next request of the same block finds.
Settings after(const Outcome& outcome, const Settings& settings)
{
    Settings next = outcome.settingsChanges.isEmpty()
                        ? settings
                        : Rfc2217ServerSession::changed(settings, outcome.settingsChanges);
    for (const auto& action : outcome.controlActions) {
        if (action.line == Line::Dtr)
            next.dtrOn = action.on;
        else if (action.line == Line::Rts)
            next.rtsOn = action.on;
    }
    return next;
}

void merge(Outcome& total, const Outcome& one)
{
    total.modemStateInquired = total.modemStateInquired || one.modemStateInquired;
    total.reply += one.reply;
    for (auto it = one.settingsChanges.begin(); it != one.settingsChanges.end(); ++it)
        total.settingsChanges.insert(it.key(), it.value());
    total.controlActions += one.controlActions;
    total.purge |= one.purge;
}

} // namespace

Rfc2217ServerSession::Rfc2217ServerSession() = default;

void Rfc2217ServerSession::reset()
{
    m_codec.reset();
}

QByteArray Rfc2217ServerSession::begin()
{
    reset();
    return m_codec.greeting();
}

Outcome Rfc2217ServerSession::receive(const QByteArray& bytes, const Settings& settings)
{
    const quint8 mask = m_codec.modemStateMask();
    Outcome total;
    QList<Event> events;
    total.data = m_codec.decode(bytes, &events, &total.reply);
    total.modemStateAsked = (m_codec.modemStateMask() & ~mask) != 0;
    if (events.isEmpty())
        return total;
    Settings present = settings.sanitized();
    for (const Event& event : std::as_const(events)) {
        const Outcome one = apply(event, present);
        present = after(one, present);
        merge(total, one);
    }
    return total;
}

Outcome Rfc2217ServerSession::apply(const Event& event, const Settings& settings)
{
    Outcome outcome;
    switch (event.type) {
    case Event::Type::BaudRate:
        applyBaudRate(event, settings, outcome);
        break;
    case Event::Type::DataSize:
        applyCode(
            event, settings.dataBits, [](int bits) { return quint8(bits); }, kDataBitsKey,
            [](int bits) { return QJsonValue(bits); }, outcome);
        break;
    case Event::Type::Parity:
        applyCode(
            event, settings.parity, &Codec::parityToWire, kParityKey,
            [](int code) { return QJsonValue(nameOf(kParityNames, code)); }, outcome);
        break;
    case Event::Type::StopSize:
        applyCode(
            event, settings.stopBits, &Codec::stopSizeToWire, kStopBitsKey,
            [](int code) { return QJsonValue(stopBitsNumber(code)); }, outcome);
        break;
    case Event::Type::FlowControl:
        applyCode(
            event, settings.flowControl, &Codec::flowControlToWire, kFlowControlKey,
            [](int code) { return QJsonValue(nameOf(kFlowControlNames, code)); }, outcome);
        break;
    case Event::Type::Break:
        applyLine(event, Line::Break, false, outcome);
        break;
    case Event::Type::Dtr:
        applyLine(event, Line::Dtr, settings.dtrOn, outcome);
        break;
    case Event::Type::Rts:
        applyLine(event, Line::Rts, settings.rtsOn, outcome);
        break;
    case Event::Type::Purge:
        outcome.purge = event.value <= Rfc2217::PurgeBoth ? quint8(event.value) : quint8(0);
        outcome.reply = answer(event, quint8(event.value));
        break;
    case Event::Type::Signature:
        outcome.reply = Codec::serverResponse(event.command, "Velmora bridge"_ba);
        break;
    case Event::Type::ModemState:
        outcome.modemStateInquired = true;
        break;
    case Event::Type::LineState:
        break;
    }
    return outcome;
}

QByteArray Rfc2217ServerSession::modemStateNotification(quint8 state) const
{
    return m_codec.modemStateNotification(state);
}

QByteArray Rfc2217ServerSession::modemStateAnswer(quint8 state)
{
    return Codec::serverResponse(Rfc2217::NotifyModemState, QByteArray(1, char(state)));
}

Settings Rfc2217ServerSession::changed(const Settings& settings, const QJsonObject& changes)
{
    constexpr double kMaxBaudRate = std::numeric_limits<qint32>::max();
    Settings next = settings;
    const double rate = changes.value(kBaudRateKey).toDouble(next.baudRate);
    next.baudRate = qint32(std::clamp(rate, 1.0, kMaxBaudRate));
    next.dataBits = changes.value(kDataBitsKey).toInt(next.dataBits);
    next.parity = codeOf(kParityNames, changes.value(kParityKey).toString(), next.parity);
    const double stop = changes.value(kStopBitsKey)
                            .toDouble(next.stopBits == kOneAndAHalfStop ? 1.5 : next.stopBits);
    next.stopBits = stop > 1 && stop < 2 ? kOneAndAHalfStop : stop < 2 ? 1 : 2;
    next.flowControl =
        codeOf(kFlowControlNames, changes.value(kFlowControlKey).toString(), next.flowControl);
    return next.sanitized();
}
