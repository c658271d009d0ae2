#include "bridge/engine/bridgeframer.h"

#include "bridge/engine/monotonic.h"

#include <string_view>

namespace {

// Room that the buffer keeps for the next read once a frame has left it.
constexpr qsizetype kKeptCapacityBytes = 65'536;

std::string_view asString(QByteArrayView bytes)
{
    return {bytes.data(), size_t(bytes.size())};
}

// Cuts whole pieces of the given length from bytes, starting at offset from; the offset behind the
// last one.
qsizetype takePieces(
    QByteArrayView bytes, qsizetype from, qsizetype length, QList<QByteArray>& frames)
{
    while (bytes.size() - from >= length) {
        frames.append(bytes.sliced(from, length).toByteArray());
        from += length;
    }
    return from;
}

} // namespace

BridgeFramer::BridgeFramer(const FramingPolicy& policy)
    : m_policy(policy.sanitized())
{}

void BridgeFramer::setPolicy(const FramingPolicy& policy)
{
    m_policy = policy.sanitized();
    m_searchFrom = 0; // the held bytes were not searched for this delimiter
}

void BridgeFramer::reset()
{
    m_buffer.clear();
    m_searchFrom = 0;
}

QList<QByteArray> BridgeFramer::ingest(const QByteArray& data, qint64 nowMs)
{
    QList<QByteArray> frames = tick(nowMs);
    if (data.isEmpty())
        return frames;
    const bool immediate = m_policy.mode == FramingMode::Immediate;
    if (immediate && m_buffer.isEmpty() && data.size() <= m_policy.maxFrameBytes) {
        frames.append(data);
        return frames;
    }
    m_lastByteMs = nowMs;
    if (m_buffer.isEmpty()) {
        m_frameStartMs = nowMs;
        const qsizetype taken = harvest(data, immediate, frames);
        // A copy of its own: the read's storage may be far larger than the rest of it.
        m_buffer = QByteArrayView(data).sliced(taken).toByteArray();
    } else {
        m_buffer.append(data);
        const qsizetype taken = harvest(m_buffer, immediate, frames);
        if (taken > 0) {
            dropFront(taken);
            m_frameStartMs = nowMs;
        }
    }
    return frames;
}

QList<QByteArray> BridgeFramer::tick(qint64 nowMs)
{
    return nextTimeoutMs(nowMs) == 0 ? flush() : QList<QByteArray>();
}

QList<QByteArray> BridgeFramer::flush()
{
    QList<QByteArray> frames;
    harvest(m_buffer, true, frames);
    reset();
    return frames;
}

qint64 BridgeFramer::nextTimeoutMs(qint64 nowMs) const
{
    if (m_buffer.isEmpty())
        return -1;
    const qint64 flushIn = Monotonic::remainingMs(m_frameStartMs, m_policy.flushTimeoutMs, nowMs);
    if (m_policy.mode != FramingMode::IdleGap)
        return flushIn;
    return qMin(flushIn, Monotonic::remainingMs(m_lastByteMs, m_policy.idleGapMs, nowMs));
}

// Cuts frames from the front of bytes, by force to the last byte; how many bytes they took. The
// search offset is left relative to what remains.
qsizetype BridgeFramer::harvest(QByteArrayView bytes, bool force, QList<QByteArray>& frames)
{
    qsizetype taken = 0;
    if (m_policy.mode == FramingMode::Delimiter)
        taken = takeDelimited(bytes, frames);
    else if (m_policy.mode == FramingMode::FixedLength)
        taken = takePieces(bytes, taken, m_policy.frameLength, frames);

    taken = takePieces(bytes, taken, m_policy.maxFrameBytes, frames);
    if (force && taken < bytes.size()) {
        frames.append(bytes.sliced(taken).toByteArray());
        taken = bytes.size();
    }
    m_searchFrom = qMax<qsizetype>(0, m_searchFrom - taken);
    return taken;
}

qsizetype BridgeFramer::takeDelimited(QByteArrayView bytes, QList<QByteArray>& frames)
{
    const std::string_view haystack = asString(bytes);
    const std::string_view delimiter = asString(m_policy.delimiter);
    qsizetype taken = 0;
    size_t hit = haystack.find(delimiter, size_t(m_searchFrom));
    while (hit != std::string_view::npos) {
        const qsizetype end = qsizetype(hit) + m_policy.delimiter.size();
        frames.append(bytes.sliced(taken, end - taken).toByteArray());
        taken = end;
        hit = haystack.find(delimiter, size_t(taken));
    }
    // A delimiter may have begun in the last bytes and end in the next read.
    m_searchFrom = qMax(taken, bytes.size() - m_policy.delimiter.size() + 1);
    return taken;
}

void BridgeFramer::dropFront(qsizetype count)
{
    m_buffer.remove(0, count);
    if (m_buffer.capacity() > m_policy.maxFrameBytes + kKeptCapacityBytes)
        m_buffer.squeeze();
}
