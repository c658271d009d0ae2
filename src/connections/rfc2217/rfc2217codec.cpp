#include "connections/rfc2217/rfc2217codec.h"

#include "connections/rfc2217/rfc2217values.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

namespace {

using Event = Rfc2217Codec::Event;
using Type = Event::Type;

// A value of the Settings record, which is QSerialPort's, and the one of RFC 2217.
struct ValuePair
{
    int code = 0;
    quint8 wire = 0;
};

// The first row stands for what is not defined.
constexpr std::array kParities{
    ValuePair{0, 1}, ValuePair{3, 2}, ValuePair{2, 3}, ValuePair{5, 4}, ValuePair{4, 5}};
constexpr std::array kStopSizes{ValuePair{1, 1}, ValuePair{2, 2}, ValuePair{3, 3}};
constexpr std::array kFlowControls{ValuePair{0, Rfc2217::FlowNone},
    ValuePair{2, Rfc2217::FlowXonXoff}, ValuePair{1, Rfc2217::FlowRtsCts}};

template<std::size_t N>
quint8 wireOf(const std::array<ValuePair, N>& pairs, int code)
{
    const auto pair = std::ranges::find(pairs, code, &ValuePair::code);
    return pair == pairs.end() ? pairs.front().wire : pair->wire;
}

template<std::size_t N>
int codeOf(const std::array<ValuePair, N>& pairs, quint8 wire)
{
    const auto pair = std::ranges::find(pairs, wire, &ValuePair::wire);
    return pair == pairs.end() ? pairs.front().code : pair->code;
}

// Control lines of SET-CONTROL: each has an inquiry, then on, then off.
struct ControlLine
{
    Type type;
    quint8 inquiry;
};

constexpr std::array kControlLines{ControlLine{Type::Break, Rfc2217::BreakInquiry},
    ControlLine{Type::Dtr, Rfc2217::DtrInquiry}, ControlLine{Type::Rts, Rfc2217::RtsInquiry}};

bool fillControl(Event& event, quint8 value)
{
    if (value > Rfc2217::RtsOff)
        return false;
    if (value < Rfc2217::BreakInquiry) {
        event.type = Type::FlowControl;
        event.inquiry = value == Rfc2217::FlowInquiry;
        event.value = quint32(Rfc2217Codec::flowControlFromWire(value));
        return true;
    }
    const ControlLine& line = kControlLines[(value - Rfc2217::BreakInquiry) / 3U];
    event.type = line.type;
    event.inquiry = value == line.inquiry;
    event.on = value == line.inquiry + 1;
    event.value = value;
    return true;
}

// The commands whose payload is one byte; false for those that are not for this program.
bool fillByte(Event& event, quint8 value)
{
    event.value = value;
    switch (event.command) {
    case Rfc2217::SetDataSize:
        event.type = Type::DataSize;
        event.inquiry = value < 5 || value > 8;
        return true;
    case Rfc2217::SetParity:
        event.type = Type::Parity;
        event.inquiry = value == 0 || value > 5;
        event.value = quint32(Rfc2217Codec::parityFromWire(value));
        return true;
    case Rfc2217::SetStopSize:
        event.type = Type::StopSize;
        event.inquiry = value == 0 || value > 3;
        return true;
    case Rfc2217::SetControl:
        return fillControl(event, value);
    case Rfc2217::NotifyLineState:
        event.type = Type::LineState;
        return true;
    case Rfc2217::NotifyModemState:
        event.type = Type::ModemState;
        return true;
    case Rfc2217::PurgeData:
        event.type = Type::Purge;
        return true;
    default:
        return false;
    }
}

std::optional<Event> eventOf(quint8 command, const QByteArray& payload, bool fromServer)
{
    Event event;
    event.command = command;
    event.fromServer = fromServer;
    if (command == Rfc2217::Signature) {
        event.type = Type::Signature;
        event.payload = payload;
        event.inquiry = payload.isEmpty() && !fromServer;
        return event;
    }
    if (command == Rfc2217::SetBaudRate) {
        if (payload.size() < qsizetype(sizeof(quint32)))
            return std::nullopt;
        event.type = Type::BaudRate;
        event.value = qFromBigEndian<quint32>(payload.constData());
        event.inquiry = event.value == 0;
        return event;
    }
    if (payload.isEmpty() || !fillByte(event, quint8(payload.front())))
        return std::nullopt;
    return event;
}

const char* findIac(const char* from, const char* end)
{
    const void* found = std::memchr(from, Rfc2217::IAC, std::size_t(end - from));
    return found ? static_cast<const char*>(found) : end;
}

QByteArray subnegotiation(quint8 command, const QByteArray& payload)
{
    using namespace Rfc2217;
    const QByteArray escaped = Rfc2217Codec::encodePayload(payload);
    QByteArray bytes;
    bytes.reserve(escaped.size() + 6);
    for (const quint8 byte : {IAC, SB, kComPort, command})
        bytes.append(char(byte));
    bytes.append(escaped);
    bytes.append(char(IAC)).append(char(SE));
    return bytes;
}

} // namespace

struct Rfc2217Codec::Sink
{
    char* data = nullptr; // where the next data byte goes
    QList<Event>* events = nullptr;
    QByteArray* reply = nullptr;
};

Rfc2217Codec::Rfc2217Codec(Role role)
    : m_role(role)
{}

void Rfc2217Codec::reset()
{
    *this = Rfc2217Codec(m_role);
}

QByteArray Rfc2217Codec::greeting()
{
    using namespace Rfc2217;
    QByteArray bytes;
    Sink sink{.reply = &bytes};
    for (const quint8 option : {kComPort, kBinary, kSuppressGoAhead}) {
        announce(m_ownOptions, WILL, option, sink);
        // A server offers the com port and leaves it to the client to ask for its use.
        if (option != kComPort || m_role == Role::Client)
            announce(m_remoteOptions, DO, option, sink);
    }
    return bytes;
}

QByteArray Rfc2217Codec::decode(const QByteArray& in, QList<Event>* events, QByteArray* reply)
{
    if (m_state == State::Data && !in.contains(char(Rfc2217::IAC)))
        return in;
    // No byte gives more than one byte of data.
    QByteArray data(in.size(), Qt::Uninitialized);
    Sink sink{.data = data.data(), .events = events, .reply = reply};
    const char* const end = in.constData() + in.size();
    for (const char* at = in.constData(); at != end;) {
        if (m_state == State::Data || m_state == State::Sub) {
            const char* const iac = findIac(at, end);
            if (m_state == State::Data)
                sink.data = std::copy(at, iac, sink.data);
            else
                appendToSub(at, iac - at);
            at = iac;
            if (at == end)
                break;
        }
        takeByte(quint8(*at++), sink);
    }
    data.truncate(sink.data - data.constData());
    return data;
}

void Rfc2217Codec::takeByte(quint8 byte, Sink& sink)
{
    switch (m_state) {
    case State::Data:
        m_remoteSentIac = true;
        m_state = State::Iac;
        break;
    case State::Iac:
        handleIac(byte, sink);
        break;
    case State::Option:
        m_state = State::Data;
        handleOption(byte, sink);
        break;
    case State::Sub:
        m_state = State::SubIac;
        break;
    case State::SubIac:
        handleSubIac(byte, sink);
        break;
    }
}

void Rfc2217Codec::handleIac(quint8 byte, Sink& sink)
{
    using namespace Rfc2217;
    m_state = State::Data;
    switch (byte) {
    case IAC:
        *sink.data++ = char(IAC);
        break;
    case WILL:
    case WONT:
    case DO:
    case DONT:
        m_verb = byte;
        m_state = State::Option;
        break;
    case SB:
        m_sub.clear();
        m_state = State::Sub;
        break;
    default:
        break;
    }
}

void Rfc2217Codec::handleOption(quint8 option, Sink& sink)
{
    using namespace Rfc2217;
    const bool comPort = option == kComPort;
    const bool accepted = comPort || option == kBinary || option == kSuppressGoAhead;
    switch (m_verb) {
    case WILL:
        m_remoteSupportsComPort = m_remoteSupportsComPort || comPort;
        announce(m_remoteOptions, accepted ? DO : DONT, option, sink);
        break;
    case DO:
        m_remoteSupportsComPort = m_remoteSupportsComPort || comPort;
        announce(m_ownOptions, accepted ? WILL : WONT, option, sink);
        break;
    // The client's offer counts for a server, the server's consent for a client; the other
    // direction of the option means nothing to either (RFC 2217, 2).
    case WONT:
        if (comPort && m_role == Role::Server)
            m_remoteSupportsComPort = false;
        if (m_remoteOptions.value(option).on)
            announce(m_remoteOptions, DONT, option, sink);
        break;
    case DONT:
        if (comPort && m_role == Role::Client)
            m_remoteSupportsComPort = false;
        if (m_ownOptions.value(option).on)
            announce(m_ownOptions, WONT, option, sink);
        break;
    default:
        break;
    }
}

void Rfc2217Codec::announce(OptionTable& table, quint8 verb, quint8 option, Sink& sink)
{
    const bool on = verb == Rfc2217::DO || verb == Rfc2217::WILL;
    Announced& last = table[option];
    if ((last.changes > 0 && last.on == on) || last.changes == kMaxOptionChanges)
        return;
    last = {on, last.changes + 1};
    if (sink.reply)
        sink.reply->append(char(Rfc2217::IAC)).append(char(verb)).append(char(option));
}

void Rfc2217Codec::appendToSub(const char* bytes, qsizetype count)
{
    m_sub.append(bytes, std::min(count, kMaxSubnegotiationBytes + 1 - m_sub.size()));
}

void Rfc2217Codec::handleSubIac(quint8 byte, Sink& sink)
{
    if (byte == Rfc2217::IAC) {
        const char literal = char(byte);
        appendToSub(&literal, 1);
        m_state = State::Sub;
        return;
    }
    m_state = State::Data;
    if (byte == Rfc2217::SE && m_sub.size() <= kMaxSubnegotiationBytes)
        handleSubnegotiation(sink);
    m_sub.clear();
}

void Rfc2217Codec::handleSubnegotiation(Sink& sink)
{
    if (m_sub.size() < 2 || quint8(m_sub[0]) != Rfc2217::kComPort)
        return;
    const auto code = quint8(m_sub[1]);
    const bool fromServer = code >= Rfc2217::kServerOffset;
    if (fromServer != (m_role == Role::Client))
        return;
    const auto command = quint8(fromServer ? code - Rfc2217::kServerOffset : code);
    QByteArray payload = m_sub.mid(2);
    // Clients that poll the modem state name no value, as there is none to name.
    if (command == Rfc2217::NotifyModemState && payload.isEmpty() && !fromServer)
        payload = QByteArray(1, '\0');
    if (command == Rfc2217::SetModemStateMask) {
        if (!payload.isEmpty())
            m_modemStateMask = quint8(payload.front());
        return;
    }
    const std::optional<Event> event = eventOf(command, payload, fromServer);
    if (event && sink.events)
        sink.events->append(*event);
}

QByteArray Rfc2217Codec::encodePayload(const QByteArray& data)
{
    if (!data.contains(char(Rfc2217::IAC)))
        return data;
    QByteArray encoded(data.size() + data.count(char(Rfc2217::IAC)), Qt::Uninitialized);
    char* out = encoded.data();
    const char* const end = data.constData() + data.size();
    for (const char* at = data.constData(); at != end;) {
        const char* const iac = findIac(at, end);
        out = std::copy(at, iac, out);
        at = iac;
        if (at != end) {
            *out++ = *at;
            *out++ = *at++;
        }
    }
    return encoded;
}

QByteArray Rfc2217Codec::clientRequest(quint8 command, const QByteArray& payload)
{
    return subnegotiation(command, payload);
}

QByteArray Rfc2217Codec::serverResponse(quint8 command, const QByteArray& payload)
{
    return subnegotiation(quint8(command + Rfc2217::kServerOffset), payload);
}

QByteArray Rfc2217Codec::modemStateNotification(quint8 state) const
{
    if (m_modemStateMask == 0)
        return {};
    return serverResponse(Rfc2217::NotifyModemState, QByteArray(1, char(state & m_modemStateMask)));
}

quint8 Rfc2217Codec::parityToWire(int parity)
{
    return wireOf(kParities, parity);
}

int Rfc2217Codec::parityFromWire(quint8 value)
{
    return codeOf(kParities, value);
}

quint8 Rfc2217Codec::stopSizeToWire(int stopBits)
{
    return wireOf(kStopSizes, stopBits);
}

int Rfc2217Codec::stopSizeFromWire(quint8 value)
{
    return codeOf(kStopSizes, value);
}

quint8 Rfc2217Codec::flowControlToWire(int flowControl)
{
    return wireOf(kFlowControls, flowControl);
}

int Rfc2217Codec::flowControlFromWire(quint8 value)
{
    return codeOf(kFlowControls, value);
}

quint8 Rfc2217Codec::controlLineToWire(Event::Type type, bool on)
{
    const auto line = std::ranges::find(kControlLines, type, &ControlLine::type);
    return line == kControlLines.end() ? quint8(Rfc2217::FlowInquiry)
                                       : quint8(line->inquiry + (on ? 1 : 2));
}

QByteArray Rfc2217Codec::baudRatePayload(quint32 baudRate)
{
    QByteArray bytes(qsizetype(sizeof baudRate), '\0');
    qToBigEndian(baudRate, bytes.data());
    return bytes;
}
