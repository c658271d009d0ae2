#pragma once

#include "bridge/bridgeend.h"
#include "bridge/bridgestats.h"
#include "bridge/engine/bridgeflow.h"
#include "bridge/modbusstatistics.h"

#include <array>
#include <functional>
#include <memory>

enum class BridgeSide : int { A = 0, B = 1 };

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
    // Nothing that was received at that side waits here.
    [[nodiscard]] virtual bool isIdle(BridgeSide from) const = 0;
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

// Every byte of one end goes to the other end, framed and queued: a flow for each direction.
//
// A port hands out at once all that it has, which can be more than a queue may hold. Where the
// sender is to be slowed down nothing may be lost for that: what finds no room waits here, with the
// port held, and goes into the flow as the queue empties. That is at most what the transport had.
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
    [[nodiscard]] bool isIdle(BridgeSide from) const override;
    void drop(BridgeSide from, qint64 nowMs) override;
    [[nodiscard]] QString suspension(BridgeSide from) const override;
    void resume(qint64 nowMs) override;
    [[nodiscard]] QString lastRefusal() const override;

private:
    class Sink;

    struct Direction
    {
        BridgeFlow flow;
        QByteArray waiting; // behind what the queue holds
        QString waitingPeer;
        bool feeding = false;
    };

    [[nodiscard]] BridgeFlow& flow(BridgeSide from) { return m_ways[std::size_t(from)].flow; }
    [[nodiscard]] const BridgeFlow& flow(BridgeSide from) const
    {
        return m_ways[std::size_t(from)].flow;
    }
    void feed(BridgeSide from, qint64 nowMs);
    void regulate(BridgeSide from);
    void giveUp(BridgeSide from, qint64 nowMs);

    const OverflowPolicy m_policy;
    std::array<std::unique_ptr<Sink>, 2> m_sinks; // by the side they write to
    std::array<Direction, 2> m_ways;              // by the side they come from
};

// Clients that share a line on which one request at a time is answered: what the kinds of such
// routes have in common. One end has the clients, the other one the line.
class SharedLineRoute : public BridgeRoute
{
    Q_DISABLE_COPY_MOVE(SharedLineRoute)

public:
    SharedLineRoute(const Ends& ends, BridgeSide clients);
    ~SharedLineRoute() override;

    void drained(BridgeSide side, qint64 nowMs) final;
    void finish(qint64 nowMs) override;
    [[nodiscard]] BridgeCounters counters(BridgeSide from, qint64 nowMs) const override;
    void resetCounters() override;
    [[nodiscard]] bool isIdle(BridgeSide from) const override;
    [[nodiscard]] QString lastRefusal() const final { return m_refusal; }
    [[nodiscard]] const Turns* turns() const final;

protected:
    [[nodiscard]] virtual const BridgeArbiter& arbiter() const = 0;
    // The request in flight has left the port of the line.
    virtual void requestLeft(qint64 nowMs) = 0;

    [[nodiscard]] bool isClients(BridgeSide side) const { return side == m_clients; }
    [[nodiscard]] BridgeEnd& clients() const { return end(m_clients); }
    [[nodiscard]] BridgeEnd& line() const { return end(otherSide(m_clients)); }
    // How the engines know a client: its key, or the port's number where there can be only one.
    [[nodiscard]] QString keyOf(const QString& peer) const;
    [[nodiscard]] QString peerOf(const QString& key) const;
    // False when the line takes nothing now.
    [[nodiscard]] bool writeToLine(const QByteArray& request, qint64 nowMs);
    void writeToClient(const QString& key, const QByteArray& answer);
    [[nodiscard]] bool isSending() const { return m_sending; }

    BridgeCounters m_toLine;
    BridgeCounters m_toClients;
    qint64 m_unanswered = 0;      // requests
    qint64 m_droppedRequests = 0; // the same

private:
    const BridgeSide m_clients;
    QString m_refusal;
    qint64 m_turnSinceMs = 0;
    bool m_sending = false; // the request in flight has not left yet
    mutable Turns m_turns;
};

// Clients of a TCP server that take turns: what the device sends belongs to whose turn it is. What
// it sends in nobody's turn, as an answer that is late, reaches nobody.
class TurnsRoute final : public SharedLineRoute
{
    Q_DISABLE_COPY_MOVE(TurnsRoute)

public:
    TurnsRoute(const Ends& ends, BridgeSide clients, const BridgeConfig& config);
    ~TurnsRoute() override;

    void received(
        BridgeSide side, const QByteArray& payload, const QString& peer, qint64 nowMs) override;
    void closed(BridgeSide side, qint64 nowMs) override;
    void peerLost(BridgeSide side, const QString& peer, qint64 nowMs) override;
    void tick(qint64 nowMs) override;
    [[nodiscard]] int nextTimeoutMs(qint64 nowMs) const override;
    [[nodiscard]] BridgeCounters counters(BridgeSide from, qint64 nowMs) const override;
    void drop(BridgeSide from, qint64 nowMs) override;

protected:
    [[nodiscard]] const BridgeArbiter& arbiter() const override { return m_arbiter; }
    void requestLeft(qint64 nowMs) override { m_arbiter.noteLeft(nowMs); }

private:
    void pump(qint64 nowMs);
    void answer(const QByteArray& bytes, qint64 nowMs);

    BridgeArbiter m_arbiter;
};

// Modbus TCP clients at a Modbus RTU line.
class ModbusRoute final : public SharedLineRoute
{
    Q_DISABLE_COPY_MOVE(ModbusRoute)

public:
    ModbusRoute(const Ends& ends, BridgeSide clients, const BridgeConfig& config);
    ~ModbusRoute() override;

    void received(
        BridgeSide side, const QByteArray& payload, const QString& peer, qint64 nowMs) override;
    void closed(BridgeSide side, qint64 nowMs) override;
    void peerLost(BridgeSide side, const QString& peer, qint64 nowMs) override;
    void tick(qint64 nowMs) override;
    [[nodiscard]] int nextTimeoutMs(qint64 nowMs) const override;
    void resetCounters() override;
    void drop(BridgeSide from, qint64 nowMs) override;
    [[nodiscard]] const ModbusStatistics* modbus() const override { return &m_statistics; }

protected:
    [[nodiscard]] const BridgeArbiter& arbiter() const override { return m_line.arbiter(); }
    void requestLeft(qint64 nowMs) override { perform(m_line.lineDrained(nowMs), nowMs); }

private:
    void perform(ModbusLine::Output output, qint64 nowMs);
    void record(const ModbusLine::Transaction& transaction);
    void adaptToLine();

    ModbusLine m_line;
    ModbusStatistics m_statistics;
    int m_baudRate = -1; // that the silences were computed for
};

// The route that the configuration asks for between ends of these kinds.
[[nodiscard]] std::unique_ptr<BridgeRoute> makeBridgeRoute(
    const BridgeRoute::Ends& ends, const BridgeConfig& config);
