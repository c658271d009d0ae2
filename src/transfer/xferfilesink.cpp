#include "transfer/xferfilesink.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QStorageInfo>
#include <filesystem>
#include <system_error>
#include <utility>

#ifdef Q_OS_UNIX
#include <cerrno>
#include <sys/file.h>
#endif

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 kMebibyte = qint64{1024} * 1024;
// Clocks of devices start at some year; a file from before 2000 or from far ahead tells nothing.
constexpr qint64 kEarliestTime = 946'684'800; // 1 January 2000
constexpr qint64 kLatestAheadSeconds = 315'360'000;

bool isPlausible(qint64 mtime)
{
    return mtime >= kEarliestTime
           && mtime <= QDateTime::currentSecsSinceEpoch() + kLatestAheadSeconds;
}

bool exists(const QString& path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

// The lock ends with the file; a crash cannot leave one behind. A file system without locks lets
// everybody in.
bool lockNow([[maybe_unused]] const QFile& file)
{
#ifdef Q_OS_UNIX
    return ::flock(file.handle(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
#else
    return true;
#endif
}

} // namespace

XferFileSink::XferFileSink(QString directory, QString defaultName, int nameLimit)
    : m_directory(std::move(directory))
    , m_defaultName(std::move(defaultName))
    , m_nameLimit(nameLimit)
{}

XferFileSink::~XferFileSink()
{
    discard(false);
}

bool XferFileSink::fail(const QString& text)
{
    m_error = text;
    return false;
}

bool XferFileSink::open(const XferFileMeta& meta)
{
    const QString asked = meta.name.isEmpty() ? m_defaultName : meta.name;
    m_wantedName = xferSafeFileName(asked, m_nameLimit);
    if (m_wantedName != asked)
        m_askedName = asked;
    m_mtime = isPlausible(meta.mtime) ? meta.mtime : 0;
    if (!QDir().mkpath(m_directory))
        return fail(tr("The folder %1 does not exist.").arg(QDir::toNativeSeparators(m_directory)));
    return checkFreeSpace(meta.size) && createAside(m_wantedName);
}

bool XferFileSink::checkFreeSpace(qint64 bytes)
{
    const QStorageInfo volume(m_directory);
    if (bytes <= 0 || !volume.isValid() || volume.bytesAvailable() < 0
        || volume.bytesAvailable() > bytes + kMebibyte - 1)
        return true;
    return fail(tr("%1 has %2 MB free but the file needs %3 MB. Choose another location.")
                    .arg(volume.displayName(), QString::number(volume.bytesAvailable() / kMebibyte),
                        QString::number(bytes / kMebibyte)));
}

QString XferFileSink::asidePathFor(const QString& finalPath)
{
    const QFileInfo info(finalPath);
    return info.dir().filePath(u".%1.part"_s.arg(info.fileName()));
}

// A name is free when neither it nor the file aside that goes with it is somebody's.
bool XferFileSink::createAside(const QString& name)
{
    QString reason;
    m_finalPath = xferUniquePath(m_directory, name, [&](const QString& path) {
        if (exists(path))
            return true;
        const QString aside = asidePathFor(path);
        if (claim(aside))
            return false;
        reason = m_file.errorString();
        // What cannot be made at all is not somebody else's.
        return exists(aside);
    });
    if (!m_file.isOpen() && !claim(asidePathFor(m_finalPath))) {
        return fail(tr("Could not create %1: %2")
                        .arg(QDir::toNativeSeparators(m_finalPath),
                            reason.isEmpty() ? m_file.errorString() : reason));
    }
    m_collided = QFileInfo(m_finalPath).fileName() != m_wantedName;
    return true;
}

// Makes the file aside and locks it. One of that name that nobody holds is left from before.
bool XferFileSink::claim(const QString& asidePath)
{
    {
        QFile former(asidePath);
        if (!QFileInfo(asidePath).isSymLink()
            && former.open(QIODevice::ReadWrite | QIODevice::ExistingOnly)) {
            if (!lockNow(former))
                return false;
            QFile::remove(asidePath);
        } else if (QFileInfo(asidePath).isSymLink()) {
            QFile::remove(asidePath);
        }
    }
    m_file.setFileName(asidePath);
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered))
        return false;
    if (lockNow(m_file))
        return true;
    m_file.close();
    return false;
}

bool XferFileSink::write(QByteArrayView bytes)
{
    const qint64 written = m_file.write(bytes.data(), bytes.size());
    m_written += qMax<qint64>(written, 0);
    return written == bytes.size() || fail(m_file.errorString());
}

bool XferFileSink::commit(qint64 expectedSize)
{
    if (!m_file.isOpen())
        return fail(tr("The file was not open."));
    const bool cut = expectedSize >= 0 && expectedSize < m_written;
    if ((cut && !m_file.resize(expectedSize)) || !m_file.flush())
        return fail(m_file.errorString());
    applyTime();
    // The system may say only now that the volume is full.
    const QString aside = m_file.fileName();
    m_file.close();
    if (m_file.error() != QFileDevice::NoError) {
        const QString reason = m_file.errorString();
        keepAside();
        return fail(reason);
    }
    m_committed = putInPlace();
    if (!m_committed) {
        m_keptPath = aside;
        return fail(tr("The file was received but could not be renamed to %1.")
                        .arg(QDir::toNativeSeparators(m_finalPath)));
    }
    return true;
}

// The name is taken first, by an empty file that cannot be made where anything is, and that file is
// replaced: who took the name meanwhile keeps it.
bool XferFileSink::putInPlace()
{
    constexpr int kAttempts = 100;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        QFile place(m_finalPath);
        if (place.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
            place.close();
            std::error_code error;
            std::filesystem::rename(m_file.filesystemFileName(), place.filesystemFileName(), error);
            if (!error)
                return true;
            place.remove();
            return false;
        }
        if (!exists(m_finalPath))
            return false;
        m_finalPath = xferUniquePath(m_directory, m_wantedName);
        m_collided = true;
    }
    return false;
}

void XferFileSink::applyTime()
{
    if (m_mtime > 0) {
        m_file.setFileTime(
            QDateTime::fromSecsSinceEpoch(m_mtime), QFileDevice::FileModificationTime);
    }
}

void XferFileSink::discard(bool keep)
{
    if (m_committed || !m_keptPath.isEmpty() || !m_file.isOpen())
        return;
    m_file.close();
    if (keep)
        keepAside();
    else
        m_file.remove();
}

// What arrived, under a name that people find.
void XferFileSink::keepAside()
{
    const QString name = QFileInfo(m_finalPath).fileName() + ".partial"_L1;
    const QString partial = xferUniquePath(m_directory, name);
    m_keptPath = m_file.rename(partial) ? partial : m_file.fileName();
}
