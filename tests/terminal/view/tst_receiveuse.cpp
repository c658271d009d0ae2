#include "randomtext.h"
#include "terminal/view/findbar.h"
#include "viewuse.h"

#include <QAccessible>
#include <QClipboard>
#include <QDialog>
#include <QLineEdit>
#include <QMimeData>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTimer>
#include <QVBoxLayout>
#include <QWindow>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;

// The receive view in the hands of a person: mouse, scroll bar, screen reader, all of it while
// text floods in.
class TestReceiveUse final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        window_ = std::make_unique<QWidget>();
        view_ = new ReceiveView;
        bar_ = new FindBar(*view_);
        auto* layout = new QVBoxLayout(window_.get());
        layout->addWidget(view_);
        layout->addWidget(bar_);
        window_->resize(600, 400);
        window_->show();
        QVERIFY(QTest::qWaitForWindowExposed(window_.get()));
        QApplication::setActiveWindow(window_.get());
        view_->setFocus();
    }

    void cleanup() { window_.reset(); }

    void mouseSelects()
    {
        view_->appendText(u"one two_2 (three)\nfour\n\nfive"_s, {});
        QTest::mousePress(viewport(), Qt::LeftButton, {}, at(0, 4));
        moveTo(at(1, 2));
        QTest::mouseRelease(viewport(), Qt::LeftButton, {}, at(1, 2));
        QCOMPARE(view_->selectedText(), u"two_2 (three)\nfo"_s);
        QTest::mouseClick(viewport(), Qt::LeftButton, Qt::ShiftModifier, at(3, 1));
        QCOMPARE(view_->selectedText(), u"two_2 (three)\nfour\n\nf"_s);
        QTest::mouseClick(viewport(), Qt::LeftButton, {}, at(0, 12));
        QVERIFY(!view_->hasSelection());
        QTest::mouseDClick(viewport(), Qt::LeftButton, {}, at(0, 5));
        QCOMPARE(view_->selectedText(), u"two_2"_s);
        QTest::mousePress(viewport(), Qt::LeftButton, {}, at(0, 5)); // the third click
        QCOMPARE(view_->selectedText(), u"one two_2 (three)\n"_s);
        moveTo(at(3, 0));
        QCOMPARE(view_->selectedText(), u"one two_2 (three)\nfour\n\nfive"_s);
        QTest::mouseRelease(viewport(), Qt::LeftButton, {}, at(3, 0));
        QTest::mouseDClick(viewport(), Qt::LeftButton, {}, at(0, 0));
        QTest::mousePress(viewport(), Qt::LeftButton, {}, at(0, 9)); // too far to be a third click
        QVERIFY(!view_->hasSelection());
        QTest::mouseRelease(viewport(), Qt::LeftButton, {}, at(0, 9));
        QTest::mouseDClick(viewport(), Qt::LeftButton, {}, at(0, 13));
        moveTo(at(0, 5)); // backwards, by words
        QCOMPARE(view_->selectedText(), u"two_2 (three"_s);
    }

    void dragScrollsOn()
    {
        view_->setLineWrap(false);
        view_->appendText(numberedLines(0, 100), {});
        QTest::mousePress(viewport(), Qt::LeftButton, {}, at(5, 0));
        moveTo(QPoint(10, -100));
        view_->appendText(u"more\n"_s, {}); // meanwhile
        QTRY_COMPARE(view_->visibleRange().first, 0);
        QVERIFY(view_->selectedText().startsWith(u"line 0\n"_s)
                || view_->selectedText().startsWith(u"ine 0\n"_s));
        QTest::mouseRelease(viewport(), Qt::LeftButton, {}, QPoint(10, -100));
    }

    // The release of a button goes to nobody when a dialog has come between.
    void lostReleaseEndsTheDrag()
    {
        view_->appendText(numberedLines(0, 2000), {});
        QWindow* native = window_->windowHandle();
        const QPoint above = viewport()->mapTo(window_.get(), QPoint(10, -100));
        QTest::mousePress(native, Qt::LeftButton, {}, viewport()->mapTo(window_.get(), at(5, 0)));
        QTest::mouseMove(native, above);
        QTRY_VERIFY(timerRuns() && !view_->isAtBottom());
        QDialog dialog(window_.get());
        dialog.open();
        QTest::mouseRelease(native, Qt::LeftButton, {}, above);
        dialog.close();
        QTRY_VERIFY(!timerRuns());
    }

    void rowsStandStillUnderTheButton()
    {
        view_->appendText(numberedLines(0, 200), {});
        const qint64 top = view_->visibleRange().first;
        view_->appendText(numberedLines(200, 30), {}); // not drawn yet
        QTest::mousePress(viewport(), Qt::LeftButton, {}, at(5, 0));
        view_->appendText(numberedLines(230, 30), {});
        moveTo(at(5, 3));
        QCOMPARE(view_->selectedText(), u"lin"_s);
        QCOMPARE(view_->visibleRange().first, top);
        QTest::mouseRelease(viewport(), Qt::LeftButton, {}, at(5, 3));
        QVERIFY(view_->isAtBottom());
        QCOMPARE(view_->visibleRange().second, view_->endPosition());

        QTest::mousePress(viewport(), Qt::LeftButton, {}, at(5, 0));
        turnWheel(*view_, 120);
        QTest::mouseRelease(viewport(), Qt::LeftButton, {}, at(5, 0));
        QVERIFY(!view_->isAtBottom());
    }

    void tallerForAWhileKeepsThePlace()
    {
        view_->appendText(numberedLines(0, 200), {});
        window_->resize(600, 300);
        QTRY_VERIFY(view_->height() < 300);
        view_->scrollToEnd();
        turnWheel(*view_, 3 * 120);
        const qint64 top = view_->visibleRange().first;
        for (const int height : {700, 300}) {
            window_->resize(600, height);
            QCOMPARE(view_->isAtBottom(), false);
            QCOMPARE(view_->visibleRange().second == view_->endPosition(), height == 700);
        }
        view_->appendText(numberedLines(200, 3), {});
        QCOMPARE(view_->visibleRange().first, top);
    }

    void zoomLeavesTheLeastSize()
    {
        const QSize least = window_->minimumSizeHint();
        QFont font = view_->displayFont();
        font.setPixelSize(20);
        view_->setDisplayFont(font);
        const int points = QFontInfo(font).pointSize();
        view_->zoomBy(1);
        QCOMPARE(view_->displayFont().pointSize(), points + 1);
        view_->zoomBy(100);
        QCOMPARE(view_->displayFont().pointSize(), ReceiveView::largestPointSize);
        QCoreApplication::processEvents();
        QCOMPARE(window_->minimumSizeHint(), least);
    }

    void keysGoByCharacters_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("steps");
        QTest::addColumn<QString>("selected");
        QTest::newRow("letters") << u"abc"_s << 2 << u"bc"_s;
        QTest::newRow("pair") << u"a\U0001F600b"_s << 2 << u"\U0001F600b"_s;
        QTest::newRow("marks") << u"ae\u0301\u0323"_s << 1 << u"e\u0301\u0323"_s;
        QTest::newRow("over a line feed") << u"a\nb"_s << 2 << u"\nb"_s;
        QTest::newRow("over a cut") << QString(2048, u'x') + u"\u00E9y"_s << 3 << u"x\u00E9y"_s;
    }

    // Shift+Left goes by whole characters, wherever the view cuts the text.
    void keysGoByCharacters()
    {
        QFETCH(const QString, text);
        QFETCH(const int, steps);
        QFETCH(const QString, selected);
        view_->appendText(u"\n"_s.repeated(100) + text, {});
        for (int i = 0; i < steps; ++i)
            pressKey(Qt::Key_Left, Qt::ShiftModifier);
        QCOMPARE(view_->selectedText(), selected);
        for (int i = 0; i < steps; ++i)
            pressKey(Qt::Key_Right, Qt::ShiftModifier);
        QVERIFY(!view_->hasSelection());
    }

    void copiesBytes()
    {
        view_->setWrapAtBlanks(true);
        const QString text = u"[Rx][12:00:00.123] 48 C3 A4 \n12 0A FF "_s;
        view_->appendHexadecimal(text, {}, {{19, 28}, {32, text.size()}});
        view_->selectAll();
        view_->copyBytes();
        const QMimeData* content = QApplication::clipboard()->mimeData();
        QCOMPARE(content->data(u"application/octet-stream"_s).toHex(), "48c3a40aff"_ba);
        QCOMPARE(content->text(), u"H\u00E4\n\uFFFD"_s);
    }

    void barShowsThePlace()
    {
        QScrollBar* bar = area()->verticalScrollBar();
        view_->setLineWrap(false);
        const QString text = numberedLines(0, 1000);
        view_->appendText(text, {});
        QTRY_VERIFY(bar->maximum() > 900);
        QCOMPARE(bar->value(), bar->maximum());
        bar->setValue(500);
        QCOMPARE(view_->visibleRange().first, text.indexOf("line 500\n"_L1));
        bar->triggerAction(QAbstractSlider::SliderSingleStepAdd);
        QCOMPARE(view_->visibleRange().first, text.indexOf("line 501\n"_L1));
        view_->trimFront(text.indexOf("line 100\n"_L1));
        QTRY_COMPARE(bar->value(), 401);
        bar->setValue(bar->maximum());
        QVERIFY(view_->isAtBottom());
        bar->triggerAction(QAbstractSlider::SliderPageStepSub);
        QVERIFY(!view_->isAtBottom());
        QVERIFY(view_->visibleRange().second > text.indexOf("line 960\n"_L1));
        bar->triggerAction(QAbstractSlider::SliderPageStepAdd);
        QVERIFY(view_->isAtBottom());
    }

    // Where the count of rows is an estimate, steps still show every row and arrive at the end.
    void barReachesEverything()
    {
        for (int i = 0; i < 40; ++i)
            view_->appendText(QString(i * 5, QChar(0x65E5)) + u'\t' + QString(i, u'x') + u'\n', {});
        pressKey(Qt::Key_Home, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(view_->visibleRange().first, 0);
        qint64 seen = view_->visibleRange().second;
        for (int i = 0; i < 2000 && !view_->isAtBottom(); ++i) {
            turnWheel(*view_, -120);
            QVERIFY(view_->visibleRange().first <= seen);
            QVERIFY(view_->visibleRange().second >= seen);
            seen = view_->visibleRange().second;
        }
        QCOMPARE(seen, view_->endPosition());
    }

    void drawsOnceAFrame()
    {
        class Counter final : public QObject
        {
        public:
            bool eventFilter(QObject* /*watched*/, QEvent* event) override
            {
                paints += event->type() == QEvent::Paint ? 1 : 0;
                return false;
            }
            int paints = 0;
        } counter;
        QCoreApplication::processEvents();
        viewport()->installEventFilter(&counter);
        QElapsedTimer clock;
        clock.start();
        for (int i = 0; i < 2000; ++i) {
            view_->appendText(u"some text of a device\n"_s, {});
            if (i % 10 == 0)
                QCoreApplication::processEvents();
        }
        const qint64 frames = clock.elapsed() / 16 + 2;
        QVERIFY2(counter.paints <= 2 * frames, qPrintable(QString::number(counter.paints)));
        QTRY_VERIFY(counter.paints > 0);
    }

    void screenReaderReads()
    {
        view_->appendText(u"gone\none two\nthree\n"_s, {});
        view_->appendText(u"four"_s, QColor(Qt::red));
        view_->trimFront(5);
        QAccessibleInterface* reader = QAccessible::queryAccessibleInterface(area());
        QVERIFY(reader != nullptr && reader->textInterface() != nullptr);
        QCOMPARE(reader->role(), QAccessible::Terminal);
        QCOMPARE(reader->text(QAccessible::Name), u"Received data"_s);
        QAccessibleTextInterface* text = reader->textInterface();
        QCOMPARE(text->characterCount(), 18);
        QCOMPARE(text->text(0, 7), u"one two"_s);
        int start = 0;
        int end = 0;
        QCOMPARE(text->textAtOffset(5, QAccessible::WordBoundary, &start, &end), u"two"_s);
        QCOMPARE(std::pair(start, end), std::pair(4, 7));
        QCOMPARE(text->textAfterOffset(5, QAccessible::LineBoundary, &start, &end), u"three\n"_s);
        QCOMPARE(
            text->textBeforeOffset(9, QAccessible::LineBoundary, &start, &end), u"one two\n"_s);
        QCOMPARE(text->textAtOffset(0, QAccessible::CharBoundary, &start, &end), u"o"_s);
        QVERIFY(text->attributes(15, &start, &end).contains("rgb(255,0,0)"_L1));
        QCOMPARE(std::pair(start, end), std::pair(14, 18));
        const QRect letter = text->characterRect(4);
        QCOMPARE(text->offsetAtPoint(letter.center()), 4);
        text->addSelection(4, 7);
        QCOMPARE(view_->selectedText(), u"two"_s);
        QCOMPARE(text->selectionCount(), 1);
    }

    // Asked for a line, a view whose device never ends one hands over a piece.
    void screenReaderGetsPieces()
    {
        view_->appendText(u"a\n"_s + QString(100'000, u'x') + u"\nb"_s, {});
        QAccessibleTextInterface* text =
            QAccessible::queryAccessibleInterface(area())->textInterface();
        int start = 0;
        int end = 0;
        for (int offset = 2; offset < 100'003; offset = end) {
            const QString piece =
                text->textAtOffset(offset, QAccessible::LineBoundary, &start, &end);
            QCOMPARE(start, offset);
            QVERIFY(piece.size() == end - start && piece.size() > 0 && piece.size() < 4096);
        }
        QCOMPARE(end, 100'003);
    }

    void survivesAnything_data()
    {
        QTest::addColumn<quint32>("seed");
        for (quint32 seed = 1; seed <= 3; ++seed)
            QTest::addRow("seed %u", seed) << seed;
    }

    // Text floods in while a person resizes, scrolls, searches, selects and clears at random; in
    // the end the view holds what it was given, and shows its end.
    void survivesAnything()
    {
        QFETCH(const quint32, seed);
        RandomText random(seed);
        QString model;
        qint64 removed = 0;
        for (int step = 0; step < 250; ++step) {
            const QString text = random.next(random.below(step % 10 == 0 ? 20'000 : 500));
            view_->appendText(
                text, random.below(2) == 0 ? std::optional(QColor(Qt::red)) : std::nullopt);
            model += text;
            if (random.below(12) == 0) {
                qsizetype count = random.below(static_cast<int>(model.size()) + 1);
                view_->trimFront(count);
                if (count > 0 && count < model.size() && model.at(count).isLowSurrogate()
                    && model.at(count - 1).isHighSurrogate())
                    ++count; // no pair is torn
                model.remove(0, count);
                removed += count;
            } else if (random.below(40) == 0) {
                view_->clearText();
                removed += model.size();
                model.clear();
            }
            act(random, *window_, *bar_);
            if (random.below(3) == 0)
                QCoreApplication::processEvents();
            QCOMPARE(view_->textLength(), model.size());
            QCOMPARE(view_->removedCharacters(), removed);
            const int middle = random.below(static_cast<int>(model.size()) + 1);
            QCOMPARE(view_->textAt(removed + middle, 5000), model.mid(middle, 5000));
            const auto [from, to] = view_->visibleRange();
            QVERIFY(view_->firstPosition() <= from && from <= to && to <= view_->endPosition());
            if (view_->isAtBottom())
                QCOMPARE(to, view_->endPosition());
        }
        view_->selectAll();
        QCOMPARE(view_->selectedText(), model);
    }

private:
    [[nodiscard]] QAbstractScrollArea* area() const { return areaOf(*view_); }
    [[nodiscard]] QWidget* viewport() const { return area()->viewport(); }
    [[nodiscard]] bool timerRuns() const
    {
        return std::ranges::any_of(view_->findChildren<QTimer*>(), &QTimer::isActive);
    }
    // Middle of a column's left half, in the middle of a row.
    [[nodiscard]] QPoint at(int row, double column) const
    {
        const QFontMetricsF metrics(view_->displayFont());
        const int height = QFontMetrics(view_->displayFont()).lineSpacing();
        return {qRound(4 + (column + 0.25) * metrics.horizontalAdvance(u'0')),
            4 + row * height + height / 2};
    }
    void moveTo(QPoint point) const { dragTo(*view_, point); }

    void act(RandomText& random, QWidget& window, FindBar& bar) const
    {
        QScrollBar* vertical = area()->verticalScrollBar();
        const QPoint point(random.below(700) - 50, random.below(500) - 50);
        switch (random.below(14)) {
        case 0:
            window.resize(150 + random.below(600), 100 + random.below(400));
            break;
        case 1:
            vertical->setValue(random.below(vertical->maximum() + 1));
            break;
        case 2:
            view_->scrollToEnd();
            break;
        case 3:
            bar.open();
            bar.findChild<QLineEdit*>()->setText(QString(u"abA"_s.at(random.below(3))));
            break;
        case 4:
            bar.findNext();
            break;
        case 5:
            QTest::mousePress(viewport(), Qt::LeftButton, {}, point);
            break;
        case 6:
            moveTo(point);
            break;
        case 7:
            QTest::mouseRelease(viewport(), Qt::LeftButton, {}, point);
            break;
        case 8:
            QTest::mouseDClick(viewport(), Qt::LeftButton, {}, point);
            break;
        case 9:
            QTest::keyClick(
                area(), random.below(2) == 0 ? Qt::Key_Up : Qt::Key_Left, Qt::ShiftModifier);
            break;
        case 10:
            view_->setLineWrap(random.below(2) == 0);
            break;
        case 11:
            view_->setWrapAtBlanks(random.below(2) == 0);
            break;
        case 12:
            view_->zoomBy(random.below(3) - 1);
            break;
        default:
            viewport()->grab();
        }
    }

    std::unique_ptr<QWidget> window_;
    ReceiveView* view_ = nullptr;
    FindBar* bar_ = nullptr;
};

QTEST_MAIN(TestReceiveUse)
#include "tst_receiveuse.moc"
