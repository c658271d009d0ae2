#pragma once

#include <QDateTime>
#include <QtGlobal>

#include <functional>

// Milliseconds that only ever grow, from a moment in the past that is the same for the whole
// program.
[[nodiscard]] qint64 monotonicMs();
// The local time to the millisecond. Asked for many times within one, it is computed once.
[[nodiscard]] QDateTime localTimeNow();

// What a class asks that is tested with a clock of the test's own.
using MonotonicClock = std::function<qint64()>;
