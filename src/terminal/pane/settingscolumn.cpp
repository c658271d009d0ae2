#include "terminal/pane/settingscolumn.h"

#include <QAbstractSpinBox>
#include <QComboBox>
#include <QEvent>
#include <QScrollBar>

namespace {

constexpr int kLowestHeight = 120;

} // namespace

SettingsColumn::SettingsColumn(QWidget* content, QWidget* parent)
    : QScrollArea(parent)
{
    setFrameShape(QFrame::NoFrame);
    // Tab goes from field to field and scrolls to them; the column itself would be a stop where
    // nothing is seen.
    setFocusPolicy(Qt::NoFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWidgetResizable(true);
    setWidget(content);
    content->installEventFilter(this);
    for (QWidget* field : content->findChildren<QWidget*>()) {
        if (turnsWithTheWheel(field)) {
            field->setFocusPolicy(Qt::StrongFocus);
            field->installEventFilter(this);
        }
    }
}

SettingsColumn::~SettingsColumn() = default;

bool SettingsColumn::turnsWithTheWheel(const QWidget* field)
{
    return qobject_cast<const QComboBox*>(field) || qobject_cast<const QAbstractSpinBox*>(field);
}

QSize SettingsColumn::minimumSizeHint() const
{
    const int scrollBar = verticalScrollBar()->sizeHint().width();
    return {widget()->minimumSizeHint().width() + scrollBar, kLowestHeight};
}

QSize SettingsColumn::sizeHint() const
{
    const int scrollBar = verticalScrollBar()->sizeHint().width();
    const QSize content = widget()->sizeHint();
    return {content.width() + scrollBar, content.height()};
}

bool SettingsColumn::eventFilter(QObject* watched, QEvent* event)
{
    // Rows appear and vanish with the connection type, and texts change with the font.
    if (watched == widget() && event->type() == QEvent::LayoutRequest)
        updateGeometry();
    // Who scrolls the column must not change the baud rate of an open port on the way.
    if (event->type() == QEvent::Wheel && watched != widget()
        && !static_cast<QWidget*>(watched)->hasFocus()) {
        event->ignore();
        return true;
    }
    return QScrollArea::eventFilter(watched, event);
}
