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
    const auto lookUp = [&](char16_t c) {
        const QList<quint32> glyphs = rawFont_.glyphIndexesForString(QString(QChar(c)));
        if (glyphs.size() != 1 || glyphs.constFirst() == 0)
            return;
        const double advance = metrics.horizontalAdvance(QChar(c));
        if (std::abs(advance - columnWidth_) <= closeEnough)
            glyphs_.at(slotOf(c)) = glyphs.constFirst();
    };
    for (char16_t c = u' '; c < latin1Count; ++c) {
        if (QChar(c).isPrint() && c != softHyphen)
            lookUp(c);
    }
    // A letter of another width says that the font is none of one width.
    columnsOnly_ = glyphs_[u'i'] != 0 && glyphs_[u'W'] != 0;
    if (!columnsOnly_) {
        glyphs_.fill(0);
        return;
    }
    for (char16_t c = firstControl; c <= substitute; ++c)
        lookUp(c);
    lookUp(u'\uFFFD');
    const auto useInstead = [this](char16_t missing, char16_t other) {
        quint32& glyph = glyphs_.at(slotOf(missing));
        if (glyph == 0)
            glyph = glyphs_.at(slotOf(other));
    };
    // Text layout would hide it; the device has sent it.
    useInstead(softHyphen, u'-');
    useInstead(newline, u'\u00B6');
    useInstead(substitute, u'\uFFFD');
    lookUpCodes();
}

void RowStyle::lookUpCodes()
{
    constexpr double codeSize = 0.6; // of the font
    codeFont_ = rawFont_;
    codeFont_.setPixelSize(rawFont_.pixelSize() * codeSize);
    const QList<quint32> glyphs =
        codeFont_.glyphIndexesForString(QStringLiteral("0123456789ABCDEF"));
    if (glyphs.size() == static_cast<qsizetype>(digits_.size()))
        std::ranges::copy(glyphs, digits_.begin());
}

quint32 RowStyle::codeGlyph(char16_t c, bool upper) const
{
    constexpr unsigned codeOfDelete = 0x7F;
    const unsigned code = c == lastControl ? codeOfDelete : static_cast<unsigned>(c - firstControl);
    return digits_.at(upper ? code / digits_.size() : code % digits_.size());
}

QPointF RowStyle::codeOffset() const
{
    return {columnWidth_ * 0.45, -ascent_ * 0.4};
}
