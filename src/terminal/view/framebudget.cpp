#include "terminal/view/framebudget.h"

#include <algorithm>
#include <chrono>
#include <utility>

qint64 FrameBudget::book(const View& view, qint64 nowUs)
{
    const bool alone = std::exchange(m_lastId, view.id) == view.id;
    const qint64 pace = view.typedIn && !alone ? kTypedFrameUs : kFrameUs;
    qint64 at = std::max(nowUs, view.lastUs + std::max(pace, kAlonePart * view.tookUs));
    if (!alone && !view.typedIn)
        at = std::max(at, m_freeUs);
    const qint64 latest = nowUs + kLongestWaitUs;
    // Bounded as well: a crowd that has fallen silent leaves no long queue behind.
    m_freeUs = std::min(std::max(m_freeUs, nowUs) + kSharedPart * view.tookUs, latest);
    return std::min(at, latest);
}

int FrameBudget::msUntilFrame(const View& view)
{
    static FrameBudget shared;
    constexpr qint64 kUsPerMs = 1000;
    const qint64 now = nowUs();
    return static_cast<int>((shared.book(view, now) - now + kUsPerMs - 1) / kUsPerMs);
}

qint64 FrameBudget::nowUs()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::microseconds>(now).count();
}
