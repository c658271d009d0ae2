#pragma once

#include <QPoint>
#include <QSize>

class QSettings;
class QWidget;

// Size and place of the main window from one run to the next.
struct WindowGeometry
{
    QSize size{1000, 800};
    QPoint position{200, 200};

    [[nodiscard]] static WindowGeometry load(const QSettings& store);
    void save(QSettings& store) const;

    // Whether the position lies strictly inside the available area of the primary screen. A window
    // that was last on a screen that is gone must not open where nobody sees it.
    [[nodiscard]] bool isOnScreen(QSize available) const;
    // Resizes the window and, when the position is on screen, moves it there.
    void applyTo(QWidget& window, QSize available) const;
};
