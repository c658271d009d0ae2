#include "terminal/port/panelog.h"

#include "log/logfilename.h"
#include "terminal/format/displayrecord.h"
#include "terminal/format/messagecodec.h"
#include "terminal/port/receivepipeline.h"

#include <QDebug>
#include <QLocale>
#include <utility>

PaneLog::PaneLog(ReceivePipeline& pipeline, QObject* parent)
    : PaneLog(
        pipeline, [] { return QDateTime::currentDateTime(); }, parent)
{}

PaneLog::PaneLog(ReceivePipeline& pipeline, LogWriter::Clock clock, QObject* parent)
    : QObject(parent)
    , m_pipeline(pipeline)
    , m_writer(std::move(clock))
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        QString error;
        flushOnce(error);
    });
    connect(&m_writer, &LogWriter::overflowed, this, [this] {
        tell(tr("The data log could not be written for so long that the memory for its text is "
                "full. What comes now will be missing in the log. Make room on the disk or choose "
                "another log file."));
    });
    connect(&m_writer, &LogWriter::gapRecorded, this, [this](qint64 bytes) {
        m_missingBytes += bytes;
        m_state = {};
    });
}

PaneLog::~PaneLog()
{
    m_pipeline.setTrafficLog(nullptr);
}

void PaneLog::setPane(
    const FormatSetting& format, const QString& portName, const QString& connection)
{
    const QString name = portNameForFile(portName.isEmpty() ? connection : portName);
    const bool switched = m_format.logSaveFlag != format.logSaveFlag;
    const bool otherFile = format.logFilePath != m_format.logFilePath || name != m_portName;
    // A recording that begins belongs to the day that it begins on.
    const bool newName = otherFile || (switched && format.logSaveFlag);
    // A record that comes with another name means that name.
    const bool ownName = format.currentLogFileName == m_format.currentLogFileName;
    FormatSetting next = format;
    if (otherFile || switched)
        flushLog(nullptr);
    if (ownName)
        next.currentLogFileName = newName ? unresolvedLogFileName() : m_format.currentLogFileName;
    m_format = next;
    m_portName = name;
    m_connection = connection;
    m_decoders.setEncodings(format.receiveEncoding, format.sendEncoding);
    if (ownName && newName)
        Q_EMIT fileNameChanged(m_format.currentLogFileName);
    if (switched)
        setRecording(m_format.logSaveFlag);
}

void PaneLog::setRecording(bool on)
{
    if (on) {
        m_decoders.reset();
        m_state = {};
        m_writer.startOnFreshLine();
    }
    m_pipeline.setTrafficLog(on ? this : nullptr);
    Q_EMIT stateChanged();
}

PaneLog::State PaneLog::state() const
{
    if (m_failing)
        return State::Failing;
    return m_format.logSaveFlag ? State::Recording : State::Off;
}

void PaneLog::logRecord(const rxData& record)
{
    const bool received = record.direction == RXorTx::Received && !record.transferStatus;
    WireTextDecoder& decoder = received ? m_decoders.received(record.peer) : m_decoders.sent();
    m_text.resize(0);
    MessageCodec::appendForLog(record, m_format, m_state, decoder, m_text);
    m_writer.appendLine(m_text, m_format);
    QString error;
    if (!m_failing && !m_continuing && m_writer.pendingBytes() >= kEagerBytes)
        flushOnce(error);
    else if (m_writer.hasPending() && !m_timer.isActive())
        m_timer.start(kSaveIntervalMs);
}

void PaneLog::resetTextDecoders()
{
    m_decoders.reset();
}

void PaneLog::forgetPeer(const QString& peer)
{
    m_decoders.forgetPeer(peer);
}

bool PaneLog::flushLog(QString* error)
{
    QString message;
    while (m_writer.hasPending()) {
        if (flushOnce(message))
            continue;
        if (error != nullptr)
            *error = message;
        return false;
    }
    return true;
}

bool PaneLog::flushOnce(QString& error)
{
    const QString before = m_format.currentLogFileName;
    const bool ok = m_writer.flush(m_format, m_portName, m_connection, &error);
    if (m_format.currentLogFileName != before)
        Q_EMIT fileNameChanged(m_format.currentLogFileName);
    if (ok)
        noteSuccess();
    else
        noteFailure(error);
    m_continuing = ok && m_writer.hasPending();
    if (!m_writer.hasPending())
        m_timer.stop();
    else
        m_timer.start(ok ? kContinueMs : kSaveIntervalMs);
    return ok;
}

void PaneLog::noteFailure(const QString& error)
{
    if (std::exchange(m_failing, true))
        return;
    tell(tr("The data log is not written. %1\nThe text is kept in memory (up to %2), and recording "
            "goes on by itself as soon as the file can be written.")
             .arg(error, QLocale().formattedDataSize(LogWriter::kMaxPendingBytes)));
    Q_EMIT stateChanged();
}

void PaneLog::noteSuccess()
{
    if (!std::exchange(m_failing, false))
        return;
    if (const qint64 missing = std::exchange(m_missingBytes, 0); missing > 0) {
        tell(tr("The data log is written again in %1, but %2 of text are missing. A line in the "
                "log says where.")
                 .arg(currentLogFile(), QLocale().formattedDataSize(missing)));
    } else {
        Q_EMIT errorCleared(std::exchange(m_notice, {}));
        Q_EMIT statusMessage(
            tr("The data log is written again in %1").arg(currentLogFile()), kMessageMs);
    }
    Q_EMIT stateChanged();
}

void PaneLog::tell(const QString& notice)
{
    m_notice = notice;
    Q_EMIT errorOccurred(notice);
}

void PaneLog::finish()
{
    m_pipeline.logWaiting();
    m_pipeline.setTrafficLog(nullptr);
    if (!flushLog(nullptr))
        qWarning("%lld bytes of text could not be written to the data log",
            static_cast<long long>(m_writer.pendingBytes() + m_writer.givenUpBytes()));
    m_timer.stop();
}
