// The lamps of a pane on the virtual null modem: what one end raises the other end shows, and what
// is clicked here arrives there.
#include "support/nullmodem.h"
#include "support/simulateddevice.h"
#include "terminal/pane/linestrip.h"
#include "terminal/pane/panebench.h"
#include "terminal/port/portlines.h"

#include <QCheckBox>
#include <QSerialPort>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using End = NullModem::End;

namespace {

struct Bench : ShownPane
{
    NullModem modem;

    bool open(QSerialPort::FlowControl flow = QSerialPort::NoFlowControl)
    {
        Settings settings = pane.settings();
        settings.flowControl = flow;
        settings.refreshTexts();
        pane.setSettings(settings);
        return modem.isValid() && pane.start(modem.portA(), true);
    }
    [[nodiscard]] QCheckBox* box(const QString& text) const
    {
        for (QCheckBox* candidate : pane.findChildren<QCheckBox*>()) {
            if (candidate->text() == text)
                return candidate;
        }
        return nullptr;
    }
};

} // namespace

class TestPaneLines : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void inputsFollowTheOtherEnd();
    void statusLineFollowsWithoutLamps();
    void lampsAndCheckBoxesAgree();
    void flowControlKeepsRts();
    void breakIsLongEnough();
    void closingEndsTheBreak();
    void lampsGoOutWithTheDevice();
    void portWithoutLinesShowsThemAsUnknown();
};

void TestPaneLines::inputsFollowTheOtherEnd()
{
    Bench bench;
    QVERIFY(bench.open());
    const std::array rows{std::pair{true, false}, std::pair{false, true}, std::pair{true, true}};
    for (const auto& [dtr, rts] : rows) {
        bench.modem.setOutputs(End::B, dtr, rts);
        QTRY_COMPARE_WITH_TIMEOUT(bench.lamp("dsrLed").isOn(), dtr, 1000);
        QTRY_COMPARE_WITH_TIMEOUT(bench.lamp("ctsLed").isOn(), rts, 1000);
        QCOMPARE(bench.lamp("dcdLed").isOn(), dtr);
        QCOMPARE(bench.pane.modemState(), (ModemLines{rts, dtr, dtr, false}));
    }
    bench.pane.stop();
    QVERIFY(!bench.lamp("dsrLed").isOn()); // at once, with the state of the pane
    QCOMPARE(bench.pane.modemState(), ModemLines());
}

void TestPaneLines::statusLineFollowsWithoutLamps()
{
    Bench bench;
    const auto* strip = bench.pane.findChild<LineStrip*>();
    bench.pane.setQuickSettingsVisible(false);
    QVERIFY(bench.open());
    for (const bool high : {true, false}) {
        bench.modem.setOutputs(End::B, high, !high);
        const QString words = high ? u"CTS: low, DSR: high"_s : u"CTS: high, DSR: low"_s;
        QTRY_VERIFY(strip->accessibleDescription().contains(words));
    }
    bench.pane.stop();
    QVERIFY(strip->isHidden());
}

void TestPaneLines::lampsAndCheckBoxesAgree()
{
    Bench bench;
    QVERIFY(bench.open());
    QSignalSpy changed(&bench.pane, &SerialPortWidget::settingsChanged);
    QVERIFY(bench.modem.dtr(End::A) && bench.modem.rts(End::A));
    QTest::mouseClick(bench.cell("dtrLedCell"), Qt::LeftButton);
    QVERIFY(!bench.modem.dtr(End::A) && bench.modem.rts(End::A));
    QVERIFY(!bench.lamp("dtrLed").isOn());
    QVERIFY(!bench.box(u"DTR"_s)->isChecked());
    QCOMPARE(changed.size(), 1);
    bench.box(u"RTS"_s)->click();
    QVERIFY(!bench.modem.rts(End::A));
    QVERIFY(!bench.lamp("rtsLed").isOn());
    QTest::keyClick(bench.cell("rtsLedCell"), Qt::Key_Space);
    QVERIFY(bench.modem.rts(End::A));
    QVERIFY(bench.box(u"RTS"_s)->isChecked());
    // Asked for on a closed port, a level waits for the next opening.
    bench.pane.stop();
    QTest::mouseClick(bench.cell("dtrLedCell"), Qt::LeftButton);
    QVERIFY(bench.lamp("dtrLed").isOn());
    QVERIFY(bench.open());
    QVERIFY(bench.modem.dtr(End::A));
}

void TestPaneLines::flowControlKeepsRts()
{
    Bench bench;
    QVERIFY(bench.open(QSerialPort::HardwareControl));
    QVERIFY(bench.lamp("rtsLed").isOn());
    QCOMPARE(bench.lamp("rtsLed").color(), QColor(240, 160, 32));
    QTest::mouseClick(bench.cell("rtsLedCell"), Qt::LeftButton);
    QVERIFY(bench.wasTold(u"RTS is driven by RTS/CTS flow control and cannot be set by hand."_s));
    QVERIFY(bench.pane.settings().rtsOn);
    bench.pane.stop();
    QCOMPARE(bench.lamp("rtsLed").color(), QColor(Qt::green));
}

void TestPaneLines::breakIsLongEnough()
{
    Bench bench;
    QTest::mouseClick(bench.cell("txLedCell"), Qt::LeftButton);
    QVERIFY(bench.wasTold(u"Open the serial port before sending Break"_s));
    QVERIFY(bench.open());
    QTest::mouseClick(bench.cell("txLedCell"), Qt::LeftButton);
    QVERIFY(bench.modem.breakSeenBy(End::B).active);
    QTRY_COMPARE(bench.modem.breakSeenBy(End::B).count, 1);
    QVERIFY(bench.modem.breakSeenBy(End::B).lastLengthMs >= 300);
    QCOMPARE(bench.lamp("txActivityLed").color(), QColor(Qt::green));
}

void TestPaneLines::closingEndsTheBreak()
{
    Bench bench;
    QVERIFY(bench.open());
    QTest::mousePress(bench.cell("txLedCell"), Qt::LeftButton);
    QVERIFY(bench.modem.breakSeenBy(End::B).active);
    bench.pane.stop();
    QVERIFY(!bench.modem.breakSeenBy(End::B).active);
    QCOMPARE(bench.lamp("txActivityLed").color(), QColor(Qt::green));
    QVERIFY(bench.open());
    QTest::mouseRelease(bench.cell("txLedCell"), Qt::LeftButton);
    QCOMPARE(bench.modem.breakSeenBy(End::B).count, 1);
}

void TestPaneLines::lampsGoOutWithTheDevice()
{
    Bench bench;
    QVERIFY(bench.open());
    bench.modem.setOutputs(End::B, true, true);
    const std::array names{"rtsLed", "dtrLed", "ctsLed", "dsrLed", "dcdLed"};
    const auto lit = [&bench, &names] {
        return std::ranges::count_if(
            names, [&](const char* name) { return bench.lamp(name).isLit(); });
    };
    QTRY_COMPARE(lit(), 5);
    bench.modem.unplug(End::A);
    QTRY_COMPARE(lit(), 0);
    QVERIFY(bench.modem.plugBack(End::A));
    QVERIFY(bench.open());
    QTRY_COMPARE(lit(), 5);
    bench.pane.stop();
    QCOMPARE(lit(), 0);
}

void TestPaneLines::portWithoutLinesShowsThemAsUnknown()
{
    ShownPane bench;
    SimulatedDevice device;
    QVERIFY(bench.pane.start(device.portName(), true));
    for (const char* name : {"rtsLed", "dtrLed", "ctsLed", "dsrLed", "dcdLed", "riLed"}) {
        QVERIFY2(!bench.lamp(name).isLit(), name);
        QCOMPARE(bench.lamp(name).trust(), HLed::Trust::Unknown);
    }
    QCOMPARE(bench.told.size(), 1);
    QVERIFY(bench.wasTold(u"Serial Port %1 OPEN SUCCESS"_s.arg(device.portName())));
}

QTEST_MAIN(TestPaneLines)
#include "tst_panelines.moc"
