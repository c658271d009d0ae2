#include "randomtext.h"
#include "terminal/view/hexbytes.h"
#include "terminal/view/rowindex.h"
#include "terminal/view/textflow.h"
#include "terminal/view/textstore.h"

#include <QFontDatabase>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// The store in its simplest form: a string, and for each of its characters a colour and whether it
// belongs to a byte.
struct Model
{
    QString text;
    QList<QRgb> colors;
    QList<bool> bytes;
    qint64 first = 0;
    qint64 firstLine = 0;

    void append(const QString& piece, QRgb color, bool isBytes)
    {
        text += piece;
        colors.resize(text.size(), color);
        bytes.resize(text.size(), isBytes);
    }
    void trim(qsizetype count)
    {
        count = std::min(count, text.size());
        if (count > 0 && count < text.size() && text.at(count).isLowSurrogate()
            && text.at(count - 1).isHighSurrogate())
            ++count;
        firstLine += text.left(count).count(u'\n');
        text.remove(0, count);
        colors.remove(0, count);
        bytes.remove(0, count);
        first += count;
    }
    [[nodiscard]] QList<ColorRun> runs(qint64 from, qint64 to) const
    {
        QList<ColorRun> result;
        for (qint64 at = from; at < to; ++at) {
            const QRgb color = colors.at(at - first);
            if (result.isEmpty() || result.constLast().color != color)
                result.append({at, at + 1, color});
            else
                result.last().to = at + 1;
        }
        return result;
    }
    [[nodiscard]] QList<TextRange> byteRanges(qint64 from, qint64 to) const
    {
        QList<TextRange> result;
        for (qint64 at = from; at < to; ++at) {
            if (!bytes.at(at - first))
                continue;
            if (result.isEmpty() || result.constLast().to != at)
                result.append({at, at + 1});
            else
                result.last().to = at + 1;
        }
        return result;
    }
};

std::shared_ptr<const RowStyle> style(int columns, bool atBlanks)
{
    const QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    const double column = RowStyle(font, 0, false).columnWidth();
    return std::make_shared<const RowStyle>(font, columns * column, atBlanks);
}

} // namespace

class TestTextStore final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void equalsModel();
    void bytesAreWholeAndNothingElse();
    void rowsCoverTheText_data();
    void rowsCoverTheText();
    void cutsMoveWithNothing();
    void indexCountsRows();
};

void TestTextStore::equalsModel()
{
    for (quint32 seed = 1; seed <= 4; ++seed) {
        RandomText random(seed);
        TextStore store;
        Model model;
        for (int step = 0; step < 200; ++step) {
            const int action = random.below(20);
            if (action < 4) {
                const auto count = random.below(action == 0 ? 300'000 : 40'000);
                store.removeUpTo(store.behindPair(model.first + count));
                model.trim(count);
            } else {
                // Most text is Latin-1, so that chunks are widened in their middle.
                const bool wide = action == 5;
                const int length = random.below(action < 7 ? 70'000 : 900);
                const QString text =
                    wide ? random.next(length) : QString(u"\u00E9b\nc d"_s).repeated(length / 6);
                const QRgb color = random.below(3) == 0 ? qRgb(1, 2, 3) : TextChunk::kNoColor;
                const bool isBytes = random.below(3) == 0;
                store.append(text, color, isBytes);
                model.append(text, color, isBytes);
            }
            QCOMPARE(store.firstPosition(), model.first);
            QCOMPARE(store.endPosition(), model.first + model.text.size());
            QCOMPARE(store.firstLine(), model.firstLine);
            QCOMPARE(store.lastLine(), model.firstLine + model.text.count(u'\n'));
            const qint64 at = random.below(static_cast<int>(model.text.size()) + 1);
            const qint64 position = model.first + at;
            const qint64 count = random.below(3000);
            QCOMPARE(store.textAt(position, count), model.text.mid(at, count));
            const qint64 to = std::min(position + count, store.endPosition());
            QCOMPARE(store.colorsIn(position, to), model.runs(position, to));
            QCOMPARE(store.bytesIn(position, to), model.byteRanges(position, to));
            const qint64 line = model.firstLine + model.text.left(at).count(u'\n');
            QCOMPARE(store.lineAt(position), line);
            const qsizetype feed = model.text.indexOf(u'\n', at);
            QCOMPARE(store.lineEnd(line), feed < 0 ? store.endPosition() : model.first + feed);
            const qsizetype before = at > 0 ? model.text.lastIndexOf(u'\n', at - 1) : -1;
            if (before >= 0)
                QCOMPARE(store.lineStart(line), model.first + before + 1);
            else
                QVERIFY(store.lineStart(line) <= model.first);
        }
        QCOMPARE(store.textAt(0, store.endPosition()), model.text);
    }
}

// Stamps and text may look like bytes. Of a byte that is selected or held in part nothing is given.
void TestTextStore::bytesAreWholeAndNothingElse()
{
    TextStore store;
    store.append(u"AA 12 \n23 Nov 04:10 ");
    const qint64 from = store.endPosition();
    store.append(u"0A ", TextChunk::kNoColor, true);
    store.append(u"1B ", qRgb(1, 2, 3), true);
    const qint64 to = store.endPosition();
    store.append(u"\n24 Dec 00:00 ");
    store.append(u"FF 00 ", qRgb(1, 2, 3), true);
    store.append(u"7F");
    const qint64 end = store.endPosition();
    QCOMPARE(hexBytesIn(store, 0, end), QByteArray("\x0A\x1B\xFF\0", 4));
    QCOMPARE(hexBytesIn(store, from, to - 1), "\x0A\x1B");
    QCOMPARE(hexBytesIn(store, from, to - 2), "\x0A");
    QCOMPARE(hexBytesIn(store, from + 1, to), "\x1B");
    QCOMPARE(hexBytesIn(store, from + 1, to - 2), QByteArray());
    QCOMPARE(hexBytesIn(store, 0, from), QByteArray());
    store.removeUpTo(from + 1);
    QCOMPARE(hexBytesIn(store, 0, to), "\x1B");
    for (int i = 0; i < 60'000; ++i) // over several chunks
        store.append(u"5A ", TextChunk::kNoColor, true);
    QCOMPARE(hexBytesIn(store, end, store.endPosition()), QByteArray(60'000, 'Z'));
}

void TestTextStore::rowsCoverTheText_data()
{
    QTest::addColumn<int>("columns");
    QTest::addColumn<bool>("atBlanks");
    QTest::newRow("not wrapped") << 0 << false;
    QTest::newRow("80 columns") << 80 << false;
    QTest::newRow("at blanks") << 40 << true;
    QTest::newRow("one column") << 1 << false;
}

// Rows follow each other without gaps and overlaps, in both directions, from wherever the walk
// begins, and no row tears a surrogate pair.
void TestTextStore::rowsCoverTheText()
{
    QFETCH(const int, columns);
    QFETCH(const bool, atBlanks);
    RandomText random(5, true);
    TextStore store;
    TextFlow flow(store);
    flow.setStyle(style(columns, atBlanks));
    for (int i = 0; i < 12; ++i)
        store.append(i % 4 == 0 ? QString(6000 + i, u'x') + u"\n\n"_s : random.next(3000));
    store.removeUpTo(777);
    std::vector<qint64> starts;
    QString text;
    TextRow row = flow.rowAt(0);
    do {
        starts.push_back(row.from());
        const QString piece = store.textAt(row.from(), row.to() - row.from());
        QVERIFY(piece.isEmpty() || !piece.back().isHighSurrogate());
        text += piece;
        if (row.endsLine())
            text += u'\n';
    } while (flow.goNext(row));
    text.chop(1); // the last line has no line feed
    QCOMPARE(text, store.textAt(0, store.endPosition()));
    for (auto start = starts.rbegin() + 1; start != starts.rend(); ++start) {
        QVERIFY(flow.goPrevious(row));
        QCOMPARE(row.from(), *start);
    }
    QVERIFY(!flow.goPrevious(row));
    for (int i = 0; i < 300; ++i) {
        const qint64 position = 777 + random.below(static_cast<int>(text.size()) + 1);
        const auto after = std::ranges::upper_bound(starts, position);
        QCOMPARE(flow.rowAt(position).from(), *std::prev(after));
    }
}

// Where a line is cut follows from where it started, not from what was removed or appended since.
void TestTextStore::cutsMoveWithNothing()
{
    TextStore store;
    LineCuts cuts(store);
    const QString accent(10, u'\u0301');
    store.append(QString(QString(2048, u'x') + accent + QString(2037, u'y') + u"\U0001F600"_s));
    const TextSegment second = cuts.segmentAt(3000);
    QCOMPARE(second.from, 2058); // the marks stay with their letter
    QCOMPARE(second.to, 4097);   // a pair is not torn
    store.append(QString(5000, u'z'));
    QCOMPARE(cuts.segmentAt(4097).from, 4097);
    store.removeUpTo(2500);
    QCOMPARE(cuts.segmentAt(3000), (TextSegment{2500, 4097, 0, false}));
    QCOMPARE(cuts.segmentAt(store.endPosition()).from, 8192);
    cuts.setLength(30, true);
    store.append(u"\n12345678 01 23 45 67 89 AB CD EF"_s);
    const qint64 start = store.lineStart(1);
    QCOMPARE(cuts.segmentAt(start).to, start + 30);
    cuts.setLength(31, true);
    QCOMPARE(cuts.segmentAt(start).to, start + 30);
}

void TestTextStore::indexCountsRows()
{
    RandomText random(9);
    TextStore store;
    RowIndex index(store);
    TextFlow flow(store);
    for (const int columns : {80, 7}) {
        index.setRowLength(columns);
        flow.setStyle(style(columns, false));
        for (int step = 0; step < 25; ++step) {
            for (int i = random.below(200); i >= 0; --i)
                store.append(u"x"_s.repeated(random.below(step == 9 ? 5000 : 200)).append(u'\n'));
            if (step % 3 == 2)
                store.removeUpTo(
                    store.firstPosition()
                    + random.below(static_cast<int>(store.endPosition() - store.firstPosition())));
            const qint64 rows = index.rowAt(store.endPosition());
            for (const qint64 wanted : {qint64{0}, rows / 3, rows / 2, rows}) {
                const TextRow row = flow.rowAt(index.positionAt(wanted));
                QCOMPARE(index.rowAt(row.from()), wanted);
                TextRow next = row;
                if (flow.goNext(next))
                    QCOMPARE(index.rowAt(next.from()), wanted + 1);
            }
        }
    }
}

QTEST_MAIN(TestTextStore)
#include "tst_textstore.moc"
