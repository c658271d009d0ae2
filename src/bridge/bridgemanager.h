#pragma once

#include "bridge/bridgelink.h"

#include <QList>
#include <QObject>
#include <memory>
#include <vector>

// All bridges of a window or a gateway: their configurations, a link for each, and an endpoint for
// each port. Ports are known by their index in setPorts(), from 0; people count from 1.
//
// Ports come and go by setPorts(): bridges that name a port that is no more are dropped, all others
// are left alone as long as their ports are the same ones. What bridges want of a port (who may
// connect, how many, what its view shows) is put together here, since a port may have several.
// The ports outlive the manager or are taken from it by setPorts() before they go.
class BridgeManager final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BridgeManager)

public:
    explicit BridgeManager(QObject* parent = nullptr);
    ~BridgeManager() override;

    void setPorts(const QList<LivePort*>& ports);
    [[nodiscard]] int portCount() const { return int(m_endpoints.size()); }

    // Takes the place of all bridges; links of configurations that stay as they are go on. What
    // makes no sense is left out: the texts say which and why.
    QStringList setConfigs(const QList<BridgeConfig>& configs);
    [[nodiscard]] QList<BridgeConfig> configs() const { return m_configs; }

    // False with the reason when the configuration is refused.
    bool addLink(const BridgeConfig& config, QString* error = nullptr);
    bool updateLink(int index, const BridgeConfig& config, QString* error = nullptr);
    void removeLink(int index);
    // Null for an index that names none.
    [[nodiscard]] BridgeLink* linkAt(int index) const;
    [[nodiscard]] int linkCount() const { return int(m_links.size()); }
    // Null for a port that is not there.
    [[nodiscard]] PortEndpoint* endpointFor(int port) const;

    // `ignoreIndex` is the bridge that the configuration would replace, -1 for none.
    bool validate(const BridgeConfig& config, int ignoreIndex, QString* error = nullptr) const;
    // Why such a bridge may mix what several senders say; empty when it cannot.
    [[nodiscard]] QString fanInWarning(const BridgeConfig& config, int ignoreIndex) const;
    // What a pane says of its bridges, short: "⇄ 2", "→ 3 (Suspended)"; empty without any.
    [[nodiscard]] QString badgeTextForPort(int port) const;
    // Clients that are connected to a TCP server that is bridged.
    [[nodiscard]] QStringList remoteClientsForPort(int port) const;

    // Tells each port what its bridges want of it.
    void applyPortBridgeState();
    // Drops the configurations that name a port that is not there.
    void pruneConfigsForPortCount();
    // A link for each configuration, kept where nothing has changed.
    void rebuildLinks();
    // States and badges may be others.
    void refreshAll();
    // Ends all links; the configurations stay.
    void clearLinks();

Q_SIGNALS:
    // By addLink(), updateLink(), removeLink() or pruning: what is stored is another.
    void configsChanged();
    // A state, an error text or a badge may be another.
    void changed();

private:
    struct LaterDeleter
    {
        void operator()(BridgeLink* link) const;
    };
    // A slot of one of its signals may end a link.
    using LinkPointer = std::unique_ptr<BridgeLink, LaterDeleter>;

    [[nodiscard]] LinkPointer makeLink(const BridgeConfig& config);
    [[nodiscard]] QString overlapOf(const BridgeConfig& config, int ignoreIndex) const;
    [[nodiscard]] QString allowedPeersConflict(const BridgeConfig& config, int ignoreIndex) const;
    void applyTo(int port);
    [[nodiscard]] bool isServer(int port) const;
    void changeConfigs();

    std::vector<std::unique_ptr<PortEndpoint>> m_endpoints;
    QList<BridgeConfig> m_configs;    // at most BridgeCodec::kMaxBridges
    std::vector<LinkPointer> m_links; // of the same index
};
