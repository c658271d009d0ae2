#include "terminal/view/receivemouse.h"

#include "terminal/view/receivearea.h"

#include <QApplication>
#include <QClipboard>
#include <QDrag>
#include <QMimeData>
#include <QMouseEvent>
#include <QScrollBar>
#include <algorithm>

namespace {

constexpr int kScrollIntervalMs = 50;
constexpr int kMostRowsAtOnce = 20;

bool isFar(QPoint point, QPoint other)
{
    return (point - other).manhattanLength() >= QApplication::startDragDistance();
}

} // namespace

ReceiveMouse::ReceiveMouse(ReceiveArea& area)
    : QObject(&area)
    , m_area(area)
{
    m_scrollTimer.setInterval(kScrollIntervalMs);
    m_tripleClickTimer.setSingleShot(true);
    connect(&m_scrollTimer, &QTimer::timeout, this, &ReceiveMouse::scrollOn);
    area.installEventFilter(this);
}

ReceiveMouse::~ReceiveMouse() = default;

void ReceiveMouse::press(const QMouseEvent& event)
{
    if (event.button() != Qt::LeftButton)
        return;
    const QPoint point = event.position().toPoint();
    const bool third = m_tripleClickTimer.isActive() && !isFar(point, m_pressed);
    m_tripleClickTimer.stop();
    m_pressed = m_last = point;
    begin(Gesture::Selecting);
    const qint64 caret = m_area.caretAt(m_pressed);
    if (third)
        m_area.beginSelection(caret, TextSelection::Unit::Line);
    else if (event.modifiers().testFlag(Qt::ShiftModifier))
        m_area.extendSelectionTo(caret);
    else if (m_area.selection().contains(m_area.characterAt(m_pressed)))
        m_gesture = Gesture::MayDragOut;
    else
        m_area.beginSelection(caret, TextSelection::Unit::Character);
}

void ReceiveMouse::doubleClick(const QMouseEvent& event)
{
    if (event.button() != Qt::LeftButton)
        return;
    begin(Gesture::Selecting);
    m_pressed = m_last = event.position().toPoint();
    m_area.beginSelection(m_area.characterAt(m_pressed), TextSelection::Unit::Word);
    m_tripleClickTimer.start(QApplication::doubleClickInterval());
}

void ReceiveMouse::move(const QMouseEvent& event)
{
    if (!event.buttons().testFlag(Qt::LeftButton))
        end();
    const QPoint point = event.position().toPoint();
    if (m_gesture == Gesture::MayDragOut && isFar(point, m_pressed))
        dragOut();
    else if (m_gesture == Gesture::Selecting)
        extend(point);
}

bool ReceiveMouse::eventFilter(QObject* /*watched*/, QEvent* event)
{
    if (event->type() == QEvent::Hide || event->type() == QEvent::WindowBlocked)
        end();
    return false;
}

void ReceiveMouse::begin(Gesture gesture)
{
    m_gesture = gesture;
    m_area.holdRows(true);
}

void ReceiveMouse::end()
{
    if (m_gesture == Gesture::None)
        return;
    m_gesture = Gesture::None;
    m_scrollTimer.stop();
    m_area.holdRows(false);
}

void ReceiveMouse::endWhenReleased()
{
    if (!QGuiApplication::mouseButtons().testFlag(Qt::LeftButton))
        end();
}

void ReceiveMouse::extend(QPoint point)
{
    m_last = point;
    m_area.extendSelectionTo(m_area.caretAt(point));
    const QRect inside = m_area.viewport()->rect();
    if (inside.contains(point))
        m_scrollTimer.stop();
    else if (!m_scrollTimer.isActive())
        m_scrollTimer.start();
}

void ReceiveMouse::scrollOn()
{
    endWhenReleased();
    if (m_gesture != Gesture::Selecting)
        return;
    const QRect inside = m_area.viewport()->rect();
    const int height = std::max(1, m_area.inputMarkArea().height());
    const auto rowsFor = [height](int distance) {
        return std::min(kMostRowsAtOnce, 1 + distance / height);
    };
    if (m_last.y() < inside.top())
        m_area.scrollRows(-rowsFor(inside.top() - m_last.y()));
    else if (m_last.y() > inside.bottom())
        m_area.scrollRows(rowsFor(m_last.y() - inside.bottom()));
    QScrollBar* bar = m_area.horizontalScrollBar();
    if (m_last.x() < inside.left())
        bar->setValue(bar->value() + m_last.x() - inside.left());
    else if (m_last.x() > inside.right())
        bar->setValue(bar->value() + m_last.x() - inside.right());
    extend(m_last);
}

void ReceiveMouse::release(const QMouseEvent& event)
{
    if (event.button() != Qt::LeftButton)
        return;
    if (m_gesture == Gesture::MayDragOut)
        m_area.beginSelection(m_area.caretAt(m_pressed), TextSelection::Unit::Character);
    else if (m_gesture == Gesture::Selecting)
        publish();
    end();
}

void ReceiveMouse::dragOut()
{
    end();
    auto content = std::make_unique<QMimeData>();
    content->setText(m_area.selectedText());
    auto* drag = new QDrag(&m_area); // deletes itself
    drag->setMimeData(content.release());
    drag->exec(Qt::CopyAction);
}

void ReceiveMouse::publish() const
{
    QClipboard* clipboard = QGuiApplication::clipboard();
    if (clipboard->supportsSelection() && !m_area.selection().isEmpty())
        clipboard->setText(m_area.selectedText(), QClipboard::Selection);
}
