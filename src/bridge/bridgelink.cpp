#include "bridge/bridgelink.h"

#include "base/clock.h"
#include "bridge/rfc2217ends.h"
#include "connections/connectioncontroller.h"

#include <utility>

namespace {

BridgeCounters sum(BridgeCounters a, const BridgeCounters& b)
{
    a.bytesIn += b.bytesIn;
    a.bytesOut += b.bytesOut;
    a.framesOut += b.framesOut;
    a.queuedBytes = b.queuedBytes;
    a.peakQueuedBytes = qMax(a.peakQueuedBytes, b.peakQueuedBytes);
    a.droppedBytes += b.droppedBytes;
    a.droppedFrames += b.droppedFrames;
    a.discardedBytes += b.discardedBytes;
    a.throttledMs += b.throttledMs;
    return a;
}

} // namespace

BridgeLink::BridgeLink(const BridgeConfig& config, PortEndpoint* a, PortEndpoint* b)
    : m_config(config.sanitized())
    , m_endpoints{a, b}
{
    m_clock.start();
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &BridgeLink::onTimer);
    m_recheck.setSingleShot(true);
    m_recheck.setInterval(1000);
    connect(&m_recheck, &QTimer::timeout, this, &BridgeLink::tellState);
}

BridgeLink::~BridgeLink()
{
    stop();
}

QString BridgeLink::displayName() const
{
    return m_config.name.isEmpty() ? tr("(unnamed)") : m_config.name;
}

void BridgeLink::setConfig(const BridgeConfig& config)
{
    const BridgeConfig wanted = config.sanitized();
    if (wanted == m_config)
        return;
    BridgeConfig alike = wanted;
    alike.name = m_config.name;
    alike.logEnabled = m_config.logEnabled;
    alike.logFilePath = m_config.logFilePath;
    alike.logHex = m_config.logHex;
    alike.logRotateBytes = m_config.logRotateBytes;
    alike.showForwardedInDisplay = m_config.showForwardedInDisplay;
    alike.displayMuteBytesPerSec = m_config.displayMuteBytesPerSec;
    if (m_running && alike == m_config) {
        m_config = wanted;
        startCapture();
        tellState();
        return;
    }
    stop();
    m_config = wanted;
    start();
}

bool BridgeLink::isPossible() const
{
    return m_endpoints[0] && m_endpoints[1] && m_config.enabled;
}

void BridgeLink::start()
{
    if (m_running || !isPossible())
        return;
    if (!m_endpoints[0]->port() || !m_endpoints[1]->port()) {
        tellState();
        return;
    }
    m_running = true;
    build();
    for (const BridgeSide side : kBridgeSides)
        subscribe(side);
    startCapture();
    if (m_config.autoOpenPeer) {
        for (PortEndpoint* endpoint : m_endpoints)
            endpoint->keepOpen(this, true);
    }
    settle();
}

void BridgeLink::subscribe(BridgeSide side)
{
    PortEndpoint* endpoint = this->endpoint(side);
    LivePort* port = endpoint->port();
    const bool forwarded =
        side == BridgeSide::A ? m_config.forwardsAToB() : m_config.forwardsBToA();
    if (forwarded) {
        connect(port, &LivePort::rxTapped, this,
            [this, side](
                const QByteArray& bytes, const QString& peer) { handleTap(side, bytes, peer); });
    }
    connect(port, &LivePort::going, this, &BridgeLink::stop);
    const ConnectionController* controller = &port->controller();
    connect(controller, &ConnectionController::peerLost, this,
        [this, side](const QString& peer) { onPeer(side, peer, false); });
    connect(controller, &ConnectionController::peerArrived, this,
        [this, side](const QString& peer) { onPeer(side, peer, true); });
    connect(endpoint, &PortEndpoint::opened, this, [this, side] { onOpened(side); });
    connect(endpoint, &PortEndpoint::closed, this, [this, side] { onClosed(side); });
    connect(endpoint, &PortEndpoint::changed, this, &BridgeLink::tellState);
    connect(endpoint, &PortEndpoint::drained, this, [this, side] {
        m_route->drained(side, nowMs());
        settle();
    });
    connect(endpoint, &PortEndpoint::discarded, this, [this, side](qint64 bytes) {
        m_lost[std::size_t(otherSide(side))] += bytes;
        settle();
    });
}

void BridgeLink::stop()
{
    if (!std::exchange(m_running, false))
        return;
    for (PortEndpoint* endpoint : m_endpoints) {
        endpoint->disconnect(this);
        endpoint->keepOpen(this, false);
        if (LivePort* port = endpoint->port()) {
            port->disconnect(this);
            port->controller().disconnect(this);
        }
    }
    m_timer.stop();
    m_route->finish(nowMs());
    noteHistory();
    for (const BridgeSide side : kBridgeSides)
        m_before[std::size_t(side)] =
            sum(m_before[std::size_t(side)], m_route->counters(side, nowMs()));
    m_route.reset();
    for (auto& end : m_ends)
        end.reset();
    m_log.reset();
    tellState();
}

std::unique_ptr<BridgeEnd> BridgeLink::makeEnd(BridgeSide side)
{
    PortEndpoint& own = *endpoint(side);
    PortEndpoint& other = *endpoint(otherSide(side));
    const bool first = side == BridgeSide::A || own.mode() != other.mode();
    if (m_config.protocol == ProtocolMode::Rfc2217Server && own.isServer() && first) {
        return std::make_unique<Rfc2217ServerEnd>(own, m_config.udpTarget,
            OtherEnd{.endpoint = &other,
                .received = [this, side] { return m_route->counters(side, nowMs()); },
                .discard =
                    [this, side](
                        bool there) { m_route->drop(there ? side : otherSide(side), nowMs()); }});
    }
    if (m_config.protocol == ProtocolMode::Rfc2217Client && own.mode() == connectionMode::TcpClient
        && first)
        return std::make_unique<Rfc2217ClientEnd>(own, m_config.udpTarget, other);
    return std::make_unique<BridgeEnd>(own, m_config.udpTarget);
}

// For the kinds of connection that the ports are now.
void BridgeLink::build()
{
    const qint64 now = nowMs();
    if (m_route) {
        m_route->finish(now);
        for (const BridgeSide side : kBridgeSides)
            m_before[std::size_t(side)] =
                sum(m_before[std::size_t(side)], m_route->counters(side, now));
    }
    m_route.reset();
    for (const BridgeSide side : kBridgeSides) {
        m_kinds[std::size_t(side)] = endpoint(side)->mode();
        m_ends[std::size_t(side)] = makeEnd(side);
        end(side).setDeliver(
            [this, side](const QByteArray& payload, const QString& peer, qint64 nowMs) {
                if (m_log)
                    m_log->record(side == BridgeSide::A, payload, peer);
                m_route->received(side, payload, peer, nowMs);
            });
    }
    m_route = makeBridgeRoute({m_ends[0].get(), m_ends[1].get()}, m_config);
    for (const BridgeSide side : kBridgeSides) {
        if (endpoint(side)->isOpen())
            end(side).opened(now);
    }
}

void BridgeLink::handleTap(BridgeSide side, const QByteArray& bytes, const QString& peer)
{
    if (!m_running)
        return;
    end(side).receive(bytes, peer, nowMs());
    settle();
}

void BridgeLink::onOpened(BridgeSide side)
{
    if (endpoint(side)->mode() != m_kinds[std::size_t(side)])
        build();
    else
        end(side).opened(nowMs());
    if (m_config.autoOpenPeer)
        endpoint(otherSide(side))->openAgain();
    settle();
}

void BridgeLink::onClosed(BridgeSide side)
{
    m_route->closed(side, nowMs());
    end(side).closed(nowMs());
    settle();
}

void BridgeLink::onPeer(BridgeSide side, const QString& peer, bool arrived)
{
    if (peer.isEmpty())
        return;
    if (arrived) {
        end(side).peerArrived(peer, nowMs());
    } else {
        end(side).peerLost(peer, nowMs());
        m_route->peerLost(side, peer, nowMs());
    }
    settle();
}

void BridgeLink::onTimer()
{
    const qint64 now = nowMs();
    for (const auto& end : m_ends)
        end->tick(now);
    m_route->tick(now);
    settle();
}

void BridgeLink::resume()
{
    if (!m_running)
        return;
    m_route->resume(nowMs());
    settle();
}

int BridgeLink::nextTimeoutMs(qint64 nowMs) const
{
    int next = m_route->nextTimeoutMs(nowMs);
    for (const auto& end : m_ends) {
        const int due = end->nextTimeoutMs(nowMs);
        if (due >= 0 && (next < 0 || due < next))
            next = due;
    }
    return next;
}

// What every step ends with.
void BridgeLink::settle()
{
    for (PortEndpoint* endpoint : m_endpoints)
        endpoint->flush();
    if (!m_running)
        return;
    noteHistory();
    const int next = nextTimeoutMs(nowMs());
    if (next >= 0)
        m_timer.start(next);
    else if (m_timer.isActive())
        m_timer.stop();
    tellState();
}

void BridgeLink::noteHistory()
{
    TrafficHistory::Second more;
    for (const BridgeSide side : kBridgeSides) {
        const BridgeCounters now = counters(side);
        BridgeCounters& noted = m_noted[std::size_t(side)];
        (side == BridgeSide::A ? more.aToB : more.bToA) = now.bytesOut - noted.bytesOut;
        more.missing += now.missing() - noted.missing();
        noted = now;
    }
    if (more != TrafficHistory::Second{})
        m_history.note(more, nowMs());
}

void BridgeLink::startCapture()
{
    if (!m_config.logEnabled) {
        m_log.reset();
        return;
    }
    m_log = std::make_unique<BridgeLog>(
        BridgeLog::Options{m_config.logFilePath, m_config.logHex, m_config.logRotateBytes},
        &localTimeNow);
    connect(m_log.get(), &BridgeLog::errorChanged, this, &BridgeLink::tellState);
    m_log->note(tr("Bridge \"%1\": A is %2, B is %3,")
                    .arg(displayName(), m_endpoints[0]->name(), m_endpoints[1]->name()));
}

BridgeState BridgeLink::state() const
{
    if (!m_running)
        return BridgeState::Off;
    if (!m_endpoints[0]->port() || !m_endpoints[1]->port())
        return BridgeState::Off;
    for (const BridgeSide side : kBridgeSides) {
        if (!m_route->suspension(side).isEmpty())
            return BridgeState::Suspended;
    }
    const bool open = m_endpoints[0]->isOpen() && m_endpoints[1]->isOpen();
    const bool trouble = !m_endpoints[0]->trouble().isEmpty()
                         || !m_endpoints[1]->trouble().isEmpty() || !captureError().isEmpty()
                         || m_history.missedWithin(kDegradedSeconds, nowMs());
    if (trouble)
        return BridgeState::Degraded;
    return open ? BridgeState::Running : BridgeState::Idle;
}

QString BridgeLink::stateText(BridgeState state)
{
    switch (state) {
    case BridgeState::Off:
        return tr("Off");
    case BridgeState::Idle:
        return tr("Idle");
    case BridgeState::Running:
        return tr("Running");
    case BridgeState::Degraded:
        return tr("Degraded");
    case BridgeState::Suspended:
        return tr("Suspended");
    }
    return {};
}

QString BridgeLink::errorText() const
{
    if (!m_running)
        return {};
    for (const BridgeSide side : kBridgeSides) {
        if (QString reason = m_route->suspension(side); !reason.isEmpty())
            return reason;
    }
    for (const PortEndpoint* endpoint : m_endpoints) {
        if (const QString trouble = endpoint->trouble(); !trouble.isEmpty())
            return tr("%1: %2").arg(endpoint->name(), trouble);
    }
    if (const QString error = captureError(); !error.isEmpty())
        return tr("Capture stopped: %1").arg(error);
    if (m_history.missedWithin(kDegradedSeconds, nowMs())) {
        const QString refusal = m_route->lastRefusal();
        return refusal.isEmpty() ? tr("Data was dropped.")
                                 : tr("Data was dropped: %1").arg(refusal);
    }
    return {};
}

QString BridgeLink::captureError() const
{
    return m_log ? m_log->error() : QString();
}

void BridgeLink::tellState()
{
    if (m_running && !m_recheck.isActive() && m_history.missedWithin(kDegradedSeconds, nowMs()))
        m_recheck.start();
    const BridgeState now = state();
    const QString error = now == BridgeState::Running ? QString() : errorText();
    if (std::exchange(m_toldState, now) == now && m_toldError == error)
        return;
    m_toldError = error;
    Q_EMIT stateChanged();
}

BridgeCounters BridgeLink::counters(BridgeSide from) const
{
    BridgeCounters counters = m_before[std::size_t(from)];
    counters.queuedBytes = 0;
    if (m_route)
        counters = sum(counters, m_route->counters(from, nowMs()));
    counters.lostBytes = m_lost[std::size_t(from)];
    return counters;
}

void BridgeLink::resetCounters()
{
    m_before = {};
    m_lost = {};
    if (m_route)
        m_route->resetCounters();
    for (const BridgeSide side : kBridgeSides)
        m_noted[std::size_t(side)] = counters(side);
}

std::array<TrafficHistory::Second, TrafficHistory::kSeconds> BridgeLink::history() const
{
    return m_history.seconds(nowMs());
}

const BridgeRoute::Turns* BridgeLink::turns() const
{
    return m_route ? m_route->turns() : nullptr;
}

const ModbusStatistics* BridgeLink::modbus() const
{
    return m_route ? m_route->modbus() : nullptr;
}

QString BridgeLink::formatBytes(qint64 bytes)
{
    constexpr qint64 kKilo = 1024;
    constexpr qint64 kMega = 1'048'576;
    if (bytes < kKilo)
        return tr("%1 B").arg(bytes);
    return bytes < kMega ? tr("%1 KB").arg(bytes / kKilo) : tr("%1 MB").arg(bytes / kMega);
}
