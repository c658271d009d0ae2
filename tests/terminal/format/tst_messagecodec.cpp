#include "settings/formatsetting.h"
#include "terminal/format/messagecodec.h"
#include "terminal/text/chunking.h"
#include "terminal/text/wiretextcodecregistry.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// One record of a row: milliseconds after the first, direction, bytes.
struct Piece
{
    int atMs;
    QByteArray bytes;
    RXorTx direction = RXorTx::Received;
    bool continuation = false;
};

// Shows the records of a pane one after the other.
class Screen
{
public:
    explicit Screen(const FormatSetting& format)
        : m_format(format)
        , m_received(WireTextCodecRegistry::createDecoder(format.receiveEncoding))
        , m_sent(WireTextCodecRegistry::createDecoder(format.sendEncoding))
    {}

    QString show(const Piece& piece)
    {
        rxData record;
        record.time = m_start.addMSecs(piece.atMs);
        record.direction = piece.direction;
        record.bytes = piece.bytes;
        record.continuation = piece.continuation;
        return MessageCodec::decodeForUi(
            record, m_format, m_state, piece.direction == RXorTx::Received ? *m_received : *m_sent);
    }

    [[nodiscard]] const DisplayState& state() const { return m_state; }

private:
    FormatSetting m_format;
    DisplayState m_state;
    QDateTime m_start{QDate(2024, 2, 29), QTime(23, 59, 59, 5)};
    std::unique_ptr<WireTextDecoder> m_received;
    std::unique_ptr<WireTextDecoder> m_sent;
};

enum Option { Plain = 0, Gap = 1, Stamps = 2, Hex = 4 };

FormatSetting formatWith(int options)
{
    FormatSetting format;
    format.rxAutoFeedLine = (options & Gap) != 0;
    format.autoFeedInterval = 30;
    format.displayMsgTime = (options & Stamps) != 0;
    format.rxTimeFormat = u"<zzz "_s;
    format.txTimeFormat = u">zzz "_s;
    format.receiveMsgFormat = (options & Hex) != 0 ? 1 : 2;
    format.sendMsgFormat = format.receiveMsgFormat;
    return format;
}

constexpr RXorTx kSent = RXorTx::Sent;
constexpr RXorTx kReceived = RXorTx::Received;

} // namespace

class TestMessageCodec final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void shows_data()
    {
        QTest::addColumn<int>("options");
        QTest::addColumn<QList<Piece>>("pieces");
        QTest::addColumn<QString>("text");
        const auto row = [](const char* name, int options, const QList<Piece>& pieces,
                             const QString& text) {
            QTest::newRow(name) << options << pieces << text;
        };
        // Line feeds and carriage returns.
        row("CR LF", Plain, {{0, "a\r\nb\r\n"_ba}}, u"a\nb\n"_s);
        row("LF CR", Plain, {{0, "a\n\rb"_ba}}, u"a\nb"_s);
        row("lone CR", Plain, {{0, "10%\r20%\r"_ba}}, u"10%20%"_s);
        row("lone LF after a line", Plain, {{0, "a\n"_ba}, {0, "\n"_ba}, {0, "b"_ba}}, u"a\nb"_s);
        row("lone LF at the start", Plain, {{0, "\n"_ba}, {0, "a"_ba}}, u"a"_s);
        row("lone LF in mid line", Plain, {{0, "a"_ba}, {0, "\n"_ba}}, u"a\n"_s);
        row("CR LF after a line is a blank line", Plain, {{0, "a\n"_ba}, {0, "\r\n"_ba}},
            u"a\n\n"_s);
        row("two LF after a line", Plain, {{0, "a\n"_ba}, {0, "\n\n"_ba}}, u"a\n\n\n"_s);
        row("lone LF as a later slice", Plain, {{0, "a\n"_ba}, {0, "\n"_ba, kReceived, true}},
            u"a\n\n"_s);
        row("LF and half a character after a line", Plain,
            {{0, "a\n"_ba}, {0, "\n\xC3"_ba}, {0, "\xA9"_ba}}, u"a\n\n\u00E9"_s);
        row("lone LF with stamps", Stamps, {{0, "a\n"_ba}, {0, "\n"_ba}}, u"<005 a\n"_s);
        row("empty record", Gap, {{0, "a"_ba}, {9, ""_ba}, {31, "b"_ba}}, u"a\nb"_s);

        // Pauses.
        row("pause of the gap", Gap, {{0, "a"_ba}, {30, "b"_ba}}, u"ab"_s);
        row("pause longer than the gap", Gap, {{0, "a"_ba}, {31, "b"_ba}}, u"a\nb"_s);
        row("pause, rule off", Plain, {{0, "a"_ba}, {5000, "b"_ba}}, u"ab"_s);
        row("pause after a finished line", Gap, {{0, "a\n"_ba}, {5000, "b"_ba}}, u"a\nb"_s);
        row("pause is from record to record", Gap, {{0, "a"_ba}, {20, "b"_ba}, {40, "c"_ba}},
            u"abc"_s);
        row("pause before sent data", Gap, {{0, "a"_ba}, {31, "b"_ba, kSent}}, u"a\nb"_s);
        row("clock set back", Gap, {{5000, "a"_ba}, {0, "b"_ba}, {31, "c"_ba}}, u"ab\nc"_s);
        row("no pause in a record that was cut", Gap,
            {{0, "a"_ba}, {31, "b"_ba, kReceived, true}, {62, "c"_ba}}, u"ab\nc"_s);
        row("pause before half a character", Gap, {{0, "a"_ba}, {31, "\xC3"_ba}, {32, "\xA9"_ba}},
            u"a\n\u00E9"_s);
        row("slow halves of a character", Gap, {{0, "a"_ba}, {20, "\xC3"_ba}, {40, "\xA9"_ba}},
            u"a\u00E9"_s);
        row("pause before a lone CR", Gap, {{0, "a"_ba}, {31, "\r"_ba}, {32, "b"_ba}}, u"a\nb"_s);
        row("pause in hexadecimal", Gap | Hex, {{0, "a"_ba}, {31, "b"_ba}}, u"61 \n62 "_s);

        // Stamps.
        row("lines inside a record", Stamps, {{0, "a\r\nb\n"_ba}, {1, "c"_ba}},
            u"<005 a\n<005 b\n<006 c"_s);
        row("blank lines", Stamps, {{0, "\n\na"_ba}}, u"<005 \n<005 \n<005 a"_s);
        row("LF that ends an older line", Stamps, {{0, "a"_ba}, {1, "\nb"_ba}},
            u"<005 a\n<006 b"_s);
        row("pause brings a stamp", Stamps | Gap, {{0, "a"_ba}, {31, "b"_ba}}, u"<005 a\n<036 b"_s);
        row("other direction in mid line", Stamps, {{0, "a"_ba}, {1, "b"_ba, kSent}, {2, "c"_ba}},
            u"<005 a\n>006 b\n<007 c"_s);
        row("other direction on a fresh line", Stamps, {{0, "a\n"_ba}, {1, "b\n"_ba, kSent}},
            u"<005 a\n>006 b\n"_s);
        row("other direction and a pause: one LF", Stamps | Gap, {{0, "a"_ba}, {90, "b"_ba, kSent}},
            u"<005 a\n>095 b"_s);
        row("other direction without stamps", Plain, {{0, "a"_ba}, {1, "b"_ba, kSent}}, u"ab"_s);
        row("half a character brings no stamp", Stamps,
            {{0, "\xC3"_ba}, {1, "b"_ba, kSent}, {2, "\xA9"_ba}}, u">006 b\n<007 \u00E9"_s);
        row("stamps in hexadecimal", Stamps | Hex,
            {{0, "\n\xFF"_ba}, {1, "b"_ba}, {2, "\0"_ba, kSent}}, u"<005 0A FF 62 \n>007 00 "_s);
    }

    void shows()
    {
        QFETCH(int, options);
        QFETCH(QList<Piece>, pieces);
        QFETCH(QString, text);
        Screen screen(formatWith(options));
        QString shown;
        for (const Piece& piece : std::as_const(pieces))
            shown += screen.show(piece);
        QCOMPARE(shown, text);
        QCOMPARE(screen.state().endsWithLineFeed, text.endsWith(u'\n'));
    }

    void defaultStamps()
    {
        FormatSetting format;
        format.displayMsgTime = true;
        Screen screen(format);
        QCOMPARE(screen.show({0, "a\n"_ba}), u"[Rx][23:59:59.005] a\n"_s);
        QCOMPARE(screen.show({1000, "b\n"_ba, kSent}), u"[Tx][00:00:00.005] b\n"_s);
    }

    void formatOfEachDirection()
    {
        FormatSetting format;
        format.receiveMsgFormat = 1;
        format.receiveEncoding = u"GBK"_s;
        format.sendEncoding = u"Shift-JIS"_s;
        Screen screen(format);
        QCOMPARE(screen.show({0, "\xD6\xD0"_ba}), u"D6 D0 "_s);
        QCOMPARE(screen.show({0, "\x93\xFA"_ba, kSent}), u"\u65E5"_s);
        // A hexadecimal record must not feed the text decoder.
        format.receiveMsgFormat = 2;
        format.sendMsgFormat = 1;
        Screen swapped(format);
        QCOMPARE(swapped.show({0, "\xD6"_ba}), QString());
        QCOMPARE(swapped.show({0, "\xD6"_ba, kSent}), u"D6 "_s);
        QCOMPARE(swapped.show({0, "\xD0"_ba}), u"\u4E2D"_s);
    }

    void cuttingNeverMatters_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const QByteArray lines =
            "a\r\nb\xE4\xB8\xAD\xC3\n\r\r\n\tc\r\n\nend\x1B\xF0\x9F\x98\x80\r"_ba;
        QTest::newRow("short") << lines;
        QTest::newRow("long") << lines.repeated(400);
        QByteArray garbage = randomBytes(20000, 5);
        QTest::newRow("garbage") << garbage;
    }

    void cuttingNeverMatters()
    {
        QFETCH(QByteArray, bytes);
        // The pieces are slices of one record, or records of one time; of the latter a lone LF
        // would be the one exception.
        const auto shown = [&bytes](const Chunks& chunks, int options, bool slices) {
            Screen screen(formatWith(options));
            QString text = screen.show({0, "old"_ba, kSent});
            bool first = true;
            text += fedInChunks<QString>(bytes, chunks, [&](QByteArrayView chunk) {
                if (chunk.isEmpty())
                    return QString();
                const bool later = !std::exchange(first, false) && (slices || chunk == "\n");
                return screen.show({90, chunk.toByteArray(), kReceived, later});
            });
            return text;
        };
        for (int options = 0; options < 8; ++options) {
            const QString whole = shown({bytes.size()}, options, false);
            QVERIFY(!whole.contains(u'\r'));
            for (const Chunks& chunks : cuttings(bytes.size())) {
                QCOMPARE(shown(chunks, options, true), whole);
                QCOMPARE(shown(chunks, options, false), whole);
            }
        }
    }

    void everyLineHasOneStamp()
    {
        // Random traffic in both directions; what stamps say is checked line by line.
        QRandomGenerator random(77);
        for (int run = 0; run < 40; ++run) {
            FormatSetting format = formatWith(Stamps | (run % 4));
            format.rxTimeFormat = u"<"_s;
            format.txTimeFormat = u">"_s;
            Screen screen(format);
            QString text;
            for (int i = 0; i < 200; ++i) {
                const bool sent = random.bounded(3) == 0;
                QByteArray bytes(random.bounded(6), sent ? 's' : 'r');
                for (char& byte : bytes)
                    byte = random.bounded(3) == 0 ? "\r\n\xC3"[random.bounded(3)] : byte;
                text += screen.show({i * 20, bytes, sent ? kSent : kReceived});
            }
            QStringList lines = text.split(u'\n');
            if (lines.last().isEmpty())
                lines.removeLast();
            QVERIFY(lines.size() > 10);
            static const QRegularExpression wellFormed(u"^(<[r\uFFFD]*|>[s\uFFFD]*)$"_s);
            for (const QString& line : std::as_const(lines))
                QVERIFY2(wellFormed.match(line).hasMatch(), qPrintable(line));
        }
    }

    void stampsInserted_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("stamped");
        QTest::newRow("empty") << u""_s << u""_s;
        QTest::newRow("no line feed") << u"a"_s << u"a"_s;
        QTest::newRow("LF only") << u"\n"_s << u"\n"_s;
        QTest::newRow("last LF") << u"a\n"_s << u"a\n"_s;
        QTest::newRow("inner LF") << u"a\nb"_s << u"a\n# b"_s;
        QTest::newRow("two LF") << u"a\n\n"_s << u"a\n# \n"_s;
        QTest::newRow("CR LF") << u"a\r\nb\r\n"_s << u"a\n# b\n"_s;
        QTest::newRow("LF CR") << u"a\n\rb\n\r"_s << u"a\n# b\n"_s;
        QTest::newRow("lone CR") << u"a\rb"_s << u"a\rb"_s;
        QTest::newRow("LF CR LF") << u"\n\r\n"_s << u"\n# \n"_s; // CR LF is looked for first
    }

    void stampsInserted()
    {
        QFETCH(QString, text);
        QFETCH(QString, stamped);
        QCOMPARE(MessageCodec::insertTimeStamp(text, u"# "_s), stamped);
    }

    void hexadecimal()
    {
        QCOMPARE(MessageCodec::toHexString("\x0A\x1B\xFF"), u"0A 1B FF "_s);
        QCOMPARE(MessageCodec::toHexString(""), QString());
        QByteArray all;
        for (int byte = 0; byte < 256; ++byte)
            all += char(byte);
        QCOMPARE(
            MessageCodec::toHexString(all), QString::fromLatin1(all.toHex(' ').toUpper()) + u' ');
        QCOMPARE(MessageCodec::fromHexString(MessageCodec::toHexString(all)), all);
    }

    void sanitizes()
    {
        // At both ends of each range.
        QCOMPARE(MessageCodec::sanitizeText(u"\x01\t\n\r\x1B\x1F ~\x7F"_s),
            u"\u2401\t\n\r\u241B\u241F ~\u2421"_s);
        QCOMPARE(MessageCodec::sanitizeText(u"\x80\x84\x85\x86\x9F\xA0\u2027\u2028\u2029\u202A"_s),
            u"\u2426\u2426\u2424\u2426\u2426\xA0\u2027\u2424\u2424\u202A"_s);
        QCOMPARE(MessageCodec::sanitizeText(
                     u"\uFDCF\uFDD0\uFDEF\uFDF0\uFEFE\uFEFF\uFFF8\uFFF9\uFFFC\uFFFD\uFFFE\uFFFF"_s),
            u"\uFDCF\u2426\u2426\uFDF0\uFEFE\u2426\uFFF8\u2426\u2426\uFFFD\u2426\u2426"_s);
    }

    void sanitizesFarInside()
    {
        // Every place of a text that is looked through in blocks.
        for (int size = 1; size < 200; ++size) {
            for (int at = 0; at < size; ++at) {
                QString text(size, u'x');
                text[at] = u'\0';
                QString expected(size, u'x');
                expected[at] = u'\u2400';
                QVERIFY(MessageCodec::sanitizeText(text) == expected);
            }
        }
        const QString plain(1000, u'\u4E2D');
        const QString kept = MessageCodec::sanitizeText(plain);
        QCOMPARE(static_cast<const void*>(kept.constData()), plain.constData()); // not copied
    }
};

QTEST_GUILESS_MAIN(TestMessageCodec)
#include "tst_messagecodec.moc"
