#include "terminal/view/caretsteps.h"

namespace {

qint64 leftOf(qint64 position, const TextRow& row, TextFlow& flow)
{
    if (position > row.segment.from)
        return row.segment.from + row.layout->previousCharacter(row.offsetOf(position));
    TextRow above = row;
    if (!flow.goPrevious(above))
        return position;
    // Over a line feed, or over the last character of a line that is cut here.
    const qint64 end = above.segment.to;
    return above.segment.endsLine
               ? end
               : above.segment.from + above.layout->previousCharacter(above.offsetOf(end));
}

qint64 rightOf(qint64 position, const TextRow& row, TextFlow& flow)
{
    if (position < row.segment.to)
        return row.segment.from + row.layout->nextCharacter(row.offsetOf(position));
    TextRow below = row;
    return flow.goNext(below) ? below.segment.from : position;
}

// What stands behind a row that is broken here belongs to the next one.
qint64 endOf(const TextRow& row)
{
    if (row.endsLine())
        return row.segment.to;
    return row.segment.from + row.layout->previousCharacter(row.offsetOf(row.to()));
}

qint64 beside(qint64 position, const TextRow& row, bool up, TextFlow& flow, double& goalX)
{
    if (goalX < 0)
        goalX = row.layout->xOf(row.offsetOf(position), row.row);
    TextRow other = row;
    const bool moved = up ? flow.goPrevious(other) : flow.goNext(other);
    if (!moved)
        return up ? row.from() : endOf(row);
    const qint64 there = other.segment.from + other.layout->offsetAt(goalX, other.row);
    return std::min(there, endOf(other));
}

} // namespace

qint64 caretAfter(CaretStep step, qint64 position, TextFlow& flow, double& goalX)
{
    const TextRow row = flow.rowAt(position);
    if (step != CaretStep::Up && step != CaretStep::Down)
        goalX = -1;
    switch (step) {
    case CaretStep::Left:
        return leftOf(position, row, flow);
    case CaretStep::Right:
        return rightOf(position, row, flow);
    case CaretStep::Up:
    case CaretStep::Down:
        return beside(position, row, step == CaretStep::Up, flow, goalX);
    case CaretStep::RowStart:
        return row.from();
    case CaretStep::RowEnd:
        return endOf(row);
    }
    return position;
}
