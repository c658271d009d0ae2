#include "terminal/view/findbar.h"
#include "terminal/view/terminalview.h"

#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

// What a person sees of a terminal and what the keys say to the device.
class TestTerminalView final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_window.reset(); }
    void keysGoOut_data();
    void keysGoOut();
    void everyKeyIsTheDevices();
    void pastesInBrackets();
    void drawsOnAGrid();
    void repaintsWhatChanged();
    void keepsThePlaceOfTheReader();
    void findsInAllLines();
    void takesItsSize();

private:
    [[nodiscard]] QImage onScreen() const;

    std::unique_ptr<QWidget> m_window;
    TerminalView* m_view = nullptr;
    FindBar* m_find = nullptr;
};

void TestTerminalView::init()
{
    m_window = std::make_unique<QWidget>();
    m_view = new TerminalView;
    m_find = new FindBar(*m_view, m_window.get());
    auto* layout = new QVBoxLayout(m_window.get());
    layout->addWidget(m_find);
    layout->addWidget(m_view);
    layout->addWidget(new QLineEdit);
    m_window->resize(700, 300);
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    QApplication::setActiveWindow(m_window.get());
    m_view->setFocus();
}

QImage TestTerminalView::onScreen() const
{
    const QWidget* viewport = m_view->viewport();
    const QRect area(viewport->mapTo(m_window.get(), QPoint()), viewport->size());
    const QPixmap screen = m_window->screen()->grabWindow(m_window->winId());
    return screen.toImage().copy(area).convertToFormat(QImage::Format_RGB32);
}

void TestTerminalView::keysGoOut_data()
{
    QTest::addColumn<QByteArray>("mode");
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("modifiers");
    QTest::addColumn<QByteArray>("bytes");
    const QByteArray application("\x1B[?1h");
    const auto row = [](const char* name, const QByteArray& mode, int key, int modifiers,
                         const QByteArray& bytes) {
        QTest::newRow(name) << mode << key << modifiers << bytes;
    };
    row("up", "", Qt::Key_Up, 0, "\x1B[A");
    row("up, application", application, Qt::Key_Up, 0, "\x1BOA");
    row("up, left again", application + "\x1B[?1l", Qt::Key_Up, 0, "\x1B[A");
    row("Ctrl+Right, application", application, Qt::Key_Right, Qt::ControlModifier, "\x1B[1;5C");
    row("home, application", application, Qt::Key_Home, 0, "\x1BOH");
    row("F5", "", Qt::Key_F5, 0, "\x1B[15~");
    row("delete", "", Qt::Key_Delete, 0, "\x1B[3~");
    row("Ctrl+C", "", Qt::Key_C, Qt::ControlModifier, "\x03");
    row("Alt+B", "", Qt::Key_B, Qt::AltModifier,
        "\x1B"
        "b");
    row("tab", "", Qt::Key_Tab, 0, "\t");
    row("escape", "", Qt::Key_Escape, 0, "\x1B");
    row("backspace", "", Qt::Key_Backspace, 0, "\b");
    row("Ctrl+Backspace", "", Qt::Key_Backspace, Qt::ControlModifier, "\x7F");
}

void TestTerminalView::keysGoOut()
{
    QFETCH(const QByteArray, mode);
    QFETCH(const int, key);
    QFETCH(const int, modifiers);
    QFETCH(const QByteArray, bytes);
    m_view->feed(mode);
    QSignalSpy typed(m_view, &TerminalView::controlTyped);
    QTest::keyClick(m_view, Qt::Key(key), Qt::KeyboardModifiers(modifiers));
    QCOMPARE(typed.size(), 1);
    QCOMPARE(typed.first().first().toByteArray(), bytes);
    if (key != Qt::Key_Backspace)
        return;
    m_view->setBackspaceDel(true);
    QTest::keyClick(m_view, Qt::Key(key), Qt::KeyboardModifiers(modifiers));
    QCOMPARE(typed.last().first().toByteArray(), QByteArray(bytes == "\b" ? "\x7F" : "\b"));
}

// Shortcuts of the window give way to what a device may want.
void TestTerminalView::everyKeyIsTheDevices()
{
    const auto claims = [this](int key, Qt::KeyboardModifiers modifiers, const QString& text = {}) {
        QKeyEvent event(QEvent::ShortcutOverride, key, modifiers, text);
        event.ignore();
        QApplication::sendEvent(m_view, &event);
        return event.isAccepted();
    };
    QVERIFY(claims(Qt::Key_F10, Qt::NoModifier));
    QVERIFY(claims(Qt::Key_F, Qt::AltModifier, u"f"_s));
    QVERIFY(claims(Qt::Key_Q, Qt::ControlModifier));
    QVERIFY(claims(Qt::Key_C, Qt::ControlModifier | Qt::ShiftModifier));
    QVERIFY(!claims(Qt::Key_N, Qt::ControlModifier | Qt::ShiftModifier));
    QSignalSpy text(m_view, &TerminalView::textTyped);
    QTest::keyClick(m_view, 'x');
    QCOMPARE(text.first().first().toString(), u"x"_s);
    // The keyboard is never trapped.
    QTest::keyClick(m_view, Qt::Key_Tab, Qt::ControlModifier);
    QVERIFY(!m_view->hasFocus());
}

void TestTerminalView::pastesInBrackets()
{
    QStringList said;
    connect(m_view, &TerminalView::textTyped, this, [&](const QString& s) { said += s; });
    connect(m_view, &TerminalView::controlTyped, this,
        [&](const QByteArray& b) { said += QString::fromLatin1(b); });
    m_view->paste(u"one\r\ntwo"_s);
    QCOMPARE(said, QStringList{u"one\ntwo"_s});
    said.clear();
    m_view->feed("\x1B[?2004h");
    m_view->paste(u"rm\x1B[201~\n"_s);
    QCOMPARE(said, (QStringList{u"\x1B[200~"_s, u"rm[201~\n"_s, u"\x1B[201~"_s}));
}

void TestTerminalView::drawsOnAGrid()
{
    QPalette palette;
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::Text, Qt::black);
    m_view->setPalette(palette);
    m_view->feed("\x1B[?25l\x1B[41m  \x1B[0m\x1B[7m \x1B[0m\xE6\x97\xA5\x1B[42m \x1B[0m");
    const QImage picture = m_view->viewport()->grab().toImage();
    const double column = QFontMetricsF(m_view->font()).horizontalAdvance(u'0');
    const auto colorAt = [&](double at) {
        return QColor(picture.pixel(4 + qRound(at * column), 6));
    };
    QCOMPARE(colorAt(0.5), QColor(205, 0, 0));
    QCOMPARE(colorAt(1.5), QColor(205, 0, 0));
    QCOMPARE(colorAt(2.5), QColor(Qt::black));
    // Behind two columns of one character, whatever its glyph is wide.
    QCOMPARE(colorAt(5.5), QColor(0, 205, 0));
    QCOMPARE(colorAt(6.5), QColor(Qt::white));
}

void TestTerminalView::repaintsWhatChanged()
{
    const QList<QByteArray> said{"one\r\ntwo\r\nthree", "\x1B[1;1Hchanged\x1B[2;3H\x1B[K",
        QByteArray("line\r\n").repeated(60), "\x1B[5;1H\x1B[7mreverse\x1B[0m", "\x1B[?25l",
        "\x1B[?1049hfull\x1B[?1049l", "\x1B[2;6r\x1B[6;1H\n\n\x1B[r"};
    for (const QByteArray& bytes : said) {
        m_view->feed(bytes);
        const auto* timer = m_view->findChild<QTimer*>();
        QTRY_VERIFY(!timer->isActive());
        QCoreApplication::processEvents(); // the frame is painted
        const QImage now = m_view->viewport()->grab().toImage();
        QCOMPARE(onScreen(), now.convertToFormat(QImage::Format_RGB32));
    }
}

void TestTerminalView::keepsThePlaceOfTheReader()
{
    for (int i = 0; i < 200; ++i)
        m_view->feed("line " + QByteArray::number(i) + "\r\n");
    QTRY_VERIFY(m_view->verticalScrollBar()->maximum() > 150);
    const auto firstShown = [this] {
        return m_view->textAt(m_view->visibleRange().first, 9).section(u'\n', 0, 0);
    };
    QTest::keyClick(m_view, Qt::Key_Home, Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(firstShown(), u"line 0"_s);
    m_view->feed("more\r\n");
    QTRY_COMPARE(m_view->verticalScrollBar()->value(), 0);
    QCOMPARE(firstShown(), u"line 0"_s);
    m_view->selectAll();
    QVERIFY(m_view->selectedText().startsWith("line 0\nline 1\n"_L1));
    m_view->copy();
    QVERIFY(QApplication::clipboard()->text().contains("line 199\nmore"_L1));
    // Who types wants to see what comes of it.
    QTest::keyClick(m_view, 'a');
    QVERIFY(m_view->verticalScrollBar()->value() > 150);
}

void TestTerminalView::findsInAllLines()
{
    for (int i = 0; i < 300; ++i)
        m_view->feed(
            QByteArray(i % 100 == 0 ? QByteArray("Error " + QByteArray::number(i)) : "fine")
            + "\r\n");
    m_view->feed("last line without an end");
    m_find->open();
    auto* field = m_find->findChild<QLineEdit*>();
    QTest::keyClicks(field, u"error"_s);
    const auto* result = m_find->findChild<QLabel*>();
    QTRY_COMPARE(result->text(), u"1 of 3"_s);
    QVERIFY(m_view->textAt(m_view->visibleRange().first, 500).contains("Error 0"_L1));
    // What comes later is found, too, and the reader stays.
    m_view->feed("\rError here, in a line that was another");
    QTRY_COMPARE(result->text(), u"1 of 4"_s);
    QVERIFY(m_view->textAt(m_view->visibleRange().first, 500).contains("Error 0"_L1));
}

void TestTerminalView::takesItsSize()
{
    const TerminalScreen& screen = m_view->screen();
    const QSize before(screen.columns(), screen.rows());
    m_window->resize(900, 500);
    QTRY_VERIFY(screen.columns() > before.width() && screen.rows() > before.height());
    m_view->setFixedSize24x80(true);
    QCOMPARE(screen.rows(), 24);
    QCOMPARE(screen.columns(), 80);
    m_window->resize(400, 300);
    QTRY_VERIFY(m_view->horizontalScrollBar()->maximum() > 0);
    QCOMPARE(screen.columns(), 80);
}

QTEST_MAIN(TestTerminalView)
#include "tst_terminalview.moc"
