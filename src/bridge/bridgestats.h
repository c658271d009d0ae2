#pragma once

#include <QtGlobal>
#include <array>

// What one direction of a bridge has done since it was started or its counters were set to 0.
// Bytes, frames, milliseconds. Of the bytes that came in, what has not gone out is queued, dropped
// or discarded; of those that went out, the lost ones never left the port that took them.
struct BridgeCounters
{
    qint64 bytesIn = 0;
    qint64 bytesOut = 0;
    qint64 framesOut = 0;
    qint64 queuedBytes = 0; // waiting here
    qint64 peakQueuedBytes = 0;
    qint64 droppedBytes = 0; // there was no room, or nobody to take them
    qint64 droppedFrames = 0;
    qint64 discardedBytes = 0; // the bridge was suspended, or the other end was not open
    qint64 lostBytes = 0;
    qint64 throttledMs = 0; // for which the source was not read

    [[nodiscard]] qint64 missing() const { return droppedBytes + discardedBytes + lostBytes; }

    friend bool operator==(const BridgeCounters&, const BridgeCounters&) = default;
};

// The traffic of the last two minutes, a second at a time. Needs no timer: the owner says the time
// with every note and every look.
class TrafficHistory final
{
public:
    static constexpr int kSeconds = 120;

    struct Second
    {
        qint64 aToB = 0; // bytes that went out
        qint64 bToA = 0;
        qint64 missing = 0; // bytes that did not

        friend bool operator==(const Second&, const Second&) = default;
    };

    void note(const Second& more, qint64 nowMs);
    // Oldest first; the last one is the second that runs.
    [[nodiscard]] std::array<Second, kSeconds> seconds(qint64 nowMs) const;
    // Whether bytes were missing in the last so many seconds.
    [[nodiscard]] bool missedWithin(int seconds, qint64 nowMs) const;

private:
    void advance(qint64 second);

    std::array<Second, kSeconds> m_ring; // by second modulo kSeconds
    qint64 m_last = 0;                   // the latest second that was noted
    qint64 m_lastMissing = -kSeconds;    // the same, with bytes missing
};
