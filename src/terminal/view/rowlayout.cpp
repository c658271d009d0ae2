#include "terminal/view/rowlayout.h"

#include "terminal/view/scriptfonts.h"

#include <QGlyphRun>
#include <QPainter>
#include <algorithm>
#include <limits>

namespace {

// Far beyond any row and within what text layout can count.
constexpr double kUnlimitedWidth = 4'000'000;

bool canBePlain(const QString& text, const RowStyle& style)
{
    return std::ranges::all_of(text, [&style](QChar c) { return style.isPlain(c.unicode()); });
}

struct Glyphs
{
    std::vector<quint32> indexes;
    std::vector<QPointF> positions;

    void add(quint32 index, QPointF position)
    {
        indexes.push_back(index);
        positions.push_back(position);
    }
    void draw(QPainter& painter, QPointF baseline, const QRawFont& font) const
    {
        if (indexes.empty())
            return;
        QGlyphRun run;
        run.setRawFont(font);
        run.setRawData(indexes.data(), positions.data(), static_cast<int>(indexes.size()));
        painter.drawGlyphRun(baseline, run);
    }
};

// A layout would end a row at these; the device's text has them inside of one.
QString withoutSeparators(QString text)
{
    for (QChar& c : text) {
        if (c == QChar::LineSeparator || c == QChar::ParagraphSeparator)
            c = QChar::ReplacementCharacter;
    }
    return text;
}

// What is not drawn in the ink of the first span on the bare background.
QList<QTextLayout::FormatRange> formatsOf(const std::vector<RowSpan>& spans)
{
    QList<QTextLayout::FormatRange> formats;
    for (const RowSpan& span : spans) {
        if (span.ink == spans.front().ink && span.paper == 0)
            continue;
        QTextLayout::FormatRange range;
        range.start = span.from;
        range.length = span.to - span.from;
        range.format.setForeground(QColor::fromRgb(span.ink));
        if (span.paper != 0)
            range.format.setBackground(QColor::fromRgb(span.paper));
        formats.append(range);
    }
    return formats;
}

} // namespace

RowLayout::RowLayout(const QString& text, const std::shared_ptr<const RowStyle>& style)
    : m_style(style)
    , m_text(text)
{
    if (canBePlain(m_text, *m_style))
        breakPlain();
    else
        breakLayout();
}

RowLayout::~RowLayout() = default;

void RowLayout::breakPlain()
{
    if (m_text.contains(u'\t')) {
        breakTabbed();
        return;
    }
    int start = 0;
    do {
        m_starts.push_back(start);
        start = m_style->wraps() ? plainBreak(start) : length();
    } while (start < length());
}

// A tab ends at the edge of a row that wraps at the latest.
void RowLayout::breakTabbed()
{
    const int edge = m_style->wraps() ? m_style->columns() : std::numeric_limits<int>::max();
    m_columns.reserve(m_text.size());
    m_starts.push_back(0);
    int column = 0;
    for (int i = 0; i < length(); ++i) {
        if (column >= edge) {
            m_rowColumns.push_back(column);
            m_starts.push_back(i);
            column = 0;
        }
        m_columns.push_back(column);
        constexpr int kStops = RowStyle::kTabColumns;
        column += m_text.at(i) == u'\t' ? kStops - column % kStops : 1;
        column = std::min(column, edge);
    }
    m_rowColumns.push_back(column);
}

int RowLayout::columnOf(int offset, int row) const
{
    if (m_columns.empty())
        return offset - rowStart(row);
    const auto at = static_cast<std::size_t>(offset);
    return offset < rowEnd(row) ? m_columns[at] : m_rowColumns[static_cast<std::size_t>(row)];
}

// The last character that starts at or before a column.
int RowLayout::offsetOfColumn(double column, int row) const
{
    const int start = rowStart(row);
    const int end = rowEnd(row);
    if (column >= columnOf(end, row))
        return end;
    if (m_columns.empty())
        return start + std::max(0, static_cast<int>(column));
    const auto after =
        std::upper_bound(m_columns.begin() + start + 1, m_columns.begin() + end, column);
    return static_cast<int>(after - m_columns.begin()) - 1;
}

// Blanks that a row ends with may stand beyond its edge.
int RowLayout::plainBreak(int start) const
{
    const int edge = start + m_style->columns();
    if (edge >= length())
        return length();
    if (!m_style->wrapsAtBlanks())
        return edge;
    int end = edge;
    while (end < length() && m_text.at(end) == u' ')
        ++end;
    if (end > edge)
        return end;
    while (end > start && m_text.at(end - 1) != u' ')
        --end;
    return end > start ? end : edge;
}

void RowLayout::breakLayout()
{
    QString text = withoutSeparators(m_text);
    const QList<QTextLayout::FormatRange> otherFonts = ScriptFonts::choose(text, m_style->font());
    m_layout = std::make_unique<QTextLayout>(text, m_style->font());
    m_layout->setTextOption(m_style->textOption());
    m_layout->setFormats(otherFonts);
    m_layout->setCacheEnabled(true);
    m_layout->beginLayout();
    for (QTextLine line = m_layout->createLine(); line.isValid(); line = m_layout->createLine()) {
        line.setLineWidth(m_style->wraps() ? m_style->width() : kUnlimitedWidth);
        const double row = static_cast<double>(m_starts.size()) * m_style->rowHeight();
        line.setPosition({0, row + m_style->ascent() - line.ascent()});
        m_starts.push_back(line.textStart());
    }
    m_layout->endLayout();
    if (m_starts.empty())
        m_starts.push_back(0);
}

int RowLayout::rowEnd(int row) const
{
    return row + 1 < rowCount() ? rowStart(row + 1) : length();
}

int RowLayout::rowOf(int offset) const
{
    const auto after = std::ranges::upper_bound(m_starts, offset);
    return std::max(0, static_cast<int>(after - m_starts.begin()) - 1);
}

double RowLayout::rowWidth(int row) const
{
    if (!m_layout)
        return columnOf(rowEnd(row), row) * m_style->columnWidth();
    const QTextLine line = m_layout->lineAt(row);
    return line.isValid() ? line.naturalTextWidth() : 0;
}

double RowLayout::xOf(int offset, int row) const
{
    offset = std::clamp(offset, rowStart(row), rowEnd(row));
    if (!m_layout)
        return columnOf(offset, row) * m_style->columnWidth();
    const QTextLine line = m_layout->lineAt(row);
    return line.isValid() ? line.cursorToX(offset) : 0;
}

int RowLayout::offsetAt(double x, int row) const
{
    if (!m_layout) {
        const double column = x / m_style->columnWidth();
        const int offset = offsetOfColumn(column, row);
        if (offset == rowEnd(row))
            return offset;
        const int next = columnOf(offset + 1, row);
        return column - columnOf(offset, row) < next - column ? offset : offset + 1;
    }
    const QTextLine line = m_layout->lineAt(row);
    return line.isValid() ? line.xToCursor(x) : rowStart(row);
}

int RowLayout::characterAt(double x, int row) const
{
    if (!m_layout)
        return offsetOfColumn(x / m_style->columnWidth(), row);
    const QTextLine line = m_layout->lineAt(row);
    return line.isValid() ? line.xToCursor(x, QTextLine::CursorOnCharacter) : rowStart(row);
}

int RowLayout::nextCharacter(int offset) const
{
    if (!m_layout)
        return std::min(offset + 1, length());
    return m_layout->nextCursorPosition(offset);
}

int RowLayout::previousCharacter(int offset) const
{
    if (!m_layout)
        return std::max(offset - 1, 0);
    return m_layout->previousCursorPosition(offset);
}

void RowLayout::draw(QPainter& painter, QPointF corner, int row, const std::vector<RowSpan>& spans,
    double left, double right) const
{
    if (!m_layout)
        drawPlain(painter, corner, row, spans, left, right);
    else
        drawLayout(painter, corner, row, spans);
}

void RowLayout::drawPlain(QPainter& painter, QPointF corner, int row,
    const std::vector<RowSpan>& spans, double left, double right) const
{
    const int first = characterAt(left - corner.x(), row);
    const int last = std::min(characterAt(right - corner.x(), row) + 1, rowEnd(row));
    for (const RowSpan& span : spans) {
        const int from = std::max(span.from, first);
        const int to = std::min(span.to, last);
        if (from >= to)
            continue;
        const double x = corner.x() + xOf(from, row);
        if (span.paper != 0) {
            const QRectF area(x, corner.y(), corner.x() + xOf(to, row) - x, m_style->rowHeight());
            painter.fillRect(area, QColor::fromRgb(span.paper));
        }
        painter.setPen(QColor::fromRgb(span.ink));
        drawGlyphs(painter, {x, corner.y() + m_style->ascent()}, row, from, to);
    }
}

void RowLayout::drawGlyphs(QPainter& painter, QPointF baseline, int row, int from, int to) const
{
    Glyphs letters;
    Glyphs codes;
    const PlainGlyphs& glyphs = m_style->glyphs();
    const QPointF offset = glyphs.codeOffset();
    const int firstColumn = columnOf(from, row);
    for (int i = from; i < to; ++i) {
        const char16_t c = m_text.at(i).unicode();
        const double x = (columnOf(i, row) - firstColumn) * m_style->columnWidth();
        if (const quint32 glyph = glyphs.glyph(c); c != u' ' && glyph != 0) {
            letters.add(glyph, {x, 0});
        } else if (glyphs.isCode(c)) {
            codes.add(glyphs.codeGlyph(c, true), {x, offset.y()});
            codes.add(glyphs.codeGlyph(c, false), {x + offset.x(), 0});
        }
    }
    letters.draw(painter, baseline, glyphs.rawFont());
    codes.draw(painter, baseline, glyphs.codeFont());
}

void RowLayout::drawLayout(
    QPainter& painter, QPointF corner, int row, const std::vector<RowSpan>& spans) const
{
    const QTextLine line = m_layout->lineAt(row);
    if (!line.isValid() || spans.empty())
        return;
    const QPointF origin(corner.x(), corner.y() - row * m_style->rowHeight());
    const QRgb ink = spans.front().ink;
    painter.setPen(QColor::fromRgb(ink));
    const QList<QTextLayout::FormatRange> formats = formatsOf(spans);
    if (formats.isEmpty()) {
        line.draw(&painter, origin);
        return;
    }
    // The rows beside it are drawn along and cut off.
    const QRectF area(0, corner.y(), corner.x() + kUnlimitedWidth, m_style->rowHeight());
    painter.save();
    painter.setClipRect(area, Qt::IntersectClip);
    m_layout->draw(&painter, origin, formats, area);
    painter.restore();
}
