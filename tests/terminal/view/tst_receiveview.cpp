#include "viewuse.h"

#include <QAction>
#include <QClipboard>
#include <QInputMethodEvent>
#include <QMenu>
#include <QScrollBar>
#include <QSignalSpy>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

QString topLine(const ReceiveView& view)
{
    return view.textAt(view.visibleRange().first, 40).section(u'\n', 0, 0);
}

} // namespace

class TestReceiveView final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_view = std::make_unique<ReceiveView>();
        m_view->resize(400, 200);
        m_view->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
        QApplication::setActiveWindow(m_view.get());
        m_view->setFocus();
    }

    void cleanup() { m_view.reset(); }

    void followsOnlyAtTheBottom_data()
    {
        QTest::addColumn<bool>("wrap");
        QTest::newRow("wrapped") << true;
        QTest::newRow("not wrapped") << false;
    }

    void followsOnlyAtTheBottom()
    {
        QFETCH(const bool, wrap);
        m_view->setLineWrap(wrap);
        m_view->appendText(numberedLines(0, 200), {});
        QVERIFY(m_view->isAtBottom());
        m_view->showPosition(m_view->textAt(0, 5000).indexOf("line 100\n"_L1), 4);
        QVERIFY(!m_view->isAtBottom());
        const QString top = topLine(*m_view);
        for (int i = 0; i < 20; ++i)
            m_view->appendText(QString(500, u'w') + u'\n', QColor(Qt::darkGreen));
        QCOMPARE(topLine(*m_view), top);
        m_view->scrollToEnd();
        m_view->appendText(numberedLines(0, 3), {});
        QVERIFY(m_view->isAtBottom());
    }

    void staysAtTheBottom()
    {
        m_view->setLineWrap(true);
        for (int i = 0; i < 100; ++i)
            m_view->appendText(QString(i * 7, u'w') + u'\n', {});
        m_view->resize(150, 90);
        QVERIFY(m_view->isAtBottom());
        m_view->zoomBy(5);
        QVERIFY(m_view->isAtBottom());
        m_view->setLineWrap(false);
        QVERIFY(m_view->isAtBottom());
        m_view->hide();
        m_view->appendText(numberedLines(0, 50), {});
        m_view->show();
        QVERIFY(m_view->isAtBottom());
        m_view->trimFront(5000);
        QVERIFY(m_view->isAtBottom());
        QCOMPARE(m_view->visibleRange().second, m_view->endPosition());
    }

    void forcedScrollHappensOnce()
    {
        m_view->appendText(numberedLines(0, 200), {});
        m_view->showPosition(0, 1);
        m_view->forceScrollToEnd();
        QVERIFY(!m_view->isAtBottom());
        m_view->appendText(u"x\n"_s, {});
        QVERIFY(m_view->isAtBottom());
        m_view->showPosition(0, 1);
        m_view->appendText(u"x\n"_s, {});
        QVERIFY(!m_view->isAtBottom());
    }

    void keepsReadersLineThroughTrim()
    {
        m_view->appendText(numberedLines(0, 300), {});
        const QString text = m_view->textAt(0, 10'000);
        m_view->showPosition(text.indexOf("line 150\n"_L1), 1);
        const QString top = topLine(*m_view);
        m_view->trimFront(text.indexOf("line 100\n"_L1) + 3);
        QCOMPARE(topLine(*m_view), top);
        m_view->trimFront(m_view->textLength() - 900);
        QCOMPARE(m_view->visibleRange().first, m_view->firstPosition());
    }

    void selectionSurvives()
    {
        m_view->appendText(numberedLines(0, 5), {});
        const int row = QFontMetrics(m_view->displayFont()).lineSpacing();
        const QPoint to(6, 4 + row * 7 / 2);
        QTest::mousePress(
            areaOf(*m_view)->viewport(), Qt::LeftButton, {}, QPoint(6, 4 + row * 3 / 2));
        dragTo(*m_view, to);
        QTest::mouseRelease(areaOf(*m_view)->viewport(), Qt::LeftButton, {}, to);
        const QString selected = m_view->selectedText();
        QVERIFY2(selected.contains("ine 1\n"_L1), qPrintable(selected));
        m_view->appendText(numberedLines(5, 100), QColor(Qt::red));
        QCOMPARE(m_view->selectedText(), selected);
        const qint64 lead = m_view->textAt(0, 1000).indexOf(selected);
        m_view->trimFront(lead);
        QCOMPARE(m_view->selectedText(), selected);
        m_view->trimFront(3);
        QCOMPARE(m_view->selectedText(), selected.mid(3));
        m_view->trimFront(selected.size());
        QVERIFY(!m_view->hasSelection());

        m_view->selectAll();
        const QString all = m_view->selectedText();
        m_view->appendText(u"more"_s, {});
        QCOMPARE(m_view->selectedText(), all);
    }

    void keysAreTyped_data()
    {
        QTest::addColumn<QKeyCombination>("key");
        QTest::addColumn<QString>("expected");
        QTest::newRow("letter") << QKeyCombination(Qt::Key_A) << "text:a";
        QTest::newRow("Enter") << QKeyCombination(Qt::Key_Return) << "enter";
        QTest::newRow("Tab") << QKeyCombination(Qt::Key_Tab) << "09";
        QTest::newRow("Up") << QKeyCombination(Qt::Key_Up) << "1b5b41";
        QTest::newRow("F9") << QKeyCombination(Qt::Key_F9) << "1b5b32307e";
        QTest::newRow("Page Up") << QKeyCombination(Qt::Key_PageUp) << "1b5b357e";
        QTest::newRow("Escape") << QKeyCombination(Qt::Key_Escape) << "1b";
        QTest::newRow("Ctrl+A") << (Qt::CTRL | Qt::Key_A) << "01";
        QTest::newRow("Ctrl+X") << (Qt::CTRL | Qt::Key_X) << "18";
    }

    void keysAreTyped()
    {
        QFETCH(const QKeyCombination, key);
        QFETCH(const QString, expected);
        QStringList typed;
        connect(m_view.get(), &ReceiveView::textTyped, this,
            [&typed](const QString& text) { typed += u"text:"_s + text; });
        connect(m_view.get(), &ReceiveView::enterTyped, this, [&typed] { typed += u"enter"_s; });
        connect(m_view.get(), &ReceiveView::controlTyped, this,
            [&typed](const QByteArray& bytes) { typed += QString::fromLatin1(bytes.toHex()); });
        m_view->appendText(numberedLines(0, 100), {});
        const auto press = [key](QWidget* target) {
            QTest::keyClick(target, key.key(), key.keyboardModifiers());
        };
        press(QApplication::focusWidget());
        QCOMPARE(typed, QStringList(expected));
        press(m_view.get());
        QCOMPARE(typed, QStringList({expected, expected}));
        QVERIFY2(m_view->isAtBottom(), "a typed key must not scroll the view");
        m_view->setTypingEnabled(false);
        press(QApplication::focusWidget());
        QCOMPARE(typed.size(), 2);
        QCOMPARE(m_view->textLength(), numberedLines(0, 100).size());
    }

    // The window may want Ctrl+Q, Ctrl+S and Ctrl+L, and so does every device with a shell: here
    // the device gets them. What says nothing to a device stays the window's.
    void controlCharactersAreTheDevices()
    {
        QSignalSpy typed(m_view.get(), &ReceiveView::controlTyped);
        QSignalSpy text(m_view.get(), &ReceiveView::textTyped);
        QAction action;
        action.setShortcuts({QKeySequence(Qt::CTRL | Qt::Key_Q), QKeySequence(Qt::CTRL | Qt::Key_S),
            QKeySequence(Qt::CTRL | Qt::Key_L), QKeySequence(Qt::CTRL | Qt::Key_F),
            QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_N), QKeySequence(Qt::Key_F5),
            QKeySequence(Qt::Key_X), QKeySequence(Qt::Key_Escape)});
        m_view->addAction(&action);
        QSignalSpy triggered(&action, &QAction::triggered);
        pressKey(Qt::Key_F5);
        pressKey(Qt::Key_N, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(triggered.size(), 2);
        QCOMPARE(typed.size(), 0);
        for (const Qt::Key key : {Qt::Key_Q, Qt::Key_S, Qt::Key_L, Qt::Key_F})
            pressKey(key, Qt::ControlModifier);
        pressKey(Qt::Key_X);
        pressKey(Qt::Key_Escape);
        QCOMPARE(triggered.size(), 2);
        QCOMPARE(text.size(), 1);
        QCOMPARE(typed.size(), 5);
        QCOMPARE(typed[0][0].toByteArray(), "\x11"_ba);
        // A reader's view types nothing.
        m_view->setTypingEnabled(false);
        pressKey(Qt::Key_Q, Qt::ControlModifier);
        QCOMPARE(triggered.size(), 3);
    }

    void terminalCommandsHaveShift()
    {
        QSignalSpy typed(m_view.get(), &ReceiveView::controlTyped);
        m_view->appendText(u"some text"_s, {});
        constexpr auto kCtrlShift = Qt::ControlModifier | Qt::ShiftModifier;
        pressKey(Qt::Key_A, kCtrlShift);
        QVERIFY(m_view->hasSelection());
        pressKey(Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(typed.value(0).value(0).toByteArray(), "\x03"_ba);
        QApplication::clipboard()->clear();
        pressKey(Qt::Key_C, kCtrlShift);
        QCOMPARE(QApplication::clipboard()->text(), u"some text"_s);
        QSignalSpy find(m_view.get(), &ReceiveView::findRequested);
        QSignalSpy clear(m_view.get(), &ReceiveView::clearRequested);
        pressKey(Qt::Key_F, kCtrlShift);
        pressKey(Qt::Key_L, kCtrlShift);
        QCOMPARE(find.size(), 1);
        QCOMPARE(clear.size(), 1);
        QCOMPARE(typed.size(), 1);
    }

    void pasteNormalisesLineEnds()
    {
        QSignalSpy typed(m_view.get(), &ReceiveView::textTyped);
        QApplication::clipboard()->setText(u"a\r\nb\rc\nd"_s);
        pressKey(Qt::Key_V, Qt::ControlModifier | Qt::ShiftModifier);
        pressKey(Qt::Key_Insert, Qt::ShiftModifier);
        QCOMPARE(typed.size(), 2);
        QCOMPARE(typed.at(0).at(0).toString(), u"a\nb\nc\nd"_s);
        m_view->setTypingEnabled(false);
        m_view->paste();
        QCOMPARE(typed.size(), 2);
    }

    void inputMethodTypes()
    {
        QSignalSpy typed(m_view.get(), &ReceiveView::textTyped);
        QInputMethodEvent event;
        event.setCommitString(u"\u65E5\u672C"_s);
        QApplication::sendEvent(QApplication::focusWidget(), &event);
        QCOMPARE(typed.value(0).value(0).toString(), u"\u65E5\u672C"_s);
        QCOMPARE(m_view->textLength(), 0);
        QInputMethodQueryEvent query(Qt::ImEnabled);
        QApplication::sendEvent(QApplication::focusWidget(), &query);
        QVERIFY(query.value(Qt::ImEnabled).toBool());
    }

    void keyboardIsNotTrapped()
    {
        QWidget window;
        auto* view = new ReceiveView;
        auto* before = new QWidget;
        auto* after = new QWidget;
        auto* layout = new QVBoxLayout(&window);
        for (QWidget* widget : {before, static_cast<QWidget*>(view), after}) {
            widget->setFocusPolicy(Qt::StrongFocus);
            layout->addWidget(widget);
        }
        window.show();
        QApplication::setActiveWindow(&window);
        const auto press = [&window, view](Qt::Key key, Qt::KeyboardModifiers modifiers) {
            view->setFocus();
            pressKey(key, modifiers);
            return window.focusWidget();
        };
        QVERIFY(view->isAncestorOf(press(Qt::Key_Tab, {})));
        QCOMPARE(press(Qt::Key_Tab, Qt::ControlModifier), after);
        QCOMPARE(press(Qt::Key_Backtab, Qt::ControlModifier | Qt::ShiftModifier), before);
        view->setTypingEnabled(false);
        QCOMPARE(press(Qt::Key_Tab, {}), after);
    }

    void shiftKeysSelectAndScroll()
    {
        m_view->appendText(numberedLines(0, 100), {});
        pressKey(Qt::Key_Up, Qt::ShiftModifier);
        QCOMPARE(m_view->selectedText(), u"line 99\n"_s);
        pressKey(Qt::Key_PageUp, Qt::ShiftModifier);
        QVERIFY(!m_view->isAtBottom());
        pressKey(Qt::Key_PageDown, Qt::ShiftModifier);
        QVERIFY(m_view->isAtBottom());
        pressKey(Qt::Key_Home, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(m_view->visibleRange().first, 0);
    }

    void zoomStaysInRange()
    {
        QSignalSpy zoomed(m_view.get(), &ReceiveView::displayFontZoomed);
        const int size = m_view->displayFont().pointSize();
        turnWheel(*m_view, 240, Qt::ControlModifier);
        QCOMPARE(m_view->displayFont().pointSize(), size + 2);
        m_view->zoomBy(-1000);
        QCOMPARE(m_view->displayFont().pointSize(), ReceiveView::kSmallestPointSize);
        m_view->zoomBy(-1);
        QCOMPARE(zoomed.size(), 2);
    }

    // A match on the last page, while the device goes on talking.
    void whatWasAskedForStays()
    {
        const QString lines = u"a line\n"_s.repeated(100);
        m_view->appendText(lines + u"match\n"_s, {});
        QVERIFY(m_view->isAtBottom());
        m_view->showPosition(lines.size(), 5);
        m_view->appendText(lines, {});
        QCOMPARE_LT(m_view->visibleRange().first, lines.size());
        QCOMPARE_GT(m_view->visibleRange().second, lines.size());
        m_view->forceScrollToEnd();
        m_view->appendText(lines, {});
        QVERIFY(m_view->isAtBottom());
    }

    void menuShowsWhatIsPossible()
    {
        QSignalSpy clear(m_view.get(), &ReceiveView::clearRequested);
        const auto openMenu = [this] {
            QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5), QPoint(5, 5));
            QApplication::sendEvent(areaOf(*m_view)->viewport(), &event);
            QHash<QString, QAction*> actions;
            const QList<QMenu*> menus = m_view->findChildren<QMenu*>();
            for (QAction* action : menus.isEmpty() ? QList<QAction*>() : menus.last()->actions())
                actions.insert(action->text().remove(u'&'), action);
            return actions;
        };
        QApplication::clipboard()->setText(u"x"_s);
        auto actions = openMenu();
        QVERIFY(!actions.value(u"Copy"_s)->isEnabled());
        QVERIFY(!actions.value(u"Clear"_s)->isEnabled());
        QVERIFY(actions.value(u"Paste"_s)->isEnabled());
        m_view->findChild<QMenu*>()->close();
        QTRY_VERIFY(m_view->findChild<QMenu*>() == nullptr);

        m_view->appendText(u"text"_s, {});
        m_view->selectAll();
        m_view->setTypingEnabled(false);
        actions = openMenu();
        QVERIFY(actions.value(u"Copy"_s)->isEnabled());
        QVERIFY(!actions.value(u"Paste"_s)->isEnabled());
        actions.value(u"Clear"_s)->trigger();
        QCOMPARE(clear.size(), 1);
        const bool wrap = m_view->lineWrap();
        QCOMPARE(actions.value(u"Wrap Lines"_s)->isChecked(), wrap);
        actions.value(u"Wrap Lines"_s)->trigger();
        QCOMPARE(m_view->lineWrap(), !wrap);
    }

private:
    std::unique_ptr<ReceiveView> m_view;
};

QTEST_MAIN(TestReceiveView)
#include "tst_receiveview.moc"
