#include "terminal/settingscolumn.h"

#include <QEvent>
#include <QScrollBar>

namespace {

constexpr int lowestHeight = 120;

} // namespace

SettingsColumn::SettingsColumn(QWidget* content, QWidget* parent)
    : QScrollArea(parent)
{
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWidgetResizable(true);
    setWidget(content);
    content->installEventFilter(this);
}

SettingsColumn::~SettingsColumn() = default;

QSize SettingsColumn::minimumSizeHint() const
{
    const int scrollBar = verticalScrollBar()->sizeHint().width();
    return {widget()->minimumSizeHint().width() + scrollBar, lowestHeight};
}

QSize SettingsColumn::sizeHint() const
{
    return {minimumSizeHint().width(), widget()->sizeHint().height()};
}

bool SettingsColumn::eventFilter(QObject* watched, QEvent* event)
{
    // Rows appear and vanish with the connection type, and texts change with the font.
    if (watched == widget() && event->type() == QEvent::LayoutRequest)
        updateGeometry();
    return QScrollArea::eventFilter(watched, event);
}
