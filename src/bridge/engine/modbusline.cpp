#include "bridge/engine/modbusline.h"

#include <algorithm>
#include <utility>

using Piece = ModbusAnswerFramer::Piece;
using Kind = ModbusAnswerFramer::Kind;

ModbusLine::ModbusLine(int responseTimeoutMs, int transactionTimeoutMs)
    : m_arbiter({}, responseTimeoutMs)
    , m_transactionTimeoutMs(transactionTimeoutMs)
{
    m_arbiter.setLineQuietMs(0, kDefaultDrainMs);
}

void ModbusLine::setTransactionTimeoutMs(int timeoutMs)
{
    m_transactionTimeoutMs = timeoutMs;
    for (ModbusGateway& gateway : m_gateways)
        gateway.setTransactionTimeoutMs(timeoutMs);
}

ModbusLine::Output ModbusLine::fromClient(
    const QString& peerKey, const QByteArray& bytes, qint64 nowMs)
{
    Output output;
    catchUp(nowMs, output);
    auto gateway = m_gateways.find(peerKey);
    if (gateway == m_gateways.end() && m_gateways.size() >= kMaxClients) {
        output.closeClients.append(peerKey);
        startNext(nowMs, output);
        return output;
    }
    if (gateway == m_gateways.end())
        gateway = m_gateways.insert(peerKey, ModbusGateway(m_transactionTimeoutMs));
    const bool wasBroken = gateway->isBroken();
    for (const ModbusGateway::Request& request : gateway->takeRequests(bytes, nowMs)) {
        submit(peerKey, request, nowMs);
        takeGivenUp(nowMs, output);
    }
    if (gateway->isBroken() && !wasBroken) {
        output.closeClients.append(peerKey);
        abandon(peerKey, nowMs, output);
    }
    startNext(nowMs, output);
    return output;
}

ModbusLine::Output ModbusLine::fromLine(const QByteArray& bytes, qint64 nowMs)
{
    Output output;
    catchUp(nowMs, output);
    take(m_answers.ingest(bytes, nowMs), nowMs, output);
    // The beginning of an answer keeps its turn; whose it is shows when it is complete.
    if (m_answers.bufferedBytes() > 0)
        m_arbiter.routeResponse(nowMs);
    startNext(nowMs, output);
    return output;
}

ModbusLine::Output ModbusLine::lineDrained(qint64 nowMs)
{
    Output output;
    catchUp(nowMs, output);
    m_arbiter.noteLeft(nowMs);
    if (const auto open = m_open.find(m_arbiter.windowTag()); open != m_open.end()) {
        const auto gateway = m_gateways.find(open->transaction.peerKey);
        if (gateway != m_gateways.end())
            gateway->noteSent(open->gatewayId, nowMs);
    }
    startNext(nowMs, output);
    return output;
}

ModbusLine::Output ModbusLine::lineFailed(qint64 nowMs)
{
    Output output;
    catchUp(nowMs, output);
    const quint64 tag = m_arbiter.windowTag();
    m_arbiter.closeWindow();
    take(m_answers.expectNothing(nowMs), nowMs, output);
    if (const auto open = m_open.find(tag); open != m_open.end()) {
        open->transaction.sentMs = -1;
        tellFailure(open->transaction.peerKey, open->gatewayId,
            ModbusGateway::ExceptionCode::GatewayPathUnavailable, output);
        end(tag, Outcome::Dropped, nowMs, output);
    }
    startNext(nowMs, output);
    return output;
}

ModbusLine::Output ModbusLine::clientGone(const QString& peerKey, qint64 nowMs)
{
    Output output;
    catchUp(nowMs, output);
    abandon(peerKey, nowMs, output);
    m_gateways.remove(peerKey);
    startNext(nowMs, output);
    return output;
}

ModbusLine::Output ModbusLine::tick(qint64 nowMs)
{
    Output output;
    catchUp(nowMs, output);
    startNext(nowMs, output);
    return output;
}

int ModbusLine::nextTimeoutMs(qint64 nowMs) const
{
    const int turnIn = m_arbiter.nextTimeoutMs(nowMs);
    const int silenceIn = int(m_answers.nextTimeoutMs(nowMs)); // at most kMaxSilenceMs
    return turnIn < 0 || silenceIn < 0 ? qMax(turnIn, silenceIn) : qMin(turnIn, silenceIn);
}

void ModbusLine::reset()
{
    m_arbiter.reset();
    m_answers = ModbusAnswerFramer();
    m_gateways.clear();
    m_open.clear();
}

void ModbusLine::submit(const QString& peerKey, const ModbusGateway::Request& request, qint64 nowMs)
{
    const quint64 tag = ++m_lastTag;
    m_open.insert(tag, {.gatewayId = request.id,
                           .transaction = {.peerKey = peerKey,
                               .request = request.rtuFrame,
                               .answer = {},
                               .outcome = Outcome::Dropped,
                               .arrivedMs = nowMs}});
    m_arbiter.submitRequest(
        {.peerKey = peerKey,
            .bytes = request.rtuFrame,
            .tag = tag,
            .holdMs = request.broadcast ? ModbusGateway::kBroadcastTurnaroundMs : 0},
        nowMs);
}

// A silence that ended an answer comes before a deadline that was reached after it.
void ModbusLine::catchUp(qint64 nowMs, Output& output)
{
    if (m_answers.nextTimeoutMs(nowMs) == 0)
        take(m_answers.tick(nowMs), m_answers.silentAtMs(), output);
    m_arbiter.tick(nowMs);
    takeGivenUp(nowMs, output);
}

void ModbusLine::take(const QList<Piece>& pieces, qint64 nowMs, Output& output)
{
    for (const Piece& piece : pieces) {
        if (piece.kind == Kind::Answer) {
            takeAnswer(piece.bytes, nowMs, output);
            continue;
        }
        m_arbiter.noteStray(nowMs);
        ++(piece.kind == Kind::Damaged ? m_counters.damagedFrames : m_counters.foreignFrames);
    }
}

void ModbusLine::takeAnswer(const QByteArray& answer, qint64 nowMs, Output& output)
{
    const quint64 tag = m_arbiter.windowTag();
    const QString peerKey = m_arbiter.routeResponse(nowMs);
    m_arbiter.closeWindow();
    const auto gateway = m_gateways.find(peerKey);
    if (gateway == m_gateways.end()) { // its client has left
        ++m_counters.foreignFrames;
        return;
    }
    const QByteArray response = gateway->rtuToTcp(answer, nowMs);
    if (response.isEmpty()) { // the transaction's own time was shorter
        ++m_counters.foreignFrames;
        end(tag, Outcome::TimedOut, nowMs, output);
        return;
    }
    output.toClients.append({.peerKey = peerKey, .bytes = response});
    if (const auto open = m_open.find(tag); open != m_open.end())
        open->transaction.answer = answer;
    end(tag, Outcome::Answered, nowMs, output);
}

void ModbusLine::tellFailure(
    const QString& peerKey, quint64 gatewayId, ModbusGateway::ExceptionCode code, Output& output)
{
    const auto gateway = m_gateways.find(peerKey);
    if (gateway == m_gateways.end())
        return;
    const QByteArray exception = gateway->fail(gatewayId, code);
    if (m_exceptions && !exception.isEmpty())
        output.toClients.append({.peerKey = peerKey, .bytes = exception});
}

void ModbusLine::takeGivenUp(qint64 nowMs, Output& output)
{
    for (const BridgeArbiter::GivenUp& request : m_arbiter.takeGivenUp()) {
        const bool timedOut = request.fate == BridgeArbiter::Fate::TimedOut;
        if (const auto open = m_open.constFind(request.tag); open != m_open.cend()) {
            tellFailure(request.peerKey, open->gatewayId,
                timedOut ? ModbusGateway::ExceptionCode::TargetFailedToRespond
                         : ModbusGateway::ExceptionCode::GatewayPathUnavailable,
                output);
        }
        end(request.tag, timedOut ? Outcome::TimedOut : Outcome::Dropped, nowMs, output);
    }
    if (!m_arbiter.isInFlight() && m_answers.isExpecting())
        take(m_answers.expectNothing(nowMs), nowMs, output);
}

// Gives the next turn. A request that its gateway has given up meanwhile must not go out.
void ModbusLine::startNext(qint64 nowMs, Output& output)
{
    takeGivenUp(nowMs, output);
    BridgeArbiter::Request request;
    while (output.toLine.isEmpty() && m_arbiter.takeNext(nowMs, &request)) {
        const auto open = m_open.find(request.tag);
        const auto gateway = m_gateways.find(request.peerKey);
        if (open == m_open.end() || gateway == m_gateways.end()
            || !gateway->noteSent(open->gatewayId, nowMs)) {
            m_arbiter.closeWindow();
            end(request.tag, Outcome::Dropped, nowMs, output);
            continue;
        }
        open->transaction.sentMs = nowMs;
        take(m_answers.expect(request.bytes, nowMs), nowMs, output);
        output.toLine = request.bytes;
        if (request.holdMs > 0)
            end(request.tag, Outcome::Broadcast, nowMs, output);
    }
}

void ModbusLine::end(quint64 tag, Outcome outcome, qint64 nowMs, Output& output)
{
    const auto open = m_open.find(tag);
    if (open == m_open.end())
        return;
    Transaction transaction = std::move(open->transaction);
    m_open.remove(tag);
    transaction.outcome = outcome;
    transaction.endedMs = nowMs;
    output.ended.append(std::move(transaction));
}

void ModbusLine::abandon(const QString& peerKey, qint64 nowMs, Output& output)
{
    m_arbiter.forgetPeer(peerKey);
    QList<quint64> tags;
    for (auto open = m_open.cbegin(); open != m_open.cend(); ++open) {
        if (open->transaction.peerKey == peerKey)
            tags.append(open.key());
    }
    std::ranges::sort(tags);
    for (const quint64 tag : std::as_const(tags))
        end(tag, Outcome::Abandoned, nowMs, output);
}
