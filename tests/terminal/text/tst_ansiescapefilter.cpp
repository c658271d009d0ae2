#include "terminal/text/ansiescapefilter.h"
#include "terminal/text/chunking.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

class TestAnsiEscapeFilter final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void shows_data()
    {
        QTest::addColumn<QByteArray>("in");
        QTest::addColumn<QByteArray>("out");
        QTest::addColumn<bool>("singleBytes");
        const QByteArray p255(255, '1');
        const QByteArray p256(256, '1');
        const QByteArray t4094(4094, 't');
        const QByteArray t4095(4095, 't');
        const auto row = [](const char* name, const QByteArray& in, const QByteArray& out,
                             bool singleBytes = true) {
            QTest::newRow(name) << in << out << singleBytes;
        };
        row("plain", "plain text\r\n\t\0 end"_ba, "plain text\r\n\t\0 end"_ba);
        row("colour alone", "\033[0m"_ba, ""_ba);
        row("colour in text", "a\033[1;31mred\033[0mb"_ba, "aredb"_ba);
        row("adjacent", "\033[2J\033[H\033[?25l>"_ba, ">"_ba);
        row("intermediate byte", "\033[1 qx"_ba, "x"_ba);
        row("lowest and highest final", "\033[@\033[~x"_ba, "x"_ba);
        row("single-byte introducer", "a\x9B;31mb"_ba, "ab"_ba);
        row("lone ESC and a byte", "a\033cb"_ba, "a\033cb"_ba);
        row("ESC ESC [", "\033\033[0m"_ba, "\033\033[0m"_ba);
        row("broken by a control byte", "\033[1\nx"_ba, "\033[1\nx"_ba);
        row("broken by a high byte", "\033[1\xE4x"_ba, "\033[1\xE4x"_ba);
        row("broken by DEL", "\033[1\x7Fx"_ba, "\033[1\x7Fx"_ba);
        row("broken by ESC that starts another", "\033[1\033[0mx"_ba, "\033[1x"_ba);
        row("parameters just fit", "\033["_ba + p255.left(254) + "mx"_ba, "x"_ba);
        row("parameters too many", "\033["_ba + p255 + "mx"_ba, "\033["_ba + p255 + "mx"_ba);
        row("single-byte introducer, too many", "\x9B"_ba + p256 + 'm', "\x9B"_ba + p256 + 'm');
        row("title to BEL", "\033]0;title\x07x"_ba, "x"_ba);
        row("title to ESC backslash", "\033]0;title\033\\x"_ba, "x"_ba);
        row("title to ST", "\033]0;title\x9Cx"_ba, "x"_ba);
        row("single-byte title", "\x9Dtitle\x07x"_ba, "x"_ba);
        row("ESC inside a title", "\033]a\033b\x07x"_ba, "x"_ba);
        row("two ESC inside a title", "\033]a\033\033\\x"_ba, "x"_ba);
        row("ESC then ST", "\033]a\033\x9Cx"_ba, "x"_ba);
        row("ESC then BEL stays in the title", "\033]a\033\007b\x07x"_ba, "x"_ba);
        row("CR ends a title", "\033]never closed\rnext"_ba, "\rnext"_ba);
        row("LF ends a title", "\033]never closed\nnext"_ba, "\nnext"_ba);
        row("LF after ESC in a title", "\033]never\033\nnext"_ba, "\nnext"_ba);
        row("title just fits", "\033]"_ba + t4094 + "\x07x"_ba, "x"_ba);
        row("title too long", "\033]"_ba + t4095 + "\x07x"_ba, "\033]"_ba + t4095 + "\x07x"_ba);
        row("ESC at the bound", "\033]"_ba + t4094 + "\033\\x"_ba, "x"_ba);
        row("byte after ESC past the bound", "\033]"_ba + t4094 + "\033z\x07"_ba,
            "\033]"_ba + t4094 + "\033z\x07"_ba);
        row("UTF-8 kept", "\xE6\x9D\xA5 \xE5\xAA\x9Bm\n"_ba, "\xE6\x9D\xA5 \xE5\xAA\x9Bm\n"_ba,
            false);
        row("UTF-8 in a title", "\033]\xE4\xB8\x9C title\x07x"_ba, "x"_ba, false);
        row("UTF-8 with colours", "\033[31m\xE6\x9D\xA5\033[0m"_ba, "\xE6\x9D\xA5"_ba, false);
    }

    void shows()
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

    void resetForgetsUnfinishedSequence()
    {
        for (const QByteArray& begun : {"\033"_ba, "\033[1"_ba, "\033]t"_ba, "\033]t\033"_ba}) {
            AnsiEscapeFilter filter;
            QCOMPARE(filter.process(begun), QByteArray());
            filter.reset();
            QCOMPARE(filter.process("m[x\x07"), "m[x\x07"_ba);
        }
    }

    void unfinishedSequenceShowsNothingYet()
    {
        AnsiEscapeFilter filter;
        QCOMPARE(filter.process("a\033[3"), "a"_ba);
        QCOMPARE(filter.process(QByteArrayView()), QByteArray());
        QCOMPARE(filter.process("1mb"), "b"_ba);
    }

    void heldBytesAreBounded()
    {
        // A stuck device that repeats ESC must not fill the memory, and nothing of it is lost.
        AnsiEscapeFilter filter;
        const QByteArray stuck = "\033]"_ba + QByteArray(100000, '\033');
        const QByteArray shown = filter.process(stuck);
        QVERIFY(shown.size() > stuck.size() - AnsiEscapeFilter::kMaxCommandString - 2);
        QVERIFY(stuck.startsWith(shown));
    }

    void anyCuttingOfGarbageGivesTheSame()
    {
        QByteArray garbage = randomBytes(60000, 7);
        // Enough introducers, finals and terminators for every state to be met.
        const QByteArray spice = "\033[]\\;0m\x07\x9B\x9C\x9D\r\n"_ba;
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
};

QTEST_GUILESS_MAIN(TestAnsiEscapeFilter)
#include "tst_ansiescapefilter.moc"
