#pragma once

#include "log/logrotation.h"

#include <QByteArray>
#include <QDateTime>
#include <QObject>
#include <functional>

class QFile;
struct FormatSetting;

// Writes the data log of one pane.
//
// Data flow: appendLine() -> pending text -> flush(): name from the pattern -> rotation -> folder
// -> open -> header or hourly line, pending text -> close. The file is open only during a flush,
// so that other programs may read or move it in between. It is UTF-8.
//
// Nothing is lost while the file cannot be written: what was not written stays pending, to the
// byte, and the next flush goes on there. The pending text is bounded by kMaxPendingBytes; beyond
// that new text is given up and counted, and as soon as there is room again a line in the log
// tells how much is missing at that place. A flush writes at most kMaxFlushBytes, in slices, and
// begins no slice once it has taken kMaxFlushMs, so that a slow disk holds up the event loop for
// moments only. (A disk that hangs holds it: a write to a file cannot be called off.) Owned by the
// pane's log; tests inject the clock.
class LogWriter final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LogWriter)

public:
    using Clock = std::function<QDateTime()>; // local time

    static constexpr qsizetype kMaxPendingBytes = qsizetype{16} * 1024 * 1024;
    static constexpr qsizetype kMaxFlushBytes = qsizetype{4} * 1024 * 1024;
    static constexpr qsizetype kSliceBytes = qsizetype{64} * 1024;
    static constexpr int kMaxFlushMs = 100;

    explicit LogWriter(QObject* parent = nullptr); // with the system's clock
    explicit LogWriter(Clock clock, QObject* parent = nullptr);
    ~LogWriter() override;

    // Says that a pattern gives no name.
    [[nodiscard]] static QString noFileNameText();

    // Adds text to what is pending, with the line feeds that it has. Any settings of the pane suit.
    void appendLine(const QString& line, const FormatSetting& format);
    // Writes what is pending. The name in use is stored in `format`. `connection` says what the
    // pane is connected to; a line about missing text names it. True when there was nothing to do
    // or all that one flush may write is in the file; see hasPending() for the rest. False with a
    // text for people otherwise.
    bool flush(FormatSetting& format, const QString& portName, const QString& connection,
        QString* error = nullptr);
    // What comes next begins a line of the file, also if the file ends in mid line.
    void startOnFreshLine() { m_freshLine = true; }

    [[nodiscard]] bool hasPending() const { return !m_pending.isEmpty(); }
    [[nodiscard]] qsizetype pendingBytes() const { return m_pending.size(); }
    // Line feeds among what is pending.
    [[nodiscard]] qsizetype pendingLines() const { return m_pendingLines; }
    // Bytes given up that the log does not tell of yet.
    [[nodiscard]] qint64 givenUpBytes() const { return m_givenUpBytes; }

Q_SIGNALS:
    // No room is left for pending text: from now on text is given up.
    void overflowed();
    // So many bytes are missing; the line that says so is in the file or pending.
    void gapRecorded(qint64 bytes);

private:
    [[nodiscard]] bool resolveName(
        FormatSetting& format, const QString& portName, const QDateTime& now, QString& error);
    [[nodiscard]] bool rotateIfDue(
        FormatSetting& format, const QString& portName, const QDateTime& now, QString& error);
    [[nodiscard]] bool writeTo(
        const FormatSetting& format, const QDateTime& now, qsizetype most, QString& error);
    [[nodiscard]] bool writePending(QFile& file, qsizetype most, const QDateTime& began);
    [[nodiscard]] bool endLine(const FormatSetting& format, const QDateTime& now, QString& error);
    [[nodiscard]] static QString openFailure(const QString& fileName, const QString& reason);
    void prepareLead(const QFile& file, const FormatSetting& format, const QDateTime& now);
    void noteFile(const QString& fileName);
    void recordGap(const QString& connection, const QDateTime& now);

    Clock m_clock;
    QDateTime m_launched;
    LogRotation m_rotation;
    QByteArray m_pending; // at most kMaxPendingBytes and one line about a gap
    qsizetype m_pendingLines = 0;
    // Header, hourly line or line feed that stands in front of what is pending.
    QByteArray m_lead;
    QString m_fileName; // that m_lastWrite belongs to
    QDateTime m_lastWrite;
    bool m_freshLine = true;
    QDateTime m_givenUpSince;
    qint64 m_givenUpBytes = 0;
};
