#include "terminal/view/framebudget.h"

#include <algorithm>
#include <chrono>
#include <utility>

qint64 FrameBudget::book(const View& view, qint64 nowUs)
{
    const bool alone = std::exchange(lastId_, view.id) == view.id;
    const qint64 pace = view.typedIn && !alone ? typedFrameUs : frameUs;
    qint64 at = std::max(nowUs, view.lastUs + std::max(pace, alonePart * view.tookUs));
    if (!alone && !view.typedIn)
        at = std::max(at, freeUs_);
    const qint64 latest = nowUs + longestWaitUs;
    // Bounded as well: a crowd that has fallen silent leaves no long queue behind.
    freeUs_ = std::min(std::max(freeUs_, nowUs) + sharedPart * view.tookUs, latest);
    return std::min(at, latest);
}

int FrameBudget::msUntilFrame(const View& view)
{
    static FrameBudget shared;
    constexpr qint64 usPerMs = 1000;
    const qint64 now = nowUs();
    return static_cast<int>((shared.book(view, now) - now + usPerMs - 1) / usPerMs);
}

qint64 FrameBudget::nowUs()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::microseconds>(now).count();
}
