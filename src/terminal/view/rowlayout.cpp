#include "terminal/view/rowlayout.h"

#include "terminal/view/scriptfonts.h"

#include <QGlyphRun>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace {

// Far beyond any row and within what text layout can count.
constexpr double unlimitedWidth = 4'000'000;

bool isPlain(const QString& text, const RowStyle& style)
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
    : style_(style)
    , text_(text)
{
    if (isPlain(text_, *style_))
        breakPlain();
    else
        breakLayout();
}

RowLayout::~RowLayout() = default;

void RowLayout::breakPlain()
{
    int start = 0;
    do {
        starts_.push_back(start);
        start = style_->wraps() ? plainBreak(start) : length();
    } while (start < length());
}

// Blanks that a row ends with may stand beyond its edge.
int RowLayout::plainBreak(int start) const
{
    const int edge = start + style_->columns();
    if (edge >= length())
        return length();
    if (!style_->wrapsAtBlanks())
        return edge;
    int end = edge;
    while (end < length() && text_.at(end) == u' ')
        ++end;
    if (end > edge)
        return end;
    while (end > start && text_.at(end - 1) != u' ')
        --end;
    return end > start ? end : edge;
}

void RowLayout::breakLayout()
{
    QString text = withoutSeparators(text_);
    const QList<QTextLayout::FormatRange> otherFonts = ScriptFonts::choose(text, style_->font());
    layout_ = std::make_unique<QTextLayout>(text, style_->font());
    layout_->setTextOption(style_->textOption());
    layout_->setFormats(otherFonts);
    layout_->setCacheEnabled(true);
    layout_->beginLayout();
    for (QTextLine line = layout_->createLine(); line.isValid(); line = layout_->createLine()) {
        line.setLineWidth(style_->wraps() ? style_->width() : unlimitedWidth);
        const double row = static_cast<double>(starts_.size()) * style_->rowHeight();
        line.setPosition({0, row + style_->ascent() - line.ascent()});
        starts_.push_back(line.textStart());
    }
    layout_->endLayout();
    if (starts_.empty())
        starts_.push_back(0);
}

int RowLayout::rowEnd(int row) const
{
    return row + 1 < rowCount() ? rowStart(row + 1) : length();
}

int RowLayout::rowOf(int offset) const
{
    const auto after = std::ranges::upper_bound(starts_, offset);
    return std::max(0, static_cast<int>(after - starts_.begin()) - 1);
}

double RowLayout::rowWidth(int row) const
{
    if (!layout_)
        return (rowEnd(row) - rowStart(row)) * style_->columnWidth();
    const QTextLine line = layout_->lineAt(row);
    return line.isValid() ? line.naturalTextWidth() : 0;
}

double RowLayout::xOf(int offset, int row) const
{
    offset = std::clamp(offset, rowStart(row), rowEnd(row));
    if (!layout_)
        return (offset - rowStart(row)) * style_->columnWidth();
    const QTextLine line = layout_->lineAt(row);
    return line.isValid() ? line.cursorToX(offset) : 0;
}

int RowLayout::offsetAt(double x, int row) const
{
    if (!layout_) {
        const double column = std::round(x / style_->columnWidth());
        const int columns = rowEnd(row) - rowStart(row);
        return rowStart(row) + static_cast<int>(std::clamp<double>(column, 0, columns));
    }
    const QTextLine line = layout_->lineAt(row);
    return line.isValid() ? line.xToCursor(x) : rowStart(row);
}

int RowLayout::characterAt(double x, int row) const
{
    if (!layout_) {
        const double column = std::floor(x / style_->columnWidth());
        const int columns = rowEnd(row) - rowStart(row);
        return rowStart(row) + static_cast<int>(std::clamp<double>(column, 0, columns));
    }
    const QTextLine line = layout_->lineAt(row);
    return line.isValid() ? line.xToCursor(x, QTextLine::CursorOnCharacter) : rowStart(row);
}

int RowLayout::nextCharacter(int offset) const
{
    if (!layout_)
        return std::min(offset + 1, length());
    return layout_->nextCursorPosition(offset);
}

int RowLayout::previousCharacter(int offset) const
{
    if (!layout_)
        return std::max(offset - 1, 0);
    return layout_->previousCursorPosition(offset);
}

void RowLayout::draw(QPainter& painter, QPointF corner, int row, const std::vector<RowSpan>& spans,
    double left, double right) const
{
    if (!layout_)
        drawPlain(painter, corner, row, spans, left, right);
    else
        drawLayout(painter, corner, row, spans);
}

void RowLayout::drawPlain(QPainter& painter, QPointF corner, int row,
    const std::vector<RowSpan>& spans, double left, double right) const
{
    const double column = style_->columnWidth();
    const int start = rowStart(row);
    const double visible = std::floor((left - corner.x()) / column);
    const int first = start + static_cast<int>(std::clamp<double>(visible, 0, length()));
    const double seen = std::ceil((right - corner.x()) / column);
    const int last = start + static_cast<int>(std::clamp<double>(seen, 0, length()));
    for (const RowSpan& span : spans) {
        const int from = std::max(span.from, first);
        const int to = std::min({span.to, last, length()});
        if (from >= to)
            continue;
        const double x = corner.x() + (from - start) * column;
        if (span.paper != 0) {
            const QRectF area(x, corner.y(), (to - from) * column, style_->rowHeight());
            painter.fillRect(area, QColor::fromRgb(span.paper));
        }
        painter.setPen(QColor::fromRgb(span.ink));
        drawGlyphs(painter, {x, corner.y() + style_->ascent()}, from, to);
    }
}

void RowLayout::drawGlyphs(QPainter& painter, QPointF baseline, int from, int to) const
{
    Glyphs letters;
    Glyphs codes;
    const QPointF offset = style_->codeOffset();
    for (int i = from; i < to; ++i) {
        const char16_t c = text_.at(i).unicode();
        const double x = (i - from) * style_->columnWidth();
        if (const quint32 glyph = style_->plainGlyph(c); c != u' ' && glyph != 0) {
            letters.add(glyph, {x, 0});
        } else if (style_->isCode(c)) {
            codes.add(style_->codeGlyph(c, true), {x, offset.y()});
            codes.add(style_->codeGlyph(c, false), {x + offset.x(), 0});
        }
    }
    letters.draw(painter, baseline, style_->rawFont());
    codes.draw(painter, baseline, style_->codeFont());
}

void RowLayout::drawLayout(
    QPainter& painter, QPointF corner, int row, const std::vector<RowSpan>& spans) const
{
    const QTextLine line = layout_->lineAt(row);
    if (!line.isValid() || spans.empty())
        return;
    const QPointF origin(corner.x(), corner.y() - row * style_->rowHeight());
    const QRgb ink = spans.front().ink;
    painter.setPen(QColor::fromRgb(ink));
    const QList<QTextLayout::FormatRange> formats = formatsOf(spans);
    if (formats.isEmpty()) {
        line.draw(&painter, origin);
        return;
    }
    // The rows beside it are drawn along and cut off.
    const QRectF area(0, corner.y(), corner.x() + unlimitedWidth, style_->rowHeight());
    painter.save();
    painter.setClipRect(area, Qt::IntersectClip);
    layout_->draw(&painter, origin, formats, area);
    painter.restore();
}
