#include "terminal/view/receivearea.h"

#include "terminal/view/receiveinput.h"
#include "terminal/view/receivemouse.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QPainter>
#include <QScrollBar>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr int margin = 4;
constexpr int inputMarkWidth = 2;
constexpr int anglePerStep = 120; // QWheelEvent: eighths of a degree of one notch
constexpr int smallestColumns = 20;
constexpr int smallestRows = 4;

} // namespace

ReceiveArea::ReceiveArea(
    const TextStore& store, std::function<QString()> copySelection, QWidget* parent)
    : QAbstractScrollArea(parent)
    , store_(store)
    , copySelection_(std::move(copySelection))
    , flow_(store)
    , place_(store, flow_)
    , index_(store)
    , painter_(store)
    , selection_(store)
    , mouse_(new ReceiveMouse(*this))
    , input_(std::make_unique<ReceiveInput>())
{
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::StrongFocus);
    viewport()->setBackgroundRole(QPalette::Base);
    viewport()->setCursor(Qt::IBeamCursor);
    painter_.setPalette(palette());
    refreshTimer_.setSingleShot(true);
    refreshTimer_.setTimerType(Qt::PreciseTimer);
    connect(&refreshTimer_, &QTimer::timeout, this, &ReceiveArea::refresh);
    connectBars();
    updateStyle();
}

ReceiveArea::~ReceiveArea() = default;

void ReceiveArea::connectBars()
{
    verticalScrollBar()->setSingleStep(1);
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, &ReceiveArea::barMoved);
    connect(verticalScrollBar(), &QScrollBar::actionTriggered, this, &ReceiveArea::barAction);
    connect(horizontalScrollBar(), &QScrollBar::valueChanged, viewport(),
        qOverload<>(&QWidget::update));
}

void ReceiveArea::textAppended()
{
    changed();
}

void ReceiveArea::textRemoved()
{
    if (store_.firstPosition() == store_.endPosition())
        widest_ = 0;
    place_.settle();
    changed();
}

// What is shown is made anew at the next frame, or when somebody asks for it before.
void ReceiveArea::changed()
{
    stale_ = true;
    if (refreshTimer_.isActive())
        return;
    const qint64 since = sinceRefresh_.isValid() ? sinceRefresh_.elapsed() : frameMs;
    refreshTimer_.start(static_cast<int>(std::clamp<qint64>(frameMs - since, 0, frameMs)));
}

void ReceiveArea::refresh()
{
    sinceRefresh_.start();
    if (!isVisible())
        return;
    syncBars();
    viewport()->update();
    const auto range = visibleRange();
    if (range != toldRange_) {
        toldRange_ = range;
        Q_EMIT visibleRangeChanged();
    }
}

const std::vector<TextRow>& ReceiveArea::rows()
{
    if (!stale_)
        return rows_;
    stale_ = false;
    rows_.clear();
    const int height = flow_.style().rowHeight();
    const int count = std::max(1, (viewport()->height() - margin + height - 1) / height);
    TextRow row = place_.top();
    do
        rows_.push_back(row);
    while (static_cast<int>(rows_.size()) < count && flow_.goNext(row));
    return rows_;
}

void ReceiveArea::syncBars()
{
    syncing_ = true;
    syncVerticalBar();
    QScrollBar* bar = horizontalScrollBar();
    int hidden = 0;
    if (!wrap_) {
        for (const TextRow& row : rows())
            widest_ = std::max(widest_, row.layout->rowWidth(row.row));
        const double room = viewport()->width() - 2 * margin;
        hidden = static_cast<int>(std::ceil(std::max(0.0, widest_ + inputMarkWidth - room)));
    }
    bar->setRange(0, hidden);
    bar->setPageStep(viewport()->width());
    bar->setSingleStep(qRound(flow_.style().columnWidth()) * RowStyle::tabColumns);
    syncing_ = false;
}

void ReceiveArea::syncVerticalBar()
{
    constexpr qint64 most = std::numeric_limits<int>::max();
    QScrollBar* bar = verticalScrollBar();
    const qint64 value = index_.rowAt(rows().front().from());
    qint64 last = value;
    if (!place_.isAtBottom())
        last = std::max(index_.rowAt(store_.endPosition()) + 1 - place_.pageRows(), value + 1);
    bar->setPageStep(place_.pageRows());
    bar->setRange(0, static_cast<int>(std::min(last, most)));
    // A handle that is held stays under the pointer.
    if (!bar->isSliderDown() || place_.isAtBottom())
        bar->setValue(static_cast<int>(std::min(value, most)));
}

void ReceiveArea::barMoved(int value)
{
    if (syncing_)
        return;
    if (value >= verticalScrollBar()->maximum())
        place_.scrollToEnd();
    else
        place_.scrollTo(index_.positionAt(value));
    changed();
}

// Steps are rows that are seen, not rows that are counted.
void ReceiveArea::barAction(int action)
{
    switch (action) {
    case QAbstractSlider::SliderSingleStepAdd:
        scrollRows(1);
        break;
    case QAbstractSlider::SliderSingleStepSub:
        scrollRows(-1);
        break;
    case QAbstractSlider::SliderPageStepAdd:
        scrollPages(1);
        break;
    case QAbstractSlider::SliderPageStepSub:
        scrollPages(-1);
        break;
    default:
        return;
    }
    refresh();
    verticalScrollBar()->setSliderPosition(verticalScrollBar()->value());
}

void ReceiveArea::scrollToEnd()
{
    place_.scrollToEnd();
    changed();
}

void ReceiveArea::scrollToTop()
{
    place_.scrollTo(store_.firstPosition());
    changed();
}

void ReceiveArea::scrollRows(int rows)
{
    place_.scrollBy(rows);
    changed();
}

void ReceiveArea::scrollPages(int pages)
{
    scrollRows(pages * std::max(1, place_.pageRows() - 1));
}

void ReceiveArea::showRange(qint64 from, qint64 to)
{
    const int whole = place_.pageRows();
    const int first = rowInSight(from);
    const int last = rowInSight(to);
    if (first < 0 || first >= whole || last < 0 || last >= whole) {
        place_.scrollTo(flow_.moved(flow_.rowAt(from), -(whole / 2)).from());
        changed();
    }
    if (!wrap_)
        revealHorizontally(flow_.rowAt(from), from, to);
}

void ReceiveArea::revealHorizontally(const TextRow& row, qint64 from, qint64 to)
{
    const double left = row.layout->xOf(row.offsetOf(from), row.row);
    const double right = row.layout->xOf(row.offsetOf(std::min(to, row.to())), row.row);
    widest_ = std::max(widest_, row.layout->rowWidth(row.row));
    syncBars();
    QScrollBar* bar = horizontalScrollBar();
    const int width = viewport()->width() - 2 * margin;
    const int space = width / 4;
    if (left < bar->value() || right - left > width)
        bar->setValue(qRound(left) - space);
    else if (right > bar->value() + width)
        bar->setValue(qRound(right) - width + space);
}

std::pair<qint64, qint64> ReceiveArea::visibleRange()
{
    const std::vector<TextRow>& shown = rows();
    return {shown.front().segment.from, shown.back().segment.to};
}

template<typename Change>
void ReceiveArea::changeSelection(Change&& change)
{
    const std::pair before{selection_.from(), selection_.to()};
    change();
    viewport()->update();
    if (std::pair(selection_.from(), selection_.to()) != before)
        Q_EMIT selectionChanged();
}

void ReceiveArea::select(qint64 anchor, qint64 cursor)
{
    goalX_ = -1;
    changeSelection([&] { selection_.select(anchor, cursor); });
}

void ReceiveArea::clearSelection()
{
    changeSelection([&] { selection_.clear(); });
}

void ReceiveArea::beginSelection(qint64 position, TextSelection::Unit unit)
{
    goalX_ = -1;
    changeSelection([&] { selection_.begin(position, unit); });
}

void ReceiveArea::extendSelectionTo(qint64 position)
{
    changeSelection([&] { selection_.extendTo(position); });
}

void ReceiveArea::extendSelection(CaretStep step)
{
    qint64 cursor = selection_.cursor();
    qint64 anchor = cursor == selection_.from() ? selection_.to() : selection_.from();
    if (selection_.isEmpty() && rowInSight(cursor) < 0)
        anchor = cursor = isAtBottom() ? store_.endPosition() : place_.top().from();
    cursor = caretAfter(step, cursor, flow_, goalX_);
    changeSelection([&] { selection_.select(anchor, cursor); });
    revealCaret();
}

// Scrolls by as little as shows the moving end of the selection.
void ReceiveArea::revealCaret()
{
    const qint64 cursor = selection_.cursor();
    const int row = rowInSight(cursor);
    if (row < 0 || row >= place_.pageRows()) {
        const bool above = cursor < rows().front().from();
        const TextRow there = flow_.rowAt(cursor);
        place_.scrollTo((above ? there : flow_.moved(there, 1 - place_.pageRows())).from());
        changed();
    }
    if (!wrap_)
        revealHorizontally(flow_.rowAt(cursor), cursor, cursor);
}

// Number of the row in sight that holds a position, -1 when there is none.
int ReceiveArea::rowInSight(qint64 position)
{
    const std::vector<TextRow>& shown = rows();
    if (position < shown.front().from())
        return -1;
    const auto after = std::upper_bound(shown.begin(), shown.end(), position,
        [](qint64 wanted, const TextRow& row) { return wanted < row.from(); });
    const TextRow& row = *std::prev(after);
    const bool holds = position < row.to() || (row.endsLine() && position == row.segment.to);
    return holds ? static_cast<int>(after - shown.begin()) - 1 : -1;
}

const TextRow& ReceiveArea::rowUnder(int y)
{
    const std::vector<TextRow>& shown = rows();
    const int row = (y - margin) / flow_.style().rowHeight();
    return shown.at(
        static_cast<std::size_t>(std::clamp(row, 0, static_cast<int>(shown.size()) - 1)));
}

int ReceiveArea::topOf(int row) const
{
    return margin + row * flow_.style().rowHeight();
}

int ReceiveArea::leftEdge() const
{
    return margin - horizontalScrollBar()->value();
}

qint64 ReceiveArea::caretAt(QPoint point)
{
    const TextRow& row = rowUnder(point.y());
    return row.segment.from + row.layout->offsetAt(point.x() - leftEdge(), row.row);
}

qint64 ReceiveArea::characterAt(QPoint point)
{
    const TextRow& row = rowUnder(point.y());
    return row.segment.from + row.layout->characterAt(point.x() - leftEdge(), row.row);
}

QRect ReceiveArea::caretArea(qint64 position)
{
    const int number = rowInSight(position);
    if (number < 0)
        return {};
    const TextRow& row = rows().at(static_cast<std::size_t>(number));
    const double x = row.layout->xOf(row.offsetOf(position), row.row);
    return {leftEdge() + qRound(x), topOf(number), inputMarkWidth, flow_.style().rowHeight()};
}

QRect ReceiveArea::inputMarkArea()
{
    const QRect mark = caretArea(store_.endPosition());
    if (!mark.isNull())
        return mark;
    // The end is out of sight: what is composed shows in the last row.
    return {margin, topOf(place_.pageRows() - 1), inputMarkWidth, flow_.style().rowHeight()};
}

void ReceiveArea::setInputMark(bool visible)
{
    inputMark_ = visible;
    viewport()->update();
}

void ReceiveArea::compose(const QInputMethodEvent& event)
{
    input_->compose(event);
    viewport()->update();
    updateMicroFocus();
}

QRect ReceiveArea::compositionArea()
{
    return input_->caretArea(inputMarkArea(), viewport()->rect(), font());
}

void ReceiveArea::setMarks(const QList<ReceivePainter::Mark>& marks)
{
    painter_.setMarks(marks);
    viewport()->update();
}

void ReceiveArea::setDisplayFont(const QFont& font)
{
    setFont(font);
    widest_ = 0;
    updateStyle();
}

void ReceiveArea::setLineWrap(bool wrap)
{
    wrap_ = wrap;
    widest_ = 0;
    updateStyle();
}

void ReceiveArea::setWrapAtBlanks(bool on)
{
    wrapAtBlanks_ = on;
    updateStyle();
}

void ReceiveArea::updateStyle()
{
    const double room = std::max(1, viewport()->width() - 2 * margin);
    const auto style = std::make_shared<const RowStyle>(font(), wrap_ ? room : 0, wrapAtBlanks_);
    flow_.setStyle(style);
    index_.setRowLength(style->rowLength());
    place_.setPageRows((viewport()->height() - margin) / style->rowHeight());
    place_.settle();
    setMinimumSize(
        qRound(smallestColumns * style->columnWidth()), smallestRows * style->rowHeight());
    changed();
}

void ReceiveArea::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(viewport());
    const QRect area = viewport()->rect();
    painter.setClipRect(area.adjusted(0, margin, 0, 0));
    painter_.setSelection(selection_.from(), selection_.to());
    const std::vector<TextRow>& shown = rows();
    for (int i = 0; i < static_cast<int>(shown.size()); ++i)
        painter_.draw(painter, shown.at(static_cast<std::size_t>(i)), flow_.style(),
            QPointF(leftEdge(), topOf(i)), 0, area.width());
    if (!hasFocus())
        return;
    if (input_->isComposing())
        input_->draw(painter, inputMarkArea(), area, font(), palette());
    else if (inputMark_)
        painter.fillRect(caretArea(store_.endPosition()), palette().color(QPalette::Highlight));
}

void ReceiveArea::resizeEvent(QResizeEvent* event)
{
    QAbstractScrollArea::resizeEvent(event);
    updateStyle();
}

void ReceiveArea::showEvent(QShowEvent* event)
{
    QAbstractScrollArea::showEvent(event);
    changed();
}

void ReceiveArea::changeEvent(QEvent* event)
{
    QAbstractScrollArea::changeEvent(event);
    const bool colors = event->type() == QEvent::PaletteChange
                        || event->type() == QEvent::ActivationChange
                        || event->type() == QEvent::EnabledChange;
    if (!colors)
        return;
    painter_.setPalette(palette());
    viewport()->update();
}

void ReceiveArea::focusInEvent(QFocusEvent* event)
{
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update();
}

void ReceiveArea::focusOutEvent(QFocusEvent* event)
{
    QAbstractScrollArea::focusOutEvent(event);
    input_->cancel();
    viewport()->update();
}

void ReceiveArea::wheelEvent(QWheelEvent* event)
{
    event->accept();
    const QPoint angle = event->angleDelta();
    if (event->modifiers().testFlag(Qt::ControlModifier)) {
        wheelAngle_ += angle.y();
        const int steps = wheelAngle_ / anglePerStep;
        wheelAngle_ -= steps * anglePerStep;
        if (steps != 0)
            Q_EMIT zoomRequested(steps);
        return;
    }
    if (std::abs(angle.x()) > std::abs(angle.y())
        || event->modifiers().testAnyFlags(Qt::ShiftModifier | Qt::AltModifier)) {
        QApplication::sendEvent(horizontalScrollBar(), event);
        return;
    }
    if (!event->pixelDelta().isNull())
        wheelRows_ -= double(event->pixelDelta().y()) / flow_.style().rowHeight();
    else
        wheelRows_ -= double(angle.y()) / anglePerStep * QApplication::wheelScrollLines();
    const double whole = std::trunc(wheelRows_);
    wheelRows_ -= whole;
    if (whole != 0)
        scrollRows(static_cast<int>(whole));
}

void ReceiveArea::contextMenuEvent(QContextMenuEvent* event)
{
    Q_EMIT menuRequested(event->globalPos());
}

void ReceiveArea::mousePressEvent(QMouseEvent* event)
{
    mouse_->press(*event);
}

void ReceiveArea::mouseMoveEvent(QMouseEvent* event)
{
    mouse_->move(*event);
}

void ReceiveArea::mouseReleaseEvent(QMouseEvent* event)
{
    mouse_->release(*event);
    if (event->button() == Qt::MiddleButton)
        Q_EMIT middleClicked();
}

void ReceiveArea::mouseDoubleClickEvent(QMouseEvent* event)
{
    mouse_->doubleClick(*event);
}
