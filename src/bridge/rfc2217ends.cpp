#include "bridge/rfc2217ends.h"

#include "connections/connectioncontroller.h"
#include "connections/rfc2217/rfc2217values.h"

#include <QStringList>
#include <utility>

namespace {

constexpr char kIac = char(0xFF);
constexpr char kSe = char(0xF0);

// Up to and with the first command's end, or all of it. A data byte 0xFF is sent twice, so that
// IAC SE may also stand in data; a cut there does no harm.
QByteArray takePiece(QByteArray& bytes)
{
    static const QByteArray end{QByteArray(1, kIac) + kSe};
    const qsizetype at = bytes.indexOf(end);
    const qsizetype length = at < 0 ? bytes.size() : at + end.size();
    QByteArray piece = bytes.left(length);
    bytes.remove(0, length);
    return piece;
}

bool isCommand(const Rfc2217ServerSession::Outcome& outcome)
{
    return !outcome.settingsChanges.isEmpty() || !outcome.controlActions.isEmpty()
           || outcome.purge != 0;
}

// The high half of NOTIFY-MODEMSTATE.
quint8 bitsOf(const ModemLines& lines)
{
    return quint8((lines.cts ? Rfc2217::Cts : 0) | (lines.dsr ? Rfc2217::Dsr : 0)
                  | (lines.ri ? Rfc2217::Ri : 0) | (lines.dcd ? Rfc2217::Dcd : 0));
}

} // namespace

Rfc2217ServerEnd::Rfc2217ServerEnd(PortEndpoint& endpoint, UdpTargetMode udpTarget, OtherEnd other)
    : BridgeEnd(endpoint, udpTarget)
    , m_other(std::move(other))
{}

Rfc2217ServerEnd::~Rfc2217ServerEnd() = default;

void Rfc2217ServerEnd::receive(const QByteArray& bytes, const QString& peer, qint64 nowMs)
{
    // It may have come before the bridge did.
    if (!m_clients.contains(peer))
        peerArrived(peer, nowMs);
    const auto client = m_clients.find(peer);
    if (client == m_clients.end())
        return;
    client->second.waiting += bytes;
    run(peer, client->second, nowMs);
    sweep();
    regulate();
}

// Takes apart what waits, as far as commands let it.
void Rfc2217ServerEnd::run(const QString& peer, Client& client, qint64 nowMs)
{
    if (std::exchange(m_running, true))
        return;
    while (!client.isGone && (client.command || !client.waiting.isEmpty())) {
        if (!client.command) {
            const Outcome outcome =
                client.session.receive(takePiece(client.waiting), lineSettings());
            deliver(outcome.data, peer, nowMs);
            client.command = outcome;
        }
        if (isCommand(*client.command) && client.command->purge == 0 && !mayCommand(nowMs))
            break;
        execute(peer, client, *std::exchange(client.command, std::nullopt));
    }
    m_running = false;
}

// The data before the command has left, or does not move.
bool Rfc2217ServerEnd::mayCommand(qint64 nowMs)
{
    if (!m_other.endpoint->isOpen())
        return true;
    const qint64 pending = m_other.endpoint->pendingBytes();
    const BridgeCounters data = m_other.received();
    // Not how full the port is: it is filled again from what waits behind it.
    const qint64 leftBytes = data.bytesOut - pending;
    if (leftBytes > std::exchange(m_leftBytes, leftBytes) || m_movedMs == 0)
        m_movedMs = nowMs;
    const bool left = data.queuedBytes == 0 && pending == 0;
    const bool stuck = nowMs - m_movedMs >= kStuckMs;
    if (left || stuck)
        m_movedMs = 0;
    return left || stuck;
}

void Rfc2217ServerEnd::execute(const QString& peer, Client& client, const Outcome& outcome)
{
    if (outcome.purge != 0)
        purge(outcome.purge);
    if (LivePort* port = m_other.endpoint->port(); port && !outcome.settingsChanges.isEmpty()) {
        port->setSettings(Rfc2217ServerSession::changed(port->settings(), outcome.settingsChanges),
            LivePort::Origin::Program);
    }
    for (const auto& action : outcome.controlActions)
        drive(client, action);
    say(peer, outcome.reply);
    if (outcome.modemStateInquired)
        say(peer, Rfc2217ServerSession::modemStateAnswer(inputBits()));
    if (outcome.modemStateAsked) {
        client.wantsModemState = true;
        client.inputs.reset();
        tellModemState(peer, client);
    }
}

void Rfc2217ServerEnd::drive(Client& client, const Rfc2217ServerSession::ControlAction& action)
{
    using Line = Rfc2217ServerSession::Line;
    LivePort* port = m_other.endpoint->port();
    if (!port)
        return;
    if (action.line == Line::Break) {
        client.holdsBreak = action.on;
        if (SerialLines* lines = m_other.endpoint->serialLines())
            lines->setLine(SerialLine::Break, action.on);
        return;
    }
    Settings settings = port->settings();
    (action.line == Line::Dtr ? settings.dtrOn : settings.rtsOn) = action.on;
    port->setSettings(settings, LivePort::Origin::Program);
}

void Rfc2217ServerEnd::purge(quint8 which)
{
    const auto buffers = Purge(which);
    if (purgesOutput(buffers))
        m_other.discard(true);
    if (purgesInput(buffers))
        m_other.discard(false);
    if (m_other.endpoint->isOpen())
        m_other.endpoint->port()->transport()->discard(buffers);
}

BridgeWrite Rfc2217ServerEnd::write(QByteArrayView payload, const QString& peer)
{
    const QByteArray encoded = Rfc2217Codec::encodePayload(payload.toByteArray());
    BridgeWrite result = BridgeEnd::write(encoded, peer);
    result.taken = result.taken > 0 ? payload.size() : 0;
    return result;
}

void Rfc2217ServerEnd::say(const QString& peer, const QByteArray& bytes)
{
    if (!bytes.isEmpty())
        endpoint().write(bytes, peer, UdpTargetMode::LastSender, false);
}

Settings Rfc2217ServerEnd::lineSettings() const
{
    const LivePort* port = m_other.endpoint->port();
    return port ? port->active() : Settings();
}

void Rfc2217ServerEnd::opened(qint64 nowMs)
{
    if (const LivePort* port = endpoint().port(); port && port->transport()) {
        for (const QString& peer : port->transport()->peers())
            peerArrived(peer, nowMs);
    }
}

void Rfc2217ServerEnd::closed(qint64 nowMs)
{
    QStringList peers;
    for (const auto& [peer, client] : m_clients)
        peers.append(peer);
    for (const QString& peer : std::as_const(peers))
        peerLost(peer, nowMs);
    BridgeEnd::closed(nowMs);
}

void Rfc2217ServerEnd::peerArrived(const QString& peer, qint64 /*nowMs*/)
{
    if (m_clients.contains(peer))
        return;
    say(peer, m_clients[peer].session.begin());
}

// What a client has not let go of must not outlast it.
void Rfc2217ServerEnd::peerLost(const QString& peer, qint64 nowMs)
{
    const auto client = m_clients.find(peer);
    if (client == m_clients.end())
        return;
    if (SerialLines* lines = m_other.endpoint->serialLines(); lines && client->second.holdsBreak)
        lines->setLine(SerialLine::Break, false);
    // What it is told may be what ends it.
    client->second.isGone = m_running;
    if (m_running)
        return;
    // What it sent last is data all the same; its commands are nobody's any more.
    while (!client->second.waiting.isEmpty()) {
        const Outcome outcome =
            client->second.session.receive(takePiece(client->second.waiting), lineSettings());
        deliver(outcome.data, peer, nowMs);
    }
    m_clients.erase(client);
    regulate();
    BridgeEnd::peerLost(peer, nowMs);
}

quint8 Rfc2217ServerEnd::inputBits() const
{
    SerialLines* lines = m_other.endpoint->serialLines();
    return lines ? bitsOf(lines->inputs()) : 0;
}

void Rfc2217ServerEnd::tellModemState(const QString& peer, Client& client)
{
    const quint8 inputs = inputBits();
    if (client.inputs == inputs)
        return;
    // The low half of the byte says what has changed.
    const int changed = (client.inputs.value_or(inputs) ^ inputs) >> 4;
    client.inputs = inputs;
    say(peer, client.session.modemStateNotification(quint8(inputs | changed)));
}

void Rfc2217ServerEnd::sweep()
{
    if (!m_running)
        std::erase_if(m_clients, [](const auto& client) { return client.second.isGone; });
}

void Rfc2217ServerEnd::regulate()
{
    bool tooMuch = false;
    bool polls = false;
    for (const auto& [peer, client] : m_clients) {
        tooMuch = tooMuch || client.waiting.size() > kMaxWaitingBytes;
        polls = polls || client.wantsModemState;
    }
    if (LivePort* port = endpoint().port(); port && tooMuch != bool(m_hold))
        m_hold = tooMuch ? port->controller().holdReading() : ReadHold();
    if (!polls)
        m_pollAtMs = -1;
    else if (m_pollAtMs < 0)
        m_pollAtMs = 0;
}

void Rfc2217ServerEnd::tick(qint64 nowMs)
{
    for (auto& [peer, client] : m_clients) {
        if (client.command)
            run(peer, client, nowMs);
    }
    sweep();
    if (m_pollAtMs >= 0 && nowMs >= m_pollAtMs) {
        m_pollAtMs = nowMs + kModemPollMs;
        m_running = true;
        for (auto& [peer, client] : m_clients) {
            if (client.wantsModemState)
                tellModemState(peer, client);
        }
        m_running = false;
        sweep();
    }
    regulate();
}

int Rfc2217ServerEnd::nextTimeoutMs(qint64 nowMs) const
{
    for (const auto& [peer, client] : m_clients) {
        if (client.command)
            return kDrainPollMs;
    }
    return m_pollAtMs < 0 ? -1 : int(qMax<qint64>(0, m_pollAtMs - nowMs));
}

Rfc2217ClientEnd::Rfc2217ClientEnd(
    PortEndpoint& endpoint, UdpTargetMode udpTarget, PortEndpoint& other)
    : BridgeEnd(endpoint, udpTarget)
    , m_other(other)
{
    QObject::connect(&other, &PortEndpoint::changed, &m_context, [this] { pushSettings(); });
}

Rfc2217ClientEnd::~Rfc2217ClientEnd() = default;

void Rfc2217ClientEnd::opened(qint64 nowMs)
{
    m_giveUpAtMs = nowMs + Rfc2217ClientSession::kNegotiationTimeoutMs;
    endpoint().write(m_session.begin(), {}, UdpTargetMode::LastSender, false);
}

void Rfc2217ClientEnd::closed(qint64 nowMs)
{
    m_session.reset();
    m_giveUpAtMs = -1;
    BridgeEnd::closed(nowMs);
}

void Rfc2217ClientEnd::receive(const QByteArray& bytes, const QString& peer, qint64 nowMs)
{
    take(m_session.receive(bytes), peer, nowMs);
}

void Rfc2217ClientEnd::take(
    const Rfc2217ClientSession::Outcome& outcome, const QString& peer, qint64 nowMs)
{
    if (!outcome.reply.isEmpty())
        endpoint().write(outcome.reply, {}, UdpTargetMode::LastSender, false);
    if (outcome.negotiationFinished) {
        m_giveUpAtMs = -1;
        pushSettings();
    }
    if (LivePort* port = endpoint().port(); port && !outcome.message.isEmpty())
        port->appendStatusLine(outcome.message);
    deliver(outcome.data, peer, nowMs);
}

void Rfc2217ClientEnd::pushSettings()
{
    const bool otherIsLine = m_other.serialLines() != nullptr;
    const LivePort* line = otherIsLine ? m_other.port() : endpoint().port();
    if (!line || m_giveUpAtMs >= 0)
        return;
    Settings settings = line->active();
    // Whose values count is no question when there are two serial ports.
    settings.useRemoteSerialConfig = settings.useRemoteSerialConfig && !otherIsLine;
    const QByteArray update = m_session.settingsUpdate(settings);
    if (!update.isEmpty())
        endpoint().write(update, {}, UdpTargetMode::LastSender, false);
}

BridgeWrite Rfc2217ClientEnd::write(QByteArrayView payload, const QString& peer)
{
    BridgeWrite result = BridgeEnd::write(m_session.encodePayload(payload.toByteArray()), peer);
    result.taken = result.taken > 0 ? payload.size() : 0;
    return result;
}

bool Rfc2217ClientEnd::isWritable() const
{
    return BridgeEnd::isWritable() && m_giveUpAtMs < 0;
}

void Rfc2217ClientEnd::tick(qint64 nowMs)
{
    if (m_giveUpAtMs >= 0 && nowMs >= m_giveUpAtMs)
        take(m_session.onNegotiationTimeout(), {}, nowMs);
}

int Rfc2217ClientEnd::nextTimeoutMs(qint64 nowMs) const
{
    return m_giveUpAtMs < 0 ? -1 : int(qMax<qint64>(0, m_giveUpAtMs - nowMs));
}
