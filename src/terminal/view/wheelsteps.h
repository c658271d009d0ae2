#pragma once

class QWheelEvent;

// Whole steps out of the small turns that fine wheels and touch pads send; what is left of a turn
// waits for the next one.
class WheelSteps final
{
public:
    // Notches, up positive.
    [[nodiscard]] int notches(const QWheelEvent& event);
    // Rows to scroll, down positive, as far as the person's settings say for a notch.
    [[nodiscard]] int rows(const QWheelEvent& event, int rowHeight);

private:
    int m_angle = 0;
    double m_rows = 0;
};
