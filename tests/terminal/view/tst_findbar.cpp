#include "terminal/view/findbar.h"
#include "viewuse.h"

#include <QLabel>
#include <QLineEdit>
#include <QScrollBar>
#include <QSignalSpy>
#include <QToolButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

class TestFindBar final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_window = std::make_unique<QWidget>();
        m_view = new ReceiveView;
        m_bar = new FindBar(*m_view, m_window.get());
        m_field = m_bar->findChild<QLineEdit*>();
        auto* layout = new QVBoxLayout(m_window.get());
        layout->addWidget(m_bar);
        layout->addWidget(m_view);
        m_window->resize(600, 200);
        m_window->show();
        QApplication::setActiveWindow(m_window.get());
        m_view->setFocus();
    }

    void cleanup() { m_window.reset(); }

    void countsAndMoves()
    {
        QString text;
        for (int i = 0; i < 300; ++i)
            text += i % 100 == 0 ? u"Error %1\n"_s.arg(i) : u"fine\n"_s;
        m_view->appendText(text, {});
        m_view->scrollToEnd();
        QVERIFY(!m_bar->isOpen());
        m_bar->open();
        QVERIFY(m_field->hasFocus());
        type(u"error"_s);
        QTRY_COMPARE(result(), u"1 of 3"_s); // nothing below the visible lines: around the end
        QCOMPARE(m_view->visibleRange().first, 0);
        QTest::keyClick(m_field, Qt::Key_Return);
        QCOMPARE(result(), u"2 of 3"_s);
        const auto [from, to] = m_view->visibleRange();
        const qint64 second = text.indexOf("Error 100"_L1);
        QVERIFY(from <= second && second < to);
        QTest::keyClick(m_field, Qt::Key_F3);
        QCOMPARE(result(), u"3 of 3"_s);
        QTest::keyClick(m_field, Qt::Key_Return, Qt::ShiftModifier);
        QTest::keyClick(m_field, Qt::Key_F3, Qt::ShiftModifier);
        QCOMPARE(result(), u"1 of 3"_s);
        QTest::keyClick(m_field, Qt::Key_Escape);
        QVERIFY(!m_bar->isOpen());
        QVERIFY(m_view->isAncestorOf(QApplication::focusWidget()));
        QCOMPARE(m_bar->search().matchCount(), 0);
    }

    void saysWhenNothingMatches()
    {
        m_view->appendText(u"alpha\n"_s, {});
        m_bar->open();
        const QColor usual = m_field->palette().color(QPalette::Base);
        type(u"beta("_s);
        QTRY_COMPARE(result(), u"No matches"_s);
        const QColor tinted = m_field->palette().color(QPalette::Base);
        QVERIFY(tinted.red() - tinted.blue() > usual.red() - usual.blue() + 30);
        m_bar->findChild<QToolButton*>(u"expression"_s)->click();
        QVERIFY2(result().contains("parenthes"_L1), qPrintable(result()));
        m_field->setText(u"al.h"_s);
        QTRY_COMPARE(result(), u"1 of 1"_s);
        QCOMPARE(m_field->palette().color(QPalette::Base), usual);
        m_bar->findChild<QToolButton*>(u"matchCase"_s)->click();
        m_field->setText(u"AL.H"_s);
        QTRY_COMPARE(result(), u"No matches"_s);
    }

    void takesTheSelection()
    {
        m_view->appendText(u"a.c abc"_s, {});
        m_view->selectAll();
        m_bar->open();
        QCOMPARE(m_field->text(), u"a.c abc"_s);
        QTRY_COMPARE(result(), u"1 of 1"_s);
        m_view->appendText(u"\nmore"_s, {});
        m_view->selectAll();
        m_bar->open();
        QCOMPARE(m_field->text(), u"a.c abc"_s); // several lines are no search text
        m_view->clearText();
        m_view->appendText(QString(1025, u'a'), {});
        m_view->selectAll();
        m_bar->open();
        QCOMPARE(m_field->text(), u"a.c abc"_s); // nor is a long line
    }

    void keepsUpWithText()
    {
        m_bar->open();
        type(u"ok"_s);
        QTRY_COMPARE(result(), u"No matches"_s);
        m_view->appendText(u"ok o"_s, {});
        m_view->appendText(u"k\n"_s, {});
        QTRY_COMPARE(result(), u"2 matches"_s);
        m_view->trimFront(1);
        QTRY_COMPARE(result(), u"1 match"_s);
        m_view->clearText();
        QTRY_COMPARE(result(), u"No matches"_s);
    }

    void marksWhatIsVisible()
    {
        m_view->setTypingEnabled(false);
        m_view->appendText(u"\u2588\u2588\n"_s.repeated(3), QColor(Qt::blue));
        const auto share = [this](QRgb color) { return inkOf(*m_view, color); };
        QCOMPARE(share(qRgb(0, 0, 0)), 0);
        const int blue = share(qRgb(0, 0, 255));
        QVERIFY(blue > 0);
        m_bar->open();
        m_field->setText(u"\u2588\u2588"_s);
        QTRY_COMPARE(share(qRgb(0, 0, 255)), 0); // all three are marked, in black on the mark
        QVERIFY(share(qRgb(0, 0, 0)) >= blue);
        m_bar->dismiss();
        QTRY_COMPARE(share(qRgb(0, 0, 255)), blue);
    }

    // Text out of sight to the right must not use up the marks of the rows below.
    void marksLinesThatAreNotWrapped()
    {
        m_view->setTypingEnabled(false);
        m_view->setLineWrap(false);
        const QString line = u"\u2588"_s.repeated(9000) + u'\n';
        m_view->appendText(line.repeated(8), QColor(Qt::blue));
        QTRY_VERIFY(inkOf(*m_view, qRgb(0, 0, 255)) > 0);
        m_bar->open();
        m_field->setText(u"\u2588"_s);
        QTRY_COMPARE(inkOf(*m_view, qRgb(0, 0, 255)), 0);
        auto* area = m_view->findChild<QAbstractScrollArea*>();
        area->horizontalScrollBar()->setValue(area->horizontalScrollBar()->maximum() / 2);
        QTRY_COMPARE(inkOf(*m_view, qRgb(0, 0, 255)), 0);
    }

    void everyControlHasAName()
    {
        m_bar->open();
        const QList<QWidget*> controls = m_bar->findChildren<QWidget*>(Qt::FindDirectChildrenOnly);
        int reached = 0;
        for (const QWidget* control : controls) {
            if (control->focusPolicy() == Qt::NoFocus)
                continue;
            ++reached;
            QVERIFY2(!control->accessibleName().isEmpty(), qPrintable(control->objectName()));
        }
        QCOMPARE(reached, 6);
    }

private:
    [[nodiscard]] QString result() const { return m_bar->findChild<QLabel*>()->text(); }
    void type(const QString& text) { QTest::keyClicks(m_field, text); }

    std::unique_ptr<QWidget> m_window;
    ReceiveView* m_view = nullptr;
    FindBar* m_bar = nullptr;
    QLineEdit* m_field = nullptr;
};

QTEST_MAIN(TestFindBar)
#include "tst_findbar.moc"
