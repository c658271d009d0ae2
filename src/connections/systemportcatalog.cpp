#include "connections/systemportcatalog.h"

#include <QDir>
#include <QFile>
#include <algorithm>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#endif

namespace {

bool isCharacterDevice(const QString& path)
{
#ifdef Q_OS_UNIX
    if (!QDir::isAbsolutePath(path))
        return false;
    struct stat info = {};
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 && S_ISCHR(info.st_mode);
#else
    Q_UNUSED(path)
    return false;
#endif
}

} // namespace

QList<QSerialPortInfo> listUsableSerialPorts()
{
    return QSerialPortInfo::availablePorts();
}

bool serialPortExists(const QString& name)
{
    if (name.isEmpty())
        return false;
    const QList<QSerialPortInfo> ports = listUsableSerialPorts();
    return std::any_of(ports.cbegin(), ports.cend(),
        [&name](const QSerialPortInfo& port) { return port.portName() == name; });
}

QList<SerialPortDescription> SystemPortCatalog::ports() const
{
    QList<SerialPortDescription> result;
    const QList<QSerialPortInfo> infos = listUsableSerialPorts();
    result.reserve(infos.size());
    for (const QSerialPortInfo& info : infos) {
        result.append({info.portName(), info.description(), info.manufacturer(),
            info.serialNumber(), info.systemLocation()});
    }
    return result;
}

QString SystemPortCatalog::watchedFolder() const
{
#ifdef Q_OS_UNIX
    return QStringLiteral("/dev");
#else
    return {};
#endif
}

bool SystemPortCatalog::contains(const QString& name) const
{
    return serialPortExists(name) || isCharacterDevice(name);
}
