#include "app/fakecatalog.h"
#include "app/portdialogs.h"
#include "app/settingsdialog.h"
#include "app/settingspage.h"
#include "settings/portsessioncodec.h"
#include "settings/settingsservice.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QSettings>
#include <QSignalSpy>
#include <QSpinBox>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

SettingsDialogValues defaultValues()
{
    SettingsDialogValues values;
    values.settings = SettingsService::defaultPortSettings(u"ttyUSB0"_s);
    values.format = SettingsService::defaultFormatSettings();
    return values;
}

template<typename Widget>
Widget& child(const QWidget& parent, const QString& name)
{
    auto* widget = parent.findChild<Widget*>(name);
    if (!widget)
        qFatal("no %s", qPrintable(name));
    return *widget;
}

QPushButton& button(const QDialog& dialog, QDialogButtonBox::StandardButton which)
{
    return *dialog.findChild<QDialogButtonBox*>()->button(which);
}

QLineEdit& host(const QWidget& dialog)
{
    return *child<QComboBox>(dialog, u"targetHost"_s).lineEdit();
}

void chooseMode(const QWidget& dialog, connectionMode mode)
{
    auto& box = child<QComboBox>(dialog, u"connMode"_s);
    box.setCurrentIndex(box.findData(int(mode)));
}

void checkTabStops(QDialog& dialog)
{
    QPoint last;
    for (QWidget* stop = dialog.nextInFocusChain(); stop != &dialog;
         stop = stop->nextInFocusChain()) {
        // A line edit in a box is a part of the box.
        const bool part = qobject_cast<QComboBox*>(stop->parentWidget())
                          || qobject_cast<QAbstractSpinBox*>(stop->parentWidget());
        const bool container = qobject_cast<QScrollArea*>(stop);
        if (part || container || !stop->isVisible() || (stop->focusPolicy() & Qt::TabFocus) == 0)
            continue;
        const QString what = QLatin1StringView(stop->metaObject()->className()) + u' '
                             + stop->objectName() + u' ' + stop->accessibleName();
        const QAccessibleInterface* face = QAccessible::queryAccessibleInterface(stop);
        QVERIFY2(face && !face->text(QAccessible::Name).isEmpty(), qPrintable(what));
        const QWidget* page = stop->parentWidget();
        while (page && !qobject_cast<const SettingsPage*>(page))
            page = page->parentWidget();
        if (!page)
            continue;
        const QPoint at = stop->mapTo(&dialog, QPoint());
        constexpr int kSameRow = 12;
        QVERIFY2(at.y() > last.y() + kSameRow
                     || (std::abs(at.y() - last.y()) <= kSameRow && at.x() > last.x()),
            qPrintable(what));
        last = at;
    }
}

void checkMnemonics(const QDialog& dialog)
{
    QStringList texts;
    for (const QLabel* label : dialog.findChildren<QLabel*>()) {
        if (label->isVisible() && label->buddy())
            texts.append(label->text());
    }
    for (const QAbstractButton* button : dialog.findChildren<QAbstractButton*>()) {
        if (button->isVisible())
            texts.append(button->text());
    }
    QStringList mnemonics;
    for (const QString& text : texts) {
        if (const QString key = QKeySequence::mnemonic(text).toString(); !key.isEmpty())
            mnemonics.append(key);
    }
    QCOMPARE(mnemonics.removeDuplicates(), 0);
}

} // namespace

// The dialogs of settings and connections, opened and used as a person would.
class SettingsDialogTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void acceptTellsTheEdits();
    void applyTakesEditsOver();
    void editsDoNotUndoWhatThePaneDid();
    void aFaultIsTold();
    void modesKeepWhatWasTyped();
    void numbersAreTypedInPeace();
    void connectionFaults_data();
    void connectionFaults();
    void portBehindAHost_data();
    void portBehindAHost();
    void hostsLeaveTheHistory();
    void portDetails();
    void openConnectionKeepsItsTarget();
    void newConnection();
    void everyFieldIsReachable_data();
    void everyFieldIsReachable();

private:
    FakeCatalog m_catalog;
};

void SettingsDialogTest::acceptTellsTheEdits()
{
    SettingsDialog dialog(u"Port 2, ttyUSB0"_s, defaultValues(), m_catalog);
    QCOMPARE(dialog.windowTitle(), u"Settings - Port 2, ttyUSB0"_s);
    const QSignalSpy applied(&dialog, &SettingsDialog::applied);
    dialog.open();
    child<QSpinBox>(dialog, u"displayBufferSize"_s).setValue(25);
    child<QAbstractButton>(dialog, u"autoReconnect"_s).click();
    child<QComboBox>(dialog, u"language"_s).setCurrentIndex(1);
    QTest::keyClick(&dialog, Qt::Key_Return);
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QCOMPARE(applied.size(), 1);
    QCOMPARE(dialog.formatSetting().displayBufferSize, 25 << 20);
    const GeneralOptions expected{true, true, InterfaceLanguage::Choice::English};
    QCOMPARE(dialog.generalOptions(), expected);

    SettingsDialog left(u"Port"_s, defaultValues(), m_catalog);
    const QSignalSpy leftApplied(&left, &SettingsDialog::applied);
    left.open();
    child<QSpinBox>(left, u"displayBufferSize"_s).setValue(25);
    QTest::keyClick(&left, Qt::Key_Escape);
    QCOMPARE(left.result(), int(QDialog::Rejected));
    QVERIFY(leftApplied.isEmpty());
}

// A field that goes back to its first value after Apply is an edit, too.
void SettingsDialogTest::applyTakesEditsOver()
{
    const SettingsDialogValues values = defaultValues();
    SettingsDialog dialog(u"Port"_s, values, m_catalog);
    QPushButton& apply = button(dialog, QDialogButtonBox::Apply);
    auto& size = child<QSpinBox>(dialog, u"displayBufferSize"_s);
    QVERIFY(!apply.isEnabled());
    const int before = size.value();
    FormatSetting pane = values.format;
    Settings settings = values.settings;
    for (const int mb : {before + 1, before}) {
        size.setValue(mb);
        QVERIFY(apply.isEnabled());
        connect(
            &dialog, &SettingsDialog::applied, this, [&] { dialog.storeEdits(settings, pane); },
            Qt::SingleShotConnection);
        apply.click();
        QCOMPARE(pane.displayBufferSize, mb << 20);
        QVERIFY(!apply.isEnabled());
    }
    QVERIFY(pane == values.format);
    QVERIFY(settings == values.settings);
}

void SettingsDialogTest::editsDoNotUndoWhatThePaneDid()
{
    SettingsDialogValues values = defaultValues();
    SettingsDialog dialog(u"Port"_s, values, m_catalog);
    child<QLineEdit>(dialog, u"rxTimeFormat"_s).setText(u"hh "_s);
    values.format.sendList = {u"sent meanwhile"_s};
    values.format.currentLogFileName = u"/tmp/now.log"_s;
    values.format.autoSend = true;
    FormatSetting expected = values.format;
    expected.rxTimeFormat = u"hh "_s;
    dialog.storeEdits(values.settings, values.format);
    QVERIFY(values.format == expected);
}

void SettingsDialogTest::aFaultIsTold()
{
    SettingsDialog dialog(u"Port"_s, defaultValues(), m_catalog);
    const QSignalSpy applied(&dialog, &SettingsDialog::applied);
    dialog.open();
    auto& list = child<QListWidget>(dialog, u"settingsPageList"_s);
    auto& pattern = child<QLineEdit>(dialog, u"logFilePath"_s);
    pattern.clear();
    QVERIFY(!button(dialog, QDialogButtonBox::Ok).isEnabled());
    QVERIFY(!button(dialog, QDialogButtonBox::Apply).isEnabled());
    const auto& note = child<QWidget>(dialog, u"settingsProblem"_s);
    QStringList texts;
    for (const QLabel* label : note.findChildren<QLabel*>())
        texts.append(label->text());
    QVERIFY(texts.contains(u"Log: Please input correct log file name!"_s));
    int marked = -1;
    for (int i = 0; i < list.count(); ++i) {
        if (!list.item(i)->icon().isNull())
            marked = i;
    }
    QCOMPARE(list.item(marked)->text(), u"Log"_s);

    dialog.accept();
    QVERIFY(dialog.isVisible());
    QVERIFY(applied.isEmpty());
    QCOMPARE(list.currentRow(), marked);
    QVERIFY(pattern.isVisible());
    pattern.setText(u"/tmp/a.log"_s);
    QVERIFY(button(dialog, QDialogButtonBox::Ok).isEnabled());
    QVERIFY(list.item(marked)->icon().isNull());
}

void SettingsDialogTest::modesKeepWhatWasTyped()
{
    MultiPortSettingDlg dialog(
        m_catalog, SettingsService::defaultPortSettings({}), defaultValues().format);
    child<QComboBox>(dialog, u"portName"_s).setEditText(u"/dev/pts/9"_s);
    child<QComboBox>(dialog, u"baudRate"_s).setEditText(u"31250"_s);
    chooseMode(dialog, connectionMode::TcpClient);
    host(dialog).setText(u"plc.example"_s);
    child<QSpinBox>(dialog, u"targetPort"_s).setValue(4001);
    child<QLineEdit>(dialog, u"txTimeFormat"_s).setText(u"ss "_s);
    for (const connectionMode mode : {connectionMode::UdpServer, connectionMode::SerialPort})
        chooseMode(dialog, mode);
    const Settings settings = dialog.settings();
    QCOMPARE(settings.connMode, connectionMode::SerialPort);
    QCOMPARE(settings.portName, u"/dev/pts/9"_s);
    QCOMPARE(settings.baudRate, 31250);
    QCOMPARE(settings.stringBaudRate, u"31250"_s);
    QCOMPARE(settings.targetHost, u"plc.example"_s);
    QCOMPARE(settings.targetHosts.constFirst(), u"plc.example"_s);
    QCOMPARE(settings.targetPort, 4001);
    QCOMPARE(dialog.formatSetting().txTimeFormat, u"ss "_s);
}

// Nothing reads, and so completes, a number of which the first digit alone is too small.
void SettingsDialogTest::numbersAreTypedInPeace()
{
    SettingsDialog dialog(u"Port"_s, defaultValues(), m_catalog);
    dialog.open();
    child<QListWidget>(dialog, u"settingsPageList"_s).setCurrentRow(1);
    child<QAbstractButton>(dialog, u"rxAutoFeedLine"_s).click();
    button(dialog, QDialogButtonBox::Apply).click();
    auto& interval = child<QSpinBox>(dialog, u"autoFeedInterval"_s);
    interval.selectAll();
    QTest::keyClicks(&interval, u"3"_s);
    QVERIFY(!button(dialog, QDialogButtonBox::Apply).isEnabled());
    QTest::keyClicks(&interval, u"5"_s);
    QVERIFY(button(dialog, QDialogButtonBox::Apply).isEnabled());
    QCOMPARE(dialog.formatSetting().autoFeedInterval, 35);
}

void SettingsDialogTest::connectionFaults_data()
{
    QTest::addColumn<connectionMode>("mode");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("required"); // only where a connection is about to be opened
    const auto tcp = connectionMode::TcpClient;
    const auto serial = connectionMode::SerialPort;
    QTest::newRow("no host") << tcp << u"targetHost"_s << u" "_s << false;
    QTest::newRow("blank in a host") << tcp << u"targetHost"_s << u"a b"_s << false;
    QTest::newRow("web address") << tcp << u"targetHost"_s << u"http://plc"_s << false;
    QTest::newRow("bad port") << tcp << u"targetHost"_s << u"plc:99999"_s << false;
    QTest::newRow("no rate") << serial << u"baudRate"_s << QString() << false;
    QTest::newRow("rate 0") << serial << u"baudRate"_s << u"0"_s << false;
    QTest::newRow("rate beyond") << serial << u"baudRate"_s << u"100000001"_s << false;
    QTest::newRow("no port") << serial << u"portName"_s << QString() << true;
}

void SettingsDialogTest::connectionFaults()
{
    QFETCH(const connectionMode, mode);
    QFETCH(const QString, field);
    QFETCH(const QString, text);
    QFETCH(const bool, required);
    const SettingsDialogValues values = defaultValues();
    NewConnectionDialog opening(m_catalog, values.settings, true);
    MultiPortSettingDlg adding(m_catalog, values.settings, values.format);
    for (QDialog* dialog : {static_cast<QDialog*>(&opening), static_cast<QDialog*>(&adding)}) {
        dialog->open();
        chooseMode(*dialog, mode);
        auto& box = child<QComboBox>(*dialog, field);
        const QString good = box.currentText();
        QPushButton& ok = button(*dialog, QDialogButtonBox::Ok);
        QVERIFY(ok.isEnabled());
        box.setEditText(text);
        const bool refused = !required || dialog == &opening;
        QCOMPARE(ok.isEnabled(), !refused);
        QCOMPARE(box.accessibleDescription().isEmpty(), !refused);
        dialog->accept();
        QCOMPARE(dialog->isVisible(), refused);
        // What another transport would need is not asked for.
        chooseMode(*dialog, mode == connectionMode::UdpServer ? connectionMode::SerialPort
                                                              : connectionMode::UdpServer);
        QVERIFY(ok.isEnabled());
        chooseMode(*dialog, mode);
        box.setEditText(good);
        QVERIFY(ok.isEnabled());
    }
}

void SettingsDialogTest::portBehindAHost_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<int>("port");
    QTest::newRow("plc.example") << u"plc.example"_s << 6000;
    QTest::newRow(" plc.example:4001 ") << u"plc.example"_s << 4001;
    QTest::newRow("fe80::1") << u"fe80::1"_s << 6000;
    QTest::newRow("[fe80::1]:4001") << u"fe80::1"_s << 4001;
}

void SettingsDialogTest::portBehindAHost()
{
    Settings settings = SettingsService::defaultPortSettings({});
    settings.connMode = connectionMode::TcpClient;
    NewConnectionDialog dialog(m_catalog, settings, true);
    dialog.open();
    host(dialog).setText(QString::fromLatin1(QTest::currentDataTag()));
    QTEST(dialog.settings().targetHost, "host");
    QTEST(dialog.settings().targetPort, "port");
    QTest::keyClick(&host(dialog), Qt::Key_Return);
    QTEST(host(dialog).text(), "host");
    QTEST(child<QSpinBox>(dialog, u"targetPort"_s).value(), "port");
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
}

void SettingsDialogTest::hostsLeaveTheHistory()
{
    Settings settings = SettingsService::defaultPortSettings({});
    settings.connMode = connectionMode::TcpClient;
    for (const QString& name : {u"c"_s, u"b"_s, u"a"_s})
        settings.useTargetHost(name);
    NewConnectionDialog dialog(m_catalog, settings, true);
    dialog.open();
    auto& box = child<QComboBox>(dialog, u"targetHost"_s);
    box.showPopup();
    box.view()->setCurrentIndex(box.model()->index(1, 0));
    QTest::keyClick(box.view(), Qt::Key_Delete);
    QCOMPARE(dialog.settings().targetHosts, (QStringList{u"a"_s, u"c"_s, u"127.0.0.1"_s}));
    QCOMPARE(dialog.settings().targetHost, u"a"_s);
    box.view()->setCurrentIndex(box.model()->index(0, 0));
    QTest::keyClick(box.view(), Qt::Key_Delete);
    QCOMPARE(box.currentText(), u"a"_s);
    // In use it is, and so it comes back from a session.
    const QTemporaryDir dir;
    QSettings file(dir.filePath(u"a.vmr"_s), QSettings::IniFormat);
    PortSessionCodec::write(file, 0, dialog.settings(), defaultValues().format);
    Settings read;
    FormatSetting format;
    PortSessionCodec::read(file, 0, read, format);
    QCOMPARE(read.targetHost, u"a"_s);
}

void SettingsDialogTest::portDetails()
{
    FakeCatalog catalog;
    catalog.list = {
        {u"ttyUSB0"_s, u"USB Serial"_s, u"ACME"_s, u"A10K"_s, u"/dev/ttyUSB0"_s},
        listedPort(u"ttyS0"_s),
    };
    NewConnectionDialog dialog(catalog, SettingsService::defaultPortSettings(u"ttyUSB0"_s), true);
    const auto& details = child<QLabel>(dialog, u"portDetails"_s);
    QCOMPARE(details.text(), u"USB Serial, ACME, serial number A10K, /dev/ttyUSB0"_s);
    chooseMode(dialog, connectionMode::TcpClient);
    QVERIFY(!details.isVisibleTo(&dialog));
    chooseMode(dialog, connectionMode::SerialPort);
    QVERIFY(details.isVisibleTo(&dialog));
    child<QComboBox>(dialog, u"portName"_s).setEditText(u"ttyS0"_s);
    QVERIFY(!details.isVisibleTo(&dialog));
    child<QComboBox>(dialog, u"portName"_s).setEditText(u"ttyUSB1"_s);
    QCOMPARE(details.text(), u"not there now"_s);
    catalog.list.append({u"ttyUSB1"_s, u"Came"_s, {}, {}, {}});
    dialog.refreshPorts();
    QCOMPARE(details.text(), u"Came"_s);
    QCOMPARE(dialog.settings().portName, u"ttyUSB1"_s);
}

void SettingsDialogTest::openConnectionKeepsItsTarget()
{
    SettingsDialogValues values = defaultValues();
    values.connectionActive = true;
    const SettingsDialog dialog(u"Port"_s, values, m_catalog);
    QVERIFY(!child<QComboBox>(dialog, u"portName"_s).isEnabled());
    QVERIFY(!child<QComboBox>(dialog, u"connMode"_s).isEnabled());
    QVERIFY(child<QComboBox>(dialog, u"baudRate"_s).isEnabled());
}

void SettingsDialogTest::newConnection()
{
    const Settings settings = SettingsService::defaultPortSettings(u"ttyS3"_s);
    NewConnectionDialog dialog(m_catalog, settings, true);
    QVERIFY(!dialog.wantsNewPane());
    child<QRadioButton>(dialog, u"openInNewPane"_s).click();
    QVERIFY(dialog.wantsNewPane());
    QVERIFY(dialog.settings() == settings);
    const NewConnectionDialog full(m_catalog, settings, false);
    QVERIFY(!child<QRadioButton>(full, u"openInNewPane"_s).isEnabled());
    QVERIFY(!full.wantsNewPane());
}

void SettingsDialogTest::everyFieldIsReachable_data()
{
    using Make = std::function<QDialog*()>;
    QTest::addColumn<Make>("make");
    const SettingsDialogValues v = defaultValues();
    const auto row = [](const char* name, const Make& make) { QTest::newRow(name) << make; };
    row("settings", [=, this] { return new SettingsDialog(u"Port"_s, v, m_catalog); });
    row("new port", [=, this] { return new MultiPortSettingDlg(m_catalog, v.settings, v.format); });
    row("new connection",
        [=, this] { return new NewConnectionDialog(m_catalog, v.settings, true); });
}

// On every page, for every transport: what takes the focus has a name for those who do not see it,
// Tab goes from top to bottom and from left to right, no two mnemonics are the same, and the dialog
// fits a small screen.
void SettingsDialogTest::everyFieldIsReachable()
{
    QFETCH(const std::function<QDialog*()>, make);
    const std::unique_ptr<QDialog> dialog(make());
    dialog->open();
    QVERIFY(dialog->width() <= 1280 && dialog->height() <= 740);
    QVERIFY2(dialog->minimumSizeHint().height() <= 500, "does not scroll");
    auto* list = dialog->findChild<QListWidget*>(u"settingsPageList"_s);
    auto& modes = child<QComboBox>(*dialog, u"connMode"_s);
    for (int step = 0; step < (list ? list->count() : 1) + modes.count(); ++step) {
        if (list)
            list->setCurrentRow(std::max(0, step - modes.count()));
        if (step < modes.count())
            modes.setCurrentIndex(step);
        QApplication::processEvents();
        checkTabStops(*dialog);
        checkMnemonics(*dialog);
    }
}

QTEST_MAIN(SettingsDialogTest)

#include "tst_settingsdialog.moc"
