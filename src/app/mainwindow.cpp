#include "app/mainwindow.h"

#include "app/logactions.h"
#include "app/mainactions.h"
#include "app/mainstatusbar.h"
#include "app/messageboxes.h"
#include "app/panedialogs.h"
#include "app/paneset.h"
#include "app/portarea.h"
#include "app/portgrid.h"
#include "app/portselector.h"
#include "app/programoptions.h"
#include "app/recentfilesmodel.h"
#include "app/sessiondocument.h"
#include "app/settings/config.h"
#include "app/settings/settingsservice.h"
#include "app/toolwindows.h"
#include "app/viewmodes.h"
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

MainWindow::MainWindow(SerialPortCatalog& catalog, Restore restore, QWidget* parent)
    : QMainWindow(parent)
    , m_catalog(catalog)
    , m_store(Config::organizationName(), Config::applicationName())
    , m_state(SettingsService::load(m_store))
    , m_portList(catalog)
    , m_actions(new MainActions(this))
    , m_grid(new PortGrid)
    , m_area(new PortArea(m_grid, this))
    , m_panes(std::make_unique<PaneSet>(catalog, m_grid))
    , m_viewModes(new ViewModes(
          {m_actions->action("acViewHorizontal"_L1), m_actions->action("acViewVertical"_L1),
              m_actions->action("acViewGrid"_L1), m_actions->action("acViewCustom"_L1)},
          [this] { return m_panes->count(); }, this))
    , m_portSelector(new PortSelector(this))
    , m_statusBar(new MainStatusBar(this))
    , m_options(new ProgramOptions(
          {m_actions->action("acControlOpen"_L1), m_actions->action("acAutoReconnect"_L1),
              m_actions->action("actionEnglish"_L1), m_actions->action("actionChinese"_L1)},
          m_store, m_state, this))
    , m_dialogs(new PaneDialogs(catalog, *m_panes, *m_options,
          {[this](const Settings& s, const FormatSetting& f) { return addPort(s, f); },
              [this](SerialPortWidget* pane) { openPane(pane, {}, false); },
              [this] { return m_state.quickSettingsGroups(); },
              [this](const QuickSettingsGroups& groups) {
                  m_state.setQuickSettingsGroups(groups);
                  applyQuickSettingsGroupsToPorts();
              }},
          this))
    , m_toolWindows(new ToolWindows([this] { return currentPortWidget(); }, this))
    , m_logActions(new LogActions({m_actions->action("acFileRecordDataLog"_L1),
                                      m_actions->action("acFileViewCurrentDataLog"_L1),
                                      m_actions->action("acFileOpenLogFolder"_L1)},
          {[this] { return livePortWidgets(); }, [this] { return currentPortWidget(); }}, this))
{
    setCentralWidget(m_area);
    setStatusBar(m_statusBar);
    buildBars();
    buildDocument();
    connectPanes();
    connectFileActions();
    connectPortActions();
    connectViewActions();
    connectToolActions();
    connectHelpActions();

    m_clock.start();
    applySessionToPrimaryPort();
    if (restore == Restore::LastConnection)
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

void MainWindow::buildDocument()
{
    const QList<QAction*> actions =
        m_actions->addRecentFiles(*menuBar(), RecentFilesModel::defaultCount);
    m_recentFiles = new RecentFilesModel(RecentFilesModel::defaultCount, actions.sliced(1), this);
    m_recentFiles->setSeparator(actions.constFirst());
    m_recentFiles->setFiles(m_state.recentFiles);
    m_recentFiles->updateActions(false);
    m_document = new SessionDocument(
        {[this] { return sessionContents(); },
            [this](const SessionContents& s) { applySession(s); }, [this] { resetSession(); }},
        *m_recentFiles, this);
    m_document->setLastDirectory(m_state.lastDirectory);
    connect(m_document, &SessionDocument::message, this,
        [this](const QString& text, int ms) { firstPane().showStatusMessage(text, ms); });
    connect(m_document, &SessionDocument::savingProgress, m_statusBar, &MainStatusBar::showSaving);
}

void MainWindow::connectPanes()
{
    connect(m_options, &ProgramOptions::autoReconnectChanged, this,
        &MainWindow::applyAutoReconnectToPorts);
    connect(m_dialogs, &PaneDialogs::edited, this, [this] { setWindowModified(true); });
    connect(m_panes.get(), &PaneSet::edited, this, [this] { setWindowModified(true); });
    connect(m_panes.get(), &PaneSet::stateChanged, this, &MainWindow::refreshStatusBar);
    connect(m_panes.get(), &PaneSet::firstPaneMessage, m_statusBar, &MainStatusBar::showNotice);
    connect(m_panes.get(), &PaneSet::currentChanged, m_area,
        [this](QWidget* frame) { m_area->ensureWidgetVisible(frame, 0, 0); });
}

template<class Receiver, class Slot>
void MainWindow::onAction(QLatin1StringView name, Receiver* receiver, Slot slot)
{
    connect(m_actions->action(name), &QAction::triggered, receiver, slot);
}

void MainWindow::connectFileActions()
{
    onAction("acFileNew"_L1, m_document, &SessionDocument::newSession);
    onAction("acFileOpen"_L1, m_document, &SessionDocument::open);
    onAction("acFileSave"_L1, m_document, &SessionDocument::save);
    onAction("acFileSaveAs"_L1, m_document, &SessionDocument::saveAs);
    onAction("acFileExit"_L1, this, &QWidget::close);
}

void MainWindow::connectPortActions()
{
    const auto onEach = [this](QLatin1StringView name, void (SerialPortWidget::*operation)()) {
        onAction(name, this, [this, operation] { forEachPane(operation); });
    };
    onAction("actionNew_Connection"_L1, m_dialogs, &PaneDialogs::askNewConnection);
    onAction("acMonStart"_L1, this, [this] { start({}, false); });
    onEach("acEditPause"_L1, &SerialPortWidget::pause);
    onAction("acMonStop"_L1, this, &MainWindow::stop);
    onEach("acEditClear"_L1, &SerialPortWidget::clear);
    onEach("actionClearSendHistory"_L1, &SerialPortWidget::clearSendList);
    onAction("acEditFind"_L1, this, [this] { currentPortWidget()->openFind(); });
    onAction("acEditAdd"_L1, m_dialogs, &PaneDialogs::askNewPort);
    onAction("acEditRemove"_L1, this, &MainWindow::removePort);
}

void MainWindow::connectViewActions()
{
    connect(m_viewModes, &ViewModes::chosen, this, &MainWindow::onLayoutChosen);
    onAction("acViewNextPort"_L1, this, [this] { m_panes->focusNext(1); });
    onAction("acViewPreviousPort"_L1, this, [this] { m_panes->focusNext(-1); });
    onAction("acViewQuickSettings"_L1, this, &MainWindow::toggleQuickSettings);
    onAction("acViewAlwaysTop"_L1, this, &MainWindow::setAlwaysOnTop);
}

void MainWindow::connectToolActions()
{
    onAction("acToolsSetting"_L1, m_dialogs, &PaneDialogs::showSettings);
    onAction("acToolCalc"_L1, m_toolWindows, &ToolWindows::showToolBox);
    onAction("acToolsAscii"_L1, m_toolWindows, &ToolWindows::showAsciiTable);
}

void MainWindow::connectHelpActions()
{
    const auto onPage = [this](QLatin1StringView name, const QString& address) {
        onAction(name, this, [address] { QDesktopServices::openUrl(QUrl(address)); });
    };
    onPage("acHelpOnline"_L1, Config::helpUrl());
    onPage("acHelpHomepage"_L1, Config::homepageUrl());
    onAction("actionAbout"_L1, this, [this] { MessageBoxes::showAbout(this); });
}

SerialPortWidget* MainWindow::createPortWidget([[maybe_unused]] int index)
{
    Q_ASSERT(index == m_panes->count());
    SerialPortWidget* pane = m_panes->append();
    pane->setAutoReconnect(m_state.autoReconnect);
    return pane;
}

void MainWindow::rebuildPortLayout()
{
    m_grid->rebuild(m_panes->frames(), m_viewModes->columnCount());
}

void MainWindow::updateGrid()
{
    rebuildPortLayout();
    const bool single = m_panes->count() == 1;
    m_statusBar->setVisible(single);
    firstPane().setStatusLineVisible(!single);
    m_panes->setQuickSettingsVisible(m_quickSettingsShown);
    m_actions->setQuickSettingsShown(m_quickSettingsShown);
    m_actions->setPaneCount(m_panes->count(), maxPanes);
    applyQuickSettingsGroupsToPorts();
    refreshStatusBar();
}

QList<SerialPortWidget*> MainWindow::livePortWidgets() const
{
    return m_panes->panes();
}

SerialPortWidget& MainWindow::firstPane() const
{
    return m_panes->first();
}

SerialPortWidget* MainWindow::focusedPortWidget() const
{
    return m_panes->focused();
}

SerialPortWidget* MainWindow::currentPortWidget() const
{
    return &m_panes->current();
}

SerialPortWidget* MainWindow::addPort(const Settings& settings, const FormatSetting& format)
{
    if (m_panes->count() >= maxPanes)
        return nullptr;
    SerialPortWidget* pane = createPortWidget(m_panes->count());
    pane->setSettings(settings);
    pane->setFormatSetting(format);
    m_viewModes->selectHorizontal();
    updateGrid();
    m_panes->focusPane(m_panes->count() - 1);
    setWindowModified(true);
    return pane;
}

void MainWindow::removePort()
{
    if (m_panes->count() < 2) {
        firstPane().showStatusMessage(
            tr("Port Number = %1").arg(m_panes->count()), SessionDocument::messageMs);
        return;
    }
    m_panes->removeLast();
    m_viewModes->selectHorizontal();
    updateGrid();
    setWindowModified(true);
    qDebug() << "on_acEditRemove_triggered: Port Number =" << m_panes->count();
}

void MainWindow::onLayoutChosen()
{
    updateGrid();
    setWindowModified(true);
}

bool MainWindow::openPane(SerialPortWidget* pane, const QString& portName, bool quiet)
{
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
    if (pane == &firstPane() && quiet)
        m_statusBar->showError(text, reason);
    else if (pane == &firstPane())
        MessageBoxes::showWarning(this, text, reason);
    return false;
}

void MainWindow::start(const QString& portName, bool quiet)
{
    if (!portName.isEmpty()) {
        openPane(&firstPane(), portName, quiet);
        return;
    }
    for (SerialPortWidget* pane : m_panes->panes())
        openPane(pane, {}, quiet);
}

void MainWindow::stop()
{
    for (SerialPortWidget* pane : m_panes->panes()) {
        if (pane->isActive())
            pane->stop();
    }
}

void MainWindow::forEachPane(void (SerialPortWidget::*operation)()) const
{
    for (SerialPortWidget* pane : m_panes->panes())
        (pane->*operation)();
}

void MainWindow::changePort(const QString& portName)
{
    qDebug("Start to change port...");
    const Settings& settings = firstPane().settings();
    if (portName.isEmpty()
        || (settings.connMode == connectionMode::SerialPort && settings.portName == portName))
        return;
    firstPane().stop();
    openPane(&firstPane(), portName, false);
    setWindowModified(true);
}

void MainWindow::toggleQuickSettings()
{
    m_quickSettingsShown = !m_quickSettingsShown;
    onLayoutChosen();
}

void MainWindow::setAlwaysOnTop(bool on)
{
    const bool shown = isVisible();
    setWindowFlag(Qt::WindowStaysOnTopHint, on);
    // Changing a flag of a window makes it anew, hidden.
    if (shown)
        show();
}

SessionState MainWindow::currentSessionState() const
{
    firstPane().updateSettings();
    SessionState state = m_state;
    state.takeFrom(firstPane().settings(), firstPane().formatSetting());
    state.recentFiles = m_recentFiles->files();
    state.lastFile = m_document->currentFile();
    state.lastDirectory = m_document->lastDirectory();
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
    m_options->showInActions();
    for (SerialPortWidget* pane : m_panes->panes())
        pane->setAutoReconnect(m_state.autoReconnect);
}

void MainWindow::applyQuickSettingsGroupsToPorts()
{
    const QuickSettingsGroups groups = m_state.quickSettingsGroups();
    for (SerialPortWidget* pane : m_panes->panes())
        pane->setQuickSettingsGroups(groups);
}

SessionContents MainWindow::sessionContents() const
{
    SessionContents contents;
    contents.columnCount = m_viewModes->columnCount();
    contents.quickView = m_quickSettingsShown;
    contents.quickSettings = m_state.quickSettingsGroups();
    for (SerialPortWidget* pane : m_panes->panes()) {
        pane->updateSettings();
        contents.panes.append({pane->settings(), pane->formatSetting()});
    }
    return contents;
}

void MainWindow::applySession(const SessionContents& contents)
{
    m_state.setQuickSettingsGroups(contents.quickSettings);
    m_quickSettingsShown = contents.quickView;
    m_panes->renew(int(contents.panes.size()));
    for (int i = 0; i < m_panes->count(); ++i) {
        m_panes->panes().at(i)->setSettings(contents.panes.at(i).settings);
        m_panes->panes().at(i)->setFormatSetting(contents.panes.at(i).format);
    }
    m_viewModes->setColumnCount(contents.columnCount);
    m_grid->forgetSizes();
    applyAutoReconnectToPorts();
    updateGrid();
    m_panes->focusPane(0);
}

void MainWindow::resetSession()
{
    m_panes->renew(1);
    m_viewModes->selectHorizontal();
    m_grid->forgetSizes();
    applyAutoReconnectToPorts();
    updateGrid();
    m_panes->focusPane(0);
}

bool MainWindow::loadFile(const QString& fileName)
{
    return m_document->loadFile(fileName);
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
    m_actions->setPaneCount(m_panes->count(), maxPanes);
    m_actions->setConnectionState(
        pane.runState() == RunState::Running, pane.runState() == RunState::Paused, pane.isActive());
    m_logActions->refresh();
    refreshStatusBar();
    m_panes->showCaptions();
    refreshPortList();
    const Settings& settings = pane.settings();
    m_portSelector->setCurrentPort(
        settings.connMode == connectionMode::SerialPort ? settings.portName : QString());
}

void MainWindow::refreshPortList()
{
    const bool held = m_actions->action("acDebugHoldPortList"_L1)->isChecked();
    if (held || !m_portList.refresh([this] { return m_clock.elapsed(); }))
        return;
    qDebug("Start to refresh port list...");
    m_portSelector->setPorts(m_portList.ports());
    forEachPane(&SerialPortWidget::refreshPorts);
    Q_EMIT m_dialogs->portsChanged();
}

void MainWindow::refreshStatusBar()
{
    m_statusBar->showPort(PortStatus::of(firstPane()), m_clock.elapsed());
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
