#include "app/mainwindow.h"

#include "app/fakecatalog.h"
#include "app/mainstatusbar.h"
#include "app/portselector.h"
#include "settings/config.h"
#include "support/nullmodem.h"
#include "support/smalldisk.h"
#include "terminal/pane/sendeditor.h"
#include "terminal/pane/serialportwidget.h"
#include "terminal/view/receiveview.h"
#include "tools/modbusbuilder.h"

#include <QAction>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QSerialPort>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QToolBar>

using namespace Qt::Literals::StringLiterals;

// The window with a machine whose ports the test chooses and a store of its own.
class MainWindowTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init();
    void cleanup() { m_window.reset(); }
    void menus_data();
    void menus();
    void unavailableActionsSayWhy();
    void portListFollowsTheMachine();
    void portChoiceOpensTheFirstPane();
    void failedStartShowsABox();
    void connectionActionsFollowTheState();
    void everyPaneIsStoppedOnClose();
    void closingAsksWhileAFileIsSent();
    void settingsComeBack();
    void lastConnection_data();
    void lastConnection();
    void optionsAreWrittenAtOnce();
    void fullDiskLeavesTheStore();
    void theLastPortStays();
    void modbusBuilderFollowsTheCurrentPane();
    void terminalKeepsTheKeysOfItsDevice();
    void noticesOfThePaneAreShown();

private:
    void open()
    {
        m_window = std::make_unique<MainWindow>(m_catalog);
        m_window->show();
    }
    [[nodiscard]] QAction* action(const char* name) const
    {
        return m_window->findChild<QAction*>(QLatin1StringView(name));
    }
    [[nodiscard]] QMessageBox* box() const { return m_window->findChild<QMessageBox*>(); }
    [[nodiscard]] SerialPortWidget* pane() const
    {
        return m_window->livePortWidgets().constFirst();
    }
    [[nodiscard]] static QSettings store()
    {
        return QSettings(Config::organizationName(), Config::applicationName());
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    FakeCatalog m_catalog;
    std::unique_ptr<MainWindow> m_window;
};

void MainWindowTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_dir->path());
    m_catalog.list.clear();
}

void MainWindowTest::menus_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("entries");
    const auto row = [](const char* menu, const QString& title, const QString& entries) {
        QTest::newRow(menu) << title << entries;
    };
    row("menuFile", u"&File"_s,
        u"New...|Open Settings...|Save Settings... Ctrl+S|Save Settings As...|Log Recording|View "
        "Current Data Log|Open Log Folder|Exit Ctrl+Q"_s);
    row("menuConnection", u"&Connection"_s,
        u"New Connection|Start F5|Pause F6|Stop F7|Clear All Displays Ctrl+L|Clear All Send "
        "Histories|Find... Ctrl+F|Add Port|Remove Port|Auto Restore Last Connection|Auto "
        "Reconnect"_s);
    row("menuView", u"&View"_s,
        u"Horizontal|Vertical|Grid|Custom|Next Port Ctrl+Shift+N|Previous Port Ctrl+Shift+P|Go to "
        "Port|Maximize Port F11|Close Quick Settings|Always On Top"_s);
    row("menuTools", u"&Tools"_s,
        u"Settings...|Toolbox...|ASCII Code...|Modbus Request Builder...|Bridges...|Send File... "
        "Ctrl+Shift+S|Receive File... Ctrl+Shift+R|Cancel Transfer"_s);
    row("menuCloud", u"Cl&oud"_s,
        u"Cloud Console|Allow Remote Send|Allow Remote Port Control|Allow Cloud Relay|Sign "
        "In...|My Account|Sync Now|Sync Settings...|Sign Out"_s);
    row("menuLanguage", u"Language"_s, u"English|Chinese"_s);
    row("menuHelp", u"&Help"_s, u"Help|Homepage|About"_s);
    row("menuDebug", u"&Debug"_s, u"Suspend Port List Refresh"_s);
}

// Every entry with its key, and a letter that no other entry of the menu has.
void MainWindowTest::menus()
{
    QFETCH(const QString, title);
    QFETCH(const QString, entries);
    open();
    const auto* menu = m_window->findChild<QMenu*>(QLatin1StringView(QTest::currentDataTag()));
    QCOMPARE(menu->title(), title);
    QStringList shown;
    QStringList letters;
    for (const QAction* entry : menu->actions()) {
        if (entry->isSeparator() || !entry->isVisible())
            continue;
        letters.append(QKeySequence::mnemonic(entry->text()).toString());
        const QString key = entry->shortcut().toString(QKeySequence::PortableText);
        shown.append(QString(entry->text().remove(u'&') + u' ' + key).trimmed());
    }
    QCOMPARE(shown.join(u'|'), entries);
    QVERIFY(!letters.contains(QString()));
    QCOMPARE(letters.removeDuplicates(), 0);
}

void MainWindowTest::unavailableActionsSayWhy()
{
    open();
    m_window->onUpdateDisplay();
    int unavailable = 0;
    for (const QAction* each : m_window->findChildren<QAction*>()) {
        static const QRegularExpression byState(
            u"^(acMon.*|acFileRecent.*|acEditPause|acEditRemove|acView(Next|Previous|Maximize)Port|acViewPort.*|acXfer.*)$"_s);
        if (each->isEnabled() || !each->objectName().startsWith("ac"_L1)
            || byState.match(each->objectName()).hasMatch())
            continue;
        ++unavailable;
        QVERIFY2(each->toolTip().contains("not in this version"_L1, Qt::CaseInsensitive),
            qPrintable(each->objectName()));
    }
    QVERIFY(unavailable > 0);
}

void MainWindowTest::portListFollowsTheMachine()
{
    open();
    auto* combo = m_window->findChild<PortSelector*>();
    QCOMPARE(combo->count(), 0);
    m_catalog.list = {listedPort(u"ttyUSB0"_s, u"USB bridge"_s)};
    QTest::ignoreMessage(QtDebugMsg, "Start to refresh port list...");
    QTRY_COMPARE(combo->count(), 1); // the window's own timer
    action("acDebugHoldPortList")->trigger();
    m_catalog.list.clear();
    m_catalog.asked = 0;
    m_window->onUpdateDisplay();
    QCOMPARE(m_catalog.asked, 0);
    QCOMPARE(combo->count(), 1);
    action("acDebugHoldPortList")->trigger();
    QTRY_COMPARE(combo->count(), 0);
}

void MainWindowTest::portChoiceOpensTheFirstPane()
{
    const NullModem line;
    QVERIFY2(line.isValid(), qPrintable(line.errorString()));
    m_catalog.list = {listedPort(line.portA()), listedPort(line.portB())};
    open();
    m_window->findChild<PortSelector*>()->setFocus();
    m_window->changePort(line.portA());
    QVERIFY(pane()->isOpen());
    QCOMPARE(m_window->focusedPortWidget(), pane());
    QCOMPARE(pane()->settings().portName, line.portA());
    // The same port again leaves the connection alone.
    int changes = 0;
    connect(pane(), &SerialPortWidget::stateChanged, this, [&changes] { ++changes; });
    m_window->changePort(line.portA());
    QCOMPARE(changes, 0);
    m_window->changePort(line.portB());
    QVERIFY(pane()->isOpen());
    QCOMPARE(pane()->settings().portName, line.portB());
    m_window->onUpdateDisplay();
    QCOMPARE(m_window->findChild<PortSelector*>()->currentData().toString(), line.portB());
}

// Quietly, the window says the same in its status bar.
void MainWindowTest::failedStartShowsABox()
{
    open();
    const QString failure = u"Serial Port no-such-port OPEN FAILED"_s;
    const auto* label = m_window->findChild<QLabel*>(u"statusError"_s);
    QTest::ignoreMessage(QtWarningMsg, qPrintable(failure));
    m_window->start(u"no-such-port"_s, false);
    QVERIFY(box() != nullptr);
    QCOMPARE(box()->text(), failure);
    // The reason, without saying again that it failed.
    QVERIFY(box()->informativeText().startsWith(u"No such file or directory"_s));
    QVERIFY(label->text().isEmpty());
    delete box();
    QTest::ignoreMessage(QtWarningMsg, qPrintable(failure));
    m_window->start(u"no-such-port"_s, true);
    QVERIFY(box() == nullptr);
    QCOMPARE(label->text(), failure);
    QVERIFY(label->toolTip().startsWith(u"No such file or directory"_s));
    QVERIFY(m_window->isWindowModified()); // the first pane has another port now
    m_window->setWindowModified(false);
    m_window->start(u"no-such-port"_s, true);
    QVERIFY(!m_window->isWindowModified());
}

void MainWindowTest::connectionActionsFollowTheState()
{
    const NullModem line;
    QVERIFY2(line.isValid(), qPrintable(line.errorString()));
    open();
    const auto enabled = [this] {
        m_window->onUpdateDisplay();
        return QList<bool>{action("acMonStart")->isEnabled(), action("acEditPause")->isEnabled(),
            action("acMonStop")->isEnabled()};
    };
    const auto state = [this] { return m_window->findChild<StateLamp*>()->state(); };
    QCOMPARE(enabled(), (QList<bool>{true, false, false}));
    QCOMPARE(state(), PortState::Closed);
    m_window->start(line.portA(), false);
    QCOMPARE(enabled(), (QList<bool>{false, true, true}));
    QCOMPARE(state(), PortState::Open);
    action("acEditPause")->trigger();
    QCOMPARE(enabled(), (QList<bool>{true, false, true}));
    QCOMPARE(state(), PortState::Paused);
    action("acMonStart")->trigger();
    QCOMPARE(enabled(), (QList<bool>{false, true, true}));
    action("acMonStop")->trigger();
    QCOMPARE(enabled(), (QList<bool>{true, false, false}));
    QVERIFY(!pane()->isOpen());
}

void MainWindowTest::everyPaneIsStoppedOnClose()
{
    const NullModem line;
    QVERIFY2(line.isValid(), qPrintable(line.errorString()));
    open();
    m_window->start(line.portA(), false);
    QVERIFY(pane()->isOpen());
    action("acFileExit")->trigger();
    QVERIFY(!pane()->isOpen());
    QVERIFY(!m_window->isVisible());
    QVERIFY(store().value("LastConnectionOpen"_L1).toBool());
    m_window->setGeometry(33, 44, 777, 555);
    m_window.reset();
    QCOMPARE(store().value("LAST_WINDOW_SIZE"_L1).toSize(), QSize(777, 555));
    QCOMPARE(store().value("LAST_WINDOW_POSITION"_L1).toPoint(), QPoint(33, 44));
}

// A device whose firmware is being updated: nothing ends it unasked, and what a person ends the
// device hears of.
void MainWindowTest::closingAsksWhileAFileIsSent()
{
    const NullModem line;
    QVERIFY2(line.isValid(), qPrintable(line.errorString()));
    QSerialPort device(line.portB());
    QVERIFY(device.open(QIODevice::ReadWrite));
    QByteArray heard;
    connect(&device, &QSerialPort::readyRead, this, [&] {
        heard += device.readAll();
        device.write("\x06"); // one block after the other
    });
    QFile file(m_dir->filePath(u"firmware.bin"_s));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(50'000'000));
    file.close();
    open();
    m_window->start(line.portA(), false);
    QString error;
    QVERIFY2(
        pane()->startFileTransfer({XferProtocol::Xmodem1K, XferSend}, file.fileName(), {}, &error),
        qPrintable(error));
    device.write("C");
    QTRY_VERIFY(heard.size() > 5000);

    const auto asked = [this](const QString& text, QMessageBox::StandardButton answer) {
        if (!QTest::qWaitFor([this] { return box() != nullptr; }) || box()->text() != text)
            return false;
        box()->button(answer)->click();
        return QTest::qWaitFor([this] { return box() == nullptr; });
    };
    const QString window = u"A file transfer is running. Closing ends it."_s;
    action("acMonStop")->trigger();
    QVERIFY(asked(u"A file transfer is running on this port. Closing it ends the transfer."_s,
        QMessageBox::Cancel));
    m_window->close();
    QVERIFY(asked(window, QMessageBox::Cancel));
    QVERIFY(m_window->isVisible() && pane()->isOpen() && pane()->transfer().isActive());
    const qsizetype before = heard.size();
    QTRY_VERIFY2(heard.size() > before, "it goes on");

    m_window->close();
    QVERIFY(asked(window, QMessageBox::Discard));
    QTRY_VERIFY(!m_window->isVisible());
    QTRY_VERIFY2(heard.right(16).count('\x18') >= 5, "the cancel sequence");
}

void MainWindowTest::settingsComeBack()
{
    open();
    Settings settings = pane()->settings();
    settings.portName = u"ttyUSB5"_s;
    settings.baudRate = 57600;
    settings.parity = 2;
    settings.refreshTexts();
    pane()->setSettings(settings);
    FormatSetting format = pane()->formatSetting();
    format.displayMsgTime = true;
    format.sendList = {u"first"_s, u"second"_s};
    pane()->setFormatSetting(format);
    format.currentLogFileName = m_dir->filePath(u"now.log"_s);
    pane()->setFormatSetting(format);
    m_window->close();
    QCOMPARE(store().value("LastLogFile"_L1).toString(), format.currentLogFileName);
    QVERIFY(!store().value("LastConnectionOpen"_L1).toBool());

    open();
    QVERIFY(pane()->settings() == settings);
    QVERIFY(pane()->formatSetting().displayMsgTime);
    QCOMPARE(pane()->formatSetting().sendList, format.sendList);
}

void MainWindowTest::lastConnection_data()
{
    QTest::addColumn<bool>("restore");
    QTest::addColumn<bool>("wasOpen");
    QTest::addColumn<bool>("listed");
    QTest::newRow("comes back") << true << true << true;
    QTest::newRow("not wanted") << false << true << true;
    QTest::newRow("was closed") << true << false << true;
    QTest::newRow("port is gone") << true << true << false;
}

void MainWindowTest::lastConnection()
{
    QFETCH(const bool, restore);
    QFETCH(const bool, wasOpen);
    QFETCH(const bool, listed);
    const NullModem line;
    QVERIFY2(line.isValid(), qPrintable(line.errorString()));
    if (listed)
        m_catalog.list = {listedPort(line.portA())};
    store().setValue("LastPortName"_L1, line.portA());
    store().setValue("LastConnectionOpen"_L1, wasOpen);
    if (!restore)
        store().setValue("OpenLastConnection"_L1, false);
    open();
    QCOMPARE(pane()->isOpen(), restore && wasOpen && listed);
    QVERIFY(m_window->findChild<QLabel*>(u"statusError"_s)->text().isEmpty());
}

void MainWindowTest::optionsAreWrittenAtOnce()
{
    open();
    QVERIFY(action("acControlOpen")->isChecked());
    QVERIFY(!action("acAutoReconnect")->isChecked());
    action("acControlOpen")->trigger();
    action("acAutoReconnect")->trigger();
    QCOMPARE(store().value("OpenLastConnection"_L1), QVariant(false));
    QCOMPARE(store().value("AutoReconnect"_L1), QVariant(true));
    m_window->close();
    open();
    QVERIFY(!action("acControlOpen")->isChecked());
    QVERIFY(action("acAutoReconnect")->isChecked());
}

// A store that does not fit is not written: the library would leave the first part of it.
void MainWindowTest::fullDiskLeavesTheStore()
{
    const QString folder = m_dir->filePath(u"KORVANE"_s);
    SmallDisk disk(folder);
    if (!disk.isMounted())
        QSKIP("may not mount a small file system here");
    open();
    action("acAutoReconnect")->trigger();
    m_window->close();
    m_window.reset();
    const QString path = store().fileName();
    const qint64 size = QFileInfo(path).size();
    QVERIFY(size > 1000);
    for (const int left : {0, 4096, 8192}) {
        open();
        disk.leave(left);
        action("actionChinese")->trigger();
        QVERIFY(box()->text().startsWith("The choice is forgotten"_L1));
        QVERIFY(box()->informativeText().contains(path));
        delete box();
        m_window->close();
        QVERIFY(m_window->isVisible()); // until it is told
        QVERIFY(box()->text().startsWith("The settings of the program"_L1));
        box()->accept();
        QVERIFY(!m_window->isVisible());
        m_window.reset();
        QCOMPARE(QFileInfo(path).size(), size);
        disk.makeRoom();
    }
    QVERIFY(store().value("AutoReconnect"_L1).toBool());
    open();
    action("actionChinese")->trigger();
    QCOMPARE(box()->icon(), QMessageBox::Information);
}

// Refused in words also where the action was not disabled yet.
void MainWindowTest::theLastPortStays()
{
    open();
    action("acEditRemove")->setEnabled(true);
    action("acEditRemove")->trigger();
    QCOMPARE(m_window->findChild<QLabel*>(u"statusNotice"_s)->text(), "Port Number = 1"_L1);
    QCOMPARE(m_window->livePortWidgets().size(), 1);
    QCOMPARE(m_window->findChild<QToolBar*>()->windowTitle(), "Main Toolbar"_L1);
}

// In the terminal Ctrl and a letter is for the device, whatever the window has a shortcut for.
void MainWindowTest::modbusBuilderFollowsTheCurrentPane()
{
    open();
    action("acToolsModbus")->trigger();
    auto* const builder = m_window->findChild<ModbusBuilder*>();
    QVERIFY(builder && builder->isVisible());
    const auto names = [builder](const QString& port) {
        const auto labels = builder->findChildren<QLabel*>();
        return std::any_of(labels.begin(), labels.end(),
            [&port](const QLabel* label) { return label->text().startsWith(port); });
    };
    Settings settings;
    settings.portName = u"ttyModbus"_s;
    SerialPortWidget* const second = m_window->addPort(settings, {});
    QVERIFY(names(settings.portName));
    action("acViewNextPort")->trigger();
    QVERIFY(!names(settings.portName));
    action("acViewNextPort")->trigger();
    builder->insertRequested("\x01\x07");
    QVERIFY(second->findChild<SendEditor*>()->findChild<QPlainTextEdit*>()->toPlainText().contains(
        u"07"_s));
    action("acEditRemove")->trigger(); // the pane that the builder speaks to
    QVERIFY(!names(settings.portName));
    builder->close();
    action("acToolsModbus")->trigger();
    QCOMPARE(m_window->findChildren<ModbusBuilder*>(), QList<ModbusBuilder*>{builder});
    QVERIFY(builder->isVisible());
}

void MainWindowTest::terminalKeepsTheKeysOfItsDevice()
{
    const NullModem line;
    QVERIFY2(line.isValid(), qPrintable(line.errorString()));
    open();
    m_window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    m_window->start(line.portA(), false);
    auto* terminal = pane()->findChild<ReceiveView*>();
    terminal->setFocus();
    int cleared = 0;
    connect(action("acEditClear"), &QAction::triggered, this, [&cleared] { ++cleared; });
    for (const Qt::Key key : {Qt::Key_Q, Qt::Key_S, Qt::Key_L, Qt::Key_F, Qt::Key_G})
        QTest::keyClick(m_window->focusWidget(), key, Qt::ControlModifier);
    QTRY_COMPARE(pane()->sentBytes(), 5);
    QVERIFY(m_window->isVisible());
    QVERIFY(!box());
    QCOMPARE(cleared, 0);
    pane()->focusSendEditor();
    QTest::keyClick(m_window->focusWidget(), Qt::Key_L, Qt::ControlModifier);
    QTRY_COMPARE(cleared, 1);
    terminal->setFocus();
    QTest::keyClick(m_window->focusWidget(), Qt::Key_F7);
    QTRY_VERIFY(!pane()->isOpen());
}

void MainWindowTest::noticesOfThePaneAreShown()
{
    open();
    pane()->showStatusMessage(u"Serial Port A OPEN SUCCESS"_s, 1);
    const auto* notice = m_window->findChild<QLabel*>(u"statusNotice"_s);
    QCOMPARE(notice->text(), "Serial Port A OPEN SUCCESS"_L1);
    QTRY_COMPARE(notice->text(), QString());
}

QTEST_MAIN(MainWindowTest)
#include "tst_mainwindow.moc"
