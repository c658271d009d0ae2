#include "settings/settingskey.h"

using namespace Qt::Literals::StringLiterals;

namespace SettingsKey {

QString bridgeKey(int index, const QString& name)
{
    return "Bridge/"_L1 + QString::number(index) + u'/' + name;
}

QString paneKey(int index, const QString& name)
{
    return QString::number(index) + u'/' + name;
}

QString quickFieldOrder(const QString& group)
{
    return "QuickSettings/Fields/"_L1 + group + "/Order"_L1;
}

QString quickFieldsHidden(const QString& group)
{
    return "QuickSettings/Fields/"_L1 + group + "/Hidden"_L1;
}

} // namespace SettingsKey
