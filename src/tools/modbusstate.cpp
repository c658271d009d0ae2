#include "tools/modbusstate.h"

#include "settings/storewriter.h"
#include "tools/modbuspoll.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSettings>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

// One value: all of it is written, or nothing.
const auto kContentKey = u"ModbusRequestBuilder/Content"_s;
const auto kGeometryKey = u"ModbusRequestBuilder/Geometry"_s;

qint64 intervalIn(const QJsonValue& value, qint64 otherwise)
{
    return std::clamp(
        value.toInteger(otherwise), ModbusPoll::kMinIntervalMs, ModbusPoll::kMaxIntervalMs);
}

} // namespace

ModbusState ModbusState::load(const QSettings& store)
{
    ModbusState state;
    const QJsonObject json =
        QJsonDocument::fromJson(store.value(kContentKey).toString().toUtf8()).object();
    state.draft = ModbusRequest::fromJson(json.value("draft"_L1).toObject());
    const QJsonArray all = json.value("kept"_L1).toArray();
    for (const auto& value : all) {
        const ModbusRequest request = ModbusRequest::fromJson(value.toObject());
        const bool named = std::any_of(state.kept.cbegin(), state.kept.cend(),
            [&request](const Kept& other) { return other.request.name == request.name; });
        if (state.kept.size() < kMaxKept && !request.name.isEmpty() && !named)
            state.kept.append({request, value.toObject().value("polled"_L1).toBool(true)});
    }
    state.framing = json.value("tcp"_L1).toBool() ? Modbus::Framing::Tcp : Modbus::Framing::Rtu;
    state.repeatMs = intervalIn(json.value("repeatMs"_L1), kDefaultIntervalMs);
    state.pollMs = intervalIn(json.value("pollMs"_L1), kDefaultIntervalMs);
    state.timeoutMs = std::clamp(json.value("timeoutMs"_L1).toInteger(kDefaultTimeoutMs),
        ModbusPoll::kMinTimeoutMs, ModbusPoll::kMaxTimeoutMs);
    state.page = json.value("page"_L1).toInt() == 1 ? 1 : 0;
    state.geometry = store.value(kGeometryKey).toByteArray();
    return state;
}

bool ModbusState::save(QSettings& store, QString& reason) const
{
    QJsonArray all;
    for (const Kept& each : kept) {
        QJsonObject request = each.request.toJson();
        request.insert("polled"_L1, each.polled);
        all.append(request);
    }
    const QJsonObject json{{u"draft"_s, draft.toJson()}, {u"kept"_s, all},
        {u"tcp"_s, framing == Modbus::Framing::Tcp}, {u"repeatMs"_s, repeatMs},
        {u"pollMs"_s, pollMs}, {u"timeoutMs"_s, timeoutMs}, {u"page"_s, page}};
    return StoreWriter::write(
        store,
        [&] {
            store.setValue(
                kContentKey, QString::fromUtf8(QJsonDocument(json).toJson(QJsonDocument::Compact)));
            store.setValue(kGeometryKey, geometry);
        },
        reason);
}
