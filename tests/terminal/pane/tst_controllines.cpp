// The lamps of a pane and what a press on one of them does, on a driver that only takes notes and a
// clock that stands still.
#include "terminal/pane/controllinerow.h"
#include "terminal/pane/controllines.h"
#include "terminal/pane/hled.h"
#include "terminal/pane/linestrip.h"

#include <QAbstractButton>
#include <QLabel>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using Certainty = LineDriver::Certainty;
using Sight = LineDriver::Sight;

namespace {

const QColor green(Qt::green);
const QColor amber(240, 160, 32);
const QColor grey(144, 144, 144);

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
    Answer drive(SerialLine line, const Settings& settings) override
    {
        const bool dtr = line == SerialLine::Dtr;
        done.append(u"%1 %2"_s.arg(
            dtr ? u"DTR"_s : u"RTS"_s, levelName(dtr ? settings.dtrOn : settings.rtsOn)));
        return {true, u"driven"_s, 1};
    }
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
    ControlLineRow row;
    ControlLines lines{row, settings, [this] { return driver; }, [this] { return nowMs; }};
    QSignalSpy told{&lines, &ControlLines::statusMessage};

    Bench() { row.show(); }

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
    [[nodiscard]] QString lastTold() const
    {
        return told.isEmpty() ? QString() : told.last().first().toString();
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
    void clicksToggleOutputs_data();
    void clicksToggleOutputs();
    void breakTimes_data();
    void breakTimes();
    void breakTakesTheSendLamp();
    void refusedBreakLeavesTheLamp();
    void transferKeepsTheLines();
};

void TestControlLines::outputLamps_data()
{
    QTest::addColumn<bool>("high");
    QTest::addColumn<Certainty>("certainty");
    QTest::addColumn<QColor>("color");
    QTest::addColumn<bool>("tentative");
    QTest::newRow("driven high") << true << Certainty::Sure << green << false;
    QTest::newRow("driven low") << false << Certainty::Sure << green << false;
    QTest::newRow("asked for high") << true << Certainty::Requested << amber << true;
    QTest::newRow("asked for low") << false << Certainty::Requested << grey << true;
    QTest::newRow("flow control") << true << Certainty::Automatic << amber << true;
}

void TestControlLines::outputLamps()
{
    QFETCH(bool, high);
    QFETCH(Certainty, certainty);
    Bench bench;
    bench.noted.level = {high, certainty};
    bench.lines.onControlLinePollTick();
    for (const char* name : {"rtsLed", "dtrLed"}) {
        QCOMPARE(bench.lamp(name).isOn(), high);
        QTEST(bench.lamp(name).color(), "color");
        QTEST(bench.lamp(name).isTentative(), "tentative");
    }
}

void TestControlLines::inputLamps()
{
    Bench bench;
    const std::array lamps{"ctsLed", "dsrLed", "dcdLed", "riLed"};
    for (std::size_t lit = 0; lit < lamps.size(); ++lit) {
        bench.noted.lines = {lit == 0, lit == 1, lit == 2, lit == 3};
        bench.lines.onControlLinePollTick();
        QCOMPARE(bench.lines.modemState(), bench.noted.lines);
        for (std::size_t lamp = 0; lamp < lamps.size(); ++lamp)
            QCOMPARE(bench.lamp(lamps.at(lamp)).isOn(), lamp == lit);
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
    const bool before = bench.settings.dtrOn;
    for (const char* name : {"rtsLedCell", "dtrLedCell", "txLedCell"}) {
        bench.told.clear();
        QTest::mouseClick(bench.cell(name), Qt::LeftButton);
        QCOMPARE(bench.lastTold(),
            u"Control lines belong to a serial port. This connection does not have one."_s);
    }
    QCOMPARE(bench.settings.dtrOn, before);
}

void TestControlLines::hiddenLampsAskNobody()
{
    Bench bench;
    bench.row.hide();
    bench.noted.level = {true, Certainty::Sure};
    bench.lines.onControlLinePollTick();
    QVERIFY(!bench.lamp("dtrLed").isOn());
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
    QTest::newRow("nothing") << LineReport{Sight::None, high, high, {true}, false} << u""_s
                             << u""_s;
    QTest::newRow("all") << LineReport{Sight::All, high, low, {true, false, true, false}, false}
                         << u"RTS [DTR] CTS [DSR] DCD [RI]"_s
                         << u"RTS: high, DTR: low, CTS: high, DSR: low, DCD: high, RI: low"_s;
    QTest::newRow("inputs unknown")
        << LineReport{Sight::Outputs, {true, Certainty::Requested}, low, {}, false}
        << u"RTS? [DTR]"_s << u"RTS: high, not confirmed, DTR: low"_s;
    QTest::newRow("flow control, break")
        << LineReport{Sight::Outputs, {true, Certainty::Automatic}, high, {}, true}
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
    QSignalSpy changed(&bench.lines, &ControlLines::reportChanged);
    bench.lines.onControlLinePollTick();
    bench.noted.lines.cts = true;
    bench.lines.onControlLinePollTick();
    bench.lines.onControlLinePollTick();
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
        bench.lines.pollIfDue();
        return bench.noted.looks - before;
    };
    QCOMPARE(looksOfOthers(1000), 0);
    bench.row.hide();
    QCOMPARE(looksOfOthers(0), 1);
    QCOMPARE(looksOfOthers(ControlLines::kPollIntervalMs - 1), 0);
    QCOMPARE(looksOfOthers(1), 1);
}

void TestControlLines::narrowStripNamesHighLines()
{
    const LineDriver::Level high{true, Certainty::Sure};
    LineStrip strip;
    strip.setReport({Sight::All, high, high, {true, false, false, false}, false});
    QVERIFY(strip.isVisible());
    QCOMPARE(strip.shown().size(), 6);
    const int all = strip.sizeHint().width();
    strip.setRoom(all);
    QCOMPARE(strip.shown().size(), 6);
    strip.setRoom(all - 1);
    QCOMPARE(strip.shown().size(), 3);
    strip.setRoom(strip.sizeHint().width() - 1);
    QVERIFY(!strip.isVisible());
    strip.setReport({Sight::All, high, high, {true, false, false, false}, true});
    QCOMPARE(strip.shown(), (QList<LineMark>{{u"BRK"_s, true, true}}));
    strip.setRoom(all);
    strip.setReport({});
    QVERIFY(!strip.isVisible());
}

void TestControlLines::clicksToggleOutputs_data()
{
    QTest::addColumn<QByteArray>("cell");
    QTest::addColumn<bool>("key");
    QTest::addColumn<QString>("inert");
    QTest::addColumn<QStringList>("done");
    QTest::addColumn<QString>("told");
    const QStringList nothing;
    QTest::newRow("DTR") << "dtrLedCell"_ba << false << u""_s << QStringList{u"DTR low"_s}
                         << u"driven"_s;
    QTest::newRow("RTS, space bar")
        << "rtsLedCell"_ba << true << u""_s << QStringList{u"RTS low"_s} << u"driven"_s;
    QTest::newRow("inert") << "rtsLedCell"_ba << false << u"why"_s << nothing << u"why"_s;
    QTest::newRow("inert break") << "txLedCell"_ba << false << u"why"_s << nothing << u"why"_s;
}

void TestControlLines::clicksToggleOutputs()
{
    QFETCH(QByteArray, cell);
    QFETCH(bool, key);
    Bench bench;
    QFETCH(QString, inert);
    bench.noted.inert = inert;
    QSignalSpy requested(&bench.lines, &ControlLines::levelRequested);
    if (key)
        QTest::keyClick(bench.cell(cell.constData()), Qt::Key_Space);
    else
        QTest::mouseClick(bench.cell(cell.constData()), Qt::LeftButton);
    QTEST(bench.noted.done, "done");
    QTEST(bench.lastTold(), "told");
    QCOMPARE(requested.size(), bench.noted.done.size());
    QCOMPARE(bench.settings.dtrOn, !bench.noted.done.contains(u"DTR low"_s));
    QCOMPARE(bench.settings.rtsOn, !bench.noted.done.contains(u"RTS low"_s));
}

void TestControlLines::breakTimes_data()
{
    QTest::addColumn<int>("heldMs");
    QTest::addColumn<int>("releaseInMs");
    QTest::addColumn<int>("captionInMs"); // from letting go
    QTest::newRow("a click") << 0 << 300 << 800;
    QTest::newRow("50 ms") << 50 << 250 << 750;
    QTest::newRow("one too few") << 299 << 1 << 501;
    QTest::newRow("long enough") << 300 << 0 << 500;
    QTest::newRow("caption one too few") << 799 << 0 << 1;
    QTest::newRow("caption long enough") << 800 << 0 << 0;
    QTest::newRow("2 s") << 2000 << 0 << 0;
}

void TestControlLines::breakTimes()
{
    QFETCH(int, heldMs);
    BreakHold hold;
    hold.press(77);
    QTEST(hold.releaseDelayMs(77 + heldMs), "releaseInMs");
    QTEST(hold.captionDelayMs(77 + heldMs), "captionInMs");
}

void TestControlLines::breakTakesTheSendLamp()
{
    Bench bench;
    QAbstractButton* cell = bench.cell("txLedCell");
    QTest::mousePress(cell, Qt::LeftButton);
    QCOMPARE(bench.noted.done, QStringList{u"break on"_s});
    QCOMPARE(bench.lamp("txActivityLed").color(), amber);
    QVERIFY(bench.lamp("txActivityLed").isOn());
    QCOMPARE(bench.txCaption(), u"BRK"_s);
    bench.lines.flashActivityLed(ControlLines::Activity::Sent);
    bench.lines.flashActivityLed(ControlLines::Activity::Received);
    QVERIFY(bench.lamp("rxActivityLed").isOn());
    QTRY_VERIFY(!bench.lamp("rxActivityLed").isOn());
    QVERIFY(bench.lamp("txActivityLed").isOn()); // the blink would have gone out with the other
    bench.nowMs += 500;
    QTest::mouseRelease(cell, Qt::LeftButton);
    QCOMPARE(bench.noted.done, (QStringList{u"break on"_s, u"break off"_s}));
    QCOMPARE(bench.lamp("txActivityLed").color(), green);
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
    QCOMPARE(bench.lamp("txActivityLed").color(), green);
    QCOMPARE(bench.txCaption(), u"TX"_s);
}

void TestControlLines::transferKeepsTheLines()
{
    Bench bench;
    bench.lines.setTransferOwnsPane([] { return true; });
    for (const char* name : {"rtsLedCell", "dtrLedCell", "txLedCell"}) {
        bench.told.clear();
        QTest::mouseClick(bench.cell(name), Qt::LeftButton);
        QCOMPARE(bench.lastTold(),
            u"A file transfer is using this port. Changing the control lines "
            "would interrupt it."_s);
    }
    QVERIFY(bench.noted.done.isEmpty());
    QVERIFY(bench.settings.dtrOn && bench.settings.rtsOn);
}

QTEST_MAIN(TestControlLines)
#include "tst_controllines.moc"
