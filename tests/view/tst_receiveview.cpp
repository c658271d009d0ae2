#include "randomtext.h"
#include "terminal/view/receiveview.h"

#include <QAbstractScrollArea>
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QElapsedTimer>
#include <QInputMethodEvent>
#include <QMenu>
#include <QPainter>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

QString numberedLines(int from, int count)
{
    QString text;
    for (int i = from; i < from + count; ++i)
        text += u"line %1\n"_s.arg(i);
    return text;
}

QAbstractScrollArea* areaOf(ReceiveView& view)
{
    return view.findChild<QAbstractScrollArea*>();
}

QString topLine(const ReceiveView& view)
{
    return view.textAt(view.visibleRange().first, 40).section(u'\n', 0, 0);
}

// Selects by dragging over whole rows, as a person does.
void dragRows(ReceiveView& view, int fromRow, int toRow)
{
    QWidget* viewport = areaOf(view)->viewport();
    const int height = QFontMetrics(view.displayFont()).lineSpacing();
    const QPoint from(6, fromRow * height + height / 2 + 4);
    const QPoint to(6, toRow * height + height / 2 + 4);
    QTest::mousePress(viewport, Qt::LeftButton, {}, from);
    QMouseEvent move(QEvent::MouseMove, to, viewport->mapToGlobal(to), Qt::NoButton, Qt::LeftButton,
        Qt::NoModifier);
    QApplication::sendEvent(viewport, &move);
    QTest::mouseRelease(viewport, Qt::LeftButton, {}, to);
}

} // namespace

class TestReceiveView final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { view_.reset(); }
    void matchesModel_data();
    void matchesModel();
    void followsOnlyAtTheBottom_data();
    void followsOnlyAtTheBottom();
    void staysAtTheBottom();
    void forcedScrollHappensOnce();
    void keepsReadersLineThroughTrim();
    void selectionSurvives();
    void longLineDoesNotFreeze();
    void removingHalfIsQuick();
    void unreadableColorFollowsPalette();
    void keysAreTyped_data();
    void keysAreTyped();
    void windowShortcutsWin();
    void copyOrInterrupt();
    void pasteNormalisesLineEnds();
    void inputMethodTypes();
    void keyboardIsNotTrapped();
    void shiftKeysSelectAndScroll();
    void zoomStaysInRange();
    void menuShowsWhatIsPossible();

private:
    std::unique_ptr<ReceiveView> view_;
};

void TestReceiveView::init()
{
    view_ = std::make_unique<ReceiveView>();
    view_->resize(400, 200);
    view_->show();
    QVERIFY(QTest::qWaitForWindowExposed(view_.get()));
    QApplication::setActiveWindow(view_.get());
    view_->setFocus();
}

void TestReceiveView::matchesModel_data()
{
    QTest::addColumn<quint32>("seed");
    QTest::addColumn<bool>("wrap");
    QTest::addColumn<bool>("visible");
    QTest::newRow("wrapped") << 1U << true << true;
    QTest::newRow("not wrapped") << 2U << false << true;
    QTest::newRow("hidden") << 3U << true << false;
}

void TestReceiveView::matchesModel()
{
    QFETCH(const quint32, seed);
    QFETCH(const bool, wrap);
    QFETCH(const bool, visible);
    view_->setLineWrap(wrap);
    view_->setVisible(visible);
    RandomText random(seed);
    QString model;
    qint64 removed = 0;
    const std::array<std::optional<QColor>, 3> colors{std::nullopt, Qt::blue, Qt::white};
    for (int step = 0; step < 300; ++step) {
        const int action = random.below(20);
        if (action == 0) {
            removed += model.size();
            model.clear();
            view_->clearText();
        } else if (action < 6) {
            const auto count = std::min<qsizetype>(random.below(6000), model.size() + 10);
            view_->trimFront(count);
            removed += std::min(count, model.size());
            model.remove(0, count);
        } else {
            const QString text = random.next(random.below(action == 6 ? 9000 : 300));
            view_->appendText(text, colors.at(static_cast<std::size_t>(random.below(3))));
            model += text;
        }
        QCOMPARE(view_->textLength(), model.size());
        QCOMPARE(view_->removedCharacters(), removed);
        QVERIFY(view_->isAtBottom());
        const int from = random.below(static_cast<int>(model.size()) + 1);
        const int count = random.below(5000);
        QCOMPARE(view_->textAt(removed + from, count), model.mid(from, count));
    }
    QCOMPARE(view_->textAt(removed, model.size()), model);
    view_->selectAll();
    QCOMPARE(view_->selectedText(), model);
}

void TestReceiveView::followsOnlyAtTheBottom_data()
{
    QTest::addColumn<bool>("wrap");
    QTest::newRow("wrapped") << true;
    QTest::newRow("not wrapped") << false;
}

void TestReceiveView::followsOnlyAtTheBottom()
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

void TestReceiveView::staysAtTheBottom()
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

void TestReceiveView::forcedScrollHappensOnce()
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

void TestReceiveView::keepsReadersLineThroughTrim()
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

void TestReceiveView::selectionSurvives()
{
    view_->appendText(numberedLines(0, 5), {});
    dragRows(*view_, 1, 3);
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

// A device that sends no line feed at all, as hexadecimal display does.
void TestReceiveView::longLineDoesNotFreeze()
{
    view_->setLineWrap(true);
    const QString piece = QString(16'384, u'5');
    qint64 slowest = 0;
    for (int i = 0; i < 64; ++i) {
        QElapsedTimer clock;
        clock.start();
        view_->appendText(piece, {});
        QApplication::processEvents();
        slowest = std::max(slowest, clock.elapsed());
    }
    QCOMPARE(view_->textLength(), 1'048'576);
    QVERIFY2(slowest < 1000, qPrintable(QString::number(slowest)));
    QCOMPARE(view_->textAt(0, 1'048'576).count(u'\n'), 0);
}

void TestReceiveView::removingHalfIsQuick()
{
    const QString lines = numberedLines(1000, 10'000);
    while (view_->textLength() < 10'485'760)
        view_->appendText(lines, {});
    QElapsedTimer clock;
    clock.start();
    view_->trimFront(5'242'880);
    // Walking the cursor takes seconds.
    QVERIFY2(clock.elapsed() < 1000, qPrintable(QString::number(clock.elapsed())));
}

void TestReceiveView::unreadableColorFollowsPalette()
{
    const auto inkOf = [this] {
        view_->repaint();
        const QImage image = view_->grab().toImage();
        QSet<QRgb> inks;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width() / 2; ++x)
                inks.insert(image.pixel(x, y));
        }
        return inks;
    };
    const auto use = [this](QColor base, QColor text) {
        QPalette palette;
        palette.setColor(QPalette::Base, base);
        palette.setColor(QPalette::Text, text);
        view_->setPalette(palette);
    };
    const QString block(20, u'\u2588');
    view_->setTypingEnabled(false);
    use(Qt::white, QColor(0x202020));
    view_->appendText(block + u'\n', QColor(Qt::black));
    QVERIFY(inkOf().contains(qRgb(0, 0, 0)));
    use(Qt::black, QColor(0xd0d0d0));
    QTRY_VERIFY(inkOf().contains(qRgb(0xd0, 0xd0, 0xd0)));
    view_->appendText(block + u'\n', QColor(Qt::green));
    QVERIFY(inkOf().contains(qRgb(0, 255, 0)));
    use(Qt::white, QColor(0x202020));
    QTRY_VERIFY(!inkOf().contains(qRgb(0, 255, 0)));
    QVERIFY(inkOf().contains(qRgb(0, 0, 0)));
    QVERIFY(inkOf().contains(qRgb(0x20, 0x20, 0x20)));
}

void TestReceiveView::keysAreTyped_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("modifiers");
    QTest::addColumn<QString>("expected");
    QTest::newRow("letter") << int(Qt::Key_A) << 0 << "text:a";
    QTest::newRow("Enter") << int(Qt::Key_Return) << 0 << "enter";
    QTest::newRow("Tab") << int(Qt::Key_Tab) << 0 << "09";
    QTest::newRow("Up") << int(Qt::Key_Up) << 0 << "1b5b41";
    QTest::newRow("Page Up") << int(Qt::Key_PageUp) << 0 << "1b5b357e";
    QTest::newRow("Escape") << int(Qt::Key_Escape) << 0 << "1b";
    QTest::newRow("Ctrl+A") << int(Qt::Key_A) << int(Qt::ControlModifier) << "01";
    QTest::newRow("Ctrl+X") << int(Qt::Key_X) << int(Qt::ControlModifier) << "18";
    QTest::newRow("F9") << int(Qt::Key_F9) << 0 << "1b5b32307e";
}

void TestReceiveView::keysAreTyped()
{
    QFETCH(const int, key);
    QFETCH(const int, modifiers);
    QFETCH(const QString, expected);
    QStringList typed;
    connect(view_.get(), &ReceiveView::textTyped, this,
        [&typed](const QString& text) { typed += u"text:"_s + text; });
    connect(view_.get(), &ReceiveView::enterTyped, this, [&typed] { typed += u"enter"_s; });
    connect(view_.get(), &ReceiveView::controlTyped, this,
        [&typed](const QByteArray& bytes) { typed += QString::fromLatin1(bytes.toHex()); });
    view_->appendText(numberedLines(0, 100), {});
    const auto press = [key, modifiers](QWidget* target) {
        QTest::keyClick(target, static_cast<Qt::Key>(key), Qt::KeyboardModifiers(modifiers));
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

void TestReceiveView::windowShortcutsWin()
{
    QSignalSpy typed(view_.get(), &ReceiveView::controlTyped);
    QSignalSpy text(view_.get(), &ReceiveView::textTyped);
    QAction action;
    action.setShortcuts({QKeySequence(Qt::CTRL | Qt::Key_F), QKeySequence(Qt::Key_F5),
        QKeySequence(Qt::Key_X), QKeySequence(Qt::Key_Escape)});
    view_->addAction(&action);
    QSignalSpy triggered(&action, &QAction::triggered);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_F, Qt::ControlModifier);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_F5);
    QCOMPARE(triggered.size(), 2);
    QCOMPARE(typed.size(), 0);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_X);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    QCOMPARE(triggered.size(), 2);
    QCOMPARE(text.size(), 1);
    QCOMPARE(typed.size(), 1);
}

void TestReceiveView::copyOrInterrupt()
{
    QSignalSpy typed(view_.get(), &ReceiveView::controlTyped);
    view_->appendText(u"some text"_s, {});
    view_->selectAll();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QApplication::clipboard()->text(), u"some text"_s);
    QCOMPARE(typed.size(), 0);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(typed.value(0).value(0).toByteArray(), "\x03"_ba);
    QTest::keyClick(
        QApplication::focusWidget(), Qt::Key_A, Qt::ControlModifier | Qt::ShiftModifier);
    QVERIFY(view_->hasSelection());
    QApplication::clipboard()->clear();
    QTest::keyClick(
        QApplication::focusWidget(), Qt::Key_C, Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(QApplication::clipboard()->text(), u"some text"_s);
    QVERIFY(view_->hasSelection());
}

void TestReceiveView::pasteNormalisesLineEnds()
{
    QSignalSpy typed(view_.get(), &ReceiveView::textTyped);
    QApplication::clipboard()->setText(u"a\r\nb\rc\nd"_s);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_V, Qt::ControlModifier);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Insert, Qt::ShiftModifier);
    QCOMPARE(typed.size(), 2);
    QCOMPARE(typed.at(0).at(0).toString(), u"a\nb\nc\nd"_s);
    view_->setTypingEnabled(false);
    view_->paste();
    QCOMPARE(typed.size(), 2);
}

void TestReceiveView::inputMethodTypes()
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

void TestReceiveView::keyboardIsNotTrapped()
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
        QTest::keyClick(QApplication::focusWidget(), key, modifiers);
        return window.focusWidget();
    };
    QVERIFY(view->isAncestorOf(press(Qt::Key_Tab, {})));
    QCOMPARE(press(Qt::Key_Tab, Qt::ControlModifier), after);
    QCOMPARE(press(Qt::Key_Backtab, Qt::ControlModifier | Qt::ShiftModifier), before);
    view->setTypingEnabled(false);
    QCOMPARE(press(Qt::Key_Tab, {}), after);
}

void TestReceiveView::shiftKeysSelectAndScroll()
{
    view_->appendText(numberedLines(0, 100), {});
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Up, Qt::ShiftModifier);
    QCOMPARE(view_->selectedText(), u"line 99\n"_s);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_PageUp, Qt::ShiftModifier);
    QVERIFY(!view_->isAtBottom());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_PageDown, Qt::ShiftModifier);
    QVERIFY(view_->isAtBottom());
    QTest::keyClick(
        QApplication::focusWidget(), Qt::Key_Home, Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(view_->visibleRange().first, 0);
}

void TestReceiveView::zoomStaysInRange()
{
    QSignalSpy zoomed(view_.get(), &ReceiveView::displayFontZoomed);
    const int size = view_->displayFont().pointSize();
    const QPointF middle(100, 50);
    QWheelEvent wheel(middle, view_->mapToGlobal(middle), {}, QPoint(0, 240), Qt::NoButton,
        Qt::ControlModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(areaOf(*view_)->viewport(), &wheel);
    QCOMPARE(view_->displayFont().pointSize(), size + 2);
    view_->zoomBy(-1000);
    QCOMPARE(view_->displayFont().pointSize(), ReceiveView::smallestPointSize);
    view_->zoomBy(-1);
    QCOMPARE(zoomed.size(), 2);
}

void TestReceiveView::menuShowsWhatIsPossible()
{
    QSignalSpy clear(view_.get(), &ReceiveView::clearRequested);
    QSignalSpy wrapped(view_.get(), &ReceiveView::lineWrapToggled);
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
    QCOMPARE(wrapped.size(), 1);
}

QTEST_MAIN(TestReceiveView)
#include "tst_receiveview.moc"
