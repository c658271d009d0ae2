#include "bridge/engine/bridgesink.h"

BridgeWrite BridgeWrite::broadcast(std::span<const BridgeWrite> peers, qint64 frameBytes)
{
    int took = 0;
    int refused = 0;
    QString reason;
    for (const BridgeWrite& peer : peers) {
        took += peer.taken > 0 ? 1 : 0;
        refused += peer.taken <= 0 && peer.refused ? 1 : 0;
        if (reason.isEmpty())
            reason = peer.reason;
    }
    const int count = int(peers.size());
    if (took > 0)
        return {.taken = frameBytes, .missedPeers = count - took, .reason = reason};
    return refused == count ? refusal(reason) : blocked();
}
