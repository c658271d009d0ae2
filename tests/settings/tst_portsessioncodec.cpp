#include "settings/portsessioncodec.h"

#include "settings/randomrecords.h"
#include "settings/settingsservice.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// The file format, misspelling included.
const QStringList kKeyNames = [] {
    QStringList names =
        u"PortName BaudRate DataBits StopBits Parity FlowControl DtrOn RtsOn ReceiveMsgForamt "
        "ReceiveEncoding RxAutoFeedLine RxLineEndingMode SplitterLeft SplitterRight "
        "AutoFeedInterval "
        "DisplaySendMsg LocalEcho DisplayMsgTime RxTimeFormat TxTimeFormat SendMsgFormat "
        "SendEncoding "
        "AutoSend SendInterval SendTimeUnit SupportComment FormatSend SendChecksum TxAutoFeedLine "
        "TxLineEndingMode TerminalEnterMode SendList LogSaveFlag LogFilePath LogTimestampEnabled "
        "LogFileTime DisplayBufferSize LogFontFamily LogFontSize LogFontWeight FormatDisplayColor "
        "ShowControlLineLeds SendTextColor ReceiveTextColor LastTargetHost LastTargetPort "
        "UdpLocalPort "
        "ConnMode UseRemoteSerialConfig RelayCid RelayPortName RelayPortKey"_s.split(u' ');
    names.sort();
    return names;
}();

} // namespace

class PortSessionCodecTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keys();
    void storedValues();
    void emptyFile();
    void readOnlyKeysAreHonoured();
    void hosts_data();
    void hosts();
    void font_data();
    void font();

private:
    [[nodiscard]] QString scratchFile()
    {
        return m_dir.filePath(u"session%1.vmr"_s.arg(++m_count));
    }

    QTemporaryDir m_dir;
    int m_count = 0;
};

void PortSessionCodecTest::keys()
{
    QSettings file(scratchFile(), QSettings::IniFormat);
    PortSessionCodec::write(file, 1, SettingsService::defaultPortSettings({}), FormatSetting{});
    QCOMPARE(file.childGroups(), QStringList{u"1"_s});
    file.beginGroup(u"1"_s);
    QCOMPARE(file.childKeys(), kKeyNames);
}

void PortSessionCodecTest::storedValues()
{
    Settings settings;
    settings.connMode = connectionMode::UdpServer;
    settings.targetHost = u"10.0.0.5"_s; // was taken off the history
    settings.targetHosts = {u"a.example"_s, u"b.example"_s};
    settings.targetHost = u"10.0.0.5"_s; // in use, and taken off the history
    settings.udpLocalPort = 65535;
    FormatSetting format;
    format.receiveMsgFormat = 1;
    format.sendTextColor = u"#0a0b0c"_s;
    format.displayFont = {u"Some Family"_s, 15, 700};
    format.logTimestampFormat = u"%h"_s;
    QSettings file(scratchFile(), QSettings::IniFormat);
    PortSessionCodec::write(file, 2, settings, format);
    const QMap<QString, QString> expected{
        {u"ConnMode"_s, u"4"_s},
        {u"ReceiveMsgForamt"_s, u"1"_s},
        {u"SendTextColor"_s, u"#0a0b0c"_s},
        {u"LastTargetHost"_s, u"10.0.0.5-||-a.example-||-b.example"_s},
        {u"LogFontSize"_s, u"15"_s},
        {u"LogFontWeight"_s, u"700"_s},
        {u"LogFileTime"_s, u"%h"_s},
        {u"UdpLocalPort"_s, u"65535"_s},
    };
    for (auto it = expected.begin(); it != expected.end(); ++it)
        QCOMPARE(file.value(u"2/"_s + it.key()).toString(), it.value());
}

void PortSessionCodecTest::emptyFile()
{
    const QSettings file(scratchFile(), QSettings::IniFormat);
    Settings settings = SettingsService::defaultPortSettings(u"COM9"_s);
    FormatSetting format = SettingsService::defaultFormatSettings();
    format.currentLogFileName = u"kept.log"_s;
    settings.udpServerPort = 7;
    PortSessionCodec::read(file, 0, settings, format);

    Settings expected;
    expected.baudRate = expected.dataBits = expected.stopBits = 0;
    expected.targetPort = 0;
    expected.targetHosts.clear();
    expected.udpServerPort = 7;
    expected.refreshTexts();
    QVERIFY(settings == expected);
    QCOMPARE(settings.stringBaudRate, "0"_L1);

    const FormatSetting defaults = SettingsService::defaultFormatSettings();
    QCOMPARE(format.receiveMsgFormat, 0);
    QCOMPARE(format.displayBufferSize, 0);
    QCOMPARE(format.terminalEnterMode, 1);
    QVERIFY(format.showControlLineLeds);
    QVERIFY(!format.logRotateAtSize && !format.needHourTimeStamp);
    QVERIFY(!format.logRotateTime.isValid());
    QCOMPARE(format.sendTextColor, QString());
    QCOMPARE(format.receiveEncoding, "UTF-8"_L1);
    QCOMPARE(format.rxTimeFormat, defaults.rxTimeFormat);
    QCOMPARE(format.logFilePath, defaults.logFilePath);
    QCOMPARE(format.displayFont, defaults.displayFont);
    QCOMPARE(format.currentLogFileName, "kept.log"_L1);
}

void PortSessionCodecTest::readOnlyKeysAreHonoured()
{
    QSettings file(scratchFile(), QSettings::IniFormat);
    file.setValue("0/LogRotateAtSize"_L1, true);
    file.setValue("0/LogRotateSize"_L1, 4096);
    file.setValue("0/LogRotateAtTime"_L1, true);
    file.setValue("0/LogRotateTime"_L1, QTime(3, 4));
    file.setValue("0/NeedHourTimeStamp"_L1, true);
    Settings settings;
    FormatSetting format;
    PortSessionCodec::read(file, 0, settings, format);
    QVERIFY(format.logRotateAtSize && format.logRotateAtTime && format.needHourTimeStamp);
    QCOMPARE(format.logRotateSize, 4096);
    QCOMPARE(format.logRotateTime, QTime(3, 4));

    // Saving into the file leaves them as they stand.
    format.logRotateSize = 1;
    PortSessionCodec::write(file, 0, settings, format);
    QCOMPARE(file.value("0/LogRotateSize"_L1).toInt(), 4096);
}

void PortSessionCodecTest::hosts_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QStringList>("hosts");
    QTest::addColumn<QString>("target");
    QTest::newRow("two") << u"a-||-b"_s << QStringList{u"a"_s, u"b"_s} << u"a"_s;
    QTest::newRow("one") << u"::1"_s << QStringList{u"::1"_s} << u"::1"_s;
    QTest::newRow("none") << u""_s << QStringList() << u"before"_s;
    QTest::newRow("gaps") << u"-||-a-||--||-"_s << QStringList{u"a"_s} << u"a"_s;
}

void PortSessionCodecTest::hosts()
{
    QFETCH(const QString, stored);
    QSettings file(scratchFile(), QSettings::IniFormat);
    file.setValue("0/LastTargetHost"_L1, stored);
    Settings settings;
    settings.targetHost = u"before"_s;
    FormatSetting format;
    PortSessionCodec::read(file, 0, settings, format);
    QTEST(settings.targetHosts, "hosts");
    QTEST(settings.targetHost, "target");
}

void PortSessionCodecTest::font_data()
{
    QTest::addColumn<QString>("family");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("weight");
    QTest::addColumn<int>("expectedSize");
    QTest::addColumn<int>("expectedWeight");
    QTest::newRow("known") << u"Some Family"_s << 9 << 700 << 9 << 700;
    QTest::newRow("size 0, weight 0") << u""_s << 0 << 0 << 12 << 400;
    QTest::newRow("wild numbers") << u""_s << -3 << 1001 << 12 << 400;
}

void PortSessionCodecTest::font()
{
    QFETCH(const QString, family);
    QFETCH(const int, size);
    QFETCH(const int, weight);
    QSettings file(scratchFile(), QSettings::IniFormat);
    file.setValue("0/LogFontFamily"_L1, family);
    file.setValue("0/LogFontSize"_L1, size);
    file.setValue("0/LogFontWeight"_L1, weight);
    Settings settings;
    FormatSetting format;
    PortSessionCodec::read(file, 0, settings, format);
    QCOMPARE(format.displayFont.family, family);
    QTEST(format.displayFont.pointSize, "expectedSize");
    QTEST(format.displayFont.weight, "expectedWeight");
}

QTEST_GUILESS_MAIN(PortSessionCodecTest)
#include "tst_portsessioncodec.moc"
