// The panels of the settings column, and how the quick settings lay them out.
#include "app/fakecatalog.h"
#include "settings/randomrecords.h"
#include "terminal/pane/connectionpanel.h"
#include "terminal/pane/portnamebox.h"
#include "terminal/pane/quicksettingslayout.h"
#include "terminal/pane/receivepanel.h"
#include "terminal/pane/sendpanel.h"
#include "terminal/pane/settingscolumn.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>
#include <QVBoxLayout>
#include <QWheelEvent>

using namespace Qt::Literals::StringLiterals;

namespace {

// A settings column in a window.
struct Column
{
    QWidget window;
    QVBoxLayout* box = new QVBoxLayout(&window);
    ConnectionPanel* connection = withLamps();
    ReceivePanel* receive = new ReceivePanel;
    SendPanel* send = new SendPanel;
    QuickSettingsLayout layout{*box, *connection, *receive, *send};

    Column()
    {
        window.show();
        window.activateWindow();
    }

    static ConnectionPanel* withLamps()
    {
        auto* panel = new ConnectionPanel(ConnectionPanel::OpenButton::Shown);
        auto* lamps = new QWidget;
        lamps->setObjectName("lamps"_L1);
        lamps->setMinimumSize(20, 20);
        panel->addRow(lamps);
        return panel;
    }
    [[nodiscard]] QWidget* field(const QString& name) const
    {
        return window.findChild<QWidget*>(name);
    }
    // The named widgets that can be seen, from top to bottom.
    [[nodiscard]] QStringList shown(const QStringList& names) const
    {
        std::map<int, QString> found;
        for (const QString& name : names) {
            const QWidget* widget = field(name);
            if (widget->isVisible())
                found[widget->mapTo(&window, QPoint()).y()] = name;
        }
        QStringList result;
        for (const auto& [y, name] : found)
            result.append(name);
        return result;
    }
};

const QStringList kLineNames{u"baudRate"_s, u"dataBits"_s, u"flowControl"_s, u"stopBits"_s,
    u"parity"_s, u"dtrOn"_s, u"lamps"_s};
const QStringList kTargetNames{u"connMode"_s, u"connModeProblem"_s, u"portName"_s, u"targetHost"_s,
    u"targetPort"_s, u"udpLocalPort"_s, u"udpServerPort"_s, u"useRemoteSerialConfig"_s,
    u"remoteSummary"_s, u"openButton"_s};
const QStringList kSendNames{u"sendFormat"_s, u"sendEncoding"_s, u"sendInterval"_s,
    u"txLineEndingMode"_s, u"terminalEnterMode"_s, u"sendChecksum"_s, u"displaySendMsg"_s,
    u"localEcho"_s, u"lineByLine"_s};

Settings ofMode(connectionMode mode)
{
    Settings settings;
    settings.connMode = mode;
    settings.useRemoteSerialConfig = false;
    return settings;
}

} // namespace

class TestPanels : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void recordsComeBackUnchanged()
    {
        ConnectionPanel connection;
        ReceivePanel receive;
        SendPanel send;
        QSignalSpy edits(&connection, &ConnectionPanel::edited);
        QSignalSpy sendEdits(&send, &SendPanel::edited);
        for (quint32 seed = 0; seed < 100; ++seed) {
            RandomRecords random(seed);
            Settings settings = random.settings();
            settings.refreshTexts();
            settings.portName = settings.portName.simplified();
            const FormatSetting format = random.format();
            Settings settingsAfter = settings;
            FormatSetting formatAfter = format;
            connection.load(settings);
            receive.load(format);
            send.load(format);
            connection.store(settingsAfter);
            receive.store(formatAfter);
            send.store(formatAfter);
            QVERIFY2(settingsAfter == settings, qPrintable(QString::number(seed)));
            QVERIFY2(formatAfter == format, qPrintable(QString::number(seed)));
        }
        QVERIFY(edits.isEmpty());
        QVERIFY(sendEdits.isEmpty());
    }

    void rowsOfAMode_data()
    {
        using Mode = connectionMode;
        QTest::addColumn<Mode>("mode");
        QTest::addColumn<QString>("rows");
        QTest::addColumn<bool>("line");
        const auto row = [](const char* name, Mode mode, const char* between, bool line) {
            QTest::newRow(name) << mode
                                << u"connMode %1 openButton"_s.arg(QLatin1StringView(between))
                                << line;
        };
        row("serial", Mode::SerialPort, "portName", true);
        row("tcp server", Mode::TcpServer, "targetPort", false);
        row("tcp client", Mode::TcpClient, "targetHost targetPort", false);
        row("udp server", Mode::UdpServer, "udpServerPort", false);
        row("udp client", Mode::UdpClient, "targetHost targetPort udpLocalPort", false);
        row("none", Mode::NoTransport, "connModeProblem", false);
        row("rfc 2217", Mode::RemoteSerialRfc2217,
            "targetHost targetPort useRemoteSerialConfig remoteSummary", true);
    }

    void rowsOfAMode()
    {
        QFETCH(connectionMode, mode);
        QFETCH(QString, rows);
        QFETCH(bool, line);
        Column column;
        column.connection->setRemoteSummary(u"Remote baudrate: 9600\nRemote parity: None"_s);
        column.connection->load(ofMode(mode));
        QTRY_COMPARE(column.shown(kTargetNames).join(u' '), rows);
        QCOMPARE(column.shown(kLineNames), line ? kLineNames : QStringList{u"lamps"_s});
        // What the connection has no use for stays away, whatever the quick settings choose.
        QuickSettingsGroups groups;
        groups.fieldOrder[u"connection"_s] = {u"parity"_s, u"indicatorLights"_s, u"baudRate"_s};
        column.layout.setGroups(groups);
        QCOMPARE(column.shown(kLineNames).size(), line ? kLineNames.size() : 1);
        QTRY_COMPARE(column.shown(kTargetNames).join(u' '), rows);
        QCOMPARE(column.field(u"openButton"_s)->isEnabled(), mode != connectionMode::NoTransport);
    }

    void everyRowHasItsHeight()
    {
        // Laid out wide for a serial port, then narrow for something else.
        ConnectionPanel panel(ConnectionPanel::OpenButton::Shown);
        panel.resize(640, 480);
        panel.layout()->activate();
        panel.load(ofMode(connectionMode::TcpClient));
        panel.resize(240, 480);
        panel.show();
        const auto* open = panel.findChild<QPushButton*>();
        QTRY_COMPARE(open->height(), open->sizeHint().height());
    }

    void keptRemoteConfigHidesTheLine()
    {
        Column column;
        column.connection->load(ofMode(connectionMode::RemoteSerialRfc2217));
        QSignalSpy edited(column.connection, &ConnectionPanel::edited);
        QVERIFY(column.field(u"baudRate"_s)->isVisible());
        static_cast<QCheckBox*>(column.field(u"useRemoteSerialConfig"_s))->click();
        QVERIFY(!column.field(u"baudRate"_s)->isVisible());
        QVERIFY(!column.field(u"dtrOn"_s)->isVisible());
        QCOMPARE(edited.size(), 1);
        Settings settings;
        column.connection->store(settings);
        QVERIFY(settings.useRemoteSerialConfig);
    }

    void modeThatCannotBeOpened()
    {
        ConnectionPanel panel;
        auto* box = panel.findChild<QComboBox*>(u"connMode"_s);
        const int offered = box->count();
        panel.load(ofMode(connectionMode::RemoteSerialCloudRelay));
        QCOMPARE(box->currentText(), u"Remote Serial (Cloud Relay)"_s);
        QVERIFY(!panel.findChild<QLabel*>(u"connModeProblem"_s)->text().isEmpty());
        panel.load(ofMode(connectionMode::UdpMode6));
        QCOMPARE(box->count(), offered + 1);
        QVERIFY(panel.findChild<QLabel*>(u"connModeProblem"_s)->text().isEmpty());
        panel.load(ofMode(connectionMode::TcpClient));
        QCOMPARE(box->count(), offered);
        QCOMPARE(box->currentText(), u"TCP Client"_s);
    }

    void portListKeepsWhatIsTyped()
    {
        FakeCatalog catalog;
        PortNameBox box;
        box.show();
        box.populate(catalog);
        box.lineEdit()->setFocus();
        box.lineEdit()->selectAll();
        QTest::keyClicks(&box, u"/dev/tty"_s);
        box.lineEdit()->setCursorPosition(5);
        QSignalSpy edited(&box, &PortNameBox::portNameEdited);
        catalog.list = {{u"ttyUSB7"_s, u"FT232R"_s, u"Maker"_s, u"A10K"_s, u"/dev/ttyUSB7"_s}};
        box.populate(catalog);
        QCOMPARE(box.currentText(), u"/dev/tty"_s);
        QCOMPARE(box.lineEdit()->cursorPosition(), 5);
        QVERIFY(edited.isEmpty());
        QCOMPARE(box.count(), 1);
        QCOMPARE(box.itemData(0, Qt::ToolTipRole).toString(), u"ttyUSB7\nFT232R\nMaker\nA10K"_s);

        // An open list stays as it is until it is closed.
        box.showPopup();
        catalog.list.clear();
        box.populate(catalog);
        QCOMPARE(box.count(), 1);
        box.hidePopup();
        QTRY_COMPARE(box.count(), 0);
    }

    void anotherUnitKeepsTheTime()
    {
        SendPanel panel;
        FormatSetting format;
        format.sendInterval = 90000;
        panel.load(format);
        auto* unit = panel.findChild<QComboBox*>(u"sendTimeUnit"_s);
        unit->setCurrentIndex(unit->findData(1000));
        Q_EMIT unit->activated(unit->currentIndex());
        panel.store(format);
        QCOMPARE(format.sendInterval, 90);
        QCOMPARE(format.sendTimeUnit, 1000);
    }

    void chosenLayout()
    {
        Column column;
        FormatSetting format;
        format.sendChecksum = 4;
        column.send->load(format);
        QuickSettingsGroups groups;
        groups.showReceiveGroup = false;
        groups.groupOrder = {u"send"_s, u"nonsense"_s, u"send"_s};
        groups.fieldOrder[u"send"_s] = {u"txLocalEcho"_s, u"txFormat"_s};
        groups.hiddenFields[u"send"_s] = {u"txChecksum"_s, u"txLoop"_s};
        groups.hiddenFields[u"connection"_s] = {u"indicatorLights"_s, u"parity"_s};
        column.layout.setGroups(groups);
        QVERIFY(!column.receive->isVisible());
        QTRY_VERIFY(column.send->y() < column.connection->y());
        QTRY_COMPARE(column.shown(kSendNames),
            (QStringList{u"localEcho"_s, u"sendFormat"_s, u"sendEncoding"_s, u"txLineEndingMode"_s,
                u"terminalEnterMode"_s, u"displaySendMsg"_s, u"lineByLine"_s}));
        QTRY_COMPARE(column.shown(kLineNames),
            (QStringList{u"baudRate"_s, u"dataBits"_s, u"flowControl"_s, u"stopBits"_s}));
        FormatSetting after;
        column.send->store(after);
        QCOMPARE(after.sendChecksum, 4);

        column.layout.setGroups({});
        QTRY_COMPARE(column.shown(kSendNames), kSendNames);
        QTRY_COMPARE(column.shown(kLineNames), kLineNames);
        QVERIFY(column.receive->isVisible());
        QTRY_VERIFY(column.connection->y() < column.receive->y());
        QVERIFY(column.receive->y() < column.send->y());
    }

    void layoutKeepsFocusAndText()
    {
        Column column;
        QVERIFY(QTest::qWaitForWindowActive(&column.window));
        auto* baud = static_cast<QComboBox*>(column.field(u"baudRate"_s));
        baud->setFocus();
        baud->lineEdit()->selectAll();
        QTest::keyClicks(baud->lineEdit(), u"1234"_s);
        QSignalSpy edited(column.connection, &ConnectionPanel::edited);
        QuickSettingsGroups groups;
        groups.groupOrder = {u"send"_s, u"receive"_s, u"connection"_s};
        groups.fieldOrder[u"connection"_s] = {u"parity"_s, u"stopBits"_s, u"baudRate"_s};
        column.layout.setGroups(groups);
        QVERIFY(baud->hasFocus());
        QTest::keyClicks(baud->lineEdit(), u"56"_s);
        QCOMPARE(baud->currentText(), u"123456"_s);
        QVERIFY(edited.isEmpty());
    }

    void tabFollowsTheEye()
    {
        Column column;
        QVERIFY(QTest::qWaitForWindowActive(&column.window));
        QuickSettingsGroups groups;
        groups.groupOrder = {u"send"_s, u"connection"_s, u"receive"_s};
        groups.fieldOrder[u"send"_s] = {u"txLineByLine"_s, u"txChecksum"_s};
        groups.fieldOrder[u"connection"_s] = {u"stopBits"_s, u"parity"_s};
        column.layout.setGroups(groups);
        QTRY_COMPARE(column.shown({u"sendFormat"_s, u"sendChecksum"_s, u"lineByLine"_s}),
            (QStringList{u"lineByLine"_s, u"sendChecksum"_s, u"sendFormat"_s}));
        column.field(u"lineByLine"_s)->setFocus();
        int y = -1;
        QSet<QWidget*> seen;
        for (QWidget* stop = QApplication::focusWidget(); !seen.contains(stop);
             stop = QApplication::focusWidget()) {
            seen.insert(stop);
            const int here = stop->mapTo(&column.window, QPoint()).y();
            QVERIFY2(here >= y - stop->height(), qPrintable(stop->objectName()));
            y = here;
            QTest::keyClick(stop, Qt::Key_Tab);
        }
        QVERIFY(seen.size() > 15);
        QVERIFY(seen.contains(column.field(u"displayMsgTime"_s)));
    }

    void wheelTurnsOnlyTheFocusedField()
    {
        auto* panel = new ConnectionPanel;
        SettingsColumn column(panel);
        column.resize(column.sizeHint());
        column.show();
        QVERIFY(QTest::qWaitForWindowActive(&column));
        auto* baud = panel->findChild<QComboBox*>(u"baudRate"_s);
        panel->findChild<QComboBox*>(u"parity"_s)->setFocus();
        const auto turn = [baud] {
            const QPointF place = baud->rect().center();
            QWheelEvent wheel(place, baud->mapToGlobal(place), {}, {0, -120}, Qt::NoButton,
                Qt::NoModifier, Qt::NoScrollPhase, false);
            QApplication::sendEvent(baud, &wheel);
        };
        const QString before = baud->currentText();
        turn();
        QCOMPARE(baud->currentText(), before);
        baud->setFocus();
        turn();
        QVERIFY(baud->currentText() != before);
    }
};

QTEST_MAIN(TestPanels)
#include "tst_panels.moc"
