#pragma once

#include "bridge/engine/bridgeegressqueue.h"
#include "bridge/engine/bridgeframer.h"

#include <QCoreApplication>
#include <QString>
#include <functional>
#include <utility>

class BridgeSink;

// Counters of one bridge direction since resetStats(). Bytes and frames.
struct BridgeFlowStats
{
    qint64 bytesIn = 0;
    qint64 framesOut = 0; // frames that the framer gave, queued or dropped
    qint64 bytesOut = 0;  // taken by the sink
    qint64 queuedBytes = 0;
    qint64 peakQueuedBytes = 0;
    qint64 droppedBytes = 0; // by the queue, or because the sink refused them
    qint64 droppedFrames = 0;
    qint64 refusedFrames = 0; // of the dropped ones, those that the sink can never send
    qint64 missedFrames = 0;  // went out, but not to every peer of the sink
    // Not handled because the flow was suspended, or became so with the read that brought them, or
    // handed to discard(). Of all bytes handed in, what has not gone out is held, queued, dropped
    // or discarded.
    qint64 discardedBytes = 0;
};

// One direction of a bridge: cuts what the source received into frames, queues them, writes them
// to the sink and throttles the source while the sink cannot keep up.
//
// Data flow: ingest() -> flood guard -> BridgeFramer -> BridgeEgressQueue -> drain() ->
// BridgeSink.
//
// Theory of operation. A flow is running or suspended.
//  - running -> suspended: suspend() by the owner, the queue overflows under StopBridge, or the
//    flood guard sees more than the threshold per second over its window while bytes go out as
//    well (a cable loop feeds what we send back to us). The source is released from the throttle.
//  - suspended -> running: resume() only. Meanwhile input is discarded and no timeout is asked
//    for; what was accepted before can still be drained.
// While running the source is throttled when the owner holds it, or when the queue's throttle flag
// is on and frames are queued. The throttle callback is called on changes only, with the flow in
// order, so that it may deliver held input at once.
//
// Time: every call takes the owner's monotonic milliseconds; nextTimeoutMs() says when to tick().
// Memory: what the framer and the queue hold, each bounded in its class. The flow never blocks.
// Owned by a bridge link, one for each direction.
class BridgeFlow final
{
    Q_DISABLE_COPY_MOVE(BridgeFlow)
    Q_DECLARE_TR_FUNCTIONS(BridgeFlow)

public:
    // Called with true to stop the source's reads, false to let them go on.
    using ThrottleCallback = std::function<void(bool)>;

    // How soon a sink that took nothing is tried again.
    static constexpr int kBlockedSinkRetryMs = 20;

    BridgeFlow() = default;
    ~BridgeFlow() = default;

    // Neither owned; null takes it off. A new callback hears of the next change.
    void setSink(BridgeSink* sink) { m_sink = sink; }
    void setThrottleCallback(ThrottleCallback callback) { m_throttleSource = std::move(callback); }
    void setFramingPolicy(const FramingPolicy& policy);
    void setFlowControlPolicy(const FlowControlPolicy& policy);

    // Frames, queues and writes what the source received. origin is the source's peer key (empty
    // for a serial port); a flow treats all peers alike and only remembers the last one.
    void ingest(const QByteArray& data, qint64 nowMs, const QString& origin);
    // Forwards what is due by time.
    void tick(qint64 nowMs);
    // Does what is due by time and writes as much as the sink takes; to be called when the sink has
    // written.
    void drain(qint64 nowMs);
    // Forwards the partial frame as well, before the bridge ends.
    void finish(qint64 nowMs);

    // Input that nobody can take now, as the sink is not open: counted and discarded.
    void discard(qint64 bytes);
    // The sink is gone: what is held and queued never goes. Counted as dropped.
    void giveUp(qint64 nowMs);

    // Keeps the source throttled whatever the queue holds.
    void setHeld(bool held, qint64 nowMs);
    // Stops handling input; ignored, with its reason, when already suspended.
    void suspend(const QString& reason);
    // Handles input again; what has become due meanwhile is forwarded first.
    void resume(qint64 nowMs);

    // Back to a running, empty flow; policies, sink, hold and counters stay.
    void reset();
    void resetStats();
    // Brings the queue's figures in stats() up to date.
    void syncStats();

    // Milliseconds until tick() is due, 0 when it already is, -1 when it is not needed.
    int nextTimeoutMs(qint64 nowMs) const;

    bool isIdle() const { return m_queue.isEmpty() && m_framer.isEmpty(); }
    bool isSuspended() const { return m_suspended; }
    bool isSourceThrottled() const { return m_sourceThrottled; }
    // Why the flow is suspended; empty while it runs.
    QString suspensionReason() const { return m_suspended ? m_lastError : QString(); }
    // The last reason for a suspension; stays after resume(), until reset().
    QString lastError() const { return m_lastError; }
    QString lastOrigin() const { return m_lastOrigin; }
    // Why the sink last refused a frame or kept it from a peer; stays until resetStats().
    QString lastRefusal() const { return m_lastRefusal; }
    const BridgeFlowStats& stats() const { return m_stats; }
    // Milliseconds for which the source has been throttled since resetStats().
    qint64 throttledMs(qint64 nowMs) const;
    const BridgeFramer& framer() const { return m_framer; }
    const BridgeEgressQueue& queue() const { return m_queue; }

private:
    struct FloodWindow
    {
        bool running = false;
        qint64 startMs = 0;
        qint64 bytes = 0;
        qint64 bytesOutAtStart = 0;
    };

    void noteFlood(qint64 bytes, qint64 nowMs);
    void enqueueAll(const QList<QByteArray>& frames, qint64 nowMs);
    void forwardDue(qint64 nowMs);
    void writeOut();
    bool writeHead();
    void settle(qint64 nowMs);
    void applyThrottle(qint64 nowMs);
    void setSourceThrottled(bool throttled, qint64 nowMs);

    BridgeFramer m_framer;
    BridgeEgressQueue m_queue;
    FlowControlPolicy m_policy;
    BridgeSink* m_sink = nullptr;
    ThrottleCallback m_throttleSource;
    BridgeFlowStats m_stats;
    FloodWindow m_flood;
    QString m_lastError;
    QString m_lastOrigin;
    QString m_lastRefusal;
    qint64 m_lastNowMs = 0; // the latest time seen, for the calls that bring none
    qint64 m_throttleStartMs = 0;
    qint64 m_throttledMs = 0; // completed throttle periods
    bool m_suspended = false;
    bool m_held = false;
    bool m_sourceThrottled = false;
    bool m_writing = false; // the sink is taking the head frame
};
