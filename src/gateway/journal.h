#pragma once

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QTimer>

// What happens, a line each on standard error, as a journal likes it: with the priority of syslog
// in front ("<4>text") when standard error goes to the journal of the system, otherwise with time
// and level ("2026-11-24 10:15:07.031 warning text").
//
// Never waits for who reads: what does not fit waits here, up to kMaxPendingBytes; further lines
// are given up and counted, and the count is said in their place. One for the program.
class Journal final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Journal)

public:
    // The numbers are the priorities of syslog (RFC 5424).
    enum class Level : int { Error = 3, Warning = 4, Notice = 5, Info = 6 };

    static constexpr qsizetype kMaxPendingBytes = qsizetype{256} * 1024;
    static constexpr qsizetype kMaxLineBytes = 4096; // longer ones are cut
    static constexpr int kRetryMs = 100;
    static constexpr qint64 kRepeatMs = 600'000;
    static constexpr qsizetype kMaxRemembered = 256; // texts; one more forgets them

    // `descriptor` is 2 for standard error.
    explicit Journal(int descriptor, QObject* parent = nullptr);
    // Writes what can be written without waiting.
    ~Journal() override;

    // Line ends within the text become spaces.
    void write(Level level, const QString& text);
    // Of what repeats itself as long as its cause lasts: it was not said within kRepeatMs, or the
    // text is another. It counts as said from now on.
    [[nodiscard]] bool isNews(const QString& text);

private:
    void append(Level level, const QString& text);
    void flush();

    const int m_descriptor;
    const bool m_isSystemJournal;
    QByteArray m_pending;
    qint64 m_givenUp = 0; // lines
    QTimer m_retry;
    QHash<QString, qint64> m_said; // when; at most kMaxRemembered
};
