#pragma once

#include "bridge/engine/flowcontrolpolicy.h"

#include <QByteArray>
#include <QByteArrayView>
#include <deque>

// One frame on its way through a bridge.
struct BridgeFrame
{
    QByteArray bytes;
    qint64 cutMs = 0; // when the framer cut it, monotonic milliseconds
};

// The frames of one bridge direction that wait for the sink, within a byte budget.
//
// Theory of operation. enqueue() appends at the tail, the owner writes head() to the sink and
// calls consume() with what the sink took; a head frame that is partly written shrinks. When a
// frame does not fit in the capacity, the overflow policy decides which frame is lost, and every
// loss is counted. The throttle flag has hysteresis: on when the queued bytes reach the high-water
// mark, off when they fall to the low-water mark; it is looked at after every change.
//
// Memory: at most policy().capacityBytes are queued, or one frame longer than that when the oldest
// are dropped for it. Small frames are packed into blocks, so that a queue of one-byte frames
// costs their lengths (8 bytes each) and not an allocation each; a frame never crosses a block.
// Adding, writing and dropping a frame cost the same however much is queued.
class BridgeEgressQueue final
{
    Q_DISABLE_COPY_MOVE(BridgeEgressQueue)

public:
    enum EnqueueResult : int {
        Queued = 0,
        QueuedAfterDrop = 1, // older frames were dropped to make room
        Dropped = 2,         // the frame itself was dropped
        Overflow = 3,        // the frame was dropped and the owner must stop
    };

    explicit BridgeEgressQueue(const FlowControlPolicy& policy = {});
    ~BridgeEgressQueue() = default;

    // Takes the policy, sanitized; what is queued stays, even above a lower capacity.
    void setPolicy(const FlowControlPolicy& policy);
    const FlowControlPolicy& policy() const { return m_policy; }

    // Queues the frame or applies the overflow policy; an EnqueueResult. An empty frame is
    // ignored.
    int enqueue(const BridgeFrame& frame);
    // The unwritten bytes of the oldest frame, empty when nothing is queued. The view holds until
    // the next call that changes the queue.
    QByteArrayView head() const;
    // Removes the oldest bytesWritten bytes, at most what is queued.
    void consume(qint64 bytesWritten);
    // Drops what is left of the oldest frame, counted as dropped; how many bytes that were.
    qint64 dropHead();
    void updateThrottle();
    // Forgets every queued frame without counting it as dropped; counters stay.
    void clear();
    // Sets the drop counters to 0 and the peak to what is queued now.
    void resetCounters();

    bool isEmpty() const { return m_lengths.empty(); }
    qint64 frameCount() const { return qint64(m_lengths.size()); }
    qint64 queuedBytes() const { return m_queuedBytes; }
    qint64 peakQueuedBytes() const { return m_peakQueuedBytes; }
    qint64 droppedBytes() const { return m_droppedBytes; }
    qint64 droppedFrames() const { return m_droppedFrames; }
    bool isThrottling() const { return m_throttling; }

private:
    static constexpr qsizetype kPackedBlockBytes = 16'384;
    static constexpr qsizetype kLargestPackedFrame = 2'048; // bounds a block's unused end

    struct Block
    {
        QByteArray bytes;
        bool packed = false; // takes further frames up to kPackedBlockBytes
    };

    bool fits(qint64 bytes) const { return m_queuedBytes <= m_policy.capacityBytes - bytes; }
    qint64 dropFront();
    void countDropped(qint64 bytes);
    void append(const QByteArray& frame);
    QByteArray& packedBlockFor(qsizetype bytes);
    void removeFront(qint64 bytes);
    void advance(qint64 bytes);

    FlowControlPolicy m_policy;
    std::deque<Block> m_blocks;   // bytes of the queued frames, oldest first
    std::deque<qint64> m_lengths; // unwritten bytes of each queued frame, oldest first
    qsizetype m_headOffset = 0;   // where the head frame's unwritten bytes start in its block
    QByteArray m_spareBlock;      // one emptied packed block, kept for the next frames
    qint64 m_queuedBytes = 0;
    qint64 m_peakQueuedBytes = 0;
    qint64 m_droppedBytes = 0;
    qint64 m_droppedFrames = 0;
    bool m_throttling = false;
};
