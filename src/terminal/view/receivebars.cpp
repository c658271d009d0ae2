#include "terminal/view/receivebars.h"

#include "terminal/view/steadyscrollbar.h"

#include <QAbstractScrollArea>
#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr int inputMarkWidth = 2; // stands behind the last character

} // namespace

ReceiveBars::ReceiveBars(
    QAbstractScrollArea& area, const TextStore& store, ReadingPlace& place, TextFlow& flow)
    : area_(area)
    , store_(store)
    , place_(place)
    , flow_(flow)
    , index_(store)
    , vertical_(new SteadyScrollBar(Qt::Vertical))
{
    area.setVerticalScrollBar(vertical_);
    vertical().setSingleStep(1);
    connect(&vertical(), &QScrollBar::valueChanged, this, &ReceiveBars::barMoved);
    connect(&vertical(), &QScrollBar::actionTriggered, this, &ReceiveBars::barAction);
    connect(
        &horizontal(), &QScrollBar::valueChanged, area.viewport(), qOverload<>(&QWidget::update));
}

ReceiveBars::~ReceiveBars() = default;

SteadyScrollBar& ReceiveBars::vertical() const
{
    return *vertical_;
}

QScrollBar& ReceiveBars::horizontal() const
{
    return *area_.horizontalScrollBar();
}

int ReceiveBars::room() const
{
    return area_.viewport()->width() - 2 * VisibleRows::margin;
}

void ReceiveBars::sync(const VisibleRows& sight, bool wrapped)
{
    syncing_ = true;
    syncVertical(sight);
    if (wrapped) {
        horizontal().setRange(0, 0);
    } else {
        for (const TextRow& row : sight.rows())
            widest_ = std::max(widest_, row.layout->rowWidth(row.row));
        syncHorizontal();
    }
    syncing_ = false;
}

void ReceiveBars::syncVertical(const VisibleRows& sight)
{
    constexpr qint64 most = std::numeric_limits<int>::max();
    SteadyScrollBar& bar = vertical();
    const bool atBottom = place_.isAtBottom();
    const qint64 value = index_.rowAt(sight.rows().front().from());
    qint64 last = value;
    if (!atBottom)
        last = std::max(index_.rowAt(store_.endPosition()) + 1 - place_.pageRows(), value + 1);
    // A handle that is held stays under the pointer.
    bar.setPlace(static_cast<int>(std::min(value, most)), static_cast<int>(std::min(last, most)),
        place_.pageRows(), atBottom);
}

void ReceiveBars::syncHorizontal()
{
    QScrollBar& bar = horizontal();
    const double hidden = std::ceil(std::max(0.0, widest_ + inputMarkWidth - room()));
    bar.setRange(0, static_cast<int>(hidden));
    bar.setPageStep(area_.viewport()->width());
    bar.setSingleStep(qRound(flow_.style().columnWidth()) * RowStyle::tabColumns);
}

void ReceiveBars::barMoved(int value)
{
    if (syncing_)
        return;
    if (value >= vertical().maximum())
        place_.scrollToEnd();
    else
        place_.scrollTo(index_.positionAt(value));
    Q_EMIT moved();
}

// Steps are rows that are seen, not rows that are counted.
void ReceiveBars::barAction(int action)
{
    switch (action) {
    case QAbstractSlider::SliderSingleStepAdd:
        Q_EMIT rowsWanted(1);
        break;
    case QAbstractSlider::SliderSingleStepSub:
        Q_EMIT rowsWanted(-1);
        break;
    case QAbstractSlider::SliderPageStepAdd:
        Q_EMIT pagesWanted(1);
        break;
    case QAbstractSlider::SliderPageStepSub:
        Q_EMIT pagesWanted(-1);
        break;
    default:
        return;
    }
    vertical().setSliderPosition(vertical().value());
}

void ReceiveBars::reveal(const TextRow& row, qint64 from, qint64 to)
{
    const double left = row.layout->xOf(row.offsetOf(from), row.row);
    const double right = row.layout->xOf(row.offsetOf(std::min(to, row.to())), row.row);
    widest_ = std::max(widest_, row.layout->rowWidth(row.row));
    syncHorizontal();
    QScrollBar& bar = horizontal();
    const int width = room();
    const int space = width / 4;
    if (left < bar.value() || right - left > width)
        bar.setValue(qRound(left) - space);
    else if (right > bar.value() + width)
        bar.setValue(qRound(right) - width + space);
}
