#pragma once

#include "app/portlistmonitor.h"
#include "app/settings/sessionstate.h"

#include <QElapsedTimer>
#include <QMainWindow>
#include <QSettings>
#include <QTimer>

class LogActions;
class MainActions;
class MainStatusBar;
class PortGrid;
class PortSelector;
class SerialPortCatalog;
class SerialPortWidget;
class ToolWindows;

// The window of the program: the port panes in their grid, menus, toolbar and status bar, and the
// workspace that comes back at the next start. A façade: what an action is stands in MainActions,
// where panes stand in PortGrid, what the bars show in PortSelector and MainStatusBar.
//
// Owns the panes (at most maxPanes) and the SessionState in force. Reads and writes the application
// store: loads in the constructor, saves when closed, stores its geometry when destroyed.
class MainWindow final : public QMainWindow
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MainWindow)

public:
    static constexpr int maxPanes = 16;
    static constexpr int displayRefreshMs = 100;

    // The catalog names the serial ports of the machine and must outlive the window.
    explicit MainWindow(SerialPortCatalog& catalog, QWidget* parent = nullptr);
    ~MainWindow() override;

    // Opens every pane, or with a port name only the first pane with that serial port. A failure
    // of the first pane is told in a box, or in the status bar when quiet; the others go on.
    void start(const QString& portName, bool quiet);
    void stop();

    // Makes the pane for that slot; updateGrid() places it.
    [[nodiscard]] SerialPortWidget* createPortWidget(int index);
    void rebuildPortLayout();
    void updateGrid();
    // The existing panes in slot order.
    [[nodiscard]] QList<SerialPortWidget*> livePortWidgets() const { return m_panes; }
    // The pane that has the keyboard focus, or null.
    [[nodiscard]] SerialPortWidget* focusedPortWidget() const;
    // The same, or the first pane while the focus is elsewhere.
    [[nodiscard]] SerialPortWidget* currentPortWidget() const;

    // The stored state with what the first pane is set to now.
    [[nodiscard]] SessionState currentSessionState() const;
    void applySessionToPrimaryPort();
    void applyAutoReconnectToPorts();
    void writeSettings();

    // One tick of the display refresh.
    void onUpdateDisplay();
    // Moves the first pane to another serial port and opens it.
    void changePort(const QString& portName);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void buildBars();
    void connectPortActions();
    void connectViewActions();
    void connectOptionActions();
    void connectToolActions();
    void connectHelpActions();
    void onAction(QLatin1StringView name, void (MainWindow::*slot)());
    void restoreLastConnection();
    void refreshStatusBar();
    void toggleQuickSettings();
    void setAlwaysOnTop(bool on);
    void chooseLanguage(bool chinese);
    void openFind();
    void pauseAll();
    void clearAll();
    void clearAllHistories();
    bool openPane(int index, const QString& portName, bool quiet);
    [[nodiscard]] SerialPortWidget& firstPane() const { return *m_panes.constFirst(); }

    SerialPortCatalog& m_catalog;
    QSettings m_store;
    SessionState m_state;
    PortListMonitor m_portList;
    MainActions* m_actions;
    PortGrid* m_grid;
    PortSelector* m_portSelector;
    MainStatusBar* m_statusBar;
    ToolWindows* m_toolWindows;
    LogActions* m_logActions;
    QList<SerialPortWidget*> m_panes; // children of the grid's splitters, at most maxPanes
    int m_columnCount = 1;
    bool m_quickSettingsShown = true;
    QElapsedTimer m_clock;
    QTimer m_displayTimer;
};
