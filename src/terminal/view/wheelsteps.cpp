#include "terminal/view/wheelsteps.h"

#include <QApplication>
#include <QWheelEvent>
#include <cmath>

namespace {

constexpr int kAnglePerNotch = 120; // QWheelEvent: eighths of a degree

} // namespace

int WheelSteps::notches(const QWheelEvent& event)
{
    m_angle += event.angleDelta().y();
    const int whole = m_angle / kAnglePerNotch;
    m_angle -= whole * kAnglePerNotch;
    return whole;
}

int WheelSteps::rows(const QWheelEvent& event, int rowHeight)
{
    if (!event.pixelDelta().isNull())
        m_rows -= double(event.pixelDelta().y()) / rowHeight;
    else
        m_rows -=
            double(event.angleDelta().y()) / kAnglePerNotch * QApplication::wheelScrollLines();
    const double whole = std::trunc(m_rows);
    m_rows -= whole;
    return static_cast<int>(whole);
}
