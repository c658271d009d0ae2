#include "bridge/sharedlineroute.h"

#include "bridge/bridgeconfig.h"
#include "bridge/engine/bridgeflow.h"

SharedLineRoute::SharedLineRoute(const Ends& ends, BridgeSide clients)
    : BridgeRoute(ends)
    , m_clients(clients)
{}

SharedLineRoute::~SharedLineRoute() = default;

QString SharedLineRoute::keyOf(const QString& peer) const
{
    return peer.isEmpty() ? clients().endpoint().shortName() : peer;
}

QString SharedLineRoute::peerOf(const QString& key) const
{
    return clients().endpoint().isServer() || connectionModeIsUdp(clients().endpoint().mode())
               ? key
               : QString();
}

bool SharedLineRoute::writeToLine(const QByteArray& request, qint64 nowMs)
{
    if (!line().isWritable())
        return false;
    // Before it is written: a port may tell that it has left from inside the write.
    m_sending = true;
    m_turnSinceMs = nowMs;
    const BridgeWrite result = line().write(request, {});
    if (!result.reason.isEmpty())
        m_refusal = result.reason;
    if (result.taken < request.size()) {
        m_sending = false;
        return false;
    }
    m_toLine.bytesOut += request.size();
    ++m_toLine.framesOut;
    return true;
}

void SharedLineRoute::writeToClient(const QString& key, const QByteArray& answer)
{
    const BridgeWrite result = clients().write(answer, peerOf(key));
    if (!result.reason.isEmpty())
        m_refusal = result.reason;
    if (result.taken > 0) {
        m_toClients.bytesOut += answer.size();
        ++m_toClients.framesOut;
        return;
    }
    // A client that does not read must not stop the line for the others.
    m_toClients.droppedBytes += answer.size();
    ++m_toClients.droppedFrames;
}

void SharedLineRoute::drained(BridgeSide side, qint64 nowMs)
{
    if (isClients(side) || !m_sending || line().endpoint().pendingBytes() > 0)
        return;
    m_sending = false;
    requestLeft(nowMs);
}

void SharedLineRoute::finish(qint64 nowMs)
{
    drop(m_clients, nowMs);
}

BridgeCounters SharedLineRoute::counters(BridgeSide from, qint64 /*nowMs*/) const
{
    if (!isClients(from))
        return m_toClients;
    BridgeCounters counters = m_toLine;
    counters.queuedBytes = arbiter().queuedBytes() + arbiter().heldBytes();
    return counters;
}

void SharedLineRoute::resetCounters()
{
    m_toLine = {};
    m_toClients = {};
    m_unanswered = 0;
    m_droppedRequests = 0;
}

const BridgeRoute::Turns* SharedLineRoute::turns() const
{
    m_turns.owner = arbiter().windowOwner();
    m_turns.sinceMs = m_turnSinceMs;
    m_turns.waiting = arbiter().waitingPeers();
    m_turns.unanswered = m_unanswered;
    m_turns.dropped = m_droppedRequests;
    return &m_turns;
}

TurnsRoute::TurnsRoute(const Ends& ends, BridgeSide clients, const BridgeConfig& config)
    : SharedLineRoute(ends, clients)
    , m_arbiter(config.framing, config.arbiterResponseTimeoutMs)
{
    m_arbiter.setMaxQueuedRequests(config.arbiterMaxQueuedRequests);
}

TurnsRoute::~TurnsRoute() = default;

void TurnsRoute::received(
    BridgeSide side, const QByteArray& payload, const QString& peer, qint64 nowMs)
{
    if (!isClients(side)) {
        answer(payload, nowMs);
        pump(nowMs);
        return;
    }
    m_toLine.bytesIn += payload.size();
    if (!line().endpoint().isOpen()) {
        m_toLine.discardedBytes += payload.size();
        return;
    }
    m_arbiter.submit(keyOf(peer), payload, nowMs);
    pump(nowMs);
}

void TurnsRoute::answer(const QByteArray& bytes, qint64 nowMs)
{
    m_toClients.bytesIn += bytes.size();
    const QString owner = m_arbiter.routeResponse(nowMs);
    if (!owner.isEmpty()) {
        writeToClient(owner, bytes);
        return;
    }
    m_toClients.droppedBytes += bytes.size();
    ++m_toClients.droppedFrames;
}

void TurnsRoute::pump(qint64 nowMs)
{
    BridgeArbiter::Request request;
    while (line().isWritable() && m_arbiter.takeNext(nowMs, &request)) {
        if (writeToLine(request.bytes, nowMs))
            continue;
        m_arbiter.closeWindow();
        m_toLine.droppedBytes += request.bytes.size();
        ++m_toLine.droppedFrames;
        ++m_droppedRequests;
    }
    for (const BridgeArbiter::GivenUp& given : m_arbiter.takeGivenUp())
        ++(given.fate == BridgeArbiter::Fate::TimedOut ? m_unanswered : m_droppedRequests);
}

void TurnsRoute::closed(BridgeSide side, qint64 nowMs)
{
    Q_UNUSED(side)
    drop(isClients(side) ? side : otherSide(side), nowMs);
}

void TurnsRoute::peerLost(BridgeSide side, const QString& peer, qint64 nowMs)
{
    if (isClients(side))
        m_arbiter.forgetPeer(keyOf(peer));
    pump(nowMs);
}

void TurnsRoute::tick(qint64 nowMs)
{
    m_arbiter.tick(nowMs);
    pump(nowMs);
}

int TurnsRoute::nextTimeoutMs(qint64 nowMs) const
{
    const int next = m_arbiter.nextTimeoutMs(nowMs);
    // A line that takes nothing now is asked again, not at once.
    return next == 0 && !line().isWritable() ? BridgeFlow::kBlockedSinkRetryMs : next;
}

// What came in and neither went out nor waits went with a client or with a full queue.
BridgeCounters TurnsRoute::counters(BridgeSide from, qint64 nowMs) const
{
    BridgeCounters counters = SharedLineRoute::counters(from, nowMs);
    if (isClients(from)) {
        counters.droppedBytes =
            counters.bytesIn - counters.bytesOut - counters.queuedBytes - counters.discardedBytes;
    }
    return counters;
}

void TurnsRoute::drop(BridgeSide from, qint64 /*nowMs*/)
{
    if (!isClients(from))
        return;
    m_droppedRequests += m_arbiter.queuedRequests();
    m_arbiter.reset();
}
