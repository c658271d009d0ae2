#include "log/logrotation.h"

#include "settings/formatsetting.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <algorithm>
#include <filesystem>
#include <system_error>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 kNeverRotatedMs = 100000;

// The moment of the last rotation by time if it counts as reached now, else an invalid one.
QDateTime momentReached(const QTime& time, const QDateTime& lastWrite, const QDateTime& now)
{
    if (!time.isValid())
        return {};
    QDateTime latest(now.date(), time);
    if (latest > now)
        latest = QDateTime(now.date().addDays(-1), time);
    const qint64 sinceMs = latest.msecsTo(now);
    const bool reached =
        sinceMs <= LogRotation::kWindowMs || (lastWrite.isValid() && lastWrite < latest);
    return reached ? latest : QDateTime();
}

// Whether the first line of the file's header names this moment or a later one.
bool hasBegunSince(const QString& fileName, const QDateTime& moment)
{
    const QString format = u"yyyy-MM-ddThh:mm:ss"_s;
    QFile file(fileName);
    if (!QFileInfo(fileName).isFile() || !file.open(QIODevice::ReadOnly))
        return false;
    const QString text = QString::fromLatin1(file.read(format.size()));
    const QDateTime began = QDateTime::fromString(text, format);
    return began.isValid() && began >= moment;
}

bool isTimeDue(const FormatSetting& format, const QDateTime& lastWrite, const QDateTime& now)
{
    const QDateTime moment = momentReached(format.logRotateTime, lastWrite, now);
    return moment.isValid() && !hasBegunSince(format.currentLogFileName, moment);
}

QString freeArchiveName(const QFileInfo& file, const QDateTime& now)
{
    QString name = file.completeBaseName() + u'_' + now.toString(u"yyyyMMdd-hhmmss-zzz"_s);
    if (!file.suffix().isEmpty())
        name += u'.' + file.suffix();
    const QString path = QDir(file.absolutePath()).filePath(name);
    QString candidate = path;
    for (int number = 1; QFileInfo::exists(candidate) || QFileInfo(candidate).isSymLink(); ++number)
        candidate = path + u".%1"_s.arg(number);
    return candidate;
}

} // namespace

LogRotation::LogRotation(const QDateTime& now)
    : m_lastRotation(now.addMSecs(-kNeverRotatedMs))
{}

bool LogRotation::isDue(
    const FormatSetting& format, const QDateTime& lastWrite, const QDateTime& now) const
{
    const qint64 size = QFileInfo(format.currentLogFileName).size();
    if (format.logRotateAtSize && size > std::max(format.logRotateSize, 0))
        qDebug() << "Rotate log file for file size:" << size;
    else if (format.logRotateAtTime && isTimeDue(format, lastWrite, now))
        qDebug("Rotate log file for time");
    else
        return false;
    const qint64 sinceMs = m_lastRotation.msecsTo(now);
    const bool recent = sinceMs >= 0 && sinceMs < kGuardMs;
    if (recent)
        qDebug("Keep current log file because it was rotated recently");
    return !recent;
}

bool LogRotation::archive(const QString& fileName, const QDateTime& now, QString& error)
{
    const QFileInfo file(fileName);
    if (file.exists()) {
        const QString archived = freeArchiveName(file, now);
        // Not QFile::rename(), which copies what it cannot rename.
        std::error_code failure;
        std::filesystem::rename(
            file.filesystemAbsoluteFilePath(), QFileInfo(archived).filesystemFilePath(), failure);
        if (failure) {
            error = tr("Could not rotate log file '%1': %2")
                        .arg(fileName, QString::fromLocal8Bit(failure.message()));
            return false;
        }
        qDebug().noquote() << "Archive log file" << fileName << "to" << archived;
    }
    m_lastRotation = now;
    return true;
}
