#include "settings/storedfield.h"

#include "terminal/text/wiretextcodecregistry.h"

namespace StoredValue {

qint32 decode(const QVariant& value, qint32 fallback, StoredRule /*rule*/)
{
    bool ok = false;
    const qint32 number = value.toInt(&ok);
    return ok ? number : fallback;
}

quint16 decode(const QVariant& value, quint16 fallback, StoredRule /*rule*/)
{
    bool ok = false;
    const qint64 number = value.toLongLong(&ok);
    return ok && number >= 0 && number <= 65535 ? static_cast<quint16>(number) : fallback;
}

bool decode(const QVariant& value, bool fallback, StoredRule /*rule*/)
{
    return value.isValid() ? value.toBool() : fallback;
}

QString decode(const QVariant& value, const QString& fallback, StoredRule rule)
{
    const QString text = value.isValid() ? value.toString() : fallback;
    if (rule == StoredRule::Encoding)
        return WireTextCodecRegistry::normalizeName(text);
    return rule == StoredRule::NotEmpty && text.isEmpty() ? fallback : text;
}

QStringList decode(const QVariant& value, const QStringList& fallback, StoredRule /*rule*/)
{
    return value.isValid() ? value.toStringList() : fallback;
}

QTime decode(const QVariant& value, QTime fallback, StoredRule /*rule*/)
{
    return value.isValid() ? value.toTime() : fallback;
}

connectionMode decode(const QVariant& value, connectionMode fallback, StoredRule /*rule*/)
{
    bool ok = false;
    const int number = value.toInt(&ok);
    return ok ? connectionModeFromInt(number) : fallback;
}

} // namespace StoredValue
