#include "transfer/xferfilesource.h"

#include <QDir>
#include <QFileInfo>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

bool XferFileSource::open(const QString& path, QString* error)
{
    close();
    const QString reason = openRegular(path);
    if (!reason.isEmpty()) {
        if (error)
            *error = tr("Could not open %1: %2").arg(QDir::toNativeSeparators(path), reason);
        return false;
    }
    m_path = path;
    m_size = m_file.size();
    m_changed = m_file.fileTime(QFileDevice::FileModificationTime);
    return true;
}

// Empty, or why not. What stands under the name is looked at once it is open, without waiting: a
// pipe would wait for its other end.
QString XferFileSource::openRegular(const QString& path)
{
#ifdef Q_OS_UNIX
    const int descriptor =
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        return qt_error_string();
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(descriptor);
        return tr("it is not a file");
    }
    if (m_file.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
        return {};
    ::close(descriptor);
    return m_file.errorString();
#else
    m_file.setFileName(path);
    if (!QFileInfo(path).isFile())
        return tr("it is not a file");
    return m_file.open(QIODevice::ReadOnly) ? QString() : m_file.errorString();
#endif
}

XferFileMeta XferFileSource::meta() const
{
    return {QFileInfo(m_path).fileName(), m_size,
        m_changed.isValid() ? m_changed.toSecsSinceEpoch() : 0};
}

void XferFileSource::close()
{
    m_file.close();
    m_readFailed = false;
}

QByteArray XferFileSource::read(qint64 offset, qint64 length)
{
    m_readFailed = !m_file.seek(offset);
    if (m_readFailed)
        return {};
    QByteArray bytes = m_file.read(length);
    m_readFailed = m_file.error() != QFileDevice::NoError;
    return bytes;
}

bool XferFileSource::stillIntact() const
{
    const QFileInfo info(m_path);
    return info.exists() && info.size() == m_size && info.lastModified() == m_changed;
}
