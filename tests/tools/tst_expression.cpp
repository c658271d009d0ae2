// The calculator's expressions: precedence, widths and signs, reals, and what is refused where.
#include "tools/expression.h"

#include <QRandomGenerator>
#include <QTest>
#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr IntegerKind kS64{64, true};
constexpr IntegerKind kU64{64, false};
constexpr IntegerKind kS8{8, true};
constexpr IntegerKind kU8{8, false};
constexpr IntegerKind kU16{16, false};
constexpr IntegerKind kU32{32, false};

} // namespace

Q_DECLARE_METATYPE(IntegerKind)

class TestExpression : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void integers_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<IntegerKind>("kind");
        QTest::addColumn<quint64>("bits");
        QTest::addColumn<bool>("wrapped");

        const auto row = [](const char* text, IntegerKind kind, quint64 bits,
                             bool wrapped = false) {
            QTest::addRow("%s in %s%d", text, kind.isSigned ? "s" : "u", kind.width)
                << QString::fromLatin1(text) << kind << bits << wrapped;
        };
        row("1 + 2 * 3", kS64, 7);
        row("(1 + 2) * 3", kS64, 9);
        row("2 ** 3 ** 2", kS64, 512);
        row("-2 ** 2", kS64, quint64(-4));
        row("1 << 4 + 1", kS64, 32);
        row("0xF0 | 0x0F & 0x3C ^ 1", kS64, 0xF0 | ((0x0F & 0x3C) ^ 1));
        row("0b1010_1010", kU8, 0xAA);
        row("0o17 + 0X1f", kS64, 15 + 31);
        row("'A' + 1", kS64, 66);
        row("7 / -2", kS64, quint64(-3));
        row("7 % -2", kS64, 1);
        row("-7 % 2", kS64, quint64(-1));
        row("~0", kU16, 0xFFFF);
        row("200 + 100", kU8, 44, true);
        row("100 + 100", kS8, 200, true);
        row("-128", kS8, 0x80);
        row("-128 / -1", kS8, 0x80, true);
        row("-128 % -1", kS8, 0);
        row("0x1FF", kU8, 0xFF, true);
        row("-1 >> 4", kS8, 0xFF);
        row("-1 >> 100", kS8, 0xFF);
        row("0x80 >> 7", kU8, 1);
        row("1 << 8", kU8, 0);
        row("1 << 63", kU64, quint64(1) << 63);
        row("0xFFFFFFFFFFFFFFFF + 1", kU64, 0, true);
        row("swap(0x12345678)", kU32, 0x78563412);
        row("popcount(0xFF00)", kU16, 8);
        row("abs(-5) + min(3, -4) + max(-1, 2)", kS64, 3);
        row("min(-1, 1)", kU8, 1, true);
        row("int(-2.9)", kS64, quint64(-2));
        row("floatbits(1)", kU32, 0x3F800000);
        row("doublebits(-2.0)", kU64, 0xC000000000000000);
    }

    void integers()
    {
        QFETCH(QString, text);
        QFETCH(IntegerKind, kind);
        QFETCH(quint64, bits);
        QFETCH(bool, wrapped);
        const Expression::Result result = Expression::evaluate(text, kind);
        QVERIFY2(result.ok, qPrintable(result.error));
        QVERIFY(!result.value.isReal);
        QCOMPARE(result.value.bits, bits & kind.mask());
        QCOMPARE(result.wrapped, wrapped);
    }

    void reals_data()
    {
        QTest::addColumn<double>("expected");
        QTest::newRow("1. / 4") << 0.25;
        QTest::newRow("1 / 4.0") << 0.25;
        QTest::newRow("2.5e-3 * 1E3") << 2.5;
        QTest::newRow(".5 + .25") << 0.75;
        QTest::newRow("2.0 ** -1") << 0.5;
        QTest::newRow("sqrt(16) + cos(0) + ln(e) + log2(8) + sin(pi / 2)") << 10.0;
        QTest::newRow("7.5 % 2") << 1.5;
        QTest::newRow("float(0x40490FDB)") << double(3.14159274F);
        QTest::newRow("double(0x400921FB54442D18)") << M_PI;
        QTest::newRow("-1 * 0.5") << -0.5;
    }

    void reals()
    {
        QFETCH(double, expected);
        const QString text = QString::fromLatin1(QTest::currentDataTag());
        const Expression::Result result = Expression::evaluate(text, kS64);
        QVERIFY2(result.ok, qPrintable(result.error));
        QVERIFY(result.value.isReal);
        QCOMPARE(result.value.real, expected);
    }

    void refuses_data()
    {
        QTest::addColumn<QString>("error");
        QTest::addColumn<qsizetype>("position");

        const auto row = [](const char* text, const char* error, qsizetype position) {
            QTest::newRow(text) << QString::fromLatin1(error) << position;
        };
        row("", "The expression is not complete.", 0);
        row("1 +", "The expression is not complete.", 3);
        row("(1", "The expression is not complete.", 2);
        row("1 2", "\"2\" is not expected here.", 2);
        row("1 $ 2", "\"$\" is not understood.", 2);
        row("1 < 2", "\"<\" is not understood.", 2);
        row("0xZZ", "\"0xZZ\" is not a number.", 0);
        row("0b12", "\"0b12\" is not a number.", 0);
        row("0x", "\"0x\" is not a number.", 0);
        row("1.2.3", "\"1.2.3\" is not a number.", 0);
        row("12ab", "\"12ab\" is not a number.", 0);
        row("18446744073709551616", "\"18446744073709551616\" does not fit 64 bits.", 0);
        row("0x10000000000000000", "\"0x10000000000000000\" does not fit 64 bits.", 0);
        row("'ab'", "A character stands between two single quotes.", 0);
        row("1 / 0", "Division by zero.", 2);
        row("1 % (1 - 1)", "Division by zero.", 2);
        row("1 << -1", "A shift count must not be negative.", 2);
        row("2 ** -1", "An integer has no negative power; write the base with a point.", 2);
        row("1.5 & 1", "Bit operations work on integers only.", 4);
        row("~1.5", "Bit operations work on integers only.", 0);
        row("nothing", "\"nothing\" is not a known name.", 0);
        row("nothing(1)", "\"nothing\" is not a known function.", 0);
        row("int(1e30)", "The number does not fit 64 bits.", 9);
        row("int(0.0 / 0)", "The number does not fit 64 bits.", 12);
    }

    void refuses()
    {
        QFETCH(QString, error);
        QFETCH(qsizetype, position);
        const QString text = QString::fromLatin1(QTest::currentDataTag());
        const Expression::Result result = Expression::evaluate(text, kS64);
        QVERIFY(!result.ok);
        QCOMPARE(result.error, error);
        QCOMPARE(result.errorPosition, position);
    }

    // Nesting and length are bounded, and every text ends in a value or an error.
    void randomTextNeverCrashes()
    {
        QVERIFY(!Expression::evaluate(QString(4000, u'('), kS64).ok);
        QVERIFY(!Expression::evaluate(QString(4000, u'-'), kS64).ok);
        QVERIFY(!Expression::evaluate(QString(5000, u'1'), kS64).ok);
        static constexpr QStringView kWords[]{u"1", u"0x7f", u"2.5", u"+", u"-", u"*", u"**", u"/",
            u"%", u"<<", u">>", u"~", u"^", u"&", u"|", u"(", u")", u",", u"swap", u"min", u"pi",
            u"'", u"\u00e9"};
        QRandomGenerator random(7);
        int good = 0;
        for (int round = 0; round < 20000; ++round) {
            QString text;
            for (int word = random.bounded(1, 12); word > 0; --word)
                text += kWords[random.bounded(int(std::size(kWords)))];
            const Expression::Result result = Expression::evaluate(text, kS8);
            QCOMPARE(result.ok, result.error.isEmpty());
            QVERIFY(
                result.ok || (result.errorPosition >= 0 && result.errorPosition <= text.size()));
            good += result.ok;
        }
        QVERIFY(good > 100);
    }

    void writesEveryBase()
    {
        QCOMPARE(IntegerText::hexadecimal(0x0A, kU16), u"000A"_s);
        QCOMPARE(IntegerText::binary(0x0A, kU8), u"0000 1010"_s);
        QCOMPARE(IntegerText::octal(8, kU8), u"10"_s);
        QCOMPARE(IntegerText::signedDecimal(0xFFFE, {16, true}), u"-2"_s);
        QCOMPARE(IntegerText::unsignedDecimal(0xFFFE, {16, true}), u"65534"_s);
        QCOMPARE(IntegerText::swapBytes(0x0102030405060708, kU64), quint64(0x0807060504030201));
        QCOMPARE(realText(0.1F), u"0.1"_s);
        QCOMPARE(realText(0.1), u"0.1"_s);
        QCOMPARE(realText(16777216.0F), u"16777216"_s);
        QCOMPARE(realText(std::nanf("")), u"nan"_s);
    }
};

QTEST_APPLESS_MAIN(TestExpression)
#include "tst_expression.moc"
