#include "terminal/view/terminalview.h"

#include "terminal/view/displayfonts.h"
#include "terminal/view/receiveview.h"
#include "terminal/view/steadyscrollbar.h"
#include "terminal/view/terminalkeymap.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <QWheelEvent>
#include <algorithm>
#include <limits>
#include <utility>

namespace {

constexpr int margin = 4;
constexpr int smallestColumns = 20;
constexpr int smallestRows = 4;
constexpr Qt::KeyboardModifiers ctrlShift = Qt::ControlModifier | Qt::ShiftModifier;

Qt::KeyboardModifiers modifiersOf(const QKeyEvent& event)
{
    return event.modifiers() & ~(Qt::KeypadModifier | Qt::GroupSwitchModifier);
}

std::optional<TerminalScreen::Key> cursorKeyOf(int key)
{
    switch (key) {
    case Qt::Key_Up:
        return TerminalScreen::Key::Up;
    case Qt::Key_Down:
        return TerminalScreen::Key::Down;
    case Qt::Key_Left:
        return TerminalScreen::Key::Left;
    case Qt::Key_Right:
        return TerminalScreen::Key::Right;
    case Qt::Key_Home:
        return TerminalScreen::Key::Home;
    case Qt::Key_End:
        return TerminalScreen::Key::End;
    default:
        return {};
    }
}

} // namespace

TerminalView::TerminalView(QWidget* parent)
    : QAbstractScrollArea(parent)
    , m_bar(new SteadyScrollBar(Qt::Vertical))
{
    m_frame.id = this;
    setVerticalScrollBar(m_bar);
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_InputMethodEnabled);
    setAccessibleName(tr("Terminal"));
    setAccessibleDescription(
        tr("Keys typed here are sent to the device. Ctrl+Tab moves on to the next control."));
    viewport()->setBackgroundRole(QPalette::Base);
    viewport()->setCursor(Qt::IBeamCursor);
    m_refreshTimer.setSingleShot(true);
    m_refreshTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_refreshTimer, &QTimer::timeout, this, &TerminalView::refresh);
    connect(m_bar, &QScrollBar::valueChanged, this, [this](int value) {
        if (!m_settingBar)
            scrollTo(m_screen.firstLine() + value);
    });
    connect(horizontalScrollBar(), &QScrollBar::valueChanged, viewport(),
        qOverload<>(&QWidget::update));
    m_painter.setPalette(palette());
    setDisplayFont(resolveDisplayFont({}, 0));
}

TerminalView::~TerminalView() = default;

void TerminalView::feed(const QByteArray& utf8)
{
    m_screen.write(utf8);
    if (const QByteArray answers = m_screen.takeAnswers(); !answers.isEmpty())
        Q_EMIT answered(answers);
    scheduleFrame();
}

void TerminalView::clear()
{
    m_screen.reset();
    m_following = true;
    scheduleFrame();
}

// What follows a silence is painted at once, a flood at the rate of the screen.
void TerminalView::scheduleFrame()
{
    if (m_refreshTimer.isActive())
        return;
    m_frame.typedIn = hasFocus();
    const int waitMs = FrameBudget::msUntilFrame(m_frame);
    if (waitMs == 0)
        refresh();
    else
        m_refreshTimer.start(waitMs);
}

void TerminalView::refresh()
{
    m_frame.lastUs = FrameBudget::nowUs();
    const TerminalScreen::Damage damage = m_screen.takeDamage();
    const bool changed = damage.firstLine < damage.endLine || damage.scrolled;
    const auto [from, to] = selection();
    if (from < to && damage.firstLine <= to.line && from.line < damage.endLine && !m_selecting)
        select(m_cursor, m_cursor);
    const qint64 topBefore = m_top;
    m_top = m_following ? lastTop() : std::clamp(m_top, m_screen.firstLine(), lastTop());
    if (isVisible()) {
        syncBars();
        if (damage.scrolled || m_top != topBefore)
            viewport()->update();
        else
            viewport()->update(rowArea(damage.firstLine, damage.endLine));
        viewport()->update(m_drawnCursor);
        m_drawnCursor = cursorArea();
        viewport()->update(m_drawnCursor);
    }
    if (changed)
        Q_EMIT contentChanged();
    if (damage.scrolled || m_top != topBefore)
        Q_EMIT visibleRangeChanged();
}

void TerminalView::syncBars()
{
    constexpr qint64 most = std::numeric_limits<int>::max();
    const qint64 first = m_screen.firstLine();
    m_settingBar = true;
    m_bar->setPlace(static_cast<int>(std::min(m_top - first, most)),
        static_cast<int>(std::min(lastTop() - first, most)), pageRows(), m_following);
    m_settingBar = false;
    const int hidden = m_painter.xOf(m_screen.columns()) + 2 * margin - viewport()->width();
    horizontalScrollBar()->setRange(0, m_fixed ? std::max(hidden, 0) : 0);
    horizontalScrollBar()->setPageStep(viewport()->width());
}

// The rows of the screen, and above them what the view has room for; at the end of all lines.
qint64 TerminalView::lastTop() const
{
    return std::max(m_screen.endLine() - pageRows(), m_screen.firstLine());
}

void TerminalView::scrollTo(qint64 top)
{
    const qint64 last = lastTop();
    top = std::clamp(top, m_screen.firstLine(), last);
    m_following = top == last;
    if (std::exchange(m_top, top) == top)
        return;
    syncBars();
    viewport()->update();
    m_drawnCursor = cursorArea();
    Q_EMIT visibleRangeChanged();
}

void TerminalView::fitScreen()
{
    if (m_fixed)
        m_screen.resize(kFixedRows, kFixedColumns);
    else
        m_screen.resize(pageRows(), m_painter.columnAt(viewport()->width() - 2 * margin));
    m_following = m_following || m_top >= lastTop();
    viewport()->update();
    scheduleFrame();
}

void TerminalView::setFixedSize24x80(bool on)
{
    if (std::exchange(m_fixed, on) == on)
        return;
    setHorizontalScrollBarPolicy(on ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff);
    fitScreen();
}

void TerminalView::setDisplayFont(const QFont& font)
{
    setFont(font);
    m_painter.setFont(font);
    fitScreen();
}

int TerminalView::pageRows() const
{
    return std::max((viewport()->height() - margin) / m_painter.glyphs().rowHeight(), 1);
}

int TerminalView::leftEdge() const
{
    return margin - horizontalScrollBar()->value();
}

QRect TerminalView::rowArea(qint64 firstLine, qint64 endLine) const
{
    const qint64 first = std::max(firstLine, m_top) - m_top;
    const qint64 end = std::min<qint64>(endLine - m_top, pageRows());
    const int height = m_painter.glyphs().rowHeight();
    return first < end ? QRect(
               0, margin + int(first) * height, viewport()->width(), int(end - first) * height)
                       : QRect();
}

QRect TerminalView::cursorArea() const
{
    const TerminalScreen::Cursor cursor = m_screen.cursor();
    const QRect row = rowArea(cursor.line, cursor.line + 1);
    if (!cursor.visible || row.isEmpty())
        return {};
    const TerminalLine line = m_screen.line(cursor.line);
    const auto at = static_cast<std::size_t>(cursor.column);
    const int width = at < line.size() ? std::max<int>(line[at].width, 1) : 1;
    const int left = m_painter.xOf(cursor.column);
    return {
        leftEdge() + left, row.top(), m_painter.xOf(cursor.column + width) - left, row.height()};
}

TerminalView::Place TerminalView::placeAt(QPoint point) const
{
    const int height = m_painter.glyphs().rowHeight();
    const qint64 row = (point.y() - margin) / height - (point.y() < margin ? 1 : 0);
    const qint64 line =
        std::clamp(m_top + row, m_screen.firstLine(), std::max(m_screen.endLine() - 1, m_top));
    const int column = m_painter.columnAt(point.x() - leftEdge());
    return {line, std::clamp(column, 0, m_screen.columns())};
}

void TerminalView::paintEvent(QPaintEvent* event)
{
    const qint64 startedUs = FrameBudget::nowUs();
    QPainter painter(viewport());
    const auto [from, to] = selection();
    const int height = m_painter.glyphs().rowHeight();
    for (int row = 0; row <= pageRows(); ++row) {
        const qint64 number = m_top + row;
        const QPoint corner(leftEdge(), margin + row * height);
        const QRect reach(0, corner.y() - height / 2, viewport()->width(), 2 * height);
        if (number >= m_screen.endLine() || !event->region().intersects(reach))
            continue;
        TerminalPainter::Stretch selected;
        if (from.line <= number && number <= to.line) {
            selected.from = number == from.line ? from.column : 0;
            selected.to = number == to.line ? to.column : m_screen.columns();
        }
        m_painter.draw(painter, corner, m_screen.line(number), selected, m_marks.value(number));
    }
    if (const QRect area = cursorArea(); !area.isEmpty()) {
        const TerminalScreen::Cursor cursor = m_screen.cursor();
        const TerminalLine line = m_screen.line(cursor.line);
        const auto at = static_cast<std::size_t>(cursor.column);
        m_painter.drawCursor(
            painter, area, at < line.size() ? line[at] : TerminalCell(), hasFocus());
    }
    m_frame.tookUs = FrameBudget::nowUs() - startedUs;
}

void TerminalView::resizeEvent(QResizeEvent* event)
{
    QAbstractScrollArea::resizeEvent(event);
    fitScreen();
}

void TerminalView::showEvent(QShowEvent* event)
{
    QAbstractScrollArea::showEvent(event);
    fitScreen();
}

void TerminalView::changeEvent(QEvent* event)
{
    QAbstractScrollArea::changeEvent(event);
    if (event->type() != QEvent::PaletteChange && event->type() != QEvent::ActivationChange)
        return;
    m_painter.setPalette(palette());
    viewport()->update();
}

void TerminalView::focusInEvent(QFocusEvent* event)
{
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update(cursorArea());
}

void TerminalView::focusOutEvent(QFocusEvent* event)
{
    QAbstractScrollArea::focusOutEvent(event);
    viewport()->update(cursorArea());
}

QSize TerminalView::minimumSizeHint() const
{
    const QFontMetrics metrics(QApplication::font());
    return {smallestColumns * metrics.averageCharWidth(), smallestRows * metrics.lineSpacing()};
}

// Tab belongs to the device.
bool TerminalView::focusNextPrevChild(bool /*next*/)
{
    return false;
}

bool TerminalView::event(QEvent* event)
{
    if (event->type() == QEvent::ShortcutOverride
        && isOwnKey(static_cast<const QKeyEvent&>(*event))) {
        event->accept();
        return true;
    }
    return QAbstractScrollArea::event(event);
}

// Of Ctrl with a key, control characters and the commands of the view; of all others, all.
bool TerminalView::isOwnKey(const QKeyEvent& event) const
{
    const Qt::KeyboardModifiers modifiers = modifiersOf(event);
    if (!modifiers.testFlag(Qt::ControlModifier))
        return true;
    constexpr std::array commands{Qt::Key_C, Qt::Key_V, Qt::Key_A, Qt::Key_F, Qt::Key_L};
    if (modifiers == ctrlShift)
        return std::ranges::find(commands, event.key()) != commands.end();
    return TerminalKeyMap::map(event.key(), modifiers, event.text()).kind != TypedKey::Kind::None;
}

void TerminalView::keyPressEvent(QKeyEvent* event)
{
    event->accept();
    if (!commandKey(*event))
        typeKey(*event);
}

bool TerminalView::commandKey(const QKeyEvent& event)
{
    const Qt::KeyboardModifiers modifiers = modifiersOf(event);
    const int key = event.key();
    const bool tab = key == Qt::Key_Tab || key == Qt::Key_Backtab;
    if (modifiers.testFlag(Qt::ControlModifier) && tab) {
        (void)QAbstractScrollArea::focusNextPrevChild(
            key == Qt::Key_Tab && modifiers == Qt::ControlModifier);
    } else if (modifiers == ctrlShift && key == Qt::Key_C) {
        copy();
    } else if ((modifiers == ctrlShift && key == Qt::Key_V)
               || (modifiers == Qt::ShiftModifier && key == Qt::Key_Insert)) {
        pasteClipboard();
    } else if (modifiers == ctrlShift && key == Qt::Key_A) {
        selectAll();
    } else if (modifiers == ctrlShift && key == Qt::Key_F) {
        Q_EMIT findRequested();
    } else if (modifiers == ctrlShift && key == Qt::Key_L) {
        Q_EMIT clearRequested();
    } else if (modifiers == Qt::ShiftModifier && key == Qt::Key_PageUp) {
        scrollBy(1 - pageRows());
    } else if (modifiers == Qt::ShiftModifier && key == Qt::Key_PageDown) {
        scrollBy(pageRows() - 1);
    } else if (modifiers == ctrlShift && key == Qt::Key_Home) {
        scrollTo(m_screen.firstLine());
    } else if (modifiers == ctrlShift && key == Qt::Key_End) {
        scrollTo(lastTop());
    } else if (modifiers.testFlag(Qt::ControlModifier)
               && (key == Qt::Key_Plus || key == Qt::Key_Equal)) {
        zoomBy(1);
    } else if (modifiers == Qt::ControlModifier && key == Qt::Key_Minus) {
        zoomBy(-1);
    } else {
        return false;
    }
    return true;
}

void TerminalView::typeKey(const QKeyEvent& event)
{
    const Qt::KeyboardModifiers modifiers = modifiersOf(event);
    const auto cursorKey = cursorKeyOf(event.key());
    TypedKey typed;
    if (cursorKey && modifiers == Qt::NoModifier) {
        typed = {TypedKey::Kind::Control, {}, m_screen.keyBytes(*cursorKey)};
    } else if (event.key() == Qt::Key_Backspace && !modifiers.testFlag(Qt::AltModifier)) {
        // With Shift or Ctrl it is the other one of the two.
        const bool other = modifiers != Qt::NoModifier;
        typed = {
            TypedKey::Kind::Control, {}, QByteArray(1, m_backspaceDel != other ? '\x7F' : '\b')};
    } else {
        typed = TerminalKeyMap::map(event.key(), modifiers, event.text());
    }
    if (typed.kind == TypedKey::Kind::None)
        return;
    scrollTo(lastTop());
    if (typed.kind == TypedKey::Kind::Text)
        Q_EMIT textTyped(typed.text);
    else if (typed.kind == TypedKey::Kind::Enter)
        Q_EMIT enterTyped();
    else
        Q_EMIT controlTyped(typed.bytes);
}

void TerminalView::inputMethodEvent(QInputMethodEvent* event)
{
    if (!event->commitString().isEmpty())
        Q_EMIT textTyped(event->commitString());
    event->accept();
}

QVariant TerminalView::inputMethodQuery(Qt::InputMethodQuery query) const
{
    switch (query) {
    case Qt::ImEnabled:
        return true;
    case Qt::ImHints:
        return int(Qt::ImhNoPredictiveText | Qt::ImhNoAutoUppercase);
    case Qt::ImCursorRectangle:
        return cursorArea();
    case Qt::ImFont:
        return font();
    default:
        return {};
    }
}

void TerminalView::zoomBy(int points)
{
    const int now = font().pointSize() > 0 ? font().pointSize() : QFontInfo(font()).pointSize();
    const int size =
        std::clamp(now + points, ReceiveView::smallestPointSize, ReceiveView::largestPointSize);
    if (size == now)
        return;
    QFont larger = font();
    larger.setPointSize(size);
    setDisplayFont(larger);
    Q_EMIT displayFontZoomed(larger);
}

void TerminalView::wheelEvent(QWheelEvent* event)
{
    event->accept();
    if (event->modifiers().testFlag(Qt::ControlModifier)) {
        if (const int steps = m_wheel.notches(*event); steps != 0)
            zoomBy(steps);
        return;
    }
    const int rows = m_wheel.rows(*event, m_painter.glyphs().rowHeight());
    if (!m_screen.isAlternate()) {
        scrollBy(rows);
        return;
    }
    // A program with the whole screen scrolls by itself.
    const auto key = rows < 0 ? TerminalScreen::Key::Up : TerminalScreen::Key::Down;
    if (rows != 0)
        Q_EMIT controlTyped(m_screen.keyBytes(key).repeated(std::abs(rows)));
}
