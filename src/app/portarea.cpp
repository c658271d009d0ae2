#include "app/portarea.h"

#include <QEvent>

namespace {

constexpr QSize largestMinimum(640, 400);

} // namespace

PortArea::PortArea(QWidget* content, QWidget* parent)
    : QScrollArea(parent)
{
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setWidgetResizable(true);
    setWidget(content);
    content->installEventFilter(this);
}

QSize PortArea::minimumSizeHint() const
{
    return widget()->minimumSizeHint().boundedTo(largestMinimum);
}

bool PortArea::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == widget() && event->type() == QEvent::LayoutRequest)
        updateGeometry();
    return QScrollArea::eventFilter(watched, event);
}
