#include "terminal/pane/lampbutton.h"

#include <QStyleOptionToolButton>
#include <QStylePainter>

LampButton::LampButton(QWidget* parent)
    : QAbstractButton(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
}

LampButton::~LampButton() = default;

void LampButton::paintEvent(QPaintEvent* /*event*/)
{
    QStylePainter painter(this);
    QStyleOption option;
    option.initFrom(this);
    const bool hovered = isEnabled() && underMouse();
    option.state |= QStyle::State_AutoRaise;
    if (isDown())
        option.state |= QStyle::State_Sunken;
    else if (hovered)
        option.state |= QStyle::State_Raised;
    if (isDown() || hovered)
        painter.drawPrimitive(QStyle::PE_PanelButtonTool, option);
    if (hasFocus()) {
        QStyleOptionFocusRect focus;
        focus.initFrom(this);
        focus.rect = rect().adjusted(1, 1, -1, -1);
        painter.drawPrimitive(QStyle::PE_FrameFocusRect, focus);
    }
}

void LampButton::hideEvent(QHideEvent* event)
{
    // What is held by a button must not stay held because the button went away.
    if (isDown()) {
        setDown(false);
        Q_EMIT released();
    }
    QAbstractButton::hideEvent(event);
}
