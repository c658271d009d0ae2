#pragma once

#include <QDateTime>
#include <QFile>
#include <QObject>
#include <QTimer>
#include <functional>

// The capture of a bridge: what passed in both directions, in one file, a line for each read:
//
//   # Bridge "Line 1": A is Port 1 (ttyUSB0 9600 8N1), B is Port 2 (TCP *:502), 2026-11-24 ...
//   2026-11-24 10:15:07.031 A>B 01 03 00 00 00 01 84 0A
//   2026-11-24 10:15:07.044 B>A 192.168.1.10:51712 [text, control bytes as \r \n \x1B]
//
// Data flow: record() -> pending lines -> file, kWriteDelayMs later, at most kMaxWriteBytes in one
// turn of the event loop. A file that has reached its size is renamed to NAME.1, which is replaced.
//
// Nothing is lost while the file cannot be written (disk full, folder gone): what is pending waits,
// to the byte, and every kRetryMs it is tried again. Beyond kMaxPendingBytes lines are given up;
// a line in the file says how many bytes are missing there, once it can be written. Owned by the
// bridge link; tests inject the clock.
class BridgeLog final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BridgeLog)

public:
    using Clock = std::function<QDateTime()>; // local time

    struct Options
    {
        QString path;
        bool hex = true;
        qint64 rotateBytes = 0;
    };

    static constexpr int kWriteDelayMs = 100;
    static constexpr int kRetryMs = 5000;
    static constexpr qsizetype kMaxPendingBytes = qsizetype{4} * 1024 * 1024;
    static constexpr qsizetype kMaxWriteBytes = qsizetype{256} * 1024;
    static constexpr qsizetype kLineBytes = 4096; // of payload in one line

    BridgeLog(Options options, Clock clock);
    // Writes what is pending, as far as the disk lets it.
    ~BridgeLog() override;

    // A line about the capture itself.
    void note(const QString& text);
    // Bytes that end A (`fromA`) or end B received; `peer` may be empty.
    void record(bool fromA, QByteArrayView bytes, const QString& peer);
    // Writes now; false when not all could be written.
    bool flush();

    // Why it is not written; empty while it is.
    [[nodiscard]] QString error() const { return m_error; }
    [[nodiscard]] const QString& path() const { return m_options.path; }

Q_SIGNALS:
    void errorChanged();

private:
    void append(const QByteArray& line, qsizetype payload);
    void appendPayload(QByteArray& line, QByteArrayView bytes) const;
    [[nodiscard]] QByteArray stamp() const;
    void write();
    [[nodiscard]] bool writeSome();
    [[nodiscard]] bool prepareFile();
    [[nodiscard]] bool rotate();
    bool fail(const QString& reason);
    void setError(const QString& error);

    const Options m_options;
    const Clock m_clock;
    QFile m_file;
    QByteArray m_pending; // at most kMaxPendingBytes and one line
    qint64 m_missing = 0; // bytes of payload given up, and not told yet
    QString m_error;
    QTimer m_timer;
};
