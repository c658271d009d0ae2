#pragma once

#include <QCoreApplication>
#include <QDateTime>
#include <QString>

struct FormatSetting;

// When a data log begins a new file, and how the old one is put aside. Owned by the log writer,
// which calls it before every write; files are renamed within their folder, never copied.
//
// A time of rotation is reached within kWindowMs after it, and also when it passed between the
// last write and this one: a device that is silent at midnight gets its new file with its first
// word of the day. A file that has begun since then, because another pane writes it too, is not
// put aside once more.
class LogRotation final
{
    Q_DECLARE_TR_FUNCTIONS(LogRotation)

public:
    static constexpr qint64 kWindowMs = 200;
    // A rotation that follows another one sooner than this is left out.
    static constexpr qint64 kGuardMs = 30000;

    // `now` is the time of construction; no rotation is so recent that the first one is left out.
    explicit LogRotation(const QDateTime& now);

    // Whether the file must be put aside now. `lastWrite` is when this file was written last,
    // invalid if not yet.
    [[nodiscard]] bool isDue(
        const FormatSetting& format, const QDateTime& lastWrite, const QDateTime& now) const;
    // Renames the file, if it exists, to a free name with a time stamp in it. False with a text
    // for people when that fails: everything is as it was then.
    [[nodiscard]] bool archive(const QString& fileName, const QDateTime& now, QString& error);

private:
    QDateTime m_lastRotation;
};
