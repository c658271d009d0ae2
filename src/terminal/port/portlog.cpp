#include "terminal/port/portlog.h"

#include "log/logfilename.h"
#include "terminal/format/displayrecord.h"
#include "terminal/format/messagecodec.h"

#include <QLocale>
#include <algorithm>
#include <utility>

PortLog::PortLog(QObject* parent)
    : PortLog([] { return QDateTime::currentDateTime(); }, parent)
{}

PortLog::PortLog(LogWriter::Clock clock, QObject* parent)
    : QObject(parent)
    , m_clock(std::move(clock))
    , m_now(newRecording())
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, [this] { flushLog(); });
}

PortLog::~PortLog() = default;

std::unique_ptr<PortLog::Recording> PortLog::newRecording()
{
    auto recording = std::make_unique<Recording>(m_clock);
    const LogWriter* writer = &recording->writer;
    connect(writer, &LogWriter::overflowed, this, [this] {
        tell(tr("The data log could not be written for so long that the memory for its text is "
                "full. What comes now will be missing in the log. Make room on the disk or choose "
                "another log file."));
    });
    connect(writer, &LogWriter::gapRecorded, this, [this](qint64 bytes) {
        m_missingBytes += bytes;
        m_state = {};
    });
    return recording;
}

void PortLog::setUp(const FormatSetting& format, const QString& portName, const QString& connection)
{
    const QString name = portNameForFile(portName);
    const bool switched = isRecording() != format.logSaveFlag;
    const bool otherFile =
        format.logFilePath != m_now->format.logFilePath || name != m_now->portName;
    // A recording that begins belongs to the day that it begins on.
    const bool newName = otherFile || (switched && format.logSaveFlag);
    // A record that comes with another name means that name.
    const bool ownName = format.currentLogFileName == currentLogFile();
    const QString currentName = newName ? unresolvedLogFileName() : currentLogFile();
    if (otherFile || switched)
        flushLog();
    if (newName && m_now->writer.hasPending())
        leaveBehind();
    m_now->format = format;
    if (ownName)
        m_now->format.currentLogFileName = currentName;
    m_now->portName = name;
    m_now->connection = connection;
    m_decoders.setEncodings(format.receiveEncoding, format.sendEncoding);
    if (ownName && newName)
        Q_EMIT fileNameChanged(currentName);
    if (switched && isRecording()) {
        m_decoders.reset();
        m_state = {};
        m_now->writer.startOnFreshLine();
    }
    if (switched)
        Q_EMIT stateChanged();
}

void PortLog::leaveBehind()
{
    m_leftBehind.push_back(std::exchange(m_now, newRecording()));
    if (m_leftBehind.size() <= kMaxLeftBehind)
        return;
    const Recording& oldest = *m_leftBehind.front();
    tell(tr("%1 of text for the data log %2 were given up: it could not be written for too long.")
             .arg(QLocale().formattedDataSize(
                      oldest.writer.pendingBytes() + oldest.writer.givenUpBytes()),
                 oldest.format.currentLogFileName));
    m_leftBehind.pop_front();
}

PortLog::State PortLog::state() const
{
    if (m_failing)
        return State::Failing;
    return isRecording() ? State::Recording : State::Off;
}

void PortLog::logRecord(const rxData& record)
{
    if (!isRecording())
        return;
    const bool received = record.direction == RXorTx::Received;
    WireTextDecoder& decoder = received ? m_decoders.received(record.peer) : m_decoders.sent();
    m_text.resize(0);
    MessageCodec::appendForLog(record, m_now->format, m_state, decoder, m_text);
    m_now->writer.appendLine(m_text, m_now->format);
    if (!m_failing && !m_continuing && m_now->writer.pendingBytes() >= kEagerBytes)
        flushLog();
    else if (m_now->writer.hasPending() && !m_timer.isActive())
        m_timer.start(kSaveIntervalMs);
}

// The oldest first. One that cannot be written keeps none of the others waiting: they may lie on
// another disk.
bool PortLog::flushLog(QString* error)
{
    bool ok = true;
    QString message;
    for (const auto& recording : m_leftBehind)
        ok = flush(*recording, message) && ok;
    std::erase_if(m_leftBehind, [](const auto& each) { return !each->writer.hasPending(); });
    const QString before = currentLogFile();
    ok = flush(*m_now, message) && ok;
    if (currentLogFile() != before)
        Q_EMIT fileNameChanged(currentLogFile());
    if (ok)
        noteSuccess();
    else
        noteFailure(message);
    m_continuing = ok && hasPending();
    if (hasPending())
        m_timer.start(ok ? kContinueMs : kSaveIntervalMs);
    else
        m_timer.stop();
    if (!ok && error != nullptr)
        *error = message;
    return ok;
}

bool PortLog::flush(Recording& recording, QString& error)
{
    QString message;
    if (recording.writer.flush(
            recording.format, recording.portName, recording.connection, &message))
        return true;
    error = message;
    return false;
}

bool PortLog::hasPending() const
{
    return !m_leftBehind.empty() || m_now->writer.hasPending();
}

void PortLog::noteFailure(const QString& error)
{
    if (std::exchange(m_failing, true))
        return;
    tell(tr("The data log is not written. %1\nThe text is kept in memory (up to %2), and recording "
            "goes on by itself as soon as the file can be written.")
             .arg(error, QLocale().formattedDataSize(LogWriter::kMaxPendingBytes)));
    Q_EMIT stateChanged();
}

void PortLog::noteSuccess()
{
    if (!std::exchange(m_failing, false))
        return;
    if (const qint64 missing = std::exchange(m_missingBytes, 0); missing > 0) {
        tell(tr("The data log is written again in %1, but %2 of text are missing. A line in the "
                "log says where.")
                 .arg(currentLogFile(), QLocale().formattedDataSize(missing)));
    } else {
        Q_EMIT noticeCleared(std::exchange(m_notice, {}));
        Q_EMIT noticed(Notice::info(
            tr("The data log is written again in %1").arg(currentLogFile()), kMessageMs));
    }
    Q_EMIT stateChanged();
}

void PortLog::tell(const QString& notice)
{
    m_notice = notice;
    Q_EMIT noticed(Notice::error(notice, {}, Notice::kUntilDismissed));
}

qint64 PortLog::unwrittenBytes() const
{
    qint64 bytes = m_now->writer.pendingBytes() + m_now->writer.givenUpBytes();
    for (const auto& recording : m_leftBehind)
        bytes += recording->writer.pendingBytes() + recording->writer.givenUpBytes();
    return bytes;
}
