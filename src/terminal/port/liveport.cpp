#include "terminal/port/liveport.h"

#include "base/clock.h"
#include "connections/connectioncontroller.h"
#include "settings/settingsservice.h"
#include "terminal/port/connectionsummary.h"
#include "terminal/port/linedriver.h"
#include "terminal/port/portconnection.h"
#include "terminal/port/portlines.h"
#include "terminal/port/portlog.h"
#include "terminal/port/receivepipeline.h"
#include "terminal/port/sendpipeline.h"

#include <utility>

LivePort::LivePort(SerialPortCatalog& catalog, QObject* parent)
    : QObject(parent)
    , m_settings(SettingsService::defaultPortSettings({}))
    , m_format(SettingsService::defaultFormatSettings())
    , m_controller(std::make_unique<ConnectionController>())
    , m_connection(std::make_unique<PortConnection>(*m_controller, catalog))
    , m_localLines(std::make_unique<LocalLineDriver>(*m_controller))
    , m_remoteLines(std::make_unique<RemoteLineDriver>(*m_controller))
    , m_lines(std::make_unique<PortLines>(m_connection->active(), [this] { return lineDriver(); }))
    , m_log(std::make_unique<PortLog>())
    , m_receive(std::make_unique<ReceivePipeline>())
    , m_send(std::make_unique<SendPipeline>(
          [this](const QByteArray& bytes) { return write(bytes); }, *m_receive))
{
    m_receive->setLog(m_log.get());
    wireConnection();
    wireRoads();
    wireLog();
    applySettings();
    applyFormat();
}

LivePort::~LivePort()
{
    Q_EMIT going();
    m_controller->disconnect(this);
    m_receive->disconnect(this);
    m_viewIsFull.release();
    m_finishingLog.release();
    const qint64 deadline = monotonicMs() + kLastWriteMs;
    bool ok = true;
    while (ok && unloggedBytes() > 0 && monotonicMs() < deadline) {
        if (m_log->isRecording())
            m_receive->drainAll();
        ok = m_log->flushLog();
    }
    if (unloggedBytes() > 0)
        qWarning(
            "%lld bytes were not written to the data log", static_cast<long long>(unloggedBytes()));
}

void LivePort::wireConnection()
{
    const PortConnection* connection = m_connection.get();
    connect(connection, &PortConnection::opened, this, &LivePort::onOpened);
    connect(connection, &PortConnection::closed, this, &LivePort::onClosed);
    connect(connection, &PortConnection::lifeChanged, this, &LivePort::stateChanged);
    connect(connection, &PortConnection::noticesCleared, this,
        [this] { Q_EMIT noticeCleared(std::exchange(m_error, {})); });
    connect(connection, &PortConnection::noticed, this, [this](const Notice& notice) {
        if (notice.text == m_connection->lastError())
            m_error = notice.text;
        Q_EMIT noticed(notice);
    });
    connect(m_controller.get(), &ConnectionController::remoteSummaryChanged, this,
        [this](const QString& text) {
            m_remoteSummary = text;
            Q_EMIT remoteSummaryChanged(text);
        });
    connect(m_lines.get(), &PortLines::noticed, this, &LivePort::noticed);
}

void LivePort::wireRoads()
{
    const ConnectionController* controller = m_controller.get();
    connect(controller, &ConnectionController::readyRead, this, &LivePort::read);
    connect(controller, &ConnectionController::udpReadyRead, this, &LivePort::read);
    connect(controller, &ConnectionController::serverMessage, this, &LivePort::read);
    connect(
        controller, &ConnectionController::peerLost, m_receive.get(), &ReceivePipeline::forgetPeer);
    connect(m_receive.get(), &ReceivePipeline::throttleRequested, this,
        [this](bool on) { m_viewIsFull = on ? m_controller->holdReading() : ReadHold(); });
    connect(m_receive.get(), &ReceivePipeline::pausedFull, this, [this](const QString& text) {
        Q_EMIT noticed(Notice::warning(text, ReceivePipeline::kPausedFullMessageMs));
    });
    connect(m_receive.get(), &ReceivePipeline::countersChanged, this, &LivePort::countersChanged);
    connect(m_send.get(), &SendPipeline::countersChanged, this, &LivePort::countersChanged);
    connect(controller, &ConnectionController::bytesWritten, this, &LivePort::onLeft);
    connect(controller, &ConnectionController::bytesDiscarded, this, &LivePort::onDiscarded);
    connect(m_send.get(), &SendPipeline::noticed, this, &LivePort::noticed);
    connect(m_send.get(), &SendPipeline::historyChanged, this, [this] {
        m_format.sendList = m_send->history().entries();
        Q_EMIT recordsChanged(Origin::Person);
    });
}

void LivePort::wireLog()
{
    connect(m_log.get(), &PortLog::noticed, this, &LivePort::noticed);
    connect(m_log.get(), &PortLog::noticeCleared, this, &LivePort::noticeCleared);
    connect(m_log.get(), &PortLog::fileNameChanged, this,
        [this](const QString& name) { m_format.currentLogFileName = name; });
}

void LivePort::setSettings(const Settings& settings, Origin origin)
{
    setRecords(settings, m_format, origin);
}

void LivePort::setFormat(const FormatSetting& format, Origin origin)
{
    setRecords(m_settings, format, origin);
}

void LivePort::setRecords(const Settings& settings, const FormatSetting& format, Origin origin)
{
    const bool otherSettings = m_settings != settings;
    const bool otherFormat = m_format != format;
    if (!otherSettings && !otherFormat)
        return;
    const bool otherHistory = m_format.sendList != format.sendList;
    m_settings = settings;
    m_format = format;
    if (otherSettings)
        applySettings();
    if (otherFormat)
        applyFormat();
    if (otherHistory)
        m_send->setHistory(m_format.sendList);
    Q_EMIT recordsChanged(origin);
}

// The one place where a difference reaches an open connection.
void LivePort::applySettings()
{
    if (!m_connection->setSettings(m_settings))
        return;
    const Settings& now = active();
    // A level that stays as it was is nothing to tell a person about, not even that flow control
    // drives the line.
    for (const auto& [line, on] :
        {std::pair{SerialLine::Dtr, now.dtrOn}, std::pair{SerialLine::Rts, now.rtsOn}}) {
        if (m_controller->serialLineRequested(line) != on)
            m_controller->setSerialLine(line, on);
    }
    if (isOpen())
        applyLine();
    else
        setUpLog();
    m_lines->refresh();
    Q_EMIT stateChanged();
}

// Another baud rate in the middle of a block would damage it.
void LivePort::applyLine()
{
    m_lineWaits = isLent();
    if (m_lineWaits)
        Q_EMIT noticed(Notice::info(m_borrower->settingsRefusal(), Notice::kFailureMs));
    else
        m_controller->apply(active());
}

void LivePort::applyFormat()
{
    m_receive->setFormatSetting(m_format);
    m_send->setFormatSetting(m_format.sanitized());
    setUpLog();
}

// What waits was received under the name and by the rules of before.
void LivePort::setUpLog()
{
    m_receive->afterWaiting([this, format = m_format, name = connectionName(active()),
                                connection = ::connectionSummary(active())] {
        FormatSetting recorded = format.sanitized();
        recorded.currentLogFileName = m_format.currentLogFileName;
        m_log->setUp(recorded, name, connection);
    });
}

const Settings& LivePort::active() const
{
    return m_connection->active();
}

bool LivePort::start(bool quiet)
{
    if (runState() == RunState::Paused && isOpen() && active() == m_connection->settings()) {
        m_receive->start();
        Q_EMIT started();
        Q_EMIT stateChanged();
        return true;
    }
    return m_connection->start(quiet);
}

void LivePort::onOpened()
{
    setUpLog();
    if (runState() == RunState::Stopped)
        m_receive->start();
    m_send->acceptKept();
    m_lines->refresh();
    Q_EMIT started();
}

void LivePort::onClosed()
{
    m_lines->releaseBreak();
    m_receive->stop();
    Q_EMIT halted();
    m_lines->refresh();
}

void LivePort::pause()
{
    if (runState() != RunState::Running)
        return;
    if (isLent()) {
        Q_EMIT noticed(Notice::warning(m_borrower->pauseRefusal()));
        return;
    }
    m_receive->pause();
    m_log->flushLog();
    Q_EMIT halted();
    Q_EMIT stateChanged();
}

void LivePort::stop()
{
    m_connection->stop();
}

RunState LivePort::runState() const
{
    return m_receive->runState();
}

ConnectionLife LivePort::life() const
{
    return m_connection->life();
}

bool LivePort::isOpen() const
{
    return m_connection->isOpen();
}

QString LivePort::stateText() const
{
    return runState() == RunState::Paused ? tr("Paused") : m_connection->lifeText();
}

QString LivePort::summary() const
{
    return ::connectionSummary(active());
}

Transport* LivePort::transport() const
{
    return m_controller->transport();
}

QString LivePort::lastError() const
{
    return m_connection->lastError();
}

void LivePort::setAutoReconnect(bool on)
{
    m_connection->setAutoReconnect(on);
}

void LivePort::lendTo(Borrower* borrower)
{
    if (m_borrower == borrower)
        return;
    m_borrower = borrower;
    m_send->setRefusal(borrower ? borrower->sendingRefusal() : QString());
    m_lines->setRefusal(borrower ? borrower->linesRefusal() : QString());
    if (!borrower && std::exchange(m_lineWaits, false) && isOpen())
        m_controller->apply(active());
    Q_EMIT lentChanged();
}

void LivePort::setBridged(const std::optional<BridgeUse>& use)
{
    if (m_bridge == use)
        return;
    m_bridge = use;
    m_forwarded.use(use.value_or(BridgeUse{}));
    m_receive->setBystander(use.has_value());
    m_controller->setBridgeSocketTuning(use.has_value());
    Q_EMIT stateChanged();
}

bool LivePort::showsForwarded(qint64 bytes)
{
    const bool shown = m_forwarded.shows(bytes, monotonicMs());
    if (const QString text = m_forwarded.takeText(); !text.isEmpty())
        appendStatusLine(text);
    return shown;
}

void LivePort::appendStatusLine(const QString& text)
{
    m_receive->pushStatusLine(text);
}

void LivePort::setDisplay(DisplaySink* display)
{
    m_receive->setDisplay(display);
}

qint64 LivePort::receivedBytes() const
{
    return m_receive->receivedBytes();
}

qint64 LivePort::waitingBytes() const
{
    return m_receive->waitingBytes();
}

void LivePort::clear()
{
    m_receive->clear();
    m_send->clearCounter();
}

// Everything that is there; a view that has enough holds the reading in the middle of it.
void LivePort::read()
{
    Chunk chunk;
    while (transport() && transport()->takeChunk(chunk)) {
        const bool borrowed = m_borrower && m_borrower->takes(chunk);
        Q_EMIT arrived(chunk.peer, chunk.bytes.size());
        if (!borrowed)
            deliver(chunk);
    }
}

void LivePort::deliver(const Chunk& chunk)
{
    Q_EMIT rxTapped(chunk.bytes, chunk.peer);
    if (m_bridge && m_bridge->takesReceived && !showsForwarded(chunk.bytes.size()))
        m_receive->ingestUnshown(chunk.bytes, chunk.peer);
    else
        m_receive->ingestRx(chunk.bytes, chunk.fromStream, chunk.peer);
}

LineDriver* LivePort::lineDriver() const
{
    switch (active().connMode) {
    case connectionMode::SerialPort:
        return m_localLines.get();
    case connectionMode::RemoteSerialRfc2217:
        return m_remoteLines.get();
    default:
        return nullptr;
    }
}

void LivePort::toggleLine(bool dtr)
{
    const SerialLine line = dtr ? SerialLine::Dtr : SerialLine::Rts;
    if (m_lines->explainInertControlLine(line))
        return;
    Settings wanted = m_settings;
    bool& level = dtr ? wanted.dtrOn : wanted.rtsOn;
    level = !level;
    setSettings(wanted, Origin::Person);
    m_lines->tell(lineDriver()->requested(line, active()));
}

bool LivePort::flushLog(QString* error)
{
    return m_log->flushLog(error);
}

qint64 LivePort::unloggedBytes() const
{
    return m_log->unwrittenBytes() + (m_log->isRecording() ? waitingBytes() : 0);
}

void LivePort::finishLog()
{
    if (m_finishingLog)
        return;
    m_finishingLog = m_controller->holdReading();
    finishSomeLog();
}

// One turn of the event loop's worth. What the writer has no room for waits here, not there.
void LivePort::finishSomeLog()
{
    QString error;
    bool more = m_log->isRecording() && waitingBytes() > 0;
    if (more && m_log->unwrittenBytes() < LogWriter::kMaxFlushBytes)
        more = !m_receive->drainAll();
    const bool ok = m_log->flushLog(&error);
    if (ok && (more || m_log->unwrittenBytes() > 0)) {
        QTimer::singleShot(1, this, &LivePort::finishSomeLog);
        return;
    }
    m_finishingLog.release();
    Q_EMIT logFinished(ok, error);
}
