#include "app/windowgeometry.h"

#include <QDebug>
#include <QRect>
#include <QSettings>
#include <QWidget>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto sizeKey = "LAST_WINDOW_SIZE"_L1;
constexpr auto positionKey = "LAST_WINDOW_POSITION"_L1;

} // namespace

WindowGeometry WindowGeometry::load(const QSettings& store)
{
    WindowGeometry geometry;
    geometry.size = store.value(sizeKey, geometry.size).toSize();
    geometry.position = store.value(positionKey, geometry.position).toPoint();
    return geometry;
}

void WindowGeometry::save(QSettings& store) const
{
    store.setValue(sizeKey, size);
    store.setValue(positionKey, position);
    qDebug() << "### position:" << position;
}

bool WindowGeometry::isOnScreen(QSize available) const
{
    return position.x() > 0 && position.x() < available.width() && position.y() > 0
           && position.y() < available.height();
}

void WindowGeometry::applyTo(QWidget& window, QSize available) const
{
    window.resize(size);
    qDebug() << "### last window position:" << position;
    if (!isOnScreen(available))
        return;
    window.move(position);
    window.setGeometry(QRect(position, size));
    qDebug() << "### set geometry:" << position.x() << position.y() << size.width()
             << size.height();
}
