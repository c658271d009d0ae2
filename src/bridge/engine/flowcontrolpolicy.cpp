#include "bridge/engine/flowcontrolpolicy.h"

FlowControlPolicy FlowControlPolicy::sanitized() const
{
    FlowControlPolicy policy = *this;
    policy.capacityBytes = qBound<qint64>(1, capacityBytes, kMaxCapacityBytes);
    policy.highWaterBytes = qBound<qint64>(1, highWaterBytes, policy.capacityBytes);
    policy.lowWaterBytes = qBound<qint64>(0, lowWaterBytes, policy.highWaterBytes - 1);
    policy.sinkCeilingBytes = qBound<qint64>(1, sinkCeilingBytes, kMaxSinkCeilingBytes);
    policy.overflowPolicy = overflowPolicyFromInt(qint32(overflowPolicy));
    policy.floodBytesPerSecond = qMax(kMinFloodBytesPerSecond, floodBytesPerSecond);
    policy.floodWindowMs = qBound(kMinFloodWindowMs, floodWindowMs, kMaxFloodWindowMs);
    return policy;
}
