#pragma once

#include "log/logwriter.h"
#include "settings/formatsetting.h"
#include "terminal/format/logstate.h"
#include "terminal/port/decoderset.h"
#include "terminal/port/trafficlog.h"

#include <QObject>
#include <QTimer>

class ReceivePipeline;

// The data log of one pane: whether it records, with which decoders, when it is saved, and what
// the person is told when that fails.
//
// Data flow: ReceivePipeline -> logRecord() -> MessageCodec::decodeForLog() -> LogWriter, which a
// timer flushes kSaveIntervalMs after the first text, or at once when kEagerBytes wait. A flush
// that fails is told once, in a notice that stays, and tried again every kSaveIntervalMs; so is
// its end. While nothing records the pipeline has no log to feed. Bounds: those of LogWriter.
// Owned by the pane; the pipeline outlives it.
class PaneLog final : public QObject, private TrafficLog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PaneLog)

public:
    enum class State { Off, Recording, Failing };

    static constexpr int kSaveIntervalMs = 1000;
    // Until the rest of what one flush may write: on a slow disk half of the time is the window's.
    static constexpr int kContinueMs = LogWriter::kMaxFlushMs;
    static constexpr qsizetype kEagerBytes = qsizetype{1024} * 1024;
    static constexpr int kMessageMs = 5000;

    explicit PaneLog(ReceivePipeline& pipeline, QObject* parent = nullptr);
    PaneLog(ReceivePipeline& pipeline, LogWriter::Clock clock, QObject* parent = nullptr);
    ~PaneLog() override;

    // The pane's record, of which logSaveFlag starts and ends recording, its port name, and what
    // it is connected to (in the place of an empty port name). What was recorded before goes to
    // the file that it was recorded for.
    void setPane(const FormatSetting& format, const QString& portName, const QString& connection);

    // Writes all that is pending. False with a text for people if that fails; it stays pending.
    bool flushLog(QString* error);
    // Records what the view has not shown yet and writes all: the pane is going away.
    void finish();

    [[nodiscard]] State state() const;
    // The name in use, or unresolvedLogFileName().
    [[nodiscard]] QString currentLogFile() const { return m_format.currentLogFileName; }

Q_SIGNALS:
    void stateChanged();
    // For the pane's record.
    void fileNameChanged(const QString& name);
    void statusMessage(const QString& text, int timeoutMs);
    // A notice that stays until it is dismissed or cleared.
    void errorOccurred(const QString& text);
    void errorCleared(const QString& text);

private:
    void logRecord(const rxData& record) override;
    void resetTextDecoders() override;
    void forgetPeer(const QString& peer) override;

    void setRecording(bool on);
    bool flushOnce(QString& error);
    void noteSuccess();
    void noteFailure(const QString& error);
    void tell(const QString& notice);

    ReceivePipeline& m_pipeline;
    LogWriter m_writer;
    QTimer m_timer;
    DecoderSet m_decoders;
    LogState m_state;
    QString m_text; // of the record at hand; kept for its memory, which one slice bounds
    FormatSetting m_format;
    QString m_portName; // as it stands in file names
    QString m_connection;
    QString m_notice;          // the last one, until it is cleared
    qint64 m_missingBytes = 0; // not told yet
    bool m_failing = false;
    bool m_continuing = false; // the last flush left text for the next one
};
