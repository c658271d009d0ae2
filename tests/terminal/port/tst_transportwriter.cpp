#include "terminal/port/transportwriter.h"

#include "connections/connectioncontroller.h"
#include "support/nullmodem.h"
#include "support/tcppeer.h"
#include "support/udppeer.h"
#include "terminal/format/sendmodes.h"
#include "terminal/port/displaysinkstub.h"
#include "terminal/port/receivepipeline.h"
#include "terminal/port/sendpipeline.h"

#include <QSignalSpy>
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

} // namespace

class TestTransportWriter final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void serialLine();
    void otherModesSendNothing();
    void tcpConnectsAndKeepsTheMessage();
    void udpClientsFirstMessageArrives();
    void udpServerAnswersPeers();
    void tcpServerSendsToAllOrToOne();

private:
    // The sending half of a pane on a real controller.
    struct Bench
    {
        Bench()
            : writer(controller, settings)
            , receive(sink)
            , send(writer, receive)
        {
            settings.targetHost = u"127.0.0.1"_s;
            settings.udpServerPort = freeUdpPort();
            settings.udpLocalPort = freeUdpPort();
        }
        // The pane reads datagrams as they come.
        void readDatagrams()
        {
            QObject::connect(&controller, &ConnectionController::udpReadyRead, &receive,
                [this] { controller.readUdpDatagrams(); });
        }

        Settings settings;
        ConnectionController controller;
        TransportWriter writer;
        StringSink sink;
        ReceivePipeline receive;
        SendPipeline send;
        FormatSetting format;
    };
};

void TestTransportWriter::serialLine()
{
    NullModem cable;
    QVERIFY2(cable.isValid(), qPrintable(cable.errorString()));
    QSerialPort device(cable.portB());
    QVERIFY2(device.open(QIODevice::ReadWrite), qPrintable(device.errorString()));
    Bench bench;
    bench.settings.portName = u"/nowhere/ttyX"_s;
    QVERIFY(!bench.send.sendText(u"lost"_s));
    bench.settings.portName = cable.portA();
    QCOMPARE(bench.writer.writeRaw("x", UdpTargetMode::ConfiguredRemote, {}), 0);
    QVERIFY2(!bench.writer.isOpen(), "raw bytes open nothing");

    bench.format.txLineEndingMode = int(LineEndingMode::CrLf);
    bench.format.sendChecksum = int(ChecksumMode::Crc16Modbus);
    bench.send.setFormatSetting(bench.format);
    QVERIFY(bench.send.sendText(u"\u00E9"_s));
    QCOMPARE(bench.send.sentBytes(), 6);
    bench.format.sendMsgFormat = int(MessageFormat::Hexadecimal);
    bench.format.sendChecksum = int(ChecksumMode::None);
    bench.send.setFormatSetting(bench.format);
    QVERIFY(bench.send.sendText(u"00 41fF1 // no byte"_s));
    QCOMPARE(bench.writer.writeRaw("x", UdpTargetMode::ConfiguredRemote, {}), 1);
    QCOMPARE(bench.writer.writeRaw("", UdpTargetMode::ConfiguredRemote, {}), 0);
    QVERIFY(!bench.writer.sendMessage(""));
    QTRY_COMPARE(device.peek(100).toHex(' '), "c3 a9 0d 0a 68 d7 00 41 ff 10 78"_ba);
}

void TestTransportWriter::tcpConnectsAndKeepsTheMessage()
{
    TcpPeer peer;
    QVERIFY(peer.listen());
    Bench bench;
    bench.settings.connMode = connectionMode::TcpClient;
    bench.settings.targetPort = peer.port();
    QVERIFY(bench.send.sendText(u"first "_s));
    QVERIFY2(!bench.writer.isOpen(), "still connecting");
    QCOMPARE(bench.send.writeRaw("raw", false, UdpTargetMode::ConfiguredRemote, {}), 0);
    QVERIFY(bench.send.sendText(u"second"_s));
    QTRY_COMPARE(peer.received(), QByteArray("first second"));
    QVERIFY(bench.writer.isOpen());
    QCOMPARE(bench.send.writeRaw("!", false, UdpTargetMode::ConfiguredRemote, {}), 1);
    QTRY_COMPARE(peer.received(), QByteArray("first second!"));
}

void TestTransportWriter::udpClientsFirstMessageArrives()
{
    UdpPeer peer;
    Bench bench;
    bench.settings.connMode = connectionMode::UdpClient;
    bench.settings.targetPort = peer.port();
    QVERIFY(bench.send.sendText(u"first"_s));
    QTRY_COMPARE(peer.received().size(), 1);
    QCOMPARE(peer.received().at(0).payload, QByteArray("first"));
    QCOMPARE(peer.received().at(0).senderPort, bench.settings.udpLocalPort);
}

void TestTransportWriter::udpServerAnswersPeers()
{
    UdpPeer first;
    UdpPeer second;
    Bench bench;
    bench.readDatagrams();
    bench.settings.connMode = connectionMode::UdpServer;
    QSignalSpy status(&bench.controller, &ConnectionController::statusMessage);
    QVERIFY(!bench.send.sendText(u"anybody?"_s));
    QCOMPARE(status.value(0).value(0).toString(), u"No UDP peer to reply to yet"_s);
    // The first attempt has bound the port, so that they can be heard.
    first.sendTo(bench.settings.udpServerPort, "a");
    QTRY_COMPARE(bench.controller.udpPeers().size(), 1);
    second.sendTo(bench.settings.udpServerPort, "b");
    QTRY_COMPARE(bench.controller.udpPeers().size(), 2);

    QVERIFY(bench.send.sendText(u"to the last"_s));
    QTRY_COMPARE(second.receivedBytes(), QByteArray("to the last"));
    const QString firstKey = u"127.0.0.1:%1"_s.arg(first.port());
    bench.writer.setSelectedPeer(firstKey);
    QVERIFY(bench.send.sendText(u"to the chosen"_s));
    QTRY_COMPARE(first.receivedBytes(), QByteArray("to the chosen"));
    bench.writer.setSelectedPeer({});
    bench.writer.setSendToAllUdpPeers(true);
    QVERIFY(bench.send.sendText(u"!"_s));
    QTRY_COMPARE(second.receivedBytes(), QByteArray("to the last!"));
    bench.writer.setSelectedPeer(u"127.0.0.1:1"_s);
    QVERIFY2(!bench.send.sendText(u"to a stranger"_s), "nobody else gets it");

    QCOMPARE(bench.send.writeRaw("<all>", false, UdpTargetMode::Broadcast, {}), 5);
    QCOMPARE(bench.send.writeRaw("<key>", false, UdpTargetMode::Broadcast, firstKey), 5);
    QTRY_COMPARE(first.receivedBytes(), QByteArray("to the chosen!<all><key>"));
    QTRY_COMPARE(second.receivedBytes(), QByteArray("to the last!<all>"));
}

void TestTransportWriter::tcpServerSendsToAllOrToOne()
{
    TcpPeer peer;
    Bench bench;
    bench.settings.connMode = connectionMode::TcpServer;
    QSignalSpy status(&bench.controller, &ConnectionController::statusMessage);
    QVERIFY(!bench.send.sendText(u"anybody?"_s));
    bench.controller.listenTcpServer(0, QHostAddress(QHostAddress::LocalHost));
    QVERIFY(!bench.send.sendText(u"anybody?"_s));
    QCOMPARE(status.size(), 2);
    QCOMPARE(status[1][0].toString(), u"No TCP client is connected: nothing was sent"_s);
    QCOMPARE(bench.send.writeRaw("raw", false, UdpTargetMode::Broadcast, {}), 0);
    QCOMPARE(status.size(), 2);

    for (const int clients : {1, 2}) {
        peer.connectTo(bench.controller.tcpServerPort());
        QTRY_COMPARE(bench.controller.tcpServerClients().size(), clients);
    }
    const QString second = bench.controller.tcpServerClients().at(1);
    QVERIFY(bench.send.sendText(u"all "_s));
    bench.writer.setSelectedPeer(second);
    QVERIFY(bench.send.sendText(u"one "_s));
    QCOMPARE(bench.send.writeRaw("<all>", false, UdpTargetMode::LastSender, {}), 5);
    QCOMPARE(bench.send.writeRaw("<key>", false, UdpTargetMode::LastSender, second), 5);
    QTRY_COMPARE(peer.received(0), "all <all>"_ba);
    QTRY_COMPARE(peer.received(1), "all one <all><key>"_ba);
    QCOMPARE(bench.send.sentBytes(), 18);

    peer.close(1);
    QTRY_COMPARE(bench.controller.tcpServerClients().size(), 1);
    QVERIFY2(!bench.send.sendText(u"for the second only"_s), "nobody else gets it");
    QVERIFY(status.last()[0].toString().startsWith("The chosen TCP client is gone"_L1));
    QCOMPARE(bench.send.writeRaw("x", false, UdpTargetMode::LastSender, second), 0);
}

void TestTransportWriter::otherModesSendNothing()
{
    TcpPeer peer;
    QVERIFY(peer.listen());
    for (const auto mode : {connectionMode::NoTransport, connectionMode::RemoteSerialCloudRelay}) {
        Bench bench;
        bench.settings.connMode = mode;
        bench.settings.targetPort = peer.port();
        QVERIFY(!bench.writer.sendMessage("x"));
        QCOMPARE(bench.writer.writeRaw("x", UdpTargetMode::ConfiguredRemote, {}), 0);
        QVERIFY(!bench.controller.hasTcpClient());
    }
}

QTEST_GUILESS_MAIN(TestTransportWriter)
#include "tst_transportwriter.moc"
