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
            filter(record.bytes, record.peer);
    }
    if (record.bytes.isEmpty())
        return;
    m_bytes += record.bytes.size();
    if (!raw && joinsLast(record)) {
        m_entries.back().record.bytes += record.bytes;
        return;
    }
    m_rawCount += raw ? 1 : 0;
    m_entries.push_back({std::move(record), raw, {}});
}

void DisplayQueue::pushMark(std::function<void()> action)
{
    m_entries.push_back({{}, false, std::move(action)});
}

bool DisplayQueue::joinsLast(const rxData& record) const
{
    // What is hidden stays apart from what is not.
    if (m_entries.size() <= m_hidden || m_entries.back().raw || m_entries.back().mark)
        return false;
    const rxData& last = m_entries.back().record;
    return last.direction == record.direction && !last.status && !record.status
           && last.hidden == record.hidden && last.bytes.size() + record.bytes.size() <= kSliceBytes
           && !isLoneLineFeed(last.bytes) && !isLoneLineFeed(record.bytes)
           && last.peer == record.peer && last.time == record.time;
}

rxData DisplayQueue::takeSlice(bool filtered)
{
    Entry& first = m_entries.front();
    const qsizetype length = qMin(first.record.bytes.size() - m_taken, kSliceBytes);
    const bool last = m_taken + length == first.record.bytes.size();
    rxData slice = first.record;
    slice.hidden = slice.hidden || m_hidden > 0;
    if (length < first.record.bytes.size())
        slice.bytes = first.record.bytes.mid(m_taken, length);
    if (first.raw && filtered)
        filter(slice.bytes, slice.peer);
    if (!m_carried.isEmpty())
        slice.bytes.prepend(std::exchange(m_carried, {}));
    // A single byte may be a line feed, and whether that stands alone is seen with the next piece.
    if (!last && slice.bytes.size() == 1)
        m_carried = std::exchange(slice.bytes, {});
    slice.continuation = slice.continuation || m_sliceShown;

    m_bytes -= length;
    m_taken += length;
    m_sliceShown = m_sliceShown || !slice.bytes.isEmpty();
    if (last)
        popFirst();
    return slice;
}

void DisplayQueue::popFirst()
{
    m_rawCount -= m_entries.front().raw ? 1 : 0;
    m_entries.pop_front();
    m_hidden -= m_hidden > 0 ? 1 : 0;
    m_taken = 0;
    m_sliceShown = false;
}

// An action may queue more.
void DisplayQueue::runMarks()
{
    while (!m_entries.empty() && m_entries.front().mark) {
        const std::function<void()> action = std::move(m_entries.front().mark);
        popFirst();
        action();
    }
}

qint64 DisplayQueue::cost() const
{
    return m_bytes + kRecordCost * static_cast<qint64>(m_entries.size());
}

void DisplayQueue::filter(QByteArray& bytes, const QString& peer)
{
    if (peer.isEmpty()) {
        m_stream.filter(bytes);
        return;
    }
    AnsiEscapeFilter& filter = m_peers[peer];
    filter.setSingleByteIntroducers(m_singleByteIntroducers);
    filter.filter(bytes);
    if (filter.isIdle())
        m_peers.erase(peer);
    else if (m_peers.size() > kMaxPeers)
        m_peers.erase(m_peers.begin());
}

QStringList DisplayQueue::unfinished() const
{
    QStringList peers;
    if (!m_stream.isIdle())
        peers.append(QString());
    for (const auto& [peer, filter] : m_peers)
        peers.append(peer);
    return peers;
}

QByteArray DisplayQueue::takeUnfinished(const QString& peer)
{
    if (peer.isEmpty())
        return m_stream.takePending();
    const auto found = m_peers.find(peer);
    if (found == m_peers.end())
        return {};
    QByteArray rest = found->second.takePending();
    m_peers.erase(found);
    return rest;
}

void DisplayQueue::setSingleByteIntroducers(bool on)
{
    m_singleByteIntroducers = on;
    m_stream.setSingleByteIntroducers(on);
}
