#include "app/mainactions.h"

#include "app/symbolicicon.h"

#include <QAction>
#include <QMainWindow>
#include <QMenuBar>
#include <QToolBar>

using namespace Qt::Literals::StringLiterals;

using enum Availability;

MainActions::MainActions(QMainWindow* window)
    : QObject(window)
    , m_bar(window->menuBar())
{
    addFileMenu();
    addConnectionMenu();
    addViewMenu();
    addToolsMenu();
    addCloudMenu();
    addLanguageMenu();
    addHelpMenu();
    addDebugMenu();
}

void MainActions::addFileMenu()
{
    beginMenu("menuFile"_L1, tr("&File"));
    add("acFileNew", tr("&New..."), {.toolTip = tr("Begin with one port and default settings")});
    add("acFileOpen", tr("&Open Settings..."),
        {.toolTip = tr("Open the ports and settings of a file")});
    add("acFileSave", tr("&Save Settings..."),
        {.toolTip = tr("Save current config"), .key = "Ctrl+S"});
    add("acFileSaveAs", tr("Save Settings &As..."),
        {.toolTip = tr("Save current settings as new file")});
    m_menu->addSeparator();
    add("acFileRecordDataLog", tr("&Log Recording"),
        {.toolTip = tr("Record all port messages as log files"), .checkable = true});
    add("acFileViewCurrentDataLog", tr("&View Current Data Log"));
    add("acFileOpenLogFolder", tr("Open Log &Folder"));
    m_menu->addSeparator();
    add("acFileExit", tr("E&xit"), {.key = "Ctrl+Q"});
}

void MainActions::addConnectionMenu()
{
    beginMenu("menuConnection"_L1, tr("&Connection"));
    add("actionNew_Connection", tr("&New Connection"),
        {.toolTip = tr("Choose a port or an address and open it")});
    m_menu->addSeparator();
    add("acMonStart", tr("&Start"),
        {.toolTip = tr("Open the connection, or go on after a pause"),
            .key = "F5",
            .icon = "media-playback-start"});
    add("acEditPause", tr("&Pause"),
        {.toolTip = tr("Hold the display; what arrives is kept for later"),
            .key = "F6",
            .icon = "media-playback-pause"});
    add("acMonStop", tr("S&top"),
        {.toolTip = tr("Close the connection"), .key = "F7", .icon = "media-playback-stop"});
    m_menu->addSeparator();
    add("acEditClear", tr("&Clear All Displays"),
        {.toolTip = tr("Clear the receive views and their counters"),
            .key = "Ctrl+L",
            .icon = "edit-clear-history",
            .shortLabel = tr("Clear")});
    add("actionClearSendHistory", tr("Clear All Send &Histories"),
        {.toolTip = tr("Forget what was sent before, in every pane")});
    add("acEditFind", tr("&Find..."),
        {.toolTip = tr("Find text in the receive view"), .key = "Ctrl+F", .icon = "edit-find"});
    m_menu->addSeparator();
    add("acEditAdd", tr("&Add Port"), {.toolTip = tr("Show one more port beside the others")});
    add("acEditRemove", tr("&Remove Port"),
        {.toolTip = tr("Close the last port and take it away")});
    m_menu->addSeparator();
    add("acControlOpen", tr("Auto Restore &Last Connection"),
        {.toolTip = tr("Restore the connection that was open at last exit"), .checkable = true});
    add("acAutoReconnect", tr("Auto R&econnect"),
        {.toolTip = tr("Automatically reconnect after a serial unplug or TCP connection loss"),
            .checkable = true});
}

void MainActions::addViewMenu()
{
    beginMenu("menuView"_L1, tr("&View"));
    add("acViewHorizontal", tr("&Horizontal"),
        {.toolTip = tr("All ports side by side"), .checkable = true});
    add("acViewVertical", tr("&Vertical"),
        {.toolTip = tr("The ports one above the other"), .checkable = true});
    add("acViewGrid", tr("&Grid"), {.toolTip = tr("Two ports in a row"), .checkable = true});
    add("acViewCustom", tr("&Custom"),
        {.toolTip = tr("Choose how many ports stand in a row"), .checkable = true});
    m_menu->addSeparator();
    add("acViewNextPort", tr("&Next Port"),
        {.toolTip = tr("Move the keyboard to the next port"), .key = "Ctrl+Shift+N"});
    add("acViewPreviousPort", tr("&Previous Port"),
        {.toolTip = tr("Move the keyboard to the previous port"), .key = "Ctrl+Shift+P"});
    addGoToMenu();
    add("acViewMaximizePort", tr("&Maximize Port"),
        {.toolTip = tr("Give all of the window to the port that has the keyboard, and back"),
            .key = "F11",
            .checkable = true});
    m_menu->addSeparator();
    add("acViewQuickSettings", tr("Close &Quick Settings"),
        {.toolTip = tr("Show or hide the column of quick settings")});
    add("acViewAlwaysTop", tr("Always On &Top"),
        {.toolTip = tr("Keep the window above others"), .checkable = true});
}

void MainActions::addGoToMenu()
{
    QMenu* view = m_menu;
    m_menu = view->addMenu(tr("G&o to Port"));
    m_menu->setObjectName("menuGoToPort"_L1);
    add("acViewPortLeft", tr("To the &Left"), {.key = "Alt+Left"});
    add("acViewPortRight", tr("To the &Right"), {.key = "Alt+Right"});
    add("acViewPortAbove", tr("&Above"), {.key = "Alt+Up"});
    add("acViewPortBelow", tr("&Below"), {.key = "Alt+Down"});
    m_menu->addSeparator();
    for (int number = 1; number <= kNumberedPorts; ++number) {
        const QByteArray key = "Ctrl+" + QByteArray::number(number);
        const QByteArray name = "acViewPort" + QByteArray::number(number);
        add(name.constData(), tr("Port &%1").arg(number), {.key = key.constData()});
    }
    m_menu = view;
}

void MainActions::addToolsMenu()
{
    beginMenu("menuTools"_L1, tr("&Tools"));
    add("acToolsSetting", tr("&Settings..."),
        {.toolTip = tr("Set up the port that has the keyboard, and the program")});
    m_menu->addSeparator();
    add("acToolCalc", tr("&Toolbox..."));
    add("acToolsAscii", tr("&ASCII Code..."));
    add("acToolsModbus", tr("&Modbus Request Builder..."));
    add("acToolsBridge", tr("&Bridges..."),
        {.toolTip = tr("Forward data between two ports (network to serial gateway)")});
    m_menu->addSeparator();
    add("acXferSend", tr("S&end File..."),
        {.toolTip = tr("Send a file to the device with XMODEM or YMODEM"), .key = "Ctrl+Shift+S"});
    add("acXferReceive", tr("&Receive File..."),
        {.toolTip = tr("Receive a file from the device with XMODEM or YMODEM"),
            .key = "Ctrl+Shift+R"});
    add("acXferCancel", tr("&Cancel Transfer"));
}

void MainActions::addCloudMenu()
{
    beginMenu("menuCloud"_L1, tr("Cl&oud"));
    add("acCloudConsole", tr("&Cloud Console"), {.availability = Later});
    add("acCloudConsoleAllowSend", tr("Allow Remote &Send"),
        {.checkable = true, .availability = Later});
    add("acCloudConsoleAllowPortControl", tr("Allow Remote &Port Control"),
        {.checkable = true, .availability = Later});
    add("acCloudConsoleAllowRelay", tr("Allow Cloud &Relay"),
        {.checkable = true, .availability = Later});
    m_menu->addSeparator();
    add("acAccountSignIn", tr("Sign &In..."), {.availability = Later});
    add("acAccountMe", tr("&My Account"), {.availability = NeedsSignIn});
    add("acAccountSyncNow", tr("Sync &Now"), {.availability = NeedsSignIn});
    add("acAccountSyncSettings", tr("Sync Se&ttings..."), {.availability = NeedsSignIn});
    add("acAccountSignOut", tr("Sign &Out"), {.availability = NeedsSignIn});
}

void MainActions::addLanguageMenu()
{
    beginMenu("menuLanguage"_L1, tr("Language"));
    add("actionEnglish", tr("&English"), {.checkable = true});
    add("actionChinese", tr("&Chinese"), {.checkable = true});
}

void MainActions::addHelpMenu()
{
    beginMenu("menuHelp"_L1, tr("&Help"));
    add("acHelpOnline", tr("&Help"), {.toolTip = tr("Open the help page in the browser")});
    add("acHelpHomepage", tr("Home&page"), {.toolTip = tr("Open the home page in the browser")});
    m_menu->addSeparator();
    add("actionAbout", tr("&About"), {.toolTip = tr("Version and licences")});
}

void MainActions::addDebugMenu()
{
    beginMenu("menuDebug"_L1, tr("&Debug"));
    add("acDebugHoldPortList", tr("&Suspend Port List Refresh"),
        {.toolTip = tr("Do not look for serial ports that come and go"), .checkable = true});
}

void MainActions::beginMenu(QLatin1StringView name, const QString& title)
{
    m_menu = m_bar->addMenu(title);
    m_menu->setObjectName(name);
    m_menu->setToolTipsVisible(true);
}

void MainActions::add(const char* name, const QString& label, const ActionOptions& options)
{
    auto* action = new QAction(label, parent());
    action->setObjectName(QLatin1StringView(name));
    action->setShortcut(QKeySequence(QLatin1StringView(options.key)));
    action->setToolTip(toolTipText(label, options));
    action->setCheckable(options.checkable);
    action->setEnabled(options.availability == Ready);
    action->setMenuRole(QAction::NoRole);
    if (*options.icon != '\0')
        action->setIcon(symbolicIcon(":/icons/"_L1 + QLatin1StringView(options.icon) + ".svg"_L1));
    if (!options.shortLabel.isEmpty())
        action->setIconText(options.shortLabel);
    m_menu->addAction(action);
    m_actions.insert(action->objectName(), action);
}

QString MainActions::toolTipText(const QString& label, const ActionOptions& options)
{
    QStringList lines{options.toolTip.isEmpty() ? QString(label).remove(u'&') : options.toolTip};
    // A menu shows the key beside the label; a button of the toolbar has only this.
    if (*options.key != '\0' && *options.icon != '\0') {
        lines.last() += u" (%1)"_s.arg(
            QKeySequence(QLatin1StringView(options.key)).toString(QKeySequence::NativeText));
    }
    if (options.availability == Later)
        lines.append(tr("Not in this version yet"));
    else if (options.availability == NeedsSignIn)
        lines.append(tr("Needs a signed-in account; not in this version yet"));
    return lines.join(u'\n');
}

QAction* MainActions::action(QLatin1StringView name) const
{
    QAction* found = m_actions.value(name);
    Q_ASSERT_X(found != nullptr, "MainActions::action", name.data());
    return found;
}

void MainActions::fillToolBar(QToolBar& bar) const
{
    for (const auto name : {"acMonStart"_L1, "acEditPause"_L1, "acMonStop"_L1, "acEditClear"_L1})
        bar.addAction(action(name));
}

MainActions::RecentFiles MainActions::addRecentFiles(int count) const
{
    auto* menu = m_bar->findChild<QMenu*>("menuFile"_L1);
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
    added.forgetMenu = new QMenu(tr("&Remove from List"), menu);
    added.forgetMenu->setObjectName("menuForgetRecent"_L1);
    added.forgetMenu->setToolTipsVisible(true);
    menu->insertMenu(behind, added.forgetMenu);
    return added;
}

void MainActions::setPaneCount(int count, int maximum, int columns) const
{
    action("acEditAdd"_L1)->setEnabled(count < maximum);
    action("acEditRemove"_L1)->setEnabled(count > 1);
    action("acViewNextPort"_L1)->setEnabled(count > 1);
    action("acViewPreviousPort"_L1)->setEnabled(count > 1);
    action("acViewMaximizePort"_L1)->setEnabled(count > 1);
    for (const auto name : {"acViewPortLeft"_L1, "acViewPortRight"_L1})
        action(name)->setEnabled(columns > 1);
    for (const auto name : {"acViewPortAbove"_L1, "acViewPortBelow"_L1})
        action(name)->setEnabled(count > columns);
    for (int number = 1; number <= kNumberedPorts; ++number) {
        QAction* port = m_actions.value(u"acViewPort%1"_s.arg(number));
        port->setEnabled(count > 1 && number <= count);
        port->setVisible(number <= count);
    }
}

void MainActions::setZoomed(bool zoomed) const
{
    action("acViewMaximizePort"_L1)->setChecked(zoomed);
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
        ->setText(shown ? tr("Close &Quick Settings") : tr("Open &Quick Settings"));
}
