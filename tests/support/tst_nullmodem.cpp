#include "support/nullmodem.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QSerialPort>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;
using End = NullModem::End;

namespace {

/// A port opened on one end; collects what arrives.
class OpenPort final : public QSerialPort
{
public:
    explicit OpenPort(const QString& name)
    {
        setPortName(name);
        connect(this, &QSerialPort::readyRead, this, [this] { received += readAll(); });
        if (!open(QIODevice::ReadWrite)) {
            qWarning("%s: %s", qPrintable(name), qPrintable(errorString()));
        }
    }

    QByteArray received;
};

} // namespace

class TestNullModem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aStalledCableHoldsTheSenderAndLosesNothing();
    void modemLinesCross();
    void lineSettingsAreKept();
    void breakArrivesWithItsLength();
    void vanishingIsToldAsAsked();
    void anotherProgramTakesPart();
};

void TestNullModem::aStalledCableHoldsTheSenderAndLosesNothing()
{
    NullModem modem;
    OpenPort a(modem.portA());
    QByteArray sent;
    for (int index = 0; index < 512 * 1024; ++index) {
        sent.append(static_cast<char>(index));
    }
    modem.setFlowing(false);
    a.write(sent);
    QTRY_VERIFY(a.bytesToWrite() < sent.size());
    QCOMPARE(modem.crossedFrom(End::A), 0);
    // Nobody has opened B yet, and the kernel does not hold this much: the sender has to wait.
    modem.setFlowing(true);
    QTRY_VERIFY(modem.crossedFrom(End::A) > 0);
    QVERIFY(modem.crossedFrom(End::A) < sent.size());
    OpenPort b(modem.portB());
    QTRY_COMPARE(b.received.size(), sent.size());
    QVERIFY(b.received == sent);
}

void TestNullModem::modemLinesCross()
{
    for (const End end : {End::A, End::B}) {
        const NullModem modem;
        OpenPort sender(modem.port(end));
        OpenPort receiver(modem.port(end == End::A ? End::B : End::A));
        // Each output changes alone and in both directions.
        for (const auto& [dtr, rts] : {std::pair{true, false}, {true, true}, {false, true},
                 {false, false}, {false, true}, {true, true}, {true, false}}) {
            QVERIFY(sender.setDataTerminalReady(dtr));
            QVERIFY(sender.setRequestToSend(rts));
            const auto seen = receiver.pinoutSignals();
            QCOMPARE(seen.testFlag(QSerialPort::DataSetReadySignal), dtr);
            QCOMPARE(seen.testFlag(QSerialPort::DataCarrierDetectSignal), dtr);
            QCOMPARE(seen.testFlag(QSerialPort::ClearToSendSignal), rts);
            QVERIFY(!seen.testFlag(QSerialPort::RingIndicatorSignal));
            QVERIFY(!seen.testFlag(QSerialPort::DataTerminalReadySignal));
            QCOMPARE(sender.isDataTerminalReady(), dtr);
            QCOMPARE(sender.isRequestToSend(), rts);
            QCOMPARE(modem.dtr(end), dtr);
            QCOMPARE(modem.rts(end), rts);
        }
    }
}

void TestNullModem::lineSettingsAreKept()
{
    const NullModem modem;
    OpenPort port(modem.portA());
    QCOMPARE(modem.lineSettings(End::A), "9600 8N1");
    // One at a time, as each setter reads the others back.
    port.setDataBits(QSerialPort::Data7);
    port.setParity(QSerialPort::EvenParity);
    port.setStopBits(QSerialPort::TwoStop);
    port.setFlowControl(QSerialPort::HardwareControl);
    port.setBaudRate(115'200);
    QCOMPARE(modem.lineSettings(End::A), "115200 7E2 RTS/CTS");
    port.setDataBits(QSerialPort::Data5);
    port.setParity(QSerialPort::MarkParity);
    port.setFlowControl(QSerialPort::SoftwareControl);
    QCOMPARE(modem.lineSettings(End::A), "115200 5M2 XON/XOFF");
}

void TestNullModem::breakArrivesWithItsLength()
{
    const NullModem modem;
    OpenPort a(modem.portA());
    QCOMPARE(modem.breakSeenBy(End::B).lastLengthMs, -1);
    QElapsedTimer inside;
    QElapsedTimer outside;
    outside.start();
    QVERIFY(a.setBreakEnabled(true));
    inside.start();
    QVERIFY(modem.breakSeenBy(End::B).active);
    QTRY_VERIFY(inside.elapsed() >= 30);
    const auto atLeast = inside.elapsed();
    QVERIFY(a.setBreakEnabled(false));
    const auto record = modem.breakSeenBy(End::B);
    QVERIFY(!record.active);
    QCOMPARE(record.count, 1);
    QVERIFY(record.lastLengthMs >= atLeast && record.lastLengthMs <= outside.elapsed());
    QCOMPARE(modem.breakSeenBy(End::A).count, 0);
}

void TestNullModem::vanishingIsToldAsAsked()
{
    NullModem modem;
    for (const auto how : {NullModem::Vanishing::EndOfFile, NullModem::Vanishing::InputError}) {
        const int port = ::open(qPrintable(modem.portB()), O_RDWR | O_NOCTTY | O_NONBLOCK);
        QVERIFY(port >= 0);
        char byte = 0;
        QCOMPARE(::read(port, &byte, 1), -1);
        QCOMPARE(errno, EAGAIN);
        modem.unplug(End::B, how);
        errno = ENOTTY;
        QCOMPARE(::read(port, &byte, 1), how == NullModem::Vanishing::EndOfFile ? 0 : -1);
        QCOMPARE(errno, how == NullModem::Vanishing::EndOfFile ? ENOTTY : EIO);
        ::close(port);
        QVERIFY(modem.plugBack(End::B));
    }
}

void TestNullModem::anotherProgramTakesPart()
{
    const auto python = QStandardPaths::findExecutable(u"python3"_s);
    if (python.isEmpty()) {
        if (qEnvironmentVariableIsSet("CI")) {
            QFAIL("python3 is missing");
        }
        QSKIP("python3 is missing");
    }
    NullModem modem;
    modem.setOutputs(End::A, true, false);
    const auto script = uR"(
import fcntl, os, struct, sys, termios
fd = os.open(sys.argv[1], os.O_RDWR | os.O_NOCTTY)
fcntl.ioctl(fd, termios.TIOCMBIS, struct.pack('I', termios.TIOCM_DTR | termios.TIOCM_RTS))
fcntl.ioctl(fd, termios.TIOCMBIC, struct.pack('I', termios.TIOCM_DTR))
fcntl.ioctl(fd, 0x5427)
fcntl.ioctl(fd, 0x5428)
print(struct.unpack('I', fcntl.ioctl(fd, termios.TIOCMGET, bytes(4)))[0] ==
      termios.TIOCM_RTS | termios.TIOCM_DSR | termios.TIOCM_CAR)
)"_s;
    QProcess program;
    program.setProcessEnvironment(NullModem::peerEnvironment());
    const QSignalSpy finished(&program, &QProcess::finished);
    program.start(python, {u"-c"_s, script, modem.portB()});
    QTRY_COMPARE(finished.size(), 1);
    QCOMPARE(program.readAllStandardOutput(), "True\n");
    QVERIFY(modem.rts(End::B) && !modem.dtr(End::B));
    QCOMPARE(modem.breakSeenBy(End::A).count, 1);
}

QTEST_GUILESS_MAIN(TestNullModem)
#include "tst_nullmodem.moc"
