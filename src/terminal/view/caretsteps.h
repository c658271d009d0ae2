#pragma once

#include "terminal/view/textflow.h"

enum class CaretStep : quint8 { Left, Right, Up, Down, RowStart, RowEnd };

// Where a caret goes with a cursor key, in rows as they are shown. Going up and down keeps to the
// column where it began (`goalX` in pixels, negative when there is none yet).
[[nodiscard]] qint64 caretAfter(CaretStep step, qint64 position, TextFlow& flow, double& goalX);
