#include "terminal/pane/hled.h"

#include <QPainter>
#include <QPixmapCache>
#include <QRadialGradient>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qreal kCoreGap = 0.2;   // between rim and core, of the lamp's diameter
constexpr qreal kSignShare = 0.8; // of the lamp's diameter
constexpr qreal kHollowRim = 1.6; // pixels
constexpr int kFullRimAlpha = 150;
constexpr int kRimAlpha = 110;

} // namespace

HLed::HLed(QWidget* parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

HLed::~HLed() = default;

void HLed::setColor(const QColor& color)
{
    if (std::exchange(m_color, color) != color)
        update();
}

void HLed::setTrust(Trust trust)
{
    if (std::exchange(m_trust, trust) != trust)
        update();
}

void HLed::turnOn(bool on)
{
    if (std::exchange(m_on, on) != on)
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

QBrush HLed::brush(const QRectF& disc) const
{
    if (!isLit()) {
        QColor fill = m_color.darker(250);
        fill.setAlpha(60);
        return fill;
    }
    QRadialGradient glow(
        disc.center() - QPointF(disc.width() / 6, disc.height() / 6), disc.width() * 0.7);
    glow.setColorAt(0, m_color.lighter(150));
    glow.setColorAt(0.45, m_color);
    glow.setColorAt(1, m_color.darker(160));
    return glow;
}

void HLed::paintEvent(QPaintEvent* /*event*/)
{
    const int size = diameter();
    if (size == 0)
        return;
    // A lamp blinks with every line, in few pictures that are worth keeping.
    const QRgb text = palette().color(QPalette::WindowText).rgba();
    const QString key = u"lamp %1 %2 %3 %4 %5 %6"_s.arg(size)
                            .arg(devicePixelRatioF())
                            .arg(m_color.rgba())
                            .arg(text)
                            .arg(m_on)
                            .arg(int(m_trust));
    QPixmap picture;
    if (!QPixmapCache::find(key, &picture)) {
        picture = QPixmap(QSize(size, size) * devicePixelRatioF());
        picture.setDevicePixelRatio(devicePixelRatioF());
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        draw(painter, size);
        QPixmapCache::insert(key, picture);
    }
    QPainter(this).drawPixmap((width() - size) / 2, (height() - size) / 2, picture);
}

void HLed::draw(QPainter& painter, int size) const
{
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF disc(1, 1, size - 2.0, size - 2.0);
    const bool full = isLit() && m_trust == Trust::Sure;
    const bool filled = m_trust == Trust::Sure || !m_on;
    QColor rim = palette().color(QPalette::WindowText);
    rim.setAlpha(full ? kFullRimAlpha : kRimAlpha);
    QPen pen(rim, full ? 1.0 : kHollowRim);
    if (m_trust == Trust::Unknown)
        pen.setDashPattern({2, 1.5});
    painter.setPen(pen);
    painter.setBrush(filled && m_trust != Trust::Unknown ? brush(disc) : QBrush());
    painter.drawEllipse(disc);
    if (m_trust == Trust::Unknown) {
        QFont sign = font();
        sign.setPixelSize(std::max(qRound(disc.height() * kSignShare), 1));
        painter.setFont(sign);
        painter.setPen(rim);
        painter.drawText(disc, Qt::AlignCenter, u"?"_s);
    } else if (m_on && m_trust != Trust::Sure) {
        drawCore(painter, disc);
    }
}

void HLed::drawCore(QPainter& painter, const QRectF& disc) const
{
    const qreal gap = disc.width() * kCoreGap;
    const QRectF core = disc.adjusted(gap, gap, -gap, -gap);
    if (isLit()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(brush(core));
    }
    painter.drawEllipse(core);
}
