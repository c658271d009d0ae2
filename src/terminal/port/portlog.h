#pragma once

#include "base/notice.h"
#include "log/logwriter.h"
#include "settings/formatsetting.h"
#include "terminal/format/logstate.h"
#include "terminal/port/decoderset.h"

#include <QObject>
#include <QTimer>
#include <deque>
#include <memory>

struct rxData;

// The data log of one port: whether it records, with which decoders, when it is saved, and what
// the person is told when that fails.
//
// Data flow: ReceivePipeline -> logRecord() -> MessageCodec::appendForLog() -> LogWriter, which a
// timer flushes kSaveIntervalMs after the first text, or at once when kEagerBytes wait. A flush
// that fails is told once, in a notice that stays, and tried again every kSaveIntervalMs; so is
// its end. Text belongs to the file that it was recorded for: when another one is to be written
// before that is done, its writer stays until it is.
//
// Bounds: those of LogWriter, for the file at hand and for kMaxLeftBehind others; one more gives up
// the oldest, which is told. Owned by the live port.
class PortLog final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PortLog)

public:
    enum class State { Off, Recording, Failing };

    static constexpr int kSaveIntervalMs = 1000;
    // Until the rest of what one flush may write: on a slow disk half of the time is the window's.
    static constexpr int kContinueMs = LogWriter::kMaxFlushMs;
    static constexpr qsizetype kEagerBytes = qsizetype{1024} * 1024;
    static constexpr int kMessageMs = 5000;
    static constexpr std::size_t kMaxLeftBehind = 4;

    explicit PortLog(QObject* parent = nullptr);
    explicit PortLog(LogWriter::Clock clock, QObject* parent = nullptr);
    ~PortLog() override;

    // The format record, of which logSaveFlag starts and ends recording, the port's
    // connectionName() and its connectionSummary().
    void setUp(const FormatSetting& format, const QString& portName, const QString& connection);

    // Each piece of each record, in the order of arrival; nothing happens while nothing is
    // recorded.
    void logRecord(const rxData& record);
    // Characters that are not finished yet belong to a stream that has ended.
    void resetTextDecoders() { m_decoders.reset(); }
    // The peer left and all it sent was logged.
    void forgetPeer(const QString& peer) { m_decoders.forgetPeer(peer); }

    // Writes what one turn of the event loop has time for; the rest follows by itself. False with a
    // text for people if that fails; it stays pending.
    bool flushLog(QString* error = nullptr);
    [[nodiscard]] bool isRecording() const { return m_now->format.logSaveFlag; }
    // Bytes of text that are not in a file, those among them that there was no memory for.
    [[nodiscard]] qint64 unwrittenBytes() const;

    [[nodiscard]] State state() const;
    // The name in use, or unresolvedLogFileName().
    [[nodiscard]] QString currentLogFile() const { return m_now->format.currentLogFileName; }

Q_SIGNALS:
    void stateChanged();
    // For the port's record.
    void fileNameChanged(const QString& name);
    void noticed(const Notice& notice);
    // The cause of a notice that stays has gone.
    void noticeCleared(const QString& text);

private:
    // What is written to one file (after another, when it is rotated).
    struct Recording
    {
        explicit Recording(LogWriter::Clock clock)
            : writer(std::move(clock))
        {}

        LogWriter writer;
        FormatSetting format;
        QString portName; // as it stands in file names
        QString connection;
    };

    [[nodiscard]] std::unique_ptr<Recording> newRecording();
    void leaveBehind();
    bool flush(Recording& recording, QString& error);
    [[nodiscard]] bool hasPending() const;
    void noteSuccess();
    void noteFailure(const QString& error);
    void tell(const QString& notice);

    LogWriter::Clock m_clock;
    std::unique_ptr<Recording> m_now;
    std::deque<std::unique_ptr<Recording>> m_leftBehind; // with text that is not written yet
    QTimer m_timer;
    DecoderSet m_decoders;
    LogState m_state;
    QString m_text;            // of the record at hand; kept for its memory, which one slice bounds
    QString m_notice;          // the last one, until it is cleared
    qint64 m_missingBytes = 0; // not told yet
    bool m_failing = false;
    bool m_continuing = false; // the last flush left text for the next one
};
