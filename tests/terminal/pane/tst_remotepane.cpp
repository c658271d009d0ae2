// A pane on a remote serial port, against a server that speaks RFC 2217.
#include "connections/rfc2217/rfc2217values.h"
#include "connections/seriallines.h"
#include "support/deviceserver.h"
#include "terminal/pane/panebench.h"
#include "terminal/pane/sendeditor.h"

#include <QPlainTextEdit>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

const QColor kGreen(Qt::green);
const QColor kAmber(240, 160, 32);

struct PaneBench : ShownPane
{
    DeviceServer server;
    QSignalSpy received{&pane.port(), &LivePort::rxTapped};

    PaneBench() { pane.setSettings(DeviceServer::settingsFor(server.peer.port())); }
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

class TestRemotePane : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void paneBringsItsSettings();
    void paneAsksForLines();
    void paneSendsBreaks();
    void paneLeavesTheRemoteAsItIs();
    void firstMessageIsEscaped();
    void pausedPaneGoesOnTalking();
};

void TestRemotePane::paneBringsItsSettings()
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

void TestRemotePane::paneAsksForLines()
{
    PaneBench bench;
    QVERIFY(bench.open());
    QTRY_COMPARE(bench.lamp("dtrLed").color(), kGreen);
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
    QCOMPARE(bench.lamp("dtrLed").color(), kAmber);
    QTRY_VERIFY(bench.server.saw(Rfc2217ServerSession::Line::Dtr, false));
    bench.server.peer.send(
        Rfc2217Codec::serverResponse(Rfc2217::SetControl, QByteArray(1, char(Rfc2217::DtrOn))));
    QTRY_COMPARE(bench.lamp("dtrLed").color(), kGreen);
}

void TestRemotePane::paneSendsBreaks()
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

void TestRemotePane::paneLeavesTheRemoteAsItIs()
{
    PaneBench bench;
    Settings settings = bench.pane.settings();
    settings.useRemoteSerialConfig = true;
    bench.pane.setSettings(settings);
    bench.server.settings.dtrOn = false;
    QVERIFY(bench.pane.start({}, true));
    QTRY_VERIFY(bench.wasTold(u"The remote port is now at 300 baud."_s));
    QTRY_COMPARE(bench.lamp("dtrLed").color(), kGreen);
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

void TestRemotePane::firstMessageIsEscaped()
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

void TestRemotePane::pausedPaneGoesOnTalking()
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

QTEST_MAIN(TestRemotePane)
#include "tst_remotepane.moc"
