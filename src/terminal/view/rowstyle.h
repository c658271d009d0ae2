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
    // width most of ISO 8859-1. 0 for all others.
    [[nodiscard]] quint32 plainGlyph(char16_t c) const
    {
        return c < glyphs_.size() ? glyphs_[c] : 0;
    }
    [[nodiscard]] const QRawFont& rawFont() const { return rawFont_; }
    [[nodiscard]] QTextOption textOption() const;

private:
    void lookUpGlyphs();

    QFont font_;
    QRawFont rawFont_;
    double width_;
    double columnWidth_ = 1;
    int rowHeight_ = 1;
    int ascent_ = 1;
    bool wrapAtBlanks_;
    std::array<quint32, 256> glyphs_{};
};
