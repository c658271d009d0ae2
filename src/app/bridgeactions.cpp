#include "app/bridgeactions.h"

#include "app/messageboxes.h"
#include "app/paneset.h"
#include "bridge/bridgecodec.h"
#include "bridge/ui/bridgewindow.h"
#include "terminal/pane/serialportwidget.h"

#include <QAction>
#include <QScopedValueRollback>

BridgeActions::BridgeActions(QAction* action, PaneSet& panes, QWidget* window)
    : QObject(window)
    , m_panes(panes)
    , m_window(window)
{
    connect(action, &QAction::triggered, this, &BridgeActions::showWindow);
    connect(&m_manager, &BridgeManager::configsChanged, this, [this] {
        if (!m_restoring)
            Q_EMIT edited();
    });
    connect(&m_manager, &BridgeManager::changed, this, &BridgeActions::showBadges);
}

BridgeActions::~BridgeActions()
{
    delete m_bridgeWindow;
    m_manager.disconnect(this);
}

void BridgeActions::sync()
{
    QList<LivePort*> ports;
    for (SerialPortWidget* pane : m_panes.panes())
        ports.append(&pane->port());
    m_manager.setPorts(ports);
    showBadges();
}

QVariantMap BridgeActions::stored() const
{
    return BridgeCodec::toMap(m_manager.configs());
}

void BridgeActions::restore(const QVariantMap& group)
{
    const QScopedValueRollback restoring(m_restoring, true);
    sync();
    const QStringList refused = m_manager.setConfigs(BridgeCodec::fromMap(group));
    if (!refused.isEmpty()) {
        MessageBoxes::showWarning(m_window, tr("Some bridges of the session make no sense here."),
            refused.mid(0, 10).join(u'\n'));
    }
}

void BridgeActions::save(QSettings& store) const
{
    BridgeCodec::save(store, m_manager.configs());
}

void BridgeActions::load(const QSettings& store)
{
    const QScopedValueRollback restoring(m_restoring, true);
    sync();
    m_manager.setConfigs(BridgeCodec::load(store));
}

void BridgeActions::showWindow()
{
    if (!m_bridgeWindow)
        m_bridgeWindow = new BridgeWindow(m_manager, m_window);
    m_bridgeWindow->show();
    m_bridgeWindow->raise();
    m_bridgeWindow->activateWindow();
}

void BridgeActions::end()
{
    m_manager.clearLinks();
}

void BridgeActions::showBadges()
{
    QStringList badges;
    for (int port = 0; port < m_panes.count(); ++port)
        badges.append(m_manager.badgeTextForPort(port));
    m_panes.showBadges(badges);
}
