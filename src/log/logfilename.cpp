#include "log/logfilename.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

QString defaultLogFilePath()
{
    return QDir(QDir::homePath()).filePath(u"vmr_%S-%Y%M%D.log"_s);
}

QString decode_file_name(const QString& pattern, const QString& portName, const QDateTime& dateTime)
{
    QString name = pattern;
    name.replace("%S"_L1, portName);
    return decode_timestamp(dateTime, name);
}

QString get_current_time(const QString& pattern)
{
    return decode_timestamp(QDateTime::currentDateTime(), pattern);
}

QString unresolvedLogFileName()
{
    return u"NULL"_s;
}

bool logFileNameResolved(const QString& name)
{
    return name.trimmed().size() > 2 && name != unresolvedLogFileName();
}

bool isSameLogFile(const QString& one, const QString& other)
{
    const auto cleaned = [](const QString& name) {
        return QDir::cleanPath(QFileInfo(name).absoluteFilePath());
    };
    return cleaned(one) == cleaned(other);
}

QString portNameForFile(const QString& portName)
{
    static const QString forbidden = u"/\\:*?\"<>|"_s;
    QString name = portName;
    for (QChar& c : name) {
        if (forbidden.contains(c) || c < u' ')
            c = u'_';
    }
    while (name.startsWith(u'_'))
        name.remove(0, 1);
    return name;
}
