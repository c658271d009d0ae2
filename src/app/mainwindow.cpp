#include "app/mainwindow.h"

#include "app/bridgeactions.h"
#include "app/logactions.h"
#include "app/mainactions.h"
#include "app/mainstatusbar.h"
#include "app/messageboxes.h"
#include "app/panecloser.h"
#include "app/panedialogs.h"
#include "app/paneset.h"
#include "app/paneworkspace.h"
#include "app/portgrid.h"
#include "app/portselector.h"
#include "app/portwatch.h"
#include "app/programoptions.h"
#include "app/recentfilesmodel.h"
#include "app/sessiondocument.h"
#include "app/setconfigfilepathdialog.h"
#include "app/toolactions.h"
#include "app/transferactions.h"
#include "app/windowgeometry.h"
#include "settings/config.h"
#include "settings/settingsservice.h"
#include "settings/storewriter.h"
#include "terminal/pane/serialportwidget.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDateTime>
#include <QDebug>
#include <QDesktopServices>
#include <QLabel>
#include <QMenuBar>
#include <QPointer>
#include <QScopedValueRollback>
#include <QToolBar>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

MainWindow::MainWindow(SerialPortCatalog& catalog, Restore restore, QWidget* parent)
    : QMainWindow(parent)
    , m_catalog(catalog)
    , m_store(Config::organizationName(), Config::applicationName())
    , m_state(SettingsService::load(m_store))
    , m_portWatch(new PortWatch(catalog, this))
    , m_actions(new MainActions(this))
    , m_grid(new PortGrid)
    , m_area(new PortArea(m_grid, this))
    , m_panes(std::make_unique<PaneSet>(catalog, m_grid))
    , m_workspace(new PaneWorkspace(m_state, *m_panes, *m_grid,
          {m_actions->action("acViewHorizontal"_L1), m_actions->action("acViewVertical"_L1),
              m_actions->action("acViewGrid"_L1), m_actions->action("acViewCustom"_L1)},
          this))
    , m_portSelector(new PortSelector(this))
    , m_statusBar(new MainStatusBar(this))
    , m_options(new ProgramOptions(
          {m_actions->action("acControlOpen"_L1), m_actions->action("acAutoReconnect"_L1),
              m_actions->action("actionEnglish"_L1), m_actions->action("actionChinese"_L1)},
          m_store, m_state, this))
    , m_dialogs(new PaneDialogs(catalog, *m_panes, *m_options,
          {[this](const Settings& s, const FormatSetting& f) { return addPort(s, f); },
              [this](SerialPortWidget* pane) { m_workspace->open(*pane, {}, false); },
              [this] { return m_state.quickSettingsGroups(); },
              [this](const QuickSettingsGroups& groups) {
                  m_state.setQuickSettingsGroups(groups);
                  applyQuickSettingsGroupsToPorts();
              }},
          this))
    , m_logActions(new LogActions({m_actions->action("acFileRecordDataLog"_L1),
                                      m_actions->action("acFileViewCurrentDataLog"_L1),
                                      m_actions->action("acFileOpenLogFolder"_L1)},
          {[this] { return livePortWidgets(); }, [this] { return currentPortWidget(); }}, this))
    , m_transfers(new TransferActions(
          {m_actions->action("acXferSend"_L1), m_actions->action("acXferReceive"_L1),
              m_actions->action("acXferCancel"_L1)},
          [this] { return currentPortWidget(); }, m_store, this))
    , m_bridges(new BridgeActions(m_actions->action("acToolsBridge"_L1), *m_panes, this))
    , m_closer(new PaneCloser([this] { return livePortWidgets(); }, this))
{
    setCentralWidget(m_area);
    setStatusBar(m_statusBar);
    buildBars();
    buildDocument();
    connectPanes();
    connectFileActions();
    connectPortActions();
    connectViewActions();
    connectHelpActions();
    onAction("acToolsSetting"_L1, m_dialogs, &PaneDialogs::showSettings);
    ToolActions::connectTo(*m_actions, *m_panes, this);
    connect(m_portWatch, &PortWatch::changed, this, &MainWindow::showPorts);
    connect(m_actions->action("acDebugHoldPortList"_L1), &QAction::toggled, m_portWatch,
        &PortWatch::setHeld);

    m_clock.start();
    applySessionToPrimaryPort();
    syncBridgePorts();
    if (restore == Restore::LastConnection) {
        m_workspace->restoreConnection(m_catalog);
        if (m_state.openLastConnection)
            m_bridges->load(m_store);
    }
    firstPane().focusSendEditor();

    connect(&m_displayTimer, &QTimer::timeout, this, &MainWindow::displayTick);
    m_displayTimer.setSingleShot(true);
    wake();
}

// Something moved. What follows a silence is shown in the picture that shows what moved; of what
// follows closely only the last is of interest.
void MainWindow::wake()
{
    m_quietTicks = 0;
    const qint64 rest = m_displayedMs + kDisplayRefreshMs - m_clock.elapsed();
    if (rest <= 0)
        displayTick();
    else if (!m_displayTimer.isActive() || m_displayTimer.remainingTime() > rest)
        m_displayTimer.start(int(rest));
}

void MainWindow::displayTick()
{
    m_displayedMs = m_clock.elapsed();
    onUpdateDisplay();
    if (++m_quietTicks <= kQuietTicks)
        m_displayTimer.start(kQuietRefreshMs);
}

MainWindow::~MainWindow()
{
    m_panes->disconnect(this);
    // Where the client area was: the frame's corner would move the window by the frame's width at
    // every start.
    WindowGeometry{size(), geometry().topLeft()}.save(m_store);
}

void MainWindow::buildBars()
{
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
    m_portSelector->setPorts(m_portWatch->ports());
    connect(m_portSelector, &PortSelector::portChosen, this, &MainWindow::changePort);
}

void MainWindow::buildDocument()
{
    const MainActions::RecentFiles places =
        m_actions->addRecentFiles(RecentFilesModel::kDefaultCount);
    m_recentFiles = new RecentFilesModel(RecentFilesModel::kDefaultCount, places.files, this);
    m_recentFiles->setFrame(places.separator, places.forgetMenu);
    m_recentFiles->setFiles(m_state.recentFiles);
    m_recentFiles->updateActions(false);
    m_document = new SessionDocument({[this] {
                                          SessionContents contents = m_workspace->contents();
                                          contents.bridges = m_bridges->stored();
                                          return contents;
                                      },
                                         [this](const SessionContents& contents) {
                                             // Those of before are not for these panes.
                                             m_bridges->restore({});
                                             m_workspace->apply(contents);
                                             m_bridges->restore(contents.bridges);
                                         },
                                         [this] {
                                             m_bridges->restore({});
                                             m_workspace->reset();
                                         },
                                         [this](const std::function<void()>& then) {
                                             m_closer->close(livePortWidgets(), then);
                                         }},
        *m_recentFiles, this);
    m_logActions->setLastLogFile(m_state.lastLogFile);
    m_document->setLastDirectory(m_state.lastDirectory);
    m_document->setFirstDirectory(SetConfigFilePathDialog::storedPath(m_store));
    connect(m_document, &SessionDocument::message, this,
        [this](const QString& text, int ms) { firstPane().showStatusMessage(text, ms); });
    connect(m_document, &SessionDocument::savingProgress, m_statusBar, &MainStatusBar::showSaving);
}

void MainWindow::connectPanes()
{
    connect(m_options, &ProgramOptions::autoReconnectChanged, this,
        &MainWindow::applyAutoReconnectToPorts);
    const auto markModified = [this] { setWindowModified(true); };
    connect(m_dialogs, &PaneDialogs::edited, this, markModified);
    connect(m_panes.get(), &PaneSet::edited, this, markModified);
    connect(m_workspace, &PaneWorkspace::openFailed, this,
        [this](const QString& text, const QString& reason, bool quiet) {
            if (quiet)
                m_statusBar->showError(text, reason);
            else
                MessageBoxes::showWarning(this, text, reason);
        });
    connect(m_workspace, &PaneWorkspace::edited, this, markModified);
    connect(m_bridges, &BridgeActions::edited, this, markModified);
    connect(m_workspace, &PaneWorkspace::arranged, this, &MainWindow::showArrangement);
    connect(m_panes.get(), &PaneSet::stateChanged, this, &MainWindow::refreshStatusBar);
    connect(m_panes.get(), &PaneSet::moved, this, &MainWindow::wake);
    connect(m_panes.get(), &PaneSet::firstPaneMessage, m_statusBar, &MainStatusBar::showNotice);
    connect(m_panes.get(), &PaneSet::currentChanged, m_area, &PortArea::follow);
    connect(m_panes.get(), &PaneSet::currentChanged, this, &MainWindow::refreshTransferActions);
    connect(m_panes.get(), &PaneSet::made, m_transfers, &TransferActions::follow);
    for (SerialPortWidget* pane : m_panes->panes())
        m_transfers->follow(pane);
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
    onAction("acFileSave"_L1, m_document, [this] { m_document->save(); });
    onAction("acFileSaveAs"_L1, m_document, [this] { m_document->saveAs(); });
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
    onAction("acViewNextPort"_L1, this, [this] { m_panes->focusNext(1); });
    onAction("acViewPreviousPort"_L1, this, [this] { m_panes->focusNext(-1); });
    m_workspace->followKeys(*m_actions);
    onAction("acViewQuickSettings"_L1, m_workspace, &PaneWorkspace::toggleQuickSettings);
    onAction("acViewAlwaysTop"_L1, this, &MainWindow::setAlwaysOnTop);
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
    return m_workspace->append();
}

void MainWindow::syncBridgePorts()
{
    m_bridges->sync();
}

void MainWindow::rebuildPortLayout()
{
    m_workspace->rebuildLayout();
}

void MainWindow::updateGrid()
{
    m_workspace->update();
}

void MainWindow::showArrangement()
{
    m_statusBar->setVisible(m_panes->count() == 1);
    m_actions->setQuickSettingsShown(m_workspace->areQuickSettingsShown());
    m_actions->setZoomed(m_workspace->isZoomed());
    m_actions->setPaneCount(m_panes->count(), kMaxPanes, m_workspace->shownColumns());
    syncBridgePorts();
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
    return m_workspace->addPort(settings, format);
}

void MainWindow::removePort()
{
    if (m_panes->count() < 2) {
        firstPane().showStatusMessage(
            tr("Port Number = %1").arg(m_panes->count()), SessionDocument::kMessageMs);
        return;
    }
    SerialPortWidget* last = m_panes->panes().constLast();
    m_closer->close({last}, [this, last] {
        if (last != m_panes->panes().constLast() || !m_workspace->removeLast())
            return; // others came or went while its log was written
        qDebug() << "on_acEditRemove_triggered: Port Number =" << m_panes->count();
    });
}

void MainWindow::start(const QString& portName, bool quiet)
{
    m_workspace->start(portName, quiet);
}

void MainWindow::stop()
{
    m_workspace->stop();
}

void MainWindow::startFileTransfer(XferDirection direction)
{
    m_transfers->start(currentPortWidget(), direction);
}

void MainWindow::refreshTransferActions()
{
    m_transfers->refresh();
}

void MainWindow::forEachPane(void (SerialPortWidget::*operation)()) const
{
    for (SerialPortWidget* pane : m_panes->panes())
        (pane->*operation)();
}

void MainWindow::changePort(const QString& portName)
{
    m_workspace->changePort(portName);
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
    SessionState state = m_workspace->state();
    state.recentFiles = m_recentFiles->files();
    state.lastFile = m_document->currentFile();
    m_logActions->refresh();
    state.lastLogFile = m_logActions->lastLogFile();
    state.lastDirectory = m_document->lastDirectory();
    return state;
}

void MainWindow::applySessionToPrimaryPort()
{
    m_options->showInActions();
    m_workspace->applyToFirstPane();
}

void MainWindow::applyAutoReconnectToPorts()
{
    m_workspace->applyAutoReconnect();
}

void MainWindow::applyQuickSettingsGroupsToPorts()
{
    m_workspace->applyQuickSettingsGroups();
}

bool MainWindow::loadFile(const QString& fileName)
{
    return m_document->loadFile(fileName);
}

bool MainWindow::writeSettings(QString& reason)
{
    const SessionState state = currentSessionState();
    return StoreWriter::write(
        m_store,
        [&] {
            SettingsService::save(m_store, state);
            m_bridges->save(m_store);
        },
        reason);
}

void MainWindow::onUpdateDisplay()
{
    const SerialPortWidget& pane = firstPane();
    m_actions->setPaneCount(m_panes->count(), kMaxPanes, m_workspace->shownColumns());
    m_actions->setConnectionState(
        pane.runState() == RunState::Running, pane.runState() == RunState::Paused, pane.isActive());
    m_logActions->refresh();
    refreshTransferActions();
    refreshStatusBar();
    m_panes->showCaptions();
    const Settings& settings = pane.settings();
    m_portSelector->setCurrentPort(
        settings.connMode == connectionMode::SerialPort ? settings.portName : QString());
}

void MainWindow::showPorts()
{
    qDebug("Start to refresh port list...");
    m_portSelector->setPorts(m_portWatch->ports());
    forEachPane(&SerialPortWidget::refreshPorts);
    Q_EMIT m_dialogs->portsChanged();
}

void MainWindow::refreshStatusBar()
{
    m_statusBar->showPort(PortStatus::of(firstPane()), m_clock.elapsed());
}

void MainWindow::closeUnasked(std::function<void()> then)
{
    m_state.lastConnectionOpen = firstPane().isActive();
    QString reason;        // is in the debug log
    writeSettings(reason); // first, as it is what counts most
    m_bridges->end();
    m_closer->closeUnasked(livePortWidgets(), kLeaveMs, [this, then = std::move(then)] {
        m_left = true;
        close();
        then();
    });
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    qDebug() << "closeEvent..." << QDateTime::currentDateTime().toString(Qt::ISODate);
    if (!m_left) {
        m_state.lastConnectionOpen = firstPane().isActive();
        const QScopedValueRollback closing(m_inCloseEvent, true);
        m_closer->close(livePortWidgets(), [this] { leave(); });
    }
    event->setAccepted(m_left);
    if (m_left) {
        m_displayTimer.stop();
        hide();
    }
}

// The logs may have taken a while, and the event that asked for it is over then. What cannot be
// stored is told before the window goes.
void MainWindow::leave()
{
    QString reason;
    m_left = writeSettings(reason);
    if (m_left && !m_inCloseEvent)
        close();
    if (m_left)
        return;
    MessageBoxes::ask(this,
        tr("The settings of the program could not be stored. At its next start they are as they "
           "were before."),
        reason, QMessageBox::Ok, QMessageBox::Ok, [this](QMessageBox::StandardButton) {
            m_left = true;
            close();
        });
}
