#include "terminal/serialportwidget.h"

#include "app/settings/settingsservice.h"
#include "connections/connectioncontroller.h"
#include "connections/serialportcatalog.h"
#include "terminal/activityrow.h"
#include "terminal/connectionpanel.h"
#include "terminal/connectionsummary.h"
#include "terminal/connectionsupervisor.h"
#include "terminal/format/sendmodes.h"
#include "terminal/lampblinker.h"
#include "terminal/noticebar.h"
#include "terminal/panelog.h"
#include "terminal/panestatusline.h"
#include "terminal/paneview.h"
#include "terminal/receivepanel.h"
#include "terminal/receivepipeline.h"
#include "terminal/repeatsender.h"
#include "terminal/savetextdialog.h"
#include "terminal/senddesk.h"
#include "terminal/sendeditor.h"
#include "terminal/sendpanel.h"
#include "terminal/sendpipeline.h"
#include "terminal/transportwriter.h"
#include "terminal/view/findbar.h"
#include "terminal/view/receiveview.h"

#include <QScopedValueRollback>
#include <QVBoxLayout>

namespace {

constexpr int noticeMs = 3000;
constexpr int failureMs = 5000;

} // namespace

SerialPortWidget::SerialPortWidget(SerialPortCatalog& catalog, QWidget* parent)
    : QWidget(parent)
    , m_catalog(catalog)
    , m_settings(SettingsService::defaultPortSettings({}))
    , m_format(SettingsService::defaultFormatSettings())
    , m_view(new PaneView(this))
    , m_controller(std::make_unique<ConnectionController>())
    , m_receive(std::make_unique<ReceivePipeline>(m_view->receiveView()))
    , m_log(std::make_unique<PaneLog>(*m_receive))
    , m_writer(std::make_unique<TransportWriter>(*m_controller,
          [this] {
              updateSettings();
              return m_settings;
          }))
    , m_send(std::make_unique<SendPipeline>(*m_writer, *m_receive))
    , m_desk(std::make_unique<SendDesk>(m_view->sendEditor(), *m_send, m_format))
    , m_repeat(std::make_unique<RepeatSender>(RepeatSender::Pane{
          [this] { return m_supervisor->isOpen(); }, [this] { return m_view->sendEditor().text(); },
          [this](const QString& text) {
              const bool wholeText = !m_view->sendPanel().lineByLine();
              m_send->sendText(
                  text, wholeText ? SendPipeline::Editor::Rewrite : SendPipeline::Editor::Keep);
          }}))
    , m_supervisor(std::make_unique<ConnectionSupervisor>(*m_controller, catalog))
    , m_txBlink(std::make_unique<LampBlinker>(
          [this](bool lit) { m_view->activityRow().setSending(lit); }))
    , m_rxBlink(std::make_unique<LampBlinker>(
          [this](bool lit) { m_view->activityRow().setReceiving(lit); }))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);

    wireReceivedRoad();
    wireSentRoad();
    wireTypedKeys();
    wireConnection();
    wirePanels();
    m_view->setSplitterSizes(m_format.splitterLeft, m_format.splitterRight);
    updateDisplay();
    showState();
    focusSendEditor();
}

SerialPortWidget::~SerialPortWidget()
{
    m_log->finish();
}

void SerialPortWidget::wireReceivedRoad()
{
    connect(
        m_controller.get(), &ConnectionController::readyRead, this, &SerialPortWidget::onReadData);
    connect(m_controller.get(), &ConnectionController::udpReadyRead, this,
        &SerialPortWidget::readUdpSocket);
    connect(m_receive.get(), &ReceivePipeline::rxTapped, this, &SerialPortWidget::rxTapped);
    connect(m_receive.get(), &ReceivePipeline::throttleRequested, this,
        &SerialPortWidget::onThrottleRequested);
    connect(m_receive.get(), &ReceivePipeline::received, m_rxBlink.get(), &LampBlinker::flash);
    connect(m_receive.get(), &ReceivePipeline::statusMessage, this,
        &SerialPortWidget::showStatusMessage);
    connect(m_log.get(), &PaneLog::fileNameChanged, this,
        [this](const QString& name) { m_format.currentLogFileName = name; });
    connect(m_log.get(), &PaneLog::statusMessage, this, &SerialPortWidget::showStatusMessage);
    NoticeBar* notice = &m_view->noticeBar();
    connect(m_log.get(), &PaneLog::errorOccurred, notice, &NoticeBar::showError);
    connect(m_log.get(), &PaneLog::errorCleared, notice, &NoticeBar::clearError);
    const auto showCounters = [this] {
        m_view->statusLine().setCounters(receivedBytes(), sentBytes());
    };
    connect(m_receive.get(), &ReceivePipeline::countersChanged, this, showCounters);
    connect(m_send.get(), &SendPipeline::countersChanged, this, showCounters);
    showCounters();
}

void SerialPortWidget::wireSentRoad()
{
    SendEditor& editor = m_view->sendEditor();
    connect(&editor, &SendEditor::sendRequested, this, &SerialPortWidget::onSendClicked);
    connect(&editor, &SendEditor::clearHistoryRequested, this, &SerialPortWidget::clearSendList);
    connect(m_desk.get(), &SendDesk::inputModeChanged, this, [this] {
        updateDisplay();
        markSettingsDirty();
    });
    connect(m_desk.get(), &SendDesk::statusMessage, this, &SerialPortWidget::showStatusMessage);
    connect(
        m_send.get(), &SendPipeline::settingsChanged, this, &SerialPortWidget::markSettingsDirty);
    connect(m_send.get(), &SendPipeline::sent, m_txBlink.get(), &LampBlinker::flash);
    connect(m_send.get(), &SendPipeline::statusMessage, this, &SerialPortWidget::showStatusMessage);
}

void SerialPortWidget::wireTypedKeys()
{
    ReceiveView& view = m_view->receiveView();
    connect(&view, &ReceiveView::textTyped, this,
        [this](const QString& text) { tellIfNothingSent(m_send->sendTyped(text)); });
    connect(
        &view, &ReceiveView::enterTyped, this, [this] { tellIfNothingSent(m_send->sendEnter()); });
    connect(&view, &ReceiveView::controlTyped, this,
        [this](const QByteArray& bytes) { tellIfNothingSent(m_send->sendControl(bytes)); });
    connect(&view, &ReceiveView::findRequested, this, &SerialPortWidget::openFind);
    connect(&view, &ReceiveView::clearRequested, this, &SerialPortWidget::clear);
    connect(&view, &ReceiveView::saveRequested, this, &SerialPortWidget::askWhereToSave);
    connect(&view, &ReceiveView::saveFinished, this, [this](bool ok, const QString& errorText) {
        if (ok)
            showStatusMessage(tr("File saved"), noticeMs);
        else
            m_view->noticeBar().showError(errorText);
    });
    connect(&view, &ReceiveView::displayFontZoomed, this, [this](const QFont& font) {
        m_format.displayFont = font;
        updateDisplay();
        markSettingsDirty();
    });
}

void SerialPortWidget::wireConnection()
{
    ConnectionSupervisor* supervisor = m_supervisor.get();
    connect(supervisor, &ConnectionSupervisor::opened, this, &SerialPortWidget::onOpened);
    connect(supervisor, &ConnectionSupervisor::closed, this, &SerialPortWidget::onClosed);
    connect(supervisor, &ConnectionSupervisor::stateChanged, this, &SerialPortWidget::showState);
    connect(supervisor, &ConnectionSupervisor::statusMessage, this,
        &SerialPortWidget::showStatusMessage);
    connect(supervisor, &ConnectionSupervisor::errorOccurred, this, [this](const QString& text) {
        m_connectionError = text;
        m_view->noticeBar().showError(text);
    });
    connect(supervisor, &ConnectionSupervisor::serialPortReconnected, this,
        [this](const QString& name) {
            m_settings.portName = name;
            updateDisplay();
        });
}

void SerialPortWidget::wirePanels()
{
    ConnectionPanel& connection = m_view->connectionPanel();
    connect(&connection, &ConnectionPanel::edited, this, &SerialPortWidget::onSettingsEdited);
    connect(&connection, &ConnectionPanel::dtrEdited, this, [this](bool on) {
        m_controller->setSerialLine(ConnectionController::SerialLine::Dtr, on);
    });
    connect(&connection, &ConnectionPanel::rtsEdited, this, [this](bool on) {
        m_controller->setSerialLine(ConnectionController::SerialLine::Rts, on);
    });
    connect(&connection, &ConnectionPanel::openRequested, this, [this] { start({}, false); });
    connect(&connection, &ConnectionPanel::closeRequested, this, &SerialPortWidget::stop);
    connect(
        &m_view->receivePanel(), &ReceivePanel::edited, this, &SerialPortWidget::onFormatEdited);
    connect(&m_view->sendPanel(), &SendPanel::edited, this, &SerialPortWidget::onFormatEdited);
    connect(m_view, &PaneView::splitterMoved, this, [this] {
        std::tie(m_format.splitterLeft, m_format.splitterRight) = m_view->splitterSizes();
        markSettingsDirty();
    });
    refreshPorts();
}

bool SerialPortWidget::start(const QString& portName, bool quiet)
{
    updateSettings();
    if (!portName.isEmpty()) {
        m_settings.connMode = connectionMode::SerialPort;
        m_settings.portName = portName;
        updateDisplay();
    } else if (m_receive->runState() == RunState::Paused) {
        m_receive->start();
        m_repeat->paneStarted();
        showState();
        return true;
    }
    m_view->noticeBar().clearError(m_connectionError);
    applySettings();
    return m_supervisor->start(quiet);
}

void SerialPortWidget::stop()
{
    m_supervisor->stop();
}

void SerialPortWidget::pause()
{
    if (m_receive->runState() != RunState::Running)
        return;
    m_repeat->paneHalted(RunState::Paused);
    m_receive->pause();
    m_log->flushLog(nullptr);
    showState();
}

RunState SerialPortWidget::runState() const
{
    return m_receive->runState();
}

bool SerialPortWidget::isOpen() const
{
    return m_supervisor->isOpen();
}

bool SerialPortWidget::isActive() const
{
    return m_supervisor->isOpen() || m_supervisor->isConnecting() || m_supervisor->isReconnecting();
}

void SerialPortWidget::setAutoReconnect(bool on)
{
    m_supervisor->setAutoReconnect(on);
}

QString SerialPortWidget::lastError() const
{
    return m_supervisor->lastError();
}

void SerialPortWidget::onReadData()
{
    m_receive->ingestRx(m_controller->readAvailable(m_settings.connMode), true, {});
}

void SerialPortWidget::readUdpSocket()
{
    // What is not read waits in the socket; the release of the gate comes back here.
    if (m_gate.isThrottled())
        return;
    for (const ConnectionController::UdpDatagram& datagram : m_controller->readUdpDatagrams())
        m_receive->ingestRx(datagram.payload, false, datagram.peerKey);
}

void SerialPortWidget::onThrottleRequested(bool on)
{
    if (!m_gate.set(ReadGate::Reason::View, on))
        return;
    m_controller->setReadThrottled(m_settings.connMode, on);
    if (!on && connectionModeIsUdp(m_settings.connMode))
        readUdpSocket();
}

void SerialPortWidget::onSendClicked()
{
    updateSettings();
    // A message that opened the connection, or failed to, has already said so.
    const bool quiet = m_desk->sendEditorText();
    start({}, quiet);
}

void SerialPortWidget::onOpened()
{
    m_view->noticeBar().clearError(m_connectionError);
    if (m_receive->runState() == RunState::Stopped)
        m_receive->start();
    m_repeat->paneStarted();
    showState();
}

void SerialPortWidget::onClosed()
{
    m_repeat->paneHalted(RunState::Stopped);
    m_receive->stop();
    showState();
}

void SerialPortWidget::showState()
{
    m_view->connectionPanel().setConnectionActive(isActive());
    m_view->statusLine().setState(connectionSummary(), stateText(), m_supervisor->isOpen());
    Q_EMIT stateChanged();
}

QString SerialPortWidget::stateText() const
{
    if (m_supervisor->isOpen())
        return m_receive->runState() == RunState::Paused ? tr("Paused") : tr("Open");
    if (m_supervisor->isWaitingForPort())
        return tr("Waiting for the port...");
    if (m_supervisor->isReconnecting())
        return tr("Reconnecting...");
    return m_supervisor->isConnecting() ? tr("Connecting...") : tr("Closed");
}

QString SerialPortWidget::connectionSummary() const
{
    return ::connectionSummary(m_settings);
}

void SerialPortWidget::tellIfNothingSent(bool sent)
{
    if (!sent && !m_supervisor->isOpen())
        showStatusMessage(tr("The connection is closed: what you typed was not sent"), failureMs);
}

qint64 SerialPortWidget::receivedBytes() const
{
    return m_receive->receivedBytes();
}

qint64 SerialPortWidget::sentBytes() const
{
    return m_send->sentBytes();
}

qint64 SerialPortWidget::waitingBytes() const
{
    return m_receive->waitingBytes();
}

void SerialPortWidget::clear()
{
    m_receive->clear();
    m_send->clearCounter();
}

void SerialPortWidget::clearSendList()
{
    m_desk->clear();
    markSettingsDirty();
}

void SerialPortWidget::insertSendBytes(const QByteArray& bytes)
{
    updateSettings();
    m_desk->insert(bytes);
}

void SerialPortWidget::sendBytes(const QByteArray& bytes)
{
    tellIfNothingSent(
        m_send->writeRaw(bytes, m_format.displaySendMsg, UdpTargetMode::ConfiguredRemote, {}) > 0);
}

void SerialPortWidget::setLogRecording(bool on)
{
    m_format.logSaveFlag = on;
    applyFormat();
}

bool SerialPortWidget::flushLog(QString* error)
{
    return m_log->flushLog(error);
}

void SerialPortWidget::updateSettings()
{
    m_view->connectionPanel().store(m_settings);
    m_view->receivePanel().store(m_format);
    m_view->sendPanel().store(m_format);
    applyFormat();
}

void SerialPortWidget::updateDisplay()
{
    const QScopedValueRollback applying(m_applying, true);
    m_view->connectionPanel().load(m_settings);
    m_view->receivePanel().load(m_format);
    m_view->sendPanel().load(m_format);
    applyFormat();
}

void SerialPortWidget::setSettings(const Settings& settings)
{
    m_settings = settings;
    updateDisplay();
    applySettings();
    showState();
}

void SerialPortWidget::setFormatSetting(const FormatSetting& format)
{
    const QScopedValueRollback applying(m_applying, true);
    m_format = format;
    m_desk->loadHistory();
    m_view->setSplitterSizes(m_format.splitterLeft, m_format.splitterRight);
    updateDisplay();
}

void SerialPortWidget::applySettings()
{
    m_controller->setSerialLine(ConnectionController::SerialLine::Dtr, m_settings.dtrOn);
    m_controller->setSerialLine(ConnectionController::SerialLine::Rts, m_settings.rtsOn);
    m_supervisor->setSettings(m_settings);
}

void SerialPortWidget::applyFormat()
{
    const FormatSetting format = m_format.sanitized();
    m_receive->setFormatSetting(format);
    m_log->setPane(format, m_settings.portName, connectionSummary());
    m_send->setFormatSetting(format);
    m_view->receiveView().setDisplayFont(format.displayFont);
    // A row of hexadecimal ends between bytes, not in one.
    m_view->receiveView().setWrapAtBlanks(
        format.receiveMsgFormat == int(MessageFormat::Hexadecimal));
    m_view->sendEditor().setDisplayFont(format.displayFont);
    m_view->activityRow().setLampsVisible(format.showControlLineLeds);
    m_repeat->setInterval(format.sendInterval, format.sendTimeUnit);
    m_repeat->setLineByLine(m_view->sendPanel().lineByLine());
    m_repeat->setEnabled(m_format.autoSend);
}

void SerialPortWidget::onSettingsEdited()
{
    updateSettings();
    m_settings.useTargetHost(m_settings.targetHost);
    m_supervisor->setSettings(m_settings);
    m_controller->reconfigureSerial(m_settings);
    updateDisplay();
    showState();
    markSettingsDirty();
}

void SerialPortWidget::onFormatEdited()
{
    updateSettings();
    markSettingsDirty();
}

void SerialPortWidget::markSettingsDirty()
{
    if (!m_applying)
        Q_EMIT settingsChanged();
}

void SerialPortWidget::setStatusLineVisible(bool visible)
{
    m_view->statusLine().setVisible(visible);
}

void SerialPortWidget::setQuickSettingsVisible(bool visible)
{
    m_view->setQuickSettingsVisible(visible);
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

void SerialPortWidget::askWhereToSave()
{
    openSaveTextDialog(this, m_view->receiveView(),
        [this] { showStatusMessage(tr("A save is still running"), noticeMs); });
}
