#pragma once

#include <QtGlobal>

// What a bridge's queue does with a frame that does not fit. The values are stored in settings.
enum class OverflowPolicy : qint32 {
    DropOldest = 0, // make room at the head
    DropNewest = 1, // keep what is queued
    SlowSender = 2, // throttle the source early; a frame that still does not fit is dropped
    StopBridge = 3, // suspend the flow and say so
};

// The policy with that stored value; SlowSender for a value that names none.
constexpr OverflowPolicy overflowPolicyFromInt(qint32 value)
{
    return value >= 0 && value <= 3 ? OverflowPolicy(value) : OverflowPolicy::SlowSender;
}

// Queue budget, back-pressure and flood guard of one bridge direction. Fields hold whatever was
// configured; sanitized() is the one place that brings them into range.
struct FlowControlPolicy
{
    static constexpr qint64 kMaxCapacityBytes = 1'073'741'824;
    static constexpr qint64 kMaxSinkCeilingBytes = 268'435'456;
    static constexpr qint64 kMinFloodBytesPerSecond = 1024;
    static constexpr qint32 kMinFloodWindowMs = 100;
    static constexpr qint32 kMaxFloodWindowMs = 600'000;

    qint64 capacityBytes = 262'144;   // 1 to MaxCapacityBytes
    qint64 highWaterBytes = 196'608;  // 1 to capacityBytes; throttles the source
    qint64 lowWaterBytes = 65'536;    // 0 to highWaterBytes - 1; releases the source
    qint64 sinkCeilingBytes = 65'536; // 1 to kMaxSinkCeilingBytes; unwritten bytes in the sink
    OverflowPolicy overflowPolicy = OverflowPolicy::SlowSender;
    bool floodGuardEnabled = true;
    qint64 floodBytesPerSecond = 8'388'608; // at least kMinFloodBytesPerSecond
    qint32 floodWindowMs = 3000;            // kMinFloodWindowMs to kMaxFloodWindowMs

    // The policy with every number in its range.
    FlowControlPolicy sanitized() const;

    bool operator==(const FlowControlPolicy& other) const = default;
};
