#include "terminal/view/receivepainter.h"

#include "terminal/view/textcontrast.h"

#include <QPainter>
#include <algorithm>

namespace {

// Marker pens on paper: dark text on a light mark is read on light and dark backgrounds alike.
constexpr QRgb kMarkPale = 0xFFFFE27A;
constexpr QRgb kMarkStrong = 0xFFFF9A3C;
constexpr QRgb kMarkInk = 0xFF000000;
constexpr qsizetype kMostInks = 1024;

} // namespace

void ReceivePainter::setPalette(const QPalette& palette)
{
    m_base = palette.color(QPalette::Base);
    m_text = palette.color(QPalette::Text).rgb();
    m_selectedText = palette.color(QPalette::HighlightedText).rgb();
    m_selectedPaper = palette.color(QPalette::Highlight).rgb();
    m_inks.clear();
}

void ReceivePainter::setSelection(qint64 from, qint64 to)
{
    m_selectedFrom = from;
    m_selectedTo = to;
}

QRgb ReceivePainter::inkFor(QRgb color)
{
    if (color == TextChunk::kNoColor)
        return m_text;
    const auto known = m_inks.constFind(color);
    if (known != m_inks.cend())
        return *known;
    if (m_inks.size() >= kMostInks)
        m_inks.clear();
    const QRgb ink = isReadable(QColor::fromRgb(color), m_base) ? color : m_text;
    m_inks.insert(color, ink);
    return ink;
}

// One pass, however many marks the row has.
std::vector<RowSpan> ReceivePainter::spansOf(const TextRow& row)
{
    std::vector<RowSpan> spans;
    const auto after = [](qint64 position, const Mark& mark) { return position < mark.to; };
    auto mark = std::upper_bound(m_marks.cbegin(), m_marks.cend(), row.from(), after);
    for (const ColorRun& run : m_store.colorsIn(row.from(), row.to())) {
        const QRgb ink = inkFor(run.color);
        for (qint64 at = run.from; at < run.to;) {
            while (mark != m_marks.cend() && mark->to <= at)
                ++mark;
            const bool selected = m_selectedFrom <= at && at < m_selectedTo;
            const bool marked = mark != m_marks.cend() && mark->from <= at;
            qint64 end = selected ? std::min(run.to, m_selectedTo) : run.to;
            if (!selected && m_selectedFrom > at && m_selectedFrom < m_selectedTo)
                end = std::min(end, m_selectedFrom);
            if (!selected && mark != m_marks.cend())
                end = std::min(end, marked ? mark->to : mark->from);
            RowSpan span{row.offsetOf(at), row.offsetOf(end), ink, 0};
            if (selected) {
                span.ink = m_selectedText;
                span.paper = m_selectedPaper;
            } else if (marked) {
                span.ink = kMarkInk;
                span.paper = mark->current ? kMarkStrong : kMarkPale;
            }
            spans.push_back(span);
            at = end;
        }
    }
    return spans;
}

void ReceivePainter::draw(QPainter& painter, const TextRow& row, const RowStyle& style,
    QPointF corner, double left, double right)
{
    row.layout->draw(painter, corner, row.row, spansOf(row), left, right);
    const bool feedSelected =
        row.endsLine() && m_selectedFrom <= row.segment.to && row.segment.to < m_selectedTo;
    if (!feedSelected)
        return;
    const double x = corner.x() + row.layout->rowWidth(row.row);
    const QRectF area(x, corner.y(), style.columnWidth(), style.rowHeight());
    painter.fillRect(area, QColor::fromRgb(m_selectedPaper));
}
