#include "connections/connectioncontroller.h"
#include "support/tcppeer.h"
#include "support/udppeer.h"

#include <QSignalSpy>
#include <QTcpSocket>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using Mode = connectionMode;

// What each transport does is tested with its link, and that every mode reaches its link with the
// writer and the supervisor of a pane; here is what the controller adds.
class TestConnectionController final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void modesWithoutATransportAreClosed()
    {
        for (int mode = 0; mode <= 9; ++mode) {
            const auto value = static_cast<Mode>(mode);
            QCOMPARE(ConnectionController::carries(value), mode != 3 && mode < 8);
            ConnectionController controller;
            controller.bindUdp(0);
            QCOMPARE(controller.isOpen(value), connectionModeIsUdp(value));
            QVERIFY(controller.readAvailable(value).isEmpty());
            QCOMPARE(controller.pendingWriteBytes(value), 0);
            QSignalSpy ended(&controller, &ConnectionController::tcpClientDisconnected);
            controller.closeAll(value, {});
            QVERIFY(!controller.isOpen(value) && ended.isEmpty());
        }
    }

    void anotherModeClosesTheFormerInGoodOrder()
    {
        TcpPeer peer;
        QVERIFY(peer.listen());
        ConnectionController controller;
        QSignalSpy closing(&controller, &ConnectionController::closing);
        QSignalSpy ended(&controller, &ConnectionController::tcpClientDisconnected);
        QSignalSpy written(&controller, &ConnectionController::bytesWritten);
        const ReadHold hold = controller.holdReading();
        controller.connectTcpClient(u"127.0.0.1"_s, peer.port());
        QTRY_VERIFY(controller.isOpen(Mode::TcpClient) && peer.isOpen());
        connect(&controller, &ConnectionController::closing, this,
            [&] { QVERIFY(controller.sendTcpClient(QByteArray(300'000, 'x'))); });
        controller.bindUdp(0);
        QCOMPARE(closing.size() + ended.size(), 2);
        QVERIFY(controller.isOpen(Mode::UdpClient) && !controller.isOpen(Mode::TcpClient));
        QVERIFY(controller.transport()->isReadingHeld());
        QCOMPARE(controller.pendingWriteBytes(Mode::TcpClient), 0);
        // The last words of the former one still leave, and are counted.
        QTRY_COMPARE(peer.received().size(), 300'000);
        QTRY_VERIFY(!peer.isOpen());
        qint64 sum = 0;
        for (const auto& each : written)
            sum += each.value(0).toLongLong();
        QCOMPARE(sum, 300'000);
    }

    void aServerKeepsItsRulesForTheNextListening()
    {
        ConnectionController controller;
        QVERIFY(!controller.sendTcpServerTo({}, "nobody"_ba));
        QSignalSpy arrived(&controller, &ConnectionController::peerArrived);
        QSignalSpy lost(&controller, &ConnectionController::peerLost);
        QSignalSpy status(&controller, &ConnectionController::statusMessage);
        controller.listenTcpServer(0, QHostAddress(QHostAddress::LocalHost));
        const quint16 port = controller.tcpServerPort();
        QCOMPARE(controller.tcpServerAddressString(), u"127.0.0.1:%1"_s.arg(port));
        TcpPeer peer;
        peer.connectTo(port);
        QTRY_COMPARE(arrived.size(), 1);
        QVERIFY(controller.sendTcpServer("b"_ba, 0));
        QVERIFY(!controller.sendTcpServer("d"_ba, 1));
        QTRY_COMPARE(peer.received(), "b"_ba);

        controller.setReadThrottled(Mode::TcpServer, true);
        peer.send("late"_ba);
        controller.closeAll(Mode::TcpServer, {});
        QCOMPARE(lost.size(), 1);
        controller.setAllowedPeers({u"10.0.0.0/8"_s});
        controller.listenTcpServer(port, QHostAddress(QHostAddress::Any));
        QCOMPARE(controller.tcpServerAddressString(), u"*:%1"_s.arg(port));
        status.clear();
        peer.connectTo(port);
        QTRY_COMPARE(status.size(), 1);
        QVERIFY(status[0][0].toString().startsWith("Refused 127.0.0.1:"_L1));
    }

    void udpServesItsModes()
    {
        UdpPeer peer;
        ConnectionController controller;
        QSignalSpy ready(&controller, &ConnectionController::udpReadyRead);
        QSignalSpy peers(&controller, &ConnectionController::udpPeersChanged);
        QSignalSpy written(&controller, &ConnectionController::bytesWritten);
        controller.bindUdp(0);
        QVERIFY(peer.sendTo(controller.udpLocalPort(), "ping"_ba));
        QTRY_VERIFY(!ready.isEmpty());
        const auto datagrams = controller.readUdpDatagrams();
        QCOMPARE(datagrams.size(), 1);
        QCOMPARE(datagrams.at(0).peerKey,
            ConnectionController::udpPeerKey(QHostAddress(QHostAddress::LocalHost), peer.port()));
        QCOMPARE(controller.udpMessageFor(0), "ping"_ba);
        QVERIFY(controller.udpMessageFor(1).isEmpty());
        QVERIFY(controller.sendUdpToLastSender("pong"_ba));
        QTRY_COMPARE(peer.receivedBytes(), "pong"_ba);
        QCOMPARE(written.value(0).value(0).toLongLong(), 4);
        controller.clearUdpPeers();
        QCOMPARE(peers.size(), 2);
        QVERIFY(controller.udpPeers().isEmpty());
    }

    void aThrottleHoldsForLaterSocketsAndAnnouncesWhatWaited()
    {
        TcpPeer peer;
        QVERIFY(peer.listen());
        ConnectionController controller;
        QSignalSpy ready(&controller, &ConnectionController::readyRead);
        controller.setReadThrottled(Mode::TcpClient, true);
        controller.connectTcpClient(u"127.0.0.1"_s, peer.port());
        QVERIFY(controller.sendTcpClient("early"_ba));
        QCOMPARE(controller.pendingWriteBytes(Mode::TcpClient), 5);
        QTRY_VERIFY(peer.isOpen());
        peer.send(QByteArray(100'000, 'x'));
        auto* socket = controller.transport()->findChild<QTcpSocket*>();
        QTRY_COMPARE(socket->bytesAvailable(), 4096);
        QVERIFY(controller.readAvailable(Mode::TcpClient).isEmpty());

        ready.clear();
        controller.setReadThrottled(Mode::TcpClient, true);
        QVERIFY(ready.isEmpty());
        controller.setReadThrottled(Mode::TcpClient, false);
        QCOMPARE(ready.size(), 1);
        controller.setReadThrottled(Mode::TcpClient, false);
        QCOMPARE(ready.size(), 1);
        QByteArray received;
        QTRY_COMPARE((received += controller.readAvailable(Mode::TcpClient)).size(), 100'000);
    }
};

QTEST_GUILESS_MAIN(TestConnectionController)
#include "tst_connectioncontroller.moc"
