#include "terminal/text/ansiescapefilter.h"
#include "text/chunking.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

class TestAnsiEscapeFilter final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void shows_data();
    void shows();
    void resetForgetsUnfinishedSequence();
    void unfinishedSequenceShowsNothingYet();
    void heldBytesAreBounded();
    void anyCuttingOfGarbageGivesTheSame();
};

static void rows()
{
    const QByteArray p255(255, '1');
    const QByteArray p256(256, '1');
    const QByteArray t4094(4094, 't');
    const QByteArray t4095(4095, 't');
    const auto row = [](const char* name, const QByteArray& in, const QByteArray& out,
                         bool singleBytes = true) {
        QTest::newRow(name) << in << out << singleBytes;
    };
    row("plain", "plain text\r\n\t\0 end"_ba, "plain text\r\n\t\0 end"_ba);
    row("colour alone", "\x1B[0m"_ba, ""_ba);
    row("colour in text", "a\x1B[1;31mred\x1B[0mb"_ba, "aredb"_ba);
    row("adjacent", "\x1B[2J\x1B[H\x1B[?25l>"_ba, ">"_ba);
    row("intermediate byte", "\x1B[1 qx"_ba, "x"_ba);
    row("lowest and highest final", "\x1B[@\x1B[~x"_ba, "x"_ba);
    row("single-byte introducer",
        "a\x9B"
        "31mb"_ba,
        "ab"_ba);
    row("lone ESC and a byte",
        "a\x1B"
        "cb"_ba,
        "a\x1B"
        "cb"_ba);
    row("ESC ESC [", "\x1B\x1B[0m"_ba, "\x1B\x1B[0m"_ba);
    row("broken by a control byte", "\x1B[1\nx"_ba, "\x1B[1\nx"_ba);
    row("broken by a high byte", "\x1B[1\xE4x"_ba, "\x1B[1\xE4x"_ba);
    row("broken by DEL", "\x1B[1\x7Fx"_ba, "\x1B[1\x7Fx"_ba);
    row("broken by ESC that starts another", "\x1B[1\x1B[0mx"_ba, "\x1B[1x"_ba);
    row("parameters just fit", "\x1B["_ba + p255.left(254) + "mx"_ba, "x"_ba);
    row("parameters too many", "\x1B["_ba + p255 + "mx"_ba, "\x1B["_ba + p255 + "mx"_ba);
    row("300 parameters", "\x1B["_ba + p255 + p255.left(45) + 'm',
        "\x1B["_ba + p255 + p255.left(45) + 'm');
    row("single-byte introducer, too many", "\x9B"_ba + p256 + 'm', "\x9B"_ba + p256 + 'm');
    row("title to BEL", "\x1B]0;title\x07x"_ba, "x"_ba);
    row("title to ESC backslash", "\x1B]0;title\x1B\\x"_ba, "x"_ba);
    row("title to ST", "\x1B]0;title\x9Cx"_ba, "x"_ba);
    row("single-byte title",
        "\x9D"
        "0;title\x07x"_ba,
        "x"_ba);
    row("ESC inside a title",
        "\x1B]a\x1B"
        "b\x07x"_ba,
        "x"_ba);
    row("two ESC inside a title", "\x1B]a\x1B\x1B\\x"_ba, "x"_ba);
    row("ESC then ST", "\x1B]a\x1B\x9Cx"_ba, "x"_ba);
    row("ESC then BEL stays in the title",
        "\x1B]a\x1B\x07"
        "b\x07x"_ba,
        "x"_ba);
    row("CR ends a title", "\x1B]never closed\rnext"_ba, "\rnext"_ba);
    row("LF ends a title", "\x1B]never closed\nnext"_ba, "\nnext"_ba);
    row("LF after ESC in a title", "\x1B]never\x1B\nnext"_ba, "\nnext"_ba);
    row("title just fits", "\x1B]"_ba + t4094 + "\x07x"_ba, "x"_ba);
    row("title too long", "\x1B]"_ba + t4095 + "\x07x"_ba, "\x1B]"_ba + t4095 + "\x07x"_ba);
    row("ESC at the bound", "\x1B]"_ba + t4094 + "\x1B\\x"_ba, "x"_ba);
    row("byte after ESC past the bound", "\x1B]"_ba + t4094 + "\x1Bz\x07"_ba,
        "\x1B]"_ba + t4094 + "\x1Bz\x07"_ba);
    row("UTF-8 kept",
        "\xE6\x9D\xA5 \xE5\xAA\x9B"
        "A\n"_ba,
        "\xE6\x9D\xA5 \xE5\xAA\x9B"
        "A\n"_ba,
        false);
    row("UTF-8 in a title", "\x1B]\xE4\xB8\x9C title\x07x"_ba, "x"_ba, false);
    row("UTF-8 with colours", "\x1B[31m\xE6\x9D\xA5\x1B[0m"_ba, "\xE6\x9D\xA5"_ba, false);
}

void TestAnsiEscapeFilter::shows_data()
{
    QTest::addColumn<QByteArray>("in");
    QTest::addColumn<QByteArray>("out");
    QTest::addColumn<bool>("singleBytes");
    rows();
}

void TestAnsiEscapeFilter::shows()
{
    QFETCH(QByteArray, in);
    QFETCH(QByteArray, out);
    QFETCH(bool, singleBytes);
    for (const Chunks& chunks : cuttings(in.size())) {
        AnsiEscapeFilter filter;
        filter.setSingleByteIntroducers(singleBytes);
        const auto feed = [&filter](QByteArrayView chunk) { return filter.process(chunk); };
        QCOMPARE(fedInChunks<QByteArray>(in, chunks, feed), out);
    }
}

void TestAnsiEscapeFilter::resetForgetsUnfinishedSequence()
{
    for (const QByteArray& begun : {"\x1B"_ba, "\x1B[1"_ba, "\x1B]t"_ba, "\x1B]t\x1B"_ba}) {
        AnsiEscapeFilter filter;
        QCOMPARE(filter.process(begun), QByteArray());
        filter.reset();
        QCOMPARE(filter.process("m[x\x07"), "m[x\x07"_ba);
    }
}

void TestAnsiEscapeFilter::unfinishedSequenceShowsNothingYet()
{
    AnsiEscapeFilter filter;
    QCOMPARE(filter.process("a\x1B[3"), "a"_ba);
    QCOMPARE(filter.process(QByteArrayView()), QByteArray());
    QCOMPARE(filter.process("1mb"), "b"_ba);
}

void TestAnsiEscapeFilter::heldBytesAreBounded()
{
    // A stuck device that repeats ESC must not fill the memory, and nothing of it is lost.
    AnsiEscapeFilter filter;
    const QByteArray stuck = "\x1B]"_ba + QByteArray(100000, '\x1B');
    const QByteArray shown = filter.process(stuck);
    QVERIFY(shown.size() > stuck.size() - AnsiEscapeFilter::kMaxCommandString - 2);
    QVERIFY(stuck.startsWith(shown));
}

void TestAnsiEscapeFilter::anyCuttingOfGarbageGivesTheSame()
{
    QByteArray garbage = randomBytes(60000, 7);
    // Enough introducers, finals and terminators for every state to be met.
    const QByteArray spice = "\x1B[]\\;0m\x07\x9B\x9C\x9D\r\n"_ba;
    for (qsizetype i = 0; i < garbage.size(); i += 3)
        garbage[i] = spice[qsizetype(uchar(garbage[i])) % spice.size()];
    AnsiEscapeFilter whole;
    const QByteArray expected = whole.process(garbage);
    QVERIFY(expected.size() > 1000 && expected.size() < garbage.size());
    for (const Chunks& chunks : cuttings(garbage.size())) {
        AnsiEscapeFilter filter;
        const auto feed = [&filter](QByteArrayView chunk) { return filter.process(chunk); };
        QCOMPARE(fedInChunks<QByteArray>(garbage, chunks, feed), expected);
    }
}

QTEST_GUILESS_MAIN(TestAnsiEscapeFilter)
#include "tst_ansiescapefilter.moc"
