#include "bridge/bridgestats.h"

#include <algorithm>

namespace {
constexpr qint64 kMsPerSecond = 1000;
}

void TrafficHistory::advance(qint64 second)
{
    const qint64 first = std::max(m_last + 1, second - kSeconds + 1);
    for (qint64 empty = first; empty <= second; ++empty)
        m_ring[std::size_t(empty % kSeconds)] = {};
    m_last = std::max(m_last, second);
}

void TrafficHistory::note(const Second& more, qint64 nowMs)
{
    const qint64 second = nowMs / kMsPerSecond;
    advance(second);
    Second& slot = m_ring[std::size_t(second % kSeconds)];
    slot.aToB += more.aToB;
    slot.bToA += more.bToA;
    slot.missing += more.missing;
    if (more.missing > 0)
        m_lastMissing = second;
}

std::array<TrafficHistory::Second, TrafficHistory::kSeconds> TrafficHistory::seconds(
    qint64 nowMs) const
{
    std::array<Second, kSeconds> result{};
    const qint64 now = nowMs / kMsPerSecond;
    for (int back = 0; back < kSeconds; ++back) {
        const qint64 second = now - back;
        if (second >= 0 && second <= m_last && second > m_last - kSeconds)
            result[std::size_t(kSeconds - 1 - back)] = m_ring[std::size_t(second % kSeconds)];
    }
    return result;
}

bool TrafficHistory::missedWithin(int seconds, qint64 nowMs) const
{
    return nowMs / kMsPerSecond - m_lastMissing < seconds;
}
