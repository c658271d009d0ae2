#include "terminal/displayqueue.h"

#include <utility>

void DisplayQueue::push(rxData record, bool filtered)
{
    bool raw = false;
    if (filtered && record.direction == RXorTx::Received) {
        raw = m_rawCount > 0 || record.bytes.size() > kSliceBytes;
        if (!raw)
            record.bytes = m_filter.process(record.bytes);
    }
    if (record.bytes.isEmpty())
        return;
    m_bytes += record.bytes.size();
    m_rawCount += raw ? 1 : 0;
    m_records.push_back({std::move(record), raw});
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
        slice.bytes = m_filter.process(slice.bytes);
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
