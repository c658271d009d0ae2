#include "app/settings/settingsservice.h"

#include "settings/randomrecords.h"

#include <QDir>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

using Holds = bool (*)(const SessionState&);

class SettingsServiceTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keysAndDefaults_data();
    void keysAndDefaults();
    void savesEveryKeyAndNoOther();
    void emptyStoreGivesDefaults();
    void defaultRecords();
    void roundTrip_data();
    void roundTrip();
    void oneSidedKeys();
    void spoiltValues_data();
    void spoiltValues();
    void quickSettingsLists();
    void fontFallsBack();

private:
    [[nodiscard]] QString scratchFile() { return m_dir.filePath(u"store%1.ini"_s.arg(++m_count)); }

    QTemporaryDir m_dir;
    int m_count = 0;
};

void SettingsServiceTest::keysAndDefaults_data()
{
    QTest::addColumn<QVariant>("value");
    const auto row = [](const char* key, const QVariant& value) { QTest::newRow(key) << value; };
    row("LastConnMode", 0);
    row("LastPortName", u""_s);
    row("LastBaudrate", 9600);
    row("LastDatabits", 8);
    row("LastStopbits", 1);
    row("LastParity", 0);
    row("LastFlowControl", 0);
    row("LastDtrOn", true);
    row("LastRtsOn", true);
    row("LastTargetHost", u"127.0.0.1"_s);
    row("LastTargetHosts", QStringList{u"127.0.0.1"_s});
    row("LastTargetPort", 6000);
    row("LastUdpLocalPort", 60001);
    row("LastUdpServerPort", 60000);
    row("LastReceiveMessageFormat", 2);
    row("LastSendMessageFormat", 2);
    row("LastReceiveEncoding", u"UTF-8"_s);
    row("LastSendEncoding", u"UTF-8"_s);
    row("LastSendChecksum", 0);
    row("LastRxAutoFeedLine", false);
    row("LastRxLineEndingMode", 0);
    row("LastTxAutoFeedLine", false);
    row("LastTxLineEndingMode", 0);
    row("LastTerminalEnterMode", 1);
    row("LastAutoFeedInterval", 20);
    row("LastSplitterLeft", 10000);
    row("LastSplitterRight", 50000);
    row("QuickSettings/Connection", true);
    row("QuickSettings/Receive", true);
    row("QuickSettings/Send", true);
    row("QuickSettings/GroupOrder", QStringList{u"connection"_s, u"receive"_s, u"send"_s});
    row("LastDisplaySendMsg", false);
    row("LastLocalEcho", false);
    row("LastDisplaySendTime", false);
    row("LastDisplayRxTimeFormat", u"[Rx][hh:mm:ss.zzz] "_s);
    row("LastDisplayTxTimeFormat", u"[Tx][hh:mm:ss.zzz] "_s);
    row("LastLogSaveFlag", false);
    row("LastLogFilePath", QString(QDir::homePath() + "/vmr_%S-%Y%M%D.log"_L1));
    row("LastLogTimestampEnabled", false);
    row("LastLogTimestamp", u"[%h:%m:%s.%z] "_s);
    row("LastLogRotateAtSize", true);
    row("LastLogRotateSize", 104857600);
    row("LastLogRotateAtTime", false);
    row("LastLogRotateTime", QTime(0, 0));
    row("LastNeedHourTimeStamp", true);
    row("LastDisplayBufferSize", 10485760);
    row("LastDisplayFontFamily", defaultMonospaceFamily());
    row("LastDisplayFontSize", 12);
    row("LastFormatDisplayColor", false);
    row("LastSendTextColor", u"#000000"_s);
    row("LastReceiveTextColor", u"#000000"_s);
    row("LastShowControlLineLeds", true);
    row("RecentFiles", QStringList());
    row("LastFile", u""_s);
    row("LastLogFile", u""_s);
    row("LastDirectory", u""_s);
    row("SendList", QStringList());
    row("LastConnectionOpen", false);
}

void SettingsServiceTest::keysAndDefaults()
{
    QFETCH(const QVariant, value);
    QSettings store(scratchFile(), QSettings::IniFormat);
    SettingsService::save(store, SettingsService::defaults());
    const QString key = QString::fromLatin1(QTest::currentDataTag());
    QVERIFY(store.contains(key));
    QCOMPARE(store.value(key), value);
}

void SettingsServiceTest::savesEveryKeyAndNoOther()
{
    QSettings store(scratchFile(), QSettings::IniFormat);
    SettingsService::save(store, SettingsService::defaults());
    QCOMPARE(store.allKeys().size(), 58); // the rows above
}

void SettingsServiceTest::emptyStoreGivesDefaults()
{
    const QSettings store(scratchFile(), QSettings::IniFormat);
    QVERIFY(SettingsService::load(store) == SettingsService::defaults());
    QVERIFY(SettingsService::defaults().openLastConnection);
    QVERIFY(!SettingsService::defaults().autoReconnect);
    QCOMPARE(SettingsService::defaults().logFileNamePrefix, "vmr_"_L1);
}

void SettingsServiceTest::defaultRecords()
{
    const Settings settings = SettingsService::defaultPortSettings(u"ttyUSB7"_s);
    Settings expected;
    expected.portName = u"ttyUSB7"_s;
    QVERIFY(settings == expected);
    QCOMPARE(settings.stringParity, "None"_L1);
    QCOMPARE(settings.stringFlowControl, "None"_L1);
    QCOMPARE(settings.stringStopBits, "1"_L1);

    const FormatSetting format = SettingsService::defaultFormatSettings();
    QVERIFY(!format.autoSend);
    QCOMPARE(format.sendInterval, 1000);
    QCOMPARE(format.sendTimeUnit, 1);
    QCOMPARE(format.currentLogFileName, "NULL"_L1);
    QCOMPARE(format.displayFont, resolveDisplayFont(QString(), 12));
}

void SettingsServiceTest::roundTrip_data()
{
    QTest::addColumn<quint32>("seed");
    for (const quint32 seed : {1U, 2U, 3U, 4U})
        QTest::addRow("seed %u", seed) << seed;
}

void SettingsServiceTest::roundTrip()
{
    QFETCH(const quint32, seed);
    RandomRecords random(seed);
    SessionState state = SettingsService::defaults();
    state.takeFrom(random.settings(), random.format());
    state.udpServerPort = random.port();
    state.recentFiles = random.texts();
    state.lastFile = random.text();
    state.lastLogFile = random.text();
    state.lastDirectory = random.text();
    state.lastConnectionOpen = random.flag();
    state.showReceiveGroup = random.flag();
    state.groupOrder = {u"send"_s, u"connection"_s, u"receive"_s};
    state.fieldOrder[u"send"_s] = random.texts() << u"x"_s;
    state.hiddenFields[u"controlLines"_s] = random.texts() << u"y"_s;

    const QString path = scratchFile();
    {
        QSettings store(path, QSettings::IniFormat);
        SettingsService::save(store, state);
    }
    const QSettings store(path, QSettings::IniFormat);
    QVERIFY(SettingsService::load(store) == state);
}

// What another window or the settings dialog wrote must survive this window's closing.
void SettingsServiceTest::oneSidedKeys()
{
    QSettings store(scratchFile(), QSettings::IniFormat);
    store.setValue("LastLogFileName"_L1, u"lab_"_s);
    store.setValue("OpenLastConnection"_L1, false);
    store.setValue("AutoReconnect"_L1, true);
    SettingsService::save(store, SettingsService::defaults());

    const SessionState loaded = SettingsService::load(store);
    QCOMPARE(loaded.logFileNamePrefix, "lab_"_L1);
    QVERIFY(!loaded.openLastConnection);
    QVERIFY(loaded.autoReconnect);
}

void SettingsServiceTest::spoiltValues_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<Holds>("holds");
    const auto row = [](const char* name, const QString& key, const QVariant& value, Holds holds) {
        QTest::newRow(name) << key << value << holds;
    };
    row("word for a number", u"LastBaudrate"_s, u"fast"_s,
        [](const SessionState& s) { return s.baudRate == 9600; });
    row("mode beyond the last", u"LastConnMode"_s, 9,
        [](const SessionState& s) { return s.connMode == connectionMode::SerialPort; });
    row("negative mode", u"LastConnMode"_s, -1,
        [](const SessionState& s) { return s.connMode == connectionMode::SerialPort; });
    row("port beyond 16 bits", u"LastUdpLocalPort"_s, 65536,
        [](const SessionState& s) { return s.udpLocalPort == 60001; });
    row("negative port", u"LastUdpLocalPort"_s, -1,
        [](const SessionState& s) { return s.udpLocalPort == 60001; });
    row("encoding alias", u"LastReceiveEncoding"_s, u"utf8"_s,
        [](const SessionState& s) { return s.receiveEncoding == "UTF-8"_L1; });
    row("empty time format", u"LastDisplayTxTimeFormat"_s, u""_s,
        [](const SessionState& s) { return s.txTimeFormat == "[Tx][hh:mm:ss.zzz] "_L1; });
    row("empty log path", u"LastLogFilePath"_s, u""_s,
        [](const SessionState& s) { return s.logFilePath.endsWith("vmr_%S-%Y%M%D.log"_L1); });
    row("no colour", u"LastSendTextColor"_s, u"reddish"_s,
        [](const SessionState& s) { return !s.sendTextColor.isValid(); });
    row("unknown and double group", u"QuickSettings/GroupOrder"_s,
        QStringList{u"send"_s, u"send"_s, u"lamps"_s}, [](const SessionState& s) {
            return s.groupOrder == QStringList{u"send"_s, u"connection"_s, u"receive"_s};
        });
    row("size 0 bytes stays 0", u"LastLogRotateSize"_s, 0,
        [](const SessionState& s) { return s.logRotateSize == 0; });
}

void SettingsServiceTest::spoiltValues()
{
    QFETCH(const QString, key);
    QFETCH(const QVariant, value);
    QFETCH(const Holds, holds);
    QSettings store(scratchFile(), QSettings::IniFormat);
    store.setValue(key, value);
    QVERIFY(holds(SettingsService::load(store)));
}

void SettingsServiceTest::quickSettingsLists()
{
    QSettings store(scratchFile(), QSettings::IniFormat);
    SessionState state = SettingsService::defaults();
    state.fieldOrder[u"receive"_s] = {u"rxFormat"_s};
    state.hiddenFields[u"send"_s] = QStringList();
    SettingsService::save(store, state);
    SessionState loaded = SettingsService::load(store);
    QCOMPARE(loaded.fieldOrder, state.fieldOrder);
    QCOMPARE(loaded.hiddenFields, state.hiddenFields);

    // An entry that is taken away is gone from the store too.
    state.fieldOrder.clear();
    SettingsService::save(store, state);
    loaded = SettingsService::load(store);
    QVERIFY(loaded.fieldOrder.isEmpty());
}

void SettingsServiceTest::fontFallsBack()
{
    QSettings store(scratchFile(), QSettings::IniFormat);
    store.setValue("LastDisplayFontFamily"_L1, u"No Such Family"_s);
    store.setValue("LastDisplayFontSize"_L1, 0);
    QCOMPARE(SettingsService::load(store).displayFont, resolveDisplayFont(QString(), 12));
}

QTEST_MAIN(SettingsServiceTest)
#include "tst_settingsservice.moc"
