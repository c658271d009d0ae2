#include "log/logrotation.h"

#include "settings/formatsetting.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

const QDateTime kMidnight(QDate(2026, 3, 6), QTime(0, 0));

} // namespace

class TestLogRotation final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void bySize_data();
    void bySize();
    void byTime_data();
    void byTime();
    void guard();
    void archiveNames_data();
    void archiveNames();
    void takenNames();
    void archivingFails();

private:
    void writeFile(const QString& name, qint64 size) const
    {
        QFile file(m_dir->filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(size));
    }
    [[nodiscard]] QStringList files() const { return QDir(m_dir->path()).entryList(QDir::Files); }

    std::unique_ptr<QTemporaryDir> m_dir;
    FormatSetting m_format;
};

void TestLogRotation::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_format = {};
    m_format.currentLogFileName = m_dir->filePath(u"a.log"_s);
}

void TestLogRotation::bySize_data()
{
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<qint32>("limit");
    QTest::addColumn<qint64>("size");
    QTest::addColumn<bool>("due");
    const qint32 limit = FormatSetting{}.logRotateSize;
    QTest::newRow("of exactly that size") << true << limit << qint64(limit) << false;
    QTest::newRow("one byte more") << true << limit << qint64(limit) + 1 << true;
    QTest::newRow("off") << false << limit << qint64(limit) + 1 << false;
    QTest::newRow("negative limit, empty") << true << -5 << qint64(0) << false;
    QTest::newRow("limit 0") << true << 0 << qint64(1) << true;
}

void TestLogRotation::bySize()
{
    QFETCH(qint64, size);
    QFETCH(bool, enabled);
    QFETCH(qint32, limit);
    m_format.logRotateAtSize = enabled;
    m_format.logRotateSize = limit;
    const LogRotation rotation(kMidnight);
    QVERIFY(!rotation.isDue(m_format, {}, kMidnight)); // there is no file yet
    writeFile(u"a.log"_s, size);                       // sparse
    QTEST(rotation.isDue(m_format, {}, kMidnight), "due");
}

void TestLogRotation::byTime_data()
{
    QTest::addColumn<QTime>("time");
    QTest::addColumn<QDateTime>("lastWrite");
    QTest::addColumn<QDateTime>("now");
    QTest::addColumn<bool>("due");
    const QTime noon(12, 0);
    const QTime late(23, 59, 59, 900);
    const QDateTime at(QDate(2026, 3, 5), noon);
    const auto row = [](const char* name, QTime time, const QDateTime& lastWrite,
                         const QDateTime& now,
                         bool due) { QTest::newRow(name) << time << lastWrite << now << due; };
    row("1 ms before", noon, {}, at.addMSecs(-1), false);
    row("at that time", noon, {}, at, true);
    row("end of the window", noon, {}, at.addMSecs(200), true);
    row("after the window", noon, {}, at.addMSecs(201), false);
    row("passed unseen", noon, at.addMSecs(-1), at.addSecs(3600), true);
    row("passed unseen, days ago", noon, at.addDays(-3), at.addSecs(-3600), true);
    row("written since", noon, at, at.addSecs(3600), false);
    row("not yet today", noon, at.addSecs(-7200), at.addSecs(-3600), false);
    row("midnight, 1 ms before", QTime(0, 0), {}, kMidnight.addMSecs(-1), false);
    row("midnight", QTime(0, 0), {}, kMidnight, true);
    row("window over midnight", late, {}, kMidnight.addMSecs(100), true);
    row("window over midnight ends", late, {}, kMidnight.addMSecs(101), false);
    row("clock set back", noon, at.addSecs(60), at.addSecs(-60), false);
    row("no time", QTime(), at.addDays(-3), at, false);
}

void TestLogRotation::byTime()
{
    QFETCH(QTime, time);
    QFETCH(QDateTime, lastWrite);
    QFETCH(QDateTime, now);
    m_format.logRotateTime = time;
    const LogRotation rotation(now);
    QVERIFY(!rotation.isDue(m_format, lastWrite, now));
    m_format.logRotateAtTime = true;
    QTEST(rotation.isDue(m_format, lastWrite, now), "due");
}

// Two rotations stand at least 30 s apart, unless the clock was set back.
void TestLogRotation::guard()
{
    m_format.logRotateSize = 0;
    writeFile(u"a.log"_s, 1);
    LogRotation rotation(kMidnight);
    QVERIFY(rotation.isDue(m_format, {}, kMidnight)); // the first one is never too early
    QString error;
    QVERIFY(rotation.archive(m_format.currentLogFileName, kMidnight, error));
    writeFile(u"a.log"_s, 1);
    QVERIFY(!rotation.isDue(m_format, {}, kMidnight));
    QVERIFY(!rotation.isDue(m_format, {}, kMidnight.addMSecs(29999)));
    QVERIFY(rotation.isDue(m_format, {}, kMidnight.addMSecs(30000)));
    QVERIFY(rotation.isDue(m_format, {}, kMidnight.addMSecs(-1)));
}

void TestLogRotation::archiveNames_data()
{
    QTest::addColumn<QString>("archived");
    QTest::newRow("vmr_COM3.log") << u"vmr_COM3_20260306-000000-007.log"_s;
    QTest::newRow("10.0.0.1.txt") << u"10.0.0.1_20260306-000000-007.txt"_s;
    QTest::newRow("traffic") << u"traffic_20260306-000000-007"_s;
}

void TestLogRotation::archiveNames()
{
    const QString name = QString::fromLatin1(QTest::currentDataTag());
    QFETCH(QString, archived);
    writeFile(name, 5);
    LogRotation rotation(kMidnight);
    QString error;
    QVERIFY(rotation.archive(m_dir->filePath(name), kMidnight.addMSecs(7), error));
    QCOMPARE(files(), QStringList(archived));
}

void TestLogRotation::takenNames()
{
    const QString stamped = u"a_20260306-000000-000.log"_s;
    LogRotation rotation(kMidnight);
    QString error;
    // A link to nowhere takes a name as well.
    QVERIFY(QFile::link(m_dir->filePath(u"gone"_s), m_dir->filePath(stamped + u".1"_s)));
    for (const qint64 size : {11, 12, 13}) {
        writeFile(u"a.log"_s, size);
        QVERIFY2(
            rotation.archive(m_format.currentLogFileName, kMidnight, error), qPrintable(error));
    }
    QCOMPARE(files(), (QStringList{stamped, stamped + u".2"_s, stamped + u".3"_s}));
    QCOMPARE(QFile(m_dir->filePath(stamped)).size(), 11);
    QCOMPARE(QFile(m_dir->filePath(stamped + u".3"_s)).size(), 13);
    // Without a file there is nothing to put aside.
    QVERIFY(rotation.archive(m_format.currentLogFileName, kMidnight, error));
    QCOMPARE(files().size(), 3);
}

void TestLogRotation::archivingFails()
{
    // The stamp makes the name longer than a file name may be, for any user.
    const QString longName(250, u'x');
    const QString name = m_dir->filePath(longName);
    writeFile(longName, 1);
    LogRotation rotation(kMidnight.addDays(-1));
    QString error;
    QVERIFY(!rotation.archive(name, kMidnight, error));
    QVERIFY2(error.startsWith(u"Could not rotate log file '%1': "_s.arg(name)), qPrintable(error));
    QVERIFY(error.size() > name.size() + 30);
    QVERIFY(QFile::exists(name));
}

QTEST_GUILESS_MAIN(TestLogRotation)
#include "tst_logrotation.moc"
