#include "connections/serialopenadvice.h"

#include <QCoreApplication>
#include <QFile>

#ifdef Q_OS_UNIX
#include <cerrno>
#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

using namespace Qt::Literals::StringLiterals;

namespace {

QString adviceText(const char* text)
{
    return QCoreApplication::translate("SerialOpenAdvice", text);
}

QString permissionAdvice(const SerialDeviceFacts& facts)
{
    // Nobody should join the administrator's own group for the sake of one device.
    if (facts.group.isEmpty() || facts.group == "root"_L1 || !facts.groupMayReadWrite) {
        return adviceText(QT_TRANSLATE_NOOP("SerialOpenAdvice",
                              "You are not permitted to use %1. Ask whoever administers this "
                              "computer for read and write access to it."))
            .arg(facts.path);
    }
    return adviceText(QT_TRANSLATE_NOOP("SerialOpenAdvice",
                          "You are not permitted to use %1: it belongs to the group \"%2\". Join "
                          "the group with \"sudo usermod -aG %2 $USER\", then sign out and in "
                          "again."))
        .arg(facts.path, facts.group);
}

#ifdef Q_OS_UNIX
QString groupName(gid_t id)
{
    // One thread asks, so the shared result is safe here.
    const group* entry = ::getgrgid(id);
    return entry ? QString::fromLocal8Bit(entry->gr_name) : QString();
}
#endif

} // namespace

QString serialDevicePath(const QString& portName)
{
#ifdef Q_OS_UNIX
    const bool isPath =
        portName.startsWith(u'/') || portName.startsWith("./"_L1) || portName.startsWith("../"_L1);
    return isPath ? portName : "/dev/"_L1 + portName;
#else
    return portName;
#endif
}

SerialDeviceFacts serialDeviceFacts(const QString& path)
{
    SerialDeviceFacts facts;
    facts.path = path;
#ifdef Q_OS_UNIX
    const QByteArray name = QFile::encodeName(path);
    struct stat info = {};
    if (::stat(name.constData(), &info) != 0) {
        // A folder on the way that may not be searched is not a device that is missing.
        facts.exists = errno == EACCES;
        facts.accessible = false;
        return facts;
    }
    facts.isCharacterDevice = S_ISCHR(info.st_mode);
    facts.accessible = ::faccessat(AT_FDCWD, name.constData(), R_OK | W_OK, AT_EACCESS) == 0;
    facts.group = groupName(info.st_gid);
    constexpr mode_t kGroupReadWrite = S_IRGRP | S_IWGRP;
    facts.groupMayReadWrite = (info.st_mode & kGroupReadWrite) == kGroupReadWrite;
#endif
    return facts;
}

QString serialOpenAdvice(QSerialPort::SerialPortError error, const SerialDeviceFacts& facts)
{
    if (!facts.exists || error == QSerialPort::DeviceNotFoundError) {
        return adviceText(QT_TRANSLATE_NOOP("SerialOpenAdvice",
                              "There is no device %1. Check that it is plugged in and that the "
                              "name is right."))
            .arg(facts.path);
    }
    if (!facts.isCharacterDevice || error == QSerialPort::UnsupportedOperationError) {
        return adviceText(QT_TRANSLATE_NOOP("SerialOpenAdvice",
                              "%1 is not a serial port, or it does not offer what was asked of "
                              "it. Choose another port."))
            .arg(facts.path);
    }
    if (!facts.accessible)
        return permissionAdvice(facts);
    if (error == QSerialPort::PermissionError) {
        return adviceText(QT_TRANSLATE_NOOP("SerialOpenAdvice",
                              "Another program has %1 open. Close the port there, then open it "
                              "again."))
            .arg(facts.path);
    }
    if (error == QSerialPort::ResourceError) {
        return adviceText(QT_TRANSLATE_NOOP("SerialOpenAdvice",
            "The device does not respond. Unplug it, plug it in again and open "
            "the port once more."));
    }
    return {};
}
