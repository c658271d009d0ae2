#include "terminal/pane/elidedlabel.h"

#include <QPainter>

ElidedLabel::ElidedLabel(QWidget* parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
}

void ElidedLabel::setElideMode(Qt::TextElideMode mode)
{
    m_mode = mode;
    update();
}

void ElidedLabel::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    const QRect area = contentsRect();
    painter.drawText(area, Qt::AlignLeading | Qt::AlignVCenter | Qt::TextSingleLine,
        fontMetrics().elidedText(text(), m_mode, area.width()));
}
