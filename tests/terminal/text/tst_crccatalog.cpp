#include "terminal/text/chunking.h"
#include "terminal/text/crccalculation.h"
#include "terminal/text/crccatalog.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

class TestCrcCatalog final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void catalogEntries();
    void published();
    void fastEqualsParametrised();
    void bitsAboveTheWidthAreIgnored();
    void customFields_data();
    void customFields();
    void resultTexts_data();
    void resultTexts();
};

using Algorithm = CrcCatalog::Algorithm;
using Parameters = CrcCatalog::CustomParameters;
static const QByteArray kDigits = "123456789"_ba;

void TestCrcCatalog::catalogEntries()
{
    struct Expected
    {
        const char* name;
        int width;
        quint64 check;
    };
    const QList<Expected> expected{{"CRC-4/ITU", 4, 0x7}, {"CRC-5/ITU", 5, 0x07},
        {"CRC-5/USB", 5, 0x19}, {"CRC-6/ITU", 6, 0x06}, {"CRC-8", 8, 0xF4},
        {"CRC-16/MODBUS", 16, 0x4B37}, {"CRC-16/USB", 16, 0xB4C8}, {"CRC-32", 32, 0xCBF43926},
        {"Custom", 16, 0x29B1}};
    const auto entries = CrcCatalog::definitions();
    QCOMPARE(qsizetype(entries.size()), expected.size());
    for (qsizetype i = 0; i < expected.size(); ++i) {
        const auto& entry = entries[std::size_t(i)];
        QCOMPARE(int(entry.algorithm), int(i));
        QCOMPARE(CrcCatalog::definition(Algorithm(i)), &entry);
        QCOMPARE(QString(entry.name), QString::fromLatin1(expected[i].name));
        QCOMPARE(entry.parameters.width, expected[i].width);
        QCOMPARE(CrcCatalog::calculate(entry.algorithm, kDigits), expected[i].check);
        QCOMPARE(CrcCatalog::calculateCustom(kDigits, entry.parameters), expected[i].check);
    }
    QCOMPARE(CrcCatalog::definition(Algorithm(9)), nullptr);
    QCOMPARE(CrcCatalog::calculate(Algorithm(-1), kDigits), quint64(0));
}

// Name, width, polynomial, initial, final XOR, reflect in, reflect out, check: the catalogue of
// parametrised CRC algorithms.
struct Published
{
    const char* name;
    Parameters parameters;
    quint64 check;
};

static const QList<Published> kPublished{
    {"CRC-3/GSM", {3, 0x3, 0x0, 0x7, false, false}, 0x4},
    {"CRC-3/ROHC", {3, 0x3, 0x7, 0x0, true, true}, 0x6},
    {"CRC-4/INTERLAKEN", {4, 0x3, 0xF, 0xF, false, false}, 0xB},
    {"CRC-5/EPC-C1G2", {5, 0x09, 0x09, 0x00, false, false}, 0x00},
    {"CRC-6/CDMA2000-A", {6, 0x27, 0x3F, 0x00, false, false}, 0x0D},
    {"CRC-7/ROHC", {7, 0x4F, 0x7F, 0x00, true, true}, 0x53},
    {"CRC-8/MAXIM-DOW", {8, 0x31, 0x00, 0x00, true, true}, 0xA1},
    {"CRC-10/ATM", {10, 0x233, 0x000, 0x000, false, false}, 0x199},
    {"CRC-11/FLEXRAY", {11, 0x385, 0x01A, 0x000, false, false}, 0x5A3},
    {"CRC-12/UMTS", {12, 0x80F, 0x000, 0x000, false, true}, 0xDAF},
    {"CRC-13/BBC", {13, 0x1CF5, 0x0000, 0x0000, false, false}, 0x04FA},
    {"CRC-14/DARC", {14, 0x0805, 0x0000, 0x0000, true, true}, 0x082D},
    {"CRC-15/CAN", {15, 0x4599, 0x0000, 0x0000, false, false}, 0x059E},
    {"CRC-16/KERMIT", {16, 0x1021, 0x0000, 0x0000, true, true}, 0x2189},
    {"CRC-16/IBM-SDLC", {16, 0x1021, 0xFFFF, 0xFFFF, true, true}, 0x906E},
    {"CRC-16/DNP", {16, 0x3D65, 0x0000, 0xFFFF, true, true}, 0xEA82},
    // The published initial value 0xB2AA, mirrored as the register of a reflected input is.
    {"CRC-16/RIELLO", {16, 0x1021, 0x554D, 0x0000, true, true}, 0x63D0},
    {"CRC-17/CAN-FD", {17, 0x1685B, 0x00000, 0x00000, false, false}, 0x04F03},
    {"CRC-21/CAN-FD", {21, 0x102899, 0x000000, 0x000000, false, false}, 0x0ED841},
    {"CRC-24/OPENPGP", {24, 0x864CFB, 0xB704CE, 0x000000, false, false}, 0x21CF02},
    {"CRC-30/CDMA", {30, 0x2030B9C7, 0x3FFFFFFF, 0x3FFFFFFF, false, false}, 0x04C34ABF},
    {"CRC-31/PHILIPS", {31, 0x04C11DB7, 0x7FFFFFFF, 0x7FFFFFFF, false, false}, 0x0CE9E46C},
    {"CRC-32/ISCSI", {32, 0x1EDC6F41, 0xFFFFFFFF, 0xFFFFFFFF, true, true}, 0xE3069283},
    {"CRC-40/GSM", {40, 0x0004820009, 0x0, 0xFFFFFFFFFF, false, false}, 0xD4164FC646},
    {"CRC-64/ECMA-182", {64, 0x42F0E1EBA9EA3693, 0, 0, false, false}, 0x6C40DF5F0B497347},
    {"CRC-64/XZ", {64, 0x42F0E1EBA9EA3693, ~quint64(0), ~quint64(0), true, true},
        0x995DC9BBDF1939FA},
};

void TestCrcCatalog::published()
{
    for (const Published& algorithm : kPublished) {
        const quint64 value = CrcCatalog::calculateCustom(kDigits, algorithm.parameters);
        QVERIFY2(value == algorithm.check, algorithm.name);
    }
}

void TestCrcCatalog::fastEqualsParametrised()
{
    // Lengths around the eight bytes that one step takes, at every alignment.
    const QByteArray data = randomBytes(5000, 3);
    for (const auto& entry : CrcCatalog::definitions()) {
        for (int from = 0; from < 8; ++from) {
            for (const qsizetype length : {0, 1, 7, 8, 9, 15, 16, 17, 255, 4096, 4991}) {
                const QByteArrayView view = QByteArrayView(data).sliced(from, length);
                QCOMPARE(CrcCatalog::calculate(entry.algorithm, view),
                    CrcCatalog::calculateCustom(view, entry.parameters));
            }
        }
    }
}

void TestCrcCatalog::bitsAboveTheWidthAreIgnored()
{
    for (int width = 1; width <= 64; ++width) {
        const quint64 mask = CrcCatalog::maskForWidth(width);
        const Parameters narrow{width, 0x8005 & mask, 0x1D0F & mask, 0xFF00 & mask, true, false};
        const Parameters wide{width, narrow.polynomial | ~mask, narrow.initialValue | ~mask,
            narrow.finalXor | ~mask, true, false};
        QCOMPARE(CrcCatalog::calculateCustom(kDigits, wide),
            CrcCatalog::calculateCustom(kDigits, narrow));
    }
    QCOMPARE(CrcCatalog::calculateCustom(kDigits, {0, 1, 1, 1, false, false}), quint64(0));
    QCOMPARE(CrcCatalog::calculateCustom(kDigits, {-5, 1, 1, 1, true, true}), quint64(0));
}

void TestCrcCatalog::customFields_data()
{
    QTest::addColumn<QStringList>("fields"); // width, polynomial, initial value, final XOR
    QTest::addColumn<QString>("error");
    const QString width = u"Width must be between 1 and 64."_s;
    const auto fit = [](const char* name) {
        return u"%1 must be a hexadecimal value that fits the width."_s.arg(QLatin1String(name));
    };
    const auto row = [](const QStringList& fields, const QString& error) {
        QTest::newRow(qPrintable(fields.join(u'/'))) << fields << error;
    };
    row({u"16"_s, u"1021"_s, u"FFFF"_s, u"0"_s}, {});
    row({u"1"_s, u"1"_s, u"1"_s, u"1"_s}, {});
    row({u"64"_s, u"42f0e1ebA9EA3693"_s, u"FFFFFFFFFFFFFFFF"_s, u"0"_s}, {});
    row({u"0"_s, u"1"_s, u"0"_s, u"0"_s}, width);
    row({u"65"_s, u"zz"_s, u"0"_s, u"0"_s}, width);
    row({u""_s, u"1"_s, u"0"_s, u"0"_s}, width);
    row({u"0x10"_s, u"1"_s, u"0"_s, u"0"_s}, width);
    row({u"4"_s, u"10"_s, u"0"_s, u"0"_s}, fit("Polynomial"));
    row({u"8"_s, u""_s, u"0"_s, u"0"_s}, fit("Polynomial"));
    row({u"8"_s, u"0x7"_s, u"0"_s, u"0"_s}, fit("Polynomial"));
    row({u"8"_s, u"-1"_s, u"0"_s, u"0"_s}, fit("Polynomial"));
    row({u"64"_s, u"00000000000000001"_s, u"0"_s, u"0"_s}, fit("Polynomial"));
    row({u"8"_s, u"0"_s, u"fff"_s, u"fff"_s}, u"Polynomial must not be zero."_s);
    row({u"8"_s, u"7"_s, u"100"_s, u"100"_s}, fit("Initial value"));
    row({u"8"_s, u"7"_s, u"FF"_s, u"1FF"_s}, fit("Final XOR"));
}

void TestCrcCatalog::customFields()
{
    QFETCH(QStringList, fields);
    QFETCH(QString, error);
    const auto result = CrcCalculation::readCustomParameters(
        {fields[0], fields[1], fields[2], fields[3], true, false});
    QCOMPARE(result.error, error);
    if (!error.isEmpty())
        return;
    QCOMPARE(result.parameters.width, fields[0].toInt());
    QCOMPARE(result.parameters.polynomial, fields[1].toULongLong(nullptr, 16));
    QCOMPARE(result.parameters.initialValue, fields[2].toULongLong(nullptr, 16));
    QCOMPARE(result.parameters.finalXor, fields[3].toULongLong(nullptr, 16));
    QVERIFY(result.parameters.reflectInput && !result.parameters.reflectOutput);
}

void TestCrcCatalog::resultTexts_data()
{
    QTest::addColumn<quint64>("value");
    QTest::addColumn<int>("width");
    QTest::addColumn<QStringList>("texts"); // base 2, 8, 16, wire high first, wire low first
    const auto row = [](const char* name, quint64 value, int width, const char* texts) {
        QTest::newRow(name) << value << width << QString::fromLatin1(texts).split(u',');
    };
    row("1 bit", 1, 1, "1,1,1,01,01");
    row("5 bits", 0x19, 5, "11001,31,19,19,19");
    row("12 bits", 0x0AF, 12, "000010101111,0257,0AF,00 AF,AF 00");
    row("16 bits", 0x4B37, 16, "0100101100110111,045467,4B37,4B 37,37 4B");
    row("64 bits", 0xFEDCBA9876543210, 64,
        "1111111011011100101110101001100001110110010101000011001000010000,"
        "1773345651416625031020,FEDCBA9876543210,FE DC BA 98 76 54 32 10,10 32 54 76 98 BA DC FE");
}

void TestCrcCatalog::resultTexts()
{
    QFETCH(quint64, value);
    QFETCH(int, width);
    QFETCH(QStringList, texts);
    using Base = CrcCalculation::Base;
    using Order = CrcCalculation::ByteOrder;
    const CrcCalculation result(value, width);
    QCOMPARE(result.text(Base::Binary), texts[0]);
    QCOMPARE(result.text(Base::Octal), texts[1]);
    QCOMPARE(result.text(Base::Hexadecimal), texts[2]);
    QCOMPARE(result.wireText(Order::MostSignificantFirst), texts[3]);
    QCOMPARE(result.wireText(Order::LeastSignificantFirst), texts[4]);
}

QTEST_GUILESS_MAIN(TestCrcCatalog)
#include "tst_crccatalog.moc"
