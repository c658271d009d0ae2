#pragma once

#include "settings/sessioncontents.h"
#include "settings/sessionstate.h"
#include "transfer/engine/xferconfig.h"

#include <QElapsedTimer>
#include <QMainWindow>
#include <QSettings>
#include <QTimer>
#include <functional>
#include <memory>

class BridgeActions;
class LogActions;
class MainActions;
class MainStatusBar;
class PaneCloser;
class PaneDialogs;
class PaneSet;
class PaneWorkspace;
class PortArea;
class PortGrid;
class PortSelector;
class PortWatch;
class ProgramOptions;
class RecentFilesModel;
class SerialPortCatalog;
class SerialPortWidget;
class SessionDocument;
class TransferActions;

// The window of the program: the port panes in their grid, menus, toolbar and status bar, and the
// workspace that comes back at the next start. A façade: what an action is stands in MainActions,
// which panes there are, how they stand and are opened in PaneWorkspace over PaneSet and PortGrid,
// how they go in PaneCloser, what the bars show in PortSelector and MainStatusBar, what
// happens to session files in SessionDocument.
//
// Owns the SessionState in force. Reads and writes the application store: loads in the
// constructor, saves when closed, stores its geometry when destroyed.
class MainWindow final : public QMainWindow
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MainWindow)

public:
    static constexpr int kMaxPanes = SessionContents::kMaxPanes;
    // The display is refreshed at once when something moves, and so often at the most; after that
    // a few times more, until the rates have fallen to nothing.
    static constexpr int kDisplayRefreshMs = 100;
    static constexpr int kQuietRefreshMs = 500;
    static constexpr int kQuietTicks = 3;
    static constexpr int kLeaveMs = 5000;

    // What the window opens by itself. Nothing is for a window that is about to load a session: a
    // port that is opened and closed again resets many boards.
    enum class Restore { LastConnection, Nothing };

    // The catalog names the serial ports of the machine and must outlive the window.
    explicit MainWindow(SerialPortCatalog& catalog, Restore restore = Restore::LastConnection,
        QWidget* parent = nullptr);
    ~MainWindow() override;

    // Opens every pane, or with a port name only the first pane with that serial port. A failure
    // of the first pane is told in a box, or in the status bar when quiet; the others go on.
    void start(const QString& portName, bool quiet);
    void stop();
    // Opens the dialog that starts a transfer on the current pane.
    void startFileTransfer(XferDirection direction);
    void refreshTransferActions();

    // Makes the next pane, for slot `index`; updateGrid() places it. There must be fewer than
    // kMaxPanes.
    [[nodiscard]] SerialPortWidget* createPortWidget(int index);
    // Hands the panes that there are to the bridges.
    void syncBridgePorts();
    void rebuildPortLayout();
    void updateGrid();
    // The existing panes in slot order.
    [[nodiscard]] QList<SerialPortWidget*> livePortWidgets() const;
    // The pane that has the keyboard focus, or null.
    [[nodiscard]] SerialPortWidget* focusedPortWidget() const;
    // The pane that had it last.
    [[nodiscard]] SerialPortWidget* currentPortWidget() const;

    // Adds a pane with these records and puts all panes side by side. Null when there are kMaxPanes
    // already.
    SerialPortWidget* addPort(const Settings& settings, const FormatSetting& format);

    // The stored state with what the first pane is set to now.
    [[nodiscard]] SessionState currentSessionState() const;
    void applySessionToPrimaryPort();
    void applyAutoReconnectToPorts();
    void applyQuickSettingsGroupsToPorts();
    // Stores the workspace in the application store; false with a reason for people when that
    // fails.
    bool writeSettings(QString& reason);
    // Opens a session file; false, and told in a box, when it cannot be read.
    bool loadFile(const QString& fileName);
    [[nodiscard]] SessionDocument& document() const { return *m_document; }

    // Stores all and closes without asking anything, whatever is open: nobody can wait for an
    // answer. `then` comes after kLeaveMs at the latest.
    void closeUnasked(std::function<void()> then);
    // One tick of the display refresh.
    void onUpdateDisplay();
    // Moves the first pane to another serial port and opens it.
    void changePort(const QString& portName);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void buildBars();
    void buildDocument();
    void connectPanes();
    void connectFileActions();
    void connectPortActions();
    void connectViewActions();
    void connectHelpActions();
    template<class Receiver, class Slot>
    void onAction(QLatin1StringView name, Receiver* receiver, Slot slot);
    void refreshStatusBar();
    void showPorts();
    void wake();
    void displayTick();
    void showArrangement();
    void removePort();
    void leave();
    void setAlwaysOnTop(bool on);
    void forEachPane(void (SerialPortWidget::*operation)()) const;
    [[nodiscard]] SerialPortWidget& firstPane() const;

    SerialPortCatalog& m_catalog;
    QSettings m_store;
    SessionState m_state;
    PortWatch* m_portWatch;
    MainActions* m_actions;
    PortGrid* m_grid;
    PortArea* m_area;
    std::unique_ptr<PaneSet> m_panes;
    PaneWorkspace* m_workspace;
    PortSelector* m_portSelector;
    MainStatusBar* m_statusBar;
    ProgramOptions* m_options;
    PaneDialogs* m_dialogs;
    LogActions* m_logActions;
    TransferActions* m_transfers;
    BridgeActions* m_bridges;
    RecentFilesModel* m_recentFiles = nullptr;
    SessionDocument* m_document = nullptr;
    PaneCloser* m_closer;
    bool m_inCloseEvent = false;
    bool m_left = false; // the panes are closed and the workspace is stored, or cannot be
    QElapsedTimer m_clock;
    QTimer m_displayTimer; // runs until nothing has moved for a while
    qint64 m_displayedMs = 0;
    int m_quietTicks = 0;
};
