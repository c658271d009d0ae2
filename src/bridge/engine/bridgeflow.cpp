#include "bridge/engine/bridgeflow.h"

#include "bridge/engine/bridgesink.h"
#include "bridge/engine/monotonic.h"

#include <QScopedValueRollback>

void BridgeFlow::setFramingPolicy(const FramingPolicy& policy)
{
    m_framer.setPolicy(policy);
}

void BridgeFlow::setFlowControlPolicy(const FlowControlPolicy& policy)
{
    m_policy = policy.sanitized();
    m_queue.setPolicy(m_policy);
    if (!m_policy.floodGuardEnabled)
        m_flood = {};
    applyThrottle(m_lastNowMs);
}

void BridgeFlow::ingest(const QByteArray& data, qint64 nowMs, const QString& origin)
{
    if (!m_suspended && !data.isEmpty()) {
        m_lastNowMs = nowMs;
        m_lastOrigin = origin;
        forwardDue(nowMs);
        noteFlood(data.size(), nowMs);
    }
    if (m_suspended || data.isEmpty()) {
        m_stats.discardedBytes += data.size();
        return;
    }
    m_stats.bytesIn += data.size();
    enqueueAll(m_framer.ingest(data, nowMs), nowMs);
    settle(nowMs);
}

void BridgeFlow::tick(qint64 nowMs)
{
    m_lastNowMs = nowMs;
    if (m_writing)
        return;
    enqueueAll(m_framer.tick(nowMs), nowMs);
    settle(nowMs);
}

void BridgeFlow::drain(qint64 nowMs)
{
    tick(nowMs);
}

void BridgeFlow::finish(qint64 nowMs)
{
    m_lastNowMs = nowMs;
    enqueueAll(m_framer.flush(), nowMs);
    settle(nowMs);
}

void BridgeFlow::discard(qint64 bytes)
{
    m_stats.bytesIn += bytes;
    m_stats.discardedBytes += bytes;
}

void BridgeFlow::giveUp(qint64 nowMs)
{
    enqueueAll(m_framer.flush(), nowMs);
    while (!m_writing && !m_queue.isEmpty())
        m_queue.dropHead();
    settle(nowMs);
}

void BridgeFlow::setHeld(bool held, qint64 nowMs)
{
    m_held = held;
    tick(nowMs);
    applyThrottle(nowMs);
}

void BridgeFlow::suspend(const QString& reason)
{
    if (m_suspended)
        return;
    m_suspended = true;
    m_lastError = reason;
    setSourceThrottled(false, m_lastNowMs);
}

void BridgeFlow::resume(qint64 nowMs)
{
    if (!m_suspended)
        return;
    m_suspended = false;
    tick(nowMs);
}

void BridgeFlow::reset()
{
    m_framer.reset();
    m_queue.clear();
    m_flood = {};
    m_suspended = false;
    m_lastError.clear();
    m_lastOrigin.clear();
    applyThrottle(m_lastNowMs);
    syncStats();
}

void BridgeFlow::resetStats()
{
    m_flood.bytesOutAtStart -= m_stats.bytesOut;
    m_queue.resetCounters();
    m_stats = {};
    m_lastRefusal.clear();
    m_throttledMs = 0;
    m_throttleStartMs = m_lastNowMs;
    syncStats();
}

void BridgeFlow::syncStats()
{
    m_stats.queuedBytes = m_queue.queuedBytes();
    m_stats.peakQueuedBytes = qMax(m_stats.peakQueuedBytes, m_queue.peakQueuedBytes());
    m_stats.droppedBytes = m_queue.droppedBytes();
    m_stats.droppedFrames = m_queue.droppedFrames();
}

int BridgeFlow::nextTimeoutMs(qint64 nowMs) const
{
    if (m_suspended)
        return -1;
    const int framerIn = int(m_framer.nextTimeoutMs(nowMs)); // at most FramingPolicy::MaxMs
    if (m_queue.isEmpty())
        return framerIn;
    return framerIn < 0 ? kBlockedSinkRetryMs : qMin(framerIn, kBlockedSinkRetryMs);
}

qint64 BridgeFlow::throttledMs(qint64 nowMs) const
{
    const qint64 current = m_sourceThrottled ? Monotonic::elapsedMs(m_throttleStartMs, nowMs) : 0;
    return m_throttledMs + current;
}

// Suspends the flow when, over a window, more comes in than the threshold while bytes go out too.
void BridgeFlow::noteFlood(qint64 bytes, qint64 nowMs)
{
    if (!m_policy.floodGuardEnabled)
        return;
    if (!m_flood.running)
        m_flood = {true, nowMs, 0, m_stats.bytesOut};
    m_flood.bytes += bytes;

    const qint64 elapsedMs = Monotonic::elapsedMs(m_flood.startMs, nowMs);
    if (elapsedMs < qMax(FlowControlPolicy::kMinFloodWindowMs, m_policy.floodWindowMs))
        return;
    const qint64 bytesPerSecond = m_flood.bytes * 1000 / elapsedMs;
    const bool tooFast = bytesPerSecond > m_policy.floodBytesPerSecond;
    const bool echoes = m_stats.bytesOut != m_flood.bytesOutAtStart;
    if (tooFast && echoes)
        suspend(tr("Flood guard tripped (possible cable loop)"));
    m_flood = {true, nowMs, 0, m_stats.bytesOut};
}

void BridgeFlow::enqueueAll(const QList<QByteArray>& frames, qint64 nowMs)
{
    bool overflowed = false;
    for (const QByteArray& bytes : frames) {
        if (overflowed) {
            m_stats.discardedBytes += bytes.size();
            continue;
        }
        ++m_stats.framesOut;
        overflowed = m_queue.enqueue({bytes, nowMs}) == BridgeEgressQueue::Overflow;
    }
    if (overflowed)
        suspend(tr("Egress queue overflowed"));
}

// What was due by time and what the sink has room for by now goes ahead of a read that came late,
// so that neither joins it in a frame nor costs it its place in the queue. The throttle stays as it
// is: letting the source go could deliver newer bytes than those of the read in hand.
void BridgeFlow::forwardDue(qint64 nowMs)
{
    if (isIdle())
        return;
    writeOut();
    enqueueAll(m_framer.tick(nowMs), nowMs);
    writeOut();
}

void BridgeFlow::writeOut()
{
    if (m_queue.isEmpty())
        return;
    const QScopedValueRollback writing(m_writing, true);
    while (writeHead()) {
    }
}

// Offers the oldest frame to the sink; false when there is none or the sink takes nothing now.
bool BridgeFlow::writeHead()
{
    if (m_queue.isEmpty() || !m_sink || !m_sink->isWritable()
        || m_sink->pendingWriteBytes() >= m_policy.sinkCeilingBytes)
        return false;
    const QByteArrayView head = m_queue.head();
    const BridgeWrite result = m_sink->write(head);
    if (!result.reason.isEmpty())
        m_lastRefusal = result.reason;
    if (result.refused) {
        ++m_stats.refusedFrames;
        m_queue.dropHead();
        return true;
    }
    const qint64 written = qMin<qint64>(result.taken, head.size());
    if (written <= 0)
        return false;
    m_stats.missedFrames += result.missedPeers > 0 ? 1 : 0;
    m_stats.bytesOut += written;
    m_queue.consume(written);
    return true;
}

void BridgeFlow::settle(qint64 nowMs)
{
    // A datagram socket reports its bytes from inside the write, and the owner then drains: what
    // there is to do is done when the write has returned.
    if (m_writing)
        return;
    writeOut();
    syncStats();
    applyThrottle(nowMs);
}

void BridgeFlow::applyThrottle(qint64 nowMs)
{
    const bool wanted = m_held || (m_queue.isThrottling() && !m_queue.isEmpty());
    setSourceThrottled(wanted && !m_suspended, nowMs);
}

// The callback comes last: it may deliver what the source held back at once.
void BridgeFlow::setSourceThrottled(bool throttled, qint64 nowMs)
{
    if (throttled == m_sourceThrottled)
        return;
    m_sourceThrottled = throttled;
    if (throttled)
        m_throttleStartMs = nowMs;
    else
        m_throttledMs += Monotonic::elapsedMs(m_throttleStartMs, nowMs);
    if (m_throttleSource)
        m_throttleSource(throttled);
}
