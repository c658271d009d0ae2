#include "app/windowgeometry.h"

#include "settings/storewriter.h"

#include <QDebug>
#include <QRect>
#include <QSettings>
#include <QWidget>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto kSizeKey = "LAST_WINDOW_SIZE"_L1;
constexpr auto kPositionKey = "LAST_WINDOW_POSITION"_L1;

} // namespace

WindowGeometry WindowGeometry::load(const QSettings& store)
{
    WindowGeometry geometry;
    const QSize size = store.value(kSizeKey, geometry.size).toSize();
    if (!size.isEmpty()) // a damaged store
        geometry.size = size;
    geometry.position = store.value(kPositionKey, geometry.position).toPoint();
    return geometry;
}

void WindowGeometry::save(QSettings& store) const
{
    QString reason; // is in the debug log; the window is gone when this is done
    StoreWriter::write(
        store,
        [&] {
            store.setValue(kSizeKey, size);
            store.setValue(kPositionKey, position);
        },
        reason);
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
