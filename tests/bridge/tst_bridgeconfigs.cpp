// Configurations: what is stored comes back, what makes no sense does not get in, and the figures
// that are shown of a bridge.
#include "bridge/bridgecodec.h"
#include "bridge/bridgemanager.h"
#include "bridge/modbusstatistics.h"
#include "connections/systemportcatalog.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

BridgeConfig unlikeDefaults()
{
    BridgeConfig config;
    config.name = u"Bus, 3; \"north\""_s;
    config.portA = 2;
    config.portB = 0;
    config.direction = BridgeDirection::BToA;
    config.enabled = false;
    config.autoOpenPeer = true;
    config.showForwardedInDisplay = false;
    config.displayMuteBytesPerSec = 7;
    config.framing = {FramingMode::Delimiter, 9, QByteArray::fromHex("0d0aff"), 8, 99, 11};
    config.flow = {1000, 900, 100, 77, OverflowPolicy::StopBridge, false, 4096, 200};
    config.fanout = FanoutMode::TakeTurns;
    config.udpTarget = UdpTargetMode::AllPeers;
    config.protocol = ProtocolMode::Rfc2217Client;
    config.modbusTransactionTimeoutMs = 12;
    config.arbiterResponseTimeoutMs = 13;
    config.arbiterMaxQueuedRequests = 14;
    config.modbusExceptions = true;
    config.allowedPeers = {u"10.0.0.0/8"_s, u"::1"_s};
    config.logEnabled = true;
    config.logFilePath = u"/tmp/a b.txt"_s;
    config.logHex = false;
    config.logRotateBytes = 5000;
    return config;
}

} // namespace

class TestBridgeConfigs final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void storeAndBack();
    void absurdStore();
    void validation();
    void portsComeAndGo();
    void history();
    void latencies();
};

void TestBridgeConfigs::storeAndBack()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"store.ini"_s);
    {
        QSettings store(path, QSettings::IniFormat);
        store.setValue(u"Other/Key"_s, 1);
        BridgeCodec::save(store, {BridgeConfig(), unlikeDefaults(), BridgeConfig()});
        BridgeCodec::save(store, {unlikeDefaults(), BridgeConfig()});
    }
    const QSettings store(path, QSettings::IniFormat);
    QCOMPARE(BridgeCodec::load(store), (QList<BridgeConfig>{unlikeDefaults(), BridgeConfig()}));
    QCOMPARE(store.value(u"Bridge/0/FramingDelimiterHex"_s).toString(), u"0D0AFF"_s);
    QVERIFY(!store.contains(u"Bridge/2/Name"_s));
    QVERIFY(store.contains(u"Other/Key"_s));
}

void TestBridgeConfigs::absurdStore()
{
    const QVariantMap map{{u"Count"_s, 10'000}, {u"0/Direction"_s, 77}, {u"0/Protocol"_s, -4},
        {u"0/FanoutMode"_s, u"many"_s}, {u"0/OverflowPolicy"_s, 9},
        {u"0/QueueLimitBytes"_s, u"99999999999999999999"_s},
        {u"0/FramingDelimiterHex"_s, u"0x0D"_s}, {u"0/PortA"_s, u"9999999999"_s},
        {u"0/LogRotateBytes"_s, -1}, {u"0/ArbiterMaxQueuedRequests"_s, 0}};
    const QList<BridgeConfig> configs = BridgeCodec::fromMap(map);
    QCOMPARE(configs.size(), BridgeCodec::kMaxBridges);
    BridgeConfig expected;
    expected.arbiterMaxQueuedRequests = 1;
    expected.logRotateBytes = BridgeConfig::kMinRotateBytes;
    QCOMPARE(configs.constFirst(), expected);

    SystemPortCatalog catalog;
    LivePort a{catalog};
    LivePort b{catalog};
    BridgeManager bridges;
    bridges.setPorts({&a, &b});
    QCOMPARE(bridges.setConfigs(configs).size(), BridgeCodec::kMaxBridges - 1);
    QCOMPARE(bridges.linkCount(), 1);
}

void TestBridgeConfigs::validation()
{
    SystemPortCatalog catalog;
    LivePort a{catalog};
    LivePort b{catalog};
    BridgeManager bridges;
    bridges.setPorts({&a, &b});
    QString error;
    const auto refused = [&](int portA, int portB,
                             BridgeDirection direction = BridgeDirection::Both, int ignore = -1) {
        BridgeConfig config;
        config.portA = portA;
        config.portB = portB;
        config.direction = direction;
        return bridges.validate(config, ignore, &error) ? QString() : error;
    };
    QCOMPARE(refused(-1, 1), u"Both ends must name a port"_s);
    QCOMPARE(refused(0, 2), u"Port number is out of range"_s);
    QCOMPARE(refused(1, 1), u"A bridge needs two different ports"_s);
    QCOMPARE(refused(0, 1), QString());
    BridgeConfig oneWay;
    oneWay.direction = BridgeDirection::AToB;
    QVERIFY(bridges.addLink(oneWay));
    const QString taken = u"That direction is already bridged"_s;
    QCOMPARE(refused(0, 1), taken);
    QCOMPARE(refused(1, 0, BridgeDirection::BToA), taken); // the same bytes, written the other way
    QCOMPARE(refused(1, 0, BridgeDirection::AToB), QString());
    QCOMPARE(refused(0, 1, BridgeDirection::Both, 0), QString()); // edits that very bridge
}

void TestBridgeConfigs::portsComeAndGo()
{
    SystemPortCatalog catalog;
    LivePort a{catalog};
    LivePort b{catalog};
    LivePort c{catalog};
    BridgeManager bridges;
    bridges.setPorts({&a, &b, &c});
    BridgeConfig first;
    BridgeConfig second;
    second.portB = 2;
    QCOMPARE(bridges.setConfigs({first, second}), QStringList());
    const BridgeLink* kept = bridges.linkAt(0);
    QVERIFY(a.isBridged() && c.isBridged());
    bridges.setPorts({&a, &b});
    QCOMPARE(bridges.configs(), QList<BridgeConfig>{first});
    QCOMPARE(bridges.linkAt(0), kept);
    bridges.setConfigs({second, first});
    QCOMPARE(bridges.linkAt(0), kept); // the same bridge at another place
    first.enabled = false;
    QVERIFY(bridges.updateLink(0, first));
    QVERIFY(!a.isBridged());
    QCOMPARE(bridges.linkAt(0)->state(), BridgeState::Off);
}

void TestBridgeConfigs::history()
{
    TrafficHistory history;
    history.note({1, 2, 0}, 500);
    history.note({10, 0, 3}, 1999);
    QCOMPARE(history.seconds(1999).at(118), (TrafficHistory::Second{1, 2, 0}));
    QCOMPARE(history.seconds(1999).at(119), (TrafficHistory::Second{10, 0, 3}));
    QVERIFY(history.missedWithin(10, 10'999));
    QVERIFY(!history.missedWithin(10, 11'000));
    // After a long silence nothing of before stands where its seconds were.
    history.note({5, 0, 0}, 500'000);
    QCOMPARE(history.seconds(500'000).at(119), (TrafficHistory::Second{5, 0, 0}));
    QCOMPARE(history.seconds(500'000).at(118), TrafficHistory::Second());
    QCOMPARE(history.seconds(700'000).at(0), TrafficHistory::Second());

    QCOMPARE(BridgeLink::formatBytes(1023), u"1023 B"_s);
    QCOMPARE(BridgeLink::formatBytes(1024), u"1 KB"_s);
    QCOMPARE(BridgeLink::formatBytes(1'048'575), u"1023 KB"_s);
    QCOMPARE(BridgeLink::formatBytes(2'097'152), u"2 MB"_s);
}

void TestBridgeConfigs::latencies()
{
    ModbusStatistics statistics;
    for (int i = 1; i <= 2000; ++i) {
        ModbusRecord record;
        record.transaction.peerKey = u"client"_s;
        record.transaction.request = QByteArray::fromHex("0103");
        record.transaction.sentMs = 0;
        record.transaction.endedMs = i;
        statistics.add(record);
    }
    QCOMPARE(statistics.records().size(), std::size_t(1000));
    const ModbusStatistics::Counters counters = statistics.forClient(u"client"_s);
    QCOMPARE(counters.requests, 2000);
    QCOMPARE(counters.medianMs, 1500);
    QCOMPARE(counters.percentile99Ms, 1990);
    QCOMPARE(statistics.forUnit(9).medianMs, -1);
}

QTEST_GUILESS_MAIN(TestBridgeConfigs)
#include "tst_bridgeconfigs.moc"
