#include "transfer/xferfilesource.h"

#include <QDir>
#include <QFileInfo>

bool XferFileSource::open(const QString& path, QString* error)
{
    close();
    const QFileInfo info(path);
    m_file.setFileName(path);
    QString reason;
    // Opening a pipe would wait for its other end.
    if (info.exists() && !info.isFile())
        reason = tr("it is not a file");
    else if (!m_file.open(QIODevice::ReadOnly))
        reason = m_file.errorString();
    if (!reason.isEmpty()) {
        if (error)
            *error = tr("Could not open %1: %2").arg(QDir::toNativeSeparators(path), reason);
        return false;
    }
    m_path = path;
    m_size = m_file.size();
    m_changed = info.lastModified();
    return true;
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
