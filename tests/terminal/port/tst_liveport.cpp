// A live port without a screen: one event loop, real transports, and somebody who takes its text.
#include "terminal/port/liveport.h"

#include "connections/connectioncontroller.h"
#include "connections/systemportcatalog.h"
#include "support/nullmodem.h"
#include "support/tcppeer.h"
#include "support/udppeer.h"
#include "terminal/format/sendmodes.h"
#include "terminal/port/displaysinkstub.h"
#include "terminal/port/portlog.h"

#include <QFile>
#include <QHostInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QUdpSocket>

using namespace Qt::Literals::StringLiterals;

namespace {

quint16 freeUdpPort()
{
    QUdpSocket socket;
    socket.bind(QHostAddress::LocalHost, 0);
    return socket.localPort();
}

struct Bench
{
    Bench()
    {
        settings.targetHost = u"127.0.0.1"_s;
        format.logFilePath = folder.filePath(u"%S.log"_s);
        port.setDisplay(&sink);
        QObject::connect(&port, &LivePort::noticed, &port,
            [this](const Notice& notice) { notices += notice.text; });
        apply();
    }
    void apply() { port.setRecords(settings, format, LivePort::Origin::Program); }
    bool open(const QString& portName)
    {
        settings.connMode = connectionMode::SerialPort;
        settings.portName = portName;
        apply();
        return port.start(false);
    }
    // What the log of that port holds.
    [[nodiscard]] QByteArray logged(const QString& portName) const
    {
        QFile file(folder.filePath(portName.mid(1).replace(u'/', u'_') + u".log"_s));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QTemporaryDir folder;
    SystemPortCatalog catalog;
    StringSink sink;
    Settings settings;
    FormatSetting format;
    QStringList notices;
    LivePort port{catalog};
};

struct Device
{
    Device()
        : line(cable.portB())
    {
        line.open(QIODevice::ReadWrite);
    }
    NullModem cable;
    QSerialPort line;
};

} // namespace

class TestLivePort final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void receivesSendsAndLogs();
    void whatIsOpenIsNamed();
    void heldBytesStayWithTheirPort();
    void failedConnectionCountsNothing();
    void keysAndBytesOpenNothing();
    void closedPortIsOpenedByAMessage();
    void recordingSwitchedOffWhilePaused();
    void logIsFinishedInSlices();
    void serverSendsToWhomIsMeant();
    void udpCountsWhatLeft();
    void knownHostsDoNotWaitForOthers();
    void udpServerAnswers();
    void levelsAreDrivenOnce();
    void levelsAreThoseOfThePortThatOpens();
    void regainsALostDevice();
};

void TestLivePort::receivesSendsAndLogs()
{
    Device device;
    Bench bench;
    bench.format.logSaveFlag = true;
    bench.format.displaySendMsg = true;
    bench.format.txLineEndingMode = int(LineEndingMode::CrLf);
    QSignalSpy tapped(&bench.port, &LivePort::rxTapped);
    QVERIFY(bench.open(device.cable.portA()));
    device.line.write("hello\n");
    QTRY_COMPARE(bench.sink.text, u"hello\n"_s);
    QCOMPARE(tapped.size(), 1);
    QVERIFY(bench.port.sending().sendText(u"AT"_s));
    QTRY_COMPARE(device.line.peek(10), "AT\r\n");
    QTRY_COMPARE(bench.sink.text, u"hello\nAT\n"_s);
    QCOMPARE(bench.port.receivedBytes(), 6);
    QCOMPARE(bench.port.sentBytes(), 4);
    QTRY_COMPARE(bench.port.pendingBytes(), 0);
    QTRY_VERIFY(bench.logged(device.cable.portA()).endsWith("hello\nAT\r\n"));
}

// The record can name another port at any time; what is open keeps its name until it is closed, and
// a start closes it first.
void TestLivePort::whatIsOpenIsNamed()
{
    Device one;
    Device other;
    Bench bench;
    bench.format.logSaveFlag = true;
    QVERIFY(bench.open(one.cable.portA()));
    bench.settings.portName = other.cable.portA();
    bench.apply();
    QVERIFY(bench.port.summary().startsWith(one.cable.portA()));
    one.line.write("from one ");
    QTRY_COMPARE(bench.sink.text, u"from one "_s);
    QVERIFY(bench.port.start(false));
    QVERIFY(bench.port.summary().startsWith(other.cable.portA()));
    QVERIFY(bench.port.sendBytes("x"));
    QTRY_COMPARE(other.line.peek(9), "x");
    QCOMPARE(one.line.bytesAvailable(), 0);
    other.line.write("from other");
    QTRY_COMPARE(bench.sink.text, u"from one from other"_s);
    QVERIFY(bench.port.flushLog(nullptr));
    QVERIFY(bench.logged(one.cable.portA()).endsWith("from one "));
    QVERIFY(bench.logged(other.cable.portA()).endsWith("\nfrom other"));
}

void TestLivePort::heldBytesStayWithTheirPort()
{
    Device one;
    Device other;
    Bench bench;
    bench.format.logSaveFlag = true;
    QVERIFY(bench.open(one.cable.portA()));
    bench.port.pause();
    one.line.write("held");
    QTRY_COMPARE(bench.port.waitingBytes(), 4);
    bench.port.stop();
    bench.port.clear();
    QVERIFY(bench.open(other.cable.portA()));
    other.line.write("new");
    QTRY_COMPARE(bench.sink.text, u"new"_s);
    QVERIFY(bench.port.flushLog(nullptr));
    QVERIFY(bench.logged(one.cable.portA()).endsWith("held"));
    QVERIFY(bench.logged(other.cable.portA()).endsWith("\nnew"));
}

void TestLivePort::failedConnectionCountsNothing()
{
    TcpPeer peer;
    QVERIFY(peer.listen());
    Bench bench;
    bench.format.displaySendMsg = true;
    bench.settings.connMode = connectionMode::TcpClient;
    bench.settings.targetPort = peer.port();
    bench.apply();
    peer.stopListening();
    QVERIFY(bench.port.sending().sendText(u"hello"_s));
    QTRY_VERIFY(!bench.port.isActive());
    QVERIFY(peer.listen(peer.port() == 0 ? quint16(bench.settings.targetPort) : peer.port()));
    QVERIFY(bench.port.start(false));
    QTRY_VERIFY(bench.port.isOpen());
    QVERIFY(bench.port.sending().sendText(u"again"_s));
    QTRY_COMPARE(peer.received(), QByteArray("again"));
    QCOMPARE(bench.sink.text, u"again"_s);
    QCOMPARE(bench.port.sentBytes(), 5);
}

void TestLivePort::keysAndBytesOpenNothing()
{
    Device device;
    Bench bench;
    bench.settings.portName = device.cable.portA();
    bench.apply();
    QVERIFY(!bench.port.sendBytes("x"));
    QVERIFY(!bench.port.isActive());
}

void TestLivePort::closedPortIsOpenedByAMessage()
{
    UdpPeer peer;
    Bench bench;
    bench.settings.connMode = connectionMode::UdpClient;
    bench.settings.udpLocalPort = freeUdpPort();
    bench.settings.targetPort = peer.port();
    bench.apply();
    QVERIFY(bench.port.sending().sendText(u"first"_s));
    QTRY_COMPARE(peer.received().size(), 1);
    QCOMPARE(peer.received().at(0).senderPort, bench.settings.udpLocalPort);
    QVERIFY(bench.port.isOpen());
    // No mode that nothing carries.
    for (const auto mode : {connectionMode::NoTransport, connectionMode::RemoteSerialCloudRelay}) {
        Bench none;
        none.settings.connMode = mode;
        none.apply();
        QVERIFY(!none.port.sending().sendMessage("x"));
        QVERIFY(!none.port.isActive());
    }
}

void TestLivePort::recordingSwitchedOffWhilePaused()
{
    Device device;
    Bench bench;
    bench.format.logSaveFlag = true;
    QVERIFY(bench.open(device.cable.portA()));
    bench.port.pause();
    device.line.write("under it");
    QTRY_COMPARE(bench.port.waitingBytes(), 8);
    bench.format.logSaveFlag = false;
    bench.apply();
    QVERIFY(bench.port.start(false));
    device.line.write(" after it");
    QTRY_COMPARE(bench.sink.text, u"under it after it"_s);
    QVERIFY(bench.port.flushLog(nullptr));
    QVERIFY(bench.logged(device.cable.portA()).endsWith("under it"));
}

void TestLivePort::logIsFinishedInSlices()
{
    Device device;
    Bench bench;
    bench.format.logSaveFlag = true;
    QVERIFY(bench.open(device.cable.portA()));
    bench.port.pause();
    device.line.write("waits");
    QTRY_COMPARE(bench.port.unloggedBytes(), 5);
    QSignalSpy finished(&bench.port, &LivePort::logFinished);
    bench.port.finishLog();
    QTRY_COMPARE(finished.size(), 1);
    QVERIFY(finished[0][0].toBool());
    QVERIFY(bench.logged(device.cable.portA()).endsWith("waits"));
    QCOMPARE(bench.port.unloggedBytes(), 0);
    QVERIFY(!bench.port.controller().isReadThrottled());

    // A folder that is not there: said, and nothing is lost.
    bench.format.logFilePath = u"/dev/null/all.log"_s;
    bench.apply();
    device.line.write("kept");
    QTRY_COMPARE(bench.port.waitingBytes(), 4);
    bench.port.finishLog();
    QTRY_COMPARE(finished.size(), 2);
    QVERIFY(!finished[1][0].toBool());
    QVERIFY(!finished[1][1].toString().isEmpty());
    QVERIFY(bench.port.unloggedBytes() >= 4);
}

void TestLivePort::serverSendsToWhomIsMeant()
{
    TcpPeer peer;
    Bench bench;
    bench.settings.connMode = connectionMode::TcpServer;
    bench.settings.targetPort = 0;
    bench.apply();
    QVERIFY(!bench.port.sending().sendText(u"anybody?"_s));
    QVERIFY2(!bench.port.isActive(), "a message starts no server");
    QVERIFY(bench.port.start(false));
    QVERIFY(!bench.port.sending().sendText(u"anybody?"_s));
    QCOMPARE(bench.notices.last(), u"No TCP client is connected: nothing was sent"_s);
    ConnectionController& controller = bench.port.controller();
    peer.connectTo(controller.tcpServerPort());
    QTRY_COMPARE(controller.tcpServerClients().size(), 1);
    QVERIFY(bench.port.sending().sendText(u"only "_s));
    peer.connectTo(controller.tcpServerPort());
    QTRY_COMPARE(controller.tcpServerClients().size(), 2);
    QVERIFY2(!bench.port.sending().sendText(u"guess"_s), "nobody was chosen");
    bench.port.setTarget(LivePort::Target::All);
    QVERIFY(bench.port.sending().sendText(u"all "_s));
    bench.port.setTarget(LivePort::Target::Peer, controller.tcpServerClients().at(1));
    QVERIFY(bench.port.sending().sendText(u"one"_s));
    QTRY_COMPARE(peer.received(0), "only all "_ba);
    QTRY_COMPARE(peer.received(1), "all one"_ba);
    peer.close(1);
    QTRY_COMPARE(controller.tcpServerClients().size(), 1);
    QVERIFY2(!bench.port.sending().sendText(u"for the second"_s), "nobody else gets it");
    QVERIFY(bench.notices.last().startsWith("The chosen TCP client is gone"_L1));
}

// Where the address is not known yet nothing has been sent.
void TestLivePort::udpCountsWhatLeft()
{
    Bench bench;
    bench.settings.connMode = connectionMode::UdpClient;
    bench.settings.udpLocalPort = freeUdpPort();
    bench.settings.targetHost = u"name.invalid"_s;
    bench.settings.targetPort = 9;
    bench.format.displaySendMsg = true;
    bench.apply();
    QVERIFY(bench.port.sending().sendText(u"hello"_s));
    QCOMPARE(bench.port.pendingBytes(), 5);
    QCOMPARE(bench.port.sentBytes(), 0);
    QTRY_COMPARE_WITH_TIMEOUT(bench.port.pendingBytes(), 0, 30'000); // a name server says no
    QCOMPARE(bench.port.sentBytes(), 0);

    UdpPeer peer;
    bench.settings.targetHost = u"localhost"_s;
    bench.settings.targetPort = peer.port();
    bench.apply();
    QVERIFY(bench.port.sending().sendText(u"again"_s));
    if (QHostInfo::fromName(u"localhost"_s).error() != QHostInfo::NoError)
        QSKIP("this machine does not know its own name: it has no /etc/hosts");
    QTRY_COMPARE(peer.receivedBytes(), QByteArray("again"));
    QCOMPARE(bench.port.sentBytes(), 5);
    QTRY_COMPARE(bench.sink.text, u"again"_s);
}

// What left at once is counted and shown at once, and a host that is not found takes only what was
// meant for it.
void TestLivePort::knownHostsDoNotWaitForOthers()
{
    UdpPeer peer;
    Bench bench;
    bench.settings.connMode = connectionMode::UdpClient;
    bench.settings.udpLocalPort = freeUdpPort();
    bench.settings.targetHost = u"name.invalid"_s;
    bench.settings.targetPort = 9;
    bench.format.displaySendMsg = true;
    bench.apply();
    QVERIFY(bench.port.sending().sendText(u"lost"_s));
    bench.settings.targetHost = u"127.0.0.1"_s;
    bench.settings.targetPort = peer.port();
    bench.apply();
    QVERIFY(bench.port.sending().sendText(u"there"_s));
    QTRY_COMPARE(peer.receivedBytes(), QByteArray("there"));
    QCOMPARE(bench.port.sentBytes(), 5);
    QTRY_COMPARE_WITH_TIMEOUT(bench.port.pendingBytes(), 0, 30'000);
    QCOMPARE(bench.port.sentBytes(), 5);
    QTRY_COMPARE(bench.sink.text, u"there"_s);
}

void TestLivePort::udpServerAnswers()
{
    UdpPeer first;
    UdpPeer second;
    Bench bench;
    bench.settings.connMode = connectionMode::UdpServer;
    bench.settings.udpServerPort = freeUdpPort();
    bench.apply();
    QVERIFY(!bench.port.sending().sendText(u"anybody?"_s));
    QVERIFY(bench.notices.contains(u"No UDP peer to reply to yet"_s));
    first.sendTo(bench.settings.udpServerPort, "a");
    QTRY_COMPARE(bench.sink.text, u"a"_s);
    second.sendTo(bench.settings.udpServerPort, "b");
    QTRY_COMPARE(bench.sink.text, u"ab"_s);
    QVERIFY(bench.port.sending().sendText(u"to the last"_s));
    QTRY_COMPARE(second.receivedBytes(), QByteArray("to the last"));
    bench.port.setTarget(LivePort::Target::Peer, u"127.0.0.1:%1"_s.arg(first.port()));
    QVERIFY(bench.port.sending().sendText(u"to the chosen"_s));
    QTRY_COMPARE(first.receivedBytes(), QByteArray("to the chosen"));
    bench.port.setTarget(LivePort::Target::All);
    QVERIFY(bench.port.sending().sendText(u"!"_s));
    QTRY_COMPARE(second.receivedBytes(), QByteArray("to the last!"));
    bench.port.setTarget(LivePort::Target::Peer, u"127.0.0.1:1"_s);
    QVERIFY2(!bench.port.sending().sendText(u"to a stranger"_s), "nobody else gets it");
}

void TestLivePort::levelsAreDrivenOnce()
{
    Device device;
    Bench bench;
    QVERIFY(bench.open(device.cable.portA()));
    QSignalSpy changed(&bench.port, &LivePort::recordsChanged);
    QTRY_VERIFY(device.line.pinoutSignals().testFlag(QSerialPort::DataSetReadySignal));
    bench.port.toggleLine(true);
    QTRY_VERIFY(!device.line.pinoutSignals().testFlag(QSerialPort::DataSetReadySignal));
    QCOMPARE(changed.size(), 1);
    QVERIFY(!bench.port.settings().dtrOn);
    // A record that names the same levels drives nothing and changes nothing.
    bench.settings = bench.port.settings();
    bench.notices.clear();
    bench.apply();
    QCOMPARE(changed.size(), 1);
    QCOMPARE(bench.notices, QStringList());
}

// A board resets when DTR rises: the level is wanted from the first moment, whatever the port that
// was open before had.
void TestLivePort::levelsAreThoseOfThePortThatOpens()
{
    Device one;
    Device other;
    Bench bench;
    QVERIFY(bench.open(one.cable.portA()));
    bench.settings.dtrOn = false;
    bench.settings.portName = other.cable.portA();
    bench.apply();
    QVERIFY2(one.cable.dtr(NullModem::End::A), "the open port keeps its own");
    QVERIFY(bench.port.start(false));
    QVERIFY(!other.cable.dtr(NullModem::End::A));
}

void TestLivePort::regainsALostDevice()
{
    Device device;
    Bench bench;
    bench.port.setAutoReconnect(true);
    QVERIFY(bench.open(device.cable.portA()));
    device.cable.unplug(NullModem::End::A);
    QTRY_COMPARE(bench.port.life(), ConnectionLife::Lost);
    QVERIFY(bench.notices.last().contains("lost, waiting for it to come back"_L1));
    QVERIFY(device.cable.plugBack(NullModem::End::A));
    QTRY_VERIFY_WITH_TIMEOUT(bench.port.isOpen(), 5000);
    device.line.write("back");
    QTRY_COMPARE(bench.sink.text, u"back"_s);
}

QTEST_GUILESS_MAIN(TestLivePort)
#include "tst_liveport.moc"
