#pragma once

#include <QtGlobal>
#include <limits>

// Arithmetic on the monotonic milliseconds that the bridge's engines are handed. No pair of times
// overflows, and a clock that seems to run backwards counts as one that stands still.
namespace Monotonic {

// Milliseconds from sinceMs to nowMs, at least 0.
constexpr qint64 elapsedMs(qint64 sinceMs, qint64 nowMs)
{
    if (nowMs <= sinceMs)
        return 0;
    const quint64 elapsed = quint64(nowMs) - quint64(sinceMs);
    return qint64(qMin(elapsed, quint64(std::numeric_limits<qint64>::max())));
}

// Milliseconds until a span of spanMs that began at sinceMs is over; 0 once it is.
constexpr qint64 remainingMs(qint64 sinceMs, qint64 spanMs, qint64 nowMs)
{
    return qMax<qint64>(0, spanMs - elapsedMs(sinceMs, nowMs));
}

} // namespace Monotonic
