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

void PortArea::follow(QWidget* pane)
{
    m_followed = pane;
    showFollowed();
}

void PortArea::showFollowed()
{
    if (m_followed)
        ensureWidgetVisible(m_followed, 0, 0);
}

QSize PortArea::minimumSizeHint() const
{
    return widget()->minimumSizeHint().boundedTo(largestMinimum);
}

bool PortArea::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == widget() && event->type() == QEvent::LayoutRequest)
        updateGeometry();
    // After the content has laid out its new size.
    if (watched == widget() && event->type() == QEvent::Resize)
        QMetaObject::invokeMethod(this, &PortArea::showFollowed, Qt::QueuedConnection);
    return QScrollArea::eventFilter(watched, event);
}
