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
        view_ = std::make_unique<ReceiveView>();
        view_->resize(400, 200);
        view_->show();
        QVERIFY(QTest::qWaitForWindowExposed(view_.get()));
        QApplication::setActiveWindow(view_.get());
        view_->setFocus();
    }

    void cleanup() { view_.reset(); }

    void followsOnlyAtTheBottom_data()
    {
        QTest::addColumn<bool>("wrap");
        QTest::newRow("wrapped") << true;
        QTest::newRow("not wrapped") << false;
    }

    void followsOnlyAtTheBottom()
    {
        QFETCH(const bool, wrap);
        view_->setLineWrap(wrap);
        view_->appendText(numberedLines(0, 200), {});
        QVERIFY(view_->isAtBottom());
        view_->showPosition(view_->textAt(0, 5000).indexOf("line 100\n"_L1), 4);
        QVERIFY(!view_->isAtBottom());
        const QString top = topLine(*view_);
        for (int i = 0; i < 20; ++i)
            view_->appendText(QString(500, u'w') + u'\n', QColor(Qt::darkGreen));
        QCOMPARE(topLine(*view_), top);
        view_->scrollToEnd();
        view_->appendText(numberedLines(0, 3), {});
        QVERIFY(view_->isAtBottom());
    }

    void staysAtTheBottom()
    {
        view_->setLineWrap(true);
        for (int i = 0; i < 100; ++i)
            view_->appendText(QString(i * 7, u'w') + u'\n', {});
        view_->resize(150, 90);
        QVERIFY(view_->isAtBottom());
        view_->zoomBy(5);
        QVERIFY(view_->isAtBottom());
        view_->setLineWrap(false);
        QVERIFY(view_->isAtBottom());
        view_->hide();
        view_->appendText(numberedLines(0, 50), {});
        view_->show();
        QVERIFY(view_->isAtBottom());
        view_->trimFront(5000);
        QVERIFY(view_->isAtBottom());
        QCOMPARE(view_->visibleRange().second, view_->endPosition());
    }

    void forcedScrollHappensOnce()
    {
        view_->appendText(numberedLines(0, 200), {});
        view_->showPosition(0, 1);
        view_->forceScrollToEnd();
        QVERIFY(!view_->isAtBottom());
        view_->appendText(u"x\n"_s, {});
        QVERIFY(view_->isAtBottom());
        view_->showPosition(0, 1);
        view_->appendText(u"x\n"_s, {});
        QVERIFY(!view_->isAtBottom());
    }

    void keepsReadersLineThroughTrim()
    {
        view_->appendText(numberedLines(0, 300), {});
        const QString text = view_->textAt(0, 10'000);
        view_->showPosition(text.indexOf("line 150\n"_L1), 1);
        const QString top = topLine(*view_);
        view_->trimFront(text.indexOf("line 100\n"_L1) + 3);
        QCOMPARE(topLine(*view_), top);
        view_->trimFront(view_->textLength() - 900);
        QCOMPARE(view_->visibleRange().first, view_->firstPosition());
    }

    void selectionSurvives()
    {
        view_->appendText(numberedLines(0, 5), {});
        const int row = QFontMetrics(view_->displayFont()).lineSpacing();
        const QPoint to(6, 4 + row * 7 / 2);
        QTest::mousePress(
            areaOf(*view_)->viewport(), Qt::LeftButton, {}, QPoint(6, 4 + row * 3 / 2));
        dragTo(*view_, to);
        QTest::mouseRelease(areaOf(*view_)->viewport(), Qt::LeftButton, {}, to);
        const QString selected = view_->selectedText();
        QVERIFY2(selected.contains("ine 1\n"_L1), qPrintable(selected));
        view_->appendText(numberedLines(5, 100), QColor(Qt::red));
        QCOMPARE(view_->selectedText(), selected);
        const qint64 lead = view_->textAt(0, 1000).indexOf(selected);
        view_->trimFront(lead);
        QCOMPARE(view_->selectedText(), selected);
        view_->trimFront(3);
        QCOMPARE(view_->selectedText(), selected.mid(3));
        view_->trimFront(selected.size());
        QVERIFY(!view_->hasSelection());

        view_->selectAll();
        const QString all = view_->selectedText();
        view_->appendText(u"more"_s, {});
        QCOMPARE(view_->selectedText(), all);
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
        connect(view_.get(), &ReceiveView::textTyped, this,
            [&typed](const QString& text) { typed += u"text:"_s + text; });
        connect(view_.get(), &ReceiveView::enterTyped, this, [&typed] { typed += u"enter"_s; });
        connect(view_.get(), &ReceiveView::controlTyped, this,
            [&typed](const QByteArray& bytes) { typed += QString::fromLatin1(bytes.toHex()); });
        view_->appendText(numberedLines(0, 100), {});
        const auto press = [key](QWidget* target) {
            QTest::keyClick(target, key.key(), key.keyboardModifiers());
        };
        press(QApplication::focusWidget());
        QCOMPARE(typed, QStringList(expected));
        press(view_.get());
        QCOMPARE(typed, QStringList({expected, expected}));
        QVERIFY2(view_->isAtBottom(), "a typed key must not scroll the view");
        view_->setTypingEnabled(false);
        press(QApplication::focusWidget());
        QCOMPARE(typed.size(), 2);
        QCOMPARE(view_->textLength(), numberedLines(0, 100).size());
    }

    // The window may want Ctrl+Q, Ctrl+S and Ctrl+L, and so does every device with a shell: here
    // the device gets them. What says nothing to a device stays the window's.
    void controlCharactersAreTheDevices()
    {
        QSignalSpy typed(view_.get(), &ReceiveView::controlTyped);
        QSignalSpy text(view_.get(), &ReceiveView::textTyped);
        QAction action;
        action.setShortcuts({QKeySequence(Qt::CTRL | Qt::Key_Q), QKeySequence(Qt::CTRL | Qt::Key_S),
            QKeySequence(Qt::CTRL | Qt::Key_L), QKeySequence(Qt::CTRL | Qt::Key_F),
            QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_N), QKeySequence(Qt::Key_F5),
            QKeySequence(Qt::Key_X), QKeySequence(Qt::Key_Escape)});
        view_->addAction(&action);
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
        view_->setTypingEnabled(false);
        pressKey(Qt::Key_Q, Qt::ControlModifier);
        QCOMPARE(triggered.size(), 3);
    }

    void terminalCommandsHaveShift()
    {
        QSignalSpy typed(view_.get(), &ReceiveView::controlTyped);
        view_->appendText(u"some text"_s, {});
        constexpr auto ctrlShift = Qt::ControlModifier | Qt::ShiftModifier;
        pressKey(Qt::Key_A, ctrlShift);
        QVERIFY(view_->hasSelection());
        pressKey(Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(typed.value(0).value(0).toByteArray(), "\x03"_ba);
        QApplication::clipboard()->clear();
        pressKey(Qt::Key_C, ctrlShift);
        QCOMPARE(QApplication::clipboard()->text(), u"some text"_s);
        QSignalSpy find(view_.get(), &ReceiveView::findRequested);
        QSignalSpy clear(view_.get(), &ReceiveView::clearRequested);
        pressKey(Qt::Key_F, ctrlShift);
        pressKey(Qt::Key_L, ctrlShift);
        QCOMPARE(find.size(), 1);
        QCOMPARE(clear.size(), 1);
        QCOMPARE(typed.size(), 1);
    }

    void pasteNormalisesLineEnds()
    {
        QSignalSpy typed(view_.get(), &ReceiveView::textTyped);
        QApplication::clipboard()->setText(u"a\r\nb\rc\nd"_s);
        pressKey(Qt::Key_V, Qt::ControlModifier | Qt::ShiftModifier);
        pressKey(Qt::Key_Insert, Qt::ShiftModifier);
        QCOMPARE(typed.size(), 2);
        QCOMPARE(typed.at(0).at(0).toString(), u"a\nb\nc\nd"_s);
        view_->setTypingEnabled(false);
        view_->paste();
        QCOMPARE(typed.size(), 2);
    }

    void inputMethodTypes()
    {
        QSignalSpy typed(view_.get(), &ReceiveView::textTyped);
        QInputMethodEvent event;
        event.setCommitString(u"\u65E5\u672C"_s);
        QApplication::sendEvent(QApplication::focusWidget(), &event);
        QCOMPARE(typed.value(0).value(0).toString(), u"\u65E5\u672C"_s);
        QCOMPARE(view_->textLength(), 0);
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
        view_->appendText(numberedLines(0, 100), {});
        pressKey(Qt::Key_Up, Qt::ShiftModifier);
        QCOMPARE(view_->selectedText(), u"line 99\n"_s);
        pressKey(Qt::Key_PageUp, Qt::ShiftModifier);
        QVERIFY(!view_->isAtBottom());
        pressKey(Qt::Key_PageDown, Qt::ShiftModifier);
        QVERIFY(view_->isAtBottom());
        pressKey(Qt::Key_Home, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(view_->visibleRange().first, 0);
    }

    void zoomStaysInRange()
    {
        QSignalSpy zoomed(view_.get(), &ReceiveView::displayFontZoomed);
        const int size = view_->displayFont().pointSize();
        turnWheel(*view_, 240, Qt::ControlModifier);
        QCOMPARE(view_->displayFont().pointSize(), size + 2);
        view_->zoomBy(-1000);
        QCOMPARE(view_->displayFont().pointSize(), ReceiveView::smallestPointSize);
        view_->zoomBy(-1);
        QCOMPARE(zoomed.size(), 2);
    }

    // A match on the last page, while the device goes on talking.
    void whatWasAskedForStays()
    {
        const QString lines = u"a line\n"_s.repeated(100);
        view_->appendText(lines + u"match\n"_s, {});
        QVERIFY(view_->isAtBottom());
        view_->showPosition(lines.size(), 5);
        view_->appendText(lines, {});
        QCOMPARE_LT(view_->visibleRange().first, lines.size());
        QCOMPARE_GT(view_->visibleRange().second, lines.size());
        view_->forceScrollToEnd();
        view_->appendText(lines, {});
        QVERIFY(view_->isAtBottom());
    }

    void menuShowsWhatIsPossible()
    {
        QSignalSpy clear(view_.get(), &ReceiveView::clearRequested);
        const auto openMenu = [this] {
            QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5), QPoint(5, 5));
            QApplication::sendEvent(areaOf(*view_)->viewport(), &event);
            QHash<QString, QAction*> actions;
            const QList<QMenu*> menus = view_->findChildren<QMenu*>();
            for (QAction* action : menus.isEmpty() ? QList<QAction*>() : menus.last()->actions())
                actions.insert(action->text().remove(u'&'), action);
            return actions;
        };
        QApplication::clipboard()->setText(u"x"_s);
        auto actions = openMenu();
        QVERIFY(!actions.value(u"Copy"_s)->isEnabled());
        QVERIFY(!actions.value(u"Clear"_s)->isEnabled());
        QVERIFY(actions.value(u"Paste"_s)->isEnabled());
        view_->findChild<QMenu*>()->close();
        QTRY_VERIFY(view_->findChild<QMenu*>() == nullptr);

        view_->appendText(u"text"_s, {});
        view_->selectAll();
        view_->setTypingEnabled(false);
        actions = openMenu();
        QVERIFY(actions.value(u"Copy"_s)->isEnabled());
        QVERIFY(!actions.value(u"Paste"_s)->isEnabled());
        actions.value(u"Clear"_s)->trigger();
        QCOMPARE(clear.size(), 1);
        const bool wrap = view_->lineWrap();
        QCOMPARE(actions.value(u"Wrap Lines"_s)->isChecked(), wrap);
        actions.value(u"Wrap Lines"_s)->trigger();
        QCOMPARE(view_->lineWrap(), !wrap);
    }

private:
    std::unique_ptr<ReceiveView> view_;
};

QTEST_MAIN(TestReceiveView)
#include "tst_receiveview.moc"
