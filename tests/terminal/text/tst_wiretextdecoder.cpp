#include "terminal/text/chunking.h"
#include "terminal/text/wiretextcodecregistry.h"

#include <QStringDecoder>
#include <QTest>
#include <QTextCodec>

using namespace Qt::Literals::StringLiterals;

// What came out of a stream: text and the sum of the counts.
struct Decoded
{
    QString text;
    qsizetype invalid = 0;

    Decoded& operator+=(const WireTextDecoder::Result& result)
    {
        text += result.text;
        invalid += result.invalidSequences;
        return *this;
    }
};

// Through both forms, which must agree.
static Decoded decoded(const QString& encoding, QByteArrayView bytes, const Chunks& chunks)
{
    const auto decoder = WireTextCodecRegistry::createDecoder(encoding);
    const auto appending = WireTextCodecRegistry::createDecoder(encoding);
    QString appended = u"in front"_s;
    const auto feed = [&](QByteArrayView chunk) {
        WireTextDecoder::Result result = decoder->decode(chunk);
        if (appending->decodeTo(chunk, appended) != result.invalidSequences)
            result.text += u"(other count)"_s;
        return result;
    };
    Decoded all = fedInChunks<Decoded>(bytes, chunks, feed);
    if (decoder->invalidSequenceCount() != all.invalid)
        all.invalid = -1;
    if (appended != u"in front" + all.text)
        all.text += u"(other text)"_s;
    return all;
}

// The rule as it is stated: frame, hand spans of whole characters to the codec, nothing cached.
class FramingModel
{
public:
    FramingModel(const char* codec, bool shiftJis, bool fourBytes)
        : m_codec(QTextCodec::codecForName(codec))
        , m_shiftJis(shiftJis)
        , m_fourBytes(fourBytes)
    {}

    QString decode(const QByteArray& bytes)
    {
        for (qsizetype i = 0; i < bytes.size();) {
            const qsizetype length = characterLength(bytes.sliced(i));
            if (length == 0)
                break;
            if (length > 0) {
                m_span += bytes.sliced(i, length);
                i += length;
            } else {
                flush();
                m_text += QChar(u'\uFFFD');
                ++i;
            }
        }
        flush();
        return m_text;
    }

private:
    // 0: not all there; -1: an invalid lead.
    [[nodiscard]] qsizetype characterLength(const QByteArray& rest) const
    {
        const auto at = [&rest](qsizetype i) { return int(uchar(rest[i])); };
        const auto digit = [](int byte) { return byte >= 0x30 && byte <= 0x39; };
        const bool lead = m_shiftJis
                              ? (at(0) >= 0x81 && at(0) <= 0x9F) || (at(0) >= 0xE0 && at(0) <= 0xFC)
                              : at(0) >= 0x81 && at(0) <= 0xFE;
        if (!lead)
            return 1;
        if (rest.size() < 2)
            return 0;
        if (m_fourBytes && digit(at(1))) {
            if (rest.size() < 4)
                return 0;
            return at(2) >= 0x81 && at(2) <= 0xFE && digit(at(3)) ? 4 : -1;
        }
        return at(1) < 0x40 || at(1) == 0x7F ? -1 : 2;
    }

    void flush()
    {
        m_text += m_codec->toUnicode(m_span.constData(), int(m_span.size()), &m_state);
        m_span.clear();
    }

    QTextCodec* m_codec;
    bool m_shiftJis;
    bool m_fourBytes;
    QTextCodec::ConverterState m_state;
    QByteArray m_span;
    QString m_text;
};

class TestWireTextDecoder final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sequences_data()
    {
        QTest::addColumn<QString>("encoding");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("invalid");
        const auto row = [](const char* encoding, const char* hex, const QString& text,
                             int invalid) {
            QTest::addRow("%s %s", encoding, hex)
                << QString::fromLatin1(encoding) << QByteArray::fromHex(hex) << text << invalid;
        };
        row("UTF-8", "ef bb bf 41 ef bb bf", u"\uFEFFA\uFEFF"_s, 0); // byte order mark
        row("UTF-8", "ef bf bd", u"\uFFFD"_s, 0);                    // U+FFFD as sent
        row("UTF-8", "c2 41", u"\uFFFDA"_s, 1);
        row("UTF-8", "e4 b8 41 0a", u"\uFFFD\uFFFDA\n"_s, 2);
        row("UTF-8", "e4 e4 b8 ad", u"\uFFFD\u4E2D"_s, 1);
        row("UTF-8", "f0 9f 98 c3 a9", u"\uFFFD\uFFFD\uFFFD\u00E9"_s, 3);
        row("UTF-8", "80 41", u"\uFFFDA"_s, 1);
        row("UTF-8", "c0 80 41", u"\uFFFD\uFFFDA"_s, 2);          // overlong
        row("UTF-8", "ed a0 80 41", u"\uFFFD\uFFFD\uFFFDA"_s, 3); // surrogate
        row("UTF-8", "f5 80 80 80 41", u"\uFFFD\uFFFD\uFFFD\uFFFDA"_s, 4);
        row("UTF-8", "ff 00 41", u"\uFFFD\0A"_s, 1);
        row("UTF-8", "e4 b8", u""_s, 0); // unfinished
        row("System", "e4 b8 ad c2 41", u"\u4E2D\uFFFDA"_s, 1);
        row("ISO-8859-1", "41 9b e9 ff 00", u"A\u009B\u00E9\u00FF\0"_s, 0);
        row("Windows-1252", "80 e9 9f 7f", u"\u20AC\u00E9\u0178\x7F"_s, 0);
        row("GBK", "d6 d0 41", u"\u4E2DA"_s, 0);
        row("GBK", "81 30", u"\uFFFD0"_s, 1);
        row("GBK", "c4 0d 0a", u"\uFFFD\r\n"_s, 1);
        row("GBK", "d6 7f d6 d0", u"\uFFFD\x7F\u4E2D"_s, 1);
        row("GBK", "d6", u""_s, 0);
        row("Big5", "a4 a4 81 0a", u"\u4E2D\uFFFD\n"_s, 1);
        row("Big5", "fe a0 41", u"\uFFFDA"_s, 1); // a pair that the code table lacks
        row("Shift-JIS", "93 fa b1 41", u"\u65E5\uFF71A"_s, 0);
        row("Shift-JIS", "1a 1c 7f 5c 7e", u"\x1A\x1C\x7F\\~"_s, 0);
        row("Shift-JIS", "81 20 e0 0a", u"\uFFFD \uFFFD\n"_s, 2);
        row("GB18030", "e3 32 9a 36 41", u"\uFFFDA"_s, 1); // past the last code point
        row("GB18030", "85 30 81 30 41", u"\uFFFDA"_s, 1); // well formed, unassigned
        row("GB18030", "fe 39 fe 39 41", u"\uFFFDA"_s, 1);
        row("GB18030", "84 31 a4 37", u"\uFFFD"_s, 0); // U+FFFD as sent
        row("GB18030", "84 31 95 33", u"\uFEFF"_s, 0); // byte order mark
        row("GB18030", "81 30 41 42", u"\uFFFD0AB"_s, 1);
        row("GB18030", "81 30 81 41", u"\uFFFD0\u4E04"_s, 1);
        row("GB18030", "81 30 81", u""_s, 0);
        row("GB18030", "81 30 41", u""_s, 0); // three of four bytes are there
        row("GB18030", "d6 d0 81 20 41", u"\u4E2D\uFFFD A"_s, 1);
        row("GB18030", "80 41", u"\uFFFDA"_s, 1);
    }

    void sequences()
    {
        QFETCH(QString, encoding);
        QFETCH(QByteArray, bytes);
        QFETCH(QString, text);
        QFETCH(int, invalid);
        for (const Chunks& chunks : cuttings(bytes.size())) {
            const Decoded out = decoded(encoding, bytes, chunks);
            QCOMPARE(out.text, text);
            QCOMPARE(out.invalid, invalid);
        }
    }

    void legacyGarbageAgainstModel_data()
    {
        QTest::addColumn<QByteArray>("codec");
        for (const char* name : {"GB18030", "GBK", "GB2312", "Big5", "Shift_JIS", "EUC-KR"})
            QTest::newRow(name) << QByteArray(name);
    }

    void legacyGarbageAgainstModel()
    {
        QFETCH(QByteArray, codec);
        QByteArray garbage = randomBytes(80000, 21);
        for (qsizetype i = 0; i < garbage.size(); ++i) {
            // Some codecs exchange these three; here they stay what they are.
            if (garbage[i] == '\x1A' || garbage[i] == '\x1C' || garbage[i] == '\x7F')
                garbage[i] = 'x';
            // Digits at every second place now and then, for the four-byte form.
            if (i % 512 < 256 && i % 2 == 1)
                garbage[i] = char('0' + uchar(garbage[i]) % 10);
        }
        FramingModel model(codec, codec == "Shift_JIS", codec == "GB18030");
        const QString expected = model.decode(garbage);
        const QString encoding = QString::fromLatin1(codec);
        for (const Chunks& chunks : cuttings(garbage.size())) {
            const Decoded out = decoded(encoding, garbage, chunks);
            QCOMPARE(out.text, expected);
            QCOMPARE(out.invalid, expected.count(QChar(u'\uFFFD')));
        }
    }

    void utf8GarbageAgainstConverter()
    {
        QByteArray garbage = randomBytes(80000, 22);
        for (qsizetype i = 0; i < garbage.size(); i += 2) // many leads, many continuations
            garbage[i] = char(uchar(garbage[i]) | 0xC0);
        // Noise, and noise with whole characters of each length in it.
        garbage += '\n' + randomBytes(40000, 23);
        const QByteArrayList characters{"a", "\xC3\xA9", "\xE5\x9B\xBD", "\xF0\x9F\x98\x80"};
        const QByteArray choices = randomBytes(20000, 24);
        for (const char choice : choices) {
            const auto kind = uchar(choice);
            garbage += kind < 128 ? characters[kind % 4] : QByteArray(1, choice);
            if (kind % 8 == 0)
                garbage += characters[kind / 8 % 4];
        }
        garbage += '\n';
        QStringDecoder converter(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
        const QString expected = converter.decode(garbage);
        for (const Chunks& chunks : cuttings(garbage.size())) {
            const Decoded out = decoded(u"UTF-8"_s, garbage, chunks);
            QCOMPARE(out.text, expected);
            QCOMPARE(out.invalid, expected.count(QChar(u'\uFFFD')));
        }
    }

    void resetDropsHeldBytesAndCount()
    {
        const QStringList encodings = WireTextCodecRegistry::supportedEncodings();
        for (const QString& encoding : encodings) {
            const auto decoder = WireTextCodecRegistry::createDecoder(encoding);
            (void)decoder->decode("\x81\x20\xFF");
            (void)decoder->decode("\xE4");
            decoder->reset();
            QCOMPARE(decoder->invalidSequenceCount(), 0);
            QCOMPARE(decoder->decode("\x40").text, u"@"_s);
            QCOMPARE(decoder->invalidSequenceCount(), 0);
        }
    }
};

QTEST_GUILESS_MAIN(TestWireTextDecoder)
#include "tst_wiretextdecoder.moc"
