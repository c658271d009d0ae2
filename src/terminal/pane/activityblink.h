#pragma once

// When an activity lamp is lit: 80 ms for traffic, then, if there was more meanwhile, 70 ms dark
// and lit again, so that a continuous stream blinks instead of glowing.
//
// A state machine without a clock. The owner keeps one single-shot timer and, after flash() and
// timerEnded(), shows isLit() and starts the timer with the milliseconds returned, unless they are
// 0. timerEnded() is called when that timer ends.
class ActivityBlink final
{
public:
    static constexpr int kOnMs = 80;
    static constexpr int kOffMs = 70;

    // Traffic. Returns how long to run the timer; 0 when it is running already and goes on.
    [[nodiscard]] int flash();
    // The timer ended. Returns how long to run it again; 0 when it rests.
    [[nodiscard]] int timerEnded();
    // Dark and at rest; the owner stops its timer. For lamps that are taken over by something else.
    void reset() { *this = {}; }

    [[nodiscard]] bool isLit() const { return m_lit; }

private:
    bool m_lit = false;
    bool m_running = false;    // the owner's timer runs
    bool m_blinkAgain = false; // there was traffic since the lamp was lit
};
