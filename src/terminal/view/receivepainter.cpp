#include "terminal/view/receivepainter.h"

#include "terminal/view/textcontrast.h"

#include <QPainter>
#include <algorithm>

namespace {

// Marker pens on paper: dark text on a light mark is read on light and dark backgrounds alike.
constexpr QRgb markPale = 0xFFFFE27A;
constexpr QRgb markStrong = 0xFFFF9A3C;
constexpr QRgb markInk = 0xFF000000;
constexpr qsizetype mostInks = 1024;

} // namespace

void ReceivePainter::setPalette(const QPalette& palette)
{
    base_ = palette.color(QPalette::Base);
    text_ = palette.color(QPalette::Text).rgb();
    selectedText_ = palette.color(QPalette::HighlightedText).rgb();
    selectedPaper_ = palette.color(QPalette::Highlight).rgb();
    inks_.clear();
}

void ReceivePainter::setSelection(qint64 from, qint64 to)
{
    selectedFrom_ = from;
    selectedTo_ = to;
}

QRgb ReceivePainter::inkFor(QRgb color)
{
    if (color == TextChunk::noColor)
        return text_;
    const auto known = inks_.constFind(color);
    if (known != inks_.cend())
        return *known;
    if (inks_.size() >= mostInks)
        inks_.clear();
    const QRgb ink = isReadable(QColor::fromRgb(color), base_) ? color : text_;
    inks_.insert(color, ink);
    return ink;
}

// One pass, however many marks the row has.
std::vector<RowSpan> ReceivePainter::spansOf(const TextRow& row)
{
    std::vector<RowSpan> spans;
    const auto after = [](qint64 position, const Mark& mark) { return position < mark.to; };
    auto mark = std::upper_bound(marks_.cbegin(), marks_.cend(), row.from(), after);
    for (const ColorRun& run : store_.colorsIn(row.from(), row.to())) {
        const QRgb ink = inkFor(run.color);
        for (qint64 at = run.from; at < run.to;) {
            while (mark != marks_.cend() && mark->to <= at)
                ++mark;
            const bool selected = selectedFrom_ <= at && at < selectedTo_;
            const bool marked = mark != marks_.cend() && mark->from <= at;
            qint64 end = selected ? std::min(run.to, selectedTo_) : run.to;
            if (!selected && selectedFrom_ > at && selectedFrom_ < selectedTo_)
                end = std::min(end, selectedFrom_);
            if (!selected && mark != marks_.cend())
                end = std::min(end, marked ? mark->to : mark->from);
            RowSpan span{row.offsetOf(at), row.offsetOf(end), ink, 0};
            if (selected) {
                span.ink = selectedText_;
                span.paper = selectedPaper_;
            } else if (marked) {
                span.ink = markInk;
                span.paper = mark->current ? markStrong : markPale;
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
        row.endsLine() && selectedFrom_ <= row.segment.to && row.segment.to < selectedTo_;
    if (!feedSelected)
        return;
    const double x = corner.x() + row.layout->rowWidth(row.row);
    const QRectF area(x, corner.y(), style.columnWidth(), style.rowHeight());
    painter.fillRect(area, QColor::fromRgb(selectedPaper_));
}
