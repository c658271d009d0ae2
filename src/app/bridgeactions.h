#pragma once

#include "bridge/bridgemanager.h"

#include <QObject>
#include <QPointer>
#include <QVariantMap>

class BridgeWindow;
class PaneSet;
class QAction;
class QSettings;
class QWidget;

// The bridges between the panes of the window: hands the panes to the manager whenever they come or
// go, brings the configurations to and from session files and the application store, opens the
// bridge window, and puts badges on the panes. Owned by the main window.
class BridgeActions final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BridgeActions)

public:
    BridgeActions(QAction* action, PaneSet& panes, QWidget* window);
    ~BridgeActions() override;

    [[nodiscard]] BridgeManager& manager() { return m_manager; }
    // Hands the panes that there are to the manager.
    void sync();

    // The group "Bridge" of a session file.
    [[nodiscard]] QVariantMap stored() const;
    // Bridges that make no sense are left out, and told in a box.
    void restore(const QVariantMap& group);
    // The same for the application store, where nobody asked for them: nothing is told.
    void save(QSettings& store) const;
    void load(const QSettings& store);
    // The window closes: the ports are closed one by one, and nothing may open them again.
    void end();

Q_SIGNALS:
    // By the person at the desk: it is to be saved.
    void edited();

private:
    void showWindow();
    void showBadges();

    PaneSet& m_panes;
    QWidget* m_window;
    BridgeManager m_manager;
    QPointer<BridgeWindow> m_bridgeWindow;
    bool m_restoring = false;
};
