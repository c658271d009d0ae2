#include "terminal/view/textflow.h"

namespace {

constexpr qint64 costOfRow = 64; // an empty row takes memory, too

} // namespace

void TextFlow::setStyle(const std::shared_ptr<const RowStyle>& style)
{
    style_ = style;
    cuts_.setLength(style->segmentLength(), style->wrapsAtBlanks());
    kept_.clear();
    characters_ = 0;
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
    Kept& kept = kept_[segment.from];
    if (kept.layout && kept.to == segment.to)
        return kept.layout;
    auto layout =
        std::make_shared<const RowLayout>(store_.textAt(segment.from, segment.length()), style_);
    kept = {segment.to, layout};
    characters_ += segment.length() + costOfRow;
    if (characters_ > keptCharacters) {
        kept_.clear();
        characters_ = 0;
    }
    return layout;
}
