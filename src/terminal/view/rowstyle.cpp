#include "terminal/view/rowstyle.h"

#include "terminal/view/linecuts.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int digitsOfByte = 3; // two and a blank

QFont withoutKerning(QFont font)
{
    font.setKerning(false);
    return font;
}

} // namespace

RowStyle::RowStyle(const QFont& font, double width, bool wrapAtBlanks)
    : font_(withoutKerning(font))
    , glyphs_(PlainGlyphs::of(font_))
    , width_(width)
    , wrapAtBlanks_(wrapAtBlanks)
{}

int RowStyle::columns() const
{
    return std::max(1, static_cast<int>(std::floor(width_ / columnWidth() + 0.001)));
}

int RowStyle::rowLength() const
{
    constexpr int longest = LineCuts::longestSegment;
    if (!wraps())
        return longest;
    if (!wrapsAtBlanks())
        return std::min(columns(), longest);
    return std::clamp((columns() + 1) / digitsOfByte, 1, longest / digitsOfByte) * digitsOfByte;
}

int RowStyle::segmentLength() const
{
    return static_cast<int>(LineCuts::longestSegment) / rowLength() * rowLength();
}

QTextOption RowStyle::textOption() const
{
    // Rows start at the left whatever is written in them: columns stay under each other.
    QTextOption option(Qt::AlignLeft | Qt::AlignAbsolute);
    option.setTabStopDistance(tabColumns * columnWidth());
    if (!wraps())
        option.setWrapMode(QTextOption::NoWrap);
    else
        option.setWrapMode(
            wrapAtBlanks_ ? QTextOption::WrapAtWordBoundaryOrAnywhere : QTextOption::WrapAnywhere);
    return option;
}
