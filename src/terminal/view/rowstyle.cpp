#include "terminal/view/rowstyle.h"

#include "terminal/view/linecuts.h"

#include <QFontMetrics>
#include <algorithm>
#include <cmath>

namespace {

constexpr int digitsOfByte = 3; // two and a blank

} // namespace

RowStyle::RowStyle(const QFont& font, double width, bool wrapAtBlanks)
    : font_(font)
    , width_(width)
    , wrapAtBlanks_(wrapAtBlanks)
{
    font_.setKerning(false);
    const QFontMetrics metrics(font_);
    columnWidth_ = std::max(1.0, QFontMetricsF(font_).horizontalAdvance(u'0'));
    rowHeight_ = std::max(1, metrics.lineSpacing());
    ascent_ = metrics.ascent() + std::max(0, metrics.leading()) / 2;
    lookUpGlyphs();
}

int RowStyle::columns() const
{
    return std::max(1, static_cast<int>(std::floor(width_ / columnWidth_ + 0.001)));
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
    option.setTabStopDistance(tabColumns * columnWidth_);
    if (!wraps())
        option.setWrapMode(QTextOption::NoWrap);
    else
        option.setWrapMode(
            wrapAtBlanks_ ? QTextOption::WrapAtWordBoundaryOrAnywhere : QTextOption::WrapAnywhere);
    return option;
}

void RowStyle::lookUpGlyphs()
{
    constexpr char16_t softHyphen = 0xAD;
    constexpr double closeEnough = 0.01;
    rawFont_ = QRawFont::fromFont(font_);
    if (!rawFont_.isValid())
        return;
    const QFontMetricsF metrics(font_);
    for (char16_t c = u' '; c < glyphs_.size(); ++c) {
        const QList<quint32> glyphs = rawFont_.glyphIndexesForString(QString(QChar(c)));
        const double advance = metrics.horizontalAdvance(QChar(c));
        const bool oneColumn = std::abs(advance - columnWidth_) <= closeEnough;
        if (glyphs.size() == 1 && oneColumn && QChar(c).isPrint() && c != softHyphen)
            glyphs_[c] = glyphs.constFirst();
    }
    // A letter of another width says that the font is none of one width.
    if (glyphs_[u'i'] == 0 || glyphs_[u'W'] == 0)
        glyphs_.fill(0);
}
