#pragma once

#include <QFont>
#include <QRawFont>
#include <QTextOption>
#include <array>

// What the rows of a view have in common: font, measures, wrapping. A value; made anew when one of
// these changes.
class RowStyle final
{
public:
    static constexpr int tabColumns = 8;

    // `width` in pixels; 0 does not wrap.
    RowStyle(const QFont& font, double width, bool wrapAtBlanks);

    [[nodiscard]] const QFont& font() const { return font_; }
    [[nodiscard]] bool wraps() const { return width_ > 0; }
    [[nodiscard]] bool wrapsAtBlanks() const { return wraps() && wrapAtBlanks_; }
    [[nodiscard]] double width() const { return width_; }
    // Width of a digit. All rows have the height of a line of this font, so that a place on the
    // screen follows from the row's number; a letter from another font may reach over it.
    [[nodiscard]] double columnWidth() const { return columnWidth_; }
    [[nodiscard]] int rowHeight() const { return rowHeight_; }
    [[nodiscard]] int ascent() const { return ascent_; }
    // Whole columns in a row that wraps, at least 1.
    [[nodiscard]] int columns() const;
    // Characters that fill a row, about; of one that does not wrap, the longest.
    [[nodiscard]] int rowLength() const;
    // Characters of a piece that is laid out at once: fills its rows, unless it is a line's last.
    [[nodiscard]] int segmentLength() const;

    // Glyph of a character that takes one column and can be drawn without layout: in a font of one
    // width most of ISO 8859-1, and the symbols that stand for control characters and for bytes
    // that are no text. 0 for all others.
    [[nodiscard]] quint32 plainGlyph(char16_t c) const
    {
        const std::size_t slot = slotOf(c);
        return slot < glyphs_.size() ? glyphs_[slot] : 0;
    }
    [[nodiscard]] const QRawFont& rawFont() const { return rawFont_; }
    // A symbol of a control character that the font does not have, which many do not: drawn as its
    // code, two small digits in one column.
    [[nodiscard]] bool isCode(char16_t c) const
    {
        return columnsOnly_ && c >= firstControl && c <= lastControl && plainGlyph(c) == 0;
    }
    [[nodiscard]] bool isPlain(char16_t c) const { return plainGlyph(c) != 0 || isCode(c); }
    [[nodiscard]] const QRawFont& codeFont() const { return codeFont_; }
    // Glyph of one digit of such a code, the upper left or the lower right one.
    [[nodiscard]] quint32 codeGlyph(char16_t c, bool upper) const;
    // Where the upper digit's baseline stands above the row's, and the lower one's left end.
    [[nodiscard]] QPointF codeOffset() const;
    [[nodiscard]] QTextOption textOption() const;

private:
    // Control Pictures: NUL to US, blank, DEL; and one for a new line, one for what has no symbol.
    static constexpr char16_t firstControl = 0x2400;
    static constexpr char16_t lastControl = 0x2421;
    static constexpr char16_t newline = 0x2424;
    static constexpr char16_t substitute = 0x2426;
    static constexpr std::size_t latin1Count = 256;
    static constexpr std::size_t slotCount = latin1Count + substitute - firstControl + 2;

    // Place of a character in the table of glyphs, slotCount when it has none.
    [[nodiscard]] static constexpr std::size_t slotOf(char16_t c)
    {
        if (c < latin1Count)
            return c;
        if (c >= firstControl && c <= substitute)
            return latin1Count + c - firstControl;
        return c == u'\uFFFD' ? slotCount - 1 : slotCount;
    }
    void lookUpGlyphs();
    void lookUpCodes();

    QFont font_;
    QRawFont rawFont_;
    double width_;
    double columnWidth_ = 1;
    int rowHeight_ = 1;
    int ascent_ = 1;
    bool wrapAtBlanks_;
    bool columnsOnly_ = false; // a font of one width
    QRawFont codeFont_;
    std::array<quint32, 16> digits_{};
    std::array<quint32, slotCount> glyphs_{};
};
