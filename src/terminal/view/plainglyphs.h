#pragma once

#include <QFont>
#include <QPointF>
#include <QRawFont>
#include <array>
#include <memory>

// The measures of a font, and the glyphs of what it draws in columns, without layout: in a font of
// one width the letters, signs and symbols of the left-to-right scripts that join and combine
// nothing, and the symbols that stand for control characters and for bytes that are no text.
// Glyphs are looked up when text first asks for one of their block. For the thread of the views.
class PlainGlyphs final
{
public:
    // One for all rows of all views that show the font at the same size.
    [[nodiscard]] static std::shared_ptr<const PlainGlyphs> of(const QFont& font);

    explicit PlainGlyphs(const QFont& font);
    ~PlainGlyphs();
    Q_DISABLE_COPY_MOVE(PlainGlyphs)

    // Width of a digit, in pixels, at least 1; height of a line and of what is above its baseline.
    [[nodiscard]] double columnWidth() const { return m_columnWidth; }
    [[nodiscard]] int rowHeight() const { return m_rowHeight; }
    [[nodiscard]] int ascent() const { return m_ascent; }

    // Whether the font is one of one width; nothing is plain in another.
    [[nodiscard]] bool hasColumns() const { return m_hasColumns; }
    // Glyph of a character that takes one column; 0 for all that need layout.
    [[nodiscard]] quint32 glyph(char16_t c) const
    {
        const std::size_t block = c / kBlockSize;
        if (block >= m_blocks.size())
            return c == u'\uFFFD' ? m_replacement : 0;
        if (!m_blocks[block])
            fill(block);
        return (*m_blocks[block])[c % kBlockSize];
    }
    [[nodiscard]] const QRawFont& rawFont() const { return m_rawFont; }

    // A symbol of a control character that the font does not have, which many do not: drawn as its
    // code, two small digits in one column.
    [[nodiscard]] bool isCode(char16_t c) const
    {
        return m_hasColumns && c >= kFirstControl && c <= kLastControl && glyph(c) == 0;
    }
    [[nodiscard]] const QRawFont& codeFont() const { return m_codeFont; }
    // Glyph of one digit of such a code, the upper left or the lower right one.
    [[nodiscard]] quint32 codeGlyph(char16_t c, bool upper) const;
    // Where the upper digit's baseline stands above the row's, and the lower one's left end.
    [[nodiscard]] QPointF codeOffset() const;

private:
    // Control Pictures: NUL to US, blank, DEL; and one for a new line, one for what has no symbol.
    static constexpr char16_t kFirstControl = 0x2400;
    static constexpr char16_t kLastControl = 0x2421;
    static constexpr char16_t kNewline = 0x2424;
    static constexpr char16_t kSubstitute = 0x2426;
    static constexpr std::size_t kBlockSize = 256;
    static constexpr std::size_t kBlockCount = 0x26; // up to Geometric Shapes

    using Block = std::array<quint32, kBlockSize>;

    void fill(std::size_t block) const;
    [[nodiscard]] quint32 lookUp(char16_t c) const;
    void lookUpCodes();

    QFont m_font;
    QRawFont m_rawFont;
    QRawFont m_codeFont;
    double m_columnWidth = 1;
    int m_rowHeight = 1;
    int m_ascent = 1;
    bool m_hasColumns = false;
    quint32 m_replacement = 0;
    std::array<quint32, 16> m_digits{};
    mutable std::array<std::unique_ptr<Block>, kBlockCount> m_blocks;
};
