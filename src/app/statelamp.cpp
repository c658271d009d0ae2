#include "app/statelamp.h"

#include <QPainter>

namespace {

constexpr int side = 16;
constexpr QColor openColor(0x2e, 0x9e, 0x4f);
constexpr QColor pausedColor(0xd0, 0x82, 0x10);

} // namespace

StateLamp::StateLamp(QWidget* parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void StateLamp::setState(PortState state)
{
    if (state == m_state)
        return;
    m_state = state;
    update();
}

QSize StateLamp::sizeHint() const
{
    return {side, side};
}

void StateLamp::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF disc(3, 3, side - 6, side - 6);
    const QColor text = palette().color(QPalette::WindowText);
    switch (m_state) {
    case PortState::Closed:
        painter.setPen(QPen(text, 1.5));
        painter.drawEllipse(disc);
        break;
    case PortState::Connecting:
        painter.setPen(QPen(text, 1.5, Qt::DotLine));
        painter.drawEllipse(disc);
        break;
    case PortState::Open:
        painter.setPen(Qt::NoPen);
        painter.setBrush(openColor);
        painter.drawEllipse(disc);
        break;
    case PortState::Paused:
        painter.fillRect(QRectF(4, 3, 3, 10), pausedColor);
        painter.fillRect(QRectF(9, 3, 3, 10), pausedColor);
        break;
    }
}
