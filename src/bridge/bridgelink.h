#pragma once

#include "bridge/bridgelog.h"
#include "bridge/bridgeroute.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <array>
#include <memory>

enum class BridgeState : int { Off = 0, Idle = 1, Running = 2, Degraded = 3, Suspended = 4 };

// One bridge at work: joins two ports as its configuration says.
//
// Data flow: live port -> rxTapped -> BridgeEnd (protocol) -> BridgeRoute (framing, queue, turns)
// -> BridgeEnd of the other side -> PortEndpoint -> transport. The capture sees the payload as it
// comes out of the first end.
//
// States. Off: disabled, or a port is gone. Idle: enabled, and the two ports are not both open yet.
// Running: both are open. Degraded: works, or should, but a port is not to be had, the capture
// cannot be written, or bytes were dropped within the last kDegradedSeconds. Suspended: stopped
// itself (a cable loop, a queue that overflowed) until resume().
//
// Ports open, close, are lost and come back, also as another kind of connection: ends and route
// are made anew when the kinds have changed, the counters go on. What waits for a port that closes
// is dropped and counted: it would be stale when the port is back.
//
// One timer, for the earliest of all deadlines; none while there is nothing to wait for. Owned by
// the bridge manager; the endpoints outlive it.
class BridgeLink final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BridgeLink)

public:
    static constexpr int kDegradedSeconds = 10;

    // Either endpoint may be null: the port does not exist.
    BridgeLink(const BridgeConfig& config, PortEndpoint* a, PortEndpoint* b);
    ~BridgeLink() override;

    [[nodiscard]] const BridgeConfig& config() const { return m_config; }
    // Name and capture change while it runs; anything else starts it anew.
    void setConfig(const BridgeConfig& config);
    // The name, or "(unnamed)".
    [[nodiscard]] QString displayName() const;
    [[nodiscard]] PortEndpoint* endpoint(BridgeSide side) const
    {
        return m_endpoints[std::size_t(side)];
    }

    void start();
    // Forwards what is complete and ends.
    void stop();
    [[nodiscard]] bool isRunning() const { return m_running; }
    // Goes on after a suspension.
    void resume();

    [[nodiscard]] BridgeState state() const;
    [[nodiscard]] static QString stateText(BridgeState state);
    // What is wrong, naming the port; empty when nothing is.
    [[nodiscard]] QString errorText() const;
    // Why the capture is not written; empty while it is, or is off.
    [[nodiscard]] QString captureError() const;

    // Of what came in at that side.
    [[nodiscard]] BridgeCounters counters(BridgeSide from) const;
    void resetCounters();
    [[nodiscard]] std::array<TrafficHistory::Second, TrafficHistory::kSeconds> history() const;
    // Null where no turns are taken.
    [[nodiscard]] const BridgeRoute::Turns* turns() const;
    // Null for other protocols.
    [[nodiscard]] const ModbusStatistics* modbus() const;
    // The clock of all times in here.
    [[nodiscard]] qint64 nowMs() const { return m_clock.elapsed(); }

    // "%1 B", "%1 KB" from 1024 on, "%1 MB" from 1048576 on.
    [[nodiscard]] static QString formatBytes(qint64 bytes);

Q_SIGNALS:
    // State or error text are others.
    void stateChanged();

private:
    void handleTap(BridgeSide side, const QByteArray& bytes, const QString& peer);
    void subscribe(BridgeSide side);
    void build();
    [[nodiscard]] std::unique_ptr<BridgeEnd> makeEnd(BridgeSide side);
    void onOpened(BridgeSide side);
    void onClosed(BridgeSide side);
    void onPeer(BridgeSide side, const QString& peer, bool arrived);
    void onTimer();
    void settle();
    void noteHistory();
    void tellState();
    void startCapture();
    [[nodiscard]] BridgeEnd& end(BridgeSide side) const { return *m_ends[std::size_t(side)]; }
    [[nodiscard]] int nextTimeoutMs(qint64 nowMs) const;
    [[nodiscard]] bool isPossible() const;

    BridgeConfig m_config;
    const std::array<PortEndpoint*, 2> m_endpoints; // by BridgeSide
    QElapsedTimer m_clock;
    QTimer m_timer;
    QTimer m_recheck; // runs while bytes were dropped lately: that wears off
    std::array<std::unique_ptr<BridgeEnd>, 2> m_ends;
    std::unique_ptr<BridgeRoute> m_route; // before the ends it goes
    std::array<connectionMode, 2> m_kinds{};
    std::array<BridgeCounters, 2> m_before; // of former routes
    std::array<qint64, 2> m_lost{};         // at the sink, by where it came from
    std::array<BridgeCounters, 2> m_noted;  // in the history
    TrafficHistory m_history;
    std::unique_ptr<BridgeLog> m_log;
    BridgeState m_toldState = BridgeState::Off;
    QString m_toldError;
    bool m_running = false;
};
