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

constexpr Shell::Options kSilent{false, 200};

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

} // namespace

class TestSimDevice : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void answers_data();
    void answers();
    void floodKeepsItsRateAndTotal();
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
    row("attention", "AT\r", "OK\r\n");
    row("line ends", "AT\r\nAT\nAT\r\r\n\n", "OK\r\nOK\r\nOK\r\n");
    row("lower case", "at+echo=Tea, two\r", "+ECHO: Tea, two\r\nOK\r\n");
    row("unknown", "ATX\rhello\rAT+\r", "ERROR\r\nERROR\r\nERROR\r\n");
    row("corrected while typing", "AX\bY\x7FT\r", "OK\r\n");
    row("echo on", "ATE1\rA\bAT\r", "OK\r\nA\b \bAT\r\nOK\r\n");
    row("line too long", QByteArray(300, 'A') + "\rAT\r",
        "+CME ERROR: line longer than 256 bytes\r\nOK\r\n");
    row("dump", "AT+DUMP=5\rAT\r", "+DUMP: 5\r\n\0\1\2\3\4OK\r\nOK\r\n"_ba);
    row("sink", "AT+SINK=9\r123456789AT\r", "+SINK: ready\r\n+SINK: 9,CBF43926\r\nOK\r\nOK\r\n");
    row("sink takes a line feed", "AT+SINK=1\r\n\nAT\r",
        "+SINK: ready\r\n+SINK: 1,32D70693\r\nOK\r\nOK\r\n");
    row("nothing to stop", "AT+STOP\r", "OK\r\n");
    row("AT=1", "AT=1\r", "+CME ERROR: use AT\r\n");
    row("AT+DUMP=1048577", "AT+DUMP=1048577\r",
        "+CME ERROR: use AT+DUMP=n (n bytes of all values, 1 to 1048576)\r\n");
    row("AT+FLOOD=100", "AT+FLOOD=100\r",
        "+CME ERROR: use AT+FLOOD=rate,s (text at 1 to 10000000 bytes/s for 1 to 3600 s)\r\n");
    row("AT+SENSOR=1,9", "AT+SENSOR=1,9\r",
        "+CME ERROR: use AT+SENSOR=0|1[,ms] (sensor lines off or on, every 10 to 60000 ms)\r\n");
}

void TestSimDevice::answers()
{
    QFETCH(const QByteArray, input);
    QFETCH(const QByteArray, output);
    for (const qsizetype step : {input.size(), qsizetype(1), qsizetype(3)}) {
        Shell shell(kSilent);
        QCOMPARE(converse(shell, input, step), output);
    }
}

// A reader that stalls for a second: nothing is lost, and it never comes faster than asked for.
void TestSimDevice::floodKeepsItsRateAndTotal()
{
    constexpr qint64 kRate = 1'000'000;
    constexpr qint64 kStallMs = 1000;
    const auto burst = FloodJob::kLineLength + kRate * FloodJob::kBurstMs / 1000 + 100;
    Shell shell(kSilent);
    QCOMPARE(converse(shell, "ATE0\r", 5), "ATE0\r\nOK\r\n");
    shell.feed("AT+FLOOD=1000000,2\r", 0);
    QByteArray all;
    qint64 now = 0;
    for (; now < 5000 && !all.endsWith("OK\r\n"); now += 5) {
        shell.advance(now, 0);
        QVERIFY(shell.output().size() <= Shell::kOutputCapacity);
        if (now < 300 || now >= 300 + kStallMs)
            all += take(shell);
        QVERIFY(all.size() <= kRate * now / 1000 + burst);
    }
    const QByteArray head = "+FLOOD: 2000000\r\n";
    const QByteArray tail = "+FLOOD: 2000000 bytes sent\r\nOK\r\n";
    QVERIFY(all.startsWith(head) && all.endsWith(tail));
    QCOMPARE(all.size(), head.size() + 2 * kRate + tail.size());
    for (qint64 at = 0; at + FloodJob::kLineLength <= 2 * kRate; at += FloodJob::kLineLength)
        QCOMPARE(all.mid(head.size() + at, 10).toLongLong(), at);
    QVERIFY(now <= 2200 + kStallMs);
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
    port.write("AT+SINK=200000\r\n" + QByteArray(200'000, 'x') + "AT\r");
    QTRY_COMPARE(received, "+SINK: ready\r\n+SINK: 200000,51BF0272\r\nOK\r\nOK\r\n");
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
