// A pane and its remote serial link against a server that speaks RFC 2217, one that speaks only
// Telnet and one that speaks neither.
#include "connections/connectioncontroller.h"
#include "connections/rfc2217/rfc2217serversession.h"
#include "connections/rfc2217/rfc2217values.h"
#include "support/tcppeer.h"
#include "terminal/pane/panebench.h"
#include "terminal/pane/sendeditor.h"
#include "terminal/port/remotelinedriver.h"
#include "terminal/port/remoteseriallink.h"

#include <QPlainTextEdit>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using State = RemoteSerialLink::State;

namespace {

const QColor green(Qt::green);
const QColor amber(240, 160, 32);

// A device server: the serial port behind it is this struct.
struct DeviceServer
{
    TcpPeer peer;
    Rfc2217ServerSession session;
    Settings settings;
    QByteArray line; // what reached the serial line
    QList<Rfc2217ServerSession::ControlAction> actions;
    bool answers = true;
    int baudOfFirstByte = 0;

    DeviceServer()
    {
        settings.baudRate = 300;
        peer.setAnswer([this](const QByteArray& bytes) {
            const auto outcome = session.receive(bytes, settings);
            settings = Rfc2217ServerSession::changed(settings, outcome.settingsChanges);
            if (line.isEmpty() && !outcome.data.isEmpty())
                baudOfFirstByte = settings.baudRate;
            line += outcome.data;
            actions += outcome.controlActions;
            return answers ? outcome.reply : QByteArray();
        });
        QObject::connect(&peer, &TcpPeer::connected, &peer,
            [this](int connection) { peer.send(session.begin(), connection); });
        peer.listen();
    }
    [[nodiscard]] bool saw(Rfc2217ServerSession::Line which, bool on) const
    {
        return actions.contains(Rfc2217ServerSession::ControlAction{which, on});
    }
};

Settings remoteSettings(quint16 port)
{
    Settings settings;
    settings.connMode = connectionMode::RemoteSerialRfc2217;
    settings.targetHost = u"127.0.0.1"_s;
    settings.targetPort = port;
    settings.useRemoteSerialConfig = false;
    settings.baudRate = 57600;
    settings.refreshTexts();
    return settings;
}

// The link alone, with a controller and somebody who reads.
struct LinkBench
{
    Settings settings;
    ConnectionController controller;
    RemoteSerialLink link{controller, settings};
    QByteArray payload;
    QSignalSpy told{&link, &RemoteSerialLink::statusMessage};

    explicit LinkBench(quint16 port)
        : settings(remoteSettings(port))
    {
        QObject::connect(&controller, &ConnectionController::readyRead, &link,
            [this] { payload += link.receive(controller.readAvailable(settings.connMode)); });
        connectToServer();
    }
    void connectToServer()
    {
        controller.connectTcpClient(settings.targetHost, quint16(settings.targetPort));
    }
};

struct PaneBench : ShownPane
{
    DeviceServer server;
    QSignalSpy received{&pane.port(), &LivePort::rxTapped};

    PaneBench() { pane.setSettings(remoteSettings(server.peer.port())); }
    // Opens, and waits until the pane's settings have arrived.
    bool open()
    {
        return pane.start({}, true) && QTest::qWaitFor([this] {
            return server.settings.baudRate == 57600
                   && server.saw(Rfc2217ServerSession::Line::Rts, true);
        });
    }
    void click(const char* name) const { QTest::mouseClick(cell(name), Qt::LeftButton); }
    [[nodiscard]] QByteArray payload() const
    {
        QByteArray bytes;
        for (const auto& chunk : received)
            bytes += chunk.first().toByteArray();
        return bytes;
    }
};

} // namespace

class TestRemoteSerialLink : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void fallsBack();
    void waitingPayloadIsLostWithItsConnection_data();
    void waitingPayloadIsLostWithItsConnection();
    void beginsAnew();
    void throttledRestIsReadByItsOwnSession();
    void paneBringsItsSettings();
    void paneAsksForLines();
    void paneSendsBreaks();
    void paneLeavesTheRemoteAsItIs();
    void refusedComPortControlIsTold();
    void heldReadingStopsTheClockOfTheNegotiation();
    void firstMessageIsEscaped();
    void pausedPaneGoesOnTalking();
};

void TestRemoteSerialLink::fallsBack()
{
    TcpPeer peer;
    QVERIFY(peer.listen());
    peer.setGreeting("login: ");
    LinkBench bench(peer.port());
    QTRY_COMPARE(bench.payload, "login: "_ba);
    QVERIFY(bench.told.isEmpty());
    QVERIFY(bench.link.sendPayload("a\xff"_ba)); // while nobody knows what it is to become
    QTRY_VERIFY(!peer.received().isEmpty());
    peer.takeReceived();
    bench.link.setNegotiationTimeout(std::chrono::milliseconds(0));
    QTRY_COMPARE(bench.link.state(), State::TransparentTcp);
    QCOMPARE(bench.told.size(), 1);
    // Takes neither settings nor breaks.
    bench.link.pushSettings(bench.settings);
    QVERIFY(!bench.link.sendBreak(true));
    QVERIFY(bench.link.sendPayload("\xff end"_ba));
    QTRY_COMPARE(peer.received(), "a\xff\xff end"_ba);
}

void TestRemoteSerialLink::waitingPayloadIsLostWithItsConnection_data()
{
    QTest::addColumn<bool>("listening");
    QTest::newRow("refused by the host") << false;
    QTest::newRow("ended while negotiating") << true;
}

void TestRemoteSerialLink::waitingPayloadIsLostWithItsConnection()
{
    QFETCH(bool, listening);
    TcpPeer peer;
    QVERIFY(peer.listen());
    if (!listening)
        peer.stopListening();
    LinkBench bench(peer.port());
    QVERIFY(bench.link.sendPayload("lost!"_ba));
    QVERIFY(!bench.link.sendPayload(QByteArray(RemoteSerialLink::kMaxWaitingBytes, 'x')));
    if (listening) {
        QTRY_COMPARE(peer.openCount(), 1);
        peer.reset();
    }
    QTRY_VERIFY(!bench.controller.hasTcpClient());
    QTRY_COMPARE(bench.told.size(), 2);
    QVERIFY(bench.told.last().first().toString().startsWith(u"5 bytes were not sent"_s));
    QVERIFY2(!bench.link.sendPayload("x"_ba), "nothing to send it over");
}

void TestRemoteSerialLink::beginsAnew()
{
    DeviceServer server;
    LinkBench bench(server.peer.port());
    QSignalSpy summary(&bench.link, &RemoteSerialLink::summaryChanged);
    QTRY_VERIFY(bench.link.confirmed(SerialLine::Dtr).has_value());
    QVERIFY(!summary.isEmpty());
    server.peer.reset();
    QTRY_COMPARE(bench.link.state(), State::Negotiating);
    QVERIFY(!bench.link.confirmed(SerialLine::Dtr).has_value());
    QCOMPARE(summary.last().first().toString(), QString());
    server.settings.baudRate = 300;
    bench.connectToServer();
    QTRY_COMPARE(server.settings.baudRate, 57600);
    QTRY_COMPARE(bench.link.confirmed(SerialLine::Dtr), std::optional(true));
    QVERIFY(bench.payload.isEmpty());
}

void TestRemoteSerialLink::throttledRestIsReadByItsOwnSession()
{
    TcpPeer peer;
    QVERIFY(peer.listen());
    LinkBench bench(peer.port());
    bench.link.setNegotiationTimeout(std::chrono::milliseconds(0));
    QTRY_COMPARE(bench.link.state(), State::TransparentTcp);
    bench.controller.setReadThrottled(bench.settings.connMode, true);
    peer.send("\xff\xff\xff"_ba);
    peer.close();
    QTRY_COMPARE(bench.link.state(), State::Negotiating);
    QCOMPARE(bench.payload, "\xff\xff\xff"_ba);
    QVERIFY(bench.controller.isReadThrottled());
}

void TestRemoteSerialLink::paneBringsItsSettings()
{
    PaneBench bench;
    QVERIFY(bench.open());
    QVERIFY(bench.wasTold(u"The remote port accepted serial parameter control."_s));
    Settings settings = bench.pane.settings();
    settings.baudRate = 9600;
    settings.parity = 2;
    settings.refreshTexts();
    bench.pane.setSettings(settings);
    QTRY_COMPARE(bench.server.settings.parity, 2);
    QCOMPARE(bench.server.settings.baudRate, 9600);
    QTRY_VERIFY(bench.wasTold(u"The remote port is now at 9600 baud."_s));

    bench.pane.sendBytes(QByteArray::fromRawData("\xff\x00\xff\xffz", 5));
    QTRY_COMPARE(bench.server.line, QByteArray::fromRawData("\xff\x00\xff\xffz", 5));
    QCOMPARE(bench.pane.sentBytes(), 5);
    bench.server.peer.send(Rfc2217Codec::encodePayload("a\xff\xff"
                                                       "b"_ba));
    QTRY_COMPARE(bench.payload(), "a\xff\xff"
                                  "b"_ba);
    QCOMPARE(bench.pane.receivedBytes(), 4);
}

void TestRemoteSerialLink::paneAsksForLines()
{
    PaneBench bench;
    QVERIFY(bench.open());
    QTRY_COMPARE(bench.lamp("dtrLed").color(), green);
    QVERIFY(bench.lamp("dtrLed").isOn());
    bench.server.peer.send(
        bench.server.session.modemStateNotification(Rfc2217::Cts | Rfc2217::Dcd));
    QTRY_VERIFY(bench.lamp("ctsLed").isOn() && bench.lamp("dcdLed").isOn());
    QCOMPARE(bench.pane.modemState(), (ModemLines{true, false, true, false}));

    bench.server.answers = false;
    bench.click("dtrLedCell");
    QVERIFY(bench.wasTold(u"Asked the remote port for DTR low; the lamp turns green when the "
                          "server confirms it."_s));
    QVERIFY(!bench.lamp("dtrLed").isOn());
    QCOMPARE(bench.lamp("dtrLed").color(), QColor(144, 144, 144));
    bench.click("dtrLedCell");
    QCOMPARE(bench.lamp("dtrLed").color(), amber);
    QTRY_VERIFY(bench.server.saw(Rfc2217ServerSession::Line::Dtr, false));
    bench.server.peer.send(
        Rfc2217Codec::serverResponse(Rfc2217::SetControl, QByteArray(1, char(Rfc2217::DtrOn))));
    QTRY_COMPARE(bench.lamp("dtrLed").color(), green);
}

void TestRemoteSerialLink::paneSendsBreaks()
{
    PaneBench bench;
    bench.click("txLedCell");
    QVERIFY(bench.wasTold(u"Could not send Break: the connection is not open."_s));
    QVERIFY(bench.open());
    bench.click("txLedCell");
    QVERIFY(bench.wasTold(u"Sent Break to the remote port; it is released when you let go."_s));
    QTRY_VERIFY(bench.server.saw(Rfc2217ServerSession::Line::Break, true));
    QVERIFY(!bench.server.saw(Rfc2217ServerSession::Line::Break, false));
    QTRY_VERIFY(bench.server.saw(Rfc2217ServerSession::Line::Break, false));
}

void TestRemoteSerialLink::paneLeavesTheRemoteAsItIs()
{
    PaneBench bench;
    Settings settings = bench.pane.settings();
    settings.useRemoteSerialConfig = true;
    bench.pane.setSettings(settings);
    bench.server.settings.dtrOn = false;
    QVERIFY(bench.pane.start({}, true));
    QTRY_VERIFY(bench.wasTold(u"The remote port is now at 300 baud."_s));
    QTRY_COMPARE(bench.lamp("dtrLed").color(), green);
    QVERIFY(!bench.lamp("dtrLed").isOn()); // as the remote has it
    for (const char* name : {"rtsLedCell", "dtrLedCell", "txLedCell"}) {
        bench.told.clear();
        bench.click(name);
        QVERIFY(bench.wasTold(u"The remote port is left under its own configuration. Clear \"Keep "
                              "the remote port's own config\" to drive RTS, DTR and Break from "
                              "here."_s));
    }
    QCOMPARE(bench.pane.findChild<QWidget*>(u"txLedCell"_s)->toolTip(),
        u"Lights while data is being sent or received. Clear \"Keep the remote port's own config\" "
        "to drive RTS, DTR and Break from here."_s);
    QVERIFY(bench.server.actions.isEmpty());
}

void TestRemoteSerialLink::refusedComPortControlIsTold()
{
    TcpPeer peer;
    QVERIFY(peer.listen());
    LinkBench bench(peer.port());
    RemoteLineDriver driver(bench.link);
    // Not asked yet is not refused.
    const auto told = [&]() -> QString {
        return driver.requested(SerialLine::Rts, bench.settings).text + driver.setBreak(true).text;
    };
    QCOMPARE(told(),
        u"The connection is not open; the remote port is asked for RTS high when it is."
        "Could not send Break: the connection is not open."_s);
    QTRY_VERIFY(bench.link.isConnected());
    QCOMPARE(told(),
        u"The remote port has not answered yet; it is asked for RTS high as soon as it "
        "does.The remote port has not answered yet; Break cannot be sent before it "
        "does."_s);
    bench.link.setNegotiationTimeout(std::chrono::milliseconds(0));
    QTRY_COMPARE(bench.link.state(), State::TransparentTcp);
    const LineDriver::Answer rts = driver.requested(SerialLine::Rts, bench.settings);
    QCOMPARE(rts.text, u"The remote peer did not accept RFC 2217 com-port control, so RTS cannot "
                       "be set from here."_s);
    QCOMPARE(rts.timeoutMs, 6000);
    const LineDriver::Answer broken = driver.setBreak(true);
    QVERIFY(!broken.done);
    QCOMPARE(broken.text, u"The remote peer did not accept RFC 2217 com-port control, so Break "
                          "cannot be sent."_s);
}

// While a bridge or a full view holds the reading back, the answer of the server waits unread.
void TestRemoteSerialLink::heldReadingStopsTheClockOfTheNegotiation()
{
    PaneBench bench;
    ConnectionController& controller = bench.pane.port().controller();
    controller.setReadThrottled(connectionMode::RemoteSerialRfc2217, true);
    QSignalSpy told(&bench.pane, &SerialPortWidget::statusMessage);
    QVERIFY(bench.pane.start({}, true));
    QTRY_VERIFY(bench.pane.isOpen());
    QTest::qWait(Rfc2217ClientSession::negotiationTimeoutMs + 200);
    controller.setReadThrottled(connectionMode::RemoteSerialRfc2217, false);
    QTRY_COMPARE(bench.server.settings.baudRate, 57600);
    QVERIFY(!bench.wasTold(u"The remote is not an RFC 2217 server; continuing as transparent TCP. "
                           "The handshake bytes may have reached the remote serial line."_s));
}

void TestRemoteSerialLink::firstMessageIsEscaped()
{
    PaneBench bench;
    FormatSetting format = bench.pane.formatSetting();
    format.sendMsgFormat = 1;
    bench.pane.setFormatSetting(format);
    auto* editor = bench.pane.findChild<SendEditor*>()->findChild<QPlainTextEdit*>();
    editor->setPlainText(u"41 ff fb 2c 42"_s);
    QTest::keyClick(editor, Qt::Key_Return, Qt::ControlModifier);
    QTRY_COMPARE(bench.server.line, "A\xff\xfb,B"_ba);
    QCOMPARE(bench.pane.sentBytes(), 5);
    QCOMPARE(bench.server.baudOfFirstByte, 57600); // it waits for the pane's settings
}

void TestRemoteSerialLink::pausedPaneGoesOnTalking()
{
    PaneBench bench;
    QVERIFY(bench.pane.start({}, true));
    QTRY_VERIFY(bench.pane.isOpen());
    bench.pane.pause();
    QTRY_COMPARE(bench.server.settings.baudRate, 57600);
    bench.server.peer.send("one\xff"_ba);
    bench.server.peer.send("\xfftwo"_ba);
    QTRY_COMPARE(bench.payload(), "one\xfftwo"_ba);
    QVERIFY(bench.pane.waitingBytes() > 0);
    QVERIFY(bench.pane.start({}, true));
    QTRY_COMPARE(bench.pane.waitingBytes(), 0);
}

QTEST_MAIN(TestRemoteSerialLink)
#include "tst_remoteseriallink.moc"
