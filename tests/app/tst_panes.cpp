#include "app/mainwindow.h"

#include "app/fakecatalog.h"
#include "app/paneframe.h"
#include "app/sessiondocument.h"
#include "app/settingsdialog.h"
#include "settings/sessionfile.h"
#include "settings/settingsservice.h"
#include "support/nullmodem.h"
#include "terminal/pane/panestatusline.h"
#include "terminal/pane/serialportwidget.h"
#include "terminal/pane/settingscolumn.h"
#include "terminal/view/receiveview.h"

#include <QAction>
#include <QComboBox>
#include <QInputDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QSplitter>
#include <QStandardPaths>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>

using namespace Qt::Literals::StringLiterals;

// The window with more than one pane: the person adds, removes, arranges, saves and opens.
class PanesTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init();
    void cleanup() { m_window.reset(); }
    void addAndRemove();
    void sixteenAtMost();
    void dialogMakesThePane();
    void newConnectionOpensThePaneWithTheKeyboard();
    void settingsBelongToThePaneWithTheKeyboard();
    void onlyEditsOfTheSessionMark_data();
    void onlyEditsOfTheSessionMark();
    void impossibleBaudRateKeepsTheOldOne();
    void viewModes_data();
    void viewModes();
    void customIsAsked();
    void draggedSizesSurviveARebuild();
    void statusLines();
    void focusMarksOnePane();
    void keyboardMovesBetweenPanes();
    void keysNameAPane();
    void onePaneTakesTheWholeWindow();
    void narrowPanesShowTheTerminal();
    void manyPanesFitTheScreen();
    void sessionReplacesThePanes();
    void savingIsToldInTheFirstPane();
    void openedSessionIsUnmodified();
    void newSessionHasOnePane();
    void startOpensEveryPane();
    void recentFilesComeBack();
    void unwrittenLogIsNotDroppedUnasked_data();
    void unwrittenLogIsNotDroppedUnasked();

private:
    [[nodiscard]] QAction* action(const char* name) const
    {
        return m_window->findChild<QAction*>(QLatin1StringView(name));
    }
    void trigger(const char* name) const { action(name)->trigger(); }
    [[nodiscard]] int count() const { return int(m_window->livePortWidgets().size()); }
    [[nodiscard]] SerialPortWidget* pane(int index) const
    {
        return m_window->livePortWidgets().at(index);
    }
    [[nodiscard]] PaneFrame* frame(int index) const
    {
        return static_cast<PaneFrame*>(pane(index)->parentWidget());
    }
    [[nodiscard]] QString caption(int index) const
    {
        return frame(index)->findChild<QLabel*>(u"paneCaption"_s)->text();
    }
    [[nodiscard]] bool isMarked(int index) const { return caption(index).startsWith(u'\u25b6'); }
    void add(int panes = 1, const QString& port = {}) const
    {
        for (int i = 0; i < panes; ++i) {
            m_window->addPort(SettingsService::defaultPortSettings(port),
                SettingsService::defaultFormatSettings());
        }
    }
    // Panes in each visible row.
    [[nodiscard]] QList<int> rows() const
    {
        QList<int> result;
        auto* outer = m_window->findChild<QSplitter*>(u"portSplitter"_s);
        for (int i = 0; i < outer->count(); ++i) {
            if (outer->widget(i)->isVisible())
                result.append(static_cast<QSplitter*>(outer->widget(i))->count());
        }
        return result;
    }
    [[nodiscard]] QString path(const QString& name) const { return m_dir->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_dir;
    FakeCatalog m_catalog;
    std::unique_ptr<MainWindow> m_window;
};

void PanesTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_dir->path());
    m_catalog.list.clear();
    m_window = std::make_unique<MainWindow>(m_catalog);
    m_window->resize(1280, 800);
    m_window->show();
    m_window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
}

void PanesTest::addAndRemove()
{
    QVERIFY(!action("acEditRemove")->isEnabled());
    trigger("acViewVertical");
    m_window->setWindowModified(false);
    add(2);
    QCOMPARE(count(), 3);
    QCOMPARE(rows(), QList<int>{3});
    QVERIFY(action("acViewHorizontal")->isChecked());
    QVERIFY(m_window->isWindowModified());
    const QPointer<SerialPortWidget> last = pane(2);
    const QPointer<SerialPortWidget> first = pane(0);
    first->focusSendEditor();
    m_window->setWindowModified(false);
    QTest::ignoreMessage(QtDebugMsg, "on_acEditRemove_triggered: Port Number = 2");
    trigger("acEditRemove");
    QVERIFY(!last && first);
    QCOMPARE(rows(), QList<int>{2});
    QVERIFY(m_window->isWindowModified());
    trigger("acEditRemove");
    QCOMPARE(count(), 1);
    QVERIFY(!action("acEditRemove")->isEnabled());
}

void PanesTest::sixteenAtMost()
{
    add(20);
    QCOMPARE(count(), 16);
    m_window->onUpdateDisplay();
    QVERIFY(!action("acEditAdd")->isEnabled());
    trigger("acEditRemove");
    m_window->onUpdateDisplay();
    QVERIFY(action("acEditAdd")->isEnabled());
}

void PanesTest::dialogMakesThePane()
{
    m_catalog.list = {listedPort(u"ttyUSB0"_s), listedPort(u"ttyUSB1"_s)};
    Settings settings = pane(0)->settings();
    settings.portName = u"ttyUSB0"_s;
    pane(0)->setSettings(settings);
    trigger("acEditAdd");
    QTRY_VERIFY(QApplication::activeModalWidget() != nullptr);
    static_cast<QDialog*>(QApplication::activeModalWidget())->reject();
    QCOMPARE(count(), 1);
    trigger("acEditAdd");
    QTRY_VERIFY(QApplication::activeModalWidget() != nullptr);
    static_cast<QDialog*>(QApplication::activeModalWidget())->accept();
    QCOMPARE(count(), 2);
    QCOMPARE(pane(1)->settings().portName, "ttyUSB1"_L1); // the one that nobody has
    QCOMPARE(m_window->currentPortWidget(), pane(1));
}

void PanesTest::newConnectionOpensThePaneWithTheKeyboard()
{
    const NullModem line;
    QVERIFY2(line.isValid(), qPrintable(line.errorString()));
    m_catalog.list = {listedPort(line.portA())};
    add(1, line.portA());
    trigger("actionNew_Connection");
    QTRY_VERIFY(QApplication::activeModalWidget() != nullptr);
    static_cast<QDialog*>(QApplication::activeModalWidget())->accept();
    QVERIFY(pane(1)->isOpen() && !pane(0)->isOpen());
    QCOMPARE(count(), 2);
}

void PanesTest::settingsBelongToThePaneWithTheKeyboard()
{
    add(1, u"ttyUSB1"_s);
    trigger("acToolsSetting");
    auto* dialog = m_window->findChild<SettingsDialog*>();
    QVERIFY(dialog->windowTitle().contains("Port 2, ttyUSB1 9600 8N1"_L1));
    dialog->findChild<QSpinBox*>(u"displayBufferSize"_s)->setValue(25);
    trigger("acEditRemove"); // the pane goes, the dialog stays
    dialog->accept();
    QCOMPARE(count(), 1);
}

void PanesTest::onlyEditsOfTheSessionMark_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<bool>("marks");
    QTest::newRow("nothing") << QString() << false;
    QTest::newRow("language") << u"language"_s << false;
    QTest::newRow("auto reconnect") << u"autoReconnect"_s << false;
    QTest::newRow("log rotation") << u"logRotateAtSize"_s << false; // no session holds it
    QTest::newRow("display buffer") << u"displayBufferSize"_s << true;
    QTest::newRow("quick settings") << u"quickSettingsTree"_s << true;
}

void PanesTest::onlyEditsOfTheSessionMark()
{
    QFETCH(const QString, field);
    FormatSetting format = pane(0)->formatSetting();
    format.sendList = {u"AT"_s};
    trigger("acToolsSetting");
    auto* dialog = m_window->findChild<SettingsDialog*>();
    // What happens to the pane meanwhile is kept, only edits are carried over.
    pane(0)->setFormatSetting(format);
    m_window->setWindowModified(false);
    const SessionState before = m_window->currentSessionState();
    if (auto* box = dialog->findChild<QComboBox*>(field); box && !field.isEmpty())
        box->setCurrentIndex(1);
    else if (auto* button = dialog->findChild<QAbstractButton*>(field); button && !field.isEmpty())
        button->click();
    else if (auto* spin = dialog->findChild<QSpinBox*>(field); spin && !field.isEmpty())
        spin->setValue(25);
    else if (auto* tree = dialog->findChild<QTreeWidget*>(field); tree && !field.isEmpty())
        tree->topLevelItem(0)->setCheckState(0, Qt::Unchecked);
    dialog->accept();
    QTEST(m_window->isWindowModified(), "marks");
    QCOMPARE(pane(0)->formatSetting().sendList, QStringList{u"AT"_s});
    QCOMPARE(m_window->currentSessionState() == before, field.isEmpty() || field == "language"_L1);
}

void PanesTest::impossibleBaudRateKeepsTheOldOne()
{
    auto* rate = pane(0)->findChild<QComboBox*>(u"baudRate"_s);
    auto* bits = pane(0)->findChild<QComboBox*>(u"dataBits"_s);
    const auto* problem = pane(0)->findChild<QLabel*>(u"baudRateProblem"_s);
    QVERIFY(!problem->isVisible());
    for (const auto& text : {u""_s, u"0"_s, u"999999999"_s}) {
        rate->setEditText(text);
        QVERIFY2(problem->isVisible() && problem->text().contains("9600"_L1), qPrintable(text));
        bits->setCurrentIndex(bits->currentIndex() == 0 ? 1 : 0);
        Q_EMIT bits->activated(bits->currentIndex()); // another edit is stored
        QCOMPARE(pane(0)->settings().baudRate, 9600);
        QCOMPARE(rate->currentText(), "9600"_L1);
        QVERIFY(!problem->isVisible());
    }
}

void PanesTest::viewModes_data()
{
    QTest::addColumn<int>("panes");
    QTest::addColumn<QList<int>>("rows");
    QTest::newRow("acViewHorizontal") << 5 << QList<int>{5};
    QTest::newRow("acViewVertical") << 3 << QList<int>{1, 1, 1};
    QTest::newRow("acViewGrid") << 5 << QList<int>{2, 2, 1};
}

void PanesTest::viewModes()
{
    QFETCH(const int, panes);
    add(panes - 1);
    m_window->setWindowModified(false);
    trigger(QTest::currentDataTag());
    QTEST(rows(), "rows");
    QVERIFY(m_window->isWindowModified());
    for (const char* each : {"acViewHorizontal", "acViewVertical", "acViewGrid", "acViewCustom"})
        QCOMPARE(action(each)->isChecked(), qstrcmp(each, QTest::currentDataTag()) == 0);
}

void PanesTest::customIsAsked()
{
    add(2);
    int current = 3;
    for (const int columns : {0, 16, 2}) { // 0 leaves it as it is
        trigger("acViewCustom");
        auto* dialog = m_window->findChild<QInputDialog*>();
        QCOMPARE(dialog->windowTitle(), "Set Port Number Per Column"_L1);
        QCOMPARE(dialog->labelText(), "Port Number Per Column:"_L1);
        QCOMPARE(dialog->intMinimum(), 1);
        QCOMPARE(dialog->intMaximum(), 16);
        QCOMPARE(dialog->intValue(), current);
        if (columns > 0)
            dialog->setIntValue(current = columns);
        dialog->done(columns > 0 ? QDialog::Accepted : QDialog::Rejected);
        QVERIFY(action(columns > 0 ? "acViewCustom" : "acViewHorizontal")->isChecked());
        QCOMPARE(rows(), columns == 2 ? (QList<int>{2, 1}) : QList<int>{3});
        QTRY_VERIFY(m_window->findChild<QInputDialog*>() == nullptr);
    }
}

void PanesTest::draggedSizesSurviveARebuild()
{
    add();
    auto* row = m_window->findChild<QSplitter*>(u"portRowSplitter0"_s);
    QCOMPARE(row->handleWidth(), 8);
    QVERIFY(std::abs(row->sizes().at(0) - row->sizes().at(1)) <= 1);
    row->setSizes({800, 472});
    const QList<int> dragged = row->sizes();
    Q_EMIT row->splitterMoved(800, 1);
    trigger("acViewQuickSettings"); // rebuilds the same shape
    QCOMPARE(row->sizes(), dragged);
    trigger("acViewVertical");
    auto* outer = m_window->findChild<QSplitter*>(u"portSplitter"_s);
    outer->setSizes({450, 250});
    Q_EMIT outer->splitterMoved(450, 1);
    // Another session stands anew, also in the same shape.
    QVERIFY(m_window->document().saveFile(path(u"lab.vmr"_s), false));
    QVERIFY(m_window->loadFile(path(u"lab.vmr"_s)));
    QVERIFY(std::abs(outer->sizes().at(0) - outer->sizes().at(1)) <= 1);
    trigger("acViewHorizontal");
    QVERIFY(std::abs(row->sizes().at(0) - row->sizes().at(1)) <= 1);
}

void PanesTest::statusLines()
{
    const auto lineShown = [this](int i) {
        return pane(i)->findChild<PaneStatusLine*>()->isVisible();
    };
    QVERIFY(m_window->statusBar()->isVisible() && !lineShown(0));
    add();
    QVERIFY(!m_window->statusBar()->isVisible() && lineShown(0) && lineShown(1));
    trigger("acEditRemove");
    QVERIFY(m_window->statusBar()->isVisible() && !lineShown(0));
}

void PanesTest::focusMarksOnePane()
{
    add(2, u"ttyUSB7"_s);
    QCOMPARE(caption(2), u"\u25b6 3  ttyUSB7"_s); // the new pane
    QTest::mouseClick(frame(0)->findChild<QLabel*>(u"paneCaption"_s), Qt::LeftButton);
    QVERIFY(isMarked(0) && !isMarked(2));
    QCOMPARE(m_window->focusedPortWidget(), pane(0));
    QCOMPARE(caption(2), "3  ttyUSB7"_L1);
    // The toolbar takes the keyboard, not the mark.
    m_window->findChild<QWidget*>(u"quickPortCombo"_s)->setFocus();
    QVERIFY(m_window->focusedPortWidget() == nullptr);
    QCOMPARE(m_window->currentPortWidget(), pane(0));
    QVERIFY(isMarked(0));
}

void PanesTest::keyboardMovesBetweenPanes()
{
    add(2);
    QList<int> order;
    for (const char* key :
        {"acViewNextPort", "acViewNextPort", "acViewPreviousPort", "acViewPreviousPort"}) {
        trigger(key);
        order.append(int(m_window->livePortWidgets().indexOf(m_window->focusedPortWidget())));
    }
    QCOMPARE(order, (QList<int>{0, 1, 0, 2}));
    // The terminal, which types nearly every key, leaves these to the window.
    pane(2)->findChild<ReceiveView*>()->setFocus();
    QCOMPARE(m_window->focusedPortWidget(), pane(2));
    QTest::keyClick(m_window->focusWidget(), Qt::Key_P, Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(m_window->focusedPortWidget(), pane(1));
    trigger("acViewNextPort"); // back to where the keyboard was in that pane
    QTest::keyClick(m_window->focusWidget(), Qt::Key_N, Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(m_window->focusedPortWidget(), pane(0));
    // The panes change places, the keyboard stays.
    add();
    for (const char* change : {"acViewGrid", "acViewHorizontal", "acViewGrid"}) {
        trigger(change);
        QCOMPARE(m_window->focusedPortWidget(), pane(3));
    }
    trigger("acEditRemove");
    QCOMPARE(m_window->focusedPortWidget(), pane(2));
}

void PanesTest::keysNameAPane()
{
    // With one pane the keys are the device's.
    auto* terminal = pane(0)->findChild<ReceiveView*>();
    QSignalSpy typed(terminal, &ReceiveView::controlTyped);
    terminal->setFocus();
    const auto press = [this](Qt::Key key, Qt::KeyboardModifier modifier) {
        QTest::keyClick(m_window->focusWidget(), key, modifier);
        return int(m_window->livePortWidgets().indexOf(m_window->focusedPortWidget()));
    };
    press(Qt::Key_3, Qt::ControlModifier);
    press(Qt::Key_Left, Qt::AltModifier);
    press(Qt::Key_F11, Qt::NoModifier);
    QCOMPARE(typed.size(), 3);
    QCOMPARE(typed.first().first().toByteArray(), "\x1B"_ba);

    // 0 1 / 2 3 / 4, from the terminal of each, which types nearly every key.
    add(4);
    trigger("acViewGrid");
    for (SerialPortWidget* each : m_window->livePortWidgets())
        each->findChild<ReceiveView*>()->setFocus();
    const auto walk = [&press](std::initializer_list<Qt::Key> keys, Qt::KeyboardModifier modifier) {
        QList<int> way;
        for (const Qt::Key key : keys)
            way.append(press(key, modifier));
        return way;
    };
    QCOMPARE(walk({Qt::Key_2, Qt::Key_4, Qt::Key_9, Qt::Key_1}, Qt::ControlModifier),
        (QList<int>{1, 3, 3, 0}));
    QCOMPARE(walk({Qt::Key_Left, Qt::Key_Up, Qt::Key_Right, Qt::Key_Right, Qt::Key_Down,
                      Qt::Key_Down, Qt::Key_Right, Qt::Key_Down, Qt::Key_Up, Qt::Key_Left},
                 Qt::AltModifier),
        (QList<int>{0, 0, 1, 1, 3, 4, 4, 4, 2, 2}));
    QCOMPARE(typed.size(), 3);
    QSignalSpy others(pane(2)->findChild<ReceiveView*>(), &ReceiveView::controlTyped);
    // Where there is no pane to go to the keys are the device's again.
    press(Qt::Key_7, Qt::ControlModifier);
    trigger("acViewVertical");
    press(Qt::Key_Left, Qt::AltModifier);
    QCOMPARE(typed.size() + others.size(), 5);
    QCOMPARE(walk({Qt::Key_Down, Qt::Key_Up}, Qt::AltModifier), (QList<int>{3, 2}));
}

void PanesTest::onePaneTakesTheWholeWindow()
{
    const auto visible = [this] {
        QList<int> indexes;
        for (int i = 0; i < count(); ++i) {
            if (pane(i)->isVisible())
                indexes.append(i);
        }
        return indexes;
    };
    const QList<int> all{0, 1, 2};
    QVERIFY(!action("acViewMaximizePort")->isEnabled());
    add(2);
    trigger("acViewGrid");
    auto* row = m_window->findChild<QSplitter*>(u"portRowSplitter0"_s);
    row->setSizes({300, 900});
    const QList<int> sizes = row->sizes();
    auto* outer = m_window->findChild<QSplitter*>(u"portSplitter"_s);
    const QWidget* room = m_window->centralWidget(); // takes that of the status bar, too
    QTRY_COMPARE(room->geometry().bottom(), m_window->rect().bottom());
    QTRY_COMPARE(outer->height(), room->height());
    outer->setSizes({500, 200});
    const QList<int> heights = outer->sizes();
    pane(1)->focusSendEditor();
    m_window->setWindowModified(false);
    QTest::keyClick(m_window->focusWidget(), Qt::Key_F11);
    QCOMPARE(visible(), QList<int>{1});
    QVERIFY(action("acViewMaximizePort")->isChecked());
    QTRY_COMPARE(frame(1)->size(), room->size());
    // Whoever goes to another pane finds that one.
    for (const int next : {2, 0, 1}) {
        trigger("acViewNextPort");
        QCOMPARE(visible(), QList<int>{next});
        QCOMPARE(m_window->focusedPortWidget(), pane(next));
    }
    trigger("acViewQuickSettings");
    QCOMPARE(visible(), QList<int>{1});
    trigger("acViewQuickSettings");
    m_window->setWindowModified(false);
    QTest::keyClick(m_window->focusWidget(), Qt::Key_F11);
    QCOMPARE(visible(), all);
    QTRY_COMPARE(row->sizes(), sizes);
    QCOMPARE(m_window->focusedPortWidget(), pane(1));
    QVERIFY(!m_window->isWindowModified()); // a session does not know of it
    for (int times = 0; times < 4; ++times)
        trigger("acViewMaximizePort");
    QTRY_COMPARE(row->sizes(), sizes);
    QTRY_COMPARE(outer->sizes(), heights);

    // It ends when panes come, go or stand in another way.
    trigger("acViewMaximizePort");
    trigger("acViewHorizontal");
    QCOMPARE(visible(), all);
    trigger("acViewMaximizePort");
    trigger("acEditRemove");
    QCOMPARE(visible(), (QList<int>{0, 1}));
    trigger("acViewMaximizePort");
    add();
    QCOMPARE(visible(), all);
    QVERIFY(!action("acViewMaximizePort")->isChecked());
}

void PanesTest::narrowPanesShowTheTerminal()
{
    const auto shown = [this](int i) { return pane(i)->findChild<SettingsColumn*>()->isVisible(); };
    add();
    m_window->resize(1900, 800);
    QTRY_VERIFY(shown(0) && shown(1));
    add(2);
    QTRY_VERIFY(!shown(0) && !shown(3));
    trigger("acEditRemove");
    trigger("acEditRemove");
    QTRY_VERIFY(shown(0) && shown(1));
    m_window->setWindowModified(false);
    trigger("acViewQuickSettings");
    QVERIFY(!shown(0));
    QVERIFY(m_window->isWindowModified());
}

void PanesTest::manyPanesFitTheScreen()
{
    // The pane with the keyboard is in sight as a whole.
    const auto inSight = [this](int index) {
        return frame(index)->visibleRegion().boundingRect() == frame(index)->rect();
    };
    for (const int more : {14, 1}) {
        add(more);
        QTRY_VERIFY(inSight(count() - 1));
    }
    QTRY_COMPARE(m_window->width(), 1280);
    QVERIFY(m_window->minimumSizeHint().width() < 1000);
    trigger("acViewNextPort");
    QTRY_VERIFY(inSight(0));
}

void PanesTest::sessionReplacesThePanes()
{
    SessionContents contents;
    contents.columnCount = 2;
    contents.quickView = false;
    contents.quickSettings.showSendGroup = false;
    for (int i = 0; i < 3; ++i) {
        contents.panes.append({SettingsService::defaultPortSettings(u"tty%1"_s.arg(i)),
            SettingsService::defaultFormatSettings()});
    }
    contents.panes[1].settings.baudRate = 57600;
    contents.panes[2].format.sendList = {u"AT"_s};
    QString message;
    QVERIFY(SessionFile::write(path(u"lab.vmr"_s), contents, message, [](int) {}));
    add(4);
    QVERIFY(m_window->loadFile(path(u"lab.vmr"_s)));
    QCOMPARE(count(), 3);
    QCOMPARE(rows(), (QList<int>{2, 1}));
    QVERIFY(action("acViewGrid")->isChecked());
    QCOMPARE(action("acViewQuickSettings")->text(), "Open &Quick Settings"_L1);
    QCOMPARE(pane(1)->settings().portName, "tty1"_L1);
    QCOMPARE(pane(1)->settings().baudRate, 57600);
    QCOMPARE(pane(2)->formatSetting().sendList, QStringList{u"AT"_s});
    QVERIFY(!m_window->currentSessionState().showSendGroup);
    QCOMPARE(m_window->windowTitle(), "lab.vmr[*] - Velmora"_L1);
}

void PanesTest::savingIsToldInTheFirstPane()
{
    add(1, u"ttyUSB1"_s);
    m_window->document().setCurrentFile(path(u"lab.vmr"_s));
    m_window->setWindowModified(true);
    trigger("acFileSave");
    const QSettings ini(path(u"lab.vmr"_s), QSettings::IniFormat);
    QCOMPARE(ini.value("1/PortName"_L1).toString(), "ttyUSB1"_L1);
    QCOMPARE(pane(0)->findChild<QLabel*>(u"paneStatusText"_s)->text(), "File saved"_L1);
    QVERIFY(!m_window->isWindowModified());
}

// Nothing that happens when panes are shown, sized and filled is an edit.
void PanesTest::openedSessionIsUnmodified()
{
    add(3);
    QVERIFY(m_window->document().saveFile(path(u"lab.vmr"_s), false));
    QVERIFY(m_window->loadFile(path(u"lab.vmr"_s)));
    m_window->onUpdateDisplay();
    m_window->resize(1000, 700);
    QCoreApplication::processEvents();
    QVERIFY(!m_window->isWindowModified());
}

void PanesTest::newSessionHasOnePane()
{
    add(3, u"ttyUSB1"_s);
    trigger("acViewGrid");
    m_window->document().setCurrentFile(path(u"lab.vmr"_s));
    trigger("acFileNew");
    QCOMPARE(count(), 1);
    QVERIFY(pane(0)->settings().portName.isEmpty());
    QCOMPARE(m_window->windowTitle(), "Velmora[*]"_L1);
    QVERIFY(m_window->statusBar()->isVisible());
    QVERIFY(!m_window->isWindowModified());
    QVERIFY(action("acViewGrid")->isChecked()); // the next ports stand as these did
}

void PanesTest::startOpensEveryPane()
{
    const NullModem line;
    QVERIFY2(line.isValid(), qPrintable(line.errorString()));
    add(1, line.portA());
    add(1, line.portB());
    QTest::ignoreMessage(QtWarningMsg, "Serial Port  OPEN FAILED"); // the first has no port
    m_window->start({}, true);
    QVERIFY(!pane(0)->isOpen() && pane(1)->isOpen() && pane(2)->isOpen());
    const QPointer<SerialPortWidget> removed = pane(2);
    trigger("acEditRemove");
    QVERIFY(!removed);
    m_window->close();
    QVERIFY(!pane(1)->isOpen());
}

void PanesTest::recentFilesComeBack()
{
    QVERIFY(m_window->document().saveFile(path(u"lab.vmr"_s), false));
    m_window->close();
    m_window = std::make_unique<MainWindow>(m_catalog);
    QCOMPARE(action("acFileRecent1")->text(), "&1 lab.vmr"_L1);
    QVERIFY(action("acFileRecent1")->isVisible() && !action("acFileRecent2")->isVisible());
    QCOMPARE(m_window->windowTitle(), "Velmora[*]"_L1);
    trigger("acFileRecent1");
    QCOMPARE(m_window->windowTitle(), "lab.vmr[*] - Velmora"_L1);
}

void PanesTest::unwrittenLogIsNotDroppedUnasked_data()
{
    QTest::addColumn<QByteArray>("action");
    for (const char* action : {"acFileExit", "acEditRemove", "acFileNew"})
        QTest::newRow(action) << QByteArray(action);
}

// What waits in the paused last pane is to be recorded, and its log cannot be written.
void PanesTest::unwrittenLogIsNotDroppedUnasked()
{
    QFETCH(const QByteArray, action);
    const NullModem line;
    QVERIFY2(line.isValid(), qPrintable(line.errorString()));
    add(1, line.portA());
    FormatSetting format = pane(1)->formatSetting();
    format.logSaveFlag = true;
    format.logFilePath = m_dir->path();
    pane(1)->setFormatSetting(format);
    QVERIFY(pane(1)->start({}, true) && pane(0)->start(line.portB(), true));
    pane(1)->pause();
    pane(0)->sendBytes("to be kept\n");
    QTRY_COMPARE(pane(1)->waitingBytes(), 11);
    const QPointer<SerialPortWidget> last = pane(1);
    m_window->setWindowModified(false);
    for (const auto answer : {QMessageBox::Cancel, QMessageBox::Discard}) {
        trigger(action.constData());
        QTRY_VERIFY(QApplication::activeModalWidget() != nullptr);
        auto* box = static_cast<QMessageBox*>(QApplication::activeModalWidget());
        QVERIFY(box->informativeText().contains("Port 2, "_L1 + last->connectionSummary()));
        QVERIFY(last->isOpen() && m_window->isVisible());
        box->button(answer)->click();
        QCOMPARE(last && last->isOpen(), answer == QMessageBox::Cancel);
    }
    QCOMPARE(m_window->isVisible(), action != "acFileExit");
}

QTEST_MAIN(PanesTest)
#include "tst_panes.moc"
