#include "terminal/view/visiblerows.h"

#include <algorithm>

namespace {

bool looksLike(const TextRow& row, const TextRow& other)
{
    return row.row == other.row && row.segment == other.segment;
}

// How many rows further down in `rows` a position starts one; 0 when it starts none.
int rowsDown(const std::vector<TextRow>& rows, qint64 position)
{
    const auto at = std::ranges::lower_bound(rows, position, {}, &TextRow::from);
    const bool found = at != rows.end() && at->from() == position;
    return found ? static_cast<int>(at - rows.begin()) : 0;
}

} // namespace

void VisibleRows::collect(const TextRow& top, TextFlow& flow, int height)
{
    m_rowHeight = flow.style().rowHeight();
    const int count = std::max(1, (height - kMargin + m_rowHeight - 1) / m_rowHeight);
    m_rows.clear();
    TextRow row = top;
    do
        m_rows.push_back(row);
    while (static_cast<int>(m_rows.size()) < count && flow.goNext(row));
}

bool VisibleRows::allPlain() const
{
    return std::ranges::all_of(m_rows, [](const TextRow& row) { return row.layout->isPlain(); });
}

VisibleRows::Change VisibleRows::changeSince(const VisibleRows& before, int height) const
{
    const int count = static_cast<int>(m_rows.size());
    const int countBefore = static_cast<int>(before.m_rows.size());
    Change change;
    if (countBefore == 0)
        return {0, {{0, count}}};
    change.up = rowsDown(before.m_rows, m_rows.front().from());
    if (change.up == 0)
        change.up = -rowsDown(m_rows, before.m_rows.front().from());
    const auto wasShown = [&](int index) {
        const int old = index + change.up;
        // Of a row that the bottom cut off there is no more to move than what was seen of it.
        const bool whole = change.up <= 0 || topOf(old + 1) <= height;
        return old >= 0 && old < countBefore && index < count && whole
               && looksLike(m_rows[static_cast<std::size_t>(index)],
                   before.m_rows[static_cast<std::size_t>(old)]);
    };
    for (int index = 0; index < std::max(count, countBefore - change.up); ++index) {
        if (wasShown(index))
            continue;
        if (!change.stale.empty() && change.stale.back().first + change.stale.back().count == index)
            ++change.stale.back().count;
        else
            change.stale.push_back({index, 1});
    }
    return change;
}

std::pair<qint64, qint64> VisibleRows::range() const
{
    return {m_rows.front().segment.from, m_rows.back().segment.to};
}

std::vector<std::pair<qint64, qint64>> VisibleRows::spansBetween(double left, double right) const
{
    std::vector<std::pair<qint64, qint64>> spans;
    spans.reserve(m_rows.size());
    for (const TextRow& row : m_rows) {
        qint64 from = row.from();
        qint64 to = row.to();
        if (row.layout->isPlain()) {
            from = row.segment.from + row.layout->characterAt(left, row.row);
            const int last = row.layout->characterAt(right, row.row);
            to = std::min(to, row.segment.from + row.layout->nextCharacter(last));
        }
        if (from < to)
            spans.emplace_back(from, to);
    }
    return spans;
}

int VisibleRows::indexOf(qint64 position) const
{
    if (position < m_rows.front().from())
        return -1;
    const auto after = std::ranges::upper_bound(m_rows, position, {}, &TextRow::from);
    const TextRow& row = *std::prev(after);
    const bool holds = position < row.to() || (row.endsLine() && position == row.segment.to);
    return holds ? static_cast<int>(after - m_rows.begin()) - 1 : -1;
}

const TextRow& VisibleRows::rowUnder(int y) const
{
    const int last = static_cast<int>(m_rows.size()) - 1;
    return m_rows[static_cast<std::size_t>(std::clamp((y - kMargin) / m_rowHeight, 0, last))];
}

qint64 VisibleRows::caretAt(QPoint point) const
{
    const TextRow& row = rowUnder(point.y());
    return row.segment.from + row.layout->offsetAt(point.x(), row.row);
}

qint64 VisibleRows::characterAt(QPoint point) const
{
    const TextRow& row = rowUnder(point.y());
    return row.segment.from + row.layout->characterAt(point.x(), row.row);
}

QRect VisibleRows::caretArea(qint64 position) const
{
    const int index = indexOf(position);
    if (index < 0)
        return {};
    const TextRow& row = m_rows[static_cast<std::size_t>(index)];
    const double x = row.layout->xOf(row.offsetOf(position), row.row);
    return {qRound(x), topOf(index), kCaretWidth, m_rowHeight};
}
