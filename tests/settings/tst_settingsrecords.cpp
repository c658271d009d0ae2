#include "app/settings/config.h"
#include "app/settings/displayfonts.h"
#include "app/settings/formatsetting.h"
#include "app/settings/quicksettingsgroups.h"
#include "app/settings/settings.h"
#include "app/settings/settingscodec.h"
#include "app/settings/settingskey.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <limits>

using namespace Qt::Literals::StringLiterals;

// The small rules around the records: conversions, clamping, orders, fonts and addresses.
class SettingsRecordsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void timeUnits_data();
    void timeUnits();
    void megabytes();
    void displayTexts();
    void connectionModes();
    void connectionIsSanitized();
    void formatIsSanitized();
    void hostHistory();
    void orders_data();
    void orders();
    void visibleFields();
    void displayFonts();
    void substitutions();
    void serviceAddress_data();
    void serviceAddress();
};

void SettingsRecordsTest::timeUnits_data()
{
    QTest::addColumn<int>("interval");
    QTest::addColumn<int>("unit");
    QTest::addColumn<qint64>("ms");
    QTest::addColumn<int>("spinOf2500");
    constexpr int max = std::numeric_limits<int>::max();
    QTest::newRow("milliseconds") << 250 << 1 << 250LL << 2500;
    QTest::newRow("seconds") << 3 << 1000 << 3000LL << 2;
    QTest::newRow("unit 0 is 1") << 7 << 0 << 7LL << 2500;
    QTest::newRow("negative unit is 1") << 7 << -60 << 7LL << 2500;
    QTest::newRow("beyond 32 bits") << max << max << qint64{max} * max << 0;
}

void SettingsRecordsTest::timeUnits()
{
    QFETCH(const int, interval);
    QFETCH(const int, unit);
    QTEST(SettingsCodec::sendIntervalToMs(interval, unit), "ms");
    QTEST(SettingsCodec::msToSpinValue(2500, unit), "spinOf2500");
    QCOMPARE(SettingsCodec::msToSpinValue(qint64{1} << 40, 1), std::numeric_limits<int>::max());
}

void SettingsRecordsTest::megabytes()
{
    QCOMPARE(SettingsCodec::rotateSizeMbToBytes(100), 104857600);
    QCOMPARE(SettingsCodec::rotateSizeMbToBytes(2048), std::numeric_limits<qint32>::min());
    QCOMPARE(SettingsCodec::rotateSizeBytesToMb(1048575), 0);
    QCOMPARE(SettingsCodec::rotateSizeBytesToMb(1048576), 1);
    QCOMPARE(SettingsCodec::rotateSizeBytesToMb(-1), 0);
    QCOMPARE(SettingsCodec::rotateSizeBytesToMb(-1048577), -1);
    QCOMPARE(SettingsCodec::displayBufferToStored(10), 10485760);
    QCOMPARE(SettingsCodec::storedToDisplayBuffer(10485759), 9);
}

void SettingsRecordsTest::displayTexts()
{
    QFont font(u"Family %2"_s, 11);
    font.setWeight(QFont::Bold);
    QCOMPARE(SettingsCodec::fontToDisplayString(font), "Family %2, 11, 700"_L1);
    QCOMPARE(SettingsCodec::colorToDisplayString(QColor(171, 205, 239)), "#ABCDEF"_L1);
    QCOMPARE(SettingsKey::bridgeKey(3, u"Source"_s), "Bridge/3/Source"_L1);
}

void SettingsRecordsTest::connectionModes()
{
    using enum connectionMode;
    QCOMPARE(connectionModeFromInt(-1), SerialPort);
    QCOMPARE(connectionModeFromInt(8), RemoteSerialCloudRelay);
    QCOMPARE(connectionModeFromInt(9), SerialPort);
    QList<int> tcp;
    QList<int> remote;
    QList<int> udp;
    for (int i = 0; i <= 8; ++i) {
        const connectionMode mode = connectionModeFromInt(i);
        if (connectionModeIsTcpClient(mode))
            tcp << i;
        if (connectionModeIsRemoteSerial(mode))
            remote << i;
        if (connectionModeIsUdp(mode))
            udp << i;
    }
    QCOMPARE(tcp, (QList<int>{2, 7}));
    QCOMPARE(remote, (QList<int>{7, 8}));
    QCOMPARE(udp, (QList<int>{4, 5, 6}));
}

// Any number may stand in a file; none of them may reach a device.
void SettingsRecordsTest::connectionIsSanitized()
{
    Settings wild;
    wild.baudRate = 0;
    wild.dataBits = 9;
    wild.parity = 1;
    wild.stopBits = 0;
    wild.flowControl = 7;
    wild.targetPort = 70000;
    Settings sane = wild.sanitized();
    QCOMPARE(sane.baudRate, 1);
    QCOMPARE(sane.dataBits, 8);
    QCOMPARE(sane.parity, 0);
    QCOMPARE(sane.stopBits, 1);
    QCOMPARE(sane.flowControl, 0);
    QCOMPARE(sane.targetPort, 65535);
    wild.dataBits = 4;
    wild.targetPort = -1;
    QCOMPARE(wild.sanitized().dataBits, 5);
    QCOMPARE(wild.sanitized().targetPort, 0);

    Settings good;
    good.baudRate = 4000000;
    good.parity = 5;
    good.stopBits = 3;
    good.flowControl = 2;
    sane = good.sanitized();
    QCOMPARE(sane.stringBaudRate, "4000000"_L1);
    QCOMPARE(sane.stringParity, "Mark"_L1);
    QCOMPARE(sane.stringStopBits, "1.5"_L1);
    QCOMPARE(sane.stringFlowControl, "XON/XOFF"_L1);
    good.refreshTexts();
    QVERIFY(sane == good);
}

void SettingsRecordsTest::formatIsSanitized()
{
    FormatSetting wild;
    wild.autoFeedInterval = 9;
    wild.sendInterval = 0;
    wild.sendTimeUnit = -1;
    wild.displayBufferSize = 0;
    wild.logRotateSize = 0;
    wild.splitterLeft = -5;
    wild.sendList = QStringList(FormatSetting::maxSendList + 1, u"x"_s);
    const FormatSetting sane = wild.sanitized();
    QCOMPARE(sane.autoFeedInterval, 10);
    QCOMPARE(sane.sendInterval, 1);
    QCOMPARE(sane.sendTimeUnit, 1);
    QCOMPARE(sane.displayBufferSize, 1048576);
    QCOMPARE(sane.logRotateSize, 0);
    QCOMPARE(sane.splitterLeft, 0);
    QCOMPARE(sane.sendList.size(), FormatSetting::maxSendList);
    wild.autoFeedInterval = 1000001;
    QCOMPARE(wild.sanitized().autoFeedInterval, 1000000);
    QVERIFY(FormatSetting{}.sanitized() == FormatSetting{});
}

void SettingsRecordsTest::hostHistory()
{
    Settings settings;
    settings.useTargetHost(u"a.example"_s);
    settings.useTargetHost(u"b.example"_s);
    settings.useTargetHost(u"a.example"_s);
    settings.useTargetHost(QString());
    QCOMPARE(settings.targetHost, "a.example"_L1);
    QCOMPARE(settings.targetHosts, (QStringList{u"a.example"_s, u"b.example"_s, u"127.0.0.1"_s}));
    for (int i = 0; i < 100; ++i)
        settings.useTargetHost(QString::number(i));
    QCOMPARE(settings.targetHosts.size(), Settings::maxTargetHosts);
}

void SettingsRecordsTest::orders_data()
{
    QTest::addColumn<QStringList>("saved");
    QTest::addColumn<QStringList>("expected");
    const QString connection = u"connection"_s;
    const QString receive = u"receive"_s;
    const QString send = u"send"_s;
    QTest::newRow("nothing") << QStringList() << QStringList{connection, receive, send};
    QTest::newRow("double and unknown")
        << QStringList{send, send, u"lamps"_s} << QStringList{send, connection, receive};
    QTest::newRow("other case") << QStringList{u"Send"_s, receive}
                                << QStringList{receive, connection, send};
    QTest::newRow("complete") << QStringList{receive, send, connection}
                              << QStringList{receive, send, connection};
}

void SettingsRecordsTest::orders()
{
    QFETCH(const QStringList, saved);
    QuickSettingsGroups groups;
    groups.groupOrder = saved;
    QTEST(groups.normalisedGroupOrder(), "expected");
}

void SettingsRecordsTest::visibleFields()
{
    const QString send = u"send"_s;
    QuickSettingsGroups groups;
    QCOMPARE(groups.visibleFields(u"connection"_s),
        (QStringList{u"baudRate"_s, u"dataBits"_s, u"flowControl"_s, u"stopBits"_s, u"parity"_s,
            u"indicatorLights"_s}));
    QVERIFY(groups.visibleFields(u"lamps"_s).isEmpty());

    groups.fieldOrder[send] = QuickSettingsGroups::defaultFieldOrder(send);
    groups.fieldOrder[send].removeOne(u"txLineByLine"_s);
    groups.fieldOrder[send].move(1, 0);
    groups.hiddenFields[send] = {u"txChecksum"_s, u"unknown"_s};
    QCOMPARE(groups.visibleFields(send),
        (QStringList{u"txLoop"_s, u"txFormat"_s, u"txAutoFeed"_s, u"txTerminalEnter"_s,
            u"txDisplaySend"_s, u"txLocalEcho"_s, u"txLineByLine"_s}));

    groups.showReceiveGroup = false;
    QVERIFY(groups.isGroupShown(send));
    QVERIFY(!groups.isGroupShown(u"receive"_s));
    QVERIFY(!groups.isGroupShown(u"lamps"_s));
}

void SettingsRecordsTest::displayFonts()
{
    const QString family = defaultMonospaceFamily();
    QVERIFY(fontFamilyAvailable(family.toUpper()));
    QVERIFY(!fontFamilyAvailable(u"No Such Family"_s));
    QVERIFY(!fontFamilyAvailable(QString()));
    for (const QString& candidate : monospaceCandidates()) {
        if (candidate == family)
            break;
        QVERIFY2(!fontFamilyAvailable(candidate), qPrintable(candidate));
    }
    const QFont font = resolveDisplayFont(u"No Such Family"_s, 0);
    QCOMPARE(font.family(), family);
    QCOMPARE(font.pointSize(), 12);
    QVERIFY(font.fixedPitch());
    QVERIFY(!font.italic());
    QCOMPARE(font.styleHint(), QFont::TypeWriter);
    QCOMPARE(font.weight(), QFont::Normal);
    QCOMPARE(resolveDisplayFont(family, 1).pointSize(), 1);
}

void SettingsRecordsTest::substitutions()
{
    installMonospaceFontSubstitutions();
    for (const QString& name : {u"Consolas"_s, u"Monaco"_s}) {
        const QStringList expected =
            fontFamilyAvailable(name) ? QStringList() : QStringList{defaultMonospaceFamily()};
        QCOMPARE(
            QFont::substitutes(name).join(u' ').toCaseFolded(), expected.join(u' ').toCaseFolded());
    }
    QVERIFY(QFont::substitutes(u"Menlo"_s).isEmpty());
}

void SettingsRecordsTest::serviceAddress_data()
{
    QTest::addColumn<QByteArray>("environment");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("address");
    const QString own = u"https://api.korvane.example"_s;
    QTest::newRow("neither") << QByteArray() << QString() << own;
    QTest::newRow("stored") << QByteArray() << u"http://s.example"_s << u"http://s.example"_s;
    QTest::newRow("both") << QByteArray(" http://e.example ") << u"http://s.example"_s
                          << u"http://e.example"_s;
    QTest::newRow("blank environment")
        << QByteArray(" \t") << u"http://s.example"_s << u"http://s.example"_s;
    QTest::newRow("blank store") << QByteArray() << u" "_s << own;
}

void SettingsRecordsTest::serviceAddress()
{
    QFETCH(const QByteArray, environment);
    QFETCH(const QString, stored);
    const QTemporaryDir dir;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, dir.path());
    if (!stored.isNull()) {
        QSettings store(Config::organizationName(), Config::applicationName());
        store.setValue("HostAddress"_L1, stored);
    }
    qputenv("VMR_HOST", environment);
    QTEST(Config::dasHostAddress(), "address");
    qunsetenv("VMR_HOST");
}

QTEST_MAIN(SettingsRecordsTest)
#include "tst_settingsrecords.moc"
