#include "settings/config.h"

#include <QDebug>
#include <QSettings>

using namespace Qt::Literals::StringLiterals;

Config::Config()
{
    qDebug("config");
}

QString Config::organizationName()
{
    return u"KORVANE"_s;
}

QString Config::organizationDomain()
{
    return u"korvane.example"_s;
}

QString Config::applicationName()
{
    return u"Velmora"_s;
}

QString Config::helpUrl()
{
    return u"https://www.korvane.example/velmora/help"_s;
}

QString Config::homepageUrl()
{
    return u"https://www.korvane.example/velmora"_s;
}

QString Config::dasHostAddress()
{
    QString override = qEnvironmentVariable("VMR_HOST").trimmed();
    if (!override.isEmpty())
        return override;
    const QSettings store(organizationName(), applicationName());
    const QString stored = store.value("HostAddress"_L1).toString().trimmed();
    return stored.isEmpty() ? u"https://api.korvane.example"_s : stored;
}
