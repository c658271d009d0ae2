#include "simdevice/stablelink.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

namespace simdevice {

StableLink::~StableLink()
{
    remove();
}

bool StableLink::set(const QString& path, const QString& target, QString* error)
{
    remove();
    // QFile::exists() follows the link; a dangling one left by a crash has to be replaced as well.
    const QFileInfo present(path);
    if (!present.isSymLink() && present.exists()) {
        *error = QCoreApplication::translate("StableLink", "%1 exists and is no link").arg(path);
        return false;
    }
    QFile::remove(path);
    QFile file(target);
    if (!file.link(path)) {
        *error = QCoreApplication::translate("StableLink", "%1 cannot be made: %2")
                     .arg(path, file.errorString());
        return false;
    }
    m_path = path;
    m_target = target;
    return true;
}

void StableLink::remove()
{
    if (!m_path.isEmpty() && QFileInfo(m_path).symLinkTarget() == m_target) {
        QFile::remove(m_path);
    }
    m_path.clear();
}

} // namespace simdevice
