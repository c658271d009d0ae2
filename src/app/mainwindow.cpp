#include "app/mainwindow.h"

#include "app/interfacelanguage.h"
#include "app/logactions.h"
#include "app/mainactions.h"
#include "app/mainstatusbar.h"
#include "app/messageboxes.h"
#include "app/portgrid.h"
#include "app/portselector.h"
#include "app/settings/config.h"
#include "app/settings/settingsservice.h"
#include "app/toolwindows.h"
#include "app/windowgeometry.h"
#include "connections/seriallink.h"
#include "terminal/serialportwidget.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDateTime>
#include <QDebug>
#include <QDesktopServices>
#include <QLabel>
#include <QMenuBar>
#include <QToolBar>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

MainWindow::MainWindow(SerialPortCatalog& catalog, QWidget* parent)
    : QMainWindow(parent)
    , m_catalog(catalog)
    , m_store(Config::organizationName(), Config::applicationName())
    , m_state(SettingsService::load(m_store))
    , m_portList(catalog)
    , m_actions(new MainActions(this))
    , m_grid(new PortGrid(this))
    , m_portSelector(new PortSelector(this))
    , m_statusBar(new MainStatusBar(this))
    , m_toolWindows(new ToolWindows([this] { return currentPortWidget(); }, this))
    , m_logActions(new LogActions({m_actions->action("acFileRecordDataLog"_L1),
                                      m_actions->action("acFileViewCurrentDataLog"_L1),
                                      m_actions->action("acFileOpenLogFolder"_L1)},
          {[this] { return livePortWidgets(); }, [this] { return currentPortWidget(); }}, this))
{
    // The mark of unsaved changes has its place in an untitled workspace, too.
    setWindowTitle(Config::applicationName() + "[*]"_L1);
    setCentralWidget(m_grid);
    setStatusBar(m_statusBar);
    buildBars();
    connectPortActions();
    connectViewActions();
    connectOptionActions();
    connectToolActions();
    connectHelpActions();

    m_clock.start();
    m_panes.append(createPortWidget(0));
    applySessionToPrimaryPort();
    restoreLastConnection();
    firstPane().focusSendEditor();

    connect(&m_displayTimer, &QTimer::timeout, this, &MainWindow::onUpdateDisplay);
    m_displayTimer.start(displayRefreshMs);
}

MainWindow::~MainWindow()
{
    // Where the client area was: the frame's corner would move the window by the frame's width at
    // every start.
    WindowGeometry{size(), geometry().topLeft()}.save(m_store);
    // While the window still is one: a pane tells its last state when it goes.
    qDeleteAll(m_panes);
}

void MainWindow::buildBars()
{
    m_actions->fillMenuBar(*menuBar());
    QToolBar* bar = addToolBar(tr("Main Toolbar"));
    bar->setObjectName("mainToolBar"_L1);
    bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    bar->setMovable(false);
    m_actions->fillToolBar(*bar);
    bar->addSeparator();
    auto* label = new QLabel(tr("&Port:"), bar);
    label->setBuddy(m_portSelector);
    label->setContentsMargins(8, 0, 8, 0);
    bar->addWidget(label);
    bar->addWidget(m_portSelector);
    m_portSelector->setPorts(m_portList.ports());
    connect(m_portSelector, &PortSelector::portChosen, this, &MainWindow::changePort);
}

void MainWindow::onAction(QLatin1StringView name, void (MainWindow::*slot)())
{
    connect(m_actions->action(name), &QAction::triggered, this, slot);
}

void MainWindow::connectPortActions()
{
    connect(m_actions->action("acFileExit"_L1), &QAction::triggered, this, &QWidget::close);
    connect(m_actions->action("acMonStart"_L1), &QAction::triggered, this,
        [this] { start({}, false); });
    onAction("acMonStop"_L1, &MainWindow::stop);
    onAction("acEditPause"_L1, &MainWindow::pauseAll);
    onAction("acEditClear"_L1, &MainWindow::clearAll);
    onAction("actionClearSendHistory"_L1, &MainWindow::clearAllHistories);
    onAction("acEditFind"_L1, &MainWindow::openFind);
}

void MainWindow::connectViewActions()
{
    onAction("acViewQuickSettings"_L1, &MainWindow::toggleQuickSettings);
    connect(m_actions->action("acViewAlwaysTop"_L1), &QAction::toggled, this,
        &MainWindow::setAlwaysOnTop);
}

void MainWindow::connectOptionActions()
{
    QAction* restore = m_actions->action("acControlOpen"_L1);
    restore->setChecked(m_state.openLastConnection);
    connect(restore, &QAction::toggled, this, [this](bool on) {
        m_state.openLastConnection = on;
        m_store.setValue("OpenLastConnection"_L1, on);
    });
    connect(m_actions->action("acAutoReconnect"_L1), &QAction::triggered, this, [this](bool on) {
        m_state.autoReconnect = on;
        m_store.setValue("AutoReconnect"_L1, on);
        applyAutoReconnectToPorts();
    });
    connect(m_actions->action("actionEnglish"_L1), &QAction::triggered, this,
        [this] { chooseLanguage(false); });
    connect(m_actions->action("actionChinese"_L1), &QAction::triggered, this,
        [this] { chooseLanguage(true); });
}

void MainWindow::connectToolActions()
{
    connect(m_actions->action("acToolCalc"_L1), &QAction::triggered, m_toolWindows,
        &ToolWindows::showToolBox);
    connect(m_actions->action("acToolsAscii"_L1), &QAction::triggered, m_toolWindows,
        &ToolWindows::showAsciiTable);
}

void MainWindow::connectHelpActions()
{
    connect(m_actions->action("acHelpOnline"_L1), &QAction::triggered, this,
        [] { QDesktopServices::openUrl(QUrl(Config::helpUrl())); });
    connect(m_actions->action("acHelpHomepage"_L1), &QAction::triggered, this,
        [] { QDesktopServices::openUrl(QUrl(Config::homepageUrl())); });
    connect(m_actions->action("actionAbout"_L1), &QAction::triggered, this,
        [this] { MessageBoxes::showAbout(this); });
}

SerialPortWidget* MainWindow::createPortWidget(int index)
{
    auto* pane = new SerialPortWidget(m_catalog, m_grid);
    pane->setObjectName(u"port%1"_s.arg(index));
    connect(pane, &SerialPortWidget::settingsChanged, this, [this] { setWindowModified(true); });
    connect(pane, &SerialPortWidget::stateChanged, this, &MainWindow::refreshStatusBar);
    if (index == 0) {
        connect(pane, &SerialPortWidget::statusMessage, m_statusBar, &MainStatusBar::showNotice);
    }
    return pane;
}

void MainWindow::rebuildPortLayout()
{
    m_grid->rebuild(QList<QWidget*>(m_panes.begin(), m_panes.end()), m_columnCount);
}

void MainWindow::updateGrid()
{
    rebuildPortLayout();
    const bool single = m_panes.size() == 1;
    m_statusBar->setVisible(single);
    firstPane().setStatusLineVisible(!single);
    for (SerialPortWidget* pane : std::as_const(m_panes))
        pane->setQuickSettingsVisible(m_quickSettingsShown);
    m_actions->setQuickSettingsShown(m_quickSettingsShown);
    refreshStatusBar();
}

SerialPortWidget* MainWindow::focusedPortWidget() const
{
    const QWidget* focus = focusWidget();
    for (SerialPortWidget* pane : m_panes) {
        if (pane == focus || pane->isAncestorOf(focus))
            return pane;
    }
    return nullptr;
}

SerialPortWidget* MainWindow::currentPortWidget() const
{
    SerialPortWidget* focused = focusedPortWidget();
    return focused ? focused : &firstPane();
}

bool MainWindow::openPane(int index, const QString& portName, bool quiet)
{
    SerialPortWidget* pane = m_panes.at(index);
    if (pane->start(portName, quiet))
        return true;
    const bool serial = pane->settings().connMode == connectionMode::SerialPort;
    const QString text = serial ? tr("Serial Port %1 OPEN FAILED").arg(pane->settings().portName)
                                : tr("%1 OPEN FAILED").arg(pane->connectionSummary());
    qWarning().noquote() << text;
    // The box says already what the full message begins with.
    QString reason = pane->lastError();
    const QString beginning = SerialLink::openFailureText(pane->settings().portName);
    if (reason.startsWith(beginning))
        reason.remove(0, beginning.size());
    if (index == 0 && quiet)
        m_statusBar->showError(text, reason);
    else if (index == 0)
        MessageBoxes::showWarning(this, text, reason);
    return false;
}

void MainWindow::start(const QString& portName, bool quiet)
{
    if (!portName.isEmpty()) {
        openPane(0, portName, quiet);
        return;
    }
    for (int i = 0; i < m_panes.size(); ++i)
        openPane(i, {}, quiet);
}

void MainWindow::stop()
{
    for (SerialPortWidget* pane : std::as_const(m_panes)) {
        if (pane->isActive())
            pane->stop();
    }
}

void MainWindow::pauseAll()
{
    for (SerialPortWidget* pane : std::as_const(m_panes))
        pane->pause();
}

void MainWindow::clearAll()
{
    for (SerialPortWidget* pane : std::as_const(m_panes))
        pane->clear();
}

void MainWindow::clearAllHistories()
{
    for (SerialPortWidget* pane : std::as_const(m_panes))
        pane->clearSendList();
}

void MainWindow::openFind()
{
    currentPortWidget()->openFind();
}

void MainWindow::changePort(const QString& portName)
{
    qDebug("Start to change port...");
    const Settings& settings = firstPane().settings();
    if (portName.isEmpty()
        || (settings.connMode == connectionMode::SerialPort && settings.portName == portName))
        return;
    firstPane().stop();
    openPane(0, portName, false);
    setWindowModified(true);
}

void MainWindow::toggleQuickSettings()
{
    m_quickSettingsShown = !m_quickSettingsShown;
    updateGrid();
}

void MainWindow::setAlwaysOnTop(bool on)
{
    const bool shown = isVisible();
    setWindowFlag(Qt::WindowStaysOnTopHint, on);
    // Changing a flag of a window makes it anew, hidden.
    if (shown)
        show();
}

void MainWindow::chooseLanguage(bool chinese)
{
    InterfaceLanguage::choose(
        m_store, chinese ? InterfaceLanguage::Choice::Chinese : InterfaceLanguage::Choice::English);
    MessageBoxes::showInformation(
        this, tr("The changes will take effect when the program is restarted."));
}

SessionState MainWindow::currentSessionState() const
{
    firstPane().updateSettings();
    SessionState state = m_state;
    state.takeFrom(firstPane().settings(), firstPane().formatSetting());
    return state;
}

void MainWindow::applySessionToPrimaryPort()
{
    Settings settings = firstPane().settings();
    m_state.applyTo(settings);
    firstPane().setSettings(settings);
    FormatSetting format = firstPane().formatSetting();
    m_state.applyTo(format);
    firstPane().setFormatSetting(format);
    applyAutoReconnectToPorts();
    updateGrid();
}

void MainWindow::applyAutoReconnectToPorts()
{
    m_actions->action("acAutoReconnect"_L1)->setChecked(m_state.autoReconnect);
    for (SerialPortWidget* pane : std::as_const(m_panes))
        pane->setAutoReconnect(m_state.autoReconnect);
}

void MainWindow::restoreLastConnection()
{
    if (!m_state.openLastConnection || !m_state.lastConnectionOpen)
        return;
    if (m_state.connMode == connectionMode::SerialPort && !m_catalog.contains(m_state.portName))
        return;
    start({}, true);
}

void MainWindow::writeSettings()
{
    SettingsService::save(m_store, currentSessionState());
}

void MainWindow::onUpdateDisplay()
{
    const SerialPortWidget& pane = firstPane();
    m_actions->setConnectionState(
        pane.runState() == RunState::Running, pane.runState() == RunState::Paused, pane.isActive());
    m_logActions->refresh();
    refreshStatusBar();
    const bool held = m_actions->action("acDebugHoldPortList"_L1)->isChecked();
    if (!held && m_portList.refresh([this] { return m_clock.elapsed(); })) {
        qDebug("Start to refresh port list...");
        m_portSelector->setPorts(m_portList.ports());
        for (SerialPortWidget* each : std::as_const(m_panes))
            each->refreshPorts();
    }
    const Settings& settings = pane.settings();
    m_portSelector->setCurrentPort(
        settings.connMode == connectionMode::SerialPort ? settings.portName : QString());
}

void MainWindow::refreshStatusBar()
{
    const SerialPortWidget& pane = firstPane();
    PortStatus status;
    if (pane.isOpen())
        status.state = pane.runState() == RunState::Paused ? PortState::Paused : PortState::Open;
    else if (pane.isActive())
        status.state = PortState::Connecting;
    status.stateText = pane.stateText();
    status.summary = pane.connectionSummary();
    status.received = pane.receivedBytes();
    status.sent = pane.sentBytes();
    m_statusBar->showPort(status, m_clock.elapsed());
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    qDebug() << "closeEvent..." << QDateTime::currentDateTime().toString(Qt::ISODate);
    m_displayTimer.stop();
    m_state.lastConnectionOpen = firstPane().isActive();
    stop();
    hide();
    writeSettings();
    event->accept();
}
