#include "terminal/view/receivebars.h"

#include "terminal/view/steadyscrollbar.h"

#include <QAbstractScrollArea>
#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr int kInputMarkWidth = 2; // stands behind the last character

} // namespace

ReceiveBars::ReceiveBars(
    QAbstractScrollArea& area, const TextStore& store, ReadingPlace& place, TextFlow& flow)
    : m_area(area)
    , m_store(store)
    , m_place(place)
    , m_flow(flow)
    , m_index(store)
    , m_vertical(new SteadyScrollBar(Qt::Vertical))
{
    area.setVerticalScrollBar(m_vertical);
    vertical().setSingleStep(1);
    connect(&vertical(), &QScrollBar::valueChanged, this, &ReceiveBars::barMoved);
    connect(&vertical(), &QScrollBar::actionTriggered, this, &ReceiveBars::barAction);
    connect(
        &horizontal(), &QScrollBar::valueChanged, area.viewport(), qOverload<>(&QWidget::update));
}

ReceiveBars::~ReceiveBars() = default;

SteadyScrollBar& ReceiveBars::vertical() const
{
    return *m_vertical;
}

QScrollBar& ReceiveBars::horizontal() const
{
    return *m_area.horizontalScrollBar();
}

int ReceiveBars::room() const
{
    return m_area.viewport()->width() - 2 * VisibleRows::kMargin;
}

void ReceiveBars::sync(const VisibleRows& sight, bool wrapped)
{
    m_syncing = true;
    syncVertical(sight);
    if (wrapped) {
        horizontal().setRange(0, 0);
    } else {
        for (const TextRow& row : sight.rows())
            m_widest = std::max(m_widest, row.layout->rowWidth(row.row));
        syncHorizontal();
    }
    m_syncing = false;
}

void ReceiveBars::syncVertical(const VisibleRows& sight)
{
    constexpr qint64 kMost = std::numeric_limits<int>::max();
    SteadyScrollBar& bar = vertical();
    const bool atBottom = m_place.isAtBottom();
    const qint64 value = m_index.rowAt(sight.rows().front().from());
    qint64 last = value;
    if (!atBottom)
        last = std::max(m_index.rowAt(m_store.endPosition()) + 1 - m_place.pageRows(), value + 1);
    // A handle that is held stays under the pointer.
    bar.setPlace(static_cast<int>(std::min(value, kMost)), static_cast<int>(std::min(last, kMost)),
        m_place.pageRows(), atBottom);
}

void ReceiveBars::syncHorizontal()
{
    QScrollBar& bar = horizontal();
    const double hidden = std::ceil(std::max(0.0, m_widest + kInputMarkWidth - room()));
    bar.setRange(0, static_cast<int>(hidden));
    bar.setPageStep(m_area.viewport()->width());
    bar.setSingleStep(qRound(m_flow.style().columnWidth()) * RowStyle::kTabColumns);
}

void ReceiveBars::barMoved(int value)
{
    if (m_syncing)
        return;
    if (value >= vertical().maximum())
        m_place.scrollToEnd();
    else
        m_place.scrollTo(m_index.positionAt(value));
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
    m_widest = std::max(m_widest, row.layout->rowWidth(row.row));
    syncHorizontal();
    QScrollBar& bar = horizontal();
    const int width = room();
    const int space = width / 4;
    if (left < bar.value() || right - left > width)
        bar.setValue(qRound(left) - space);
    else if (right > bar.value() + width)
        bar.setValue(qRound(right) - width + space);
}
