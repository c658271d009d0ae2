#include "app/commandline.h"
#include "app/fakecatalog.h"
#include "app/mainstatusbar.h"
#include "app/portselector.h"
#include "app/portwatch.h"
#include "app/setconfigfilepathdialog.h"
#include "app/symbolicicon.h"
#include "app/windowgeometry.h"
#include "terminal/port/ratemeter.h"

#include <QAbstractItemView>
#include <QDialogButtonBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QWheelEvent>

using namespace Qt::Literals::StringLiterals;

// The pieces of the shell, each on its own.
class ShellPartsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void commandLine();
    void sessionArgument();
    void screenRule();
    void rates();
    void portListPausesAfterASlowAnswer();
    void selectorFollowsThePorts();
    void selectorTellsOnlyChoices();
    void statusBarFitsAndShowsShapes();
    void configFolder();
    void iconTakesThePalettesColour();
};

void ShellPartsTest::commandLine()
{
    const QString picture = u"a.png"_s;
    for (const auto& [line, expected] :
        {std::pair(u"velmora"_s, CommandLine{}), {u"velmora COM3 x"_s, {{}, {}, u"COM3"_s}},
            {u"velmora --screenshot a.png"_s, {picture, {}, {}}},
            {u"velmora COM3 --screenshot a.png"_s, {picture, {}, {}}},
            {u"velmora COM3 --screenshot"_s, {{}, {}, u"COM3"_s}},
            {u"velmora --screenshot"_s, {{}, {}, u"--screenshot"_s}}})
        QVERIFY2(CommandLine::parse(line.split(u' ')) == expected, qPrintable(line));
}

void ShellPartsTest::sessionArgument()
{
    const QTemporaryDir dir;
    const QString lab = dir.filePath(u"lab.vmr"_s);
    const QString velmora = u"velmora"_s;
    const QString option = u"--screenshot"_s;
    const QString picture = u"a.png"_s;
    QCOMPARE(CommandLine::parse({velmora, lab}), (CommandLine{{}, {}, lab})); // not there: a port
    QVERIFY(QFile(lab).open(QIODevice::WriteOnly));
    QCOMPARE(CommandLine::parse({velmora, lab, u"x"_s}), (CommandLine{{}, lab, {}}));
    QCOMPARE(CommandLine::parse({velmora, lab, option, picture}), (CommandLine{picture, lab, {}}));
    QCOMPARE(CommandLine::parse({velmora, option, picture, lab}), (CommandLine{picture, lab, {}}));
    const QString relative = QDir::current().relativeFilePath(lab);
    QCOMPARE(CommandLine::parse({velmora, relative}).sessionFile, lab);
    const QString other = dir.filePath(u"lab.ini"_s);
    QVERIFY(QFile(other).open(QIODevice::WriteOnly));
    QCOMPARE(CommandLine::parse({velmora, other}), (CommandLine{{}, {}, other}));
}

// Both coordinates lie inside the screen, and not on its first row or column.
void ShellPartsTest::screenRule()
{
    for (const QPoint on : {QPoint(1, 1), QPoint(799, 599)})
        QVERIFY((WindowGeometry{.position = on}.isOnScreen({800, 600})));
    for (const QPoint off : {QPoint(0, 200), QPoint(200, 0), QPoint(800, 200), QPoint(200, 600)})
        QVERIFY(!(WindowGeometry{.position = off}.isOnScreen({800, 600})));
}

void ShellPartsTest::rates()
{
    RateMeter meter;
    QCOMPARE(meter.sample(5000, 0), 0);
    for (qint64 ms = 100; ms <= 3000; ms += 100)
        QCOMPARE(meter.sample(5000 + ms * 2, ms), 2000); // 2 bytes per millisecond
    for (qint64 ms = 3100; ms < 4000; ms += 100)
        QVERIFY(meter.sample(11000, ms) > 0);
    QCOMPARE(meter.sample(11000, 4100), 0);
    QCOMPARE(meter.sample(10, 4200), 0); // cleared
    QCOMPARE(meter.sample(110, 4300), 1000);

    // Ticks that come faster than the refresh must not outgrow the samples.
    RateMeter busy;
    for (qint64 ms = 0; ms < 1000; ++ms)
        QVERIFY(busy.sample(ms, ms) <= 1000);
}

void ShellPartsTest::portListPausesAfterASlowAnswer()
{
    FakeCatalog catalog;
    qint64 nowMs = 0;
    qint64 costMs = 0;
    const auto clock = [&] { return nowMs + catalog.asked * costMs; };
    PortListMonitor quick(catalog);
    catalog.asked = 0;
    for (; nowMs < 1000; nowMs += 100)
        QVERIFY(!quick.refresh(clock));
    QCOMPARE(catalog.asked, 10);
    catalog.list.append(listedPort(u"ttyUSB0"_s));
    QVERIFY(quick.refresh(clock));
    QCOMPARE(quick.ports().size(), 1);

    PortListMonitor slow(catalog);
    catalog.asked = 0;
    costMs = 30;
    nowMs = 0;
    QVERIFY(!slow.refresh(clock));
    nowMs = 30 * PortListMonitor::kPauseFactor - 31; // with the 30 ms of the answer: t - 1
    QVERIFY(!slow.refresh(clock));
    QCOMPARE(catalog.asked, 1);
    ++nowMs;
    QVERIFY(!slow.refresh(clock));
    QCOMPARE(catalog.asked, 2);
}

void ShellPartsTest::selectorFollowsThePorts()
{
    PortSelector selector;
    QCOMPARE(selector.placeholderText(), "No serial port"_L1);
    selector.setPorts({listedPort(u"ttyUSB0"_s, u"USB bridge"_s), listedPort(u"ttyS0"_s)});
    QCOMPARE(selector.itemText(0), "ttyUSB0 (USB bridge)"_L1);
    QCOMPARE(selector.itemText(1), "ttyS0"_L1);
    QCOMPARE(selector.currentIndex(), -1);
    QCOMPARE(selector.placeholderText(), "Choose a port"_L1);

    selector.setCurrentPort(u"ttyUSB0"_s);
    QCOMPARE(selector.currentIndex(), 0);
    // Unplugged: the box still names the pane's port.
    selector.setPorts({listedPort(u"ttyS0"_s)});
    QCOMPARE(selector.currentData(), u"ttyUSB0"_s);
    QCOMPARE(selector.count(), 2);
    // Back, in another place.
    selector.setPorts({listedPort(u"ttyS0"_s), listedPort(u"ttyUSB0"_s)});
    QCOMPARE(selector.count(), 2);
    QCOMPARE(selector.currentIndex(), 1);
    selector.setCurrentPort(u"/dev/serial/by-id/x"_s);
    QCOMPARE(selector.count(), 3);
    QCOMPARE(selector.currentText(), "/dev/serial/by-id/x"_L1);
    selector.setCurrentPort(QString());
    QCOMPARE(selector.currentIndex(), -1);
}

void ShellPartsTest::selectorTellsOnlyChoices()
{
    PortSelector selector;
    const QSignalSpy chosen(&selector, &PortSelector::portChosen);
    selector.setPorts({listedPort(u"A"_s), listedPort(u"B"_s)});
    selector.setCurrentPort(u"A"_s);
    selector.setCurrentPort(u"B"_s);
    QCOMPARE(chosen.size(), 0);
    selector.show();
    selector.setFocus();
    // Who scrolls over the bar must not close a device and open the next one.
    QWheelEvent wheel({5, 5}, selector.mapToGlobal(QPointF(5, 5)), {}, {0, 120}, Qt::NoButton,
        Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&selector, &wheel);
    QCOMPARE(chosen.size(), 0);
    // Nor who steps through the list by key: only Enter chooses.
    QTest::keyClick(&selector, Qt::Key_Up);
    QTRY_VERIFY(selector.view()->isVisible());
    QTest::keyClick(selector.view(), Qt::Key_Up);
    QCOMPARE(chosen.size(), 0);
    QTest::keyClick(selector.view(), Qt::Key_Return);
    QCOMPARE(chosen.size(), 1);
    QCOMPARE(chosen.at(0).at(0).toString(), "A"_L1);
}

void ShellPartsTest::statusBarFitsAndShowsShapes()
{
    MainStatusBar bar;
    PortStatus status{PortState::Open, u"Open"_s, u"ttyUSB0 9600 8N1"_s, 1234567, 89};
    bar.showPort(status, 0);
    // The path of a device can be longer than the screen is wide.
    bar.resize(800, 30);
    bar.show();
    QVERIFY(QTest::qWaitForWindowExposed(&bar));
    const int least = bar.minimumSizeHint().width();
    status.summary = QString(500, u'x');
    bar.showPort(status, 0);
    QTRY_COMPARE(bar.findChild<QLabel*>(u"statusSummary"_s)->width(), 800 / 3);
    QCOMPARE(bar.minimumSizeHint().width(), least);
    // The shapes differ where colour does not help.
    QList<QImage> shapes;
    auto* lamp = bar.findChild<StateLamp*>();
    for (const PortState state :
        {PortState::Closed, PortState::Connecting, PortState::Open, PortState::Paused}) {
        status.state = state;
        bar.showPort(status, 1000);
        const QImage shape = lamp->grab().toImage().convertToFormat(QImage::Format_Grayscale8);
        QVERIFY(!shapes.contains(shape));
        shapes.append(shape);
    }
}

// That a good folder is made and stored is seen where the program starts.
void ShellPartsTest::configFolder()
{
    const QTemporaryDir dir;
    QFile file(dir.filePath(u"file"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QSettings store(dir.filePath(u"store.ini"_s), QSettings::IniFormat);
    SetConfigFilePathDialog dialog(store);
    auto* path = dialog.findChild<QLineEdit*>();
    QVERIFY(path->text().endsWith("/Config"_L1));
    path->setText(u"  "_s);
    QVERIFY(!dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->isEnabled());
    path->setText(file.fileName() + "/below"_L1);
    dialog.accept();
    QCOMPARE(dialog.result(), static_cast<int>(QDialog::Rejected));
    QVERIFY(SetConfigFilePathDialog::storedPath(store).isEmpty());
    const auto* problem = dialog.findChild<QLabel*>(u"config_file_path_problem"_s);
    QVERIFY(!problem->isHidden());
    QVERIFY(problem->text().contains(file.fileName()));
}

void ShellPartsTest::iconTakesThePalettesColour()
{
    const QPalette before = QGuiApplication::palette();
    const QIcon icon = symbolicIcon(u":/icons/edit-find.svg"_s);
    for (const QColor& color : {QColor(Qt::white), QColor(10, 20, 30)}) {
        QPalette palette = before;
        palette.setColor(QPalette::ButtonText, color);
        QGuiApplication::setPalette(palette);
        const QImage image = icon.pixmap(QSize(22, 22), 2.0).toImage();
        QCOMPARE(image.size(), QSize(44, 44));
        int painted = 0;
        for (int i = 0; i < 44 * 44; ++i) {
            const QColor pixel = image.pixelColor(i % 44, i / 44);
            QVERIFY(pixel.alpha() < 255 || pixel == color);
            painted += pixel.alpha() == 255 ? 1 : 0;
        }
        QVERIFY(painted > 40);
    }
    QGuiApplication::setPalette(before);
}

QTEST_MAIN(ShellPartsTest)
#include "tst_shellparts.moc"
