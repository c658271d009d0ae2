#include "settings/config.h"
#include "settings/formatsetting.h"
#include "settings/quicksettingsgroups.h"
#include "settings/settings.h"
#include "settings/settingscodec.h"

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
    void unitsOfStoredNumbers();
    void connectionIsSanitized();
    void formatIsSanitized();
    void hostHistory();
    void orders();
    void visibleFields();
    void serviceAddress();
};

void SettingsRecordsTest::unitsOfStoredNumbers()
{
    namespace C = SettingsCodec;
    constexpr int kMax = std::numeric_limits<int>::max();
    QCOMPARE(C::sendIntervalToMs(3, 1000), 3000);
    QCOMPARE(C::sendIntervalToMs(7, 0), 7);
    QCOMPARE(C::sendIntervalToMs(7, -60), 7);
    QCOMPARE(C::sendIntervalToMs(kMax, kMax), qint64{kMax} * kMax);
    QCOMPARE(C::msToSpinValue(2500, 1000), 2);
    QCOMPARE(C::msToSpinValue(2500, 0), 2500);
    QCOMPARE(C::msToSpinValue(qint64{1} << 40, 1), kMax);
    QCOMPARE(C::rotateSizeMbToBytes(2048), std::numeric_limits<qint32>::min());
    QCOMPARE(C::rotateSizeBytesToMb(1048575), 0);
    QCOMPARE(C::rotateSizeBytesToMb(1048576), 1);
    QCOMPARE(C::rotateSizeBytesToMb(-1048577), -1);
    QCOMPARE(C::storedToDisplayBuffer(C::displayBufferToStored(10) - 1), 9);
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
    wild.sendList = QStringList(FormatSetting::kMaxSendList + 1, u"x"_s);
    const FormatSetting sane = wild.sanitized();
    QCOMPARE(sane.autoFeedInterval, 10);
    QCOMPARE(sane.sendInterval, 1);
    QCOMPARE(sane.sendTimeUnit, 1);
    QCOMPARE(sane.displayBufferSize, 1048576);
    QCOMPARE(sane.logRotateSize, 0);
    QCOMPARE(sane.splitterLeft, 0);
    QCOMPARE(sane.sendList.size(), FormatSetting::kMaxSendList);
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
    QCOMPARE(settings.targetHosts.size(), Settings::kMaxTargetHosts);
}

void SettingsRecordsTest::orders()
{
    const std::initializer_list<std::pair<QString, QString>> rows{
        {u""_s, u"connection receive send"_s},
        {u"send send lamps"_s, u"send connection receive"_s},
        {u"Send receive"_s, u"receive connection send"_s},
    };
    for (const auto& [saved, expected] : rows) {
        QuickSettingsGroups groups;
        groups.groupOrder = saved.split(u' ');
        QCOMPARE(groups.normalisedGroupOrder().join(u' '), expected);
    }
}

void SettingsRecordsTest::visibleFields()
{
    const QString send = u"send"_s;
    QuickSettingsGroups groups;
    QVERIFY(groups.visibleFields(u"lamps"_s).isEmpty());
    groups.fieldOrder[send] = QuickSettingsGroups::defaultFieldOrder(send);
    groups.fieldOrder[send].removeOne(u"txLineByLine"_s);
    groups.fieldOrder[send].move(1, 0);
    groups.hiddenFields[send] = {u"txChecksum"_s, u"unknown"_s};
    QCOMPARE(groups.visibleFields(send).join(u' '),
        u"txLoop txFormat txAutoFeed txTerminalEnter txDisplaySend txLocalEcho txLineByLine"_s);
    groups.showReceiveGroup = false;
    QVERIFY(groups.isGroupShown(send));
    QVERIFY(!groups.isGroupShown(u"receive"_s));
    QVERIFY(!groups.isGroupShown(u"lamps"_s));
}

void SettingsRecordsTest::serviceAddress()
{
    const QTemporaryDir dir;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, dir.path());
    const QString own = u"https://api.korvane.example"_s;
    QCOMPARE(Config::dasHostAddress(), own);
    QSettings store(Config::organizationName(), Config::applicationName());
    for (const auto& [stored, environment, address] :
        {std::tuple(u" "_s, "", own), {u"http://s.example"_s, " \t", u"http://s.example"_s},
            {u"http://s.example"_s, " http://e.example ", u"http://e.example"_s}}) {
        store.setValue("HostAddress"_L1, stored);
        qputenv("VMR_HOST", environment);
        QCOMPARE(Config::dasHostAddress(), address);
    }
    qunsetenv("VMR_HOST");
}

QTEST_MAIN(SettingsRecordsTest)
#include "tst_settingsrecords.moc"
