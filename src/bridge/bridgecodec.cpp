#include "bridge/bridgecodec.h"

#include "settings/settingskey.h"

#include <QSettings>

#include <limits>
#include <type_traits>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto kGroup = "Bridge"_L1;
constexpr auto kCountKey = "Count"_L1;
constexpr qsizetype kMaxDelimiterBytes = 1024;

QString nameIn(int index, QLatin1StringView key)
{
    return SettingsKey::bridgeKey(index, key).sliced(kGroup.size() + 1);
}

// The fields of one bridge, each with its key, in both directions.
template<class Field>
void visit(BridgeConfig& config, Field field)
{
    field("Name"_L1, config.name);
    field("PortA"_L1, config.portA);
    field("PortB"_L1, config.portB);
    field("Direction"_L1, config.direction, bridgeDirectionFromInt);
    field("Enabled"_L1, config.enabled);
    field("AutoOpenPeer"_L1, config.autoOpenPeer);
    field("ShowForwardedInDisplay"_L1, config.showForwardedInDisplay);
    field("DisplayMuteBytesPerSec"_L1, config.displayMuteBytesPerSec);
    field("FramingMode"_L1, config.framing.mode, framingModeFromInt);
    field("FramingIdleGapMs"_L1, config.framing.idleGapMs);
    field("FramingDelimiterHex"_L1, config.framing.delimiter);
    field("FramingFixedLength"_L1, config.framing.frameLength);
    field("FramingMaxBytes"_L1, config.framing.maxFrameBytes);
    field("FramingMaxHoldMs"_L1, config.framing.flushTimeoutMs);
    field("QueueLimitBytes"_L1, config.flow.capacityBytes);
    field("HighWatermark"_L1, config.flow.highWaterBytes);
    field("LowWatermark"_L1, config.flow.lowWaterBytes);
    field("SinkPendingLimitBytes"_L1, config.flow.sinkCeilingBytes);
    field("OverflowPolicy"_L1, config.flow.overflowPolicy, overflowPolicyFromInt);
    field("FloodGuardEnabled"_L1, config.flow.floodGuardEnabled);
    field("FloodRateBytesPerSec"_L1, config.flow.floodBytesPerSecond);
    field("FloodWindowMs"_L1, config.flow.floodWindowMs);
    field("FanoutMode"_L1, config.fanout, fanoutModeFromInt);
    field("UdpTargetMode"_L1, config.udpTarget, udpTargetModeFromInt);
    field("Protocol"_L1, config.protocol, protocolModeFromInt);
    field("ModbusTransactionTimeoutMs"_L1, config.modbusTransactionTimeoutMs);
    field("ModbusExceptions"_L1, config.modbusExceptions);
    field("ArbiterResponseTimeoutMs"_L1, config.arbiterResponseTimeoutMs);
    field("ArbiterMaxQueuedRequests"_L1, config.arbiterMaxQueuedRequests);
    field("AllowedPeers"_L1, config.allowedPeers);
    field("LogEnabled"_L1, config.logEnabled);
    field("LogFilePath"_L1, config.logFilePath);
    field("LogHex"_L1, config.logHex);
    field("LogRotateBytes"_L1, config.logRotateBytes);
}

class Reader
{
public:
    Reader(const QVariantMap& map, int index)
        : m_map(map)
        , m_index(index)
    {}

    void operator()(QLatin1StringView key, QString& value) const { value = stored(key).toString(); }
    void operator()(QLatin1StringView key, QStringList& value) const
    {
        value = stored(key).toStringList();
    }
    void operator()(QLatin1StringView key, QByteArray& value) const
    {
        QByteArray read;
        if (BridgeCodec::delimiterFromHex(stored(key).toString(), read))
            value = read;
    }
    void operator()(QLatin1StringView key, bool& value) const
    {
        if (const QVariant read = stored(key); read.isValid())
            value = read.toBool();
    }
    template<class Number>
    void operator()(QLatin1StringView key, Number& value) const
    {
        bool ok = false;
        const qlonglong read = stored(key).toLongLong(&ok);
        if (ok && read >= std::numeric_limits<Number>::min()
            && read <= std::numeric_limits<Number>::max())
            value = Number(read);
    }
    template<class Enumeration, class FromInt>
    void operator()(QLatin1StringView key, Enumeration& value, FromInt fromInt) const
    {
        bool ok = false;
        const int read = stored(key).toInt(&ok);
        if (stored(key).isValid())
            value = fromInt(ok ? read : -1);
    }

private:
    [[nodiscard]] QVariant stored(QLatin1StringView key) const
    {
        return m_map.value(nameIn(m_index, key));
    }

    const QVariantMap& m_map;
    const int m_index;
};

class Writer
{
public:
    Writer(QVariantMap& map, int index)
        : m_map(map)
        , m_index(index)
    {}

    template<class Value>
    void operator()(QLatin1StringView key, const Value& value) const
    {
        if constexpr (std::is_same_v<Value, QByteArray>)
            set(key, BridgeCodec::delimiterToHex(value));
        else
            set(key, QVariant::fromValue(value));
    }
    template<class Enumeration, class FromInt>
    void operator()(QLatin1StringView key, const Enumeration& value, FromInt) const
    {
        set(key, int(value));
    }

private:
    void set(QLatin1StringView key, const QVariant& value) const
    {
        m_map.insert(nameIn(m_index, key), value);
    }

    QVariantMap& m_map;
    const int m_index;
};

} // namespace

QList<BridgeConfig> BridgeCodec::fromMap(const QVariantMap& map)
{
    QList<BridgeConfig> configs;
    const int count = qBound(0, map.value(kCountKey, 0).toInt(), kMaxBridges);
    configs.reserve(count);
    for (int index = 0; index < count; ++index) {
        BridgeConfig config;
        visit(config, Reader(map, index));
        configs.append(config.sanitized());
    }
    return configs;
}

QVariantMap BridgeCodec::toMap(const QList<BridgeConfig>& configs)
{
    QVariantMap map;
    const int count = int(qMin<qsizetype>(configs.size(), kMaxBridges));
    map.insert(kCountKey, count);
    for (int index = 0; index < count; ++index) {
        BridgeConfig config = configs.at(index);
        visit(config, Writer(map, index));
    }
    return map;
}

QList<BridgeConfig> BridgeCodec::load(const QSettings& store)
{
    QVariantMap map;
    for (const QString& key : store.allKeys()) {
        if (key.startsWith(kGroup + u'/'))
            map.insert(key.sliced(kGroup.size() + 1), store.value(key));
    }
    return fromMap(map);
}

void BridgeCodec::save(QSettings& store, const QList<BridgeConfig>& configs)
{
    const QVariantMap map = toMap(configs);
    const int count = map.value(kCountKey).toInt();
    store.beginGroup(kGroup);
    for (const QString& group : store.childGroups()) {
        bool isIndex = false;
        if (group.toInt(&isIndex) >= count && isIndex)
            store.remove(group);
    }
    for (auto value = map.cbegin(); value != map.cend(); ++value)
        store.setValue(value.key(), value.value());
    store.endGroup();
}

bool BridgeCodec::delimiterFromHex(const QString& text, QByteArray& delimiter)
{
    QByteArray digits = text.toLatin1();
    digits.replace(' ', "");
    const QByteArray bytes = QByteArray::fromHex(digits);
    if (bytes.isEmpty() || bytes.size() > kMaxDelimiterBytes
        || bytes.toHex().compare(digits, Qt::CaseInsensitive) != 0)
        return false;
    delimiter = bytes;
    return true;
}

QString BridgeCodec::delimiterToHex(const QByteArray& delimiter)
{
    return QString::fromLatin1(delimiter.toHex().toUpper());
}
