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
    [[nodiscard]] double columnWidth() const { return columnWidth_; }
    [[nodiscard]] int rowHeight() const { return rowHeight_; }
    [[nodiscard]] int ascent() const { return ascent_; }

    // Whether the font is one of one width; nothing is plain in another.
    [[nodiscard]] bool hasColumns() const { return hasColumns_; }
    // Glyph of a character that takes one column; 0 for all that need layout.
    [[nodiscard]] quint32 glyph(char16_t c) const
    {
        const std::size_t block = c / blockSize;
        if (block >= blocks_.size())
            return c == u'\uFFFD' ? replacement_ : 0;
        if (!blocks_[block])
            fill(block);
        return (*blocks_[block])[c % blockSize];
    }
    [[nodiscard]] const QRawFont& rawFont() const { return rawFont_; }

    // A symbol of a control character that the font does not have, which many do not: drawn as its
    // code, two small digits in one column.
    [[nodiscard]] bool isCode(char16_t c) const
    {
        return hasColumns_ && c >= firstControl && c <= lastControl && glyph(c) == 0;
    }
    [[nodiscard]] const QRawFont& codeFont() const { return codeFont_; }
    // Glyph of one digit of such a code, the upper left or the lower right one.
    [[nodiscard]] quint32 codeGlyph(char16_t c, bool upper) const;
    // Where the upper digit's baseline stands above the row's, and the lower one's left end.
    [[nodiscard]] QPointF codeOffset() const;

private:
    // Control Pictures: NUL to US, blank, DEL; and one for a new line, one for what has no symbol.
    static constexpr char16_t firstControl = 0x2400;
    static constexpr char16_t lastControl = 0x2421;
    static constexpr char16_t newline = 0x2424;
    static constexpr char16_t substitute = 0x2426;
    static constexpr std::size_t blockSize = 256;
    static constexpr std::size_t blockCount = 0x26; // up to Geometric Shapes

    using Block = std::array<quint32, blockSize>;

    void fill(std::size_t block) const;
    [[nodiscard]] quint32 lookUp(char16_t c) const;
    void lookUpCodes();

    QFont font_;
    QRawFont rawFont_;
    QRawFont codeFont_;
    double columnWidth_ = 1;
    int rowHeight_ = 1;
    int ascent_ = 1;
    bool hasColumns_ = false;
    quint32 replacement_ = 0;
    std::array<quint32, 16> digits_{};
    mutable std::array<std::unique_ptr<Block>, blockCount> blocks_;
};
