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
    // As text, lists with commas.
    QString text = QStringLiteral(
        "LastConnMode=0|LastPortName=|LastBaudrate=9600|LastDatabits=8|LastStopbits=1|"
        "LastParity=0|LastFlowControl=0|LastDtrOn=true|LastRtsOn=true|LastTargetHost=127.0.0.1|"
        "LastTargetHosts=127.0.0.1|LastTargetPort=6000|LastUdpLocalPort=60001|"
        "LastUdpServerPort=60000|LastReceiveMessageFormat=2|LastSendMessageFormat=2|"
        "LastReceiveEncoding=UTF-8|LastSendEncoding=UTF-8|LastSendChecksum=0|"
        "LastRxAutoFeedLine=false|LastRxLineEndingMode=0|LastTxAutoFeedLine=false|"
        "LastTxLineEndingMode=0|LastTerminalEnterMode=1|LastAutoFeedInterval=20|"
        "LastSplitterLeft=10000|LastSplitterRight=50000|QuickSettings/Connection=true|"
        "QuickSettings/Receive=true|QuickSettings/Send=true|"
        "QuickSettings/GroupOrder=connection,receive,send|LastDisplaySendMsg=false|"
        "LastLocalEcho=false|LastDisplaySendTime=false|"
        "LastDisplayRxTimeFormat=[Rx][hh:mm:ss.zzz] |LastDisplayTxTimeFormat=[Tx][hh:mm:ss.zzz] |"
        "LastLogSaveFlag=false|LastLogFilePath=@LOG|LastLogTimestampEnabled=false|"
        "LastLogTimestamp=[%h:%m:%s.%z] |LastLogRotateAtSize=true|LastLogRotateSize=104857600|"
        "LastLogRotateAtTime=false|LastLogRotateTime=00:00:00.000|LastNeedHourTimeStamp=true|"
        "LastDisplayBufferSize=10485760|LastDisplayFontFamily=@FONT|LastDisplayFontSize=12|"
        "LastFormatDisplayColor=false|LastSendTextColor=#000000|LastReceiveTextColor=#000000|"
        "LastShowControlLineLeds=true|RecentFiles=|LastFile=|LastLogFile=|LastDirectory=|"
        "SendList=|LastConnectionOpen=false");
    text.replace("@LOG"_L1, QDir::homePath() + "/vmr_%S-%Y%M%D.log"_L1);
    text.replace("@FONT"_L1, u""_s);
    QSettings store(scratchFile(), QSettings::IniFormat);
    SettingsService::save(store, SettingsService::defaults());
    QStringList expected = text.split(u'|');
    QStringList found;
    for (const QString& key : store.allKeys()) {
        const QVariant value = store.value(key);
        const bool isList = value.typeId() == QMetaType::QStringList;
        const QString shown = isList ? value.toStringList().join(u',') : value.toString();
        found.append(key + u'=' + shown);
    }
    expected.sort();
    found.sort();
    QCOMPARE(found, expected);
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
