#include "terminal/port/displayqueue.h"

#include <utility>

namespace {

bool isLoneLineFeed(const QByteArray& bytes)
{
    return bytes.size() == 1 && bytes.front() == '\n';
}

} // namespace

void DisplayQueue::push(rxData record, bool filtered)
{
    bool raw = false;
    if (filtered && record.direction == RXorTx::Received) {
        raw = m_rawCount > 0 || record.bytes.size() > kSliceBytes;
        if (!raw)
            m_filters.filter(record.bytes, record.peer);
    }
    if (record.bytes.isEmpty())
        return;
    m_bytes += record.bytes.size();
    if (!raw && joinsLast(record)) {
        m_records.back().record.bytes += record.bytes;
        return;
    }
    m_sealed = false;
    m_rawCount += raw ? 1 : 0;
    m_records.push_back({std::move(record), raw});
}

bool DisplayQueue::joinsLast(const rxData& record) const
{
    if (m_sealed || m_records.empty() || m_records.back().raw)
        return false;
    const rxData& last = m_records.back().record;
    return last.direction == record.direction && !last.transferStatus && !record.transferStatus
           && last.bytes.size() + record.bytes.size() <= kSliceBytes && !isLoneLineFeed(last.bytes)
           && !isLoneLineFeed(record.bytes) && last.peer == record.peer && last.time == record.time;
}

rxData DisplayQueue::takeSlice(bool filtered)
{
    Entry& first = m_records.front();
    const qsizetype length = qMin(first.record.bytes.size() - m_taken, kSliceBytes);
    const bool last = m_taken + length == first.record.bytes.size();
    rxData slice = first.record;
    if (length < first.record.bytes.size())
        slice.bytes = first.record.bytes.mid(m_taken, length);
    if (first.raw && filtered)
        m_filters.filter(slice.bytes, slice.peer);
    if (!m_carried.isEmpty())
        slice.bytes.prepend(std::exchange(m_carried, {}));
    // A single byte may be a line feed, and whether that stands alone is seen with the next piece.
    if (!last && slice.bytes.size() == 1)
        m_carried = std::exchange(slice.bytes, {});
    slice.continuation = slice.continuation || m_sliceShown;

    m_bytes -= length;
    m_taken += length;
    m_sliceShown = m_sliceShown || !slice.bytes.isEmpty();
    if (last) {
        m_rawCount -= first.raw ? 1 : 0;
        m_records.pop_front();
        m_taken = 0;
        m_sliceShown = false;
    }
    return slice;
}

qint64 DisplayQueue::cost() const
{
    return m_bytes + kRecordCost * static_cast<qint64>(m_records.size());
}
