#include "bridge/bridgeconfig.h"

#include <QtGlobal>

BridgeConfig BridgeConfig::sanitized() const
{
    BridgeConfig config = *this;
    config.name = name.left(kMaxNameLength);
    config.displayMuteBytesPerSec = qBound<qint64>(0, displayMuteBytesPerSec, kMaxMuteBytesPerSec);
    config.framing = framing.sanitized();
    config.flow = flow.sanitized();
    config.modbusTransactionTimeoutMs =
        qBound(kMinTimeoutMs, modbusTransactionTimeoutMs, kMaxTimeoutMs);
    config.arbiterResponseTimeoutMs =
        qBound(kMinTimeoutMs, arbiterResponseTimeoutMs, kMaxTimeoutMs);
    config.arbiterMaxQueuedRequests = qBound(1, arbiterMaxQueuedRequests, kMaxQueuedRequests);
    config.logRotateBytes = qBound(kMinRotateBytes, logRotateBytes, kMaxRotateBytes);
    config.allowedPeers = allowedPeers.mid(0, kMaxAllowedPeers);
    return config;
}
