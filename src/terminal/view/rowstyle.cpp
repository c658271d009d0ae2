#include "terminal/view/rowstyle.h"

#include "terminal/view/linecuts.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int kDigitsOfByte = 3; // two and a blank

QFont withoutKerning(QFont font)
{
    font.setKerning(false);
    return font;
}

} // namespace

RowStyle::RowStyle(const QFont& font, double width, bool wrapAtBlanks)
    : m_font(withoutKerning(font))
    , m_glyphs(PlainGlyphs::of(m_font))
    , m_width(width)
    , m_wrapAtBlanks(wrapAtBlanks)
{}

int RowStyle::columns() const
{
    return std::max(1, static_cast<int>(std::floor(m_width / columnWidth() + 0.001)));
}

int RowStyle::rowLength() const
{
    constexpr int kLongest = LineCuts::kLongestSegment;
    if (!wraps())
        return kLongest;
    if (!wrapsAtBlanks())
        return std::min(columns(), kLongest);
    return std::clamp((columns() + 1) / kDigitsOfByte, 1, kLongest / kDigitsOfByte) * kDigitsOfByte;
}

int RowStyle::segmentLength() const
{
    return static_cast<int>(LineCuts::kLongestSegment) / rowLength() * rowLength();
}

QTextOption RowStyle::textOption() const
{
    // Rows start at the left whatever is written in them: columns stay under each other.
    QTextOption option(Qt::AlignLeft | Qt::AlignAbsolute);
    option.setTabStopDistance(kTabColumns * columnWidth());
    if (!wraps())
        option.setWrapMode(QTextOption::NoWrap);
    else
        option.setWrapMode(
            m_wrapAtBlanks ? QTextOption::WrapAtWordBoundaryOrAnywhere : QTextOption::WrapAnywhere);
    return option;
}
