#pragma once

#include <QHash>
#include <QList>
#include <QObject>

class QAction;
class QMainWindow;
class QMenu;
class QMenuBar;
class QToolBar;

// Why an action can or cannot be triggered.
enum class Availability : int {
    Ready,
    Later,       // its function is not in this version
    NeedsSignIn, // it belongs to a cloud account
};

// What not every action has.
struct ActionOptions
{
    QString toolTip = {}; // empty: the label
    const char* key = "";
    bool checkable = false;
    Availability availability = Availability::Ready;
    const char* icon = "";   // resource below ":/icons", empty for none
    QString shortLabel = {}; // for the toolbar
};

// The main window's actions and their places in menu bar and toolbar. Knows what an action is
// called, not what it does. An action whose function does not exist yet is disabled and says why in
// its tool tip.
class MainActions final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MainActions)

public:
    // Fills the window's menu bar.
    explicit MainActions(QMainWindow* window);
    ~MainActions() override = default;

    // The action of that object name; naming one that there is not is a fault of the program.
    [[nodiscard]] QAction* action(QLatin1StringView name) const;

    void fillToolBar(QToolBar& bar) const;

    struct RecentFiles
    {
        QAction* separator = nullptr;
        QList<QAction*> files; // without a text yet
        QMenu* forgetMenu = nullptr;
    };
    // Puts actions for so many recent files into the File menu, above Exit.
    [[nodiscard]] RecentFiles addRecentFiles(int count) const;

    // Start, pause and stop as the connection allows them.
    void setConnectionState(bool running, bool paused, bool active) const;
    static constexpr int kNumberedPorts = 9; // those that have a key of their own

    // Add, remove and move between ports as their number and their columns allow.
    void setPaneCount(int count, int maximum, int columns) const;
    void setZoomed(bool zoomed) const;
    // The quick settings action names what triggering it does.
    void setQuickSettingsShown(bool shown) const;

private:
    void addFileMenu();
    void addConnectionMenu();
    void addViewMenu();
    void addGoToMenu();
    void addToolsMenu();
    void addCloudMenu();
    void addLanguageMenu();
    void addHelpMenu();
    void addDebugMenu();
    void beginMenu(QLatin1StringView name, const QString& title);
    // At the end of the menu begun last.
    void add(const char* name, const QString& label, const ActionOptions& options = {});
    [[nodiscard]] static QString toolTipText(const QString& label, const ActionOptions& options);

    QMenuBar* m_bar;
    QMenu* m_menu = nullptr;
    QHash<QString, QAction*> m_actions;
};
