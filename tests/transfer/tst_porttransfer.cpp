// Transfers between two live ports, over real transports, and what may happen to them on the way.
#include "transfer/porttransfer.h"

#include "connections/connectioncontroller.h"
#include "connections/systemportcatalog.h"
#include "support/nullmodem.h"
#include "support/simulateddevice.h"
#include "support/tcppeer.h"
#include "terminal/port/portlines.h"

#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray noise(qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    quint32 state = 1;
    for (char& byte : bytes) {
        state = state * 1'664'525 + 1'013'904'223;
        byte = char(state >> 24);
    }
    return bytes;
}

// One end: a port, its transfer, and what both say.
struct End
{
    End()
    {
        QObject::connect(&port, &LivePort::noticed, &port,
            [this](const Notice& notice) { notices += notice.text; });
        QObject::connect(&port, &LivePort::rxTapped, &port,
            [this](const QByteArray& bytes) { tapped += bytes; });
        QObject::connect(&transfer, &PortTransfer::finished, &port, [this](bool complete) {
            ++ended;
            completed = complete;
            summary = transfer.session()->summaryText(transfer.nowMs());
            path = transfer.session()->receivedPath();
        });
    }
    void open(const QString& name)
    {
        Settings settings;
        settings.portName = name;
        port.setSettings(settings, LivePort::Origin::Program);
        port.start(false);
    }

    SystemPortCatalog catalog;
    LivePort port{catalog};
    PortTransfer transfer{port};
    QTemporaryDir folder;
    QStringList notices;
    QByteArray tapped;
    QString summary;
    QString path;
    QString error;
    int ended = 0;
    bool completed = false;
};

// Two ends of a cable, and a file to send.
struct Cable
{
    explicit Cable(qsizetype size = 5000)
        : content(noise(size))
    {
        a.open(cable.portA());
        b.open(cable.portB());
        QFile file(source());
        if (file.open(QIODevice::WriteOnly))
            file.write(content);
    }
    [[nodiscard]] QString source() const { return a.folder.filePath(u"firmware.bin"_s); }
    bool receive(XferProtocol protocol)
    {
        const bool ymodem = xferIsYmodem(protocol);
        return b.transfer.start({protocol, XferReceive},
            ymodem ? b.folder.path() : b.folder.filePath(u"got.bin"_s), {}, &b.error);
    }
    bool send(XferProtocol protocol)
    {
        return a.transfer.start({protocol, XferSend}, source(), {}, &a.error);
    }
    [[nodiscard]] QByteArray received() const
    {
        QFile file(b.path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    NullModem cable;
    QByteArray content;
    End a;
    End b;
};

} // namespace

class TestPortTransfer final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void filesArrive_data();
    void filesArrive();
    void nobodyElseTouchesThePort();
    void cancelReachesTheOtherEnd_data();
    void cancelReachesTheOtherEnd();
    void closingTellsTheOtherEnd();
    void lostConnectionKeepsWhatArrived();
    void blockedLineIsTold();
    void refusals();
    void withOneClientOfSeveral();
    void twoEndsAtOnce();
    void bootLoaderTakesAndGivesAFile();
};

void TestPortTransfer::filesArrive_data()
{
    QTest::addColumn<XferProtocol>("protocol");
    QTest::addColumn<int>("size");
    QTest::newRow("XMODEM") << XferProtocol::Xmodem << 1000;
    QTest::newRow("XMODEM-CRC") << XferProtocol::XmodemCrc << 1024;
    QTest::newRow("XMODEM-1K") << XferProtocol::Xmodem1K << 3000;
    QTest::newRow("YMODEM") << XferProtocol::Ymodem << 1025;
    QTest::newRow("nothing") << XferProtocol::Ymodem << 0;
    QTest::newRow("a megabyte") << XferProtocol::Ymodem << 1'000'000;
}

void TestPortTransfer::filesArrive()
{
    QFETCH(XferProtocol, protocol);
    QFETCH(int, size);
    Cable rig(size);
    QVERIFY(rig.receive(protocol));
    QVERIFY(rig.send(protocol));
    QTRY_COMPARE_WITH_TIMEOUT(rig.b.ended, 1, 30'000);
    QTRY_COMPARE(rig.a.ended, 1);
    QVERIFY2(rig.a.completed && rig.b.completed, qPrintable(rig.a.summary + rig.b.summary));
    if (xferIsYmodem(protocol)) {
        QCOMPARE(rig.received(), rig.content);
        QCOMPARE(QFileInfo(rig.b.path).fileName(), u"firmware.bin"_s);
    } else {
        QVERIFY(rig.received().startsWith(rig.content));
        QVERIFY(rig.received().size() - size < 1024);
    }
    QVERIFY2(rig.a.tapped.isEmpty() && rig.b.tapped.isEmpty(), "nothing of it is anybody else's");
    // The port is a terminal again.
    QVERIFY(rig.a.port.sendBytes("hello"));
    QTRY_COMPARE(rig.b.tapped, "hello"_ba);
}

void TestPortTransfer::nobodyElseTouchesThePort()
{
    Cable rig;
    QVERIFY(rig.receive(XferProtocol::Ymodem));
    LivePort& port = rig.b.port;
    rig.b.notices.clear();
    QVERIFY(!port.sendBytes("x"));
    QVERIFY(!port.sending().sendText(u"x"_s));
    QVERIFY(!port.sending().sendTyped(u"x"_s));
    const QString sending =
        u"A file transfer is using this port. Sending data now would corrupt it."_s;
    QCOMPARE(rig.b.notices, (QStringList{sending, sending, sending}));
    QVERIFY(port.sending().history().entries().isEmpty());
    rig.b.notices.clear();
    port.pause();
    QCOMPARE(port.runState(), RunState::Running);
    port.toggleLine(true);
    port.lines().pressBreak();
    QVERIFY(port.settings().dtrOn);
    const QString lines =
        u"A file transfer is using this port. Changing the control lines would interrupt it."_s;
    QCOMPARE(rig.b.notices,
        (QStringList{u"A file transfer is running; the view cannot be paused."_s, lines, lines}));
    Settings faster = port.settings();
    faster.baudRate = 115'200;
    port.setSettings(faster, LivePort::Origin::Person);
    QCOMPARE(port.controller().serialPort()->baudRate(), 9600);
    rig.b.transfer.cancel();
    QTRY_COMPARE(rig.b.ended, 1);
    QTRY_COMPARE(port.controller().serialPort()->baudRate(), 115'200);
    QTRY_VERIFY(!rig.a.tapped.isEmpty());
}

void TestPortTransfer::cancelReachesTheOtherEnd_data()
{
    QTest::addColumn<bool>("sender");
    QTest::newRow("by the sender") << true;
    QTest::newRow("by the receiver") << false;
}

void TestPortTransfer::cancelReachesTheOtherEnd()
{
    QFETCH(bool, sender);
    Cable rig(20'000'000);
    QVERIFY(rig.receive(XferProtocol::Ymodem) && rig.send(XferProtocol::Ymodem));
    QTRY_VERIFY(rig.b.transfer.session()->progress().bytesDone > 10'000);
    (sender ? rig.a : rig.b).transfer.cancel();
    QTRY_VERIFY(rig.a.ended == 1 && rig.b.ended == 1);
    QVERIFY(!rig.a.completed && !rig.b.completed);
    End& other = sender ? rig.b : rig.a;
    QVERIFY2(other.summary.startsWith(u"Transfer failed: The device cancelled the transfer."_s),
        qPrintable(other.summary));
    // What was cancelled here is gone; what the other end broke off is kept.
    QCOMPARE(
        QDir(rig.b.folder.path()).entryList(QDir::Files | QDir::Hidden).size(), sender ? 1 : 0);
}

void TestPortTransfer::closingTellsTheOtherEnd()
{
    Cable rig(20'000'000);
    QVERIFY(rig.receive(XferProtocol::Ymodem) && rig.send(XferProtocol::Ymodem));
    QTRY_VERIFY(rig.b.transfer.session()->progress().bytesDone > 10'000);
    rig.a.port.stop();
    QVERIFY2(!rig.a.transfer.isActive(), "closing waits for nothing");
    QVERIFY(rig.a.summary.contains(u"The connection was closed"_s));
    QTRY_COMPARE(rig.b.ended, 1);
    QVERIFY2(rig.b.summary.contains(u"The device cancelled"_s), qPrintable(rig.b.summary));
}

void TestPortTransfer::lostConnectionKeepsWhatArrived()
{
    Cable rig(20'000'000);
    QVERIFY(rig.receive(XferProtocol::Ymodem) && rig.send(XferProtocol::Ymodem));
    QTRY_VERIFY(rig.b.transfer.session()->progress().bytesDone > 10'000);
    rig.cable.unplug(NullModem::End::B);
    QTRY_COMPARE(rig.b.ended, 1);
    QVERIFY2(rig.b.summary.contains(u"The connection was lost"_s), qPrintable(rig.b.summary));
    QCOMPARE(
        QDir(rig.b.folder.path()).entryList(QDir::Files), QStringList(u"firmware.bin.partial"_s));
    QVERIFY(!rig.b.port.isLent());
}

// CTS is low, or the peer does not read: a person sees that it is the device, and can go.
void TestPortTransfer::blockedLineIsTold()
{
    Cable rig;
    QVERIFY(rig.send(XferProtocol::Xmodem1K));
    rig.cable.setFlowing(false);
    QVERIFY(rig.a.transfer.blockedMs() == 0);
    rig.b.port.stop();
    // Enough to fill what stands between, as a long line does.
    rig.a.port.writeRaw(QByteArray(100'000, 'x'), false);
    QSignalSpy progressed(&rig.a.transfer, &PortTransfer::progressed);
    QTRY_VERIFY(rig.a.transfer.blockedMs() >= PortTransfer::kBlockedMs);
    QVERIFY(!progressed.isEmpty());
    rig.a.transfer.cancel();
    QTRY_COMPARE_WITH_TIMEOUT(rig.a.ended, 1, 2 * FileTransferSession::kLastAnswerMs);
    rig.cable.setFlowing(true);
}

void TestPortTransfer::refusals()
{
    Cable rig;
    QVERIFY(!rig.send(XferProtocol::YmodemG));
    QVERIFY(rig.a.error.startsWith(u"YMODEM-G does not retransmit"_s));
    rig.a.port.pause();
    QVERIFY(!rig.send(XferProtocol::Ymodem));
    QCOMPARE(rig.a.error, u"The view is paused. Resume it before transferring a file."_s);
    QVERIFY(rig.a.port.start(false));
    rig.a.port.setBridged(BridgeUse{});
    QVERIFY(!rig.send(XferProtocol::Ymodem));
    QVERIFY(rig.a.error.contains(u"bridge link"_s));
    rig.a.port.setBridged(std::nullopt);
    QVERIFY(!rig.a.transfer.start(
        {XferProtocol::Ymodem, XferSend}, u"/nowhere/file"_s, {}, &rig.a.error));
    QVERIFY(rig.a.error.startsWith(u"Could not open "_s));
    QVERIFY(rig.send(XferProtocol::Ymodem));
    QVERIFY(!rig.send(XferProtocol::Ymodem));
    QCOMPARE(rig.a.error, u"A file transfer is already running on this port."_s);
    rig.b.port.stop();
    QVERIFY(!rig.receive(XferProtocol::Ymodem));
    QCOMPARE(rig.b.error, u"The connection is not open."_s);
    Settings udp;
    udp.connMode = connectionMode::UdpClient;
    udp.udpLocalPort = 0;
    rig.b.port.setSettings(udp, LivePort::Origin::Program);
    QVERIFY(rig.b.port.start(false));
    QVERIFY(!rig.receive(XferProtocol::Ymodem));
    QVERIFY(rig.b.error.contains(u"UDP cannot provide one"_s));
}

// Its bytes are the transfer's, those of the others are not; when it leaves, it is over.
void TestPortTransfer::withOneClientOfSeveral()
{
    End end;
    Settings settings;
    settings.connMode = connectionMode::TcpServer;
    settings.targetPort = 0;
    end.port.setSettings(settings, LivePort::Origin::Program);
    QVERIFY(end.port.start(false));
    const auto receive = [&](const QString& peer) {
        return end.transfer.start(
            {XferProtocol::Ymodem, XferReceive}, end.folder.path(), peer, &end.error);
    };
    QVERIFY(!receive({}));
    QCOMPARE(end.error, u"No client is connected yet."_s);
    TcpPeer peer;
    for (int clients = 1; clients <= 2; ++clients) {
        peer.connectTo(end.port.controller().tcpServerPort());
        QTRY_COMPARE(end.transfer.peers().size(), clients);
    }
    QVERIFY(!receive({}));
    QCOMPARE(end.error, u"Several clients are connected. Select the one to transfer with."_s);
    QVERIFY(!receive(u"127.0.0.1:1"_s));
    QCOMPARE(end.error, u"The selected client is no longer connected."_s);
    QVERIFY(receive(end.transfer.peers().at(1)));
    QTRY_COMPARE(peer.received(1), "C"_ba);
    QCOMPARE(peer.received(0), QByteArray());
    peer.send("from the other"_ba, 0);
    peer.send("noise"_ba, 1);
    QTRY_COMPARE(end.tapped, "from the other"_ba);
    peer.close(1);
    QTRY_COMPARE(end.ended, 1);
    QVERIFY(end.summary.contains(u"The connection was lost"_s));
}

void TestPortTransfer::twoEndsAtOnce()
{
    Cable one(300'000);
    Cable other(300'000);
    for (Cable* rig : {&one, &other})
        QVERIFY(rig->receive(XferProtocol::Xmodem1K) && rig->send(XferProtocol::Xmodem1K));
    for (Cable* rig : {&one, &other}) {
        QTRY_COMPARE_WITH_TIMEOUT(rig->b.ended, 1, 30'000);
        QVERIFY(rig->received().startsWith(rig->content));
    }
}

// A device as people have it: it speaks in between, and is a console before and after.
void TestPortTransfer::bootLoaderTakesAndGivesAFile()
{
    SimulatedDevice device;
    QVERIFY2(device.isValid(), qPrintable(device.errorString()));
    Cable rig(20'000);
    rig.a.port.stop();
    rig.a.open(device.portName());
    QTRY_VERIFY(rig.a.tapped.contains("AT+HELP"));
    for (const auto& [name, protocol] : {std::pair{"xmodem"_ba, XferProtocol::Xmodem1K},
             std::pair{"ymodem"_ba, XferProtocol::Ymodem}}) {
        rig.a.tapped.clear();
        QVERIFY(rig.a.port.sendBytes("AT+BOOT=" + name + "\r"));
        QTRY_VERIFY(rig.a.tapped.contains("send the file"));
        QVERIFY2(rig.send(protocol), qPrintable(rig.a.error));
        rig.a.ended = 0;
        QTRY_COMPARE(rig.a.ended, 1);
        QVERIFY2(rig.a.completed, qPrintable(rig.a.summary));
        // XMODEM pads to whole blocks.
        const QByteArray expected = protocol == XferProtocol::Ymodem
                                        ? "+BOOT: 20000 bytes, CRC-32 "_ba
                                        : "+BOOT: 20480 bytes, CRC-32 "_ba;
        QTRY_VERIFY2(rig.a.tapped.contains(expected), rig.a.tapped.constData());
    }
    rig.a.tapped.clear();
    QVERIFY(rig.a.port.sendBytes("AT+READ=ymodem\r"));
    QTRY_VERIFY(rig.a.tapped.contains("receive the file"));
    QVERIFY(rig.a.transfer.start({XferProtocol::Ymodem, XferReceive}, rig.b.folder.path(), {}));
    rig.a.ended = 0;
    QTRY_COMPARE(rig.a.ended, 1);
    rig.b.path = rig.a.path;
    QCOMPARE(rig.received(), rig.content);
    QCOMPARE(QFileInfo(rig.a.path).fileName(), u"image.bin"_s);
}

QTEST_GUILESS_MAIN(TestPortTransfer)
#include "tst_porttransfer.moc"
