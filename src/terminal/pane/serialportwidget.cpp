#include "terminal/pane/serialportwidget.h"

#include "connections/connectioncontroller.h"
#include "connections/serialportcatalog.h"
#include "terminal/pane/connectionpanel.h"
#include "terminal/pane/controllinerow.h"
#include "terminal/pane/noticebar.h"
#include "terminal/pane/panelines.h"
#include "terminal/pane/panerecords.h"
#include "terminal/pane/panestatusline.h"
#include "terminal/pane/panetraffic.h"
#include "terminal/pane/paneview.h"
#include "terminal/pane/peerdesk.h"
#include "terminal/pane/quicksettingslayout.h"
#include "terminal/pane/receivedesk.h"
#include "terminal/pane/runcontrol.h"
#include "terminal/pane/senddesk.h"
#include "terminal/pane/sendeditor.h"
#include "terminal/pane/sendpanel.h"
#include "terminal/port/connectionsummary.h"
#include "terminal/port/connectionsupervisor.h"
#include "terminal/port/panelog.h"
#include "terminal/port/receivepipeline.h"
#include "terminal/port/sendpipeline.h"
#include "terminal/view/findbar.h"
#include "terminal/view/receiveview.h"

#include <QVBoxLayout>

namespace {

constexpr int failureMs = 5000;

} // namespace

SerialPortWidget::SerialPortWidget(SerialPortCatalog& catalog, QWidget* parent)
    : QWidget(parent)
    , m_catalog(catalog)
    , m_view(new PaneView(this))
    , m_records(std::make_unique<PaneRecords>(
          m_view->connectionPanel(), m_view->receivePanel(), m_view->sendPanel()))
    , m_controller(std::make_unique<ConnectionController>())
    , m_traffic(std::make_unique<PaneTraffic>(*m_controller, m_view->receiveView(), *m_records))
    , m_run(std::make_unique<RunControl>(*m_controller, catalog, *m_records, *m_traffic))
    , m_sendDesk(std::make_unique<SendDesk>(m_view->sendEditor(), m_traffic->send(),
          m_records->format(), [this] { return isOpen(); }))
    , m_receiveDesk(std::make_unique<ReceiveDesk>(m_view->receiveView(), m_traffic->send()))
    , m_peerDesk(std::make_unique<PeerDesk>(
          m_view->peerPanel(), *m_controller, m_traffic->receive(), m_traffic->writer()))
    , m_lines(std::make_unique<PaneLines>(m_view->controlLineRow(), *m_controller, *m_records))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);

    wireTraffic();
    wireSending();
    wireReceiveView();
    wireRun();
    wireRecords();
    wireLines();
    wirePanels();
    showSplitter();
    updateDisplay();
    showState();
    focusSendEditor();
}

SerialPortWidget::~SerialPortWidget()
{
    m_traffic->log().finish();
}

void SerialPortWidget::wireTraffic()
{
    const PaneTraffic* traffic = m_traffic.get();
    connect(traffic, &PaneTraffic::statusMessage, this, &SerialPortWidget::showStatusMessage);
    const auto showCounters = [this] {
        m_view->statusLine().setCounters(receivedBytes(), sentBytes());
    };
    connect(traffic, &PaneTraffic::countersChanged, this, showCounters);
    showCounters();
    const auto showLog = [this] {
        const PaneLog& log = m_traffic->log();
        m_view->statusLine().setLog(log.state(), log.currentLogFile());
    };
    connect(&traffic->log(), &PaneLog::stateChanged, this, showLog);
    connect(&traffic->log(), &PaneLog::fileNameChanged, this, showLog);
    const ReceivePipeline* receive = &traffic->receive();
    connect(receive, &ReceivePipeline::rxTapped, this, &SerialPortWidget::rxTapped);
    const NoticeBar* notice = &m_view->noticeBar();
    connect(&traffic->log(), &PaneLog::errorOccurred, notice, &NoticeBar::showError);
    connect(&traffic->log(), &PaneLog::errorCleared, notice, &NoticeBar::clearError);
}

void SerialPortWidget::wireSending()
{
    const SendEditor* editor = &m_view->sendEditor();
    connect(editor, &SendEditor::sendRequested, this, &SerialPortWidget::onSendClicked);
    connect(editor, &SendEditor::clearHistoryRequested, this, &SerialPortWidget::clearSendList);
    const SendDesk* desk = m_sendDesk.get();
    connect(desk, &SendDesk::statusMessage, this, &SerialPortWidget::showStatusMessage);
    connect(desk, &SendDesk::inputModeChanged, this, [this] {
        updateDisplay();
        m_records->markEdited();
    });
}

void SerialPortWidget::wireReceiveView()
{
    ReceiveDesk* desk = m_receiveDesk.get();
    connect(desk, &ReceiveDesk::typed, this, &SerialPortWidget::tellIfNothingSent);
    connect(desk, &ReceiveDesk::statusMessage, this, &SerialPortWidget::showStatusMessage);
    connect(desk, &ReceiveDesk::errorOccurred, &m_view->noticeBar(), &NoticeBar::showError);
    ReceiveView* view = &m_view->receiveView();
    connect(view, &ReceiveView::findRequested, this, &SerialPortWidget::openFind);
    connect(view, &ReceiveView::clearRequested, this, &SerialPortWidget::clear);
    connect(view, &ReceiveView::displayFontZoomed, this, [this](const QFont& font) {
        m_records->format().displayFont = font;
        updateDisplay();
        m_records->markEdited();
    });
}

void SerialPortWidget::wireRun()
{
    const RunControl* run = m_run.get();
    connect(run, &RunControl::stateChanged, this, &SerialPortWidget::showState);
    connect(run, &RunControl::statusMessage, this, &SerialPortWidget::showStatusMessage);
    connect(run, &RunControl::started, &m_sendDesk->repeat(), &RepeatSender::paneStarted);
    connect(run, &RunControl::halted, &m_sendDesk->repeat(), &RepeatSender::paneHalted);
    const NoticeBar* notice = &m_view->noticeBar();
    connect(run, &RunControl::errorOccurred, notice, &NoticeBar::showError);
    connect(run, &RunControl::errorCleared, notice, &NoticeBar::clearError);
}

void SerialPortWidget::wireRecords()
{
    PaneRecords* records = m_records.get();
    connect(records, &PaneRecords::edited, this, &SerialPortWidget::settingsChanged);
    connect(records, &PaneRecords::formatChanged, this, &SerialPortWidget::applyFormat);
    connect(records, &PaneRecords::formatReplaced, this, [this] {
        m_sendDesk->loadHistory();
        showSplitter();
    });
}

void SerialPortWidget::wireLines()
{
    m_lines->follow(*m_traffic);
    m_lines->follow(*m_run);
    connect(&m_lines->lines(), &ControlLines::statusMessage, this,
        &SerialPortWidget::showStatusMessage);
    PaneStatusLine* status = &m_view->statusLine();
    connect(&m_lines->lines(), &ControlLines::reportChanged, status, &PaneStatusLine::setLines);
    connect(status, &PaneStatusLine::refreshing, &m_lines->lines(), &ControlLines::pollIfDue);
    connect(m_controller.get(), &ConnectionController::remoteSummaryChanged,
        &m_view->connectionPanel(), &ConnectionPanel::setRemoteSummary);
}

void SerialPortWidget::wirePanels()
{
    ConnectionPanel& connection = m_view->connectionPanel();
    connect(&connection, &ConnectionPanel::dtrEdited, this, [this](bool on) {
        m_controller->setSerialLine(ConnectionController::SerialLine::Dtr, on);
    });
    connect(&connection, &ConnectionPanel::rtsEdited, this, [this](bool on) {
        m_controller->setSerialLine(ConnectionController::SerialLine::Rts, on);
    });
    connect(&connection, &ConnectionPanel::openRequested, this, [this] { start({}, false); });
    connect(&connection, &ConnectionPanel::closeRequested, this, &SerialPortWidget::stop);
    connect(m_view, &PaneView::splitterMoved, this, [this] {
        FormatSetting& format = m_records->format();
        std::tie(format.splitterLeft, format.splitterRight) = m_view->splitterSizes();
        m_records->markEdited();
    });
    refreshPorts();
}

bool SerialPortWidget::start(const QString& portName, bool quiet)
{
    // Who was setting up the connection types to it next. Left where it was, the focus would end on
    // the button that closes the port, at the first blank typed.
    const bool settingUp = m_view->connectionPanel().isAncestorOf(window()->focusWidget());
    const bool started = m_run->start(portName, quiet);
    if (started && settingUp)
        focusSendEditor();
    return started;
}

void SerialPortWidget::stop()
{
    m_run->stop();
}

void SerialPortWidget::pause()
{
    m_run->pause();
}

RunState SerialPortWidget::runState() const
{
    return m_run->state();
}

bool SerialPortWidget::isOpen() const
{
    return m_run->isOpen();
}

bool SerialPortWidget::isActive() const
{
    return m_run->isActive();
}

void SerialPortWidget::setAutoReconnect(bool on)
{
    m_run->supervisor().setAutoReconnect(on);
}

QString SerialPortWidget::lastError() const
{
    return m_run->supervisor().lastError();
}

void SerialPortWidget::onSendClicked()
{
    updateSettings();
    // A message to a closed port would try to open it once more.
    if (start({}, false))
        m_sendDesk->sendEditorText();
    else
        m_sendDesk->keepEditorText();
}

void SerialPortWidget::showState()
{
    m_view->connectionPanel().setConnectionActive(isActive());
    m_view->statusLine().setState(connectionSummary(), stateText(), isOpen());
    m_peerDesk->show(settings().connMode);
    Q_EMIT stateChanged();
}

QString SerialPortWidget::stateText() const
{
    return m_run->stateText();
}

QString SerialPortWidget::connectionSummary() const
{
    return ::connectionSummary(settings());
}

void SerialPortWidget::tellIfNothingSent(bool sent)
{
    if (!sent && !isOpen())
        showStatusMessage(tr("The connection is closed: what you typed was not sent"), failureMs);
}

qint64 SerialPortWidget::receivedBytes() const
{
    return m_traffic->receive().receivedBytes();
}

qint64 SerialPortWidget::sentBytes() const
{
    return m_traffic->send().sentBytes();
}

qint64 SerialPortWidget::waitingBytes() const
{
    return m_traffic->receive().waitingBytes();
}

void SerialPortWidget::clear()
{
    m_traffic->clear();
}

void SerialPortWidget::clearSendList()
{
    m_sendDesk->clear();
    m_records->markEdited();
}

void SerialPortWidget::insertSendBytes(const QByteArray& bytes)
{
    updateSettings();
    m_sendDesk->insert(bytes);
}

void SerialPortWidget::sendBytes(const QByteArray& bytes)
{
    tellIfNothingSent(m_traffic->send().sendBytes(bytes));
}

void SerialPortWidget::setLogRecording(bool on)
{
    m_records->format().logSaveFlag = on;
    applyFormat();
}

bool SerialPortWidget::flushLog(QString* error)
{
    return m_traffic->log().flushLog(error);
}

bool SerialPortWidget::isLogRecording() const
{
    return formatSetting().logSaveFlag;
}

const PaneLog& SerialPortWidget::log() const
{
    return m_traffic->log();
}

QString SerialPortWidget::currentLogFile() const
{
    return formatSetting().currentLogFileName;
}

void SerialPortWidget::updateSettings()
{
    m_records->store();
}

void SerialPortWidget::updateDisplay()
{
    m_records->show();
}

const Settings& SerialPortWidget::settings() const
{
    return m_records->settings();
}

void SerialPortWidget::setSettings(const Settings& settings)
{
    m_records->setSettings(settings);
    m_run->applySettings();
    m_controller->apply(settings);
    showState();
}

const FormatSetting& SerialPortWidget::formatSetting() const
{
    return m_records->format();
}

void SerialPortWidget::setFormatSetting(const FormatSetting& format)
{
    m_records->setFormat(format);
}

void SerialPortWidget::applyFormat()
{
    const FormatSetting format = formatSetting().sanitized();
    m_traffic->applyFormat();
    m_receiveDesk->applyFormat(format);
    m_sendDesk->applyFormat(format, m_view->sendPanel().lineByLine());
    m_view->controlLineRow().setVisible(format.showControlLineLeds);
}

void SerialPortWidget::showSplitter()
{
    m_view->setSplitterSizes(formatSetting().splitterLeft, formatSetting().splitterRight);
}

ModemLines SerialPortWidget::modemState() const
{
    return m_lines->lines().modemState();
}

const LineReport& SerialPortWidget::controlLines() const
{
    m_lines->lines().pollIfDue();
    return m_lines->lines().report();
}

void SerialPortWidget::setStatusLineVisible(bool visible)
{
    m_view->statusLine().setVisible(visible);
}

void SerialPortWidget::setQuickSettingsVisible(bool visible)
{
    m_view->setQuickSettingsVisible(visible);
}

void SerialPortWidget::setQuickSettingsGroups(const QuickSettingsGroups& groups)
{
    m_view->setQuickSettingsGroups(groups);
}

void SerialPortWidget::refreshQuickSettingsGroups()
{
    m_view->quickSettings().refreshGroups();
}

void SerialPortWidget::refreshQuickFieldLayouts()
{
    m_view->quickSettings().refreshFields();
}

void SerialPortWidget::refreshPorts()
{
    m_view->connectionPanel().populatePorts(m_catalog);
}

void SerialPortWidget::openFind()
{
    m_view->findBar().open();
}

void SerialPortWidget::focusSendEditor()
{
    m_view->sendEditor().focusEditor();
}

void SerialPortWidget::showStatusMessage(const QString& text, int timeoutMs)
{
    m_view->statusLine().showMessage(text, timeoutMs);
    Q_EMIT statusMessage(text, timeoutMs);
}
