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

// Lays [from, to) over the spans; an end of the row that it does not reach stays as it is.
void overlay(std::vector<RowSpan>& spans, int from, int to, QRgb ink, QRgb paper)
{
    std::vector<RowSpan> result;
    result.reserve(spans.size() + 2);
    for (const RowSpan& span : spans) {
        const int start = std::clamp(from, span.from, span.to);
        const int end = std::clamp(to, start, span.to);
        if (span.from < start)
            result.push_back({span.from, start, span.ink, span.paper});
        if (start < end)
            result.push_back({start, end, ink, paper});
        if (end < span.to)
            result.push_back({end, span.to, span.ink, span.paper});
    }
    spans = std::move(result);
}

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

std::vector<RowSpan> ReceivePainter::spansOf(const TextRow& row)
{
    std::vector<RowSpan> spans;
    const qint64 from = row.from();
    const qint64 to = row.to();
    for (const ColorRun& run : store_.colorsIn(from, to))
        spans.push_back({row.offsetOf(run.from), row.offsetOf(run.to), inkFor(run.color), 0});
    const auto lay = [&](qint64 start, qint64 end, QRgb ink, QRgb paper) {
        start = std::clamp(start, from, to);
        end = std::clamp(end, from, to);
        if (start < end)
            overlay(spans, row.offsetOf(start), row.offsetOf(end), ink, paper);
    };
    const auto after = [](qint64 position, const Mark& mark) { return position < mark.to; };
    auto mark = std::upper_bound(marks_.cbegin(), marks_.cend(), from, after);
    for (; mark != marks_.cend() && mark->from < to; ++mark)
        lay(mark->from, mark->to, markInk, mark->current ? markStrong : markPale);
    lay(selectedFrom_, selectedTo_, selectedText_, selectedPaper_);
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
