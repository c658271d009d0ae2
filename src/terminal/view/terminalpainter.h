#pragma once

#include "terminal/screen/terminalscreen.h"
#include "terminal/view/plainglyphs.h"
#include "terminal/view/searchedview.h"

#include <QFont>
#include <QHash>
#include <QPalette>
#include <array>

class QPainter;

// Draws lines of a terminal's screen on the grid of one font: every character in the columns that
// the screen gave it, whatever the width of its glyph.
class TerminalPainter final
{
public:
    // From one column up to another.
    struct Stretch
    {
        int from = 0;
        int to = 0;
        bool current = false; // of marks: the one that the search stands at
    };

    void setFont(const QFont& font);
    void setPalette(const QPalette& palette);
    [[nodiscard]] const PlainGlyphs& glyphs() const { return *m_fonts[0].glyphs; }
    // Left edge of a column, in whole pixels, so that neighbours leave no gap.
    [[nodiscard]] int xOf(int column) const;
    [[nodiscard]] int columnAt(int x) const;

    void draw(QPainter& painter, QPoint corner, const TerminalLine& line, const Stretch& selected,
        const QList<Stretch>& marks);
    // The cell that the cursor stands on, filled with the focus and framed without it.
    void drawCursor(QPainter& painter, const QRect& area, const TerminalCell& cell, bool focus);

private:
    struct Look
    {
        QRgb ink = 0;
        QRgb paper = 0; // 0: none, the background shows
        quint8 attributes = 0;

        bool operator==(const Look&) const = default;
    };
    struct Face
    {
        QFont font;
        std::shared_ptr<const PlainGlyphs> glyphs;
    };

    [[nodiscard]] Look lookOf(const TerminalCell& cell);
    [[nodiscard]] QRgb colorOf(quint32 color, bool bright, QRgb otherwise) const;
    [[nodiscard]] QRgb readable(QRgb ink, QRgb paper);
    void drawRun(QPainter& painter, QPoint corner, const TerminalLine& line, int from, int to,
        const Look& look);

    std::array<Face, 4> m_fonts; // plain, bold, italic, both
    QRgb m_base = 0;
    QRgb m_text = 0;
    QRgb m_selectedText = 0;
    QRgb m_selectedPaper = 0;
    QHash<quint64, QRgb> m_inks; // on which paper how an ink is drawn; bounded in readable()
};
