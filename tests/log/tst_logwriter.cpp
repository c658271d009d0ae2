#include "log/logwriter.h"

#include "log/logfilename.h"
#include "settings/formatsetting.h"
#include "support/smalldisk.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#ifdef Q_OS_LINUX
#include <sys/stat.h>
#endif

using namespace Qt::Literals::StringLiterals;

namespace {

const QDateTime kMorning(QDate(2026, 3, 5), QTime(9, 30, 1));

struct Bench
{
    QTemporaryDir dir;
    QDateTime now = kMorning;
    FormatSetting format;
    LogWriter writer{[this] { return now; }};
    QString error;

    Bench() { format.logFilePath = path(u"a.log"_s); }
    [[nodiscard]] QString path(const QString& name) const { return dir.filePath(name); }
    bool record(const QString& text)
    {
        writer.appendLine(text, format);
        return flush();
    }
    bool flush() { return writer.flush(format, u"COM3"_s, u"COM3 9600 8N1"_s, &error); }
};

QByteArray contentOf(const QString& name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
}

// What stands behind the header.
QByteArray bodyOf(const QString& name)
{
    const QByteArray content = contentOf(name);
    const qsizetype launch = content.indexOf("\nLaunch at: ");
    return launch < 0 ? content : content.mid(content.indexOf('\n', launch + 1) + 1);
}

} // namespace

class TestLogWriter final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QCoreApplication::setApplicationVersion(u"1.2.3"_s); }
    void header();
    void appends();
    void unusableNames();
    void hourlyLine_data();
    void hourlyLine();
    void freshLine();
    void rotatesAndExpandsAnew();
    void panesThatShareAFileRotateItOnce();
    void placesThatFail_data();
    void placesThatFail();
    void pipeIsNoLogFile();
    void fullDevice();
    void fullDiskLosesNothing();
    void rotatesBetweenLines();
    void leavesCharactersWhole();
    void slowDisk();
    void bound();
};

void TestLogWriter::header()
{
    Bench bench;
    bench.format.logFilePath = bench.path(u"new/folder/vmr_%S-%Y%M%D.log"_s);
    QVERIFY2(bench.record(u"\u00e9t\u00e9 \u4e2d\n"_s), qPrintable(bench.error));
    const QString name = bench.path(u"new/folder/vmr_COM3-20260305.log"_s);
    QCOMPARE(bench.format.currentLogFileName, name);
    const QRegularExpression expected(
        u"^2026-03-05T09:30:01\n  Product: Velmora\n  Version: 1\\.2\\.3\nFile Name: %1\n"
        "Launch at: \\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\n\u00e9t\u00e9 \u4e2d\n$"_s.arg(
            QRegularExpression::escape(name)));
    const QString content = QString::fromUtf8(contentOf(name));
    QVERIFY2(expected.match(content).hasMatch(), qPrintable(content));
}

void TestLogWriter::appends()
{
    Bench bench;
    QVERIFY(bench.record(u"one "_s));
    bench.writer.appendLine(u"two\n"_s, bench.format);
    bench.writer.appendLine(u"three"_s, bench.format);
    QCOMPARE(bench.writer.pendingLines(), 1);
    QVERIFY(bench.flush());
    QCOMPARE(bodyOf(bench.format.currentLogFileName), "one two\nthree");
    QVERIFY(!bench.writer.hasPending());
    QCOMPARE(bench.writer.pendingLines(), 0);

    // Between two flushes the file is free: gone, it begins anew with its header.
    QVERIFY(QFile::remove(bench.format.currentLogFileName));
    QVERIFY(bench.record(u"four"_s));
    QVERIFY(contentOf(bench.format.currentLogFileName).startsWith("2026-03-05T09:30:01\n"));
    QCOMPARE(bodyOf(bench.format.currentLogFileName), "four");
}

// Which names are unusable is told by the tests of the names.
void TestLogWriter::unusableNames()
{
    Bench bench;
    const QString good = std::exchange(bench.format.logFilePath, u"ab"_s);
    QTest::ignoreMessage(QtWarningMsg, "Please input correct log file name!");
    QVERIFY(!bench.record(u"kept\n"_s));
    QCOMPARE(bench.error, u"Please input correct log file name!"_s);
    bench.format.logFilePath = good;
    bench.format.currentLogFileName = unresolvedLogFileName();
    QVERIFY(bench.flush());
    QCOMPARE(bodyOf(good), "kept\n");
}

void TestLogWriter::hourlyLine_data()
{
    QTest::addColumn<bool>("wanted");
    QTest::addColumn<QDateTime>("next");
    QTest::addColumn<QByteArray>("body");
    const QDateTime ten(kMorning.date(), QTime(10, 0));
    QTest::newRow("1 ms before the hour") << true << ten.addMSecs(-1) << "ab"_ba;
    QTest::newRow("the hour") << true << ten << "a\nCurrent Time: 2026-03-05T10:00:00\nb"_ba;
    QTest::newRow("not wanted") << false << ten << "ab"_ba;
    QTest::newRow("the same hour of the next day")
        << true << kMorning.addDays(1) << "a\nCurrent Time: 2026-03-06T09:30:01\nb"_ba;
}

void TestLogWriter::hourlyLine()
{
    QFETCH(bool, wanted);
    QFETCH(QDateTime, next);
    Bench bench;
    bench.format.needHourTimeStamp = wanted;
    QVERIFY(bench.record(u"a"_s));
    bench.now = next;
    QVERIFY(bench.record(u"b"_s));
    QTEST(bodyOf(bench.format.currentLogFileName), "body");
}

void TestLogWriter::freshLine()
{
    Bench bench;
    QVERIFY(bench.record(u"cut"_s));
    bench.writer.startOnFreshLine();
    QVERIFY(bench.record(u"line\n"_s));
    bench.writer.startOnFreshLine();
    QVERIFY(bench.record(u"next"_s));
    // Another run of the program finds the file that this one left.
    Bench later;
    later.format.logFilePath = bench.format.logFilePath;
    QVERIFY(later.record(u"later"_s));
    QCOMPARE(bodyOf(later.format.currentLogFileName), "cut\nline\nnext\nlater");
}

void TestLogWriter::rotatesAndExpandsAnew()
{
    Bench bench;
    bench.format.logFilePath = bench.path(u"%h%m%s.log"_s);
    bench.format.logRotateSize = 0;
    QVERIFY(bench.record(u"one\n"_s));
    bench.now = kMorning.addMSecs(30000);
    QVERIFY(bench.record(u"two\n"_s));
    QCOMPARE(bench.format.currentLogFileName, bench.path(u"093031.log"_s));
    bench.now = kMorning.addMSecs(59999); // too early for another one
    QVERIFY(bench.record(u"three\n"_s));
    QCOMPARE(QDir(bench.dir.path()).entryList(QDir::Files),
        (QStringList{u"093001_20260305-093031-000.log"_s, u"093031.log"_s}));
    QCOMPARE(bodyOf(bench.path(u"093001_20260305-093031-000.log"_s)), "one\n");
    QCOMPARE(bodyOf(bench.path(u"093031.log"_s)), "two\nthree\n");

    // A pattern that gives no name any more.
    bench.now = kMorning.addSecs(3600);
    bench.format.logFilePath = u" "_s;
    QVERIFY(!bench.record(u"four\n"_s));
    QCOMPARE(bench.error, u"Please input correct log file name!"_s);
    QVERIFY(bench.writer.hasPending());
}

void TestLogWriter::panesThatShareAFileRotateItOnce()
{
    Bench one;
    Bench other;
    other.format.logFilePath = one.format.logFilePath;
    for (Bench* bench : {&one, &other}) {
        bench->format.logRotateAtTime = true;
        bench->format.logRotateTime = QTime(12, 0);
        bench->format.needHourTimeStamp = false;
        QVERIFY(bench->record(u"before noon\n"_s));
    }
    one.now = kMorning.addSecs(9000);
    QVERIFY(one.record(u"one\n"_s));
    // In the same second, and long after: the file of the afternoon has begun.
    for (const int late : {0, 600}) {
        other.now = one.now.addSecs(late);
        QVERIFY(other.record(u"other\n"_s));
    }
    QCOMPARE(QDir(one.dir.path()).entryList(QDir::Files).size(), 2);
    QCOMPARE(bodyOf(one.format.currentLogFileName), "one\nother\nother\n");
}

void TestLogWriter::placesThatFail_data()
{
    QTest::addColumn<QString>("blocker"); // a file (a folder if it ends in "/") in the way
    QTest::addColumn<QString>("message");
    QTest::newRow("folder cannot be made")
        << u"sub"_s << u"Could not create log directory '%1/sub'"_s;
    QTest::newRow("name is a folder")
        << u"sub/a.log/"_s << u"Log path is a directory, not a file: %1/sub/a.log"_s;
}

// Recording runs, the place goes away, text comes, the place comes back.
void TestLogWriter::placesThatFail()
{
    QFETCH(QString, blocker);
    QFETCH(QString, message);
    Bench bench;
    bench.format.logFilePath = bench.path(u"sub/a.log"_s);
    QVERIFY(bench.record(u"before\n"_s));
    const auto clear = [&bench] {
        const QString sub = bench.path(u"sub"_s);
        return QFileInfo(sub).isDir() ? QDir(sub).removeRecursively() : QFile::remove(sub);
    };
    QVERIFY(clear());
    if (blocker.endsWith(u'/'))
        QVERIFY(QDir().mkpath(bench.path(blocker)));
    else
        QVERIFY(QFile(bench.path(blocker)).open(QIODevice::WriteOnly));
    for (const auto& text : {u"while \u00e9 it\n"_s, u"is away\n"_s}) {
        QVERIFY(!bench.record(text));
        QVERIFY2(bench.error.startsWith(message.arg(bench.dir.path())), qPrintable(bench.error));
    }
    QVERIFY(clear());
    QVERIFY2(bench.record(u"back\n"_s), qPrintable(bench.error));
    QCOMPARE(bodyOf(bench.format.currentLogFileName), "while \xC3\xA9 it\nis away\nback\n");
}

// Opening it would hold up the whole program until somebody reads from it.
void TestLogWriter::pipeIsNoLogFile()
{
#ifdef Q_OS_LINUX
    Bench bench;
    QCOMPARE(mkfifo(QFile::encodeName(bench.format.logFilePath).constData(), 0600), 0);
    QVERIFY(!bench.record(u"kept\n"_s));
    QVERIFY(QFile::remove(bench.format.logFilePath));
    QVERIFY(bench.flush());
    QCOMPARE(bodyOf(bench.format.logFilePath), "kept\n");
#endif
}

void TestLogWriter::fullDevice()
{
    if (!QFile::exists(u"/dev/full"_s))
        QSKIP("no device here that is always full");
    Bench bench;
    QVERIFY(QFile::link(u"/dev/full"_s, bench.format.logFilePath));
    QVERIFY(!bench.record(u"kept\n"_s));
    QVERIFY2(
        bench.error.startsWith(u"Could not write log file '%1': "_s.arg(bench.format.logFilePath)),
        qPrintable(bench.error));
    QVERIFY(!bench.error.endsWith(u": "_s) && !bench.error.contains(u"Unknown"_s));
    QVERIFY(QFile::remove(bench.format.logFilePath));
    QVERIFY(bench.flush());
    QCOMPARE(contentOf(bench.format.logFilePath).count("Product"), 1);
    QCOMPARE(bodyOf(bench.format.logFilePath), "kept\n");
}

// Wherever the disk cut the text, it goes on at that byte: nothing twice, nothing missing.
void TestLogWriter::fullDiskLosesNothing()
{
    Bench bench;
    SmallDisk disk(bench.path(u"disk"_s));
    if (!disk.isMounted())
        QSKIP("may not mount a small file system here");
    bench.format.logFilePath = bench.path(u"disk/a.log"_s);
    disk.leave(40960);
    QByteArray expected;
    int failures = 0;
    for (int i = 0; i < 200; ++i) {
        const QString text = u"%1 \u4e2d\u6587 "_s.arg(i).repeated(80) + u'\n';
        expected += text.toUtf8();
        failures += bench.record(text) ? 0 : 1;
    }
    QVERIFY(failures > 10);
    QVERIFY(expected.startsWith(bodyOf(bench.format.logFilePath)));
    QVERIFY(bench.writer.pendingBytes() > 0);
    disk.makeRoom();
    QVERIFY2(bench.flush(), qPrintable(bench.error));
    QVERIFY(bodyOf(bench.format.logFilePath) == expected);
}

// A file is put aside behind the last line that it began.
void TestLogWriter::rotatesBetweenLines()
{
    Bench bench;
    bench.format.logRotateSize = 300; // the header is less
    const QString first = bench.path(u"a.log"_s);
    bench.format.logFilePath = first;
    QVERIFY(bench.record(QString(250, u'x') + u"\nbegun "_s));
    QVERIFY(bench.record(u"goes on "_s));
    QVERIFY(bench.record(u"ended\nnext line\n"_s));
    QCOMPARE(bodyOf(bench.format.currentLogFileName), "next line\n");
    const QStringList old = QDir(QFileInfo(first).path()).entryList({u"a*"_s}, QDir::Files);
    QCOMPARE(old.size(), 2);
    for (const QString& name : old) {
        const QByteArray body = bodyOf(QFileInfo(first).dir().filePath(name));
        QVERIFY2(body == "next line\n" || body.endsWith("\nbegun goes on ended\n"), body);
    }
}

void TestLogWriter::leavesCharactersWhole()
{
    Bench bench;
    // One flush ends behind the first of the two bytes of a character.
    bench.format.logRotateSize = 10;
    const QString text = u'a' + QString(LogWriter::kMaxFlushBytes / 2, u'\u00e9');
    QVERIFY(bench.record(text));
    QCOMPARE(bench.writer.pendingBytes(), 1);
    bench.now = kMorning.addSecs(3600); // nor does the line of the hour come in between
    QVERIFY(bench.flush());
    QCOMPARE(bodyOf(bench.format.currentLogFileName), text.toUtf8());
    QVERIFY(bench.record(u"next"_s));
    QCOMPARE(bodyOf(bench.format.currentLogFileName), "next");
}

// Each slice takes so long that the time of a flush is over after the second one.
void TestLogWriter::slowDisk()
{
    Bench bench;
    LogWriter writer{[&bench] { return bench.now = bench.now.addMSecs(60); }};
    const QString text = u"0123456789abcde\n"_s.repeated(20'000);
    writer.appendLine(text, bench.format);
    for (qsizetype written = 0; writer.hasPending();) {
        QVERIFY(writer.flush(bench.format, u"COM3"_s, u""_s, &bench.error));
        written = std::min(written + 2 * LogWriter::kSliceBytes, text.size());
        QCOMPARE(writer.pendingBytes(), text.size() - written);
    }
    QVERIFY(bodyOf(bench.format.currentLogFileName) == text.toLatin1());
}

void TestLogWriter::bound()
{
    Bench bench;
    bench.format.logFilePath = bench.path(u"."_s);
    QSignalSpy overflowed(&bench.writer, &LogWriter::overflowed);
    QSignalSpy gap(&bench.writer, &LogWriter::gapRecorded);
    const qsizetype room = LogWriter::kMaxPendingBytes;
    bench.writer.appendLine(QString(room - 1, u'x'), bench.format);
    bench.writer.appendLine(u"y"_s, bench.format);
    QVERIFY(overflowed.isEmpty());
    bench.writer.appendLine(u"\u00e9\u00e9"_s, bench.format);
    bench.writer.appendLine(u"z"_s, bench.format);
    QCOMPARE(bench.writer.pendingBytes(), room);
    QCOMPARE(bench.writer.givenUpBytes(), 5);
    QCOMPARE(overflowed.count(), 1);
    bench.now = kMorning.addSecs(60);
    QVERIFY(!bench.flush());

    bench.format.currentLogFileName = bench.path(u"a.log"_s);
    bench.now = kMorning.addSecs(90);
    QVERIFY(bench.flush());
    QCOMPARE(gap.count(), 1);
    QCOMPARE(gap.first().first().toLongLong(), 5);
    QCOMPARE(bench.writer.givenUpBytes(), 0);
    bench.writer.appendLine(u"on again\n"_s, bench.format);
    while (bench.writer.hasPending())
        QVERIFY(bench.flush());
    const QByteArray body = bodyOf(bench.path(u"a.log"_s));
    QVERIFY(body.startsWith("xxx"));
    QCOMPARE(body.mid(room - 1),
        "y\n*** COM3 9600 8N1: 5 bytes of text from 2026-03-05T09:30:01 to 2026-03-05T09:31:31 "
        "are missing: the file could not be written ***\non again\n");
}

QTEST_GUILESS_MAIN(TestLogWriter)
#include "tst_logwriter.moc"
