#include "app/wrappedlabel.h"

#include <QResizeEvent>

WrappedLabel::WrappedLabel(const QString& text, QWidget* parent)
    : QLabel(text, parent)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse);
}

WrappedLabel::~WrappedLabel() = default;

QSize WrappedLabel::sizeHint() const
{
    return {leastWidth, heightForWidth(m_width)};
}

void WrappedLabel::resizeEvent(QResizeEvent* event)
{
    QLabel::resizeEvent(event);
    if (event->size().width() == m_width)
        return;
    m_width = event->size().width();
    updateGeometry();
}
