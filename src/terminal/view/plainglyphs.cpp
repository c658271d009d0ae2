#include "terminal/view/plainglyphs.h"

#include <QFontInfo>
#include <QFontMetrics>
#include <QHash>
#include <algorithm>
#include <cmath>

namespace {

constexpr char16_t kSoftHyphen = 0xAD;

// Latin, Greek and Cyrillic; punctuation, signs, arrows, operators, box drawing and shapes. What
// lies between is written from the right, joined or stacked.
bool isSimple(char16_t c)
{
    const bool inRange = c < 0x0530 || (c >= 0x1E00 && c < 0x1F00) || (c >= 0x2010 && c < 0x2600);
    return inRange && QChar(c).isPrint() && !QChar(c).isMark() && c != kSoftHyphen;
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
    : m_font(font)
    , m_rawFont(QRawFont::fromFont(font))
{
    const QFontMetrics metrics(m_font);
    m_columnWidth = std::max(1.0, QFontMetricsF(m_font).horizontalAdvance(u'0'));
    m_rowHeight = std::max(1, metrics.lineSpacing());
    m_ascent = metrics.ascent() + std::max(0, metrics.leading()) / 2;
    // A letter of another width says that the font is none of one width.
    m_hasColumns = m_rawFont.isValid() && lookUp(u'i') != 0 && lookUp(u'W') != 0;
    if (!m_hasColumns)
        return;
    m_replacement = lookUp(u'\uFFFD');
    lookUpCodes();
}

PlainGlyphs::~PlainGlyphs() = default;

quint32 PlainGlyphs::lookUp(char16_t c) const
{
    constexpr double kCloseEnough = 0.01;
    const QList<quint32> glyphs = m_rawFont.glyphIndexesForString(QString(QChar(c)));
    if (glyphs.size() != 1 || glyphs.constFirst() == 0)
        return 0;
    const double advance = QFontMetricsF(m_font).horizontalAdvance(QChar(c));
    return std::abs(advance - m_columnWidth) <= kCloseEnough ? glyphs.constFirst() : 0;
}

void PlainGlyphs::fill(std::size_t block) const
{
    m_blocks.at(block) = std::make_unique<Block>();
    if (!m_hasColumns)
        return;
    Block& glyphs = *m_blocks.at(block);
    const auto first = static_cast<char16_t>(block * kBlockSize);
    for (std::size_t i = 0; i < kBlockSize; ++i) {
        const auto c = static_cast<char16_t>(first + i);
        if (isSimple(c))
            glyphs.at(i) = lookUp(c);
    }
    const auto useInstead = [&](char16_t missing, quint32 other) {
        if (missing / kBlockSize == block && glyphs.at(missing % kBlockSize) == 0)
            glyphs.at(missing % kBlockSize) = other;
    };
    // Text layout would hide it; the device has sent it.
    useInstead(kSoftHyphen, lookUp(u'-'));
    useInstead(kNewline, lookUp(u'\u00B6'));
    useInstead(kSubstitute, m_replacement);
}

void PlainGlyphs::lookUpCodes()
{
    constexpr double kCodeSize = 0.6; // of the font
    m_codeFont = m_rawFont;
    m_codeFont.setPixelSize(m_rawFont.pixelSize() * kCodeSize);
    const QList<quint32> glyphs =
        m_codeFont.glyphIndexesForString(QStringLiteral("0123456789ABCDEF"));
    if (glyphs.size() == static_cast<qsizetype>(m_digits.size()))
        std::ranges::copy(glyphs, m_digits.begin());
}

quint32 PlainGlyphs::codeGlyph(char16_t c, bool upper) const
{
    constexpr unsigned kCodeOfDelete = 0x7F;
    const unsigned code =
        c == kLastControl ? kCodeOfDelete : static_cast<unsigned>(c - kFirstControl);
    return m_digits.at(upper ? code / m_digits.size() : code % m_digits.size());
}

QPointF PlainGlyphs::codeOffset() const
{
    return {m_columnWidth * 0.45, -m_ascent * 0.4};
}
