#include "app/mainactions.h"

#include "app/symbolicicon.h"

#include <QAction>
#include <QCoreApplication>
#include <QMenuBar>
#include <QToolBar>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

using enum Availability;

constexpr std::array menuRows{
    MenuRow{MenuId::File, QT_TRANSLATE_NOOP("MainWindow", "&File"), "menuFile"},
    MenuRow{MenuId::Connection, QT_TRANSLATE_NOOP("MainWindow", "&Connection"), "menuConnection"},
    MenuRow{MenuId::View, QT_TRANSLATE_NOOP("MainWindow", "&View"), "menuView"},
    MenuRow{MenuId::Tools, QT_TRANSLATE_NOOP("MainWindow", "&Tools"), "menuTools"},
    MenuRow{MenuId::Cloud, QT_TRANSLATE_NOOP("MainWindow", "Cl&oud"), "menuCloud"},
    MenuRow{MenuId::Language, QT_TRANSLATE_NOOP("MainWindow", "Language"), "menuLanguage"},
    MenuRow{MenuId::Help, QT_TRANSLATE_NOOP("MainWindow", "&Help"), "menuHelp"},
    MenuRow{MenuId::Debug, QT_TRANSLATE_NOOP("MainWindow", "&Debug"), "menuDebug"},
};

constexpr std::array actionRows{
    ActionRow{"acFileNew", QT_TRANSLATE_NOOP("MainWindow", "&New..."), MenuId::File, "",
        QT_TRANSLATE_NOOP("MainWindow", "Begin with one port and default settings")},
    ActionRow{"acFileOpen", QT_TRANSLATE_NOOP("MainWindow", "&Open Settings..."), MenuId::File, "",
        QT_TRANSLATE_NOOP("MainWindow", "Open the ports and settings of a file")},
    ActionRow{"acFileSave", QT_TRANSLATE_NOOP("MainWindow", "&Save Settings..."), MenuId::File,
        "Ctrl+S", QT_TRANSLATE_NOOP("MainWindow", "Save current config")},
    ActionRow{"acFileSaveAs", QT_TRANSLATE_NOOP("MainWindow", "Save Settings &As..."), MenuId::File,
        "", QT_TRANSLATE_NOOP("MainWindow", "Save current settings as new file")},
    ActionRow{.name = "acFileRecordDataLog",
        .label = QT_TRANSLATE_NOOP("MainWindow", "&Log Recording"),
        .menu = MenuId::File,
        .toolTip = QT_TRANSLATE_NOOP("MainWindow", "Record all port messages as log files"),
        .checkable = true,
        .startsSection = true},
    ActionRow{"acFileViewCurrentDataLog", QT_TRANSLATE_NOOP("MainWindow", "&View Current Data Log"),
        MenuId::File},
    ActionRow{
        "acFileOpenLogFolder", QT_TRANSLATE_NOOP("MainWindow", "Open Log &Folder"), MenuId::File},
    ActionRow{.name = "acFileExit",
        .label = QT_TRANSLATE_NOOP("MainWindow", "E&xit"),
        .menu = MenuId::File,
        .shortcut = "Ctrl+Q",
        .startsSection = true},

    ActionRow{"actionNew_Connection", QT_TRANSLATE_NOOP("MainWindow", "&New Connection"),
        MenuId::Connection, "",
        QT_TRANSLATE_NOOP("MainWindow", "Choose a port or an address and open it")},
    ActionRow{.name = "acMonStart",
        .label = QT_TRANSLATE_NOOP("MainWindow", "&Start"),
        .menu = MenuId::Connection,
        .shortcut = "F5",
        .toolTip = QT_TRANSLATE_NOOP("MainWindow", "Open the connection, or go on after a pause"),
        .startsSection = true,
        .icon = "media-playback-start"},
    ActionRow{.name = "acEditPause",
        .label = QT_TRANSLATE_NOOP("MainWindow", "&Pause"),
        .menu = MenuId::Connection,
        .shortcut = "F6",
        .toolTip =
            QT_TRANSLATE_NOOP("MainWindow", "Hold the display; what arrives is kept for later"),
        .icon = "media-playback-pause"},
    ActionRow{.name = "acMonStop",
        .label = QT_TRANSLATE_NOOP("MainWindow", "S&top"),
        .menu = MenuId::Connection,
        .shortcut = "F7",
        .toolTip = QT_TRANSLATE_NOOP("MainWindow", "Close the connection"),
        .icon = "media-playback-stop"},
    ActionRow{.name = "acEditClear",
        .label = QT_TRANSLATE_NOOP("MainWindow", "&Clear All Displays"),
        .menu = MenuId::Connection,
        .shortcut = "Ctrl+L",
        .toolTip = QT_TRANSLATE_NOOP("MainWindow", "Clear the receive views and their counters"),
        .startsSection = true,
        .icon = "edit-clear-history",
        .shortLabel = QT_TRANSLATE_NOOP("MainWindow", "Clear")},
    ActionRow{"actionClearSendHistory",
        QT_TRANSLATE_NOOP("MainWindow", "Clear All Send &Histories"), MenuId::Connection, "",
        QT_TRANSLATE_NOOP("MainWindow", "Forget what was sent before, in every pane")},
    ActionRow{.name = "acEditFind",
        .label = QT_TRANSLATE_NOOP("MainWindow", "&Find..."),
        .menu = MenuId::Connection,
        .shortcut = "Ctrl+F",
        .toolTip = QT_TRANSLATE_NOOP("MainWindow", "Find text in the receive view"),
        .icon = "edit-find"},
    ActionRow{.name = "acEditAdd",
        .label = QT_TRANSLATE_NOOP("MainWindow", "&Add Port"),
        .menu = MenuId::Connection,
        .toolTip = QT_TRANSLATE_NOOP("MainWindow", "Show one more port beside the others"),
        .startsSection = true},
    ActionRow{"acEditRemove", QT_TRANSLATE_NOOP("MainWindow", "&Remove Port"), MenuId::Connection,
        "", QT_TRANSLATE_NOOP("MainWindow", "Close the last port and take it away")},
    ActionRow{.name = "acControlOpen",
        .label = QT_TRANSLATE_NOOP("MainWindow", "Auto Restore &Last Connection"),
        .menu = MenuId::Connection,
        .toolTip =
            QT_TRANSLATE_NOOP("MainWindow", "Restore the connection that was open at last exit"),
        .checkable = true,
        .startsSection = true},
    ActionRow{.name = "acAutoReconnect",
        .label = QT_TRANSLATE_NOOP("MainWindow", "Auto R&econnect"),
        .menu = MenuId::Connection,
        .toolTip = QT_TRANSLATE_NOOP(
            "MainWindow", "Automatically reconnect after a serial unplug or TCP connection loss"),
        .checkable = true},

    ActionRow{.name = "acViewHorizontal",
        .label = QT_TRANSLATE_NOOP("MainWindow", "&Horizontal"),
        .menu = MenuId::View,
        .toolTip = QT_TRANSLATE_NOOP("MainWindow", "All ports side by side"),
        .checkable = true},
    ActionRow{.name = "acViewVertical",
        .label = QT_TRANSLATE_NOOP("MainWindow", "&Vertical"),
        .menu = MenuId::View,
        .toolTip = QT_TRANSLATE_NOOP("MainWindow", "The ports one above the other"),
        .checkable = true},
    ActionRow{.name = "acViewGrid",
        .label = QT_TRANSLATE_NOOP("MainWindow", "&Grid"),
        .menu = MenuId::View,
        .toolTip = QT_TRANSLATE_NOOP("MainWindow", "Two ports in a row"),
        .checkable = true},
    ActionRow{.name = "acViewCustom",
        .label = QT_TRANSLATE_NOOP("MainWindow", "&Custom"),
        .menu = MenuId::View,
        .toolTip = QT_TRANSLATE_NOOP("MainWindow", "Choose how many ports stand in a row"),
        .checkable = true},
    ActionRow{.name = "acViewNextPort",
        .label = QT_TRANSLATE_NOOP("MainWindow", "&Next Port"),
        .menu = MenuId::View,
        .shortcut = "Ctrl+Shift+N",
        .toolTip = QT_TRANSLATE_NOOP("MainWindow", "Move the keyboard to the next port"),
        .startsSection = true},
    ActionRow{"acViewPreviousPort", QT_TRANSLATE_NOOP("MainWindow", "&Previous Port"), MenuId::View,
        "Ctrl+Shift+P", QT_TRANSLATE_NOOP("MainWindow", "Move the keyboard to the previous port")},
    ActionRow{.name = "acViewQuickSettings",
        .label = QT_TRANSLATE_NOOP("MainWindow", "Close &Quick Settings"),
        .menu = MenuId::View,
        .toolTip = QT_TRANSLATE_NOOP("MainWindow", "Show or hide the column of quick settings"),
        .startsSection = true},
    ActionRow{.name = "acViewAlwaysTop",
        .label = QT_TRANSLATE_NOOP("MainWindow", "Always On &Top"),
        .menu = MenuId::View,
        .toolTip = QT_TRANSLATE_NOOP("MainWindow", "Keep the window above others"),
        .checkable = true},

    ActionRow{"acToolsSetting", QT_TRANSLATE_NOOP("MainWindow", "&Settings..."), MenuId::Tools, "",
        QT_TRANSLATE_NOOP("MainWindow", "Set up the port that has the keyboard, and the program")},
    ActionRow{.name = "acToolCalc",
        .label = QT_TRANSLATE_NOOP("MainWindow", "&Toolbox..."),
        .menu = MenuId::Tools,
        .startsSection = true},
    ActionRow{"acToolsAscii", QT_TRANSLATE_NOOP("MainWindow", "&ASCII Code..."), MenuId::Tools},
    ActionRow{"acToolsModbus", QT_TRANSLATE_NOOP("MainWindow", "&Modbus Request Builder..."),
        MenuId::Tools, "", "", Later},
    ActionRow{"acToolsBridge", QT_TRANSLATE_NOOP("MainWindow", "&Bridges..."), MenuId::Tools, "",
        QT_TRANSLATE_NOOP(
            "MainWindow", "Forward data between two ports (network to serial gateway)"),
        Later},
    ActionRow{.name = "acXferSend",
        .label = QT_TRANSLATE_NOOP("MainWindow", "S&end File..."),
        .menu = MenuId::Tools,
        .shortcut = "Ctrl+Shift+S",
        .toolTip =
            QT_TRANSLATE_NOOP("MainWindow", "Send a file to the device with XMODEM or YMODEM"),
        .availability = Later,
        .startsSection = true},
    ActionRow{"acXferReceive", QT_TRANSLATE_NOOP("MainWindow", "&Receive File..."), MenuId::Tools,
        "Ctrl+Shift+R",
        QT_TRANSLATE_NOOP("MainWindow", "Receive a file from the device with XMODEM or YMODEM"),
        Later},
    ActionRow{"acXferCancel", QT_TRANSLATE_NOOP("MainWindow", "&Cancel Transfer"), MenuId::Tools,
        "", "", Later},

    ActionRow{"acCloudConsole", QT_TRANSLATE_NOOP("MainWindow", "&Cloud Console"), MenuId::Cloud,
        "", "", Later},
    ActionRow{.name = "acCloudConsoleAllowSend",
        .label = QT_TRANSLATE_NOOP("MainWindow", "Allow Remote &Send"),
        .menu = MenuId::Cloud,
        .availability = Later,
        .checkable = true},
    ActionRow{.name = "acCloudConsoleAllowPortControl",
        .label = QT_TRANSLATE_NOOP("MainWindow", "Allow Remote &Port Control"),
        .menu = MenuId::Cloud,
        .availability = Later,
        .checkable = true},
    ActionRow{.name = "acCloudConsoleAllowRelay",
        .label = QT_TRANSLATE_NOOP("MainWindow", "Allow Cloud &Relay"),
        .menu = MenuId::Cloud,
        .availability = Later,
        .checkable = true},
    ActionRow{.name = "acAccountSignIn",
        .label = QT_TRANSLATE_NOOP("MainWindow", "Sign &In..."),
        .menu = MenuId::Cloud,
        .availability = Later,
        .startsSection = true},
    ActionRow{"acAccountMe", QT_TRANSLATE_NOOP("MainWindow", "&My Account"), MenuId::Cloud, "", "",
        NeedsSignIn},
    ActionRow{"acAccountSyncNow", QT_TRANSLATE_NOOP("MainWindow", "Sync &Now"), MenuId::Cloud, "",
        "", NeedsSignIn},
    ActionRow{"acAccountSyncSettings", QT_TRANSLATE_NOOP("MainWindow", "Sync Se&ttings..."),
        MenuId::Cloud, "", "", NeedsSignIn},
    ActionRow{"acAccountSignOut", QT_TRANSLATE_NOOP("MainWindow", "Sign &Out"), MenuId::Cloud, "",
        "", NeedsSignIn},

    ActionRow{.name = "actionEnglish",
        .label = QT_TRANSLATE_NOOP("MainWindow", "&English"),
        .menu = MenuId::Language,
        .checkable = true},
    ActionRow{.name = "actionChinese",
        .label = QT_TRANSLATE_NOOP("MainWindow", "&Chinese"),
        .menu = MenuId::Language,
        .checkable = true},

    ActionRow{"acHelpOnline", QT_TRANSLATE_NOOP("MainWindow", "&Help"), MenuId::Help, "",
        QT_TRANSLATE_NOOP("MainWindow", "Open the help page in the browser")},
    ActionRow{"acHelpHomepage", QT_TRANSLATE_NOOP("MainWindow", "Home&page"), MenuId::Help, "",
        QT_TRANSLATE_NOOP("MainWindow", "Open the home page in the browser")},
    ActionRow{.name = "actionAbout",
        .label = QT_TRANSLATE_NOOP("MainWindow", "&About"),
        .menu = MenuId::Help,
        .toolTip = QT_TRANSLATE_NOOP("MainWindow", "Version and licences"),
        .startsSection = true},

    ActionRow{.name = "acDebugHoldPortList",
        .label = QT_TRANSLATE_NOOP("MainWindow", "&Suspend Port List Refresh"),
        .menu = MenuId::Debug,
        .toolTip = QT_TRANSLATE_NOOP("MainWindow", "Do not look for serial ports that come and go"),
        .checkable = true},
};

} // namespace

std::span<const MenuRow> mainMenuRows()
{
    return menuRows;
}

std::span<const ActionRow> mainActionRows()
{
    return actionRows;
}

namespace {

QString text(const char* source)
{
    return QCoreApplication::translate("MainWindow", source);
}

QString unavailableText(Availability availability)
{
    switch (availability) {
    case Availability::Ready:
        break;
    case Availability::Later:
        return MainActions::tr("Not in this version yet");
    case Availability::NeedsSignIn:
        return MainActions::tr("Needs a signed-in account; not in this version yet");
    }
    return {};
}

QString toolTipText(const ActionRow& row)
{
    QStringList lines;
    lines.append(*row.toolTip != '\0' ? text(row.toolTip) : text(row.label).remove(u'&'));
    // A menu shows the key beside the label; a button of the toolbar has only this.
    if (*row.shortcut != '\0' && *row.icon != '\0') {
        lines.last() += u" (%1)"_s.arg(
            QKeySequence(QLatin1StringView(row.shortcut)).toString(QKeySequence::NativeText));
    }
    if (row.availability != Availability::Ready)
        lines.append(unavailableText(row.availability));
    return lines.join(u'\n');
}

} // namespace

MainActions::MainActions(QObject* parent)
    : QObject(parent)
{
    for (const ActionRow& row : mainActionRows())
        m_actions.insert(QLatin1StringView(row.name), makeAction(row));
}

QAction* MainActions::makeAction(const ActionRow& row)
{
    auto* action = new QAction(text(row.label), parent());
    action->setObjectName(QLatin1StringView(row.name));
    action->setShortcut(QKeySequence(QLatin1StringView(row.shortcut)));
    action->setToolTip(toolTipText(row));
    action->setCheckable(row.checkable);
    action->setEnabled(row.availability == Availability::Ready);
    action->setMenuRole(QAction::NoRole);
    if (*row.icon != '\0')
        action->setIcon(symbolicIcon(":/icons/"_L1 + QLatin1StringView(row.icon) + ".svg"_L1));
    if (*row.shortLabel != '\0')
        action->setIconText(text(row.shortLabel));
    return action;
}

QAction* MainActions::action(QLatin1StringView name) const
{
    QAction* found = m_actions.value(name);
    Q_ASSERT_X(found != nullptr, "MainActions::action", name.data());
    return found;
}

void MainActions::fillMenuBar(QMenuBar& bar) const
{
    for (const MenuRow& menuRow : mainMenuRows()) {
        QMenu* menu = bar.addMenu(text(menuRow.title));
        menu->setObjectName(QLatin1StringView(menuRow.name));
        menu->setToolTipsVisible(true);
        for (const ActionRow& row : mainActionRows()) {
            if (row.menu != menuRow.id)
                continue;
            if (row.startsSection)
                menu->addSeparator();
            menu->addAction(m_actions.value(QLatin1StringView(row.name)));
        }
    }
}

void MainActions::fillToolBar(QToolBar& bar) const
{
    for (const auto name : {"acMonStart"_L1, "acEditPause"_L1, "acMonStop"_L1, "acEditClear"_L1})
        bar.addAction(action(name));
}

MainActions::RecentFiles MainActions::addRecentFiles(QMenuBar& bar, int count) const
{
    auto* menu = bar.findChild<QMenu*>("menuFile"_L1);
    // Above the separator that stands before Exit.
    const qsizetype exit = menu->actions().indexOf(action("acFileExit"_L1));
    QAction* behind = menu->actions().at(exit - 1);
    RecentFiles added;
    added.separator = menu->insertSeparator(behind);
    for (int i = 0; i < count; ++i) {
        auto* file = new QAction(parent());
        file->setObjectName(u"acFileRecent%1"_s.arg(i + 1));
        menu->insertAction(behind, file);
        added.files.append(file);
    }
    added.forgetMenu = new QMenu(text(QT_TRANSLATE_NOOP("MainWindow", "&Remove from List")), menu);
    added.forgetMenu->setObjectName("menuForgetRecent"_L1);
    added.forgetMenu->setToolTipsVisible(true);
    menu->insertMenu(behind, added.forgetMenu);
    return added;
}

void MainActions::setPaneCount(int count, int maximum) const
{
    action("acEditAdd"_L1)->setEnabled(count < maximum);
    action("acEditRemove"_L1)->setEnabled(count > 1);
    action("acViewNextPort"_L1)->setEnabled(count > 1);
    action("acViewPreviousPort"_L1)->setEnabled(count > 1);
}

void MainActions::setConnectionState(bool running, bool paused, bool active) const
{
    action("acMonStart"_L1)->setEnabled(paused || !active);
    action("acEditPause"_L1)->setEnabled(running);
    action("acMonStop"_L1)->setEnabled(active);
}

void MainActions::setQuickSettingsShown(bool shown) const
{
    action("acViewQuickSettings"_L1)
        ->setText(shown ? text("Close &Quick Settings")
                        : text(QT_TRANSLATE_NOOP("MainWindow", "Open &Quick Settings")));
}
