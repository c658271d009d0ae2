#include "terminal/view/terminalpainter.h"

#include "terminal/view/textcontrast.h"

#include <QGlyphRun>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace {

constexpr QRgb markPale = 0xFFFFE27A;
constexpr QRgb markStrong = 0xFFFF9A3C;
constexpr QRgb markInk = 0xFF000000;
constexpr qsizetype mostInks = 4096;
constexpr double towardsText = 0.6;

// The 16 colours of ECMA-48 (SGR 30 to 37 and their bright forms) as xterm has them.
constexpr std::array<QRgb, TerminalCell::kPalette> kXtermColors{0xFF000000, 0xFFCD0000, 0xFF00CD00,
    0xFFCDCD00, 0xFF0000EE, 0xFFCD00CD, 0xFF00CDCD, 0xFFE5E5E5, 0xFF7F7F7F, 0xFFFF0000, 0xFF00FF00,
    0xFFFFFF00, 0xFF5C5CFF, 0xFFFF00FF, 0xFF00FFFF, 0xFFFFFFFF};
constexpr int firstBright = 8;

QString textOf(const TerminalCell& cell)
{
    QString text = QString::fromUcs4(&cell.character, 1);
    for (const char32_t mark : cell.marks) {
        if (mark != 0)
            text += QString::fromUcs4(&mark, 1);
    }
    return text;
}

} // namespace

void TerminalPainter::setFont(const QFont& font)
{
    for (std::size_t i = 0; i < m_fonts.size(); ++i) {
        QFont face = font;
        face.setKerning(false);
        face.setBold((i & 1U) != 0 || font.bold());
        face.setItalic((i & 2U) != 0);
        m_fonts[i] = {face, PlainGlyphs::of(face)};
    }
}

void TerminalPainter::setPalette(const QPalette& palette)
{
    m_base = palette.color(QPalette::Base).rgb();
    m_text = palette.color(QPalette::Text).rgb();
    m_selectedText = palette.color(QPalette::HighlightedText).rgb();
    m_selectedPaper = palette.color(QPalette::Highlight).rgb();
    m_inks.clear();
}

int TerminalPainter::xOf(int column) const
{
    return qRound(column * glyphs().columnWidth());
}

int TerminalPainter::columnAt(int x) const
{
    return static_cast<int>(std::floor((x + 0.5) / glyphs().columnWidth()));
}

QRgb TerminalPainter::colorOf(quint32 color, bool bright, QRgb otherwise) const
{
    if (color == TerminalCell::kDefault)
        return otherwise;
    const quint32 index = color - TerminalCell::kFirstOfPalette;
    if (index >= kXtermColors.size())
        return color;
    return kXtermColors[bright && index < firstBright ? index + firstBright : index];
}

// Devices choose colours for a dark background; on a light one the pale ones move towards the
// colour of the text.
QRgb TerminalPainter::readable(QRgb ink, QRgb paper)
{
    const quint64 key = (quint64(ink) << 32U) | paper;
    const auto known = m_inks.constFind(key);
    if (known != m_inks.cend())
        return *known;
    if (m_inks.size() >= mostInks)
        m_inks.clear();
    QColor drawn = QColor::fromRgb(ink);
    const QColor ground = QColor::fromRgb(paper);
    if (!isReadable(drawn, ground))
        drawn = blended(drawn, QColor::fromRgb(m_text), towardsText);
    if (!isReadable(drawn, ground))
        drawn = QColor::fromRgb(m_text);
    m_inks.insert(key, drawn.rgb());
    return drawn.rgb();
}

TerminalPainter::Look TerminalPainter::lookOf(const TerminalCell& cell)
{
    const bool bold = (cell.attributes & TerminalCell::Bold) != 0;
    Look look{colorOf(cell.ink, bold, m_text), colorOf(cell.paper, false, m_base), cell.attributes};
    // A device that names both colours gets both.
    if (cell.ink != TerminalCell::kDefault && cell.paper == TerminalCell::kDefault)
        look.ink = readable(look.ink, look.paper);
    if ((cell.attributes & TerminalCell::Reverse) != 0)
        std::swap(look.ink, look.paper);
    if (look.paper == m_base)
        look.paper = 0;
    return look;
}

void TerminalPainter::draw(QPainter& painter, QPoint corner, const TerminalLine& line,
    const Stretch& selected, const QList<Stretch>& marks)
{
    const auto lookAt = [&](int column) {
        Look look = lookOf(line[static_cast<std::size_t>(column)]);
        if (selected.from <= column && column < selected.to) {
            look.ink = m_selectedText;
            look.paper = m_selectedPaper;
            return look;
        }
        for (const Stretch& mark : marks) {
            if (mark.from <= column && column < mark.to) {
                look.ink = markInk;
                look.paper = mark.current ? markStrong : markPale;
            }
        }
        return look;
    };
    const int columns = static_cast<int>(line.size());
    for (int from = 0; from < columns;) {
        const Look look = lookAt(from);
        int to = from + 1;
        while (to < columns && lookAt(to) == look)
            ++to;
        drawRun(painter, corner, line, from, to, look);
        from = to;
    }
    if (selected.to > columns && selected.to > selected.from) {
        const int left = corner.x() + xOf(std::max(columns, selected.from));
        painter.fillRect(
            QRect(left, corner.y(), corner.x() + xOf(selected.to) - left, glyphs().rowHeight()),
            QColor::fromRgb(m_selectedPaper));
    }
}

void TerminalPainter::drawRun(
    QPainter& painter, QPoint corner, const TerminalLine& line, int from, int to, const Look& look)
{
    const int left = corner.x() + xOf(from);
    const QRect area(left, corner.y(), corner.x() + xOf(to) - left, glyphs().rowHeight());
    if (look.paper != 0)
        painter.fillRect(area, QColor::fromRgb(look.paper));
    painter.setPen(QColor::fromRgb(look.ink));
    const unsigned bold = (look.attributes & TerminalCell::Bold) != 0 ? 1U : 0U;
    const unsigned italic = (look.attributes & TerminalCell::Italic) != 0 ? 2U : 0U;
    const Face& face = m_fonts.at(bold | italic);
    const int baseline = corner.y() + glyphs().ascent();
    QList<quint32> indexes;
    QList<QPointF> places;
    for (int column = from; column < to; ++column) {
        const TerminalCell& cell = line[static_cast<std::size_t>(column)];
        if (cell.width == 0 || cell.character == 0 || cell.character == U' ')
            continue;
        const bool small = cell.character <= 0xFFFF && cell.marks[0] == 0 && cell.width == 1;
        const quint32 glyph = small ? face.glyphs->glyph(char16_t(cell.character)) : 0;
        if (glyph != 0) {
            indexes.append(glyph);
            places.append(QPointF(corner.x() + xOf(column), baseline));
        } else {
            painter.setFont(face.font);
            painter.drawText(QPoint(corner.x() + xOf(column), baseline), textOf(cell));
        }
    }
    if (!indexes.isEmpty()) {
        QGlyphRun run;
        run.setRawFont(face.glyphs->rawFont());
        run.setGlyphIndexes(indexes);
        run.setPositions(places);
        painter.drawGlyphRun({}, run);
    }
    if ((look.attributes & TerminalCell::Underline) != 0)
        painter.drawLine(area.left(), baseline + 1, area.right(), baseline + 1);
    if ((look.attributes & TerminalCell::Strike) != 0)
        painter.drawLine(area.left(), area.center().y(), area.right(), area.center().y());
}

void TerminalPainter::drawCursor(
    QPainter& painter, const QRect& area, const TerminalCell& cell, bool focus)
{
    if (!focus) {
        painter.setPen(QColor::fromRgb(m_text));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(area.adjusted(0, 0, -1, -1));
        return;
    }
    painter.fillRect(area, QColor::fromRgb(m_text));
    if (cell.character == 0)
        return;
    painter.setPen(QColor::fromRgb(m_base));
    painter.setFont(m_fonts[0].font);
    painter.drawText(QPoint(area.left(), area.top() + glyphs().ascent()), textOf(cell));
}
