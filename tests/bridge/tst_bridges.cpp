// Bridges between live ports: a serial device on a virtual cable, and real network clients.
#include "bridge/bridgemanager.h"
#include "bridge/engine/modbusgateway.h"
#include "bridge/modbusstatistics.h"
#include "bridge/rfc2217ends.h"
#include "connections/connectioncontroller.h"
#include "connections/rfc2217/rfc2217codec.h"
#include "connections/rfc2217/rfc2217values.h"
#include "connections/systemportcatalog.h"
#include "support/nullmodem.h"
#include "support/tcppeer.h"
#include "support/udppeer.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSerialPort>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kServer = 1; // the index of the rig's second port

// Port 1 is a serial port with a device at the other end of its cable, port 2 a TCP server.
struct Rig
{
    Rig()
        : device(cable.portB())
    {
        Settings line;
        line.connMode = connectionMode::SerialPort;
        line.portName = cable.portA();
        serial.setSettings(line, LivePort::Origin::Program);
        Settings listen;
        listen.connMode = connectionMode::TcpServer;
        listen.targetPort = 0;
        server.setSettings(listen, LivePort::Origin::Program);
        device.open(QIODevice::ReadWrite);
        QObject::connect(&device, &QSerialPort::readyRead, &device, [this] {
            const QByteArray bytes = device.readAll();
            atDevice += bytes;
            if (answer)
                device.write(answer(bytes));
        });
        bridges.setPorts({&serial, &server});
        config.framing.mode = FramingMode::Immediate;
        config.fanout = FanoutMode::Shared;
    }
    // The order matters: what the manager wants of a server is in force before it listens.
    bool start()
    {
        QString error;
        if (!bridges.addLink(config, &error))
            qWarning() << error;
        return bridges.linkCount() == 1 && serial.start(false) && server.start(false);
    }
    int client()
    {
        const int number = clients.connectTo(server.controller().tcpServerPort());
        const bool came = QTest::qWaitFor([&] {
            return clients.isOpen(number)
                   && server.transport()->peers().size() >= clients.openCount();
        });
        return came ? number : -1;
    }
    [[nodiscard]] BridgeLink& link() const { return *bridges.linkAt(0); }
    [[nodiscard]] BridgeCounters toServer() const { return link().counters(BridgeSide::A); }
    [[nodiscard]] BridgeCounters toDevice() const { return link().counters(BridgeSide::B); }

    NullModem cable;
    QSerialPort device;
    QByteArray atDevice;
    std::function<QByteArray(const QByteArray&)> answer;
    SystemPortCatalog catalog;
    LivePort serial{catalog};
    LivePort server{catalog};
    BridgeManager bridges;
    BridgeConfig config;
    TcpPeer clients;
};

QByteArray request(quint16 transaction, quint8 unit, const QByteArray& pdu)
{
    return ModbusGateway::buildMbap(transaction, unit, pdu);
}

QByteArray command(Rfc2217::Command command, const QByteArray& payload)
{
    return Rfc2217Codec::clientRequest(command, payload);
}

} // namespace

class TestBridges final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void shareADevice();
    void oneWayOnly();
    void floodsArriveWhole();
    void deafClientIsNobodysTrouble();
    void endsComeAndGo();
    void oneEndOpensTheOther();
    void cableLoopIsStopped();
    void turns();
    void modbusGateway();
    void modbusWithoutALine();
    void rfc2217Server();
    void commandsWaitForASlowLine();
    void rfc2217FloodIsHeldBack();
    void datagramsStayWhole();
    void rfc2217Both();
    void captureTellsAll();
    void portThatIsDestroyed();
    void disallowedClientsLeave();
};

void TestBridges::shareADevice()
{
    Rig rig;
    QVERIFY(rig.start());
    QCOMPARE(rig.link().state(), BridgeState::Running);
    // Nobody is connected: what the device says is gone, and counted.
    rig.device.write("early");
    QTRY_COMPARE(rig.toServer().droppedBytes, 5);
    QCOMPARE(rig.link().state(), BridgeState::Degraded);

    const int first = rig.client();
    const int second = rig.client();
    rig.device.write("hello");
    QTRY_COMPARE(rig.clients.received(first), "hello"_ba);
    QTRY_COMPARE(rig.clients.received(second), "hello"_ba);
    rig.clients.send("one", first);
    QTRY_COMPARE(rig.atDevice, "one"_ba);
    rig.clients.send("two", second);
    QTRY_COMPARE(rig.atDevice, "onetwo"_ba);
    QCOMPARE(rig.toServer().bytesIn, 10);
    QCOMPARE(rig.toServer().bytesOut, 5);
    QCOMPARE(rig.toDevice().bytesOut, 6);
    QCOMPARE(rig.bridges.remoteClientsForPort(kServer).size(), 2);
    QCOMPARE(rig.bridges.badgeTextForPort(0), u"⇄ 2 (Degraded)"_s);
    QVERIFY(!rig.bridges.fanInWarning(rig.config, 0).isEmpty());
}

void TestBridges::oneWayOnly()
{
    Rig rig;
    rig.config.direction = BridgeDirection::AToB;
    QVERIFY(rig.start());
    const int client = rig.client();
    rig.clients.send("no", client);
    rig.device.write("yes");
    QTRY_COMPARE(rig.clients.received(client), "yes"_ba);
    QVERIFY(rig.atDevice.isEmpty());
    QCOMPARE(rig.toDevice(), BridgeCounters());
    QTRY_COMPARE(rig.server.receivedBytes(), 2); // it was received all the same
}

// The slow end holds the fast one back; nothing is dropped for it.
void TestBridges::floodsArriveWhole()
{
    Rig rig;
    rig.config.flow.floodGuardEnabled = false;
    QVERIFY(rig.start());
    const int client = rig.client();
    const QByteArray block(qsizetype{8} * 1024 * 1024, 'x');
    rig.clients.send(block, client);
    QTRY_COMPARE_WITH_TIMEOUT(rig.atDevice.size(), block.size(), 20'000);
    QCOMPARE(rig.toDevice().missing(), 0);
    QVERIFY(rig.toDevice().throttledMs > 0);
    rig.device.write(block);
    QTRY_COMPARE_WITH_TIMEOUT(rig.clients.received(client).size(), block.size(), 20'000);
    QCOMPARE(rig.toServer().missing(), 0);
}

// The server ends a client that does not read; until then the others must not wait for it.
void TestBridges::deafClientIsNobodysTrouble()
{
    Rig rig;
    QVERIFY(rig.start());
    const int reader = rig.client();
    TcpPeer deaf;
    deaf.setReading(false);
    deaf.connectTo(rig.server.controller().tcpServerPort());
    QTRY_COMPARE(rig.server.transport()->peers().size(), 2);
    const QByteArray block(4096, 'x');
    qint64 sent = 0;
    for (int i = 0; i < 1000; ++i) {
        sent += rig.device.write(block);
        QTRY_VERIFY(rig.device.bytesToWrite() < 65'536);
    }
    QTRY_COMPARE_WITH_TIMEOUT(rig.clients.received(reader).size(), sent, 20'000);
    QCOMPARE(rig.toServer().missing() - rig.toServer().lostBytes, 0);
}

void TestBridges::endsComeAndGo()
{
    Rig rig;
    rig.serial.setAutoReconnect(true);
    QVERIFY(rig.start());
    const int client = rig.client();
    rig.cable.unplug(NullModem::End::A);
    QTRY_COMPARE(rig.link().state(), BridgeState::Degraded);
    QVERIFY2(rig.link().errorText().contains(u"Port 1"_s), qPrintable(rig.link().errorText()));
    rig.clients.send("lost", client);
    QTRY_COMPARE(rig.toDevice().discardedBytes, 4);

    QVERIFY(rig.cable.plugBack(NullModem::End::A));
    QTRY_VERIFY_WITH_TIMEOUT(rig.serial.isOpen(), 10'000);
    rig.clients.send("found", client);
    QTRY_COMPARE(rig.atDevice, "found"_ba);

    // As another kind of connection: the bridge goes on with what the port is now.
    rig.server.stop();
    QTRY_VERIFY(!rig.server.isOpen());
    TcpPeer far;
    QVERIFY(far.listen());
    Settings settings = rig.server.settings();
    settings.connMode = connectionMode::TcpClient;
    settings.targetHost = u"127.0.0.1"_s;
    settings.targetPort = far.port();
    rig.server.setSettings(settings, LivePort::Origin::Program);
    QVERIFY(rig.server.start(false));
    QTRY_COMPARE(far.openCount(), 1);
    far.send("remote");
    QTRY_VERIFY(rig.atDevice.endsWith("remote"));
    QCOMPARE(rig.toDevice().bytesOut, 11);
}

void TestBridges::oneEndOpensTheOther()
{
    Rig rig;
    rig.config.autoOpenPeer = true;
    QVERIFY(rig.bridges.addLink(rig.config));
    QTRY_VERIFY(rig.serial.isOpen() && rig.server.isOpen());
    // A person has the last word.
    rig.serial.stop();
    QTest::qWait(50);
    QVERIFY(!rig.serial.isOpen());
    QCOMPARE(rig.link().errorText(), QString());
    rig.server.stop();
    QTRY_VERIFY(!rig.server.isOpen());
    rig.server.start(false);
    QTRY_VERIFY(rig.serial.isOpen());
}

void TestBridges::cableLoopIsStopped()
{
    NullModem cable;
    SystemPortCatalog catalog;
    LivePort a{catalog};
    LivePort b{catalog};
    Settings settings;
    settings.portName = cable.portA();
    a.setSettings(settings, LivePort::Origin::Program);
    settings.portName = cable.portB();
    b.setSettings(settings, LivePort::Origin::Program);
    BridgeManager bridges;
    bridges.setPorts({&a, &b});
    BridgeConfig config;
    config.flow.floodBytesPerSecond = 2048;
    config.flow.floodWindowMs = 100;
    QVERIFY(bridges.addLink(config));
    QVERIFY(a.start(false) && b.start(false));
    QVERIFY(a.sendBytes("round and round"));
    BridgeLink& link = *bridges.linkAt(0);
    QTRY_COMPARE(link.state(), BridgeState::Suspended);
    QCOMPARE(link.errorText(), u"Flood guard tripped (possible cable loop)"_s);
    QVERIFY(bridges.badgeTextForPort(0).contains(u"Suspended"_s));
    // What comes now does not pass, and is no secret either.
    QVERIFY(b.sendBytes("still going"));
    QTRY_VERIFY(a.receivedBytes() > 0 && link.counters(BridgeSide::A).discardedBytes > 0);
    const BridgeCounters counters = link.counters(BridgeSide::A);
    QCOMPARE(counters.bytesIn, a.receivedBytes());
    QCOMPARE(counters.bytesIn,
        counters.bytesOut + counters.queuedBytes + counters.droppedBytes + counters.discardedBytes);
    link.resume();
    QVERIFY(link.state() != BridgeState::Suspended);
}

void TestBridges::turns()
{
    Rig rig;
    rig.config.fanout = FanoutMode::TakeTurns;
    rig.config.arbiterResponseTimeoutMs = 200;
    rig.config.framing.mode = FramingMode::Delimiter;
    QByteArray seen;
    rig.answer = [&](const QByteArray& bytes) {
        seen += bytes;
        return bytes == "silent\n" ? QByteArray() : "re:" + bytes;
    };
    QVERIFY(rig.start());
    const int first = rig.client();
    const int second = rig.client();
    rig.clients.send("a", first);
    rig.clients.send("b\n", second);
    QTRY_COMPARE(rig.clients.received(second), "re:b\n"_ba);
    rig.clients.send("A\n", first);
    QTRY_COMPARE(rig.clients.received(first), "re:aA\n"_ba);
    QCOMPARE(rig.clients.received(second), "re:b\n"_ba);

    rig.clients.send("silent\n", first);
    QTRY_COMPARE(rig.link().turns()->owner, rig.server.transport()->peers().value(0));
    rig.clients.send("c\n", second);
    QTRY_COMPARE(rig.link().turns()->waiting.size(), 1);
    QTRY_COMPARE(rig.clients.received(second), "re:b\nre:c\n"_ba);
    QCOMPARE(rig.link().turns()->unanswered, 1);
    // Long after its turn: nobody's.
    QTRY_VERIFY(rig.link().turns()->owner.isEmpty());
    const qint64 dropped = rig.toServer().droppedBytes;
    rig.device.write("late");
    QTRY_COMPARE(rig.toServer().droppedBytes, dropped + 4);
    QCOMPARE(rig.clients.received(first), "re:aA\n"_ba);
}

void TestBridges::modbusGateway()
{
    Rig rig;
    rig.config.protocol = ProtocolMode::ModbusGateway;
    rig.config.arbiterResponseTimeoutMs = 200;
    rig.config.modbusExceptions = true;
    rig.answer = [](const QByteArray& frame) {
        return frame.startsWith('\x11') ? ModbusGateway::appendCrc("\x11\x03\x02\x12\x34"_ba)
                                        : QByteArray();
    };
    QVERIFY(rig.start());
    const int client = rig.client();
    const QByteArray pdu("\x03\x00\x00\x00\x01", 5);
    rig.clients.send(request(7, 0x11, pdu), client);
    QTRY_COMPARE(rig.clients.received(client), request(7, 0x11, "\x03\x02\x12\x34"_ba));
    QCOMPARE(rig.atDevice, ModbusGateway::appendCrc(QByteArray(1, '\x11') + pdu));
    rig.clients.takeReceived(client);
    rig.clients.send(request(8, 0x12, pdu), client);
    QTRY_COMPARE(rig.clients.received(client), request(8, 0x12, "\x83\x0B"_ba));

    const ModbusStatistics* statistics = rig.link().modbus();
    QCOMPARE(statistics->total(), 2);
    QCOMPARE(statistics->records().front().functionCode(), 3);
    QCOMPARE(statistics->units(), (QList<int>{0x11, 0x12}));
    QCOMPARE(statistics->forUnit(0x12).timeouts, 1);
    QCOMPARE(statistics->forClient(statistics->clients().value(0)).requests, 2);

    // No stream of requests: that client goes, and the next is served.
    rig.clients.send("GET / HTTP/1.1\r\n\r\n", client);
    QTRY_VERIFY(!rig.clients.isOpen(client));
    const int next = rig.client();
    rig.clients.send(request(9, 0x11, pdu), next);
    QTRY_COMPARE(rig.clients.received(next), request(9, 0x11, "\x03\x02\x12\x34"_ba));
}

void TestBridges::modbusWithoutALine()
{
    Rig rig;
    rig.config.protocol = ProtocolMode::ModbusGateway;
    rig.config.modbusExceptions = true;
    QVERIFY(rig.bridges.addLink(rig.config));
    QVERIFY(rig.server.start(false));
    const int client = rig.client();
    const QByteArray pdu("\x03\x00\x00\x00\x01", 5);
    rig.clients.send(request(1, 1, pdu) + request(2, 1, pdu), client);
    QTRY_COMPARE(
        rig.clients.received(client), request(1, 1, "\x83\x0A"_ba) + request(2, 1, "\x83\x0A"_ba));
    QCOMPARE(rig.link().turns()->dropped, 2);
}

void TestBridges::rfc2217Server()
{
    Rig rig;
    rig.config.protocol = ProtocolMode::Rfc2217Server;
    QVERIFY(rig.start());
    const int client = rig.client();
    QTRY_VERIFY(rig.clients.received(client).startsWith('\xFF')); // the greeting
    rig.clients.takeReceived(client);

    rig.clients.send("before" + command(Rfc2217::SetBaudRate, Rfc2217Codec::baudRatePayload(57'600))
                         + command(Rfc2217::SetDataSize, QByteArray(1, 7))
                         + command(Rfc2217::SetParity, QByteArray(1, 3)) + "\xFF\xFF after",
        client);
    QTRY_COMPARE(rig.atDevice, "before\xFF after"_ba);
    QCOMPARE(rig.cable.lineSettings(NullModem::End::A), "57600 7E1"_ba);
    QTRY_VERIFY(rig.clients.received(client).contains(
        Rfc2217Codec::serverResponse(Rfc2217::SetBaudRate, Rfc2217Codec::baudRatePayload(57'600))));
    QCOMPARE(rig.serial.settings().baudRate, 57'600);
    rig.clients.takeReceived(client);

    // The inputs: the device's DTR is our DSR and DCD.
    rig.clients.send(command(Rfc2217::SetModemStateMask, "\xFF"_ba), client);
    const auto told = [&](int state) {
        return rig.clients.received(client).contains(
            Rfc2217Codec::serverResponse(Rfc2217::NotifyModemState, QByteArray(1, char(state))));
    };
    rig.device.setRequestToSend(false);
    rig.device.setDataTerminalReady(false);
    QTRY_VERIFY(told(0x00) || told(0x0B));
    rig.device.setDataTerminalReady(true);
    QTRY_VERIFY(told(Rfc2217::Dsr | Rfc2217::Dcd | 0x0A));

    rig.clients.takeReceived(client);
    rig.clients.send(command(Rfc2217::NotifyModemState, {}), client);
    QTRY_VERIFY(told(Rfc2217::Dsr | Rfc2217::Dcd)); // asked for, it is told without a change

    // An edge stands between the bytes that it stood between: the data before it is held on the
    // cable, and so is the edge.
    rig.clients.send(command(Rfc2217::SetControl, QByteArray(1, char(Rfc2217::DtrOff))), client);
    QTRY_VERIFY(!rig.cable.dtr(NullModem::End::A));
    rig.cable.setDriverQueue(NullModem::End::A, 10);
    rig.clients.send(
        "boot" + command(Rfc2217::SetControl, QByteArray(1, char(Rfc2217::DtrOn))) + "go", client);
    QTRY_VERIFY(rig.atDevice.endsWith("boot"));
    QVERIFY(!rig.cable.dtr(NullModem::End::A));
    rig.cable.setDriverQueue(NullModem::End::A, 0);
    QTRY_VERIFY(rig.cable.dtr(NullModem::End::A));
    QTRY_VERIFY(rig.atDevice.endsWith("bootgo"));

    // A line that does not move holds no command up for ever, and a client's break ends with it.
    rig.cable.setDriverQueue(NullModem::End::A, 10);
    rig.clients.send(
        "x" + command(Rfc2217::SetControl, QByteArray(1, char(Rfc2217::BreakOn))), client);
    QTRY_VERIFY(rig.cable.breakSeenBy(NullModem::End::B).active);
    rig.clients.reset(client);
    QTRY_VERIFY(!rig.cable.breakSeenBy(NullModem::End::B).active);
}

// A line that moves is not a stuck one, however long the data takes: the edge waits for its place.
void TestBridges::commandsWaitForASlowLine()
{
    Rig rig;
    rig.config.protocol = ProtocolMode::Rfc2217Server;
    QVERIFY(rig.start());
    const int client = rig.client();
    rig.cable.setFlowing(false);
    const QByteArray data(180'000, 'x');
    QVERIFY(rig.cable.dtr(NullModem::End::A));
    rig.clients.send(
        data + command(Rfc2217::SetControl, QByteArray(1, char(Rfc2217::DtrOff))), client);
    QTRY_COMPARE(rig.toDevice().bytesIn, data.size());
    // Some thousand bytes at a time, for longer than what makes a line count as stuck.
    QElapsedTimer slow;
    slow.start();
    while (slow.elapsed() < 2 * Rfc2217ServerEnd::kStuckMs) {
        rig.cable.setFlowing(true);
        rig.cable.setFlowing(false);
        QTest::qWait(100);
        QVERIFY2(rig.atDevice.size() < data.size(), "the line is too fast for this");
        QVERIFY2(rig.cable.dtr(NullModem::End::A), "the edge came before the data");
    }
    rig.cable.setFlowing(true);
    QTRY_VERIFY(!rig.cable.dtr(NullModem::End::A));
    QCOMPARE(rig.atDevice.size(), data.size());
}

// Two reasons to hold one server, the full queue and commands that wait: the end of one of them is
// not the end of the other.
void TestBridges::rfc2217FloodIsHeldBack()
{
    Rig rig;
    rig.config.protocol = ProtocolMode::Rfc2217Server;
    rig.config.flow.floodGuardEnabled = false;
    QVERIFY(rig.start());
    const int other = rig.client();
    const int client = rig.client();
    rig.cable.setFlowing(false);
    const QByteArray block(qsizetype{24} * 1024 * 1024, 'x');
    rig.clients.send(block, client);
    QTRY_VERIFY(rig.server.transport()->isReadingHeld());
    rig.clients.reset(other);
    QTRY_COMPARE(rig.server.transport()->peers().size(), 1);
    QVERIFY(rig.server.transport()->isReadingHeld());
    QVERIFY(rig.toDevice().queuedBytes < block.size());
    rig.cable.setFlowing(true);
    QTRY_COMPARE_WITH_TIMEOUT(rig.atDevice.size(), block.size(), 30'000);
    QCOMPARE(rig.toDevice().missing(), 0);
}

// Datagrams that wait for a slow line are frames still, each for itself. Their turn of the event
// loop fills a driver that had room when it began: that is a full line, and not a lost one.
void TestBridges::datagramsStayWhole()
{
    Rig rig;
    Settings udp;
    udp.connMode = connectionMode::UdpServer;
    udp.udpServerPort = 0;
    rig.server.setSettings(udp, LivePort::Origin::Program);
    rig.config.flow.capacityBytes = 3000;
    rig.config.flow.highWaterBytes = 2900;
    rig.config.flow.lowWaterBytes = 1000;
    rig.config.flow.sinkCeilingBytes = 1;
    QVERIFY(rig.start());
    rig.cable.setFlowing(false);
    UdpPeer peer;
    constexpr int kDatagrams = 60;
    constexpr int kSize = 1100; // no multiple fills the queue
    for (int i = 0; i < kDatagrams; ++i)
        QVERIFY(
            peer.sendTo(rig.server.controller().udpLocalPort(), QByteArray(kSize, char('0' + i))));
    QTRY_VERIFY(rig.toDevice().queuedBytes > 0);
    rig.cable.setFlowing(true);
    QTRY_COMPARE(rig.atDevice.size(), kDatagrams * kSize);
    QCOMPARE(rig.toDevice().framesOut, kDatagrams);
    QCOMPARE(rig.toDevice().missing(), 0);
}

// This program at both ends: a device server, and a local pane that uses it.
void TestBridges::rfc2217Both()
{
    Rig server;
    server.config.protocol = ProtocolMode::Rfc2217Server;
    QVERIFY(server.start());
    Rig local;
    local.config.protocol = ProtocolMode::Rfc2217Client;
    Settings remote = local.server.settings();
    remote.connMode = connectionMode::TcpClient;
    remote.targetHost = u"127.0.0.1"_s;
    remote.targetPort = server.server.controller().tcpServerPort();
    local.server.setSettings(remote, LivePort::Origin::Program);
    Settings line = local.serial.settings();
    line.baudRate = 38'400;
    line.parity = 2;
    local.serial.setSettings(line, LivePort::Origin::Program);
    QVERIFY(local.start());
    QTRY_COMPARE(server.cable.lineSettings(NullModem::End::A), "38400 8E1"_ba);
    const QByteArray all = QByteArray::fromHex("00ff0d0a00ffff11");
    local.device.write(all);
    QTRY_COMPARE(server.atDevice, all);
    server.device.write(all);
    QTRY_COMPARE(local.atDevice, all);
    // A change at the local port reaches the remote one.
    line.baudRate = 9600;
    local.serial.setSettings(line, LivePort::Origin::Program);
    QTRY_COMPARE(server.cable.lineSettings(NullModem::End::A), "9600 8E1"_ba);
}

void TestBridges::captureTellsAll()
{
    const QTemporaryDir folder;
    Rig rig;
    rig.config.name = u"Line 1"_s;
    rig.config.logEnabled = true;
    rig.config.logFilePath = folder.filePath(u"missing/capture.txt"_s);
    QVERIFY(rig.start());
    const int client = rig.client();
    rig.clients.send(QByteArray::fromHex("0103"), client);
    QTRY_COMPARE(rig.atDevice.size(), 2);
    QTRY_VERIFY(!rig.link().captureError().isEmpty());
    QCOMPARE(rig.link().state(), BridgeState::Degraded);
    QVERIFY(rig.link().errorText().startsWith(u"Capture stopped: "_s));

    BridgeConfig mended = rig.config;
    mended.logFilePath = folder.filePath(u"capture.txt"_s);
    QVERIFY(rig.bridges.updateLink(0, mended));
    QVERIFY(rig.clients.isOpen(client)); // a capture is no reason to end anything
    rig.clients.send(QByteArray::fromHex("0d"), client);
    rig.device.write("\xFE");
    QTRY_COMPARE(rig.clients.received(client), "\xFE"_ba);
    rig.bridges.removeLink(0);
    QFile file(mended.logFilePath);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    QVERIFY2(text.startsWith("# Bridge \"Line 1\": A is Port 1 ("), text);
    QVERIFY2(text.contains(" A>B FE\n"), text);
    QVERIFY2(text.contains(" B>A 127.0.0.1:") && text.contains(" 0D\n"), text);
}

void TestBridges::portThatIsDestroyed()
{
    Rig rig;
    auto third = std::make_unique<LivePort>(rig.catalog);
    rig.bridges.setPorts({&rig.serial, &rig.server, third.get()});
    QVERIFY(rig.start());
    BridgeConfig other;
    other.portA = 0;
    other.portB = 2;
    other.direction = BridgeDirection::AToB;
    QVERIFY(rig.bridges.addLink(other));
    const int client = rig.client();
    third.reset();
    QCOMPARE(rig.bridges.linkAt(1)->state(), BridgeState::Off);
    rig.bridges.setPorts({&rig.serial, &rig.server});
    QCOMPARE(rig.bridges.linkCount(), 1);
    rig.device.write("still");
    QTRY_COMPARE(rig.clients.received(client), "still"_ba);
}

void TestBridges::disallowedClientsLeave()
{
    Rig rig;
    QVERIFY(rig.start());
    const int client = rig.client();
    BridgeConfig config = rig.config;
    config.allowedPeers = {u"10.0.0.0/8"_s, u"no address"_s};
    QVERIFY(rig.bridges.updateLink(0, config));
    QTRY_VERIFY(!rig.clients.isOpen(client));
    config.allowedPeers += u"127.0.0.0/8"_s;
    config.fanout = FanoutMode::Exclusive;
    QVERIFY(rig.bridges.updateLink(0, config));
    const int owner = rig.client();
    const int second = rig.clients.connectTo(rig.server.controller().tcpServerPort());
    QTRY_VERIFY(!rig.clients.isOpen(second));
    QVERIFY(rig.clients.isOpen(owner));
}

QTEST_GUILESS_MAIN(TestBridges)
#include "tst_bridges.moc"
