#include "log/logfilename.h"

#include "settings/settingsservice.h"

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
    void resolved();
    void portNames();
    void oneDefaultPattern();
};

void TestLogFileName::patterns_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("vmr_%S-%Y%M%D.log") << u"vmr_COM3-20260305.log"_s;
    QTest::newRow("%S%M %m") << u"COM303 07"_s;
    QTest::newRow("%Y %y") << u"2026 26"_s;
    QTest::newRow("%h:%m:%s.%z|%e") << u"04:07:09.002|002"_s;
    QTest::newRow("%d %H %x %% 100%") << u"%d %H %x %% 100%"_s;
    QTest::newRow("%D/%S/%D") << u"05/COM3/05"_s;
    QTest::newRow("") << QString();
    QTest::newRow("yyyy 'MM' %Y") << u"yyyy 'MM' 2026"_s;
}

void TestLogFileName::patterns()
{
    QString pattern = QString::fromLatin1(QTest::currentDataTag());
    QFETCH(QString, name);
    const QDateTime time(QDate(2026, 3, 5), QTime(4, 7, 9, 2));
    QCOMPARE(decode_file_name(pattern, u"COM3"_s, time), name);
    pattern.replace(u"%S"_s, u"COM3"_s);
    QCOMPARE(decode_timestamp(time, pattern), name);
}

void TestLogFileName::unknownTimeIsNow()
{
    const QDate before = QDate::currentDate();
    const QString day = decode_timestamp({}, u"%Y%M%D"_s);
    const QDate after = QDate::currentDate();
    QVERIFY(day == before.toString(u"yyyyMMdd"_s) || day == after.toString(u"yyyyMMdd"_s));
}

void TestLogFileName::resolved()
{
    for (const auto& name : {u""_s, unresolvedLogFileName(), u"     "_s, u" ab\t"_s})
        QVERIFY2(!logFileNameResolved(name), qPrintable(name));
    QVERIFY(logFileNameResolved(u"abc"_s) && logFileNameResolved(u"null"_s));
}

void TestLogFileName::portNames()
{
    QCOMPARE(portNameForFile(u"COM3"_s), u"COM3"_s);
    QCOMPARE(portNameForFile(u"/dev/pts/3"_s), u"dev_pts_3"_s);
    QCOMPARE(portNameForFile(u"10.0.0.1:23"_s), u"10.0.0.1_23"_s);
    QCOMPARE(portNameForFile(u"../../etc"_s), u".._.._etc"_s);
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
