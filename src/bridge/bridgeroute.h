#pragma once

#include "bridge/bridgeend.h"
#include "bridge/bridgestats.h"

#include <QStringList>
#include <array>
#include <memory>

class ModbusStatistics;
struct BridgeConfig;

enum class BridgeSide : int { A = 0, B = 1 };

inline constexpr std::array kBridgeSides{BridgeSide::A, BridgeSide::B};

[[nodiscard]] constexpr BridgeSide otherSide(BridgeSide side)
{
    return side == BridgeSide::A ? BridgeSide::B : BridgeSide::A;
}

// What a bridge does with the payload of its ends: how what one received gets to the other. One
// route for each way of sharing; a bridge has one at a time.
//
// Time: every call takes the bridge's milliseconds; nextTimeoutMs() says when to call tick().
// Owned by the bridge link; the ends outlive it.
class BridgeRoute
{
    Q_DISABLE_COPY_MOVE(BridgeRoute)

public:
    using Ends = std::array<BridgeEnd*, 2>; // by BridgeSide

    // Who has the turn, where turns are taken.
    struct Turns
    {
        QString owner; // empty while nobody
        qint64 sinceMs = 0;
        QStringList waiting; // a key for each request, the next first
        qint64 unanswered = 0;
        qint64 dropped = 0; // requests
    };

    explicit BridgeRoute(const Ends& ends)
        : m_ends(ends)
    {}
    virtual ~BridgeRoute() = default;

    // Payload from one end.
    virtual void received(
        BridgeSide side, const QByteArray& payload, const QString& peer, qint64 nowMs) = 0;
    // The port of that side has written.
    virtual void drained(BridgeSide side, qint64 nowMs) = 0;
    // The port of that side is closed: what waits for it never goes.
    virtual void closed(BridgeSide side, qint64 nowMs) = 0;
    virtual void peerLost(BridgeSide side, const QString& peer, qint64 nowMs) = 0;
    virtual void tick(qint64 nowMs) = 0;
    [[nodiscard]] virtual int nextTimeoutMs(qint64 nowMs) const = 0;
    // The bridge ends: what is held goes as far as it can.
    virtual void finish(qint64 nowMs) = 0;

    // Of what was received at that side.
    [[nodiscard]] virtual BridgeCounters counters(BridgeSide from, qint64 nowMs) const = 0;
    virtual void resetCounters() = 0;
    // Drops what waits; counted.
    virtual void drop(BridgeSide from, qint64 nowMs) = 0;

    // Why forwarding from that side is suspended; empty while it is not.
    [[nodiscard]] virtual QString suspension(BridgeSide /*from*/) const { return {}; }
    virtual void resume(qint64 /*nowMs*/) {}
    // Why bytes were last not taken, in the port's words.
    [[nodiscard]] virtual QString lastRefusal() const { return {}; }
    // Null where none are taken.
    [[nodiscard]] virtual const Turns* turns() const { return nullptr; }
    [[nodiscard]] virtual const ModbusStatistics* modbus() const { return nullptr; }

protected:
    [[nodiscard]] BridgeEnd& end(BridgeSide side) const { return *m_ends[std::size_t(side)]; }

private:
    const Ends m_ends;
};

// The route that the configuration asks for between ends of these kinds.
[[nodiscard]] std::unique_ptr<BridgeRoute> makeBridgeRoute(
    const BridgeRoute::Ends& ends, const BridgeConfig& config);
