#include "terminal/pane/serialportwidget.h"

#include "terminal/format/sendinsertion.h"
#include "terminal/format/sendmodes.h"
#include "terminal/pane/connectionpanel.h"
#include "terminal/pane/controllinerow.h"
#include "terminal/pane/noticebar.h"
#include "terminal/pane/panestatusline.h"
#include "terminal/pane/paneview.h"
#include "terminal/pane/peerpanel.h"
#include "terminal/pane/quicksettingslayout.h"
#include "terminal/pane/receivepanel.h"
#include "terminal/pane/savetextdialog.h"
#include "terminal/pane/sendeditor.h"
#include "terminal/pane/sendpanel.h"
#include "terminal/port/portlines.h"
#include "terminal/port/portlog.h"
#include "terminal/view/displayfonts.h"
#include "terminal/view/findbar.h"
#include "transfer/ui/filetransferbar.h"

#include <QDropEvent>
#include <QFileInfo>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QUrl>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kNoticeMs = 3000;

// Everything that the panels show; the history has a place of its own.
bool sameOptions(FormatSetting one, const FormatSetting& other)
{
    one.sendList = other.sendList;
    one.currentLogFileName = other.currentLogFileName;
    return one == other;
}

} // namespace

SerialPortWidget::SerialPortWidget(SerialPortCatalog& catalog, QWidget* parent)
    : QWidget(parent)
    , m_catalog(catalog)
    , m_view(new PaneView(this))
    , m_port(catalog)
    , m_display(m_view->receiveView())
    , m_repeat({[this] { return isOpen(); }, [this] { return m_port.pendingBytes(); },
          [this] { return m_view->sendEditor().text(); },
          [this](const QString& text) {
              m_port.sending().sendText(text, m_view->sendPanel().lineByLine()
                                                  ? SendPipeline::Editor::Keep
                                                  : SendPipeline::Editor::Rewrite);
          }})
    , m_transfer(m_port)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);
    m_port.setDisplay(&m_display);
    wirePort();
    wireSending();
    wireTransfer();
    wireReceiveView();
    wirePanels();
    updateDisplay();
    showState();
    showCounters();
    focusSendEditor();
}

SerialPortWidget::~SerialPortWidget()
{
    // The widgets go first: they show the port and, losing the focus, still report edits.
    m_showing = true;
    m_port.setDisplay(nullptr);
    m_transfer.disconnect();
    delete m_view;
    m_port.disconnect(this);
}

void SerialPortWidget::wirePort()
{
    const LivePort* port = &m_port;
    connect(port, &LivePort::recordsChanged, this, &SerialPortWidget::showRecords);
    connect(port, &LivePort::stateChanged, this, &SerialPortWidget::showState);
    connect(port, &LivePort::countersChanged, this, &SerialPortWidget::showCounters);
    connect(port, &LivePort::noticed, this, &SerialPortWidget::onNotice);
    connect(port, &LivePort::noticeCleared, &m_view->noticeBar(), &NoticeBar::clearError);
    connect(port, &LivePort::remoteSummaryChanged, &m_view->connectionPanel(),
        &ConnectionPanel::setRemoteSummary);
    connect(port, &LivePort::logFinished, this, &SerialPortWidget::logFinished);
    const auto showLog = [this] {
        m_view->statusLine().setLog(log().state(), log().currentLogFile());
    };
    connect(&log(), &PortLog::stateChanged, this, showLog);
    connect(&log(), &PortLog::fileNameChanged, this, showLog);
    m_view->peerPanel().follow(&m_port);
    m_view->controlLineRow().follow(&m_port);
    PaneStatusLine* status = &m_view->statusLine();
    connect(&m_port.lines(), &PortLines::reportChanged, status, &PaneStatusLine::setLines);
    connect(status, &PaneStatusLine::shownChanged, &m_port.lines(), &PortLines::setWatched);
}

void SerialPortWidget::wireSending()
{
    SendEditor* editor = &m_view->sendEditor();
    connect(editor, &SendEditor::sendRequested, this, &SerialPortWidget::onSendClicked);
    connect(editor, &SendEditor::clearHistoryRequested, this, &SerialPortWidget::clearSendList);
    const SendPipeline* sending = &m_port.sending();
    connect(sending, &SendPipeline::historyChanged, this,
        [this, editor] { editor->setHistory(m_port.sending().history()); });
    connect(sending, &SendPipeline::editorTextReplaced, editor, &SendEditor::setText);
    connect(sending, &SendPipeline::editorFocusRequested, editor, &SendEditor::focusEditor);
    connect(&m_port, &LivePort::started, &m_repeat, &RepeatSender::paneStarted);
    connect(&m_port, &LivePort::halted, &m_repeat, [this] { m_repeat.paneHalted(runState()); });
    connect(&m_repeat, &RepeatSender::skipped, this, [this] {
        showStatusMessage(
            tr("The last message has not left yet: repetitions wait for it"), kNoticeMs);
    });
}

void SerialPortWidget::wireTransfer()
{
    setAcceptDrops(true);
    FileTransferBar* bar = &m_view->transferBar();
    bar->follow(m_transfer);
    connect(bar, &FileTransferBar::cancelRequested, this, &SerialPortWidget::cancelFileTransfer);
    connect(&m_transfer, &PortTransfer::started, this, &SerialPortWidget::transferProgressed);
    connect(&m_transfer, &PortTransfer::progressed, this, &SerialPortWidget::transferProgressed);
    // Whoever hears of the end finds the port free.
    connect(&m_transfer, &PortTransfer::finished, this, &SerialPortWidget::transferProgressed,
        Qt::QueuedConnection);
    connect(&m_port, &LivePort::lentChanged, this, [this] {
        if (m_port.isLent())
            m_repeat.paneHalted(runState());
        else if (runState() == RunState::Running)
            m_repeat.paneStarted();
    });
}

void SerialPortWidget::wireReceiveView()
{
    ReceiveView* view = &m_view->receiveView();
    connect(view, &ReceiveView::textTyped, this,
        [this](const QString& text) { onTyped(isOpen() && m_port.sending().sendTyped(text)); });
    connect(view, &ReceiveView::enterTyped, this,
        [this] { onTyped(isOpen() && m_port.sending().sendEnter()); });
    connect(view, &ReceiveView::controlTyped, this, [this](const QByteArray& bytes) {
        onTyped(isOpen() && m_port.sending().sendControl(bytes));
    });
    connect(view, &ReceiveView::findRequested, this, &SerialPortWidget::openFind);
    connect(view, &ReceiveView::clearRequested, this, &SerialPortWidget::clear);
    connect(view, &ReceiveView::displayFontZoomed, this, [this](const QFont& font) {
        changeFormat([&font](FormatSetting& format) { format.displayFont = displayFontOf(font); });
    });
    connect(view, &ReceiveView::saveRequested, this, [this, view] {
        openSaveTextDialog(
            view, *view, [this] { showStatusMessage(tr("A save is still running"), kNoticeMs); });
    });
    connect(view, &ReceiveView::saveFinished, this, [this](bool ok, const QString& errorText) {
        if (ok)
            showStatusMessage(tr("File saved"), kNoticeMs);
        else
            m_view->noticeBar().showError(errorText);
    });
}

void SerialPortWidget::wirePanels()
{
    ConnectionPanel& connection = m_view->connectionPanel();
    connect(&connection, &ConnectionPanel::edited, this, &SerialPortWidget::updateSettings);
    connect(
        &m_view->receivePanel(), &ReceivePanel::edited, this, &SerialPortWidget::updateSettings);
    connect(&m_view->sendPanel(), &SendPanel::edited, this, &SerialPortWidget::updateSettings);
    connect(&m_view->sendPanel(), &SendPanel::lineByLineEdited, &m_repeat,
        &RepeatSender::setLineByLine);
    connect(&connection, &ConnectionPanel::openRequested, this, [this] { start({}, false); });
    connect(&connection, &ConnectionPanel::closeRequested, this, &SerialPortWidget::requestStop);
    connect(m_view, &PaneView::splitterMoved, this, [this] {
        changeFormat([this](FormatSetting& format) {
            std::tie(format.splitterLeft, format.splitterRight) = m_view->splitterSizes();
        });
    });
    refreshPorts();
}

void SerialPortWidget::onNotice(const Notice& notice)
{
    if (notice.shownMs == Notice::kUntilDismissed)
        m_view->noticeBar().showError(notice.text);
    else
        showStatusMessage(notice.text, notice.shownMs);
}

void SerialPortWidget::updateSettings()
{
    if (m_showing)
        return;
    Settings settings = m_port.settings();
    FormatSetting format = m_port.format();
    m_view->connectionPanel().store(settings);
    // A host that was taken off the list stays off it until it is entered again.
    if (settings.targetHost != m_port.settings().targetHost)
        settings.useTargetHost(settings.targetHost);
    m_view->receivePanel().store(format);
    m_view->sendPanel().store(format);
    m_port.setRecords(settings, format, LivePort::Origin::Person);
}

void SerialPortWidget::changeFormat(const std::function<void(FormatSetting&)>& change)
{
    FormatSetting format = m_port.format();
    change(format);
    m_port.setFormat(format, LivePort::Origin::Person);
}

void SerialPortWidget::updateDisplay()
{
    const QScopedValueRollback showing(m_showing, true);
    m_shownSettings = settings();
    m_shownFormat = formatSetting();
    m_view->connectionPanel().load(m_shownSettings);
    m_view->receivePanel().load(m_shownFormat);
    m_view->sendPanel().load(m_shownFormat);
    m_view->setSplitterSizes(m_shownFormat.splitterLeft, m_shownFormat.splitterRight);
    m_view->sendEditor().setHistory(m_port.sending().history());
    applyFormat();
}

void SerialPortWidget::showRecords(LivePort::Origin origin)
{
    const QScopedValueRollback showing(m_showing, true);
    if (settings() != m_shownSettings) {
        m_shownSettings = settings();
        m_view->connectionPanel().load(m_shownSettings);
    }
    const bool person = origin == LivePort::Origin::Person;
    if (!sameOptions(m_shownFormat, formatSetting())) {
        m_shownFormat = formatSetting();
        m_view->receivePanel().load(m_shownFormat);
        m_view->sendPanel().load(m_shownFormat);
        if (!person)
            m_view->setSplitterSizes(m_shownFormat.splitterLeft, m_shownFormat.splitterRight);
        applyFormat();
    }
    if (person)
        Q_EMIT settingsChanged();
    else
        m_view->sendEditor().setHistory(m_port.sending().history());
}

// What of the record is the widgets' own.
void SerialPortWidget::applyFormat()
{
    const FormatSetting format = formatSetting().sanitized();
    const QFont font = resolveDisplayFont(format.displayFont);
    m_display.setColors(format);
    m_view->receiveView().setDisplayFont(font);
    // A row of hexadecimal ends between bytes, not in one.
    m_view->receiveView().setWrapAtBlanks(
        format.receiveMsgFormat == int(MessageFormat::Hexadecimal));
    m_view->sendEditor().setDisplayFont(font);
    m_view->sendEditor().setFormat(formatSetting());
    m_view->controlLineRow().setVisible(format.showControlLineLeds);
    m_repeat.setInterval(format.sendInterval, format.sendTimeUnit);
    m_repeat.setEnabled(format.autoSend);
}

bool SerialPortWidget::start(const QString& portName, bool quiet)
{
    // Who was setting up the connection types to it next. Left where it was, the focus would end on
    // the button that closes the port, at the first blank typed.
    const bool settingUp = m_view->connectionPanel().isAncestorOf(window()->focusWidget());
    updateSettings();
    if (!portName.isEmpty()) {
        Settings named = settings();
        named.connMode = connectionMode::SerialPort;
        named.portName = portName;
        m_port.setSettings(named, LivePort::Origin::Person);
    }
    const bool started = m_port.start(quiet);
    if (started && settingUp)
        focusSendEditor();
    return started;
}

void SerialPortWidget::setSettings(const Settings& settings)
{
    m_port.setSettings(settings, LivePort::Origin::Program);
}

void SerialPortWidget::setFormatSetting(const FormatSetting& format)
{
    m_port.setFormat(format, LivePort::Origin::Program);
}

void SerialPortWidget::onSendClicked()
{
    // A message to a closed port would try to open it once more.
    if (start({}, false))
        m_port.sending().sendText(m_view->sendEditor().text());
    else
        m_port.sending().encodeSendData(m_view->sendEditor().text());
}

void SerialPortWidget::onTyped(bool sent)
{
    if (!sent && !isOpen())
        showStatusMessage(tr("The connection is closed: what you typed was not sent"), kFailureMs);
}

void SerialPortWidget::sendBytes(const QByteArray& bytes)
{
    onTyped(m_port.sendBytes(bytes));
}

bool SerialPortWidget::canStartTransfer(QString* error) const
{
    // Which of several clients is meant is for the person to say.
    const QStringList clients = m_transfer.peers();
    return m_transfer.canStart(error, clients.size() > 1 ? clients.first() : QString());
}

bool SerialPortWidget::startFileTransfer(
    const XferConfig& config, const QString& path, const QString& peer, QString* error)
{
    return m_transfer.start(config, path, peer, error);
}

void SerialPortWidget::requestStop()
{
    if (!m_transfer.isActive()) {
        stop();
        return;
    }
    auto* box = new QMessageBox(QMessageBox::Question, window()->windowTitle(),
        tr("A file transfer is running on this port. Closing it ends the transfer."),
        QMessageBox::NoButton, this);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setObjectName(u"transferQuestion"_s);
    QPushButton* close = box->addButton(tr("&Close Port"), QMessageBox::DestructiveRole);
    box->setDefaultButton(box->addButton(QMessageBox::Cancel));
    connect(close, &QPushButton::clicked, this, &SerialPortWidget::stop);
    connect(&m_transfer, &PortTransfer::finished, box, &QWidget::close);
    box->open();
}

void SerialPortWidget::dragEnterEvent(QDragEnterEvent* event)
{
    const QList<QUrl> urls = event->mimeData()->urls();
    if (urls.size() == 1 && urls.first().isLocalFile()
        && QFileInfo(urls.first().toLocalFile()).isFile())
        event->acceptProposedAction();
}

void SerialPortWidget::dropEvent(QDropEvent* event)
{
    event->acceptProposedAction();
    Q_EMIT fileDropped(event->mimeData()->urls().constFirst().toLocalFile());
}

void SerialPortWidget::clearSendList()
{
    m_view->sendEditor().setText({});
    m_port.sending().clearHistory();
}

void SerialPortWidget::insertSendBytes(const QByteArray& bytes)
{
    SendEditor& editor = m_view->sendEditor();
    const bool hexadecimal = formatSetting().sendMsgFormat == int(MessageFormat::Hexadecimal);
    const SendInsertion result =
        SendInsertion::append(editor.text(), hexadecimal, formatSetting(), bytes);
    if (!result.error.isEmpty()) {
        showStatusMessage(result.error, SendPipeline::kEncodingErrorMs);
        return;
    }
    editor.setText(result.text);
    if (result.hexadecimal == hexadecimal)
        return;
    changeFormat(
        [](FormatSetting& format) { format.sendMsgFormat = int(MessageFormat::Hexadecimal); });
}

void SerialPortWidget::setLogRecording(bool on)
{
    FormatSetting format = formatSetting();
    format.logSaveFlag = on;
    setFormatSetting(format);
}

void SerialPortWidget::showState()
{
    m_view->connectionPanel().setConnectionActive(isActive());
    m_view->statusLine().setState(connectionSummary(), stateText(), isOpen());
    Q_EMIT stateChanged();
}

void SerialPortWidget::showCounters()
{
    m_view->statusLine().setCounters(
        receivedBytes(), sentBytes(), sentBytes() - m_port.pendingBytes());
}

ModemLines SerialPortWidget::modemState() const
{
    return m_port.lines().modemState();
}

const LineReport& SerialPortWidget::controlLines() const
{
    m_port.lines().refreshIfOld();
    return m_port.lines().report();
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
