#include "bridge/ui/sparkline.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

constexpr int kHeightLines = 2;
const QColor kMissing(200, 40, 40);

// Bursts must not press everything else to the line.
qreal shareOf(qint64 bytes, qint64 most)
{
    return most > 0 ? std::log1p(double(bytes)) / std::log1p(double(most)) : 0;
}

} // namespace

Sparkline::Sparkline(QWidget* parent)
    : QWidget(parent)
{
    setToolTip(tr("Last two minutes. Above the line: A to B. Below: B to A. Red bands mark seconds "
                  "where data was dropped."));
}

Sparkline::~Sparkline() = default;

void Sparkline::show(const Seconds& seconds)
{
    if (seconds == m_seconds)
        return;
    m_seconds = seconds;
    update();
}

QSize Sparkline::sizeHint() const
{
    return {TrafficHistory::kSeconds, kHeightLines * fontMetrics().height()};
}

void Sparkline::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    // Also in a selected row, whose colour is that of the bars.
    painter.fillRect(rect(), palette().color(QPalette::Base));
    const qreal middle = height() / 2.0;
    const qreal column = qreal(width()) / TrafficHistory::kSeconds;
    qint64 most = 0;
    for (const TrafficHistory::Second& second : m_seconds)
        most = std::max({most, second.aToB, second.bToA});
    painter.setPen(Qt::NoPen);
    for (int at = 0; at < TrafficHistory::kSeconds; ++at) {
        const TrafficHistory::Second& second = m_seconds[std::size_t(at)];
        const qreal left = at * column;
        if (second.missing > 0)
            painter.fillRect(QRectF(left, 0, column, height()), kMissing);
        const qreal up = middle * shareOf(second.aToB, most);
        const qreal down = middle * shareOf(second.bToA, most);
        painter.fillRect(
            QRectF(left, middle - up, column, up), palette().color(QPalette::Highlight));
        QColor pale = palette().color(QPalette::Highlight);
        pale.setAlphaF(0.6F);
        painter.fillRect(QRectF(left, middle, column, down), pale);
    }
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawLine(QPointF(0, middle), QPointF(width(), middle));
}
