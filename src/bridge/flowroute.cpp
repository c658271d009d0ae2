#include "bridge/flowroute.h"

#include <utility>

// What a flow writes to: an end.
class FlowRoute::Sink final : public BridgeSink
{
    Q_DISABLE_COPY_MOVE(Sink)

public:
    explicit Sink(BridgeEnd& end)
        : m_end(end)
    {}
    ~Sink() override = default;

    bool isWritable() const override { return m_end.isWritable(); }
    qint64 pendingWriteBytes() const override { return m_end.endpoint().pendingBytes(); }
    BridgeWrite write(QByteArrayView bytes) override { return m_end.write(bytes, {}); }

private:
    BridgeEnd& m_end;
};

FlowRoute::FlowRoute(const Ends& ends, const BridgeConfig& config)
    : BridgeRoute(ends)
    , m_policy(config.flow.sanitized().overflowPolicy)
{
    for (const BridgeSide from : kBridgeSides) {
        auto& sink = m_sinks[std::size_t(otherSide(from))];
        sink = std::make_unique<Sink>(end(otherSide(from)));
        BridgeFlow& out = flow(from);
        out.setFramingPolicy(config.framing);
        out.setFlowControlPolicy(config.flow);
        out.setSink(sink.get());
        out.setThrottleCallback([this, from](bool) { regulate(from); });
    }
}

FlowRoute::~FlowRoute()
{
    for (Direction& way : m_ways) {
        way.flow.setThrottleCallback({});
        way.flow.setSink(nullptr);
    }
}

void FlowRoute::received(
    BridgeSide side, const QByteArray& payload, const QString& peer, qint64 nowMs)
{
    Direction& way = m_ways[std::size_t(side)];
    if (!end(otherSide(side)).endpoint().isOpen()) {
        way.flow.discard(payload.size());
        return;
    }
    const qint64 room = way.flow.queue().policy().capacityBytes - way.flow.queue().queuedBytes();
    const bool fits = way.waiting.empty() && !way.feeding && payload.size() <= room;
    if (fits || m_policy != OverflowPolicy::SlowSender || way.flow.isSuspended()) {
        ingest(way, {payload, peer}, nowMs);
        return;
    }
    way.waiting.push_back({payload, peer});
    way.waitingBytes += payload.size();
    feed(side, nowMs);
}

// A flow that is suspended, or becomes so with these bytes, counts them as discarded only. Received
// they were all the same.
void FlowRoute::ingest(Direction& way, const Piece& piece, qint64 nowMs)
{
    const qint64 handled = way.flow.stats().bytesIn;
    way.flow.ingest(piece.bytes, nowMs, piece.peer);
    if (way.flow.stats().bytesIn == handled)
        way.unhandledBytes += piece.bytes.size();
}

// Moves what waits into the flow while its queue takes more. A stream is cut where the queue is
// full, a datagram only if it is larger than the whole queue.
void FlowRoute::feed(BridgeSide from, qint64 nowMs)
{
    Direction& way = m_ways[std::size_t(from)];
    if (way.waiting.empty() || std::exchange(way.feeding, true))
        return;
    const BridgeEgressQueue& queue = way.flow.queue();
    const qint64 capacity = queue.policy().capacityBytes;
    const bool datagrams = connectionModeIsUdp(end(from).endpoint().mode());
    while (!way.waiting.empty() && !(queue.isThrottling() && !way.flow.isSuspended())) {
        Piece& next = way.waiting.front();
        const qint64 room = capacity - queue.queuedBytes();
        const bool whole = datagrams && next.bytes.size() <= capacity && !way.flow.isSuspended();
        if (whole && next.bytes.size() > room)
            break;
        const Piece part{next.bytes.left(qMax<qint64>(1, room)), next.peer};
        next.bytes.remove(0, part.bytes.size());
        if (next.bytes.isEmpty())
            way.waiting.pop_front();
        way.waitingBytes -= part.bytes.size();
        ingest(way, part, nowMs);
    }
    way.feeding = false;
    regulate(from);
}

void FlowRoute::regulate(BridgeSide from)
{
    const Direction& way = m_ways[std::size_t(from)];
    end(from).hold(way.flow.isSourceThrottled() || !way.waiting.empty());
}

void FlowRoute::drained(BridgeSide side, qint64 nowMs)
{
    flow(otherSide(side)).drain(nowMs);
    feed(otherSide(side), nowMs);
}

void FlowRoute::giveUp(BridgeSide from, qint64 nowMs)
{
    Direction& way = m_ways[std::size_t(from)];
    way.flow.giveUp(nowMs);
    way.waiting.clear();
    way.flow.discard(std::exchange(way.waitingBytes, 0));
    regulate(from);
}

void FlowRoute::closed(BridgeSide side, qint64 nowMs)
{
    flow(side).finish(nowMs);
    giveUp(otherSide(side), nowMs);
}

void FlowRoute::peerLost(BridgeSide /*side*/, const QString& /*peer*/, qint64 /*nowMs*/) {}

void FlowRoute::tick(qint64 nowMs)
{
    for (const BridgeSide from : kBridgeSides) {
        flow(from).tick(nowMs);
        feed(from, nowMs);
    }
}

int FlowRoute::nextTimeoutMs(qint64 nowMs) const
{
    const int a = m_ways[0].flow.nextTimeoutMs(nowMs);
    const int b = m_ways[1].flow.nextTimeoutMs(nowMs);
    return a < 0 || b < 0 ? qMax(a, b) : qMin(a, b);
}

void FlowRoute::finish(qint64 nowMs)
{
    for (const BridgeSide from : kBridgeSides) {
        feed(from, nowMs);
        flow(from).finish(nowMs);
        giveUp(from, nowMs);
    }
}

BridgeCounters FlowRoute::counters(BridgeSide from, qint64 nowMs) const
{
    const BridgeFlowStats& stats = flow(from).stats();
    const Direction& way = m_ways[std::size_t(from)];
    const qint64 waiting = way.waitingBytes;
    return {.bytesIn = stats.bytesIn + way.unhandledBytes + waiting,
        .bytesOut = stats.bytesOut,
        .framesOut = stats.framesOut,
        .queuedBytes = stats.queuedBytes + flow(from).framer().bufferedBytes() + waiting,
        .peakQueuedBytes = stats.peakQueuedBytes,
        .droppedBytes = stats.droppedBytes,
        .droppedFrames = stats.droppedFrames,
        .discardedBytes = stats.discardedBytes,
        .throttledMs = flow(from).throttledMs(nowMs)};
}

void FlowRoute::resetCounters()
{
    for (Direction& way : m_ways) {
        way.flow.resetStats();
        way.unhandledBytes = 0;
    }
}

void FlowRoute::drop(BridgeSide from, qint64 nowMs)
{
    giveUp(from, nowMs);
}

QString FlowRoute::suspension(BridgeSide from) const
{
    return flow(from).suspensionReason();
}

void FlowRoute::resume(qint64 nowMs)
{
    for (const BridgeSide from : kBridgeSides) {
        flow(from).resume(nowMs);
        feed(from, nowMs);
    }
}

QString FlowRoute::lastRefusal() const
{
    const QString refusal = m_ways[0].flow.lastRefusal();
    return refusal.isEmpty() ? m_ways[1].flow.lastRefusal() : refusal;
}
