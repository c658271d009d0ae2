#include "terminal/view/textflow.h"

#include <utility>

namespace {

// In characters of plain text, about: what is laid out takes several times as much memory, and an
// empty row takes some, too.
qint64 costOf(const RowLayout& layout)
{
    constexpr qint64 kPlainRow = 64;
    constexpr qint64 kLaidOutRow = 256;
    constexpr qint64 kLaidOutCharacter = 3;
    return layout.isPlain() ? kPlainRow + layout.length()
                            : kLaidOutRow + kLaidOutCharacter * layout.length();
}

} // namespace

void TextFlow::setStyle(const std::shared_ptr<const RowStyle>& style)
{
    m_style = style;
    m_cuts.setLength(style->segmentLength(), style->wrapsAtBlanks());
    m_newer.clear();
    m_older.clear();
    m_cost = 0;
}

TextRow TextFlow::rowAt(qint64 position)
{
    const TextSegment segment = m_cuts.segmentAt(position);
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
    const auto next = m_cuts.next(row.segment);
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
    const auto previous = m_cuts.previous(row.segment);
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
    const auto newer = m_newer.find(segment.from);
    if (newer != m_newer.end() && newer->second.to == segment.to)
        return newer->second.layout;
    if (m_cost > kKeptCost) {
        m_older = std::exchange(m_newer, {});
        m_cost = 0;
    }
    Kept kept{segment.to, nullptr};
    const auto older = m_older.find(segment.from);
    if (older != m_older.end() && older->second.to == segment.to)
        kept.layout = std::move(older->second.layout);
    else
        kept.layout = std::make_shared<const RowLayout>(
            m_store.textAt(segment.from, segment.length()), m_style);
    if (older != m_older.end())
        m_older.erase(older);
    m_cost += costOf(*kept.layout);
    return m_newer.insert_or_assign(segment.from, std::move(kept)).first->second.layout;
}
