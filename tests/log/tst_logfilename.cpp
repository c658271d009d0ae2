#include "app/log/logfilename.h"

#include "app/settings/settingsservice.h"

#include <QDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

class TestLogFileName final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void patterns_data();
    void patterns();
    void unknownTimeIsNow();
    void resolved_data();
    void resolved();
    void sameFile();
    void portNames_data();
    void portNames();
    void oneDefaultPattern();
};

void TestLogFileName::patterns_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("name");
    QTest::newRow("default") << u"vmr_%S-%Y%M%D.log"_s << u"vmr_COM3-20260305.log"_s;
    QTest::newRow("month and minute") << u"%M %m"_s << u"03 07"_s;
    QTest::newRow("years") << u"%Y %y"_s << u"2026 26"_s;
    QTest::newRow("all of the time") << u"%h:%m:%s.%z|%e"_s << u"04:07:09.002|002"_s;
    QTest::newRow("no place-holder") << u"%d %H %x %% 100%"_s << u"%d %H %x %% 100%"_s;
    QTest::newRow("twice") << u"%D/%S/%D"_s << u"05/COM3/05"_s;
    QTest::newRow("port first") << u"%S"_s << u"COM3"_s;
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("letters of a date format") << u"yyyy 'MM' %Y"_s << u"yyyy 'MM' 2026"_s;
}

void TestLogFileName::patterns()
{
    QFETCH(QString, pattern);
    QFETCH(QString, name);
    const QDateTime time(QDate(2026, 3, 5), QTime(4, 7, 9, 2));
    QCOMPARE(decode_file_name(pattern, u"COM3"_s, time), name);
    pattern.replace(u"%S"_s, u"COM3"_s);
    QCOMPARE(decode_timestamp(time, pattern), name);
}

void TestLogFileName::unknownTimeIsNow()
{
    const QDate before = QDate::currentDate();
    const QString year = decode_timestamp({}, u"%Y%M%D"_s);
    const QString same = get_current_time(u"%Y%M%D"_s);
    const QDate after = QDate::currentDate();
    const QStringList days{before.toString(u"yyyyMMdd"_s), after.toString(u"yyyyMMdd"_s)};
    QVERIFY(days.contains(year));
    QVERIFY(days.contains(same));
}

void TestLogFileName::resolved_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("resolved");
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("unresolved") << unresolvedLogFileName() << false;
    QTest::newRow("white space") << u"     "_s << false;
    QTest::newRow("two characters") << u" ab\t"_s << false;
    QTest::newRow("three characters") << u"abc"_s << true;
    QTest::newRow("null in small letters") << u"null"_s << true;
    QTest::newRow("path") << u"/var/log/a"_s << true;
}

void TestLogFileName::resolved()
{
    QFETCH(QString, name);
    QTEST(logFileNameResolved(name), "resolved");
}

void TestLogFileName::sameFile()
{
    QVERIFY(isSameLogFile(u"a.log"_s, QDir::currentPath() + u"/x/../a.log"_s));
    QVERIFY(!isSameLogFile(u"a.log"_s, u"x/a.log"_s));
}

void TestLogFileName::portNames_data()
{
    QTest::addColumn<QString>("port");
    QTest::addColumn<QString>("name");
    QTest::newRow("windows") << u"COM3"_s << u"COM3"_s;
    QTest::newRow("device path") << u"/dev/pts/3"_s << u"dev_pts_3"_s;
    QTest::newRow("host and port") << u"10.0.0.1:23"_s << u"10.0.0.1_23"_s;
    QTest::newRow("out of the folder") << u"../../etc"_s << u".._.._etc"_s;
}

void TestLogFileName::portNames()
{
    QFETCH(QString, port);
    QTEST(portNameForFile(port), "name");
}

// The record's default is made in a lower layer, which also looks for a font.
void TestLogFileName::oneDefaultPattern()
{
    QCOMPARE(SettingsService::defaultFormatSettings().logFilePath, defaultLogFilePath());
    QVERIFY(defaultLogFilePath().startsWith(QDir::homePath()));
    QVERIFY(defaultLogFilePath().endsWith(u"/vmr_%S-%Y%M%D.log"_s));
}

QTEST_MAIN(TestLogFileName)
#include "tst_logfilename.moc"
