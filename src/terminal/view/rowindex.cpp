#include "terminal/view/rowindex.h"

#include <algorithm>

void RowIndex::setRowLength(qint64 characters)
{
    characters = std::max<qint64>(characters, 1);
    if (characters == rowLength_)
        return;
    rowLength_ = characters;
    frontPosition_ = -1;
    marks_.clear();
}

qint64 RowIndex::rowAt(qint64 position)
{
    update();
    position = std::clamp(position, store_.firstPosition(), store_.endPosition());
    const qint64 number = (position - base_) / spacing;
    const Mark mark = advanced(markAt(number), placeOf(number), position);
    qint64 inLine = (position - mark.lineStart) / rowLength_;
    // The end of a line that fills its rows stands behind the last of them.
    const bool rowIsFull = (position - mark.lineStart) % rowLength_ == 0;
    if (rowIsFull && inLine > 0 && position == store_.lineEnd(store_.lineAt(position)))
        --inLine;
    return mark.rows + inLine - rowAtMark(0);
}

qint64 RowIndex::positionAt(qint64 row)
{
    update();
    row += rowAtMark(0);
    qint64 low = 0;
    for (auto high = static_cast<qint64>(marks_.size()) + 1; high - low > 1;) {
        const qint64 middle = (low + high) / 2;
        (rowAtMark(middle) <= row ? low : high) = middle;
    }
    Mark mark = markAt(low);
    bool found = false;
    store_.visitLineFeeds(placeOf(low), base_ + (low + 1) * spacing, [&](qint64 feed) {
        const qint64 rows = rowsOf(feed - mark.lineStart);
        found = found || mark.rows + rows > row;
        if (!found)
            mark = {mark.rows + rows, feed + 1};
    });
    const qint64 position = mark.lineStart + std::max<qint64>(row - mark.rows, 0) * rowLength_;
    return std::clamp(position, store_.firstPosition(), store_.endPosition());
}

void RowIndex::update()
{
    if (store_.firstPosition() != frontPosition_)
        moveFront();
    auto count = static_cast<qint64>(marks_.size());
    while (base_ + (count + 1) * spacing <= store_.endPosition()) {
        const qint64 to = base_ + (count + 1) * spacing;
        marks_.push_back(advanced(markAt(count), placeOf(count), to));
        ++count;
    }
}

// What was removed in the front's stretch is not there to be counted; the mark behind it is.
void RowIndex::moveFront()
{
    frontPosition_ = store_.firstPosition();
    const qint64 base = frontPosition_ / spacing * spacing;
    for (; base_ < base && !marks_.empty(); base_ += spacing)
        marks_.pop_front();
    base_ = base;
    // What is left of a line is shown as a line; a very long one keeps the count of its marks.
    const bool endsHere = store_.lineEnd(store_.firstLine()) < base_ + spacing;
    front_ = {0, endsHere ? frontPosition_ : store_.lineStart(store_.firstLine())};
    if (!marks_.empty())
        front_.rows = marks_.front().rows - advanced(front_, frontPosition_, base_ + spacing).rows;
}

RowIndex::Mark RowIndex::advanced(Mark mark, qint64 from, qint64 to) const
{
    store_.visitLineFeeds(from, to, [&](qint64 feed) {
        mark = {mark.rows + rowsOf(feed - mark.lineStart), feed + 1};
    });
    return mark;
}

qint64 RowIndex::rowsOf(qint64 length) const
{
    return std::max<qint64>(1, (length + rowLength_ - 1) / rowLength_);
}

RowIndex::Mark RowIndex::markAt(qint64 number) const
{
    return number == 0 ? front_ : marks_[static_cast<std::size_t>(number - 1)];
}

qint64 RowIndex::placeOf(qint64 number) const
{
    return number == 0 ? frontPosition_ : base_ + number * spacing;
}

qint64 RowIndex::rowAtMark(qint64 number) const
{
    const Mark mark = markAt(number);
    return mark.rows + (placeOf(number) - mark.lineStart) / rowLength_;
}
