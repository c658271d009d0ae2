#include "transfer/filetransfersession.h"

#include <QFileInfo>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kMsPerSecond = 1000;
constexpr double kBytesPerKilobyte = 1024;
constexpr int kClosedBudgetMs = 200;
constexpr int kCancelBudgetMs = 2000;

FileTransferSession::CancelCause causeOf(XferError error)
{
    using Cause = FileTransferSession::CancelCause;
    return error == XferError::RemoteCancel  ? Cause::Device
           : error == XferError::LocalCancel ? Cause::User
                                             : Cause::Protocol;
}

} // namespace

FileTransferSession::FileTransferSession(
    const XferConfig& config, QString defaultName, QString peer)
    : m_config(config.sanitized())
    , m_defaultName(std::move(defaultName))
    , m_peer(std::move(peer))
    , m_engine(m_config.direction == XferReceive ? XmodemCodec::Role::Receiver
                                                 : XmodemCodec::Role::Sender,
          m_config.protocol, m_config.blockSizeOption)
{
    m_engine.setReceiveLimit(m_config.receiveLimit);
}

FileTransferSession::~FileTransferSession() = default;

void FileTransferSession::setSource(std::unique_ptr<XferFileSource> source)
{
    m_source = std::move(source);
    m_engine.setSource(m_source.get());
}

void FileTransferSession::setSink(std::unique_ptr<XferFileSink> sink)
{
    m_sink = std::move(sink);
    m_engine.setSink(m_sink.get());
}

XferStep FileTransferSession::start(qint64 nowMs)
{
    if (m_state != State::NotStarted)
        return {};
    m_state = State::Running;
    m_startMs = nowMs;
    XferFileMeta meta;
    if (m_source)
        meta = m_source->meta();
    else
        meta.name = m_defaultName;
    return classify(m_engine.begin(meta, nowMs), nowMs);
}

XferStep FileTransferSession::ingest(QByteArrayView bytes, qint64 nowMs)
{
    return m_state == State::Running ? classify(m_engine.receive(bytes, nowMs), nowMs) : XferStep();
}

XferStep FileTransferSession::tick(qint64 nowMs)
{
    return m_state == State::Running ? classify(m_engine.tick(nowMs), nowMs) : XferStep();
}

XferStep FileTransferSession::egressDrained(qint64 nowMs)
{
    return m_state == State::Running ? classify(m_engine.onEgressDrained(nowMs), nowMs)
                                     : XferStep();
}

QByteArray FileTransferSession::takeRest()
{
    return m_state == State::Completed ? m_engine.takeRest() : QByteArray();
}

XferStep FileTransferSession::beginCancel(CancelCause cause, qint64 nowMs)
{
    if (isOver())
        return {};
    XferStep step = m_engine.cancel(nowMs);
    end(State::Ended, nowMs);
    m_cause = cause;
    switch (cause) {
    case CancelCause::User:
        m_error = XferError::LocalCancel;
        m_message = cancelledText();
        break;
    case CancelCause::Device:
        m_error = XferError::RemoteCancel;
        m_message = tr("The device cancelled the transfer.");
        break;
    case CancelCause::Protocol:
        m_error = XferError::OutOfStep;
        m_message = step.message;
        break;
    case CancelCause::Closed:
        m_error = XferError::ConnectionLost;
        m_message = tr("The connection was closed, so the transfer stopped. If this was a firmware "
                       "update the device may be left with an incomplete image -- run the update "
                       "again.");
        break;
    case CancelCause::Lost:
        m_error = XferError::ConnectionLost;
        m_message = tr("The connection was lost, so the transfer stopped. If this was a firmware "
                       "update the device may be left with an incomplete image -- run the update "
                       "again.");
        break;
    }
    noteSinkOutcome(false);
    step.failed = true;
    step.error = m_error;
    step.message = m_message;
    step.waitMs = -1;
    return step;
}

XferStep FileTransferSession::classify(XferStep step, qint64 nowMs)
{
    if (step.done) {
        end(State::Completed, nowMs);
        noteSinkOutcome(true);
    } else if (step.failed) {
        end(State::Ended, nowMs);
        m_error = step.error;
        m_message = step.message;
        m_cause = causeOf(step.error);
        noteSinkOutcome(false);
    }
    return step;
}

void FileTransferSession::end(State state, qint64 nowMs)
{
    m_finalBytes = m_engine.progress().bytesDone;
    m_endMs = nowMs;
    m_state = state;
}

// The engine has committed what was complete.
void FileTransferSession::noteSinkOutcome(bool complete)
{
    if (!m_sink)
        return;
    if (complete && m_sink->isCommitted()) {
        const QString name = QFileInfo(m_sink->finalPath()).fileName();
        if (!m_sink->askedName().isEmpty()) {
            m_notices += tr("The device asked for the name \"%1\"; it was saved as \"%2\".")
                             .arg(m_sink->askedName(), name);
        }
        if (m_sink->collided()) {
            m_notices += tr("A file of that name already existed, so this one was saved as \"%1\".")
                             .arg(name);
        }
        return;
    }
    m_sink->discard(m_error != XferError::LocalCancel && m_sink->bytesWritten() > 0);
    if (!m_sink->errorText().isEmpty() && !complete)
        m_notices += m_sink->errorText();
    if (!m_sink->keptPath().isEmpty())
        m_notices += tr("What arrived was kept as \"%1\".").arg(m_sink->keptPath());
}

int FileTransferSession::cancelBudgetMs() const
{
    return m_cause == CancelCause::Closed ? kClosedBudgetMs
           : m_cause == CancelCause::Lost ? 0
                                          : kCancelBudgetMs;
}

XferProgress FileTransferSession::progress() const
{
    XferProgress progress = m_engine.progress();
    if (isOver())
        progress.bytesDone = m_finalBytes;
    return progress;
}

qint64 FileTransferSession::elapsedMs(qint64 nowMs) const
{
    return (isOver() ? m_endMs : nowMs) - m_startMs;
}

qint64 FileTransferSession::bytesPerSecond(qint64 nowMs) const
{
    const qint64 elapsed = elapsedMs(nowMs);
    return elapsed > 0 ? progress().bytesDone * kMsPerSecond / elapsed : 0;
}

qint64 FileTransferSession::secondsRemaining(qint64 nowMs) const
{
    const XferProgress now = progress();
    const qint64 rate = bytesPerSecond(nowMs);
    if (now.bytesTotal < 0 || now.bytesDone <= 0 || rate <= 0)
        return -1;
    return qMax<qint64>(now.bytesTotal - now.bytesDone, 0) / rate;
}

QString FileTransferSession::receivedPath() const
{
    return m_sink && m_sink->isCommitted() ? m_sink->finalPath() : QString();
}

QString FileTransferSession::protocolLabel(XferProtocol protocol)
{
    switch (protocol) {
    case XferProtocol::Xmodem:
        return u"XMODEM"_s;
    case XferProtocol::XmodemCrc:
        return u"XMODEM-CRC"_s;
    case XferProtocol::Xmodem1K:
        return u"XMODEM-1K"_s;
    case XferProtocol::Ymodem:
        return u"YMODEM"_s;
    case XferProtocol::YmodemG:
        return u"YMODEM-G"_s;
    }
    return {};
}

QString FileTransferSession::startedText() const
{
    const QString label = protocolLabel(m_config.protocol);
    if (m_config.direction == XferReceive)
        return tr("Receiving with %1").arg(label);
    const XferFileMeta meta = m_source ? m_source->meta() : XferFileMeta();
    return tr("Sending %1 (%2, %3 bytes)")
        .arg(meta.name.isEmpty() ? tr("(unnamed)") : meta.name, label, QString::number(meta.size));
}

QString FileTransferSession::summaryText(qint64 nowMs) const
{
    const XferProgress now = progress();
    if (m_state == State::Completed) {
        return tr("Transfer complete: %1 bytes in %2 s, %3 KB/s, %4 retries")
            .arg(QString::number(now.bytesDone),
                QString::number(double(elapsedMs(nowMs)) / kMsPerSecond, 'f', 1),
                QString::number(double(bytesPerSecond(nowMs)) / kBytesPerKilobyte, 'f', 1),
                QString::number(now.retries));
    }
    QString text = tr("Transfer failed: %1").arg(m_message);
    if (now.bytesTotal > 0)
        text += tr(" (%1% transferred)").arg(now.bytesDone * 100 / now.bytesTotal);
    return text;
}

QString FileTransferSession::cancelledText() const
{
    return m_config.direction == XferReceive
               ? tr("Cancelled.")
               : tr("Cancelled. The device may still have received up to one more block of data -- "
                    "if this was a firmware update, run the whole update again.");
}
