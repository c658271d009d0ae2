#include "settings/settingsservice.h"

#include "settings/randomrecords.h"

#include <QDir>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

using S = SessionState;
using Holds = bool (*)(const S&);

class SettingsServiceTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keysAndDefaults();
    void emptyStoreGivesDefaults();
    void roundTrip();
    void oneSidedKeys();
    void spoiltValues_data();
    void spoiltValues();
    void quickSettingsLists();

private:
    [[nodiscard]] QString scratchFile() { return m_dir.filePath(u"store%1.ini"_s.arg(++m_count)); }

    QTemporaryDir m_dir;
    int m_count = 0;
};

void SettingsServiceTest::keysAndDefaults()
{
    const QMap<QString, QVariant> expected{
        {u"LastConnMode"_s, 0},
        {u"LastPortName"_s, u""_s},
        {u"LastBaudrate"_s, 9600},
        {u"LastDatabits"_s, 8},
        {u"LastStopbits"_s, 1},
        {u"LastParity"_s, 0},
        {u"LastFlowControl"_s, 0},
        {u"LastDtrOn"_s, true},
        {u"LastRtsOn"_s, true},
        {u"LastTargetHost"_s, u"127.0.0.1"_s},
        {u"LastTargetHosts"_s, QStringList{u"127.0.0.1"_s}},
        {u"LastTargetPort"_s, 6000},
        {u"LastUdpLocalPort"_s, 60001},
        {u"LastUdpServerPort"_s, 60000},
        {u"LastReceiveMessageFormat"_s, 2},
        {u"LastSendMessageFormat"_s, 2},
        {u"LastReceiveEncoding"_s, u"UTF-8"_s},
        {u"LastSendEncoding"_s, u"UTF-8"_s},
        {u"LastSendChecksum"_s, 0},
        {u"LastRxAutoFeedLine"_s, false},
        {u"LastRxLineEndingMode"_s, 0},
        {u"LastTxAutoFeedLine"_s, false},
        {u"LastTxLineEndingMode"_s, 0},
        {u"LastTerminalEnterMode"_s, 1},
        {u"LastAutoFeedInterval"_s, 20},
        {u"LastSplitterLeft"_s, 10000},
        {u"LastSplitterRight"_s, 50000},
        {u"QuickSettings/Connection"_s, true},
        {u"QuickSettings/Receive"_s, true},
        {u"QuickSettings/Send"_s, true},
        {u"QuickSettings/GroupOrder"_s, QStringList{u"connection"_s, u"receive"_s, u"send"_s}},
        {u"LastDisplaySendMsg"_s, false},
        {u"LastLocalEcho"_s, false},
        {u"LastDisplaySendTime"_s, false},
        {u"LastDisplayRxTimeFormat"_s, u"[Rx][hh:mm:ss.zzz] "_s},
        {u"LastDisplayTxTimeFormat"_s, u"[Tx][hh:mm:ss.zzz] "_s},
        {u"LastLogSaveFlag"_s, false},
        {u"LastLogFilePath"_s, QString(QDir::homePath() + "/vmr_%S-%Y%M%D.log"_L1)},
        {u"LastLogTimestampEnabled"_s, false},
        {u"LastLogTimestamp"_s, u"[%h:%m:%s.%z] "_s},
        {u"LastLogRotateAtSize"_s, true},
        {u"LastLogRotateSize"_s, 104857600},
        {u"LastLogRotateAtTime"_s, false},
        {u"LastLogRotateTime"_s, QTime(0, 0)},
        {u"LastNeedHourTimeStamp"_s, true},
        {u"LastDisplayBufferSize"_s, 10485760},
        {u"LastDisplayFontFamily"_s, u""_s},
        {u"LastDisplayFontSize"_s, 12},
        {u"LastFormatDisplayColor"_s, false},
        {u"LastSendTextColor"_s, u"#000000"_s},
        {u"LastReceiveTextColor"_s, u"#000000"_s},
        {u"LastShowControlLineLeds"_s, true},
        {u"RecentFiles"_s, QStringList()},
        {u"LastFile"_s, u""_s},
        {u"LastLogFile"_s, u""_s},
        {u"LastDirectory"_s, u""_s},
        {u"SendList"_s, QStringList()},
        {u"LastConnectionOpen"_s, false},
    };
    QSettings store(scratchFile(), QSettings::IniFormat);
    SettingsService::save(store, SettingsService::defaults());
    QMap<QString, QVariant> found;
    for (const QString& key : store.allKeys())
        found[key] = store.value(key);
    for (auto it = expected.begin(); it != expected.end(); ++it)
        QVERIFY2(found.value(it.key()) == it.value(), qPrintable(it.key()));
    QCOMPARE(found.size(), expected.size());
}

void SettingsServiceTest::emptyStoreGivesDefaults()
{
    const QSettings store(scratchFile(), QSettings::IniFormat);
    QVERIFY(SettingsService::load(store) == SettingsService::defaults());
    QVERIFY(SettingsService::defaults().openLastConnection);
    QVERIFY(!SettingsService::defaults().autoReconnect);
    QCOMPARE(SettingsService::defaults().logFileNamePrefix, "vmr_"_L1);
}

void SettingsServiceTest::roundTrip()
{
    RandomRecords random(1);
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
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<Holds>("holds");
    const auto row = [](const char* key, const QVariant& value, Holds holds) {
        QTest::addRow("%s=%s", key, qPrintable(value.toString())) << value << holds;
    };
    const QStringList groups{u"send"_s, u"send"_s, u"lamps"_s};
    row("LastBaudrate", u"fast"_s, [](const S& s) { return s.baudRate == 9600; });
    row("LastConnMode", 9, [](const S& s) { return s.connMode == connectionMode::SerialPort; });
    row("LastUdpLocalPort", 65536, [](const S& s) { return s.udpLocalPort == 60001; });
    row("LastUdpLocalPort", -1, [](const S& s) { return s.udpLocalPort == 60001; });
    row("LastReceiveEncoding", u"utf8"_s, [](const S& s) { return s.receiveEncoding == u"UTF-8"; });
    row("LastDisplayTxTimeFormat", u""_s,
        [](const S& s) { return s.txTimeFormat.contains(u"Tx"); });
    row("LastLogFilePath", u""_s, [](const S& s) { return s.logFilePath.contains(u"vmr_%S-"); });
    row("LastSendTextColor", u"reddish"_s,
        [](const S& s) { return s.sendTextColor == u"reddish"; });
    row("LastLogRotateSize", 0, [](const S& s) { return s.logRotateSize == 0; });
    row("LastDisplayFontSize", 0, [](const S& s) { return s.displayFont.pointSize == 12; });
    row("QuickSettings/GroupOrder", groups,
        [](const S& s) { return s.groupOrder.join(u' ') == u"send connection receive"; });
}

void SettingsServiceTest::spoiltValues()
{
    QFETCH(const QVariant, value);
    QFETCH(const Holds, holds);
    const QString key = QString::fromLatin1(QTest::currentDataTag()).section(u'=', 0, 0);
    QSettings store(scratchFile(), QSettings::IniFormat);
    store.setValue(key, value);
    QVERIFY(holds(SettingsService::load(store)));
}

// An entry that is taken away is gone from the store too.
void SettingsServiceTest::quickSettingsLists()
{
    QSettings store(scratchFile(), QSettings::IniFormat);
    SessionState state = SettingsService::defaults();
    state.fieldOrder[u"receive"_s] = {u"rxFormat"_s};
    SettingsService::save(store, state);
    state.fieldOrder.clear();
    SettingsService::save(store, state);
    QVERIFY(SettingsService::load(store).fieldOrder.isEmpty());
}

QTEST_GUILESS_MAIN(SettingsServiceTest)
#include "tst_settingsservice.moc"
