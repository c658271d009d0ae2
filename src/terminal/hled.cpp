#include "terminal/hled.h"

#include <QPainter>
#include <QRadialGradient>

#include <algorithm>

HLed::HLed(QWidget* parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

HLed::~HLed() = default;

void HLed::setColor(const QColor& color)
{
    m_color = color;
    update();
}

void HLed::turnOn(bool on)
{
    m_on = on;
    update();
}

void HLed::turnOff(bool off)
{
    turnOn(!off);
}

void HLed::toggle()
{
    turnOn(!m_on);
}

QSize HLed::sizeHint() const
{
    return {20, 20};
}

QSize HLed::minimumSizeHint() const
{
    return {16, 16};
}

int HLed::diameter() const
{
    return std::max(std::min(width(), height()) - 2, 0);
}

void HLed::paintEvent(QPaintEvent* /*event*/)
{
    const int size = diameter();
    if (size == 0)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF disc(
        (width() - size) / 2.0 + 1, (height() - size) / 2.0 + 1, size - 2.0, size - 2.0);

    QColor rim = palette().color(QPalette::WindowText);
    rim.setAlpha(m_on ? 150 : 110);
    painter.setPen(QPen(rim, m_on ? 1.0 : 1.6));
    if (m_on) {
        QRadialGradient glow(
            disc.center() - QPointF(disc.width() / 6, disc.height() / 6), disc.width() * 0.7);
        glow.setColorAt(0, m_color.lighter(150));
        glow.setColorAt(0.45, m_color);
        glow.setColorAt(1, m_color.darker(160));
        painter.setBrush(glow);
    } else {
        QColor fill = m_color.darker(250);
        fill.setAlpha(60);
        painter.setBrush(fill);
    }
    painter.drawEllipse(disc);
}
