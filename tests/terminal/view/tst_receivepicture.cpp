#include "viewuse.h"

#include <QFontDatabase>
#include <QInputMethodEvent>
#include <QPainter>
#include <QRandomGenerator>
#include <QScreen>
#include <QScrollBar>
#include <QTest>
#include <QTextLayout>
#include <QTimer>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

QString asciiSample()
{
    return u"The [quick] ~brown~ fox 0123456789 {jumps}"_s;
}

int differentColumns(const QImage& one, const QImage& other)
{
    int columns = 0;
    for (int x = 0; x < one.width(); ++x)
        columns += one.copy(x, 0, 1, one.height()) != other.copy(x, 0, 1, one.height()) ? 1 : 0;
    return columns;
}

} // namespace

// The pictures of known texts, compared with pictures of the same rows drawn here by the text
// layout of the toolkit.
class TestReceivePicture final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_view.reset(); }
    void drawsRows_data();
    void drawsRows();
    void wrapsRows();
    void keepsColorsReadable();
    void controlCodesAreSeen();
    void scrollsSideways();
    void composesInline();
    void movedRowsLookLikeDrawnOnes();

private:
    struct Piece
    {
        int from;
        int to;
        QColor ink;
        QColor paper;
    };

    [[nodiscard]] QWidget* viewport() const
    {
        return m_view->findChild<QAbstractScrollArea*>()->viewport();
    }
    [[nodiscard]] int rowHeight() const
    {
        return QFontMetrics(m_view->displayFont()).lineSpacing();
    }
    void use(const QColor& base, const QColor& text);
    // Rows of the viewport as they are and as they should be.
    [[nodiscard]] QImage shown(int row) const;
    [[nodiscard]] QImage shownArea() const
    {
        return viewport()->grab().toImage().convertToFormat(QImage::Format_RGB32);
    }
    [[nodiscard]] QImage wanted(
        const QString& text, const QList<Piece>& pieces, int left = 4) const;

    std::unique_ptr<ReceiveView> m_view;
    QPalette m_palette;
    QList<QImage> m_seen;
};

void TestReceivePicture::init()
{
    m_view = std::make_unique<ReceiveView>();
    m_view->setDisplayFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_view->setTypingEnabled(false);
    m_view->setLineWrap(false);
    m_view->resize(700, 200);
    m_view->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
    QApplication::setActiveWindow(m_view.get());
    m_view->setFocus();
}

void TestReceivePicture::use(const QColor& base, const QColor& text)
{
    m_palette.setColor(QPalette::Base, base);
    m_palette.setColor(QPalette::Text, text);
    m_palette.setColor(QPalette::Highlight, Qt::darkBlue);
    m_palette.setColor(QPalette::HighlightedText, Qt::yellow);
    m_view->setPalette(m_palette);
}

QImage TestReceivePicture::shown(int row) const
{
    const QRect area(0, 4 + row * rowHeight(), viewport()->width(), rowHeight());
    return viewport()->grab(area).toImage().convertToFormat(QImage::Format_RGB32);
}

QImage TestReceivePicture::wanted(const QString& text, const QList<Piece>& pieces, int left) const
{
    QImage image(viewport()->width(), rowHeight(), QImage::Format_RGB32);
    image.fill(m_palette.color(QPalette::Base));
    QFont font = m_view->displayFont();
    font.setKerning(false);
    QTextLayout layout(text, font);
    QTextOption option;
    option.setTabStopDistance(8 * QFontMetricsF(font).horizontalAdvance(u'0'));
    layout.setTextOption(option);
    layout.beginLayout();
    QTextLine line = layout.createLine();
    line.setLineWidth(100'000);
    line.setPosition({0, QFontMetrics(font).ascent() - line.ascent()});
    layout.endLayout();
    QPainter painter(&image);
    for (const Piece& piece : pieces) {
        const double x = left + line.cursorToX(piece.from);
        const QRectF area(x, 0, left + line.cursorToX(piece.to) - x, rowHeight());
        painter.setClipRect(area);
        if (piece.paper.isValid())
            painter.fillRect(area, piece.paper);
        painter.setPen(piece.ink);
        if (piece.to <= text.size())
            layout.draw(&painter, QPointF(left, 0));
    }
    return image;
}

void TestReceivePicture::drawsRows_data()
{
    QTest::addColumn<QColor>("base");
    QTest::addColumn<QColor>("text");
    QTest::addColumn<QString>("sample");
    const QString tabs = u"a\tbc\tdef and a word more than the ASCII row"_s;
    const QString wide = u"\u65E5\u672C\u8A9E caf\u00E9 \u0394t = 5 \u00B5s; ok and 0123456789"_s;
    QTest::newRow("ASCII, light") << QColor(Qt::white) << QColor(Qt::black) << asciiSample();
    QTest::newRow("ASCII, dark") << QColor(0x202020) << QColor(0xD0D0D0) << asciiSample();
    QTest::newRow("tabs, light") << QColor(Qt::white) << QColor(Qt::black) << tabs;
    // In a font of one width, all of them are of that width; none reaches over its row.
    const QString letters =
        u"\u041F\u0440\u0438\u0432\u0435\u0442, \u03A9\u03BC \u2212 \u2192 \u2264"_s;
    QTest::newRow("letters, dark") << QColor(0x202020) << QColor(0xD0D0D0) << letters;
    QTest::newRow("wide, dark") << QColor(0x202020) << QColor(0xD0D0D0) << wide;
}

void TestReceivePicture::drawsRows()
{
    QFETCH(const QColor, base);
    QFETCH(const QColor, text);
    QFETCH(const QString, sample);
    use(base, text);
    const auto length = static_cast<int>(sample.size());
    const QColor red(200, 80, 80);
    m_view->appendText(sample + u'\n', {});
    m_view->appendText(sample.left(10), red);
    m_view->appendText(sample.mid(10) + u"\n"_s, {});
    m_view->appendText(sample, {});
    QCOMPARE(shown(0), wanted(sample, {{0, length, text, {}}}));
    QCOMPARE(shown(1), wanted(sample, {{0, 10, red, {}}, {10, length, text, {}}}));

    const QColor pale(0xFFE27A);
    const QColor strong(0xFF9A3C);
    m_view->setHighlights({{2, 5, false}, {12, 3, true}});
    const QImage marked =
        wanted(sample, {{0, 2, text, {}}, {2, 7, Qt::black, pale}, {7, 12, text, {}},
                           {12, 15, Qt::black, strong}, {15, length, text, {}}});
    // A paragraph rounds the right edge of a mark up.
    QVERIFY(differentColumns(shown(0), marked) <= (sample == asciiSample() ? 0 : 2));
    m_view->setHighlights({});
    m_view->selectAll();
    const QImage broken = shown(0); // its line feed is selected and seen
    const QImage row = wanted(sample, {{0, length, Qt::yellow, Qt::darkBlue}});
    QVERIFY(differentColumns(shown(2), row) <= (sample == asciiSample() ? 0 : 1));
    QVERIFY(differentColumns(broken, row) > 2);
    const int end = 4 + qCeil(QFontMetricsF(m_view->displayFont()).horizontalAdvance(sample));
    if (!sample.contains(u'\t'))
        QCOMPARE(broken.pixelColor(end + 2, 3), QColor(Qt::darkBlue));
}

void TestReceivePicture::wrapsRows()
{
    use(Qt::white, Qt::black);
    m_view->setLineWrap(true);
    const double column = QFontMetricsF(m_view->displayFont()).horizontalAdvance(u'0');
    const int columns = static_cast<int>((viewport()->width() - 8) / column);
    QString line;
    while (line.size() < 2 * columns)
        line += QString::number(line.size());
    line.truncate(2 * columns);
    m_view->appendText(line + u"!\nnext"_s, {});
    QCOMPARE(shown(0), wanted(line.left(columns), {{0, columns, Qt::black, {}}}));
    QCOMPARE(shown(1), wanted(line.mid(columns), {{0, columns, Qt::black, {}}}));
    QCOMPARE(shown(2), wanted(u"!"_s, {{0, 1, Qt::black, {}}}));
    QCOMPARE(shown(3), wanted(u"next"_s, {{0, 4, Qt::black, {}}}));
    m_view->clearText();
    // A tab is cut off at the edge, and the next row counts its stops anew.
    const QString full = u"\t"_s + line.left(columns - 9);
    m_view->appendText(full + u"\tab\tc"_s, {});
    QCOMPARE(shown(0), wanted(full, {{0, columns - 8, Qt::black, {}}}));
    QCOMPARE(shown(1), wanted(u"ab\tc"_s, {{0, 4, Qt::black, {}}}));
    m_view->clearText();
    m_view->setWrapAtBlanks(true);
    const QString bytes = u"0A 1B FF "_s.repeated(columns);
    const int row = (columns + 1) / 3 * 3;
    m_view->appendText(bytes, {});
    QCOMPARE(shown(0), wanted(bytes.left(row), {{0, row - 1, Qt::black, {}}}));
    QCOMPARE(shown(1), wanted(bytes.mid(row, row), {{0, row - 1, Qt::black, {}}}));
}

void TestReceivePicture::keepsColorsReadable()
{
    use(Qt::white, Qt::black);
    m_view->appendText(u"dark on light"_s, QColor(20, 20, 60));
    QCOMPARE(shown(0), wanted(u"dark on light"_s, {{0, 13, QColor(20, 20, 60), {}}}));
    use(QColor(0x101010), QColor(0xC0C0C0));
    QCOMPARE(shown(0), wanted(u"dark on light"_s, {{0, 13, QColor(0xC0C0C0), {}}}));
}

// Fonts with symbols for control characters are rare. Each takes one column, is seen, and differs
// from the others; the letters between them stand where they would without.
void TestReceivePicture::controlCodesAreSeen()
{
    use(Qt::white, Qt::black);
    const double column = QFontMetricsF(m_view->displayFont()).horizontalAdvance(u'0');
    for (int code = 0; code < 32; ++code) {
        m_view->appendText(u"ab"_s + QChar(0x2400 + code) + u"cd"_s, {});
        const QImage row = shown(0);
        const int left = 4 + qRound(2 * column);
        const QRect symbol(left, 0, qRound(column), row.height());
        QImage blanked = row;
        QPainter(&blanked).fillRect(symbol, Qt::white);
        QVERIFY(blanked != row);
        QVERIFY(differentColumns(blanked, wanted(u"ab cd"_s, {{0, 5, Qt::black, {}}})) <= 1);
        QVERIFY(!m_seen.contains(row.copy(symbol)));
        m_seen.append(row.copy(symbol));
        m_view->clearText();
    }
    m_view->appendText(u"a\u00ADb"_s, {}); // a soft hyphen is no less visible
    QCOMPARE(shown(0), wanted(u"a-b"_s, {{0, 3, Qt::black, {}}}));
}

void TestReceivePicture::scrollsSideways()
{
    use(Qt::white, Qt::black);
    QString line;
    for (int i = 0; line.size() < 1500; ++i)
        line += QString::number(i) + u' ';
    m_view->appendText(line + u"\nshort"_s, {});
    QScrollBar* bar = m_view->findChild<QAbstractScrollArea*>()->horizontalScrollBar();
    QTRY_VERIFY(bar->maximum() > 5000);
    bar->setValue(4321);
    const auto length = static_cast<int>(line.size());
    QCOMPARE(shown(0), wanted(line, {{0, length, Qt::black, {}}}, 4 - 4321));
    m_view->showPosition(0, 3);
    QCOMPARE(bar->value(), 0);
    m_view->showPosition(1400, 5);
    const double column = QFontMetricsF(m_view->displayFont()).horizontalAdvance(u'0');
    QVERIFY(bar->value() < 1400 * column);
    QVERIFY(bar->value() + viewport()->width() > 1405 * column);
}

void TestReceivePicture::composesInline()
{
    use(Qt::white, Qt::black);
    m_view->setTypingEnabled(true);
    m_view->appendText(u"prompt> "_s, {});
    const QImage before = shown(0);
    QInputMethodQueryEvent query(Qt::ImCursorRectangle);
    QApplication::sendEvent(QApplication::focusWidget(), &query);
    const QRect mark = query.value(Qt::ImCursorRectangle).toRect();
    QInputMethodEvent composing(u"abc"_s, QList<QInputMethodEvent::Attribute>());
    QApplication::sendEvent(QApplication::focusWidget(), &composing);
    const QImage during = shown(0);
    QVERIFY(during != before);
    QCOMPARE(
        during.copy(0, 0, mark.left(), rowHeight()), before.copy(0, 0, mark.left(), rowHeight()));
    QApplication::sendEvent(QApplication::focusWidget(), &query);
    const int advance = QFontMetrics(m_view->displayFont()).horizontalAdvance(u"abc"_s);
    QCOMPARE(query.value(Qt::ImCursorRectangle).toRect().left(), mark.left() + advance);
    QInputMethodEvent committed;
    committed.setCommitString(u"abc"_s);
    QApplication::sendEvent(QApplication::focusWidget(), &committed);
    QCOMPARE(shown(0), before); // the device has not echoed it
}

// What is on the screen was moved and mended in pieces; a picture that is made now is drawn whole.
void TestReceivePicture::movedRowsLookLikeDrawnOnes()
{
    use(Qt::white, Qt::black);
    m_view->resize(700, 207); // the last row is cut off
    m_view->setLineWrap(true);
    m_view->setTypingEnabled(true);
    QRandomGenerator random(7);
    const QStringList pieces{u"line\n"_s, u"a longer line of text\n"_s, u"no end "_s, u"\n\n\n"_s,
        u"\u65E5\u672C\u8A9E \u00C5\u0301\n"_s, u"wrapped "_s.repeated(30), u"tab\tend\n"_s};
    QScrollBar* bar = m_view->findChild<QAbstractScrollArea*>()->verticalScrollBar();
    for (int step = 0; step < 250; ++step) {
        switch (random.bounded(12)) {
        case 0:
            bar->setValue(random.bounded(bar->maximum() + 1));
            break;
        case 1:
            m_view->scrollToEnd();
            break;
        case 2:
            m_view->trimFront(m_view->textLength() > 3000 ? 1500 : 0);
            break;
        case 3:
            turnWheel(*m_view, random.bounded(-3, 4) * 40);
            break;
        case 4:
            m_view->setHighlights({{m_view->visibleRange().first, 5, step % 2 == 0}});
            break;
        case 5:
            pressKey(Qt::Key_Up, Qt::ShiftModifier);
            break;
        default:
            m_view->appendText(pieces.at(random.bounded(pieces.size())),
                step % 3 == 0 ? QColor(Qt::darkRed) : QColor());
        }
        const auto onScreen = [&] {
            const QRect area(viewport()->mapTo(m_view.get(), QPoint()), viewport()->size());
            const QPixmap screen = m_view->screen()->grabWindow(m_view->winId());
            return screen.toImage().copy(area).convertToFormat(QImage::Format_RGB32);
        };
        if (random.bounded(3) != 0)
            continue; // some steps come faster than frames
        const QList<QTimer*> timers = areaOf(*m_view)->findChildren<QTimer*>();
        QTRY_VERIFY(std::ranges::none_of(timers, &QTimer::isActive));
        QCoreApplication::processEvents(); // the frame is painted
        QCOMPARE(onScreen(), shownArea());
    }
}

QTEST_MAIN(TestReceivePicture)
#include "tst_receivepicture.moc"
