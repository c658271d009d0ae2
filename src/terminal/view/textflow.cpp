#include "terminal/view/textflow.h"

#include <utility>

namespace {

// In characters of plain text, about: what is laid out takes several times as much memory, and an
// empty row takes some, too.
qint64 costOf(const RowLayout& layout)
{
    constexpr qint64 plainRow = 64;
    constexpr qint64 laidOutRow = 256;
    constexpr qint64 laidOutCharacter = 3;
    return layout.isPlain() ? plainRow + layout.length()
                            : laidOutRow + laidOutCharacter * layout.length();
}

} // namespace

void TextFlow::setStyle(const std::shared_ptr<const RowStyle>& style)
{
    style_ = style;
    cuts_.setLength(style->segmentLength(), style->wrapsAtBlanks());
    newer_.clear();
    older_.clear();
    cost_ = 0;
}

TextRow TextFlow::rowAt(qint64 position)
{
    const TextSegment segment = cuts_.segmentAt(position);
    TextRow row{segment, layoutOf(segment), 0};
    row.row = row.layout->rowOf(row.offsetOf(position));
    return row;
}

bool TextFlow::goNext(TextRow& row)
{
    if (row.row + 1 < row.layout->rowCount()) {
        ++row.row;
        return true;
    }
    const auto next = cuts_.next(row.segment);
    if (next)
        row = {*next, layoutOf(*next), 0};
    return next.has_value();
}

bool TextFlow::goPrevious(TextRow& row)
{
    if (row.row > 0) {
        --row.row;
        return true;
    }
    const auto previous = cuts_.previous(row.segment);
    if (previous) {
        row = {*previous, layoutOf(*previous), 0};
        row.row = row.layout->rowCount() - 1;
    }
    return previous.has_value();
}

TextRow TextFlow::moved(TextRow row, qint64 count)
{
    for (; count > 0 && goNext(row); --count)
        ;
    for (; count < 0 && goPrevious(row); ++count)
        ;
    return row;
}

std::shared_ptr<const RowLayout> TextFlow::layoutOf(const TextSegment& segment)
{
    const auto newer = newer_.find(segment.from);
    if (newer != newer_.end() && newer->second.to == segment.to)
        return newer->second.layout;
    if (cost_ > keptCost) {
        older_ = std::exchange(newer_, {});
        cost_ = 0;
    }
    Kept kept{segment.to, nullptr};
    const auto older = older_.find(segment.from);
    if (older != older_.end() && older->second.to == segment.to)
        kept.layout = std::move(older->second.layout);
    else
        kept.layout = std::make_shared<const RowLayout>(
            store_.textAt(segment.from, segment.length()), style_);
    if (older != older_.end())
        older_.erase(older);
    cost_ += costOf(*kept.layout);
    return newer_.insert_or_assign(segment.from, std::move(kept)).first->second.layout;
}
