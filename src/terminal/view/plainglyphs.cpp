#include "terminal/view/plainglyphs.h"

#include <QFontInfo>
#include <QFontMetrics>
#include <QHash>
#include <algorithm>
#include <cmath>

namespace {

constexpr char16_t softHyphen = 0xAD;

// Latin, Greek and Cyrillic; punctuation, signs, arrows, operators, box drawing and shapes. What
// lies between is written from the right, joined or stacked.
bool isSimple(char16_t c)
{
    const bool inRange = c < 0x0530 || (c >= 0x1E00 && c < 0x1F00) || (c >= 0x2010 && c < 0x2600);
    return inRange && QChar(c).isPrint() && !QChar(c).isMark() && c != softHyphen;
}

} // namespace

std::shared_ptr<const PlainGlyphs> PlainGlyphs::of(const QFont& font)
{
    static QHash<QString, std::weak_ptr<const PlainGlyphs>> shared;
    // The same points are other pixels once the screen is another.
    const QString key = font.key() + u'/' + QString::number(QFontInfo(font).pixelSize());
    if (auto known = shared.value(key).lock())
        return known;
    shared.removeIf([](const auto& entry) { return entry.value().expired(); });
    auto made = std::make_shared<const PlainGlyphs>(font);
    shared.insert(key, made);
    return made;
}

PlainGlyphs::PlainGlyphs(const QFont& font)
    : font_(font)
    , rawFont_(QRawFont::fromFont(font))
{
    const QFontMetrics metrics(font_);
    columnWidth_ = std::max(1.0, QFontMetricsF(font_).horizontalAdvance(u'0'));
    rowHeight_ = std::max(1, metrics.lineSpacing());
    ascent_ = metrics.ascent() + std::max(0, metrics.leading()) / 2;
    // A letter of another width says that the font is none of one width.
    hasColumns_ = rawFont_.isValid() && lookUp(u'i') != 0 && lookUp(u'W') != 0;
    if (!hasColumns_)
        return;
    replacement_ = lookUp(u'\uFFFD');
    lookUpCodes();
}

PlainGlyphs::~PlainGlyphs() = default;

quint32 PlainGlyphs::lookUp(char16_t c) const
{
    constexpr double closeEnough = 0.01;
    const QList<quint32> glyphs = rawFont_.glyphIndexesForString(QString(QChar(c)));
    if (glyphs.size() != 1 || glyphs.constFirst() == 0)
        return 0;
    const double advance = QFontMetricsF(font_).horizontalAdvance(QChar(c));
    return std::abs(advance - columnWidth_) <= closeEnough ? glyphs.constFirst() : 0;
}

void PlainGlyphs::fill(std::size_t block) const
{
    blocks_.at(block) = std::make_unique<Block>();
    if (!hasColumns_)
        return;
    Block& glyphs = *blocks_.at(block);
    const auto first = static_cast<char16_t>(block * blockSize);
    for (std::size_t i = 0; i < blockSize; ++i) {
        const auto c = static_cast<char16_t>(first + i);
        if (isSimple(c))
            glyphs.at(i) = lookUp(c);
    }
    const auto useInstead = [&](char16_t missing, quint32 other) {
        if (missing / blockSize == block && glyphs.at(missing % blockSize) == 0)
            glyphs.at(missing % blockSize) = other;
    };
    // Text layout would hide it; the device has sent it.
    useInstead(softHyphen, lookUp(u'-'));
    useInstead(newline, lookUp(u'\u00B6'));
    useInstead(substitute, replacement_);
}

void PlainGlyphs::lookUpCodes()
{
    constexpr double codeSize = 0.6; // of the font
    codeFont_ = rawFont_;
    codeFont_.setPixelSize(rawFont_.pixelSize() * codeSize);
    const QList<quint32> glyphs =
        codeFont_.glyphIndexesForString(QStringLiteral("0123456789ABCDEF"));
    if (glyphs.size() == static_cast<qsizetype>(digits_.size()))
        std::ranges::copy(glyphs, digits_.begin());
}

quint32 PlainGlyphs::codeGlyph(char16_t c, bool upper) const
{
    constexpr unsigned codeOfDelete = 0x7F;
    const unsigned code = c == lastControl ? codeOfDelete : static_cast<unsigned>(c - firstControl);
    return digits_.at(upper ? code / digits_.size() : code % digits_.size());
}

QPointF PlainGlyphs::codeOffset() const
{
    return {columnWidth_ * 0.45, -ascent_ * 0.4};
}
