#include "terminal/port/portlog.h"

#include "log/logfilename.h"
#include "terminal/format/messagecodec.h"
#include "terminal/format/sendmodes.h"
#include "terminal/port/displaysinkstub.h"
#include "terminal/port/receivepipeline.h"
#include "terminal/text/wiretextcodecregistry.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// A pane without widgets: pipeline, display and log, on a clock that stands until it is moved.
struct Bench
{
    QTemporaryDir dir;
    QDateTime now{QDate(2026, 3, 5), QTime(9, 30, 1)};
    FormatSetting format;
    StringSink sink;
    ReceivePipeline pipeline{{[this] { return now; }, [] { return qint64(0); }}};
    PortLog log{[this] { return now; }};
    QString portName = u"COM3"_s;

    Bench()
    {
        format.logSaveFlag = true;
        format.logFilePath = path(u"%S.log"_s);
        QObject::connect(&log, &PortLog::fileNameChanged, &pipeline,
            [this](const QString& name) { format.currentLogFileName = name; });
        pipeline.setDisplay(&sink);
        pipeline.setLog(&log);
        pipeline.start();
        apply();
    }
    [[nodiscard]] QString path(const QString& name) const { return dir.filePath(name); }
    void apply()
    {
        pipeline.setFormatSetting(format);
        log.setUp(format, portName, u"COM3 9600 8N1"_s);
    }
    void setRecording(bool on)
    {
        format.logSaveFlag = on;
        apply();
    }
    void receive(const QByteArray& bytes, const QString& peer = {})
    {
        pipeline.ingestRx(bytes, peer.isEmpty(), peer);
    }
    void drain()
    {
        for (qint64 before = -1; before != pipeline.waitingBytes();) {
            before = pipeline.waitingBytes();
            pipeline.onRefreshDisplay();
        }
    }
    void show(const QByteArray& bytes)
    {
        receive(bytes);
        drain();
    }
    // What stands behind the header; saved so far.
    [[nodiscard]] QByteArray saved(const QString& name = u"COM3.log"_s) const
    {
        QFile file(path(name));
        if (!file.open(QIODevice::ReadOnly))
            return "(no file)";
        const QByteArray content = file.readAll();
        const qsizetype launch = content.indexOf("\nLaunch at: ");
        return launch < 0 ? content : content.mid(content.indexOf('\n', launch + 1) + 1);
    }
    [[nodiscard]] QByteArray written(const QString& name = u"COM3.log"_s)
    {
        QString error;
        bool ok = log.flushLog(&error);
        while (ok && log.unwrittenBytes() > 0)
            ok = log.flushLog(&error);
        return ok ? saved(name) : error.toUtf8();
    }
};

// Lines, halves of characters, control codes, colours and noise.
QByteArray traffic(const QString& encoding, QRandomGenerator& random)
{
    static const QStringList texts{u"plain\r\n"_s, u"\n\r"_s, u"\r"_s, u"\n"_s, u"\u00e9\u00fc "_s,
        u"\u4e2d\u6587\u5b57"_s, u"\u3042\u30a2"_s, u"\ud55c"_s, u"\u0436"_s, u"\U0001F600"_s,
        u"\u001b[31m"_s, u"\u0007\u0000\u007f"_s, u"\u2028"_s};
    QByteArray bytes;
    for (int i = 0; i < 60; ++i) {
        const QString& text = texts.at(random.bounded(texts.size()));
        bytes += WireTextCodecRegistry::encode(text, encoding).bytes;
        if (random.bounded(6) == 0)
            bytes += char(random.bounded(256));
    }
    return bytes;
}

// A line feed of its own behind another one is not shown.
QString squeezed(QString text)
{
    static const QRegularExpression empty(u"\n+"_s);
    text.replace(empty, u"\n"_s);
    return text.startsWith(u'\n') ? text.sliced(1) : text;
}

QString textOf(const QVariantList& notice)
{
    return notice.first().value<Notice>().text;
}

} // namespace

class TestPortLog final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void textOnDiskIsTheTextShown_data();
    void textOnDiskIsTheTextShown();
    void controlsStandAsTheyCame();
    void ownStamps();
    void recordsFromTheStartToTheEnd();
    void recordingThatBeginsTakesTheNameOfItsDay();
    void clearedViewEndsNoLine();
    void pausedBytesReachTheLog();
    void closedPaneLosesNothing();
    void savesByItself();
    void failureIsToldOnceAndSoIsItsEnd();
    void missingTextIsTold();
    void otherNameOtherFile();
    void unwrittenTextKeepsItsFile();
};

void TestPortLog::textOnDiskIsTheTextShown_data()
{
    QTest::addColumn<QString>("encoding");
    QTest::addColumn<int>("messageFormat");
    const QStringList encodings = WireTextCodecRegistry::supportedEncodings();
    for (const QString& encoding : encodings)
        QTest::newRow(qPrintable(encoding)) << encoding << int(MessageFormat::Text);
    QTest::newRow("hexadecimal") << u"UTF-8"_s << int(MessageFormat::Hexadecimal);
}

void TestPortLog::textOnDiskIsTheTextShown()
{
    QFETCH(QString, encoding);
    QFETCH(int, messageFormat);
    for (quint32 seed = 1; seed <= 6; ++seed) {
        Bench bench;
        bench.format.receiveEncoding = encoding;
        bench.format.sendEncoding = encoding;
        bench.format.receiveMsgFormat = messageFormat;
        bench.format.rxAutoFeedLine = seed % 2 == 0;
        bench.apply();
        QRandomGenerator random(seed);
        const QByteArray bytes = traffic(encoding, random);
        for (qsizetype from = 0; from < bytes.size();) {
            const qsizetype length = random.bounded(1, 12);
            const QByteArray chunk = bytes.mid(from, length);
            const quint32 way = random.bounded(8U);
            if (way == 0)
                bench.pipeline.pushByteArray(chunk, false, RXorTx::Sent);
            else
                bench.receive(chunk, way == 1 ? u"10.0.0.7:9"_s : QString());
            from += length;
            bench.now = bench.now.addMSecs(random.bounded(15));
            if (random.bounded(3) == 0)
                bench.drain();
            if (random.bounded(20) == 0)
                QVERIFY(bench.log.flushLog(nullptr));
        }
        bench.drain();
        QVERIFY(bench.sink.text.size() > 40);
        // The view shows symbols and lines for what stands in the log as it came.
        QString logged = MessageCodec::sanitizeText(QString::fromUtf8(bench.written()));
        logged.remove(u'\r');
        QCOMPARE(squeezed(logged), squeezed(bench.sink.text));
    }
}

// The stamp of the log, whatever stands in the view: on every line, once.
void TestPortLog::controlsStandAsTheyCame()
{
    Bench bench;
    bench.show("a\x07\x00"_ba.append("b\r\n\n\rc\x7F\n", 8));
    QCOMPARE(bench.written(), "a\x07\x00"_ba.append("b\r\n\n\rc\x7F\n", 8));
    bench.format.logTimestampEnabled = true;
    bench.format.logTimestampFormat = QString(5000, u'-');
    bench.apply();
    bench.show("d\n");
    QCOMPARE(bench.written().right(67), QByteArray('\n' + QByteArray(64, '-') + "d\n"));
}

void TestPortLog::ownStamps()
{
    Bench bench;
    bench.format.displayMsgTime = true;
    bench.format.rxTimeFormat = u"'view '"_s;
    bench.format.logTimestampEnabled = true;
    bench.format.logTimestampFormat = u"[%h:%m:%s.%z]\n "_s;
    bench.apply();
    bench.show("on");
    bench.now = bench.now.addMSecs(7);
    bench.show("e\r\ntwo\n");
    bench.pipeline.pushByteArray("AT", false, RXorTx::Sent);
    bench.show("OK");
    QCOMPARE(bench.written(), "[09:30:01.000] one\r\n[09:30:01.007] two\n[09:30:01.007] AT\n"
                              "[09:30:01.007] OK");
    QCOMPARE(bench.sink.text.count(u"view "_s), 3);
}

void TestPortLog::recordsFromTheStartToTheEnd()
{
    Bench bench;
    bench.setRecording(false);
    QCOMPARE(bench.log.state(), PortLog::State::Off);
    bench.show("before\n\xE4\xB8"); // and two of three bytes of a character
    QCOMPARE(bench.written(), "(no file)");

    bench.setRecording(true);
    QCOMPARE(bench.log.state(), PortLog::State::Recording);
    bench.show("\xAD"
               "during");
    bench.setRecording(false);
    QCOMPARE(bench.saved(), "\xEF\xBF\xBD"
                            "during"); // saved by the switch
    bench.show("after\n");
    bench.setRecording(true);
    bench.show("again");
    QCOMPARE(bench.written(), "\xEF\xBF\xBD"
                              "during\nagain");
}

void TestPortLog::recordingThatBeginsTakesTheNameOfItsDay()
{
    Bench bench;
    bench.format.logFilePath = bench.path(u"%D.log"_s);
    bench.apply();
    bench.show("one ");
    QCOMPARE(bench.written(u"05.log"_s), "one ");
    bench.now = bench.now.addDays(1);
    bench.show("night");
    bench.setRecording(false);
    bench.setRecording(true);
    bench.show("two");
    QCOMPARE(bench.written(u"06.log"_s), "two");
    QVERIFY(bench.saved(u"05.log"_s).endsWith("night")); // behind the line of the hour
}

void TestPortLog::clearedViewEndsNoLine()
{
    Bench bench;
    bench.format.logTimestampEnabled = true;
    bench.format.logTimestampFormat = u"<%s> "_s;
    bench.apply();
    bench.show("a\xE4\xB8");
    bench.pipeline.clear(); // of the view; the log is evidence
    bench.show("\xAD"
               "b");
    QCOMPARE(bench.written(), "<01> a\xE4\xB8\xAD"
                              "b");
}

void TestPortLog::pausedBytesReachTheLog()
{
    Bench bench;
    bench.show("one ");
    bench.pipeline.pause();
    bench.show("two ");
    QCOMPARE(bench.written(), "one ");
    bench.pipeline.start();
    bench.drain();
    QCOMPARE(bench.written(), "one two ");
}

void TestPortLog::closedPaneLosesNothing()
{
    Bench bench;
    bench.show("one\n");
    bench.receive("waits\n");
    bench.pipeline.pause();
    bench.receive("held\x1B[1m\n");
    while (!bench.pipeline.drainAll()) {
    }
    QCOMPARE(bench.written(), "one\nwaits\nheld\n");
}

void TestPortLog::savesByItself()
{
    Bench bench;
    bench.show("text");
    QCOMPARE(bench.saved(), "(no file)");
    QTRY_COMPARE(bench.saved(), "text");
    bench.show(QByteArray(PortLog::kEagerBytes, 'x')); // much of it at once
    QCOMPARE(bench.saved().size(), PortLog::kEagerBytes + 4);
}

void TestPortLog::failureIsToldOnceAndSoIsItsEnd()
{
    Bench bench;
    QSignalSpy errors(&bench.log, &PortLog::noticed);
    QSignalSpy cleared(&bench.log, &PortLog::noticeCleared);
    QSignalSpy states(&bench.log, &PortLog::stateChanged);
    QVERIFY(QDir(bench.dir.path()).mkpath(u"COM3.log"_s));
    bench.show("kept ");
    QString error;
    QVERIFY(!bench.log.flushLog(&error));
    QCOMPARE(error, u"Log path is a directory, not a file: "_s + bench.path(u"COM3.log"_s));
    bench.show("too");
    QVERIFY(!bench.log.flushLog(nullptr));
    QCOMPARE(errors.count(), 1);
    QVERIFY(textOf(errors.first()).contains(error));
    QCOMPARE(bench.log.state(), PortLog::State::Failing);
    QCOMPARE(states.count(), 1);

    // Nobody asks for it: the place is back, and so is the log.
    QVERIFY(QDir(bench.dir.path()).rmdir(u"COM3.log"_s));
    QTRY_COMPARE(cleared.count(), 1);
    QCOMPARE(cleared.first().first().toString(), textOf(errors.first()));
    QCOMPARE(bench.saved(), "kept too");
    QCOMPARE(bench.log.state(), PortLog::State::Recording);
    QCOMPARE(errors.count(), 2); // and that it is written again
}

void TestPortLog::missingTextIsTold()
{
    Bench bench;
    bench.format.logTimestampEnabled = true;
    bench.format.logTimestampFormat = u"> "_s;
    bench.apply();
    QSignalSpy errors(&bench.log, &PortLog::noticed);
    QSignalSpy cleared(&bench.log, &PortLog::noticeCleared);
    QVERIFY(QDir(bench.dir.path()).mkpath(u"COM3.log"_s));
    const qsizetype step = 1024 * 1024;
    for (qsizetype sent = 0; sent < LogWriter::kMaxPendingBytes + step; sent += step)
        bench.show(QByteArray(step, 'x'));
    QCOMPARE(errors.count(), 2); // it fails, and then it is full
    QVERIFY(QDir(bench.dir.path()).rmdir(u"COM3.log"_s));
    const QByteArray file = bench.written();
    QCOMPARE(errors.count(), 3);
    QVERIFY(cleared.isEmpty()); // that text is missing stays on the screen
    static const QRegularExpression gap(u"x\n\\*\\*\\* COM3 9600 8N1: (\\d+) bytes of text.*\n$"_s);
    const auto match = gap.match(QString::fromUtf8(file.right(200)));
    QVERIFY(match.hasMatch());
    const qsizetype text = file.lastIndexOf("\n***");
    QCOMPARE(text + match.captured(1).toLongLong(), LogWriter::kMaxPendingBytes + step + 2);
    bench.show("on");
    QVERIFY(bench.written().endsWith("***\n> on"));
}

void TestPortLog::otherNameOtherFile()
{
    Bench bench;
    bench.show("for COM3");
    bench.portName = u"/dev/pts/3"_s;
    bench.apply();
    QCOMPARE(bench.saved(), "for COM3");
    QCOMPARE(bench.format.currentLogFileName, unresolvedLogFileName());
    bench.show("for pts");
    QCOMPARE(bench.written(u"dev_pts_3.log"_s), "for pts");
    QCOMPARE(bench.format.currentLogFileName, bench.path(u"dev_pts_3.log"_s));
    bench.portName = u"COM3 9600 8N1"_s;
    bench.format.logFilePath = bench.path(u"other %S.log"_s);
    bench.apply();
    bench.show("for other");
    QCOMPARE(bench.written(u"other COM3 9600 8N1.log"_s), "for other");
    QCOMPARE(bench.saved(u"dev_pts_3.log"_s), "for pts");
}

// What cannot be written yet when another file begins goes to its own file all the same.
void TestPortLog::unwrittenTextKeepsItsFile()
{
    Bench bench;
    QVERIFY(QDir(bench.dir.path()).mkpath(u"COM3.log"_s));
    bench.show("for COM3");
    bench.portName = u"B"_s;
    bench.apply();
    bench.show("for B");
    bench.log.flushLog();
    QCOMPARE(bench.saved(u"B.log"_s), "for B");
    QVERIFY(bench.log.unwrittenBytes() > 0);
    QVERIFY(QDir(bench.dir.path()).rmdir(u"COM3.log"_s));
    QVERIFY(bench.log.flushLog());
    QCOMPARE(bench.saved(), "for COM3");
    QCOMPARE(bench.saved(u"B.log"_s), "for B");
    QCOMPARE(bench.log.unwrittenBytes(), 0);
}

QTEST_GUILESS_MAIN(TestPortLog)
#include "tst_portlog.moc"
