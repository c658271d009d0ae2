#pragma once

#include <QtGlobal>

// How long a break lasts that is pressed and let go: for as long as it is held, but at least
// kMinimumMs, so that every receiver sees it, and with a caption that can be read.
//
// A state machine without a clock. The owner keeps a timer for the release and one for the caption,
// and passes the monotonic time in milliseconds. Delays are in milliseconds, 0 for now.
class BreakHold final
{
public:
    static constexpr int kMinimumMs = 300;
    static constexpr int kCaptionMs = 800;

    void press(qint64 nowMs)
    {
        m_active = true;
        m_pressedMs = nowMs;
    }
    // The line is no longer held.
    void release() { m_active = false; }

    [[nodiscard]] bool isActive() const { return m_active; }
    // After letting go: when to release the line.
    [[nodiscard]] int releaseDelayMs(qint64 nowMs) const { return rest(kMinimumMs, nowMs); }
    // After the release: when the caption goes.
    [[nodiscard]] int captionDelayMs(qint64 nowMs) const { return rest(kCaptionMs, nowMs); }

private:
    [[nodiscard]] int rest(int leastMs, qint64 nowMs) const
    {
        return static_cast<int>(qBound(qint64{0}, m_pressedMs + leastMs - nowMs, qint64{leastMs}));
    }

    bool m_active = false;
    qint64 m_pressedMs = 0;
};
