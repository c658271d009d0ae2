#include "settings/formatsetting.h"
#include "terminal/format/messagecodec.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

class TestEncodeSend final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void messages_data();
    void messages();
    void lineEndings();
    void checksums();
    void enterOfEachMode();
    void unencodableTextSendsNothing();
};

static FormatSetting options(int lineEnding, int checksum, bool normalise = false)
{
    FormatSetting format;
    format.txLineEndingMode = lineEnding;
    format.sendChecksum = checksum;
    format.formatSend = normalise;
    return format;
}

void TestEncodeSend::messages_data()
{
    QTest::addColumn<bool>("hexadecimal");
    QTest::addColumn<bool>("normalise");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("shown");
    const auto hex = [](const char* name, bool normalise, const QString& text,
                         const QByteArray& bytes, const QString& shown) {
        QTest::newRow(name) << true << normalise << text << bytes << shown;
    };
    hex("nothing", true, u""_s, ""_ba, u""_s);
    hex("comment only", true, u"// reset"_s, ""_ba, u"// reset"_s);
    hex("empty comment", true, u"01//"_s, "\x01"_ba, u"01 //"_s);
    hex("bytes and comment", true, u"010203// go"_s, "\x01\x02\x03"_ba, u"01 02 03 // go"_s);
    hex("comment not normalised", false, u"ab cd //Go"_s, "\xAB\xCD"_ba, u"ab cd //Go"_s);
    hex("comment with slashes", true, u"ff//see http://x"_s, "\xFF"_ba, u"FF //see http://x"_s);
    hex("three slashes", true, u"ff///"_s, "\xFF"_ba, u"FF ///"_s);
    hex("odd digits", true, u"ABC"_s, "\xAB"_ba, u"AB "_s);
    hex("no digits", false, u"xyz!"_s, "\0\0"_ba, u"xyz!"_s);
    const auto text = [](const char* name, const QString& typed, const QByteArray& bytes) {
        QTest::newRow(name) << false << true << typed << bytes << typed;
    };
    text("text nothing", u""_s, ""_ba);
    text("text with slashes", u"AT//x"_s, "AT//x"_ba);
    text("text UTF-8", u"\u4E2D\n"_s, "\xE4\xB8\xAD\n"_ba);
}

void TestEncodeSend::messages()
{
    QFETCH(bool, hexadecimal);
    QFETCH(bool, normalise);
    QFETCH(QString, text);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, shown);
    const auto result = MessageCodec::encodeSend(text, hexadecimal, options(0, 0, normalise));
    QVERIFY(result.ok && result.error.isEmpty());
    QCOMPARE(result.bytes, bytes);
    QCOMPARE(result.displayText, shown);
    // A line ending is for text; hexadecimal is sent as typed.
    if (hexadecimal)
        QCOMPARE(MessageCodec::encodeSend(text, true, options(3, 0)).bytes, bytes);
}

// Character by character.
static QByteArray modelLines(QByteArray text, int mode)
{
    const QList<QByteArray> endings{"\n"_ba, "\r"_ba, "\n"_ba, "\r\n"_ba, "\n\r"_ba};
    if (mode != 0 && !text.endsWith('\n'))
        text += '\n';
    QByteArray out;
    for (const char c : std::as_const(text))
        out += c == '\n' && mode < endings.size() ? endings[mode] : QByteArray(1, c);
    return out;
}

void TestEncodeSend::lineEndings()
{
    for (const QByteArray& text : {"AT"_ba, "AT\n"_ba, "\n"_ba, "a\n\nb"_ba, "\xC3\xA9\r\n"_ba}) {
        for (int ending = 0; ending <= 5; ++ending) { // 5 is no mode: LF is ensured, no more
            const QString typed = QString::fromUtf8(text);
            QCOMPARE(MessageCodec::encodeSend(typed, false, options(ending, 0)).bytes,
                modelLines(text, ending));
        }
    }
}

// The published check values in the order of the wire, from the mode before the first on.
void TestEncodeSend::checksums()
{
    const QByteArray digits = "123456789"_ba;
    const QString hex = QString::fromLatin1(digits.toHex(' ')) + u" // AT"_s;
    int mode = -1;
    for (const QByteArray& sum : {""_ba, ""_ba, "\xDD"_ba, "\x31"_ba, "\xF4"_ba, "\x37\x4B"_ba,
             "\x26\x39\xF4\xCB"_ba, ""_ba}) {
        const FormatSetting format = options(0, mode++);
        const QString text = QString::fromLatin1(digits);
        QCOMPARE(MessageCodec::encodeSend(text, false, format).bytes, digits + sum);
        QCOMPARE(MessageCodec::encodeSend(hex, true, format).bytes, digits + sum);
    }
    // Over the line ending, too; over bytes that are negative as characters; over nothing.
    QCOMPARE(MessageCodec::encodeSend(u"AT"_s, false, options(3, 4)).bytes, "AT\r\n\xD1\x5F"_ba);
    for (const int bytewise : {1, 2})
        QCOMPARE(MessageCodec::encodeSend(u"80 FF"_s, true, options(0, bytewise)).bytes,
            "\x80\xFF\x7F"_ba);
    QCOMPARE(MessageCodec::encodeSend(u"//"_s, true, options(3, 5)).bytes, QByteArray());
}

void TestEncodeSend::enterOfEachMode()
{
    const QList<QByteArray> expected{
        "\r"_ba, "\r"_ba, "\r"_ba, "\n"_ba, "\r\n"_ba, "\n\r"_ba, "\r"_ba};
    for (int mode = -1; mode <= 5; ++mode) {
        QCOMPARE(MessageCodec::terminalEnterBytes(mode), expected.at(mode + 1));
        QCOMPARE(QString::fromLatin1(MessageCodec::applyLineEnding("\na\r\n\n"_ba, mode)),
            MessageCodec::applyLineEnding(u"\na\r\n\n"_s, mode));
    }
}

void TestEncodeSend::unencodableTextSendsNothing()
{
    FormatSetting format = options(3, 4);
    format.sendEncoding = u"latin1"_s;
    const auto result = MessageCodec::encodeSend(u"price \u20AC"_s, false, format);
    QVERIFY(!result.ok);
    QCOMPARE(result.bytes, QByteArray());
    QCOMPARE(result.error, u"The character '\u20AC' cannot be encoded as ISO-8859-1. "
                           u"Change the encoding or edit the message."_s);
    // The rule is per encoding: the same text in another one.
    format.sendEncoding = u"cp1252"_s;
    QCOMPARE(MessageCodec::encodeSend(u"\u20AC"_s, false, options(0, 0)).bytes, "\xE2\x82\xAC"_ba);
    format.sendChecksum = 0;
    QCOMPARE(MessageCodec::encodeSend(u"\u20AC"_s, false, format).bytes, "\x80\r\n"_ba);
}

QTEST_GUILESS_MAIN(TestEncodeSend)
#include "tst_encodesend.moc"
