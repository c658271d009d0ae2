#include "terminal/view/receivearea.h"

#include "terminal/view/receiveaccessible.h"
#include "terminal/view/receiveinput.h"
#include "terminal/view/receivemouse.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QPainter>
#include <QScrollBar>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>
#include <utility>

namespace {

constexpr int margin = VisibleRows::margin;
constexpr int inputMarkWidth = 2;
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
    , bars_(*this, store, place_, flow_)
    , painter_(store)
    , selection_(store)
    , mouse_(new ReceiveMouse(*this))
    , input_(std::make_unique<ReceiveInput>())
{
    frame_.id = this;
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
    connect(&bars_, &ReceiveBars::moved, this, &ReceiveArea::changed);
    // What is in sight of the rows changes with it.
    connect(horizontalScrollBar(), &QScrollBar::valueChanged, this, &ReceiveArea::scheduleFrame);
    connect(&bars_, &ReceiveBars::rowsWanted, this, [this](int rows) {
        scrollRows(rows);
        refresh();
    });
    connect(&bars_, &ReceiveBars::pagesWanted, this, [this](int pages) {
        scrollPages(pages);
        refresh();
    });
}

void ReceiveArea::textAboutToBeRemoved(qint64 end)
{
    leaving_ = ReceiveAccessible::toldText(*this, std::min(end, told_));
}

void ReceiveArea::textRemoved()
{
    ReceiveAccessible::tellRemoved(*this, std::exchange(leaving_, {}));
    if (store_.firstPosition() == store_.endPosition())
        bars_.forgetWidth();
    place_.settle();
    selectionTouched();
    changed();
}

// What is shown is made anew at the next frame, or when somebody asks for it before.
void ReceiveArea::changed()
{
    stale_ = true;
    scheduleFrame();
}

void ReceiveArea::scheduleFrame()
{
    if (refreshTimer_.isActive())
        return;
    frame_.typedIn = hasFocus();
    refreshTimer_.start(FrameBudget::msUntilFrame(frame_));
}

// One picture shows what arrived together with the lamp and the counters that tell of it.
void ReceiveArea::textComplete()
{
    if (!refreshTimer_.isActive() || refreshTimer_.interval() > 0)
        return;
    refreshTimer_.stop();
    refresh();
}

void ReceiveArea::forgetPicture()
{
    whole_ = true;
    scheduleFrame();
}

void ReceiveArea::refresh()
{
    frame_.lastUs = FrameBudget::nowUs();
    mouse_->endWhenReleased();
    ReceiveAccessible::tellAppended(*this, std::exchange(told_, store_.endPosition()));
    if (!isVisible())
        return;
    bars_.sync(sight(), wrap_);
    updatePicture();
    if (auto spans = visibleSpans(); spans != toldSpans_) {
        toldSpans_ = std::move(spans);
        Q_EMIT visibleRangeChanged();
    }
    layoutUs_ = FrameBudget::nowUs() - frame_.lastUs;
}

void ReceiveArea::updatePicture()
{
    const QRect mark = drawnMarkArea();
    const VisibleRows::Change change = sight().changeSince(shown_, viewport()->height());
    const int up = change.up * sight().rowHeight();
    if (whole_ || input_->isComposing() || !canMovePicture(up)) {
        viewport()->update();
    } else {
        if (up != 0)
            viewport()->scroll(0, -up, viewport()->rect().adjusted(0, margin, 0, 0));
        QRegion area = areaOf(change);
        if (const QRect before = shownMark_.translated(0, -up); before != mark)
            area += QRegion(before) + mark;
        viewport()->update(area);
    }
    shown_ = sight();
    shownMark_ = mark;
    whole_ = false;
    moved_ = false;
}

// Where a row does not start with a pixel of the screen, moved rows would not fit those drawn.
bool ReceiveArea::canMovePicture(int pixels) const
{
    const double ratio = viewport()->devicePixelRatioF();
    return std::abs(pixels) < viewport()->height() && ratio == std::floor(ratio);
}

QRegion ReceiveArea::areaOf(const VisibleRows::Change& change) const
{
    const int height = sight_.rowHeight();
    const int reach = sight_.allPlain() && shown_.allPlain() ? 0 : height;
    QRegion area;
    for (const auto& [first, count] : change.stale) {
        const QRect rows(0, sight_.topOf(first), viewport()->width(), count * height);
        area += rows.adjusted(0, -reach, 0, reach);
    }
    return area;
}

const VisibleRows& ReceiveArea::sight()
{
    if (stale_) {
        sight_.collect(place_.top(), flow_, viewport()->height());
        moved_ = true;
    }
    stale_ = false;
    return sight_;
}

void ReceiveArea::scrollToEnd()
{
    place_.scrollToEnd();
    changed();
}

void ReceiveArea::holdRows(bool on)
{
    // Rows that have come since the last frame are not what the person saw.
    if (on)
        place_.hold(sight_.rows().empty() ? place_.top().from() : sight_.rows().front().from());
    else
        place_.release();
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
    if (!isWholeInSight(from) || !isWholeInSight(to)) {
        place_.scrollTo(flow_.moved(flow_.rowAt(from), -(place_.pageRows() / 2)).from());
        changed();
    }
    // Text that somebody asked for must not be carried off by what arrives next.
    place_.stay();
    if (!wrap_)
        bars_.reveal(flow_.rowAt(from), from, to);
}

std::pair<qint64, qint64> ReceiveArea::visibleRange()
{
    return sight().range();
}

std::vector<std::pair<qint64, qint64>> ReceiveArea::visibleSpans()
{
    return sight().spansBetween(-leftEdge(), viewport()->width() - leftEdge());
}

bool ReceiveArea::isWholeInSight(qint64 position)
{
    const int index = sight().indexOf(position);
    return index >= 0 && index < place_.pageRows();
}

// After every change, and after a removal that may have taken some of it.
void ReceiveArea::selectionTouched()
{
    const std::pair now{selection_.from(), selection_.to()};
    const auto before = std::exchange(toldSelection_, now);
    if (now == before)
        return;
    ReceiveAccessible::tellCursor(*this);
    if (now.first == now.second && before.first == before.second)
        return;
    ReceiveAccessible::tellSelection(*this);
    viewport()->update();
    Q_EMIT selectionChanged();
}

void ReceiveArea::select(qint64 anchor, qint64 cursor)
{
    goalX_ = -1;
    selection_.select(anchor, cursor);
    selectionTouched();
}

void ReceiveArea::clearSelection()
{
    selection_.clear();
    selectionTouched();
}

void ReceiveArea::beginSelection(qint64 position, TextSelection::Unit unit)
{
    goalX_ = -1;
    selection_.begin(position, unit);
    selectionTouched();
}

void ReceiveArea::extendSelectionTo(qint64 position)
{
    selection_.extendTo(position);
    selectionTouched();
}

void ReceiveArea::extendSelection(CaretStep step)
{
    qint64 cursor = selection_.cursor();
    qint64 anchor = cursor == selection_.from() ? selection_.to() : selection_.from();
    if (selection_.isEmpty() && sight().indexOf(cursor) < 0)
        anchor = cursor = isAtBottom() ? store_.endPosition() : place_.top().from();
    cursor = caretAfter(step, cursor, flow_, goalX_);
    selection_.select(anchor, cursor);
    selectionTouched();
    revealCaret();
}

// Scrolls by as little as shows the moving end of the selection.
void ReceiveArea::revealCaret()
{
    const qint64 cursor = selection_.cursor();
    if (!isWholeInSight(cursor)) {
        const bool above = cursor < sight().rows().front().from();
        const TextRow there = flow_.rowAt(cursor);
        place_.scrollTo((above ? there : flow_.moved(there, 1 - place_.pageRows())).from());
        changed();
    }
    if (!wrap_)
        bars_.reveal(flow_.rowAt(cursor), cursor, cursor);
}

int ReceiveArea::leftEdge() const
{
    return margin - horizontalScrollBar()->value();
}

qint64 ReceiveArea::caretAt(QPoint point)
{
    return sight().caretAt({point.x() - leftEdge(), point.y()});
}

qint64 ReceiveArea::characterAt(QPoint point)
{
    return sight().characterAt({point.x() - leftEdge(), point.y()});
}

QRect ReceiveArea::caretArea(qint64 position)
{
    const QRect area = sight().caretArea(position);
    return area.isNull() ? area : area.translated(leftEdge(), 0);
}

QRect ReceiveArea::inputMarkArea()
{
    const QRect mark = caretArea(store_.endPosition());
    if (!mark.isNull())
        return mark;
    // The end is out of sight: what is composed shows in the last row.
    return {
        margin, sight().topOf(place_.pageRows() - 1), inputMarkWidth, flow_.style().rowHeight()};
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
    if (marks == painter_.marks())
        return;
    painter_.setMarks(marks);
    forgetPicture();
}

void ReceiveArea::setDisplayFont(const QFont& font)
{
    setFont(font);
    bars_.forgetWidth();
    updateStyle();
}

void ReceiveArea::setLineWrap(bool wrap)
{
    wrap_ = wrap;
    bars_.forgetWidth();
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
    bars_.setRowLength(style->rowLength());
    place_.setPageRows((viewport()->height() - margin) / style->rowHeight());
    whole_ = true;
    changed();
}

// By the letters of the program, not those shown: zooming in one pane must not push others out of
// the window.
QSize ReceiveArea::minimumSizeHint() const
{
    const QFontMetrics metrics(QApplication::font());
    return {smallestColumns * metrics.averageCharWidth(), smallestRows * metrics.lineSpacing()};
}

QRect ReceiveArea::drawnMarkArea()
{
    return hasFocus() && inputMark_ ? caretArea(store_.endPosition()) : QRect();
}

void ReceiveArea::paintEvent(QPaintEvent* event)
{
    const qint64 startedUs = FrameBudget::nowUs();
    QPainter painter(viewport());
    const QRect area = viewport()->rect();
    painter.setClipRect(area.adjusted(0, margin, 0, 0));
    painter_.setSelection(selection_.from(), selection_.to());
    int top = margin;
    const int height = sight().rowHeight();
    const int reach = sight_.allPlain() ? 0 : height;
    for (const TextRow& row : sight_.rows()) {
        const QRect reached(0, top - reach, area.width(), height + 2 * reach);
        if (event->region().intersects(reached))
            painter_.draw(painter, row, flow_.style(), QPointF(leftEdge(), top), 0, area.width());
        top += height;
    }
    if (hasFocus() && input_->isComposing())
        input_->draw(painter, inputMarkArea(), area, font(), palette());
    else
        painter.fillRect(drawnMarkArea(), palette().color(QPalette::Highlight));
    // Newer than the frame that asked for it, so that what stands around it does not fit.
    if (moved_)
        forgetPicture();
    frame_.tookUs = layoutUs_ + FrameBudget::nowUs() - startedUs;
}

void ReceiveArea::resizeEvent(QResizeEvent* event)
{
    QAbstractScrollArea::resizeEvent(event);
    updateStyle();
}

void ReceiveArea::showEvent(QShowEvent* event)
{
    QAbstractScrollArea::showEvent(event);
    whole_ = true;
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
        if (const int steps = wheel_.notches(*event); steps != 0)
            Q_EMIT zoomRequested(steps);
    } else if (std::abs(angle.x()) > std::abs(angle.y())
               || event->modifiers().testAnyFlags(Qt::ShiftModifier | Qt::AltModifier)) {
        QApplication::sendEvent(horizontalScrollBar(), event);
    } else if (const int rows = wheel_.rows(*event, flow_.style().rowHeight()); rows != 0) {
        scrollRows(rows);
    }
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
