#pragma once

#include "settings/connectionmode.h"

#include <QLatin1StringView>
#include <QSettings>
#include <QStringList>
#include <QTime>
#include <variant>

// How a record's field gets its value from a store.
enum class StoredRule : quint8 {
    Plain,    // as it is
    Encoding, // a text encoding: read as the registry's name of it
    NotEmpty, // a text: an empty value counts as missing
    ReadOnly, // read, never written
};

// One row of a table that ties a persisted key to a field of `Record`. The tables stand in the
// order of the file format; reading and writing walk the same rows.
template<class Record>
struct StoredField
{
    using Member = std::variant<qint32 Record::*, quint16 Record::*, bool Record::*,
        QString Record::*, QStringList Record::*, QTime Record::*, connectionMode Record::*>;

    QLatin1StringView key;
    Member member;
    StoredRule rule = StoredRule::Plain;
};

// Conversions between a stored value and a field. A value that is missing or of another kind
// gives the fallback.
namespace StoredValue {

[[nodiscard]] qint32 decode(const QVariant& value, qint32 fallback, StoredRule rule);
[[nodiscard]] quint16 decode(const QVariant& value, quint16 fallback, StoredRule rule);
[[nodiscard]] bool decode(const QVariant& value, bool fallback, StoredRule rule);
[[nodiscard]] QString decode(const QVariant& value, const QString& fallback, StoredRule rule);
[[nodiscard]] QStringList decode(
    const QVariant& value, const QStringList& fallback, StoredRule rule);
[[nodiscard]] QTime decode(const QVariant& value, QTime fallback, StoredRule rule);
[[nodiscard]] connectionMode decode(
    const QVariant& value, connectionMode fallback, StoredRule rule);

template<class Value>
[[nodiscard]] QVariant encode(const Value& value)
{
    if constexpr (std::is_same_v<Value, connectionMode>)
        return static_cast<int>(value);
    else
        return value;
}

// Reads one field under `key` into `record`; what `fallbacks` holds stands for a missing value.
template<class Record>
void read(const QSettings& store, const QString& key, const StoredField<Record>& field,
    Record& record, const Record& fallbacks)
{
    std::visit(
        [&](auto member) {
            record.*member = decode(store.value(key), fallbacks.*member, field.rule);
        },
        field.member);
}

template<class Record>
void write(
    QSettings& store, const QString& key, const StoredField<Record>& field, const Record& record)
{
    if (field.rule == StoredRule::ReadOnly)
        return;
    std::visit([&](auto member) { store.setValue(key, encode(record.*member)); }, field.member);
}

} // namespace StoredValue
