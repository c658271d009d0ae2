#include "transfer/porttransfer.h"

#include "connections/connectioncontroller.h"

#include <QFileInfo>
#include <utility>

using State = FileTransferSession::State;
using Cause = FileTransferSession::CancelCause;

namespace {

constexpr int kLookMs = 250;

// What a received file is called when the protocol has no name for it.
QString nameIn(const XferConfig& config, const QString& path)
{
    const bool named = config.direction == XferReceive && !xferIsYmodem(config.protocol)
                       && !QFileInfo(path).isDir();
    return named ? QFileInfo(path).fileName() : QString();
}

} // namespace

PortTransfer::PortTransfer(LivePort& port)
    : m_port(port)
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    m_budget.setSingleShot(true);
    m_look.setInterval(kLookMs);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        if (m_session)
            drive(m_session->tick(nowMs()));
    });
    connect(&m_budget, &QTimer::timeout, this, &PortTransfer::finish);
    connect(&m_look, &QTimer::timeout, this, &PortTransfer::onProgressTimer);
    const ConnectionController* controller = &port.controller();
    connect(controller, &ConnectionController::bytesWritten, this, &PortTransfer::pump);
    connect(controller, &ConnectionController::peerLost, this, &PortTransfer::onPeerLost);
    // The last moment in which the other end can be told.
    connect(controller, &ConnectionController::closing, this, [this] { abort(Cause::Closed); });
    connect(&port, &LivePort::stateChanged, this, &PortTransfer::onStateChanged);
}

PortTransfer::~PortTransfer()
{
    if (!m_session)
        return;
    m_port.controller().disconnect(this);
    m_port.disconnect(this);
    m_port.lendTo(nullptr);
}

QStringList PortTransfer::peers() const
{
    const bool server = m_port.active().connMode == connectionMode::TcpServer;
    return server && m_port.transport() ? m_port.transport()->peers() : QStringList();
}

bool PortTransfer::hasHardwareFlowControl() const
{
    return m_port.transport() && m_port.transport()->serialLines()
           && m_port.active().flowControl == QSerialPort::HardwareControl;
}

QString PortTransfer::refusal(const QString& peer) const
{
    if (m_session)
        return tr("A file transfer is already running on this port.");
    if (!m_port.isOpen())
        return tr("The connection is not open.");
    if (connectionModeIsUdp(m_port.active().connMode))
        return tr("File transfer needs an ordered, reliable connection. UDP cannot provide one.");
    if (m_port.isBridged()) {
        return tr("This port is part of a bridge link. Remove the link before transferring a "
                  "file.");
    }
    if (m_port.isLent())
        return tr("This port is in use by something else.");
    if (m_port.runState() == RunState::Paused)
        return tr("The view is paused. Resume it before transferring a file.");
    if (m_port.active().connMode != connectionMode::TcpServer)
        return {};
    const QStringList clients = peers();
    if (clients.isEmpty())
        return tr("No client is connected yet.");
    if (!peer.isEmpty() && !clients.contains(peer))
        return tr("The selected client is no longer connected.");
    if (peer.isEmpty() && clients.size() > 1)
        return tr("Several clients are connected. Select the one to transfer with.");
    return {};
}

bool PortTransfer::canStart(QString* error, const QString& peer) const
{
    const QString reason = refusal(peer);
    if (error)
        *error = reason;
    return reason.isEmpty();
}

bool PortTransfer::canStart(const XferConfig& config, const QString& peer, QString* error) const
{
    QString reason = refusal(peer);
    if (reason.isEmpty() && config.protocol == XferProtocol::YmodemG && !hasHardwareFlowControl()) {
        reason = tr("YMODEM-G does not retransmit, so it needs hardware flow control (RTS/CTS). "
                    "This connection has none.");
    }
    if (error)
        *error = reason;
    return reason.isEmpty();
}

bool PortTransfer::start(
    const XferConfig& config, const QString& path, const QString& peer, QString* error)
{
    if (!canStart(config, peer, error))
        return false;
    const QStringList clients = peers();
    m_session = std::make_unique<FileTransferSession>(config, nameIn(config, path),
        peer.isEmpty() && !clients.isEmpty() ? clients.first() : peer);
    if (!makeEnds(path, error)) {
        m_session.reset();
        return false;
    }
    m_out.clear();
    m_drainOwed = false;
    m_clock.start();
    m_moved.start();
    m_lastPending = 0;
    m_port.lendTo(this);
    m_port.appendStatusLine(m_session->startedText());
    m_look.start();
    Q_EMIT started();
    drive(m_session->start(nowMs()));
    return true;
}

bool PortTransfer::makeEnds(const QString& path, QString* error)
{
    const XferConfig& config = m_session->config();
    if (config.direction == XferReceive) {
        const QString name = nameIn(config, path);
        m_session->setSink(
            std::make_unique<XferFileSink>(name.isEmpty() ? path : QFileInfo(path).path(), name));
        return true;
    }
    auto source = std::make_unique<XferFileSource>();
    if (!source->open(path, error))
        return false;
    m_session->setSource(std::move(source));
    return true;
}

bool PortTransfer::takes(const Chunk& chunk)
{
    if (!m_session || !m_session->ownsPeer(chunk.peer) || m_session->state() == State::Completed)
        return false;
    // What comes after a failure is the tail of the transfer still.
    if (m_session->state() == State::Running) {
        m_fromStream = chunk.fromStream;
        drive(m_session->ingest(chunk.bytes, nowMs()));
    }
    return true;
}

void PortTransfer::drive(const XferStep& step)
{
    m_out += step.bytes;
    if (step.waitMs >= 0)
        m_timer.start(step.waitMs);
    else
        m_timer.stop();
    pump();
    if (!m_session)
        return;
    if (m_session->isOver()) {
        m_timer.stop();
        if (const QByteArray rest = m_session->takeRest(); !rest.isEmpty())
            m_port.handBack({rest, m_session->peer(), m_fromStream});
        const bool empty = m_out.isEmpty() && pendingBytes() == 0;
        const int budget = m_session->state() == State::Ended ? m_session->cancelBudgetMs()
                                                              : FileTransferSession::kLastAnswerMs;
        if (empty || budget == 0)
            finish();
        else if (!m_budget.isActive())
            m_budget.start(budget);
        return;
    }
    Q_EMIT progressed();
}

qint64 PortTransfer::pendingBytes() const
{
    return m_session && m_port.transport() ? m_port.transport()->pendingBytes(m_session->peer())
                                           : 0;
}

qint64 PortTransfer::maxPendingBytes() const
{
    const bool line = m_port.transport() && m_port.transport()->serialLines();
    return line ? qMax<qint64>(kMaxPendingBytes, m_port.active().baudRate / kLineShare)
                : kMaxPendingBytes;
}

// Writes what there is room for, and sees to it that the session hears when all of it has left.
void PortTransfer::pump()
{
    if (!m_session || m_pumping)
        return;
    m_pumping = true;
    writeSome();
    m_pumping = false;
    if (!m_session)
        return;
    const qint64 pending = pendingBytes() + m_out.size();
    if (pending < m_lastPending || pending == 0)
        m_moved.start();
    m_lastPending = pending;
    if (pending > 0)
        return;
    // Once for what was written, and later: the step that wrote it is not over.
    if (std::exchange(m_drainOwed, m_session->isOver()) && !std::exchange(m_drainQueued, true))
        QMetaObject::invokeMethod(this, &PortTransfer::noteDrained, Qt::QueuedConnection);
}

void PortTransfer::writeSome()
{
    if (m_out.isEmpty() || pendingBytes() > maxPendingBytes())
        return;
    const QByteArray bytes = std::exchange(m_out, {});
    m_drainOwed = true;
    const bool taken = m_port.writeRaw(bytes, false, m_session->peer()).taken();
    // What the system took has left: each frame waits for the one before it.
    if (taken && m_port.transport())
        m_port.transport()->tellLeft();
    if (taken || !m_session)
        return;
    // Nothing can be sent any more, not even that it is over.
    if (m_session->state() == State::Running)
        QMetaObject::invokeMethod(
            this, [this] { abort(Cause::Lost); }, Qt::QueuedConnection);
}

void PortTransfer::noteDrained()
{
    m_drainQueued = false;
    if (!m_session || !m_out.isEmpty() || pendingBytes() > 0)
        return;
    if (m_session->isOver())
        finish();
    else
        drive(m_session->egressDrained(nowMs()));
}

qint64 PortTransfer::blockedMs() const
{
    const qint64 waited = m_session && m_lastPending > 0 ? m_moved.elapsed() : 0;
    return waited >= kBlockedMs ? waited : 0;
}

void PortTransfer::onProgressTimer()
{
    pump();
    if (m_session)
        Q_EMIT progressed();
}

void PortTransfer::abort(FileTransferSession::CancelCause cause)
{
    if (!m_session)
        return;
    if (!m_session->isOver()) {
        // What has not been handed over yet would only stand in the way of the cancel sequence.
        m_out.clear();
        drive(m_session->beginCancel(cause, nowMs()));
    }
    // The port does not wait.
    if (m_session && (cause == Cause::Closed || cause == Cause::Lost))
        finish();
}

void PortTransfer::onStateChanged()
{
    if (m_session && !m_port.isOpen())
        abort(Cause::Lost);
}

void PortTransfer::onPeerLost(const QString& peer)
{
    if (m_session && !m_session->peer().isEmpty() && peer == m_session->peer())
        abort(Cause::Lost);
}

void PortTransfer::finish()
{
    if (!m_session)
        return;
    m_timer.stop();
    m_budget.stop();
    m_look.stop();
    m_out.clear();
    m_lastPending = 0;
    m_port.lendTo(nullptr);
    m_port.appendStatusLine(m_session->summaryText(nowMs()));
    for (const QString& notice : m_session->notices())
        m_port.appendStatusLine(notice);
    Q_EMIT finished(m_session->state() == State::Completed);
    m_session.reset();
}

QString PortTransfer::sendingRefusal() const
{
    return tr("A file transfer is using this port. Sending data now would corrupt it.");
}

QString PortTransfer::linesRefusal() const
{
    return tr("A file transfer is using this port. Changing the control lines would interrupt it.");
}

QString PortTransfer::pauseRefusal() const
{
    return tr("A file transfer is running; the view cannot be paused.");
}

QString PortTransfer::settingsRefusal() const
{
    return tr("A file transfer is using this port. The change takes effect when it is over.");
}
