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
        m_window = std::make_unique<QWidget>();
        m_view = new ReceiveView;
        m_bar = new FindBar(*m_view);
        auto* layout = new QVBoxLayout(m_window.get());
        layout->addWidget(m_view);
        layout->addWidget(m_bar);
        m_window->resize(600, 400);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        QApplication::setActiveWindow(m_window.get());
        m_view->setFocus();
    }

    void cleanup() { m_window.reset(); }

    void mouseSelects()
    {
        m_view->appendText(u"one two_2 (three)\nfour\n\nfive"_s, {});
        QTest::mousePress(viewport(), Qt::LeftButton, {}, at(0, 4));
        moveTo(at(1, 2));
        QTest::mouseRelease(viewport(), Qt::LeftButton, {}, at(1, 2));
        QCOMPARE(m_view->selectedText(), u"two_2 (three)\nfo"_s);
        QTest::mouseClick(viewport(), Qt::LeftButton, Qt::ShiftModifier, at(3, 1));
        QCOMPARE(m_view->selectedText(), u"two_2 (three)\nfour\n\nf"_s);
        QTest::mouseClick(viewport(), Qt::LeftButton, {}, at(0, 12));
        QVERIFY(!m_view->hasSelection());
        QTest::mouseDClick(viewport(), Qt::LeftButton, {}, at(0, 5));
        QCOMPARE(m_view->selectedText(), u"two_2"_s);
        QTest::mousePress(viewport(), Qt::LeftButton, {}, at(0, 5)); // the third click
        QCOMPARE(m_view->selectedText(), u"one two_2 (three)\n"_s);
        moveTo(at(3, 0));
        QCOMPARE(m_view->selectedText(), u"one two_2 (three)\nfour\n\nfive"_s);
        QTest::mouseRelease(viewport(), Qt::LeftButton, {}, at(3, 0));
        QTest::mouseDClick(viewport(), Qt::LeftButton, {}, at(0, 0));
        QTest::mousePress(viewport(), Qt::LeftButton, {}, at(0, 9)); // too far to be a third click
        QVERIFY(!m_view->hasSelection());
        QTest::mouseRelease(viewport(), Qt::LeftButton, {}, at(0, 9));
        QTest::mouseDClick(viewport(), Qt::LeftButton, {}, at(0, 13));
        moveTo(at(0, 5)); // backwards, by words
        QCOMPARE(m_view->selectedText(), u"two_2 (three"_s);
    }

    void dragScrollsOn()
    {
        m_view->setLineWrap(false);
        m_view->appendText(numberedLines(0, 100), {});
        QTest::mousePress(viewport(), Qt::LeftButton, {}, at(5, 0));
        moveTo(QPoint(10, -100));
        m_view->appendText(u"more\n"_s, {}); // meanwhile
        QTRY_COMPARE(m_view->visibleRange().first, 0);
        QVERIFY(m_view->selectedText().startsWith(u"line 0\n"_s)
                || m_view->selectedText().startsWith(u"ine 0\n"_s));
        QTest::mouseRelease(viewport(), Qt::LeftButton, {}, QPoint(10, -100));
    }

    // The release of a button goes to nobody when a dialog has come between.
    void lostReleaseEndsTheDrag()
    {
        m_view->appendText(numberedLines(0, 2000), {});
        QWindow* native = m_window->windowHandle();
        const QPoint above = viewport()->mapTo(m_window.get(), QPoint(10, -100));
        QTest::mousePress(native, Qt::LeftButton, {}, viewport()->mapTo(m_window.get(), at(5, 0)));
        QTest::mouseMove(native, above);
        QTRY_VERIFY(timerRuns() && !m_view->isAtBottom());
        QDialog dialog(m_window.get());
        dialog.open();
        QTest::mouseRelease(native, Qt::LeftButton, {}, above);
        dialog.close();
        QTRY_VERIFY(!timerRuns());
    }

    void rowsStandStillUnderTheButton()
    {
        m_view->appendText(numberedLines(0, 200), {});
        const qint64 top = m_view->visibleRange().first;
        m_view->appendText(numberedLines(200, 30), {}); // not drawn yet
        QTest::mousePress(viewport(), Qt::LeftButton, {}, at(5, 0));
        m_view->appendText(numberedLines(230, 30), {});
        moveTo(at(5, 3));
        QCOMPARE(m_view->selectedText(), u"lin"_s);
        QCOMPARE(m_view->visibleRange().first, top);
        QTest::mouseRelease(viewport(), Qt::LeftButton, {}, at(5, 3));
        QVERIFY(m_view->isAtBottom());
        QCOMPARE(m_view->visibleRange().second, m_view->endPosition());

        QTest::mousePress(viewport(), Qt::LeftButton, {}, at(5, 0));
        turnWheel(*m_view, 120);
        QTest::mouseRelease(viewport(), Qt::LeftButton, {}, at(5, 0));
        QVERIFY(!m_view->isAtBottom());
    }

    void tallerForAWhileKeepsThePlace()
    {
        m_view->appendText(numberedLines(0, 200), {});
        m_window->resize(600, 300);
        QTRY_VERIFY(m_view->height() < 300);
        m_view->scrollToEnd();
        turnWheel(*m_view, 3 * 120);
        const qint64 top = m_view->visibleRange().first;
        for (const int height : {700, 300}) {
            m_window->resize(600, height);
            QCOMPARE(m_view->isAtBottom(), false);
            QCOMPARE(m_view->visibleRange().second == m_view->endPosition(), height == 700);
        }
        m_view->appendText(numberedLines(200, 3), {});
        QCOMPARE(m_view->visibleRange().first, top);
    }

    void zoomLeavesTheLeastSize()
    {
        const QSize least = m_window->minimumSizeHint();
        QFont font = m_view->displayFont();
        font.setPixelSize(20);
        m_view->setDisplayFont(font);
        const int points = QFontInfo(font).pointSize();
        m_view->zoomBy(1);
        QCOMPARE(m_view->displayFont().pointSize(), points + 1);
        m_view->zoomBy(100);
        QCOMPARE(m_view->displayFont().pointSize(), ReceiveView::kLargestPointSize);
        QCoreApplication::processEvents();
        QCOMPARE(m_window->minimumSizeHint(), least);
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
        m_view->appendText(u"\n"_s.repeated(100) + text, {});
        for (int i = 0; i < steps; ++i)
            pressKey(Qt::Key_Left, Qt::ShiftModifier);
        QCOMPARE(m_view->selectedText(), selected);
        for (int i = 0; i < steps; ++i)
            pressKey(Qt::Key_Right, Qt::ShiftModifier);
        QVERIFY(!m_view->hasSelection());
    }

    void copiesBytes()
    {
        m_view->setWrapAtBlanks(true);
        const QString text = u"[Rx][12:00:00.123] 48 C3 A4 \n12 0A FF "_s;
        m_view->appendHexadecimal(text, {}, {{19, 28}, {32, text.size()}});
        m_view->selectAll();
        m_view->copyBytes();
        const QMimeData* content = QApplication::clipboard()->mimeData();
        QCOMPARE(content->data(u"application/octet-stream"_s).toHex(), "48c3a40aff"_ba);
        QCOMPARE(content->text(), u"H\u00E4\n\uFFFD"_s);
    }

    void barShowsThePlace()
    {
        QScrollBar* bar = area()->verticalScrollBar();
        m_view->setLineWrap(false);
        const QString text = numberedLines(0, 1000);
        m_view->appendText(text, {});
        QTRY_VERIFY(bar->maximum() > 900);
        QCOMPARE(bar->value(), bar->maximum());
        bar->setValue(500);
        QCOMPARE(m_view->visibleRange().first, text.indexOf("line 500\n"_L1));
        bar->triggerAction(QAbstractSlider::SliderSingleStepAdd);
        QCOMPARE(m_view->visibleRange().first, text.indexOf("line 501\n"_L1));
        m_view->trimFront(text.indexOf("line 100\n"_L1));
        QTRY_COMPARE(bar->value(), 401);
        bar->setValue(bar->maximum());
        QVERIFY(m_view->isAtBottom());
        bar->triggerAction(QAbstractSlider::SliderPageStepSub);
        QVERIFY(!m_view->isAtBottom());
        QVERIFY(m_view->visibleRange().second > text.indexOf("line 960\n"_L1));
        bar->triggerAction(QAbstractSlider::SliderPageStepAdd);
        QVERIFY(m_view->isAtBottom());
    }

    // Where the count of rows is an estimate, steps still show every row and arrive at the end.
    void barReachesEverything()
    {
        for (int i = 0; i < 40; ++i)
            m_view->appendText(
                QString(i * 5, QChar(0x65E5)) + u'\t' + QString(i, u'x') + u'\n', {});
        pressKey(Qt::Key_Home, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(m_view->visibleRange().first, 0);
        qint64 seen = m_view->visibleRange().second;
        for (int i = 0; i < 2000 && !m_view->isAtBottom(); ++i) {
            turnWheel(*m_view, -120);
            QVERIFY(m_view->visibleRange().first <= seen);
            QVERIFY(m_view->visibleRange().second >= seen);
            seen = m_view->visibleRange().second;
        }
        QCOMPARE(seen, m_view->endPosition());
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
            m_view->appendText(u"some text of a device\n"_s, {});
            if (i % 10 == 0)
                QCoreApplication::processEvents();
        }
        const qint64 frames = clock.elapsed() / 16 + 2;
        QVERIFY2(counter.paints <= 2 * frames, qPrintable(QString::number(counter.paints)));
        QTRY_VERIFY(counter.paints > 0);
    }

    void screenReaderReads()
    {
        m_view->appendText(u"gone\none two\nthree\n"_s, {});
        m_view->appendText(u"four"_s, QColor(Qt::red));
        m_view->trimFront(5);
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
        QCOMPARE(m_view->selectedText(), u"two"_s);
        QCOMPARE(text->selectionCount(), 1);
    }

    // Asked for a line, a view whose device never ends one hands over a piece.
    void screenReaderGetsPieces()
    {
        m_view->appendText(u"a\n"_s + QString(100'000, u'x') + u"\nb"_s, {});
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
            m_view->appendText(
                text, random.below(2) == 0 ? std::optional(QColor(Qt::red)) : std::nullopt);
            model += text;
            if (random.below(12) == 0) {
                qsizetype count = random.below(static_cast<int>(model.size()) + 1);
                m_view->trimFront(count);
                if (count > 0 && count < model.size() && model.at(count).isLowSurrogate()
                    && model.at(count - 1).isHighSurrogate())
                    ++count; // no pair is torn
                model.remove(0, count);
                removed += count;
            } else if (random.below(40) == 0) {
                m_view->clearText();
                removed += model.size();
                model.clear();
            }
            act(random, *m_window, *m_bar);
            if (random.below(3) == 0)
                QCoreApplication::processEvents();
            QCOMPARE(m_view->textLength(), model.size());
            QCOMPARE(m_view->removedCharacters(), removed);
            const int middle = random.below(static_cast<int>(model.size()) + 1);
            QCOMPARE(m_view->textAt(removed + middle, 5000), model.mid(middle, 5000));
            const auto [from, to] = m_view->visibleRange();
            QVERIFY(m_view->firstPosition() <= from && from <= to && to <= m_view->endPosition());
            if (m_view->isAtBottom())
                QCOMPARE(to, m_view->endPosition());
        }
        m_view->selectAll();
        QCOMPARE(m_view->selectedText(), model);
    }

private:
    [[nodiscard]] QAbstractScrollArea* area() const { return areaOf(*m_view); }
    [[nodiscard]] QWidget* viewport() const { return area()->viewport(); }
    [[nodiscard]] bool timerRuns() const
    {
        return std::ranges::any_of(m_view->findChildren<QTimer*>(), &QTimer::isActive);
    }
    // Middle of a column's left half, in the middle of a row.
    [[nodiscard]] QPoint at(int row, double column) const
    {
        const QFontMetricsF metrics(m_view->displayFont());
        const int height = QFontMetrics(m_view->displayFont()).lineSpacing();
        return {qRound(4 + (column + 0.25) * metrics.horizontalAdvance(u'0')),
            4 + row * height + height / 2};
    }
    void moveTo(QPoint point) const { dragTo(*m_view, point); }

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
            m_view->scrollToEnd();
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
            m_view->setLineWrap(random.below(2) == 0);
            break;
        case 11:
            m_view->setWrapAtBlanks(random.below(2) == 0);
            break;
        case 12:
            m_view->zoomBy(random.below(3) - 1);
            break;
        default:
            viewport()->grab();
        }
    }

    std::unique_ptr<QWidget> m_window;
    ReceiveView* m_view = nullptr;
    FindBar* m_bar = nullptr;
};

QTEST_MAIN(TestReceiveUse)
#include "tst_receiveuse.moc"
