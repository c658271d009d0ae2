#include "bridge/engine/framingpolicy.h"

#include <limits>

FramingPolicy FramingPolicy::sanitized() const
{
    FramingPolicy policy = *this;
    policy.mode = framingModeFromInt(qint32(mode));
    policy.idleGapMs = qBound(kMinMs, idleGapMs, kMaxMs);
    policy.frameLength = qBound(1, frameLength, kMaxFrameLimitBytes);
    policy.maxFrameBytes = qBound(1, maxFrameBytes, kMaxFrameLimitBytes);
    policy.flushTimeoutMs = qBound(kMinMs, flushTimeoutMs, kMaxMs);

    if (policy.mode == FramingMode::Delimiter) {
        const qsizetype longest = std::numeric_limits<qint32>::max();
        if (delimiter.isEmpty())
            policy.mode = FramingMode::Immediate;
        policy.maxFrameBytes = qMax(policy.maxFrameBytes, qint32(qMin(delimiter.size(), longest)));
    } else if (policy.mode == FramingMode::FixedLength) {
        policy.maxFrameBytes = qMax(policy.maxFrameBytes, policy.frameLength);
    }
    return policy;
}
