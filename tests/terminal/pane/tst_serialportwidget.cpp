// One pane as a person uses it, on the simulated device and on real sockets: opened, typed into,
// clicked, unplugged.
#include "settings/quicksettingsgroups.h"
#include "support/nullmodem.h"
#include "support/simulateddevice.h"
#include "support/tcppeer.h"
#include "terminal/format/sendmodes.h"
#include "terminal/pane/connectionpanel.h"
#include "terminal/pane/hostbox.h"
#include "terminal/pane/noticebar.h"
#include "terminal/pane/panebench.h"
#include "terminal/pane/peerpanel.h"
#include "terminal/pane/sendeditor.h"
#include "terminal/pane/settingscolumn.h"
#include "terminal/view/receiveview.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSerialPort>
#include <QStandardPaths>
#include <QTest>
#include <QTextBlock>

using namespace Qt::Literals::StringLiterals;

namespace {

struct Bench : ShownPane
{
    ReceiveView& view = *pane.findChild<ReceiveView*>();
    NoticeBar& notice = *pane.findChild<NoticeBar*>();
    SendEditor& editor = *pane.findChild<SendEditor*>();

    [[nodiscard]] QString text() const
    {
        return view.textAt(view.firstPosition(), view.textLength());
    }
    [[nodiscard]] bool shows(const QString& part) const { return text().contains(part); }

    void setFormat(const std::function<void(FormatSetting&)>& change)
    {
        FormatSetting format = pane.formatSetting();
        change(format);
        pane.setFormatSetting(format);
    }
    [[nodiscard]] bool openTcp(quint16 port)
    {
        Settings settings = pane.settings();
        settings.connMode = connectionMode::TcpClient;
        settings.targetHost = u"127.0.0.1"_s;
        settings.targetPort = port;
        pane.setSettings(settings);
        return pane.start({}, true) && QTest::qWaitFor([this] { return pane.isOpen(); });
    }
    void typeMessage(const QString& message)
    {
        editor.findChild<QPlainTextEdit*>()->setPlainText(message);
    }
    void sendMessage(const QString& message)
    {
        typeMessage(message);
        QTest::keyClick(editor.findChild<QPlainTextEdit*>(), Qt::Key_Return, Qt::ControlModifier);
    }
};

// The widget that takes the keys of the receive view.
QWidget* keyTarget(ReceiveView& view)
{
    view.setFocus();
    return view.focusProxy() ? view.focusProxy() : &view;
}

} // namespace

class TestSerialPortWidget : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void talksToADevice();
    void sendsFromTheEditor();
    void bytesAreCountedBeforeTheyGo_data();
    void bytesAreCountedBeforeTheyGo();
    void whatIsNoDigitIsMarked();
    void longMessagesAreCountedInAPause();
    void devicePulledAndPluggedBack();
    void devicePulledForGood();
    void wrongPortIsNamed();
    void newSettingsReachAnOpenLine();
    void messageThatOpensNothing_data();
    void messageThatOpensNothing();
    void messageLeavesTheLinesAlone();
    void firstMessageOpensTcp();
    void historyStandsWhileRepeating();
    void repeatTurnsToLines();
    void servesItsClients();
    void onlyEditsMarkTheSettings();
    void removedHostStaysAway();
    void typedHostSurvives();
    void columnWithoutGroups();
    void openingLeadsToTheMessage();
};

void TestSerialPortWidget::talksToADevice()
{
    SimulatedDevice device;
    QVERIFY2(device.isValid(), qPrintable(device.errorString()));
    Bench bench;
    QVERIFY2(bench.pane.start(device.portName(), true), qPrintable(bench.pane.lastError()));
    QVERIFY(bench.pane.isOpen());
    QTRY_VERIFY(bench.shows(u"AT+HELP"_s));
    QVERIFY(!bench.shows(QString(QChar(0x1B)))); // the banner's colours are no text
    QVERIFY(!bench.shows(u"\u241b"_s));

    QWidget* keys = keyTarget(bench.view);
    QTest::keyClicks(keys, u"AT+NONSENSE"_s);
    QTest::keyClick(keys, Qt::Key_Return);
    QTRY_VERIFY(bench.shows(u"ERROR"_s));
    QTRY_COMPARE(bench.pane.sentBytes(), qint64(12)); // the command and one CR
    bench.pane.stop();
    QVERIFY(!bench.pane.isOpen());
    QCOMPARE(bench.pane.runState(), RunState::Stopped);
}

void TestSerialPortWidget::sendsFromTheEditor()
{
    SimulatedDevice device;
    Bench bench;
    bench.setFormat([](FormatSetting& format) {
        format.txLineEndingMode = 1;
        format.displaySendMsg = true;
    });
    QVERIFY(bench.pane.start(device.portName(), true));
    QTRY_VERIFY(bench.shows(u"AT+HELP"_s));

    bench.typeMessage(u"ATE0"_s);
    QTest::keyClick(bench.editor.findChild<QPlainTextEdit*>(), Qt::Key_Return, Qt::ControlModifier);
    QTRY_VERIFY(bench.shows(u"OK"_s));
    bench.pane.clear();
    QCOMPARE(bench.pane.sentBytes(), qint64(0));
    QVERIFY(bench.text().isEmpty());

    bench.typeMessage(u"AT"_s);
    QSignalSpy changed(&bench.pane, &SerialPortWidget::settingsChanged);
    for (QPushButton* button : bench.editor.findChildren<QPushButton*>()) {
        if (button->text() == u"&Send"_s)
            QTest::mouseClick(button, Qt::LeftButton);
    }
    // Sent and shown once, by the echo of the pane: the device was told to be quiet.
    QTRY_VERIFY(bench.text().startsWith(u"AT"_s) && bench.shows(u"OK"_s));
    QCOMPARE(bench.text().count(u"AT"_s), 1);
    QCOMPARE(bench.pane.formatSetting().sendList, (QStringList{u"AT"_s, u"ATE0"_s}));
    QVERIFY(!changed.isEmpty());
    QCOMPARE(bench.editor.text(), u"AT"_s);
}

void TestSerialPortWidget::bytesAreCountedBeforeTheyGo_data()
{
    QTest::addColumn<QString>("message");
    QTest::addColumn<int>("format");
    QTest::addColumn<int>("ending");
    QTest::addColumn<int>("checksum");
    QTest::addColumn<int>("bytes");
    const int hex = int(MessageFormat::Hexadecimal);
    const int text = int(MessageFormat::Text);
    QTest::newRow("hexadecimal") << u"01 0g 2 // 55"_s << hex << 0 << 0 << 3;
    QTest::newRow("with its checksum") << u"01 03"_s << hex << 0 << 4 << 4;
    QTest::newRow("text") << u"caf\u00E9"_s << text << 0 << 0 << 5;
    QTest::newRow("line ending and checksum") << u"AT"_s << text << 3 << 5 << 8;
}

void TestSerialPortWidget::bytesAreCountedBeforeTheyGo()
{
    QFETCH(QString, message);
    QFETCH(int, bytes);
    SimulatedDevice device;
    Bench bench;
    QVERIFY(bench.pane.start(device.portName(), true));
    const auto* count = bench.editor.findChild<QLabel*>(u"sendCount"_s);
    bench.typeMessage(message);
    QFETCH(int, format);
    QFETCH(int, ending);
    QFETCH(int, checksum);
    bench.setFormat([=](FormatSetting& record) {
        record.sendMsgFormat = format;
        record.txLineEndingMode = ending;
        record.txAutoFeedLine = ending != 0;
        record.sendChecksum = checksum;
    });
    QCOMPARE(count->text(), u"%1 B"_s.arg(bytes));
    bench.sendMessage(message);
    QCOMPARE(bench.pane.sentBytes(), bytes);
}

void TestSerialPortWidget::whatIsNoDigitIsMarked()
{
    Bench bench;
    auto* editor = bench.editor.findChild<QPlainTextEdit*>();
    const auto marks = [editor](int line) {
        QStringList marked;
        const QTextBlock block = editor->document()->findBlockByNumber(line);
        for (const auto& range : block.layout()->formats())
            marked += block.text().mid(range.start, range.length);
        return marked;
    };
    bench.typeMessage(u"01 0g 02\n3 4"_s);
    QCOMPARE(marks(0), QStringList());
    const auto setFormat = [&bench](MessageFormat to) {
        bench.setFormat([to](FormatSetting& format) { format.sendMsgFormat = int(to); });
    };
    setFormat(MessageFormat::Hexadecimal);
    QTRY_COMPARE(marks(0), QStringList{u"g"_s});
    QCOMPARE(marks(1), (QStringList{u"3"_s, u"4"_s})); // the line break takes the first
    editor->moveCursor(QTextCursor::Start);
    QTest::keyClicks(editor, u"//"_s);
    QCOMPARE(marks(0) + marks(1), QStringList());
    editor->undo();
    setFormat(MessageFormat::Text);
    QCOMPARE(marks(0) + marks(1), QStringList());
}

void TestSerialPortWidget::longMessagesAreCountedInAPause()
{
    Bench bench;
    bench.setFormat(
        [](FormatSetting& format) { format.sendMsgFormat = int(MessageFormat::Hexadecimal); });
    const auto* count = bench.editor.findChild<QLabel*>(u"sendCount"_s);
    bench.typeMessage(u"0z"_s.repeated(15'000));
    QCOMPARE(count->text(), QString(QChar(0x2026)));
    QTRY_COMPARE(count->text(), u"%1 B"_s.arg(QLocale().toString(15'000)));
}

void TestSerialPortWidget::devicePulledAndPluggedBack()
{
    SimulatedDevice device;
    Bench bench;
    bench.pane.setAutoReconnect(true);
    QVERIFY(bench.pane.start(device.portName(), true));
    QTRY_VERIFY(bench.shows(u"AT+HELP"_s));
    device.unplug();
    QTRY_VERIFY(!bench.pane.isOpen());
    QVERIFY(bench.pane.isActive());
    bench.pane.clear();
    QVERIFY(device.plugBack());
    QTRY_VERIFY_WITH_TIMEOUT(bench.pane.isOpen(), 10000);
    QTRY_VERIFY(bench.shows(u"AT+HELP"_s)); // the banner of the second boot
    QVERIFY(bench.wasTold(u"Serial Port %1 DISCONNECTED"_s.arg(device.portName())));
    QVERIFY(bench.wasTold(u"Serial Port %1 RECONNECTED"_s.arg(device.portName())));
}

void TestSerialPortWidget::devicePulledForGood()
{
    SimulatedDevice device;
    Bench bench;
    QVERIFY(bench.pane.start(device.portName(), true));
    QTRY_VERIFY(bench.shows(u"AT+HELP"_s));
    device.unplug();
    QTRY_VERIFY(!bench.pane.isOpen());
    QVERIFY(!bench.pane.isActive());
    QVERIFY(!bench.notice.isHidden());
    QVERIFY(bench.notice.text().contains(device.portName()));
    QVERIFY(bench.shows(u"AT+HELP"_s)); // what was received stays
}

void TestSerialPortWidget::wrongPortIsNamed()
{
    Bench bench;
    const QString name = u"/dev/no-such-port"_s;
    QVERIFY(!bench.pane.start(name, false));
    QVERIFY(!bench.notice.isHidden());
    QVERIFY(bench.notice.text().startsWith(u"Serial Port %1 OPEN FAILED! ERROR: "_s.arg(name)));
    QVERIFY(bench.pane.lastError().contains(name));
}

void TestSerialPortWidget::messageThatOpensNothing_data()
{
    QTest::addColumn<int>("mode");
    QTest::addRow("no such serial port") << int(connectionMode::SerialPort);
    QTest::addRow("refused by the host") << int(connectionMode::TcpClient);
    QTest::addRow("port in use") << int(connectionMode::TcpServer);
}

// Nobody must believe that the message is on its way.
void TestSerialPortWidget::messageThatOpensNothing()
{
    QFETCH(int, mode);
    TcpPeer peer;
    QVERIFY(peer.listen());
    Bench bench;
    Settings settings = bench.pane.settings();
    settings.connMode = connectionModeFromInt(mode);
    settings.portName = u"/dev/no-such-port"_s;
    settings.targetHost = u"127.0.0.1"_s;
    settings.targetPort = peer.port();
    if (settings.connMode == connectionMode::TcpClient)
        peer.stopListening();
    bench.pane.setSettings(settings);
    bench.sendMessage(u"words"_s);
    QTRY_VERIFY(!bench.pane.isActive() && !bench.pane.lastError().isEmpty());
    QVERIFY(!bench.notice.isHidden());
    QVERIFY(bench.notice.text().startsWith(bench.pane.lastError()));
    QCOMPARE(bench.pane.formatSetting().sendList.value(0), u"words"_s);
}

void TestSerialPortWidget::messageLeavesTheLinesAlone()
{
    NullModem modem;
    Bench bench;
    Settings settings = bench.pane.settings();
    settings.flowControl = QSerialPort::HardwareControl;
    bench.pane.setSettings(settings);
    QVERIFY(bench.pane.start(modem.portA(), true));
    bench.told.clear();
    bench.sendMessage(u"words"_s);
    QCOMPARE(bench.pane.sentBytes(), 5);
    QVERIFY2(bench.told.isEmpty(), qPrintable(bench.told.value(0).value(0).toString()));
}

void TestSerialPortWidget::firstMessageOpensTcp()
{
    TcpPeer peer;
    QVERIFY(peer.listen());
    peer.setGreeting("hello\n");
    Bench bench;
    Settings settings = bench.pane.settings();
    settings.connMode = connectionMode::TcpClient;
    settings.targetHost = u"127.0.0.1"_s;
    settings.targetPort = peer.port();
    bench.pane.setSettings(settings);
    bench.typeMessage(u"first words"_s);
    QTest::keyClick(bench.editor.findChild<QPlainTextEdit*>(), Qt::Key_Return, Qt::ControlModifier);
    QTRY_COMPARE(peer.received(), "first words"_ba);
    QTRY_VERIFY(bench.shows(u"hello"_s));
    QTRY_VERIFY(bench.pane.isOpen());
    peer.reset();
    QTRY_VERIFY(!bench.pane.isOpen());
    QTRY_VERIFY(!bench.notice.isHidden());
}

void TestSerialPortWidget::historyStandsWhileRepeating()
{
    TcpPeer peer;
    Bench bench;
    QVERIFY(peer.listen());
    QVERIFY(bench.openTcp(peer.port()));
    for (const QString& message : {u"one"_s, u"two"_s, u"three"_s})
        bench.sendMessage(message);
    QTRY_VERIFY(peer.received().endsWith("three"));

    auto& list = *bench.editor.findChild<QComboBox*>();
    QTest::mouseClick(&list, Qt::LeftButton);
    QTRY_VERIFY(list.view()->isVisible());
    QTest::keyClick(list.view(), Qt::Key_Down);
    bench.typeMessage(u"again"_s);
    bench.setFormat([](FormatSetting& format) {
        format.autoSend = true;
        format.sendInterval = 10;
        format.sendTimeUnit = 1;
    });
    QTRY_VERIFY(peer.received().endsWith("againagain"));
    QVERIFY(list.view()->isVisible());
    QCOMPARE(list.count(), 3);
    QTest::keyClick(list.view(), Qt::Key_Return);
    QTRY_COMPARE(bench.editor.text(), u"two"_s);
    QTRY_COMPARE(list.count(), 4);
    QTRY_COMPARE(list.itemText(0), u"two"_s); // which is what repeats now
}

void TestSerialPortWidget::repeatTurnsToLines()
{
    TcpPeer peer;
    Bench bench;
    QVERIFY(peer.listen());
    QVERIFY(bench.openTcp(peer.port()));
    bench.typeMessage(u"ab\ncd"_s);
    bench.setFormat([](FormatSetting& format) {
        format.autoSend = true;
        format.sendInterval = 10;
        format.sendTimeUnit = 1;
    });
    QTRY_VERIFY(peer.received().endsWith("ab\ncdab\ncd"));
    bench.pane.findChild<QAbstractButton*>(u"lineByLine"_s)->click();
    QTRY_VERIFY(peer.received().endsWith("abcdabcd"));
}

void TestSerialPortWidget::servesItsClients()
{
    Bench bench;
    const PeerPanel& peers = *bench.pane.findChild<PeerPanel*>();
    QVERIFY(peers.isHidden());
    Settings settings = bench.pane.settings();
    settings.connMode = connectionMode::TcpServer;
    settings.targetPort = 0;
    bench.pane.setSettings(settings);
    QVERIFY2(bench.pane.start({}, true), qPrintable(bench.pane.lastError()));
    const QString where = peers.summary();
    QVERIFY2(where.startsWith("No client connected; listening on *:"_L1), qPrintable(where));
    TcpPeer clients;
    for (const int count : {1, 2}) {
        clients.connectTo(where.section(u':', -1).toUShort());
        QTRY_COMPARE(peers.model().peerCount(), count);
    }
    clients.send("\xC3", 0);
    QTRY_COMPARE(bench.pane.receivedBytes(), 1);
    clients.send("hello ", 1);
    QTRY_VERIFY(bench.shows(u"hello "_s));
    bench.pane.pause();
    clients.send("\xA9 one", 0);
    QTRY_COMPARE(bench.pane.receivedBytes(), 12);
    QCOMPARE(bench.text(), u"hello "_s);
    QVERIFY(bench.pane.start({}, true));
    QTRY_COMPARE(bench.text(), u"hello \u00E9 one"_s);

    const auto type = [&](const QString& keys) { QTest::keyClicks(keyTarget(bench.view), keys); };
    type(u"nobody was chosen"_s);
    auto* chooser = bench.pane.findChild<PeerPanel*>();
    chooser->choose(PeerPanel::Target::All);
    type(u"all"_s);
    chooser->choose(PeerPanel::Target::Peer, peers.model().keyAt(PeerListModel::kTargetRows + 1));
    type(u"tw"_s);
    bench.pane.sendBytes("o");
    QTRY_COMPARE(clients.received(1), "alltwo"_ba);
    QTRY_COMPARE(clients.received(0), "all"_ba);
    clients.close(1);
    QTRY_COMPARE(peers.model().peerCount(), 1);
    type(u"!"_s);
    QCOMPARE(bench.pane.sentBytes(), 6);
    bench.pane.stop();
    QTRY_COMPARE(clients.openCount(), 0);
    QCOMPARE(clients.received(0), "all"_ba);
    QVERIFY(bench.pane.settings().connMode == connectionMode::TcpServer && !bench.pane.isOpen());
}

void TestSerialPortWidget::onlyEditsMarkTheSettings()
{
    Bench bench;
    QSignalSpy changed(&bench.pane, &SerialPortWidget::settingsChanged);
    Settings settings = bench.pane.settings();
    settings.baudRate = 57600;
    settings.refreshTexts();
    bench.pane.setSettings(settings);
    FormatSetting format = bench.pane.formatSetting();
    format.receiveMsgFormat = 1;
    format.displayBufferSize = 12345678; // no whole number of megabytes
    bench.pane.setFormatSetting(format);
    bench.pane.updateSettings();
    QVERIFY(changed.isEmpty());
    QCOMPARE(bench.pane.settings(), settings);
    QCOMPARE(bench.pane.formatSetting(), format);

    auto* panel = bench.pane.findChild<ConnectionPanel*>();
    for (QComboBox* box : panel->findChildren<QComboBox*>()) {
        if (box->currentText() == u"57600"_s) {
            box->setFocus();
            QTest::keyClick(box, Qt::Key_Down);
        }
    }
    QVERIFY(!changed.isEmpty());
    QVERIFY(bench.pane.settings().baudRate != 57600);
}

void TestSerialPortWidget::columnWithoutGroups()
{
    Bench bench;
    const QWidget* column = bench.pane.findChild<SettingsColumn*>();
    QuickSettingsGroups groups;
    groups.showConnectionGroup = groups.showReceiveGroup = groups.showSendGroup = false;
    bench.pane.setQuickSettingsGroups(groups);
    bench.pane.setQuickSettingsVisible(true);
    QVERIFY(!column->isVisible());
    bench.pane.setQuickSettingsGroups({});
    QVERIFY(column->isVisible());
}

// A blank typed after Open would press Close.
void TestSerialPortWidget::openingLeadsToTheMessage()
{
    const NullModem modem;
    QVERIFY2(modem.isValid(), qPrintable(modem.errorString()));
    Bench bench;
    Settings settings = bench.pane.settings();
    auto* button = bench.pane.findChild<QPushButton*>(u"openButton"_s);
    for (const QString& port : {u"no-such-port"_s, modem.portA()}) {
        settings.portName = port;
        bench.pane.setSettings(settings);
        button->setFocus();
        QTest::keyClick(button, Qt::Key_Space);
        QCOMPARE(bench.pane.focusWidget() == button, !bench.pane.isOpen());
    }
    QCOMPARE(bench.pane.focusWidget(), bench.editor.findChild<QPlainTextEdit*>());
    // Opened while the terminal has the focus, the pane leaves it there.
    bench.pane.stop();
    const QWidget* keys = keyTarget(bench.view);
    QVERIFY(bench.pane.start({}, false));
    QCOMPARE(bench.pane.focusWidget(), keys);
}

void TestSerialPortWidget::typedHostSurvives()
{
    Bench bench;
    Settings settings = bench.pane.settings();
    settings.connMode = connectionMode::TcpClient;
    settings.targetHost = u"here"_s;
    settings.targetHosts = {u"here"_s, u"there"_s};
    bench.pane.setSettings(settings);
    auto* box = bench.pane.findChild<HostBox*>();
    bench.pane.activateWindow();
    box->setFocus();
    QTRY_VERIFY(box->lineEdit()->hasFocus());
    box->lineEdit()->setCursorPosition(2);
    QTest::keyClicks(box->lineEdit(), u"xy"_s);
    settings.targetHosts.append(u"elsewhere"_s);
    bench.pane.updateDisplay();
    box->setHosts(settings.targetHosts, settings.targetHost);
    QCOMPARE(box->host(), u"hexyre"_s);
    QCOMPARE(box->lineEdit()->cursorPosition(), 4);
    QCOMPARE(box->hosts(), settings.targetHosts);
    settings.targetHost = u"there"_s;
    bench.pane.setSettings(settings);
    QCOMPARE(box->host(), u"there"_s);
}

void TestSerialPortWidget::removedHostStaysAway()
{
    Bench bench;
    Settings settings = bench.pane.settings();
    settings.connMode = connectionMode::TcpClient;
    settings.targetHost = u"here"_s;
    settings.targetHosts = {u"here"_s, u"there"_s};
    bench.pane.setSettings(settings);
    QAbstractItemView* list = bench.pane.findChild<HostBox*>()->view();
    list->setCurrentIndex(list->model()->index(0, 0));
    QTest::keyClick(list, Qt::Key_Delete);
    QCOMPARE(bench.pane.settings().targetHosts, QStringList{u"there"_s});
    QCOMPARE(bench.pane.settings().targetHost, u"here"_s);
}

void TestSerialPortWidget::newSettingsReachAnOpenLine()
{
    NullModem modem;
    QVERIFY2(modem.isValid(), qPrintable(modem.errorString()));
    Bench bench;
    Settings settings = bench.pane.settings();
    settings.portName = modem.portA();
    bench.pane.setSettings(settings);
    QVERIFY(bench.pane.start({}, false));
    QCOMPARE(modem.lineSettings(NullModem::End::A), QByteArray("9600 8N1"));
    settings.baudRate = 115200;
    settings.parity = 2;
    bench.pane.setSettings(settings);
    QCOMPARE(modem.lineSettings(NullModem::End::A), QByteArray("115200 8E1"));
    QVERIFY(bench.pane.isOpen());
}

QTEST_MAIN(TestSerialPortWidget)
#include "tst_serialportwidget.moc"
