#pragma once

#include "terminal/view/plainglyphs.h"

#include <QFont>
#include <QTextOption>
#include <memory>

// What the rows of a view have in common: font, measures, wrapping. A value; made anew when one of
// these changes.
class RowStyle final
{
public:
    static constexpr int kTabColumns = 8;

    // `width` in pixels; 0 does not wrap.
    RowStyle(const QFont& font, double width, bool wrapAtBlanks);

    [[nodiscard]] const QFont& font() const { return m_font; }
    [[nodiscard]] bool wraps() const { return m_width > 0; }
    [[nodiscard]] bool wrapsAtBlanks() const { return wraps() && m_wrapAtBlanks; }
    [[nodiscard]] double width() const { return m_width; }
    // All rows have the height of a line of this font, so that a place on the screen follows from
    // the row's number; a letter from another font may reach over it.
    [[nodiscard]] double columnWidth() const { return m_glyphs->columnWidth(); }
    [[nodiscard]] int rowHeight() const { return m_glyphs->rowHeight(); }
    [[nodiscard]] int ascent() const { return m_glyphs->ascent(); }
    // Whole columns in a row that wraps, at least 1.
    [[nodiscard]] int columns() const;
    // Characters that fill a row, about; of one that does not wrap, the longest.
    [[nodiscard]] int rowLength() const;
    // Characters of a piece that is laid out at once: fills its rows, unless it is a line's last.
    [[nodiscard]] int segmentLength() const;

    // Whether a character can be drawn by columns, without layout.
    [[nodiscard]] bool isPlain(char16_t c) const
    {
        return m_glyphs->glyph(c) != 0 || m_glyphs->isCode(c)
               || (c == u'\t' && m_glyphs->hasColumns() && !wrapsAtBlanks());
    }
    [[nodiscard]] const PlainGlyphs& glyphs() const { return *m_glyphs; }
    [[nodiscard]] QTextOption textOption() const;

private:
    QFont m_font;
    std::shared_ptr<const PlainGlyphs> m_glyphs;
    double m_width;
    bool m_wrapAtBlanks;
};
