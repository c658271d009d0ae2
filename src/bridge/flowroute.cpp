#include "bridge/bridgeroute.h"

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
{
    for (const BridgeSide from : {BridgeSide::A, BridgeSide::B}) {
        auto& sink = m_sinks[std::size_t(otherSide(from))];
        sink = std::make_unique<Sink>(end(otherSide(from)));
        BridgeFlow& out = flow(from);
        out.setFramingPolicy(config.framing);
        out.setFlowControlPolicy(config.flow);
        out.setSink(sink.get());
        out.setThrottleCallback([this, from](bool on) { end(from).hold(on); });
    }
}

FlowRoute::~FlowRoute()
{
    for (BridgeFlow& flow : m_flows) {
        flow.setThrottleCallback({});
        flow.setSink(nullptr);
    }
}

void FlowRoute::received(
    BridgeSide side, const QByteArray& payload, const QString& peer, qint64 nowMs)
{
    if (end(otherSide(side)).endpoint().isOpen())
        flow(side).ingest(payload, nowMs, peer);
    else
        flow(side).discard(payload.size());
}

void FlowRoute::drained(BridgeSide side, qint64 nowMs)
{
    flow(otherSide(side)).drain(nowMs);
}

void FlowRoute::closed(BridgeSide side, qint64 nowMs)
{
    flow(side).finish(nowMs);
    flow(otherSide(side)).giveUp(nowMs);
}

void FlowRoute::peerLost(BridgeSide /*side*/, const QString& /*peer*/, qint64 /*nowMs*/) {}

void FlowRoute::tick(qint64 nowMs)
{
    for (BridgeFlow& flow : m_flows)
        flow.tick(nowMs);
}

int FlowRoute::nextTimeoutMs(qint64 nowMs) const
{
    const int a = m_flows[0].nextTimeoutMs(nowMs);
    const int b = m_flows[1].nextTimeoutMs(nowMs);
    return a < 0 || b < 0 ? qMax(a, b) : qMin(a, b);
}

void FlowRoute::finish(qint64 nowMs)
{
    for (BridgeFlow& flow : m_flows) {
        flow.finish(nowMs);
        flow.giveUp(nowMs);
    }
}

BridgeCounters FlowRoute::counters(BridgeSide from, qint64 nowMs) const
{
    const BridgeFlowStats& stats = flow(from).stats();
    return {.bytesIn = stats.bytesIn,
        .bytesOut = stats.bytesOut,
        .framesOut = stats.framesOut,
        .queuedBytes = stats.queuedBytes + flow(from).framer().bufferedBytes(),
        .peakQueuedBytes = stats.peakQueuedBytes,
        .droppedBytes = stats.droppedBytes,
        .droppedFrames = stats.droppedFrames,
        .discardedBytes = stats.discardedBytes,
        .throttledMs = flow(from).throttledMs(nowMs)};
}

void FlowRoute::resetCounters()
{
    for (BridgeFlow& flow : m_flows)
        flow.resetStats();
}

bool FlowRoute::isIdle(BridgeSide from) const
{
    return flow(from).isIdle();
}

void FlowRoute::drop(BridgeSide from, qint64 nowMs)
{
    flow(from).giveUp(nowMs);
}

QString FlowRoute::suspension(BridgeSide from) const
{
    return flow(from).suspensionReason();
}

void FlowRoute::resume(qint64 nowMs)
{
    for (BridgeFlow& flow : m_flows)
        flow.resume(nowMs);
}

QString FlowRoute::lastRefusal() const
{
    const QString refusal = m_flows[0].lastRefusal();
    return refusal.isEmpty() ? m_flows[1].lastRefusal() : refusal;
}
