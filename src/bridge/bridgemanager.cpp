#include "bridge/bridgemanager.h"

#include "bridge/bridgecodec.h"
#include "connections/connectioncontroller.h"
#include "connections/peerallowlist.h"

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

bool fail(QString* error, const QString& text)
{
    if (error)
        *error = text;
    return text.isEmpty();
}

// Whether bytes go from that port to that port.
bool forwards(const BridgeConfig& config, int from, int to)
{
    return (config.portA == from && config.portB == to && config.forwardsAToB())
           || (config.portB == from && config.portA == to && config.forwardsBToA());
}

bool feeds(const BridgeConfig& config, int port)
{
    return (config.portA == port && config.forwardsBToA())
           || (config.portB == port && config.forwardsAToB());
}

bool takesFrom(const BridgeConfig& config, int port)
{
    return (config.portA == port && config.forwardsAToB())
           || (config.portB == port && config.forwardsBToA());
}

QString addressOf(const QString& peerKey)
{
    return peerKey.left(peerKey.lastIndexOf(u':'));
}

} // namespace

void BridgeManager::LaterDeleter::operator()(BridgeLink* link) const
{
    link->stop();
    link->disconnect();
    link->deleteLater();
}

BridgeManager::BridgeManager(QObject* parent)
    : QObject(parent)
{}

BridgeManager::~BridgeManager()
{
    // The links must not outlive the endpoints, for which the event loop may be too late.
    for (LinkPointer& link : m_links)
        delete link.release();
}

void BridgeManager::setPorts(const QList<LivePort*>& ports)
{
    const auto isSame = [this](std::size_t at, const LivePort* port) {
        return at < m_endpoints.size() && m_endpoints[at]->port() == port;
    };
    std::size_t same = 0;
    while (same < std::size_t(ports.size()) && isSame(same, ports.at(qsizetype(same))))
        ++same;
    if (same == m_endpoints.size() && same == std::size_t(ports.size()))
        return;
    // Links of the endpoints that go, go before them.
    for (std::size_t at = 0; at < m_links.size(); ++at) {
        const BridgeConfig& config = m_configs.at(qsizetype(at));
        if (std::size_t(qMax(config.portA, config.portB)) >= same)
            delete m_links[at].release();
    }
    m_endpoints.resize(same);
    for (auto at = qsizetype(same); at < ports.size(); ++at) {
        m_endpoints.push_back(std::make_unique<PortEndpoint>(*ports.at(at), int(at) + 1));
        connect(m_endpoints.back().get(), &PortEndpoint::changed, this, &BridgeManager::refreshAll);
    }
    pruneConfigsForPortCount();
    rebuildLinks();
}

void BridgeManager::pruneConfigsForPortCount()
{
    const qsizetype before = m_configs.size();
    for (qsizetype at = m_configs.size() - 1; at >= 0; --at) {
        if (qMax(m_configs.at(at).portA, m_configs.at(at).portB) < portCount())
            continue;
        m_configs.removeAt(at);
        m_links.erase(m_links.begin() + at);
    }
    if (m_configs.size() != before)
        Q_EMIT configsChanged();
}

QStringList BridgeManager::setConfigs(const QList<BridgeConfig>& configs)
{
    QStringList refusals;
    const QList<BridgeConfig> former = std::exchange(m_configs, {});
    std::vector<LinkPointer> links = std::exchange(m_links, {});
    for (const BridgeConfig& config : configs) {
        QString error;
        if (m_configs.size() >= BridgeCodec::kMaxBridges || !validate(config, -1, &error)) {
            refusals.append(tr("Bridge \"%1\": %2").arg(config.name, error));
            continue;
        }
        m_configs.append(config.sanitized());
        const qsizetype old = former.indexOf(m_configs.constLast());
        const bool kept = old >= 0 && links[std::size_t(old)];
        m_links.push_back(kept ? std::move(links[std::size_t(old)]) : LinkPointer());
    }
    links.clear();
    rebuildLinks();
    return refusals;
}

BridgeManager::LinkPointer BridgeManager::makeLink(const BridgeConfig& config)
{
    LinkPointer link(new BridgeLink(config, endpointFor(config.portA), endpointFor(config.portB)));
    connect(link.get(), &BridgeLink::stateChanged, this, &BridgeManager::changed);
    return link;
}

void BridgeManager::rebuildLinks()
{
    m_links.resize(std::size_t(m_configs.size()));
    for (std::size_t at = 0; at < m_links.size(); ++at) {
        if (!m_links[at])
            m_links[at] = makeLink(m_configs.at(qsizetype(at)));
    }
    applyPortBridgeState();
    for (const LinkPointer& link : m_links)
        link->start();
    refreshAll();
}

void BridgeManager::clearLinks()
{
    m_links.clear();
    m_links.resize(std::size_t(m_configs.size()));
    applyPortBridgeState();
    refreshAll();
}

bool BridgeManager::addLink(const BridgeConfig& config, QString* error)
{
    if (m_configs.size() >= BridgeCodec::kMaxBridges)
        return fail(error, tr("There cannot be more bridges."));
    if (!validate(config, -1, error))
        return false;
    m_configs.append(config.sanitized());
    m_links.emplace_back();
    changeConfigs();
    return true;
}

bool BridgeManager::updateLink(int index, const BridgeConfig& config, QString* error)
{
    if (!linkAt(index) || !validate(config, index, error))
        return false;
    const BridgeConfig& former = m_configs.at(index);
    const bool samePorts = former.portA == config.portA && former.portB == config.portB;
    m_configs[index] = config.sanitized();
    if (samePorts)
        m_links[std::size_t(index)]->setConfig(config);
    else
        m_links[std::size_t(index)].reset();
    changeConfigs();
    return true;
}

void BridgeManager::removeLink(int index)
{
    if (!linkAt(index))
        return;
    m_links.erase(m_links.begin() + index);
    m_configs.removeAt(index);
    changeConfigs();
}

void BridgeManager::changeConfigs()
{
    rebuildLinks();
    Q_EMIT configsChanged();
}

BridgeLink* BridgeManager::linkAt(int index) const
{
    return index >= 0 && index < linkCount() ? m_links[std::size_t(index)].get() : nullptr;
}

PortEndpoint* BridgeManager::endpointFor(int port) const
{
    return port >= 0 && port < portCount() ? m_endpoints[std::size_t(port)].get() : nullptr;
}

bool BridgeManager::isServer(int port) const
{
    const PortEndpoint* endpoint = endpointFor(port);
    return endpoint && endpoint->isServer();
}

bool BridgeManager::validate(const BridgeConfig& config, int ignoreIndex, QString* error) const
{
    if (config.portA < 0 || config.portB < 0)
        return fail(error, tr("Both ends must name a port"));
    if (config.portA >= portCount() || config.portB >= portCount())
        return fail(error, tr("Port number is out of range"));
    if (config.portA == config.portB)
        return fail(error, tr("A bridge needs two different ports"));
    if (const QString overlap = overlapOf(config, ignoreIndex); !overlap.isEmpty())
        return fail(error, overlap);
    for (const int port : {config.portA, config.portB}) {
        if (const LivePort* live = endpointFor(port)->port(); live && live->isLent())
            return fail(error, tr("Port %1 is transferring a file").arg(port + 1));
    }
    if (config.protocol == ProtocolMode::ModbusGateway && config.direction != BridgeDirection::Both)
        return fail(error, tr("A Modbus gateway needs both directions"));
    return fail(error, allowedPeersConflict(config, ignoreIndex));
}

QString BridgeManager::overlapOf(const BridgeConfig& config, int ignoreIndex) const
{
    for (qsizetype at = 0; at < m_configs.size(); ++at) {
        const BridgeConfig& other = m_configs.at(at);
        const bool overlaps = (forwards(config, config.portA, config.portB)
                                  && forwards(other, config.portA, config.portB))
                              || (forwards(config, config.portB, config.portA)
                                  && forwards(other, config.portB, config.portA));
        if (at != ignoreIndex && overlaps)
            return tr("That direction is already bridged");
    }
    return {};
}

// A server has one list of those who may connect. Two different ones could only be mixed, and
// would then let somebody in whom one bridge keeps out.
QString BridgeManager::allowedPeersConflict(const BridgeConfig& config, int ignoreIndex) const
{
    for (qsizetype at = 0; at < m_configs.size(); ++at) {
        const BridgeConfig& other = m_configs.at(at);
        if (at == ignoreIndex || other.allowedPeers == config.allowedPeers
            || other.allowedPeers.isEmpty() || config.allowedPeers.isEmpty())
            continue;
        for (const int port : {config.portA, config.portB}) {
            if (other.uses(port) && isServer(port))
                return tr("Another bridge allows other addresses at port %1").arg(port + 1);
        }
    }
    return {};
}

QString BridgeManager::fanInWarning(const BridgeConfig& config, int ignoreIndex) const
{
    for (const auto& [from, to] :
        {std::pair{config.portA, config.portB}, std::pair{config.portB, config.portA}}) {
        if (!forwards(config, from, to))
            continue;
        const bool shared = isServer(from) && config.fanout == FanoutMode::Shared
                            && config.protocol != ProtocolMode::ModbusGateway;
        if (shared && !isServer(to)) {
            return tr("Several clients of port %1 can write to port %2 at the same time: what they "
                      "send may mix. Let them take turns if the device answers requests.")
                .arg(from + 1)
                .arg(to + 1);
        }
        for (qsizetype at = 0; at < m_configs.size(); ++at) {
            if (at != ignoreIndex && feeds(m_configs.at(at), to)) {
                return tr("Another bridge writes to port %1 as well: what they send may mix.")
                    .arg(to + 1);
            }
        }
    }
    return {};
}

QString BridgeManager::badgeTextForPort(int port) const
{
    QStringList badges;
    for (const LinkPointer& link : m_links) {
        if (!link || !link->config().enabled || !link->config().uses(port))
            continue;
        const BridgeConfig& config = link->config();
        const int other = config.portA == port ? config.portB : config.portA;
        const bool out = takesFrom(config, port);
        QString text = (out ? (feeds(config, port) ? u"⇄ "_s : u"→ "_s) : u"← "_s)
                       + QString::number(other + 1);
        const BridgeState state = link->state();
        if (state == BridgeState::Degraded || state == BridgeState::Suspended)
            text += u" (%1)"_s.arg(BridgeLink::stateText(state));
        badges.append(text);
    }
    return badges.join(", "_L1);
}

QStringList BridgeManager::remoteClientsForPort(int port) const
{
    const PortEndpoint* endpoint = endpointFor(port);
    const bool bridged = std::ranges::any_of(
        m_links, [port](const LinkPointer& link) { return link && link->config().uses(port); });
    if (!bridged || !endpoint || !endpoint->isServer() || !endpoint->isOpen())
        return {};
    return endpoint->port()->transport()->peers();
}

void BridgeManager::applyPortBridgeState()
{
    for (int port = 0; port < portCount(); ++port)
        applyTo(port);
}

void BridgeManager::applyTo(int port)
{
    LivePort* live = endpointFor(port)->port();
    if (!live)
        return;
    std::optional<BridgeUse> use;
    FanoutMode fanout = FanoutMode::Shared;
    QStringList allowed;
    for (const LinkPointer& link : m_links) {
        if (!link || !link->config().enabled || !link->config().uses(port))
            continue;
        const BridgeConfig& config = link->config();
        BridgeUse& now = use ? *use : use.emplace(BridgeUse{.show = false});
        now.takesReceived = now.takesReceived || takesFrom(config, port);
        now.show = now.show || config.showForwardedInDisplay;
        if (config.showForwardedInDisplay)
            now.muteBytesPerSec = qMax(now.muteBytesPerSec, config.displayMuteBytesPerSec);
        // One at a time is the strictest, taking turns the next.
        if (config.fanout != FanoutMode::Shared && fanout != FanoutMode::Exclusive)
            fanout = config.fanout;
        if (allowed.isEmpty())
            allowed = config.allowedPeers;
    }
    live->setBridged(use);
    ConnectionController& controller = live->controller();
    controller.setTcpServerFanout(fanout);
    controller.setAllowedPeers(allowed);
    const PeerAllowlist list(allowed);
    for (const QString& client : controller.tcpServerClients()) {
        if (!list.allows(QHostAddress(addressOf(client))))
            controller.disconnectTcpServerClient(client);
    }
}

void BridgeManager::refreshAll()
{
    Q_EMIT changed();
}
