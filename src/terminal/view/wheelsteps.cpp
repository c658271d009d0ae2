#include "terminal/view/wheelsteps.h"

#include <QApplication>
#include <QWheelEvent>
#include <cmath>

namespace {

constexpr int anglePerNotch = 120; // QWheelEvent: eighths of a degree

} // namespace

int WheelSteps::notches(const QWheelEvent& event)
{
    angle_ += event.angleDelta().y();
    const int whole = angle_ / anglePerNotch;
    angle_ -= whole * anglePerNotch;
    return whole;
}

int WheelSteps::rows(const QWheelEvent& event, int rowHeight)
{
    if (!event.pixelDelta().isNull())
        rows_ -= double(event.pixelDelta().y()) / rowHeight;
    else
        rows_ -= double(event.angleDelta().y()) / anglePerNotch * QApplication::wheelScrollLines();
    const double whole = std::trunc(rows_);
    rows_ -= whole;
    return static_cast<int>(whole);
}
