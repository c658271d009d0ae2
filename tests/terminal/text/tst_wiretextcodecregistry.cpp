#include "terminal/text/wiretextcodecregistry.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

class TestWireTextCodecRegistry final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void listInOrder()
    {
        const QStringList expected{u"UTF-8"_s, u"GB18030"_s, u"GBK"_s, u"GB2312"_s, u"Big5"_s,
            u"Shift-JIS"_s, u"EUC-KR"_s, u"ISO-8859-1"_s, u"Windows-1252"_s, u"System"_s};
        QCOMPARE(WireTextCodecRegistry::supportedEncodings(), expected);
        QCOMPARE(WireTextCodecRegistry::defaultEncoding(), u"UTF-8"_s);
    }

    void names_data()
    {
        QTest::addColumn<QString>("shown");
        const auto rows = [](const char* shown, const char* names) {
            const QList<QByteArray> list = QByteArray(names).split(' ');
            for (const QByteArray& name : list)
                QTest::newRow(name.constData()) << QString::fromLatin1(shown);
        };
        rows("UTF-8", "UTF-8 utf8 Utf_8 65001 cp65001 CP-65001");
        rows("GB18030", "GB18030 gb-18030 54936 cp54936");
        rows("GBK", "GBK 936 cp936 CP-936 windows_936 ms936 windows-936");
        rows("GB2312", "GB2312 gb_2312 euc-cn EUCCN csgb2312 cp20936 20936 chinese");
        rows("Big5", "Big5 BIG-5 950 cp950 csbig5");
        rows("Shift-JIS", "Shift_JIS shift-jis SHIFTJIS sjis ms_kanji 932 cp932 windows-31j "
                          "csshiftjis");
        rows("EUC-KR", "EUC-KR euckr 949 cp949 windows-949 ks_c_5601-1987 KSC56011987 cseuckr");
        rows("ISO-8859-1", "ISO-8859-1 iso88591 latin1 L1 819 cp819 iec_8859-1");
        rows("Windows-1252", "windows1252 1252 cp1252");
        rows("System", "system locale");
    }

    void names()
    {
        QFETCH(QString, shown);
        const QString name = QString::fromLatin1(QTest::currentDataTag());
        QVERIFY(WireTextCodecRegistry::isSupported(name));
        QCOMPARE(WireTextCodecRegistry::normalizeName(name), shown);
        QCOMPARE(WireTextCodecRegistry::normalizeName(u" "_s + name.toUpper() + u"_-"_s), shown);
    }

    void unknownNamesAreUtf8()
    {
        for (const QString& name : {u""_s, u"KOI8-R"_s, u"cp"_s, u"936 cp936"_s, u"utf"_s}) {
            QVERIFY(!WireTextCodecRegistry::isSupported(name));
            QCOMPARE(WireTextCodecRegistry::normalizeName(name), u"UTF-8"_s);
            QCOMPARE(WireTextCodecRegistry::createDecoder(name)->decode("\xE4\xB8\xAD").text,
                u"\u4E2D"_s);
            QCOMPARE(WireTextCodecRegistry::encode(u"\u4E2D", name).bytes, "\xE4\xB8\xAD"_ba);
        }
    }

    void encodes_data()
    {
        QTest::addColumn<QString>("encoding");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("missing"); // the character that the encoding lacks
        const auto good = [](const char* encoding, const QString& text, const QByteArray& bytes) {
            QTest::addRow("%s %s", encoding, bytes.toHex().constData())
                << QString::fromLatin1(encoding) << text << bytes << QString();
        };
        const auto bad = [](const char* encoding, const QString& text, const QString& missing) {
            QTest::addRow("%s lacks %s", encoding, qPrintable(missing))
                << QString::fromLatin1(encoding) << text << QByteArray() << missing;
        };
        good("GB18030", u"\u00E9\u4E2D\U00010000"_s, "\xA8\xA6\xD6\xD0\x90\x30\x81\x30"_ba);
        good("UTF-8", u"\uFEFFA\U0001F600"_s,
            "\xEF\xBB\xBF"
            "A\xF0\x9F\x98\x80"_ba);
        good("GBK", u"?\uFFE5?"_s, "?\xA3\xA4?"_ba);
        good("SJIS", u"\u8868\x1A\x1C\x7F"_s, "\x95\x5C\x1A\x1C\x7F"_ba);
        bad("ISO-8859-1", u"\u00E9\u20AC\u4E2D"_s, u"\u20AC"_s);
        bad("GBK", u"ok \U0001F600 no"_s, u"\U0001F600"_s);
        bad("Big5", u"\u00E9"_s, u"\u00E9"_s);
        bad("UTF-8",
            u"a\xD83D"
            u"b"_s,
            QString(QChar(0xD83D))); // half a surrogate pair
        bad("Windows-1252", u"%1 \u4E2D"_s, u"\u4E2D"_s);
    }

    void encodes()
    {
        QFETCH(QString, encoding);
        QFETCH(QString, text);
        QFETCH(QByteArray, bytes);
        QFETCH(QString, missing);
        const auto result = WireTextCodecRegistry::encode(text, encoding);
        QCOMPARE(result.bytes, bytes);
        QCOMPARE(result.ok, missing.isEmpty());
        const QString message = u"The character '"_s + missing + u"' cannot be encoded as "_s
                                + WireTextCodecRegistry::normalizeName(encoding)
                                + u". Change the encoding or edit the message."_s;
        QCOMPARE(result.error, missing.isEmpty() ? QString() : message);
    }

    void everyBmpCodePoint_data()
    {
        // Code points of the BMP outside of the private use area. UTF-8 and GB18030 hold all but
        // the surrogates. The double-byte sets hold what Python's cp936, cp950, cp932 and cp949 do
        // (21919, 13870, 7518, 17176), but: cp936 here has the euro sign at 80; cp950 and cp949
        // have U+0080 there and cp932 has not; the 249 kana and signs that Python has in cp950's
        // user-defined area are private use here.
        QTest::addColumn<int>("encodable");
        QTest::newRow("UTF-8") << 57088;
        QTest::newRow("GB18030") << 57088;
        QTest::newRow("GBK") << 21920;
        QTest::newRow("GB2312") << 21920;
        QTest::newRow("Big5") << 13622;
        QTest::newRow("Shift-JIS") << 7517;
        QTest::newRow("EUC-KR") << 17177;
        QTest::newRow("ISO-8859-1") << 256;
        QTest::newRow("Windows-1252") << 256;
        QTest::newRow("System") << 57088;
    }

    void everyBmpCodePoint()
    {
        QFETCH(int, encodable);
        const QString encoding = QString::fromLatin1(QTest::currentDataTag());
        const auto decoder = WireTextCodecRegistry::createDecoder(encoding);
        const QString message = u"The character '%1' cannot be encoded as %2. "
                                u"Change the encoding or edit the message."_s;
        int encoded = 0;
        for (int code = 0; code < 0x10000; ++code) {
            const QString character = QChar(char16_t(code));
            const auto result = WireTextCodecRegistry::encode(character, encoding);
            if (result.ok) {
                encoded += code < 0xE000 || code > 0xF8FF ? 1 : 0;
                QCOMPARE(decoder->decode(result.bytes).text, character);
                QCOMPARE(decoder->invalidSequenceCount(), 0);
            } else {
                QCOMPARE(result.error, message.arg(character, encoding));
                QVERIFY(result.bytes.isEmpty());
            }
        }
        QCOMPARE(encoded, encodable);
    }
};

QTEST_GUILESS_MAIN(TestWireTextCodecRegistry)
#include "tst_wiretextcodecregistry.moc"
