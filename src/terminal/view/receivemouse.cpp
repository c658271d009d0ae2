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

constexpr int scrollIntervalMs = 50;
constexpr int mostRowsAtOnce = 20;

bool isFar(QPoint point, QPoint other)
{
    return (point - other).manhattanLength() >= QApplication::startDragDistance();
}

} // namespace

ReceiveMouse::ReceiveMouse(ReceiveArea& area)
    : QObject(&area)
    , area_(area)
{
    scrollTimer_.setInterval(scrollIntervalMs);
    tripleClickTimer_.setSingleShot(true);
    connect(&scrollTimer_, &QTimer::timeout, this, &ReceiveMouse::scrollOn);
    area.installEventFilter(this);
}

ReceiveMouse::~ReceiveMouse() = default;

void ReceiveMouse::press(const QMouseEvent& event)
{
    if (event.button() != Qt::LeftButton)
        return;
    const QPoint point = event.position().toPoint();
    const bool third = tripleClickTimer_.isActive() && !isFar(point, pressed_);
    tripleClickTimer_.stop();
    pressed_ = last_ = point;
    begin(Gesture::Selecting);
    const qint64 caret = area_.caretAt(pressed_);
    if (third)
        area_.beginSelection(caret, TextSelection::Unit::Line);
    else if (event.modifiers().testFlag(Qt::ShiftModifier))
        area_.extendSelectionTo(caret);
    else if (area_.selection().contains(area_.characterAt(pressed_)))
        gesture_ = Gesture::MayDragOut;
    else
        area_.beginSelection(caret, TextSelection::Unit::Character);
}

void ReceiveMouse::doubleClick(const QMouseEvent& event)
{
    if (event.button() != Qt::LeftButton)
        return;
    begin(Gesture::Selecting);
    pressed_ = last_ = event.position().toPoint();
    area_.beginSelection(area_.characterAt(pressed_), TextSelection::Unit::Word);
    tripleClickTimer_.start(QApplication::doubleClickInterval());
}

void ReceiveMouse::move(const QMouseEvent& event)
{
    if (!event.buttons().testFlag(Qt::LeftButton))
        end();
    const QPoint point = event.position().toPoint();
    if (gesture_ == Gesture::MayDragOut && isFar(point, pressed_))
        dragOut();
    else if (gesture_ == Gesture::Selecting)
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
    gesture_ = gesture;
    area_.holdRows(true);
}

void ReceiveMouse::end()
{
    if (gesture_ == Gesture::None)
        return;
    gesture_ = Gesture::None;
    scrollTimer_.stop();
    area_.holdRows(false);
}

void ReceiveMouse::endWhenReleased()
{
    if (!QGuiApplication::mouseButtons().testFlag(Qt::LeftButton))
        end();
}

void ReceiveMouse::extend(QPoint point)
{
    last_ = point;
    area_.extendSelectionTo(area_.caretAt(point));
    const QRect inside = area_.viewport()->rect();
    if (inside.contains(point))
        scrollTimer_.stop();
    else if (!scrollTimer_.isActive())
        scrollTimer_.start();
}

void ReceiveMouse::scrollOn()
{
    endWhenReleased();
    if (gesture_ != Gesture::Selecting)
        return;
    const QRect inside = area_.viewport()->rect();
    const int height = std::max(1, area_.inputMarkArea().height());
    const auto rowsFor = [height](int distance) {
        return std::min(mostRowsAtOnce, 1 + distance / height);
    };
    if (last_.y() < inside.top())
        area_.scrollRows(-rowsFor(inside.top() - last_.y()));
    else if (last_.y() > inside.bottom())
        area_.scrollRows(rowsFor(last_.y() - inside.bottom()));
    QScrollBar* bar = area_.horizontalScrollBar();
    if (last_.x() < inside.left())
        bar->setValue(bar->value() + last_.x() - inside.left());
    else if (last_.x() > inside.right())
        bar->setValue(bar->value() + last_.x() - inside.right());
    extend(last_);
}

void ReceiveMouse::release(const QMouseEvent& event)
{
    if (event.button() != Qt::LeftButton)
        return;
    if (gesture_ == Gesture::MayDragOut)
        area_.beginSelection(area_.caretAt(pressed_), TextSelection::Unit::Character);
    else if (gesture_ == Gesture::Selecting)
        publish();
    end();
}

void ReceiveMouse::dragOut()
{
    end();
    auto content = std::make_unique<QMimeData>();
    content->setText(area_.selectedText());
    auto* drag = new QDrag(&area_); // deletes itself
    drag->setMimeData(content.release());
    drag->exec(Qt::CopyAction);
}

void ReceiveMouse::publish() const
{
    QClipboard* clipboard = QGuiApplication::clipboard();
    if (clipboard->supportsSelection() && !area_.selection().isEmpty())
        clipboard->setText(area_.selectedText(), QClipboard::Selection);
}
