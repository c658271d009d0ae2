#pragma once

#include "bridge/bridgeconfig.h"
#include "bridge/bridgeroute.h"
#include "bridge/engine/bridgeflow.h"

#include <deque>

// Every byte of one end goes to the other end, framed and queued: a flow for each direction.
//
// A port hands out at once all that it has, which can be more than a queue may hold. Where the
// sender is to be slowed down nothing may be lost for that: what finds no room waits here, with the
// port held, and goes into the flow as the queue empties, piece by piece as it was received: a
// datagram stays one. That is at most what the transport had.
class FlowRoute final : public BridgeRoute
{
    Q_DISABLE_COPY_MOVE(FlowRoute)

public:
    FlowRoute(const Ends& ends, const BridgeConfig& config);
    ~FlowRoute() override;

    void received(
        BridgeSide side, const QByteArray& payload, const QString& peer, qint64 nowMs) override;
    void drained(BridgeSide side, qint64 nowMs) override;
    void closed(BridgeSide side, qint64 nowMs) override;
    void peerLost(BridgeSide side, const QString& peer, qint64 nowMs) override;
    void tick(qint64 nowMs) override;
    [[nodiscard]] int nextTimeoutMs(qint64 nowMs) const override;
    void finish(qint64 nowMs) override;
    [[nodiscard]] BridgeCounters counters(BridgeSide from, qint64 nowMs) const override;
    void resetCounters() override;
    void drop(BridgeSide from, qint64 nowMs) override;
    [[nodiscard]] QString suspension(BridgeSide from) const override;
    void resume(qint64 nowMs) override;
    [[nodiscard]] QString lastRefusal() const override;

private:
    class Sink;

    struct Piece
    {
        QByteArray bytes;
        QString peer;
    };
    struct Direction
    {
        BridgeFlow flow;
        std::deque<Piece> waiting; // behind what the queue holds
        qint64 waitingBytes = 0;   // in all of them
        qint64 unhandledBytes = 0; // received while the flow was suspended
        bool feeding = false;
    };

    [[nodiscard]] BridgeFlow& flow(BridgeSide from) { return m_ways[std::size_t(from)].flow; }
    [[nodiscard]] const BridgeFlow& flow(BridgeSide from) const
    {
        return m_ways[std::size_t(from)].flow;
    }
    static void ingest(Direction& way, const Piece& piece, qint64 nowMs);
    void feed(BridgeSide from, qint64 nowMs);
    void regulate(BridgeSide from);
    void giveUp(BridgeSide from, qint64 nowMs);

    const OverflowPolicy m_policy;
    std::array<std::unique_ptr<Sink>, 2> m_sinks; // by the side they write to
    std::array<Direction, 2> m_ways;              // by the side they come from
};
