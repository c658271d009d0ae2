#include "simdevice/device.h"
#include "simdevice/shell.h"
#include "support/simulateddevice.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSerialPort>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace Qt::Literals::StringLiterals;
using simdevice::FloodJob;
using simdevice::Shell;

namespace {

constexpr Shell::Options silent{false, 200};

QByteArray pattern(qsizetype size)
{
    QByteArray bytes;
    for (qsizetype index = 0; index < size; ++index) {
        bytes.append(static_cast<char>(index * 7 + index / 251));
    }
    return bytes;
}

QByteArray take(Shell& shell)
{
    const QByteArray output = shell.output();
    shell.consume(output.size());
    return output;
}

/// Feeds all of `bytes` in blocks of `step`, taking the output in between; time stands still.
QByteArray converse(Shell& shell, const QByteArray& bytes, qsizetype step)
{
    QByteArray answers;
    for (qsizetype from = 0; from < bytes.size();) {
        const auto taken = shell.feed(bytes.mid(from, step), 0);
        shell.advance(0, 0);
        const auto output = take(shell);
        if (taken == 0 && output.isEmpty()) {
            return answers + "<stuck>";
        }
        from += taken;
        answers += output;
    }
    shell.advance(0, 0);
    return answers + take(shell);
}

/// Runs a flood in steps of `stepMs`, the reader taking nothing from `stallMs` for a second.
/// Returns what came out; fails when a step carries more than rate and burst allow, or when it
/// never ends.
QByteArray runFlood(Shell& shell, qint64 rate, qint64 stepMs, qint64 stallMs, qint64* endMs)
{
    const auto burst = FloodJob::lineLength + rate * FloodJob::burstMs / 1000;
    QByteArray all;
    qint64 now = 0;
    for (; now < 100'000 && !all.endsWith("OK\r\n"); now += stepMs) {
        const bool stalled = now >= stallMs && now < stallMs + 1000;
        shell.advance(now, 0);
        if (shell.output().size() > Shell::outputCapacity) {
            return "output beyond its bound";
        }
        if (!stalled) {
            all += take(shell);
        }
        const auto text = QByteArray("+FLOOD: ").size() + 64; // header and summary
        if (all.size() > rate * now / 1000 + burst + text) {
            return "faster than asked for";
        }
    }
    *endMs = now;
    return all;
}

} // namespace

class TestSimDevice : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void answers_data();
    void answers();
    void restartBringsBackBannerAndEcho();
    void sensorKeepsItsInterval();
    void sensorWaitsWithoutAHole();
    void floodKeepsItsRateAndTotal_data();
    void floodKeepsItsRateAndTotal();
    void stopIsHeardWhileTheReaderStalls();
    void repliesWaitForRoom();
    void gapAndSilenceEndOnTime();
    void conversationOverThePort();
    void programPrintsItsPortAndCleansUp();
    void programLeavesAFileAlone();
};

void TestSimDevice::answers_data()
{
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QByteArray>("output");
    const auto row = [](const char* name, const QByteArray& input, const QByteArray& output) {
        QTest::newRow(name) << "ATE0\r" + input << "ATE0\r\nOK\r\n" + output;
    };
    const auto misuse = [&row](const char* command, const QByteArray& usage) {
        row(command, QByteArray(command) + '\r', "+CME ERROR: use " + usage + "\r\n");
    };
    row("attention", "AT\r", "OK\r\n");
    row("line ends", "AT\r\nAT\nAT\r\r\n\n", "OK\r\nOK\r\nOK\r\n");
    row("lower case", "at+echo=Tea, two\r", "+ECHO: Tea, two\r\nOK\r\n");
    row("unknown", "ATX\rhello\rAT+\r", "ERROR\r\nERROR\r\nERROR\r\n");
    row("corrected while typing", "AX\bY\x7FT\r", "OK\r\n");
    row("echo on", "ATE1\rA\bAT\r", "OK\r\nA\b \bAT\r\nOK\r\n");
    row("line too long", QByteArray(300, 'A') + "\rAT\r",
        "+CME ERROR: line longer than 256 bytes\r\nOK\r\n");
    row(
        "dump", "AT+DUMP=600\rAT\r", "+DUMP: 600\r\n" + [] {
            QByteArray bytes;
            for (int index = 0; index < 600; ++index) {
                bytes.append(static_cast<char>(index));
            }
            return bytes;
        }() + "OK\r\nOK\r\n");
    row("sink", "AT+SINK=9\r123456789AT\r", "+SINK: ready\r\n+SINK: 9,CBF43926\r\nOK\r\nOK\r\n");
    row("sink takes a line feed", "AT+SINK=1\r\n\nAT\r",
        "+SINK: ready\r\n+SINK: 1,32D70693\r\nOK\r\nOK\r\n");
    row("nothing to stop", "AT+STOP\r", "OK\r\n");
    misuse("AT=1", "AT");
    misuse("AT+DUMP", "AT+DUMP=n (n bytes of all values, 1 to 1048576)");
    misuse("AT+DUMP=0", "AT+DUMP=n (n bytes of all values, 1 to 1048576)");
    misuse("AT+DUMP=1048577", "AT+DUMP=n (n bytes of all values, 1 to 1048576)");
    misuse("AT+FLOOD=100", "AT+FLOOD=rate,s (text at 1 to 10000000 bytes/s for 1 to 3600 s)");
    misuse("AT+SENSOR=1,9", "AT+SENSOR=0|1[,ms] (sensor lines off or on, every 10 to 60000 ms)");
}

void TestSimDevice::answers()
{
    QFETCH(const QByteArray, input);
    QFETCH(const QByteArray, output);
    for (const qsizetype step : {input.size(), qsizetype(1), qsizetype(3)}) {
        Shell shell(silent);
        QCOMPARE(converse(shell, input, step), output);
    }
}

void TestSimDevice::restartBringsBackBannerAndEcho()
{
    Shell shell(silent);
    shell.reset(0);
    const auto banner = take(shell);
    QVERIFY(banner.contains("\x1b[") && banner.contains("AT+HELP"));
    QCOMPARE(converse(shell, "ATE0\rAT+SENSOR=1\rATZ\rAT\r", 1),
        "ATE0\r\nOK\r\nOK\r\nOK\r\n" + banner + "AT\r\nOK\r\n");
    QCOMPARE(shell.nextTimeoutMs(0), -1);
}

void TestSimDevice::sensorKeepsItsInterval()
{
    Shell shell({true, 50});
    shell.reset(1000);
    take(shell);
    QCOMPARE(shell.nextTimeoutMs(1001), 49);
    shell.advance(1049, 0);
    QVERIFY(shell.output().isEmpty());
    shell.advance(1050, 0);
    QVERIFY(take(shell).startsWith("[     0.050]  temp "));
    QCOMPARE(shell.feed("AT+SENSOR=1,20\r", 1050), 15);
    take(shell);
    shell.advance(1069, 0);
    QVERIFY(shell.output().isEmpty());
    shell.advance(1070, 0);
    QVERIFY(take(shell).endsWith("count 000001\r\n"));
    shell.feed("AT+SENSOR=0\r", 1071);
    QCOMPARE(shell.nextTimeoutMs(1071), -1);
}

void TestSimDevice::sensorWaitsWithoutAHole()
{
    Shell shell({true, 100});
    shell.reset(0);
    take(shell);
    shell.advance(100, Shell::sensorBacklog + 1);
    QVERIFY(shell.output().isEmpty());
    shell.feed("AT", 150);
    take(shell);
    shell.advance(200, 0);
    shell.advance(150 + Shell::typingPauseMs - 1, 0);
    QVERIFY(shell.output().isEmpty());
    shell.advance(10'000, 0);
    const auto line = take(shell);
    QVERIFY(line.startsWith("\r\n["));
    QVERIFY(line.endsWith("count 000000\r\n"));
    // After a long sleep the device does not make up for the lines in between.
    QCOMPARE(shell.nextTimeoutMs(10'000), 100);
}

void TestSimDevice::floodKeepsItsRateAndTotal_data()
{
    QTest::addColumn<qint64>("rate");
    QTest::addColumn<qint64>("seconds");
    QTest::addColumn<qint64>("stepMs");
    QTest::newRow("slow, cut last line") << 100LL << 3LL << 1LL;
    QTest::newRow("a teletype, coarse timer") << 960LL << 2LL << 15LL;
    QTest::newRow("one byte in the last line") << 1025LL << 1LL << 5LL;
    QTest::newRow("more than the output holds") << 1'000'000LL << 2LL << 5LL;
}

void TestSimDevice::floodKeepsItsRateAndTotal()
{
    QFETCH(const qint64, rate);
    QFETCH(const qint64, seconds);
    QFETCH(const qint64, stepMs);
    const QByteArray command =
        "AT+FLOOD=" + QByteArray::number(rate) + ',' + QByteArray::number(seconds) + '\r';
    const auto total = QByteArray::number(rate * seconds);
    const QByteArray head = "+FLOOD: " + total + "\r\n";
    const QByteArray tail = "+FLOOD: " + total + " bytes sent\r\nOK\r\n";
    for (const qint64 stallMs : {1'000'000, 300}) {
        Shell shell(silent);
        shell.feed("ATE0\r", 0);
        take(shell);
        shell.feed(command, 0);
        qint64 endMs = 0;
        const auto all = runFlood(shell, rate, stepMs, stallMs, &endMs);
        QVERIFY2(all.startsWith(head) && all.endsWith(tail), all.left(200).constData());
        const auto data = all.mid(head.size(), all.size() - head.size() - tail.size());
        QCOMPARE(data.size(), rate * seconds);
        QVERIFY(data.endsWith('\n'));
        for (qsizetype at = 0; at + FloodJob::lineLength <= data.size();
             at += FloodJob::lineLength) {
            QCOMPARE(data.mid(at, 10).toLongLong(), at);
            QCOMPARE(data.mid(at + FloodJob::lineLength - 2, 2), "\r\n");
        }
        // At its rate, not slower: a tenth more at most, and the stall.
        const auto stalledMs = stallMs < seconds * 1000 ? 1000 : 0;
        QVERIFY(endMs <= seconds * 1100 + stalledMs + 2 * stepMs);
    }
}

void TestSimDevice::stopIsHeardWhileTheReaderStalls()
{
    Shell shell(silent);
    shell.feed("AT+FLOOD=10000000,10\r", 0);
    for (qint64 now = 0; now < 1000; now += 5) {
        shell.advance(now, 0);
    }
    QCOMPARE(shell.nextTimeoutMs(1000), -1);
    QCOMPARE(shell.feed("AT\rAT+STOP\rAT\r", 1000), 14);
    const auto all = take(shell);
    QVERIFY(all.contains("+CME ERROR: busy, AT+STOP ends it\r\n"));
    QVERIFY(all.endsWith(" bytes sent\r\nOK\r\nAT\r\nOK\r\n"));
}

void TestSimDevice::repliesWaitForRoom()
{
    Shell shell(silent);
    QByteArray input;
    for (int index = 0; index < 200; ++index) {
        input += "AT+HELP\r";
    }
    const auto taken = shell.feed(input, 0);
    QVERIFY(taken < input.size());
    QVERIFY(shell.output().size() <= Shell::outputCapacity);
    QCOMPARE(shell.feed("A", 0), 0);
    const QByteArray all = take(shell) + converse(shell, input.mid(taken), input.size());
    QCOMPARE(all.count("OK\r\n"), 200);
}

void TestSimDevice::gapAndSilenceEndOnTime()
{
    Shell shell(silent);
    shell.feed("ATE0\rAT+GAP=70\r", 100);
    take(shell);
    shell.advance(100, 0);
    QCOMPARE(take(shell), "+GAP: first half");
    QCOMPARE(shell.nextTimeoutMs(101), 69);
    QCOMPARE(shell.feed("AT\r", 120), 0);
    shell.advance(169, 0);
    QVERIFY(shell.output().isEmpty());
    shell.advance(170, 0);
    QCOMPARE(take(shell), ", second half\r\nOK\r\n");

    shell.feed("AT+SINK=5\rabc", 1000);
    take(shell);
    shell.advance(1000 + simdevice::SinkJob::silenceMs - 1, 0);
    QVERIFY(shell.output().isEmpty());
    shell.advance(1000 + simdevice::SinkJob::silenceMs, 0);
    QCOMPARE(take(shell), "+SINK: 3,352441C2\r\nOK\r\n");
}

void TestSimDevice::conversationOverThePort()
{
    const SimulatedDevice device;
    QVERIFY2(device.isValid(), qPrintable(device.errorString()));
    QSerialPort port(device.portName());
    QByteArray received;
    connect(&port, &QSerialPort::readyRead, this, [&] { received += port.readAll(); });
    QVERIFY2(port.open(QIODevice::ReadWrite), qPrintable(port.errorString()));
    QTRY_VERIFY(received.endsWith("for the commands\r\n\r\n"));
    received.clear();
    port.write("ATE0\r");
    QTRY_COMPARE(received, "ATE0\r\nOK\r\n");
    received.clear();
    port.write("AT+DUMP=100000\r");
    QTRY_VERIFY(received.endsWith("OK\r\n"));
    QCOMPARE(received.size(), 15 + 100'000 + 4);
    for (int index = 0; index < 100'000; ++index) {
        QCOMPARE(received.at(15 + index), static_cast<char>(index));
    }
    received.clear();
    port.write("AT+SINK=200000\r\n" + pattern(200'000) + "AT\r");
    QTRY_COMPARE(received, "+SINK: ready\r\n+SINK: 200000,AD4BC2F8\r\nOK\r\nOK\r\n");
}

void TestSimDevice::programPrintsItsPortAndCleansUp()
{
    const QTemporaryDir folder;
    const auto link = folder.filePath(u"bench"_s);
    QProcess program;
    const QSignalSpy finished(&program, &QProcess::finished);
    program.start(QStringLiteral(SIMDEVICE_PROGRAM), {u"--quiet"_s, u"--link"_s, link});
    QTRY_VERIFY(program.canReadLine());
    const auto path = QString::fromLocal8Bit(program.readLine().chopped(1));
    QCOMPARE(QFileInfo(link).symLinkTarget(), path);
    {
        QSerialPort port(path);
        QVERIFY(port.open(QIODevice::ReadWrite));
        port.write("AT\r");
        QTRY_VERIFY(port.peek(4096).endsWith("AT\r\nOK\r\n"));
    }
    ::kill(static_cast<pid_t>(program.processId()), SIGTERM);
    QTRY_COMPARE(finished.size(), 1);
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 0);
    QVERIFY(!QFileInfo(link).isSymLink());
    QCOMPARE(program.readAllStandardOutput(), "");
}

void TestSimDevice::programLeavesAFileAlone()
{
    const QTemporaryDir folder;
    const auto path = folder.filePath(u"precious"_s);
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("keep");
    file.close();
    QProcess program;
    const QSignalSpy finished(&program, &QProcess::finished);
    program.start(QStringLiteral(SIMDEVICE_PROGRAM), {u"--link"_s, path});
    QTRY_COMPARE(finished.size(), 1);
    QCOMPARE(program.exitCode(), 1);
    QVERIFY(program.readAllStandardError().contains("precious"));
    QCOMPARE(QFileInfo(path).size(), 4);
}

QTEST_GUILESS_MAIN(TestSimDevice)
#include "tst_simdevice.moc"
