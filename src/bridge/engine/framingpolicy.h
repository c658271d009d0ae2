#pragma once

#include <QByteArray>

// How a bridge cuts the bytes of one direction into frames. The values are stored in settings.
enum class FramingMode : qint32 {
    Immediate = 0,   // every read goes on at once
    IdleGap = 1,     // silence on the line ends a frame, as on a Modbus RTU bus
    Delimiter = 2,   // a byte sequence ends a frame and belongs to it
    FixedLength = 3, // every frame has the same length
};

// The mode with that stored value; Immediate for a value that names none.
constexpr FramingMode framingModeFromInt(qint32 value)
{
    return value >= 1 && value <= 3 ? FramingMode(value) : FramingMode::Immediate;
}

// The framing of one bridge direction. Fields hold whatever was configured; sanitized() is the one
// place that brings them into range, and every engine that takes a policy calls it.
struct FramingPolicy
{
    static constexpr qint32 kMinMs = 1;
    static constexpr qint32 kMaxMs = 60'000;
    static constexpr qint32 kMaxFrameLimitBytes = 1'048'576;

    FramingMode mode = FramingMode::Immediate;
    qint32 idleGapMs = 4;        // MinMs to MaxMs; used by IdleGap
    QByteArray delimiter{"\n"};  // used by Delimiter
    qint32 frameLength = 256;    // bytes, 1 to kMaxFrameLimitBytes; used by FixedLength
    qint32 maxFrameBytes = 4096; // 1 to kMaxFrameLimitBytes; more than this is cut by force
    qint32 flushTimeoutMs = 200; // MinMs to MaxMs; the longest that a partial frame waits

    // The policy with every number in its range. An empty delimiter means Immediate, and the
    // largest frame is at least as long as the delimiter or the fixed length that the mode needs.
    FramingPolicy sanitized() const;

    bool operator==(const FramingPolicy& other) const = default;
};
