#include "terminal/view/rowindex.h"

#include <algorithm>

void RowIndex::setRowLength(qint64 characters)
{
    characters = std::max<qint64>(characters, 1);
    if (characters == m_rowLength)
        return;
    m_rowLength = characters;
    m_frontPosition = -1;
    m_marks.clear();
}

qint64 RowIndex::rowAt(qint64 position)
{
    update();
    position = std::clamp(position, m_store.firstPosition(), m_store.endPosition());
    const qint64 number = (position - m_base) / kSpacing;
    const Mark mark = advanced(markAt(number), placeOf(number), position);
    qint64 inLine = (position - mark.lineStart) / m_rowLength;
    // The end of a line that fills its rows stands behind the last of them.
    const bool rowIsFull = (position - mark.lineStart) % m_rowLength == 0;
    if (rowIsFull && inLine > 0 && position == m_store.lineEnd(m_store.lineAt(position)))
        --inLine;
    return mark.rows + inLine - rowAtMark(0);
}

qint64 RowIndex::positionAt(qint64 row)
{
    update();
    row += rowAtMark(0);
    qint64 low = 0;
    for (auto high = static_cast<qint64>(m_marks.size()) + 1; high - low > 1;) {
        const qint64 middle = (low + high) / 2;
        (rowAtMark(middle) <= row ? low : high) = middle;
    }
    Mark mark = markAt(low);
    bool found = false;
    m_store.visitLineFeeds(placeOf(low), m_base + (low + 1) * kSpacing, [&](qint64 feed) {
        const qint64 rows = rowsOf(feed - mark.lineStart);
        found = found || mark.rows + rows > row;
        if (!found)
            mark = {mark.rows + rows, feed + 1};
    });
    const qint64 position = mark.lineStart + std::max<qint64>(row - mark.rows, 0) * m_rowLength;
    return std::clamp(position, m_store.firstPosition(), m_store.endPosition());
}

void RowIndex::update()
{
    if (m_store.firstPosition() != m_frontPosition)
        moveFront();
    auto count = static_cast<qint64>(m_marks.size());
    while (m_base + (count + 1) * kSpacing <= m_store.endPosition()) {
        const qint64 to = m_base + (count + 1) * kSpacing;
        m_marks.push_back(advanced(markAt(count), placeOf(count), to));
        ++count;
    }
}

// What was removed in the front's stretch is not there to be counted; the mark behind it is.
void RowIndex::moveFront()
{
    m_frontPosition = m_store.firstPosition();
    const qint64 base = m_frontPosition / kSpacing * kSpacing;
    for (; m_base < base && !m_marks.empty(); m_base += kSpacing)
        m_marks.pop_front();
    m_base = base;
    // What is left of a line is shown as a line; a very long one keeps the count of its marks.
    const bool endsHere = m_store.lineEnd(m_store.firstLine()) < m_base + kSpacing;
    m_front = {0, endsHere ? m_frontPosition : m_store.lineStart(m_store.firstLine())};
    if (!m_marks.empty())
        m_front.rows =
            m_marks.front().rows - advanced(m_front, m_frontPosition, m_base + kSpacing).rows;
}

RowIndex::Mark RowIndex::advanced(Mark mark, qint64 from, qint64 to) const
{
    m_store.visitLineFeeds(from, to, [&](qint64 feed) {
        mark = {mark.rows + rowsOf(feed - mark.lineStart), feed + 1};
    });
    return mark;
}

qint64 RowIndex::rowsOf(qint64 length) const
{
    return std::max<qint64>(1, (length + m_rowLength - 1) / m_rowLength);
}

RowIndex::Mark RowIndex::markAt(qint64 number) const
{
    return number == 0 ? m_front : m_marks[static_cast<std::size_t>(number - 1)];
}

qint64 RowIndex::placeOf(qint64 number) const
{
    return number == 0 ? m_frontPosition : m_base + number * kSpacing;
}

qint64 RowIndex::rowAtMark(qint64 number) const
{
    const Mark mark = markAt(number);
    return mark.rows + (placeOf(number) - mark.lineStart) / m_rowLength;
}
