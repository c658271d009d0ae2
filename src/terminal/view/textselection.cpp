#include "terminal/view/textselection.h"

#include "terminal/view/textstore.h"

#include <algorithm>

namespace {

constexpr qint64 kLongestWord = 4096; // to each side of the pointer

enum class Kind : quint8 { Letter, Blank, LineFeed, Other };

Kind kindOf(QChar c)
{
    if (c == u'\n')
        return Kind::LineFeed;
    if (c.isSpace())
        return Kind::Blank;
    const bool letter = c.isLetterOrNumber() || c.isMark() || c.isSurrogate() || c == u'_';
    return letter ? Kind::Letter : Kind::Other;
}

} // namespace

qint64 TextSelection::from() const
{
    return std::max(std::min(m_anchor.first, m_cursor), m_store.firstPosition());
}

qint64 TextSelection::to() const
{
    return std::max(std::max(m_anchor.second, m_cursor), m_store.firstPosition());
}

qint64 TextSelection::cursor() const
{
    return std::max(m_cursor, m_store.firstPosition());
}

void TextSelection::clear()
{
    select(m_cursor, m_cursor);
}

void TextSelection::select(qint64 anchor, qint64 cursor)
{
    m_unit = Unit::Character;
    m_anchor = {anchor, anchor};
    m_cursor = cursor;
}

void TextSelection::begin(qint64 position, Unit unit)
{
    m_unit = unit;
    m_anchor = unitAt(position);
    m_cursor = m_anchor.second;
}

void TextSelection::extendTo(qint64 position)
{
    const Range there = unitAt(position);
    m_cursor = position < m_anchor.first ? there.first : std::max(there.second, m_anchor.second);
}

TextSelection::Range TextSelection::unitAt(qint64 position) const
{
    position = std::clamp(position, m_store.firstPosition(), m_store.endPosition());
    switch (m_unit) {
    case Unit::Character:
        break;
    case Unit::Word:
        return wordAt(position);
    case Unit::Line: {
        const qint64 line = m_store.lineAt(position);
        const qint64 end = m_store.lineEnd(line) + (line < m_store.lastLine() ? 1 : 0);
        return {std::max(m_store.lineStart(line), m_store.firstPosition()), end};
    }
    }
    return {position, position};
}

TextSelection::Range TextSelection::wordAt(qint64 position) const
{
    const Kind kind = kindOf(m_store.characterAt(position));
    if (position >= m_store.endPosition() || kind == Kind::LineFeed)
        return {position, position};
    qint64 from = position;
    while (from > m_store.firstPosition() && position - from < kLongestWord
           && kindOf(m_store.characterAt(from - 1)) == kind)
        --from;
    qint64 to = position + 1;
    while (to < m_store.endPosition() && to - position < kLongestWord
           && kindOf(m_store.characterAt(to)) == kind)
        ++to;
    return {from, to};
}
