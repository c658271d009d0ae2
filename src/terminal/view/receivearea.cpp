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

constexpr int kMargin = VisibleRows::kMargin;
constexpr int kInputMarkWidth = 2;
constexpr int kSmallestColumns = 20;
constexpr int kSmallestRows = 4;

} // namespace

ReceiveArea::ReceiveArea(
    const TextStore& store, std::function<QString()> copySelection, QWidget* parent)
    : QAbstractScrollArea(parent)
    , m_store(store)
    , m_copySelection(std::move(copySelection))
    , m_flow(store)
    , m_place(store, m_flow)
    , m_bars(*this, store, m_place, m_flow)
    , m_painter(store)
    , m_selection(store)
    , m_mouse(new ReceiveMouse(*this))
    , m_input(std::make_unique<ReceiveInput>())
{
    m_frame.id = this;
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::StrongFocus);
    viewport()->setBackgroundRole(QPalette::Base);
    viewport()->setCursor(Qt::IBeamCursor);
    m_painter.setPalette(palette());
    m_refreshTimer.setSingleShot(true);
    m_refreshTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_refreshTimer, &QTimer::timeout, this, &ReceiveArea::refresh);
    connectBars();
    updateStyle();
}

ReceiveArea::~ReceiveArea() = default;

void ReceiveArea::connectBars()
{
    connect(&m_bars, &ReceiveBars::moved, this, &ReceiveArea::changed);
    // What is in sight of the rows changes with it.
    connect(horizontalScrollBar(), &QScrollBar::valueChanged, this, &ReceiveArea::scheduleFrame);
    connect(&m_bars, &ReceiveBars::rowsWanted, this, [this](int rows) {
        scrollRows(rows);
        refresh();
    });
    connect(&m_bars, &ReceiveBars::pagesWanted, this, [this](int pages) {
        scrollPages(pages);
        refresh();
    });
}

void ReceiveArea::textAboutToBeRemoved(qint64 end)
{
    m_leaving = ReceiveAccessible::toldText(*this, std::min(end, m_told));
}

void ReceiveArea::textRemoved()
{
    ReceiveAccessible::tellRemoved(*this, std::exchange(m_leaving, {}));
    if (m_store.firstPosition() == m_store.endPosition())
        m_bars.forgetWidth();
    m_place.settle();
    selectionTouched();
    changed();
}

// What is shown is made anew at the next frame, or when somebody asks for it before.
void ReceiveArea::changed()
{
    m_stale = true;
    scheduleFrame();
}

void ReceiveArea::scheduleFrame()
{
    if (m_refreshTimer.isActive())
        return;
    m_frame.typedIn = hasFocus();
    m_refreshTimer.start(FrameBudget::msUntilFrame(m_frame));
}

// One picture shows what arrived together with the lamp and the counters that tell of it.
void ReceiveArea::textComplete()
{
    if (!m_refreshTimer.isActive() || m_refreshTimer.interval() > 0)
        return;
    m_refreshTimer.stop();
    refresh();
}

void ReceiveArea::forgetPicture()
{
    m_whole = true;
    scheduleFrame();
}

void ReceiveArea::refresh()
{
    m_frame.lastUs = FrameBudget::nowUs();
    m_mouse->endWhenReleased();
    ReceiveAccessible::tellAppended(*this, std::exchange(m_told, m_store.endPosition()));
    if (!isVisible())
        return;
    m_bars.sync(sight(), m_wrap);
    updatePicture();
    if (auto spans = visibleSpans(); spans != m_toldSpans) {
        m_toldSpans = std::move(spans);
        Q_EMIT visibleRangeChanged();
    }
    m_layoutUs = FrameBudget::nowUs() - m_frame.lastUs;
}

void ReceiveArea::updatePicture()
{
    const QRect mark = drawnMarkArea();
    const VisibleRows::Change change = sight().changeSince(m_shown, viewport()->height());
    const int up = change.up * sight().rowHeight();
    if (m_whole || m_input->isComposing() || !canMovePicture(up)) {
        viewport()->update();
    } else {
        if (up != 0)
            viewport()->scroll(0, -up, viewport()->rect().adjusted(0, kMargin, 0, 0));
        QRegion area = areaOf(change);
        if (const QRect before = m_shownMark.translated(0, -up); before != mark)
            area += QRegion(before) + mark;
        viewport()->update(area);
    }
    m_shown = sight();
    m_shownMark = mark;
    m_whole = false;
    m_moved = false;
}

// Where a row does not start with a pixel of the screen, moved rows would not fit those drawn.
bool ReceiveArea::canMovePicture(int pixels) const
{
    const double ratio = viewport()->devicePixelRatioF();
    return std::abs(pixels) < viewport()->height() && ratio == std::floor(ratio);
}

QRegion ReceiveArea::areaOf(const VisibleRows::Change& change) const
{
    const int height = m_sight.rowHeight();
    const int reach = m_sight.allPlain() && m_shown.allPlain() ? 0 : height;
    QRegion area;
    for (const auto& [first, count] : change.stale) {
        const QRect rows(0, m_sight.topOf(first), viewport()->width(), count * height);
        area += rows.adjusted(0, -reach, 0, reach);
    }
    return area;
}

const VisibleRows& ReceiveArea::sight()
{
    if (m_stale) {
        m_sight.collect(m_place.top(), m_flow, viewport()->height());
        m_moved = true;
    }
    m_stale = false;
    return m_sight;
}

void ReceiveArea::scrollToEnd()
{
    m_place.scrollToEnd();
    changed();
}

void ReceiveArea::holdRows(bool on)
{
    // Rows that have come since the last frame are not what the person saw.
    if (on)
        m_place.hold(m_sight.rows().empty() ? m_place.top().from() : m_sight.rows().front().from());
    else
        m_place.release();
    changed();
}

void ReceiveArea::scrollToTop()
{
    m_place.scrollTo(m_store.firstPosition());
    changed();
}

void ReceiveArea::scrollRows(int rows)
{
    m_place.scrollBy(rows);
    changed();
}

void ReceiveArea::scrollPages(int pages)
{
    scrollRows(pages * std::max(1, m_place.pageRows() - 1));
}

void ReceiveArea::showRange(qint64 from, qint64 to)
{
    if (!isWholeInSight(from) || !isWholeInSight(to)) {
        m_place.scrollTo(m_flow.moved(m_flow.rowAt(from), -(m_place.pageRows() / 2)).from());
        changed();
    }
    // Text that somebody asked for must not be carried off by what arrives next.
    m_place.stay();
    if (!m_wrap)
        m_bars.reveal(m_flow.rowAt(from), from, to);
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
    return index >= 0 && index < m_place.pageRows();
}

// After every change, and after a removal that may have taken some of it.
void ReceiveArea::selectionTouched()
{
    const std::pair now{m_selection.from(), m_selection.to()};
    const auto before = std::exchange(m_toldSelection, now);
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
    m_goalX = -1;
    m_selection.select(anchor, cursor);
    selectionTouched();
}

void ReceiveArea::clearSelection()
{
    m_selection.clear();
    selectionTouched();
}

void ReceiveArea::beginSelection(qint64 position, TextSelection::Unit unit)
{
    m_goalX = -1;
    m_selection.begin(position, unit);
    selectionTouched();
}

void ReceiveArea::extendSelectionTo(qint64 position)
{
    m_selection.extendTo(position);
    selectionTouched();
}

void ReceiveArea::extendSelection(CaretStep step)
{
    qint64 cursor = m_selection.cursor();
    qint64 anchor = cursor == m_selection.from() ? m_selection.to() : m_selection.from();
    if (m_selection.isEmpty() && sight().indexOf(cursor) < 0)
        anchor = cursor = isAtBottom() ? m_store.endPosition() : m_place.top().from();
    cursor = caretAfter(step, cursor, m_flow, m_goalX);
    m_selection.select(anchor, cursor);
    selectionTouched();
    revealCaret();
}

// Scrolls by as little as shows the moving end of the selection.
void ReceiveArea::revealCaret()
{
    const qint64 cursor = m_selection.cursor();
    if (!isWholeInSight(cursor)) {
        const bool above = cursor < sight().rows().front().from();
        const TextRow there = m_flow.rowAt(cursor);
        m_place.scrollTo((above ? there : m_flow.moved(there, 1 - m_place.pageRows())).from());
        changed();
    }
    if (!m_wrap)
        m_bars.reveal(m_flow.rowAt(cursor), cursor, cursor);
}

int ReceiveArea::leftEdge() const
{
    return kMargin - horizontalScrollBar()->value();
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
    const QRect mark = caretArea(m_store.endPosition());
    if (!mark.isNull())
        return mark;
    // The end is out of sight: what is composed shows in the last row.
    return {kMargin, sight().topOf(m_place.pageRows() - 1), kInputMarkWidth,
        m_flow.style().rowHeight()};
}

void ReceiveArea::setInputMark(bool visible)
{
    m_inputMark = visible;
    viewport()->update();
}

void ReceiveArea::compose(const QInputMethodEvent& event)
{
    m_input->compose(event);
    viewport()->update();
    updateMicroFocus();
}

QRect ReceiveArea::compositionArea()
{
    return m_input->caretArea(inputMarkArea(), viewport()->rect(), font());
}

void ReceiveArea::setMarks(const QList<ReceivePainter::Mark>& marks)
{
    if (marks == m_painter.marks())
        return;
    m_painter.setMarks(marks);
    forgetPicture();
}

void ReceiveArea::setDisplayFont(const QFont& font)
{
    setFont(font);
    m_bars.forgetWidth();
    updateStyle();
}

void ReceiveArea::setLineWrap(bool wrap)
{
    m_wrap = wrap;
    m_bars.forgetWidth();
    updateStyle();
}

void ReceiveArea::setWrapAtBlanks(bool on)
{
    m_wrapAtBlanks = on;
    updateStyle();
}

void ReceiveArea::updateStyle()
{
    const double room = std::max(1, viewport()->width() - 2 * kMargin);
    const auto style = std::make_shared<const RowStyle>(font(), m_wrap ? room : 0, m_wrapAtBlanks);
    m_flow.setStyle(style);
    m_bars.setRowLength(style->rowLength());
    m_place.setPageRows((viewport()->height() - kMargin) / style->rowHeight());
    m_whole = true;
    changed();
}

// By the letters of the program, not those shown: zooming in one pane must not push others out of
// the window.
QSize ReceiveArea::minimumSizeHint() const
{
    const QFontMetrics metrics(QApplication::font());
    return {kSmallestColumns * metrics.averageCharWidth(), kSmallestRows * metrics.lineSpacing()};
}

QRect ReceiveArea::drawnMarkArea()
{
    return hasFocus() && m_inputMark ? caretArea(m_store.endPosition()) : QRect();
}

void ReceiveArea::paintEvent(QPaintEvent* event)
{
    const qint64 startedUs = FrameBudget::nowUs();
    QPainter painter(viewport());
    const QRect area = viewport()->rect();
    painter.setClipRect(area.adjusted(0, kMargin, 0, 0));
    m_painter.setSelection(m_selection.from(), m_selection.to());
    int top = kMargin;
    const int height = sight().rowHeight();
    const int reach = m_sight.allPlain() ? 0 : height;
    for (const TextRow& row : m_sight.rows()) {
        const QRect reached(0, top - reach, area.width(), height + 2 * reach);
        if (event->region().intersects(reached))
            m_painter.draw(painter, row, m_flow.style(), QPointF(leftEdge(), top), 0, area.width());
        top += height;
    }
    if (hasFocus() && m_input->isComposing())
        m_input->draw(painter, inputMarkArea(), area, font(), palette());
    else
        painter.fillRect(drawnMarkArea(), palette().color(QPalette::Highlight));
    // Newer than the frame that asked for it, so that what stands around it does not fit.
    if (m_moved)
        forgetPicture();
    m_frame.tookUs = m_layoutUs + FrameBudget::nowUs() - startedUs;
}

void ReceiveArea::resizeEvent(QResizeEvent* event)
{
    QAbstractScrollArea::resizeEvent(event);
    updateStyle();
}

void ReceiveArea::showEvent(QShowEvent* event)
{
    QAbstractScrollArea::showEvent(event);
    m_whole = true;
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
    m_painter.setPalette(palette());
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
    m_input->cancel();
    viewport()->update();
}

void ReceiveArea::wheelEvent(QWheelEvent* event)
{
    event->accept();
    const QPoint angle = event->angleDelta();
    if (event->modifiers().testFlag(Qt::ControlModifier)) {
        if (const int steps = m_wheel.notches(*event); steps != 0)
            Q_EMIT zoomRequested(steps);
    } else if (std::abs(angle.x()) > std::abs(angle.y())
               || event->modifiers().testAnyFlags(Qt::ShiftModifier | Qt::AltModifier)) {
        QApplication::sendEvent(horizontalScrollBar(), event);
    } else if (const int rows = m_wheel.rows(*event, m_flow.style().rowHeight()); rows != 0) {
        scrollRows(rows);
    }
}

void ReceiveArea::contextMenuEvent(QContextMenuEvent* event)
{
    Q_EMIT menuRequested(event->globalPos());
}

void ReceiveArea::mousePressEvent(QMouseEvent* event)
{
    m_mouse->press(*event);
}

void ReceiveArea::mouseMoveEvent(QMouseEvent* event)
{
    m_mouse->move(*event);
}

void ReceiveArea::mouseReleaseEvent(QMouseEvent* event)
{
    m_mouse->release(*event);
    if (event->button() == Qt::MiddleButton)
        Q_EMIT middleClicked();
}

void ReceiveArea::mouseDoubleClickEvent(QMouseEvent* event)
{
    m_mouse->doubleClick(*event);
}
