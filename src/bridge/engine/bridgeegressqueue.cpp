#include "bridge/engine/bridgeegressqueue.h"

#include <utility>

namespace {

// The frame in storage that is its own and not much larger than its bytes, whatever buffer the
// frame was read into.
QByteArray thrifty(const QByteArray& frame)
{
    const bool ownStorage = frame.capacity() >= frame.size();
    if (ownStorage && frame.capacity() - frame.size() <= frame.size() / 2)
        return frame;
    return {frame.constData(), frame.size()};
}

} // namespace

BridgeEgressQueue::BridgeEgressQueue(const FlowControlPolicy& policy)
    : m_policy(policy.sanitized())
{}

void BridgeEgressQueue::setPolicy(const FlowControlPolicy& policy)
{
    m_policy = policy.sanitized();
    updateThrottle();
}

int BridgeEgressQueue::enqueue(const BridgeFrame& frame)
{
    const qint64 size = frame.bytes.size();
    if (size == 0)
        return Queued;

    int result = Queued;
    if (!fits(size)) {
        if (m_policy.overflowPolicy != OverflowPolicy::DropOldest) {
            countDropped(size);
            return m_policy.overflowPolicy == OverflowPolicy::StopBridge ? Overflow : Dropped;
        }
        while (!isEmpty() && !fits(size)) {
            dropFront();
            result = QueuedAfterDrop;
        }
    }
    append(frame.bytes);
    m_queuedBytes += size;
    m_peakQueuedBytes = qMax(m_peakQueuedBytes, m_queuedBytes);
    updateThrottle();
    return result;
}

QByteArrayView BridgeEgressQueue::head() const
{
    if (isEmpty())
        return {};
    return QByteArrayView(m_blocks.front().bytes).sliced(m_headOffset, m_lengths.front());
}

void BridgeEgressQueue::consume(qint64 bytesWritten)
{
    removeFront(bytesWritten);
    updateThrottle();
}

qint64 BridgeEgressQueue::dropHead()
{
    const qint64 bytes = isEmpty() ? 0 : dropFront();
    updateThrottle();
    return bytes;
}

void BridgeEgressQueue::updateThrottle()
{
    if (m_queuedBytes >= m_policy.highWaterBytes)
        m_throttling = true;
    else if (m_queuedBytes <= m_policy.lowWaterBytes)
        m_throttling = false;
}

void BridgeEgressQueue::clear()
{
    m_blocks.clear();
    m_lengths.clear();
    m_headOffset = 0;
    m_queuedBytes = 0;
    updateThrottle();
}

void BridgeEgressQueue::resetCounters()
{
    m_droppedBytes = 0;
    m_droppedFrames = 0;
    m_peakQueuedBytes = m_queuedBytes;
}

qint64 BridgeEgressQueue::dropFront()
{
    const qint64 bytes = m_lengths.front();
    countDropped(bytes);
    removeFront(bytes);
    return bytes;
}

void BridgeEgressQueue::countDropped(qint64 bytes)
{
    m_droppedBytes += bytes;
    ++m_droppedFrames;
}

void BridgeEgressQueue::append(const QByteArray& frame)
{
    if (frame.size() > kLargestPackedFrame)
        m_blocks.push_back({thrifty(frame), false});
    else
        packedBlockFor(frame.size()).append(frame.constData(), frame.size());
    m_lengths.push_back(frame.size());
}

// The block at the tail that has room for that many bytes.
QByteArray& BridgeEgressQueue::packedBlockFor(qsizetype bytes)
{
    const bool room = !m_blocks.empty() && m_blocks.back().packed
                      && m_blocks.back().bytes.size() + bytes <= kPackedBlockBytes;
    if (!room) {
        m_blocks.push_back({std::exchange(m_spareBlock, {}), true});
        m_blocks.back().bytes.reserve(kPackedBlockBytes);
    }
    return m_blocks.back().bytes;
}

void BridgeEgressQueue::removeFront(qint64 bytes)
{
    qint64 left = qMin(bytes, m_queuedBytes);
    while (left > 0) {
        qint64& length = m_lengths.front();
        const qint64 part = qMin(left, length);
        length -= part;
        left -= part;
        m_queuedBytes -= part;
        if (length == 0)
            m_lengths.pop_front();
        advance(part);
    }
}

// Moves past bytes of the head block and gives the block up behind its last byte.
void BridgeEgressQueue::advance(qint64 bytes)
{
    m_headOffset += bytes;
    Block& block = m_blocks.front();
    if (m_headOffset < block.bytes.size())
        return;
    if (block.packed) {
        m_spareBlock = std::move(block.bytes);
        m_spareBlock.resize(0);
    }
    m_blocks.pop_front();
    m_headOffset = 0;
}
