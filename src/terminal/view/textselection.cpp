#include "terminal/view/textselection.h"

#include "terminal/view/textstore.h"

#include <algorithm>

namespace {

constexpr qint64 longestWord = 4096; // to each side of the pointer

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
    return std::max(std::min(anchor_.first, cursor_), store_.firstPosition());
}

qint64 TextSelection::to() const
{
    return std::max(std::max(anchor_.second, cursor_), store_.firstPosition());
}

qint64 TextSelection::cursor() const
{
    return std::max(cursor_, store_.firstPosition());
}

void TextSelection::clear()
{
    select(cursor_, cursor_);
}

void TextSelection::select(qint64 anchor, qint64 cursor)
{
    unit_ = Unit::Character;
    anchor_ = {anchor, anchor};
    cursor_ = cursor;
}

void TextSelection::begin(qint64 position, Unit unit)
{
    unit_ = unit;
    anchor_ = unitAt(position);
    cursor_ = anchor_.second;
}

void TextSelection::extendTo(qint64 position)
{
    const Range there = unitAt(position);
    cursor_ = position < anchor_.first ? there.first : std::max(there.second, anchor_.second);
}

TextSelection::Range TextSelection::unitAt(qint64 position) const
{
    position = std::clamp(position, store_.firstPosition(), store_.endPosition());
    switch (unit_) {
    case Unit::Character:
        break;
    case Unit::Word:
        return wordAt(position);
    case Unit::Line: {
        const qint64 line = store_.lineAt(position);
        const qint64 end = store_.lineEnd(line) + (line < store_.lastLine() ? 1 : 0);
        return {std::max(store_.lineStart(line), store_.firstPosition()), end};
    }
    }
    return {position, position};
}

TextSelection::Range TextSelection::wordAt(qint64 position) const
{
    const Kind kind = kindOf(store_.characterAt(position));
    if (position >= store_.endPosition() || kind == Kind::LineFeed)
        return {position, position};
    qint64 from = position;
    while (from > store_.firstPosition() && position - from < longestWord
           && kindOf(store_.characterAt(from - 1)) == kind)
        --from;
    qint64 to = position + 1;
    while (to < store_.endPosition() && to - position < longestWord
           && kindOf(store_.characterAt(to)) == kind)
        ++to;
    return {from, to};
}
