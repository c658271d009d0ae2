#pragma once

#include <QHash>
#include <QList>
#include <QObject>
#include <span>

class QAction;
class QMenu;
class QMenuBar;
class QToolBar;

// Menus in the order of the menu bar.
enum class MenuId : int { File, Connection, View, Tools, Cloud, Language, Help, Debug };

// Why an action can or cannot be triggered.
enum class Availability : int {
    Ready,
    Later,       // its function is not in this version
    NeedsSignIn, // it belongs to a cloud account
};

// One action of the main window. Texts are untranslated, context "MainWindow".
struct ActionRow
{
    const char* name = ""; // object name
    const char* label = "";
    MenuId menu = MenuId::File;
    const char* shortcut = "";
    const char* toolTip = ""; // empty: the label
    Availability availability = Availability::Ready;
    bool checkable = false;
    bool startsSection = false;  // a separator stands before it
    const char* icon = "";       // resource below ":/icons", empty for none
    const char* shortLabel = ""; // for the toolbar
};

struct MenuRow
{
    MenuId id;
    const char* title;
    const char* name; // object name
};

[[nodiscard]] std::span<const MenuRow> mainMenuRows();
// In the order in which they stand in their menus.
[[nodiscard]] std::span<const ActionRow> mainActionRows();

// The main window's actions, made from the table, and their places in menu bar and toolbar. Knows
// what an action is called, not what it does. An action whose function does not exist yet is
// disabled and says why in its tool tip.
class MainActions final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MainActions)

public:
    explicit MainActions(QObject* parent);
    ~MainActions() override = default;

    // The action of that object name; naming one that the table lacks is a fault of the program.
    [[nodiscard]] QAction* action(QLatin1StringView name) const;

    void fillMenuBar(QMenuBar& bar) const;
    void fillToolBar(QToolBar& bar) const;
    struct RecentFiles
    {
        QAction* separator = nullptr;
        QList<QAction*> files; // without a text yet
        QMenu* forgetMenu = nullptr;
    };
    // Puts actions for so many recent files into the File menu of a filled bar, above Exit.
    [[nodiscard]] RecentFiles addRecentFiles(QMenuBar& bar, int count) const;

    // Start, pause and stop as the connection allows them.
    void setConnectionState(bool running, bool paused, bool active) const;
    // Add, remove and move between ports as their number allows.
    void setPaneCount(int count, int maximum) const;
    // The quick settings action names what triggering it does.
    void setQuickSettingsShown(bool shown) const;

private:
    [[nodiscard]] QAction* makeAction(const ActionRow& row);

    QHash<QString, QAction*> m_actions;
};
