#pragma once

#include <QString>
#include <array>

// Bytes per second of a growing counter over about the last second. Fed with the counter's value
// and monotonic milliseconds on every refresh; keeps at most `kMaxSamples` of them.
class RateMeter final
{
public:
    static constexpr qint64 kWindowMs = 1000;
    static constexpr int kMaxSamples = 16;

    // The rate after this sample. A counter that went back (cleared) starts the measurement anew.
    [[nodiscard]] qint64 sample(qint64 total, qint64 nowMs);

private:
    struct Sample
    {
        qint64 total = 0;
        qint64 ms = 0;
    };

    void dropFront();

    std::array<Sample, kMaxSamples> m_samples; // oldest first
    int m_count = 0;
};

// A rate in the units of people: "12 B/s", "3.4 kB/s".
[[nodiscard]] QString byteRateText(qint64 bytesPerSecond);
