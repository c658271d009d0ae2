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
        window_ = std::make_unique<QWidget>();
        view_ = new ReceiveView;
        bar_ = new FindBar(*view_, window_.get());
        field_ = bar_->findChild<QLineEdit*>();
        auto* layout = new QVBoxLayout(window_.get());
        layout->addWidget(bar_);
        layout->addWidget(view_);
        window_->resize(600, 200);
        window_->show();
        QApplication::setActiveWindow(window_.get());
        view_->setFocus();
    }

    void cleanup() { window_.reset(); }

    void countsAndMoves()
    {
        QString text;
        for (int i = 0; i < 300; ++i)
            text += i % 100 == 0 ? u"Error %1\n"_s.arg(i) : u"fine\n"_s;
        view_->appendText(text, {});
        view_->scrollToEnd();
        QVERIFY(!bar_->isOpen());
        bar_->open();
        QVERIFY(field_->hasFocus());
        type(u"error"_s);
        QTRY_COMPARE(result(), u"1 of 3"_s); // nothing below the visible lines: around the end
        QCOMPARE(view_->visibleRange().first, 0);
        QTest::keyClick(field_, Qt::Key_Return);
        QCOMPARE(result(), u"2 of 3"_s);
        const auto [from, to] = view_->visibleRange();
        const qint64 second = text.indexOf("Error 100"_L1);
        QVERIFY(from <= second && second < to);
        QTest::keyClick(field_, Qt::Key_F3);
        QCOMPARE(result(), u"3 of 3"_s);
        QTest::keyClick(field_, Qt::Key_Return, Qt::ShiftModifier);
        QTest::keyClick(field_, Qt::Key_F3, Qt::ShiftModifier);
        QCOMPARE(result(), u"1 of 3"_s);
        QTest::keyClick(field_, Qt::Key_Escape);
        QVERIFY(!bar_->isOpen());
        QVERIFY(view_->isAncestorOf(QApplication::focusWidget()));
        QCOMPARE(bar_->search().matchCount(), 0);
    }

    void saysWhenNothingMatches()
    {
        view_->appendText(u"alpha\n"_s, {});
        bar_->open();
        const QColor usual = field_->palette().color(QPalette::Base);
        type(u"beta("_s);
        QTRY_COMPARE(result(), u"No matches"_s);
        const QColor tinted = field_->palette().color(QPalette::Base);
        QVERIFY(tinted.red() - tinted.blue() > usual.red() - usual.blue() + 30);
        bar_->findChild<QToolButton*>(u"expression"_s)->click();
        QVERIFY2(result().contains("parenthes"_L1), qPrintable(result()));
        field_->setText(u"al.h"_s);
        QTRY_COMPARE(result(), u"1 of 1"_s);
        QCOMPARE(field_->palette().color(QPalette::Base), usual);
        bar_->findChild<QToolButton*>(u"matchCase"_s)->click();
        field_->setText(u"AL.H"_s);
        QTRY_COMPARE(result(), u"No matches"_s);
    }

    void takesTheSelection()
    {
        view_->appendText(u"a.c abc"_s, {});
        view_->selectAll();
        bar_->open();
        QCOMPARE(field_->text(), u"a.c abc"_s);
        QTRY_COMPARE(result(), u"1 of 1"_s);
        view_->appendText(u"\nmore"_s, {});
        view_->selectAll();
        bar_->open();
        QCOMPARE(field_->text(), u"a.c abc"_s); // several lines are no search text
        view_->clearText();
        view_->appendText(QString(1025, u'a'), {});
        view_->selectAll();
        bar_->open();
        QCOMPARE(field_->text(), u"a.c abc"_s); // nor is a long line
    }

    void keepsUpWithText()
    {
        bar_->open();
        type(u"ok"_s);
        QTRY_COMPARE(result(), u"No matches"_s);
        view_->appendText(u"ok o"_s, {});
        view_->appendText(u"k\n"_s, {});
        QTRY_COMPARE(result(), u"2 matches"_s);
        view_->trimFront(1);
        QTRY_COMPARE(result(), u"1 match"_s);
        view_->clearText();
        QTRY_COMPARE(result(), u"No matches"_s);
    }

    void marksWhatIsVisible()
    {
        view_->setTypingEnabled(false);
        view_->appendText(u"\u2588\u2588\n"_s.repeated(3), QColor(Qt::blue));
        const auto share = [this](QRgb color) { return inkOf(*view_, color); };
        QCOMPARE(share(qRgb(0, 0, 0)), 0);
        const int blue = share(qRgb(0, 0, 255));
        QVERIFY(blue > 0);
        bar_->open();
        field_->setText(u"\u2588\u2588"_s);
        QTRY_COMPARE(share(qRgb(0, 0, 255)), 0); // all three are marked, in black on the mark
        QVERIFY(share(qRgb(0, 0, 0)) >= blue);
        bar_->dismiss();
        QTRY_COMPARE(share(qRgb(0, 0, 255)), blue);
    }

    // Text out of sight to the right must not use up the marks of the rows below.
    void marksLinesThatAreNotWrapped()
    {
        view_->setTypingEnabled(false);
        view_->setLineWrap(false);
        const QString line = u"\u2588"_s.repeated(9000) + u'\n';
        view_->appendText(line.repeated(8), QColor(Qt::blue));
        QTRY_VERIFY(inkOf(*view_, qRgb(0, 0, 255)) > 0);
        bar_->open();
        field_->setText(u"\u2588"_s);
        QTRY_COMPARE(inkOf(*view_, qRgb(0, 0, 255)), 0);
        auto* area = view_->findChild<QAbstractScrollArea*>();
        area->horizontalScrollBar()->setValue(area->horizontalScrollBar()->maximum() / 2);
        QTRY_COMPARE(inkOf(*view_, qRgb(0, 0, 255)), 0);
    }

    void everyControlHasAName()
    {
        bar_->open();
        const QList<QWidget*> controls = bar_->findChildren<QWidget*>(Qt::FindDirectChildrenOnly);
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
    [[nodiscard]] QString result() const { return bar_->findChild<QLabel*>()->text(); }
    void type(const QString& text) { QTest::keyClicks(field_, text); }

    std::unique_ptr<QWidget> window_;
    ReceiveView* view_ = nullptr;
    FindBar* bar_ = nullptr;
    QLineEdit* field_ = nullptr;
};

QTEST_MAIN(TestFindBar)
#include "tst_findbar.moc"
