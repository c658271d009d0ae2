// What a tool window puts into a send editor is sent as exactly those bytes, and what stood there
// before as exactly what it would have been.
#include "settings/formatsetting.h"
#include "terminal/format/messagecodec.h"
#include "terminal/format/sendinsertion.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

class TestSendInsertion : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void appends_data();
    void appends();
    void refusesWhatCannotBeEncoded();
};

void TestSendInsertion::appends_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("hexadecimal");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("result");
    QTest::addColumn<bool>("becomesHexadecimal");

    QTest::newRow("printable into text") << u"AT"_s << false << "+X"_ba << u"AT+X"_s << false;
    QTest::newRow("control code into text")
        << u"AT"_s << false << "\x03"_ba << u"41 54 03 "_s << true;
    QTest::newRow("high byte into text")
        << u"\u00e9"_s << false << "\xFF"_ba << u"C3 A9 FF "_s << true;
    QTest::newRow("into an empty text")
        << QString() << false << QByteArray(1, '\0') << u"00 "_s << true;
    QTest::newRow("into hexadecimal") << u"01 02"_s << true << "A"_ba << u"01 02 41 "_s << true;
    QTest::newRow("before a comment")
        << u"01 // one"_s << true << "\x02"_ba << u"01 02 // one"_s << true;
    QTest::newRow("behind a lone digit") << u"ABC"_s << true << "\x02"_ba << u"AB 02 "_s << true;
    QTest::newRow("behind a line end") << u"01\n"_s << true << "\x02"_ba << u"01 02 "_s << true;
}

void TestSendInsertion::appends()
{
    QFETCH(QString, text);
    QFETCH(bool, hexadecimal);
    QFETCH(QByteArray, bytes);
    FormatSetting format;
    const SendInsertion result = SendInsertion::append(text, hexadecimal, format, bytes);
    QTEST(result.text, "result");
    QTEST(result.hexadecimal, "becomesHexadecimal");
    QCOMPARE(MessageCodec::encodeSend(result.text, result.hexadecimal, format).bytes,
        MessageCodec::encodeSend(text, hexadecimal, format).bytes + bytes);
}

void TestSendInsertion::refusesWhatCannotBeEncoded()
{
    FormatSetting format;
    format.sendEncoding = u"ISO-8859-1"_s;
    const SendInsertion result = SendInsertion::append(u"\u20ac"_s, false, format, "\x01"_ba);
    QVERIFY(!result.error.isEmpty());
    QCOMPARE(result.text, u"\u20ac"_s);
}

QTEST_APPLESS_MAIN(TestSendInsertion)
#include "tst_sendinsertion.moc"
