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

} // namespace

ReceiveMouse::ReceiveMouse(ReceiveArea& area)
    : QObject(&area)
    , area_(area)
{
    scrollTimer_.setInterval(scrollIntervalMs);
    tripleClickTimer_.setSingleShot(true);
    connect(&scrollTimer_, &QTimer::timeout, this, &ReceiveMouse::scrollOn);
}

ReceiveMouse::~ReceiveMouse() = default;

void ReceiveMouse::press(const QMouseEvent& event)
{
    if (event.button() != Qt::LeftButton)
        return;
    pressed_ = last_ = event.position().toPoint();
    const qint64 caret = area_.caretAt(pressed_);
    const bool third = tripleClickTimer_.isActive();
    tripleClickTimer_.stop();
    gesture_ = Gesture::Selecting;
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
    gesture_ = Gesture::Selecting;
    pressed_ = last_ = event.position().toPoint();
    area_.beginSelection(area_.characterAt(pressed_), TextSelection::Unit::Word);
    tripleClickTimer_.start(QApplication::doubleClickInterval());
}

void ReceiveMouse::move(const QMouseEvent& event)
{
    const QPoint point = event.position().toPoint();
    const bool far = (point - pressed_).manhattanLength() >= QApplication::startDragDistance();
    if (gesture_ == Gesture::MayDragOut && far)
        dragOut();
    else if (gesture_ == Gesture::Selecting)
        extend(point);
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
    scrollTimer_.stop();
    if (gesture_ == Gesture::MayDragOut)
        area_.beginSelection(area_.caretAt(pressed_), TextSelection::Unit::Character);
    else if (gesture_ == Gesture::Selecting)
        publish();
    gesture_ = Gesture::None;
}

void ReceiveMouse::dragOut()
{
    gesture_ = Gesture::None;
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
