#include "gateway/gateway.h"

#include "connections/connectioncontroller.h"

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

using Level = Journal::Level;

namespace {

Level levelOf(const Notice& notice)
{
    switch (notice.gravity) {
    case Notice::Gravity::Info:
        return Level::Info;
    case Notice::Gravity::Warning:
        return Level::Warning;
    case Notice::Gravity::Error:
        break;
    }
    return Level::Error;
}

Level levelOf(BridgeState state)
{
    return state == BridgeState::Degraded || state == BridgeState::Suspended ? Level::Warning
                                                                             : Level::Info;
}

// An attempt is under way; how it ends is told.
bool isTrying(const LivePort& port)
{
    return port.life() == ConnectionLife::Opening || port.life() == ConnectionLife::Regaining;
}

bool isTrying(const PortEndpoint* endpoint)
{
    return endpoint && endpoint->port() && isTrying(*endpoint->port());
}

bool isLeaving(const LivePort& port)
{
    return port.unloggedBytes() > 0 || (port.transport() && port.transport()->isLingering());
}

} // namespace

Gateway::Gateway(Journal& journal, QObject* parent)
    : QObject(parent)
    , m_journal(journal)
{
    m_window.setSingleShot(true);
    m_window.setInterval(kWindowMs);
    connect(&m_window, &QTimer::timeout, this, &Gateway::onWindowOver);
    m_finishing.setInterval(kFinishStepMs);
    connect(&m_finishing, &QTimer::timeout, this, &Gateway::finishStep);
    connect(&m_bridges, &BridgeManager::changed, this, &Gateway::noteBridges);
}

Gateway::~Gateway()
{
    m_bridges.disconnect(this);
}

void Gateway::apply(const GatewayPlan& plan)
{
    resize(std::size_t(plan.panes.size()));
    for (int at = 0; at < portCount(); ++at)
        take(*m_ports[std::size_t(at)], plan.panes.at(at), plan.isWanted(at));
    for (const QString& refusal : m_bridges.setConfigs(plan.bridges))
        m_journal.write(Level::Error, refusal);
    Q_EMIT changed();
}

void Gateway::resize(std::size_t count)
{
    std::vector<std::unique_ptr<Port>> superfluous;
    for (; m_ports.size() > count; m_ports.pop_back())
        superfluous.push_back(std::move(m_ports.back()));
    while (m_ports.size() < count) {
        auto port = std::make_unique<Port>();
        port->live = std::make_unique<LivePort>(m_catalog);
        port->live->setAutoReconnect(true);
        port->records = {port->live->settings(), port->live->format()};
        port->number = int(m_ports.size()) + 1;
        watch(*port);
        m_ports.push_back(std::move(port));
    }
    QList<LivePort*> borrowed;
    for (const auto& port : m_ports)
        borrowed.append(port->live.get());
    m_bridges.setPorts(borrowed);
    for (const auto& port : superfluous) {
        say(Level::Notice, *port, u"removed"_s);
        letGo(std::move(port->live));
    }
}

void Gateway::watch(Port& port)
{
    const LivePort* live = port.live.get();
    const ConnectionController* controller = &live->controller();
    connect(live, &LivePort::stateChanged, this, [this, &port] { noteState(port); });
    connect(live, &LivePort::noticed, this,
        [this, &port](const Notice& notice) { noteNotice(port, notice); });
    connect(controller, &ConnectionController::closed, this,
        [&port](const CloseReason& reason) { port.reason = reason.text; });
    connect(controller, &ConnectionController::peerArrived, this,
        [this, &port](const QString& peer) { notePeer(port, peer, true); });
    connect(controller, &ConnectionController::peerLost, this,
        [this, &port](const QString& peer) { notePeer(port, peer, false); });
}

// The log has chosen the name of its file by itself; it is no reason to begin another one.
void Gateway::take(Port& port, const SessionPane& records, bool wanted)
{
    LivePort& live = *port.live;
    const bool otherSettings = records.settings != port.records.settings;
    FormatSetting format = live.format();
    if (records.format != port.records.format) {
        const QString logFile = format.currentLogFileName;
        const bool sameLog = format.logFilePath == records.format.logFilePath;
        format = records.format;
        if (sameLog)
            format.currentLogFileName = logFile;
    }
    port.records = records;
    live.setRecords(records.settings, format, LivePort::Origin::Program);
    PortEndpoint* endpoint = m_bridges.endpointFor(port.number - 1);
    if (wanted) {
        // What is open under other settings is closed by a start.
        if (otherSettings || !live.isActive())
            live.start(true);
        endpoint->keepOpen(this, true);
    } else {
        endpoint->keepOpen(this, false);
        live.stop();
    }
}

void Gateway::letGo(std::unique_ptr<LivePort> port)
{
    port->disconnect(this);
    port->controller().disconnect(this);
    port->stop();
    LivePort* leaving = port.get();
    m_leaving.push_back(std::move(port));
    connect(leaving, &LivePort::logFinished, this,
        [this, leaving](bool complete, const QString& error) {
            if (!complete)
                m_journal.write(Level::Error, u"%1: data log: %2"_s.arg(leaving->summary(), error));
        });
    leaving->finishLog();
    m_finishClock.start();
    m_finishing.start();
}

void Gateway::say(Level level, const Port& port, const QString& text)
{
    m_journal.write(level, u"Port %1 (%2): %3"_s.arg(port.number).arg(port.live->summary(), text));
}

void Gateway::noteState(Port& port)
{
    const ConnectionLife now = port.live->life();
    const ConnectionLife before = std::exchange(port.life, now);
    const QString error = port.live->lastError();
    const QString reason = error.isEmpty() ? port.reason : error;
    const QString because = reason.isEmpty() ? QString() : u": "_s + reason;
    if (now == ConnectionLife::Open && before != now) {
        port.error.clear();
        say(Level::Info, port, u"open"_s);
    } else if (now == ConnectionLife::Lost && before == ConnectionLife::Open) {
        say(Level::Warning, port, u"lost, trying to regain it"_s + because);
    } else if (now == ConnectionLife::Closed && before == ConnectionLife::Open) {
        say(error.isEmpty() ? Level::Info : Level::Warning, port, u"closed"_s + because);
    } else if (now == ConnectionLife::Closed && !error.isEmpty() && error != port.error) {
        say(Level::Warning, port, u"could not be opened, trying again"_s + because);
    }
    if (now == ConnectionLife::Closed)
        port.error = error;
    if (now != before)
        Q_EMIT changed();
}

void Gateway::noteNotice(Port& port, const Notice& notice)
{
    // What goes as it should around opening and closing, and why a port is closed, the state says.
    const bool isSaid = notice.gravity == Notice::Gravity::Info
                            ? port.life != ConnectionLife::Open || !port.live->isOpen()
                            : notice.gravity == Notice::Gravity::Error && isTrying(*port.live);
    if (notice.text.isEmpty() || isSaid)
        return;
    if (m_journal.isNews(u"%1 %2"_s.arg(port.number).arg(notice.text)))
        sayBounded(levelOf(notice), port, notice.fullText());
}

void Gateway::notePeer(Port& port, const QString& peer, bool arrived)
{
    if (!peer.isEmpty())
        sayBounded(
            Level::Info, port, (arrived ? u"client %1 came"_s : u"client %1 left"_s).arg(peer));
}

void Gateway::sayBounded(Level level, Port& port, const QString& text)
{
    if (!m_window.isActive())
        m_window.start();
    if (++port.lines > kMaxLinesInWindow)
        ++port.leftOut;
    else
        say(level, port, text);
}

void Gateway::onWindowOver()
{
    for (const auto& port : m_ports) {
        if (port->leftOut > 0)
            say(Level::Warning, *port, u"%1 lines were left out"_s.arg(port->leftOut));
        port->lines = 0;
        port->leftOut = 0;
    }
}

void Gateway::noteBridges()
{
    QHash<const BridgeLink*, ToldBridge> told;
    for (int at = 0; at < m_bridges.linkCount(); ++at) {
        const BridgeLink* link = m_bridges.linkAt(at);
        if (!link)
            continue;
        ToldBridge now{link->displayName(), link->state(), {}};
        if (levelOf(now.state) == Level::Warning)
            now.error = link->errorText();
        const ToldBridge before = m_told.value(link);
        // Whoever tries a port again every few seconds has no news until that has an end.
        if (now.state == BridgeState::Idle
            && (isTrying(link->endpoint(BridgeSide::A))
                || isTrying(link->endpoint(BridgeSide::B)))) {
            told.insert(link, before);
            continue;
        }
        if (now.state != before.state || now.error != before.error) {
            const QString because = now.error.isEmpty() ? QString() : u": "_s + now.error;
            m_journal.write(
                levelOf(now.state), u"Bridge \"%1\": %2%3"_s.arg(now.name,
                                        BridgeLink::stateText(now.state).toLower(), because));
        }
        told.insert(link, now);
    }
    m_told = std::move(told);
    Q_EMIT changed();
}

QString Gateway::summary() const
{
    const auto open =
        std::ranges::count_if(m_ports, [](const auto& port) { return port->live->isOpen(); });
    const auto running = std::ranges::count_if(
        m_told, [](const ToldBridge& bridge) { return bridge.state == BridgeState::Running; });
    return u"%1 of %2 ports open, %3 of %4 bridges running"_s.arg(open)
        .arg(m_ports.size())
        .arg(running)
        .arg(m_bridges.linkCount());
}

void Gateway::finish()
{
    if (m_bridges.portCount() == 0 && m_ports.empty()) {
        Q_EMIT ended();
        return;
    }
    m_isEnding = true;
    m_bridges.disconnect(this);
    m_bridges.clearLinks();
    m_bridges.setPorts({});
    for (const auto& port : std::exchange(m_ports, {}))
        letGo(std::move(port->live));
}

// Of the ports that go, in the midst of a reload or at the end.
void Gateway::finishStep()
{
    const bool late = m_finishClock.elapsed() >= kFinishMs;
    std::erase_if(m_leaving, [&](const std::unique_ptr<LivePort>& port) {
        if (late && port->unloggedBytes() > 0)
            m_journal.write(Level::Error,
                u"%1: %2 bytes were not written to the data log"_s.arg(port->summary())
                    .arg(port->unloggedBytes()));
        return late || !isLeaving(*port);
    });
    if (!m_leaving.empty())
        return;
    m_finishing.stop();
    if (m_isEnding)
        Q_EMIT ended();
}
