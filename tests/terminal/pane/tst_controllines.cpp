// The lamps of a pane and what a press on one of them does, on a driver that only takes notes and a
// clock that stands still.
#include "terminal/pane/controllinerow.h"
#include "terminal/pane/hled.h"
#include "terminal/pane/linestrip.h"
#include "terminal/port/portlines.h"

#include <QAbstractButton>
#include <QLabel>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using Certainty = LineDriver::Certainty;
using Sight = LineDriver::Sight;
using Trust = HLed::Trust;

namespace {

const QColor kGreen(Qt::green);
const QColor kAmber(240, 160, 32);
const QColor kGrey(144, 144, 144);

class NotingDriver final : public LineDriver
{
public:
    ModemLines lines;
    Level level;
    Sight seen = Sight::All;
    int looks = 0;
    QString inert;
    bool takesBreak = true;
    QStringList done;

    [[nodiscard]] ModemLines inputs() override
    {
        ++looks;
        return lines;
    }
    [[nodiscard]] Sight sight() const override { return seen; }
    [[nodiscard]] Level output(SerialLine, const Settings&) const override { return level; }
    [[nodiscard]] QString inertReason(SerialLine, const Settings&) const override { return inert; }
    [[nodiscard]] QString breakHint() const override { return u"hint"_s; }
    [[nodiscard]] Answer requested(SerialLine, const Settings&) const override { return {}; }
    Answer setBreak(bool on) override
    {
        done.append(on ? u"break on"_s : u"break off"_s);
        return {takesBreak, {}, 0};
    }
};

struct Bench
{
    NotingDriver noted;
    LineDriver* driver = &noted;
    Settings settings;
    qint64 nowMs = 1000;
    ControlLineRow row{[this] { return nowMs; }};
    PortLines lines{settings, [this] { return driver; }, [this] { return nowMs; }};
    QStringList told;

    Bench()
    {
        QObject::connect(&lines, &PortLines::reportChanged, &row, &ControlLineRow::showReport);
        QObject::connect(&lines, &PortLines::noticed, &row,
            [this](const Notice& notice) { told += notice.text; });
        QObject::connect(&row, &ControlLineRow::breakPressed, &lines, &PortLines::pressBreak);
        QObject::connect(
            &row, &ControlLineRow::breakReleased, &lines, &PortLines::requestBreakRelease);
        QObject::connect(&row, &ControlLineRow::shownChanged, &lines, &PortLines::setWatched);
        row.show();
    }

    [[nodiscard]] const HLed& lamp(const char* name) const
    {
        return *row.findChild<HLed*>(QLatin1StringView(name));
    }
    [[nodiscard]] QAbstractButton* cell(const char* name) const
    {
        return row.findChild<QAbstractButton*>(QLatin1StringView(name));
    }
    [[nodiscard]] QString txCaption() const
    {
        return cell("txLedCell")->findChild<QLabel*>()->text();
    }
};

} // namespace

class TestControlLines : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void outputLamps_data();
    void outputLamps();
    void inputLamps();
    void noLampsWithoutAPort();
    void hiddenLampsAskNobody();
    void shortForm_data();
    void shortForm();
    void reportsChangesOnly();
    void narrowStripNamesHighLines();
    void breakTakesTheSendLamp();
    void refusedBreakLeavesTheLamp();
};

void TestControlLines::outputLamps_data()
{
    QTest::addColumn<bool>("high");
    QTest::addColumn<Certainty>("certainty");
    QTest::addColumn<QColor>("color");
    QTest::addColumn<Sight>("sight");
    QTest::addColumn<Trust>("trust");
    const Sight all = Sight::All;
    QTest::newRow("driven high") << true << Certainty::Sure << kGreen << all << Trust::Sure;
    QTest::newRow("driven low") << false << Certainty::Sure << kGreen << all << Trust::Sure;
    QTest::newRow("asked for high")
        << true << Certainty::Requested << kAmber << all << Trust::Tentative;
    QTest::newRow("asked for low")
        << false << Certainty::Requested << kGrey << all << Trust::Tentative;
    QTest::newRow("flow control") << true << Certainty::Automatic << kAmber << all
                                  << Trust::Tentative;
    QTest::newRow("still negotiating")
        << true << Certainty::Requested << kAmber << Sight::Unknown << Trust::Tentative;
    QTest::newRow("closed") << true << Certainty::Sure << kGreen << Sight::None << Trust::Waiting;
    QTest::newRow("closed, of a remote")
        << true << Certainty::Requested << kAmber << Sight::None << Trust::Waiting;
    QTest::newRow("port without lines")
        << true << Certainty::Sure << kGreen << Sight::Unknown << Trust::Unknown;
}

void TestControlLines::outputLamps()
{
    QFETCH(bool, high);
    QFETCH(Certainty, certainty);
    Bench bench;
    QFETCH(Sight, sight);
    QFETCH(Trust, trust);
    bench.noted.level = {high, certainty};
    bench.noted.seen = sight;
    bench.lines.refresh();
    for (const char* name : {"rtsLed", "dtrLed"}) {
        QCOMPARE(bench.lamp(name).isOn(), high);
        QTEST(bench.lamp(name).color(), "color");
        QCOMPARE(bench.lamp(name).trust(), trust);
        QCOMPARE(bench.lamp(name).isLit(), high && trust <= Trust::Tentative);
    }
}

void TestControlLines::inputLamps()
{
    Bench bench;
    const std::array lamps{"ctsLed", "dsrLed", "dcdLed", "riLed"};
    for (std::size_t lit = 0; lit < lamps.size(); ++lit) {
        bench.noted.lines = {lit == 0, lit == 1, lit == 2, lit == 3};
        bench.lines.refresh();
        QCOMPARE(bench.lines.modemState(), bench.noted.lines);
        for (std::size_t lamp = 0; lamp < lamps.size(); ++lamp)
            QCOMPARE(bench.lamp(lamps.at(lamp)).isOn(), lamp == lit);
    }
    bench.noted.lines = {true, true, true, true};
    for (const Sight sight : {Sight::None, Sight::Unknown, Sight::Outputs}) {
        bench.noted.seen = sight;
        bench.lines.refresh();
        for (const char* name : lamps) {
            QVERIFY(!bench.lamp(name).isLit());
            QCOMPARE(bench.lamp(name).trust() == Trust::Unknown, sight != Sight::None);
        }
    }
}

void TestControlLines::noLampsWithoutAPort()
{
    Bench bench;
    bench.noted.level = {true, Certainty::Sure};
    bench.noted.lines = {true, true, true, true};
    bench.lines.refresh();
    bench.driver = nullptr;
    bench.lines.refresh();
    for (const char* name : {"rtsLed", "dtrLed", "ctsLed", "dsrLed", "dcdLed", "riLed"})
        QVERIFY2(!bench.lamp(name).isOn(), name);
    QCOMPARE(bench.lines.modemState(), ModemLines());
    QTest::mouseClick(bench.cell("txLedCell"), Qt::LeftButton);
    QCOMPARE(bench.told.value(0),
        u"Control lines belong to a serial port. This connection does not have one."_s);
}

void TestControlLines::hiddenLampsAskNobody()
{
    Bench bench;
    bench.row.hide();
    const int before = bench.noted.looks;
    QTest::qWait(3 * PortLines::kPollIntervalMs / 2);
    QCOMPARE(bench.noted.looks, before);
    bench.noted.level = {true, Certainty::Sure};
    bench.row.show();
    QVERIFY(bench.lamp("dtrLed").isOn());
}

// A line that is high stands as it is, one that is low in brackets.
void TestControlLines::shortForm_data()
{
    QTest::addColumn<LineReport>("report");
    QTest::addColumn<QString>("marks");
    QTest::addColumn<QString>("words");
    const LineDriver::Level high{true, Certainty::Sure};
    const LineDriver::Level low{false, Certainty::Sure};
    QTest::newRow("nothing") << LineReport{true, Sight::None, high, high, {true}, false} << u""_s
                             << u""_s;
    QTest::newRow("all") << LineReport{true, Sight::All, high, low, {true, false, true, false},
        false} << u"RTS [DTR] CTS [DSR] DCD [RI]"_s
                         << u"RTS: high, DTR: low, CTS: high, DSR: low, DCD: high, RI: low"_s;
    QTest::newRow("inputs unknown")
        << LineReport{true, Sight::Outputs, {true, Certainty::Requested}, low, {}, false}
        << u"RTS? [DTR]"_s << u"RTS: high, not confirmed, DTR: low"_s;
    QTest::newRow("flow control, break")
        << LineReport{true, Sight::Outputs, {true, Certainty::Automatic}, high, {}, true}
        << u"BRK RTS DTR"_s << u"Break is being sent, RTS: driven by flow control, DTR: high"_s;
}

void TestControlLines::shortForm()
{
    QFETCH(LineReport, report);
    QStringList marks;
    for (const LineMark& mark : lineMarks(report))
        marks.append(mark.high ? mark.name : u"[%1]"_s.arg(mark.name));
    QTEST(marks.join(u' '), "marks");
    QTEST(lineWords(report).join(u", "_s), "words");
}

void TestControlLines::reportsChangesOnly()
{
    Bench bench;
    QSignalSpy changed(&bench.lines, &PortLines::reportChanged);
    bench.lines.refresh();
    bench.noted.lines.cts = true;
    bench.lines.refresh();
    bench.lines.refresh();
    QCOMPARE(changed.size(), 1);
    QTest::mousePress(bench.cell("txLedCell"), Qt::LeftButton);
    QVERIFY(bench.lines.report().inBreak);
    bench.lines.releaseBreak();
    QVERIFY(!bench.lines.report().inBreak);
    QCOMPARE(changed.size(), 3);

    // Somebody else's timer asks only when the lamps do not.
    const auto looksOfOthers = [&bench](int afterMs) {
        const int before = bench.noted.looks;
        bench.nowMs += afterMs;
        bench.lines.refreshIfOld();
        return bench.noted.looks - before;
    };
    QCOMPARE(looksOfOthers(1000), 0);
    bench.row.hide();
    QCOMPARE(looksOfOthers(0), 1);
    QCOMPARE(looksOfOthers(PortLines::kPollIntervalMs - 1), 0);
    QCOMPARE(looksOfOthers(1), 1);
}

void TestControlLines::narrowStripNamesHighLines()
{
    const LineDriver::Level high{true, Certainty::Sure};
    LineStrip strip;
    strip.setReport({true, Sight::All, high, high, {true, false, false, false}, false});
    QVERIFY(strip.isVisible());
    QCOMPARE(strip.shown().size(), 6);
    const int all = strip.sizeHint().width();
    strip.setRoom(all);
    QCOMPARE(strip.shown().size(), 6);
    strip.setRoom(all - 1);
    QCOMPARE(strip.shown().size(), 3);
    strip.setRoom(strip.sizeHint().width() - 1);
    QVERIFY(!strip.isVisible());
    strip.setReport({true, Sight::All, high, high, {true, false, false, false}, true});
    QCOMPARE(strip.shown(), (QList<LineMark>{{u"BRK"_s, true, true}}));
    strip.setRoom(all);
    strip.setReport({});
    QVERIFY(!strip.isVisible());
}

void TestControlLines::breakTakesTheSendLamp()
{
    Bench bench;
    QAbstractButton* cell = bench.cell("txLedCell");
    QTest::mousePress(cell, Qt::LeftButton);
    QCOMPARE(bench.noted.done, QStringList{u"break on"_s});
    QCOMPARE(bench.lamp("txActivityLed").color(), kAmber);
    QVERIFY(bench.lamp("txActivityLed").isOn());
    QCOMPARE(bench.txCaption(), u"BRK"_s);
    bench.row.flashSent();
    bench.row.flashReceived();
    QVERIFY(bench.lamp("rxActivityLed").isOn());
    QTRY_VERIFY(!bench.lamp("rxActivityLed").isOn());
    QVERIFY(bench.lamp("txActivityLed").isOn()); // the blink would have gone out with the other
    bench.nowMs += 500;
    QTest::mouseRelease(cell, Qt::LeftButton);
    QCOMPARE(bench.noted.done, (QStringList{u"break on"_s, u"break off"_s}));
    QCOMPARE(bench.lamp("txActivityLed").color(), kGreen);
    QVERIFY(!bench.lamp("txActivityLed").isOn());
    QCOMPARE(bench.txCaption(), u"BRK"_s);
    QTRY_COMPARE(bench.txCaption(), u"TX"_s);

    // The connection goes while the key is held: nothing is left to release.
    QTest::mousePress(cell, Qt::LeftButton);
    bench.lines.releaseBreak();
    QTest::mouseRelease(cell, Qt::LeftButton);
    QCOMPARE(bench.noted.done.size(), 4);
    // The row goes out of sight while the key is held.
    bench.nowMs += 2000;
    QTest::keyPress(cell, Qt::Key_Space);
    bench.nowMs += 2000;
    bench.row.hide();
    QCOMPARE(bench.noted.done.size(), 6);
    QCOMPARE(bench.noted.done.last(), u"break off"_s);
}

void TestControlLines::refusedBreakLeavesTheLamp()
{
    Bench bench;
    bench.noted.takesBreak = false;
    QTest::mouseClick(bench.cell("txLedCell"), Qt::LeftButton);
    QCOMPARE(bench.noted.done, QStringList{u"break on"_s});
    QCOMPARE(bench.lamp("txActivityLed").color(), kGreen);
    QCOMPARE(bench.txCaption(), u"TX"_s);
}

QTEST_MAIN(TestControlLines)
#include "tst_controllines.moc"
