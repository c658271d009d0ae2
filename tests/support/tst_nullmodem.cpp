#include "support/nullmodem.h"
#include "support/simulateddevice.h"

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

QByteArray allByteValues(int repetitions)
{
    QByteArray bytes;
    for (int index = 0; index < 256 * repetitions; ++index) {
        bytes.append(static_cast<char>(index));
    }
    return bytes;
}

End opposite(End end)
{
    return end == End::A ? End::B : End::A;
}

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
    void everyByteValueCrossesBothWays();
    void aStalledCableHoldsTheSenderAndLosesNothing();
    void modemLinesCross_data();
    void modemLinesCross();
    void linesNeedACable();
    void lineSettingsAreKept();
    void breakArrivesWithItsLength();
    void unpluggedDeviceFailsAndComesBackUnderItsName();
    void vanishingIsToldAsAsked();
    void anotherProgramTakesPart();
};

void TestNullModem::everyByteValueCrossesBothWays()
{
    const NullModem modem;
    QVERIFY2(modem.isValid(), qPrintable(modem.errorString()));
    OpenPort a(modem.portA());
    OpenPort b(modem.portB());
    const auto fromA = allByteValues(20);
    const auto fromB = allByteValues(7);
    a.write(fromA);
    b.write(fromB);
    QTRY_COMPARE(b.received.size(), fromA.size());
    QTRY_COMPARE(a.received.size(), fromB.size());
    QVERIFY(b.received == fromA);
    QVERIFY(a.received == fromB);
    QCOMPARE(modem.crossedFrom(End::A), fromA.size());
}

void TestNullModem::aStalledCableHoldsTheSenderAndLosesNothing()
{
    NullModem modem;
    OpenPort a(modem.portA());
    const auto sent = allByteValues(2048);
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

void TestNullModem::modemLinesCross_data()
{
    QTest::addColumn<int>("from");
    QTest::addColumn<bool>("dtr");
    QTest::addColumn<bool>("rts");
    for (const int from : {0, 1}) {
        for (const bool dtr : {false, true}) {
            for (const bool rts : {false, true}) {
                QTest::addRow("from %c dtr %d rts %d", 'A' + from, dtr, rts) << from << dtr << rts;
            }
        }
    }
}

void TestNullModem::modemLinesCross()
{
    QFETCH(const int, from);
    QFETCH(const bool, dtr);
    QFETCH(const bool, rts);
    const auto end = static_cast<End>(from);
    const NullModem modem;
    OpenPort sender(modem.port(end));
    OpenPort receiver(modem.port(opposite(end)));
    // From the opposite levels, so that a request that does nothing is noticed.
    for (const bool flip : {true, false}) {
        QVERIFY(sender.setDataTerminalReady(dtr != flip));
        QVERIFY(sender.setRequestToSend(rts != flip));
    }
    const auto seen = receiver.pinoutSignals();
    QCOMPARE(seen.testFlag(QSerialPort::DataSetReadySignal), dtr);
    QCOMPARE(seen.testFlag(QSerialPort::DataCarrierDetectSignal), dtr);
    QCOMPARE(seen.testFlag(QSerialPort::ClearToSendSignal), rts);
    QVERIFY(!seen.testFlag(QSerialPort::RingIndicatorSignal));
    QVERIFY(!seen.testFlag(QSerialPort::DataTerminalReadySignal));
    QCOMPARE(sender.isDataTerminalReady(), dtr);
    QCOMPARE(sender.isRequestToSend(), rts);
    QCOMPARE(modem.linesSeenBy(opposite(end)), (NullModem::Lines{dtr, dtr, rts}));
    QCOMPARE(modem.linesSeenBy(end), NullModem::Lines());
}

void TestNullModem::linesNeedACable()
{
    const NullModem modem;
    const SimulatedDevice device;
    OpenPort port(device.portName());
    QVERIFY(port.isOpen());
    QCOMPARE(port.pinoutSignals(), QSerialPort::NoSignal);
    QVERIFY(port.error() != QSerialPort::NoError);
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
    for (const int count : {1, 2}) {
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
        QCOMPARE(record.count, count);
        QVERIFY(record.lastLengthMs >= atLeast);
        QVERIFY(record.lastLengthMs <= outside.elapsed());
    }
    QCOMPARE(modem.breakSeenBy(End::A).count, 0);
}

void TestNullModem::unpluggedDeviceFailsAndComesBackUnderItsName()
{
    NullModem modem;
    OpenPort a(modem.portA());
    auto b = std::make_unique<OpenPort>(modem.portB());
    b->setDataTerminalReady(true);
    QVERIFY(modem.linesSeenBy(End::A).dsr);
    modem.unplug(End::B);
    QTRY_COMPARE(b->error(), QSerialPort::ResourceError);
    QCOMPARE(b->pinoutSignals(), QSerialPort::NoSignal);
    QVERIFY(!QFile::exists(modem.portB()));
    QCOMPARE(modem.linesSeenBy(End::A), NullModem::Lines());
    const auto lost = modem.crossedFrom(End::A);
    a.write("into the air");
    QTRY_COMPARE(a.bytesToWrite(), 0);
    b.reset();

    QVERIFY(modem.plugBack(End::B));
    QVERIFY(!modem.dtr(End::B));
    b = std::make_unique<OpenPort>(modem.portB());
    a.write("hello");
    b->write("again");
    QTRY_COMPARE(a.received, "again");
    QTRY_VERIFY(b->received.endsWith("hello"));
    QCOMPARE(modem.crossedFrom(End::A) - lost, b->received.size());
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
    QCOMPARE(modem.linesSeenBy(End::A), (NullModem::Lines{false, false, true}));
    QCOMPARE(modem.breakSeenBy(End::A).count, 1);
}

QTEST_GUILESS_MAIN(TestNullModem)
#include "tst_nullmodem.moc"
