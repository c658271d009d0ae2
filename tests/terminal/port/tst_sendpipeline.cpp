#include "terminal/port/sendpipeline.h"

#include "terminal/format/sendmodes.h"
#include "terminal/port/displaysinkstub.h"
#include "terminal/port/receivepipeline.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

using Written = SendPipeline::Written;

struct FakeTransport
{
    Written answer = Written::Taken;
    QByteArray written;
};

} // namespace

class TestSendPipeline final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_m = std::make_unique<Bench>(); }

    void typed_data()
    {
        QTest::addColumn<QString>("keys");
        QTest::addColumn<int>("enterMode");
        QTest::addColumn<bool>("hex");
        QTest::addColumn<QByteArray>("sent");
        QTest::addColumn<QString>("echo");
        const int crlf = int(LineEndingMode::CrLf);
        QTest::newRow("a key") << "x" << 1 << false << QByteArray("x") << "x";
        QTest::newRow("text beyond ASCII")
            << QString(QChar(0xE9)) << 1 << false << QByteArray("\xC3\xA9") << QString(QChar(0xE9));
        QTest::newRow("a pasted line sends Enter")
            << "a\nb" << 1 << false << QByteArray("a\rb") << "a\nb";
        QTest::newRow("pasted from another system")
            << "a\r\nb\rc" << crlf << false << QByteArray("a\r\nb\r\nc") << "a\nb\nc";
        QTest::newRow("hexadecimal shows what went out")
            << "a\n"
            << 1 << true << QByteArray("a\r") << "61 0D ";
    }

    void typed()
    {
        QFETCH(QString, keys);
        QFETCH(int, enterMode);
        QFETCH(bool, hex);
        m_m->format.terminalEnterMode = enterMode;
        m_m->format.sendMsgFormat = int(hex ? MessageFormat::Hexadecimal : MessageFormat::Text);
        m_m->format.displaySendMsg = true; // is for messages, not for keys
        m_m->apply();
        QVERIFY(m_m->send.sendTyped(keys));
        QTEST(m_m->transport.written, "sent");
        QCOMPARE(m_m->sink.text, QString());
        m_m->format.localEcho = true;
        m_m->apply();
        QVERIFY(m_m->send.sendTyped(keys));
        QTEST(m_m->sink.text, "echo");
        QCOMPARE(m_m->send.history().entries(), QStringList());
        QCOMPARE(m_m->send.sentBytes(), m_m->transport.written.size());
    }

    void hexadecimalIsRewrittenInTheEditorOnly()
    {
        m_m->format.sendMsgFormat = int(MessageFormat::Hexadecimal);
        m_m->format.formatSend = true;
        m_m->format.sendChecksum = int(ChecksumMode::Sum8);
        m_m->apply();
        QSignalSpy editor(&m_m->send, &SendPipeline::editorTextReplaced);
        QVERIFY(m_m->send.sendText(u"0a0B 03// Reset"_s));
        QCOMPARE(m_m->transport.written, QByteArray("\x0A\x0B\x03\x18"));
        QCOMPARE(editor.value(0).value(0).toString(), u"0A 0B 03 // Reset"_s);
        QCOMPARE(m_m->send.history().entries(), QStringList(u"0A 0B 03 // RESET"_s));
        // One line of many must not replace all of them.
        QVERIFY(m_m->send.sendText(u"ff"_s, SendPipeline::Editor::Keep));
        QCOMPARE(editor.size(), 1);
    }

    void encodingErrorSendsAndRemembersNothing()
    {
        m_m->format.sendEncoding = u"ISO-8859-1"_s;
        m_m->apply();
        QSignalSpy status(&m_m->send, &SendPipeline::noticed);
        QSignalSpy changed(&m_m->send, &SendPipeline::historyChanged);
        const QString euro(QChar(0x20AC));
        QVERIFY(!m_m->send.sendText(euro));
        QVERIFY(!m_m->send.sendTyped(u"ok"_s + euro));
        QCOMPARE(m_m->transport.written, QByteArray());
        QCOMPARE(m_m->send.history().entries(), QStringList());
        QCOMPARE(changed.size(), 0);
        QCOMPARE(status.size(), 2);
        QVERIFY(status[0][0].value<Notice>().text.contains(euro));
        QCOMPARE(status[0][0].value<Notice>().shownMs, 10000);
    }

    void emptyEditorAsksForFocus()
    {
        QSignalSpy focus(&m_m->send, &SendPipeline::editorFocusRequested);
        QVERIFY(!m_m->send.sendText(QString()));
        QCOMPARE(focus.size(), 1);
        QCOMPARE(m_m->send.history().entries(), QStringList());
    }

    void refusedSendIsNeitherCountedNorEchoed()
    {
        m_m->format.displaySendMsg = true;
        m_m->format.localEcho = true;
        m_m->apply();
        m_m->transport.answer = Written::Refused;
        QSignalSpy lamp(&m_m->send, &SendPipeline::sent);
        QVERIFY(!m_m->send.sendText(u"AT"_s));
        QVERIFY(!m_m->send.sendTyped(u"AT"_s));
        m_m->receive.onRefreshDisplay();
        QCOMPARE(m_m->sink.text, QString());
        QCOMPARE(m_m->send.sentBytes(), 0);
        QCOMPARE(lamp.size(), 0);
        // The text itself is kept for another try.
        QCOMPARE(m_m->send.history().entries(), QStringList(u"AT"_s));
    }

    void echoIsShownAtOnce()
    {
        m_m->format.displaySendMsg = true;
        m_m->format.txLineEndingMode = int(LineEndingMode::CrLf);
        m_m->apply();
        QSignalSpy lamp(&m_m->send, &SendPipeline::sent);
        m_m->receive.ingestRx("ready\n", true, {});
        QVERIFY(m_m->send.sendText(u"AT"_s));
        QCOMPARE(m_m->sink.text, u"ready\nAT\n"_s);
        QCOMPARE(lamp.size(), 1);
        QCOMPARE(m_m->send.sentBytes(), 4);
        QCOMPARE(m_m->receive.receivedBytes(), 6);
    }

    // The view shows only what went out.
    void keptBytesWaitForTheConnection()
    {
        m_m->format.displaySendMsg = true;
        m_m->apply();
        m_m->transport.answer = Written::Kept;
        QVERIFY(m_m->send.sendText(u"hello"_s));
        m_m->receive.onRefreshDisplay();
        QCOMPARE(m_m->sink.text, QString());
        QCOMPARE(m_m->send.sentBytes(), 0);
        m_m->send.takeBack(5); // it never stood
        m_m->send.acceptKept();
        QCOMPARE(m_m->sink.text, QString());
        QCOMPARE(m_m->send.sentBytes(), 0);
        QVERIFY(m_m->send.sendText(u"again"_s));
        m_m->send.acceptKept();
        QCOMPARE(m_m->sink.text, u"again"_s);
        QCOMPARE(m_m->send.sentBytes(), 5);
        QVERIFY(m_m->send.sendText(u" and more"_s));
        m_m->send.takeBack(2); // of the connection before, which ends while the next one is made
        QCOMPARE(m_m->send.sentBytes(), 3);
        m_m->send.acceptKept();
        QCOMPARE(m_m->sink.text, u"again and more"_s);
        QCOMPARE(m_m->send.sentBytes(), 12);
    }

    void historyIsBounded()
    {
        for (int i = 1; i <= 300; ++i) {
            QVERIFY(m_m->send.sendText(QString::number(i)));
            QCOMPARE(m_m->send.history().entries().size(), qMin(i, 257));
        }
        QCOMPARE(m_m->send.history().entryAt(0), u"300"_s);
        QCOMPARE(m_m->send.history().entryAt(256), u"44"_s);
        QVERIFY(m_m->send.sendText(u"100"_s));
        QCOMPARE(m_m->send.history().entryAt(0), u"100"_s);
        QCOMPARE(m_m->send.history().entries().count(u"100"_s), 1);
        // The oldest went before the equal entry was found.
        QCOMPARE(m_m->send.history().entries().size(), 256);
        QStringList stored;
        for (int i = 0; i < 1000; ++i)
            stored.append(QString::number(i));
        m_m->send.setHistory(stored);
        QCOMPARE(m_m->send.history().entries(), stored.mid(0, 257));
    }

    void historyLabels()
    {
        const QString full = QString(60, u'a') + QString(40, u'b');
        m_m->send.setHistory({full, full.left(80), full.left(79)});
        QCOMPARE(m_m->send.history().labels(),
            QStringList({full.left(80), full.left(80), full.left(79)}));
        QCOMPARE(m_m->send.history().entryAt(0), full);
        QCOMPARE(m_m->send.history().entryAt(3), QString());
    }

private:
    struct Bench
    {
        Bench()
            : send(
                [this](const QByteArray& bytes) {
                    if (transport.answer != Written::Refused)
                        transport.written += bytes;
                    return transport.answer;
                },
                receive)
        {
            receive.setDisplay(&sink);
            receive.start();
            apply();
        }
        void apply()
        {
            receive.setFormatSetting(format);
            send.setFormatSetting(format);
        }

        StringSink sink;
        FakeTransport transport;
        ReceivePipeline receive;
        SendPipeline send;
        FormatSetting format;
    };
    std::unique_ptr<Bench> m_m;
};

QTEST_GUILESS_MAIN(TestSendPipeline)
#include "tst_sendpipeline.moc"
