#include "terminal/text/hexfaults.h"
#include "terminal/text/hexparser.h"
#include "terminal/text/hexvalue.h"

#include <QRandomGenerator>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// The text with its faults in brackets.
QString marked(const QString& text)
{
    QStringList lines = text.split(u'\n');
    HexPlace place = HexPlace::PairStart;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const HexLine line = hexFaults(lines.at(i), place, i + 1 == lines.size());
        for (auto fault = line.faults.rbegin(); fault != line.faults.rend(); ++fault)
            lines[i].insert(fault->begin + fault->length, u']').insert(fault->begin, u'[');
        place = line.end;
    }
    return lines.join(u'\n');
}

} // namespace

class TestHexValue final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lenient_data();
    void lenient();
    void digits();
    void strict_data();
    void strict();
    void garbage();
    void faults_data();
    void faults();
    void textWithoutFaultsReadsAsItStands();
};

void TestHexValue::lenient_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes");
    const auto row = [](const QString& text, const QByteArray& bytes) {
        QTest::newRow(qPrintable(u'"' + text + u'"')) << text << bytes;
    };
    row(u""_s, ""_ba);
    row(u" "_s, ""_ba);
    row(u"1"_s, ""_ba);
    row(u"ABC"_s, "\xAB"_ba);
    row(u"abCD"_s, "\xAB\xCD"_ba);
    row(u"12 34"_s, "\x12\x34"_ba);
    row(u"12   "_s, "\x12"_ba);
    row(u"0x41"_s, "\0\x41"_ba);
    row(u"gG7z"_s, "\0\x70"_ba);
    row(u"1\t23"_s, "\x10\x23"_ba);
    row(u"\t1"_s, "\x01"_ba);
    row(u"\n12"_s, "\x01"_ba);
    row(u"\u4E2D1"_s, "\x01"_ba); // above U+00FF: the digit 0, not a digit of its low byte
    row(u"1\u4E41"_s, "\x10"_ba); // U+4E41 ends in 0x41
    row(u"\u01311"_s, "\x01"_ba); // U+0131 ends in 0x31
    row(u"\u00FF1"_s, "\x01"_ba);
    row(u"\u00A012"_s, "\x01"_ba); // only U+0020 is skipped
}

void TestHexValue::lenient()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, bytes);
    QCOMPARE(GetHexValue(text), bytes);
    QCOMPARE(GetHexValueArray(text), QList<quint8>(bytes.begin(), bytes.end()));
}

void TestHexValue::digits()
{
    const QByteArray upper = "0123456789ABCDEF"_ba;
    for (int c = 0; c < 256; ++c) {
        const char digit = char(c);
        const qsizetype value = upper.indexOf(c >= 'a' && c <= 'f' ? char(c - 0x20) : digit);
        QCOMPARE(ConvertHexChar(digit), std::max<qsizetype>(0, value));
    }
}

void TestHexValue::strict_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("message");
    const QString incomplete = u"Hex input must contain complete bytes."_s;
    const auto at = [](int position) {
        return u"Invalid hex character at position %1."_s.arg(position);
    };
    const auto row = [](const QString& text, const QByteArray& bytes, const QString& message) {
        QTest::newRow(qPrintable(u'"' + text + u'"')) << text << bytes << message;
    };
    row(u""_s, ""_ba, {});
    row(u" \t\n\v\f\r\u0085\u00A0\u2003\u3000\u2028"_s, ""_ba, {});
    row(u"0 1"_s, "\x01"_ba, {});
    row(u"dE aD"_s, "\xDE\xAD"_ba, {});
    row(u"a\u3000B"_s, "\xAB"_ba, {});
    row(u"012"_s, "\x01"_ba, incomplete);
    row(u"1 "_s, ""_ba, incomplete);
    row(u"01 G2"_s, "\x01"_ba, at(4));
    row(u"0x41"_s, ""_ba, at(2));
    row(u"0g"_s, ""_ba, at(2));
    row(u"12-34"_s, "\x12"_ba, at(3));
    row(u"12\u200B34"_s, "\x12"_ba, at(3)); // zero width space is no space
    row(u"\uFF11\uFF12"_s, ""_ba, at(1));   // full-width digits
    row(u"@`"_s, ""_ba, at(1));
}

void TestHexValue::strict()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, message);
    const HexParseResult result = parseHex(text);
    QCOMPARE(result.bytes, bytes);
    QCOMPARE(result.ok, message.isEmpty());
    QCOMPARE(hexErrorMessage(result), message);
    QCOMPARE(result.incomplete, message.startsWith(u"Hex input"));
    if (result.incomplete)
        QCOMPARE(result.errorPosition, text.size());
}

void TestHexValue::garbage()
{
    QRandomGenerator random(5);
    for (int i = 0; i < 20000; ++i) {
        QString text(random.bounded(40), u'\0');
        for (QChar& c : text)
            c = QChar(char16_t(random.bounded(i % 2 == 0 ? 0x80 : 0x10000)));
        QVERIFY(GetHexValue(text).size() <= text.size() / 2);
        const HexParseResult strict = parseHex(text);
        QVERIFY(strict.ok || (strict.errorPosition >= 0 && strict.errorPosition <= text.size()));
        if (strict.ok)
            QCOMPARE(strict.bytes, QByteArray::fromHex(text.simplified().remove(u' ').toLatin1()));
    }
}

void TestHexValue::faults_data()
{
    QTest::addColumn<QString>("marks");
    for (const QString& marks :
        {u""_s, u"dE aD"_s, u"012[ 3]"_s, u"01 0[g] [2]"_s, u"0[x]41"_s, u"[gz] 1[ ]2[ ]"_s,
            u"1[\t]23"_s, u"[\u4E2D]1 [\uFF11\uFF12]"_s, u"01 [/]1"_s, u"01 // any 0g text"_s,
            u"01 [2]// lone"_s, u"01//"_s, u"01 // it\nends never 0g"_s, u"01\n"_s,
            u"01\n[0]2[ ]34"_s, u"01 [2]\n34"_s, u"01\n//x"_s, u"01\n\n02"_s, u"01\n[ ]02"_s}) {
        QTest::newRow(qPrintable(marks)) << marks;
    }
    const int most = HexLine::kMostFaults;
    QTest::newRow("too many") << u"0[x]"_s.repeated(most - 1) + u"0["_s + u"x0"_s.repeated(50)
                                     + u"x] 01"_s;
}

void TestHexValue::faults()
{
    QFETCH(QString, marks);
    QString text = marks;
    QCOMPARE(marked(text.remove(u'[').remove(u']')), marks);
}

void TestHexValue::textWithoutFaultsReadsAsItStands()
{
    QRandomGenerator random(7);
    const QString letters = u"0123456789abcdefABCDEF    \n/g"_s;
    int clean = 0;
    for (int i = 0; i < 50000; ++i) {
        QString text(random.bounded(9), u'\0');
        for (QChar& c : text)
            c = letters.at(random.bounded(letters.size()));
        // Two line breaks are a byte, and have nothing to mark.
        if (text.contains(u"\n\n"_s) || marked(text) != text)
            continue;
        ++clean;
        const QString read = text.left(text.indexOf(u"//"_s));
        const HexParseResult strict = parseHex(read);
        QVERIFY2(strict.ok, qPrintable(text));
        QCOMPARE(GetHexValue(read), strict.bytes);
    }
    QVERIFY(clean > 1000);
}

QTEST_GUILESS_MAIN(TestHexValue)
#include "tst_hexvalue.moc"
