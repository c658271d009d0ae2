#include "connections/rfc2217/rfc2217serversession.h"

#include <QJsonDocument>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray hex(const char* digits)
{
    return QByteArray::fromHex(digits);
}

// Com-port commands, each as code and payload in hexadecimal, with their framing.
QByteArray framed(const QByteArray& words)
{
    QByteArray bytes;
    for (const QByteArray& word : words.split(' ')) {
        if (!word.isEmpty())
            bytes += hex("fffa2c") + QByteArray::fromHex(word) + hex("fff0");
    }
    return bytes;
}

QByteArray describe(const QList<Rfc2217ServerSession::ControlAction>& actions)
{
    QByteArrayList words;
    for (const auto& action : actions)
        words << QByteArray::number(int(action.line)) + (action.on ? '+' : '-');
    return words.join(' ');
}

// 19200 7E1.5, XON/XOFF, DTR low, RTS high.
Settings port()
{
    Settings settings;
    settings.baudRate = 19'200;
    settings.dataBits = 7;
    settings.parity = 2;
    settings.stopBits = 3;
    settings.flowControl = 2;
    settings.dtrOn = false;
    return settings;
}

} // namespace

class TestRfc2217ServerSession : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void requests_data()
    {
        QTest::addColumn<QByteArray>("in");
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QByteArray>("changes");
        QTest::addColumn<QByteArray>("actions");
        const auto row = [](const char* name, const char* in, const char* reply,
                             const char* changes, const char* actions) {
            QTest::newRow(name) << framed(in) << framed(reply) << QByteArray(changes)
                                << QByteArray(actions);
        };
        row("inquiries", "0100000000 0200 0300 0400 0500 0504 0507 050a",
            "6500004b00 6607 6703 6803 6902 6906 6909 690b", "{}", "");
        row("undefined values ask", "0209 0306 0404", "6607 6703 6803", "{}", "");
        row("baud", "010001c200", "650001c200", R"({"baud_rate":115200})", "");
        row("highest baud", "01ffffffffffffffff", "65ffffffffffffffff",
            R"({"baud_rate":4294967295})", "");
        row("data size", "0205", "6605", R"({"data_bits":5})", "");
        row("no parity", "0301", "6701", R"({"parity":"none"})", "");
        row("odd", "0302", "6702", R"({"parity":"odd"})", "");
        row("even", "0303", "6703", R"({"parity":"even"})", "");
        row("mark", "0304", "6704", R"({"parity":"mark"})", "");
        row("space", "0305", "6705", R"({"parity":"space"})", "");
        row("one stop bit", "0401", "6801", R"({"stop_bits":1})", "");
        row("two", "0402", "6802", R"({"stop_bits":2})", "");
        row("one and a half", "0403", "6803", R"({"stop_bits":1.5})", "");
        row("no flow control", "0501", "6901", R"({"flow_control":"none"})", "");
        row("XON/XOFF", "0502", "6902", R"({"flow_control":"xonxoff"})", "");
        row("RTS/CTS", "0503", "6903", R"({"flow_control":"rtscts"})", "");
        row("lines", "0505 0506 0508 0509 050b 050c", "6905 6906 6908 6909 690b 690c", "{}",
            "2+ 2- 0+ 0- 1+ 1-");
        row("signatures", "00 0041",
            "6456656c6d6f726120627269646765 6456656c6d6f726120627269646765", "{}", "");
        row("asked after set", "0100002580 0100000000 0508 0507", "6500002580 6500002580 6908 6908",
            R"({"baud_rate":9600})", "0+");
        row("set twice", "0100002580 010001c200", "6500002580 650001c200",
            R"({"baud_rate":115200})", "");
        row("no requests", "0660 0780 08 09 0a01 0e01 6607", "", "{}", "");
    }

    void requests()
    {
        QFETCH(QByteArray, in);
        QFETCH(QByteArray, reply);
        QFETCH(QByteArray, changes);
        Rfc2217ServerSession session;
        const auto whole = session.receive("A"_ba + in + "B"_ba, port());
        QCOMPARE(whole.data, "AB");
        QCOMPARE(whole.reply.toHex(), reply.toHex());
        QCOMPARE(QJsonDocument(whole.settingsChanges).toJson(QJsonDocument::Compact), changes);
        QTEST(describe(whole.controlActions), "actions");
        // The same byte by byte, with an owner that does what it is asked.
        Settings present = port();
        QByteArray bytewise;
        for (const char byte : std::as_const(in)) {
            const auto outcome = session.receive(QByteArray(1, byte), present);
            present = Rfc2217ServerSession::changed(present, outcome.settingsChanges);
            for (const auto& action : outcome.controlActions)
                present.dtrOn =
                    action.line == Rfc2217ServerSession::Line::Dtr ? action.on : present.dtrOn;
            bytewise += outcome.reply;
        }
        QCOMPARE(bytewise.toHex(), reply.toHex());
    }

    void modemState()
    {
        Rfc2217ServerSession session;
        QVERIFY(session.modemStateNotification(0x30).isEmpty());
        const auto purged = session.receive(framed("0c01 0c02 0c09"), port());
        QCOMPARE(purged.reply, framed("7001 7002 7009"));
        QCOMPARE(purged.purge, quint8(3));
        QVERIFY(!purged.modemStateAsked);
        QVERIFY(session.receive(framed("0bf0"), port()).modemStateAsked);
        QCOMPARE(session.modemStateNotification(0x31), framed("6b30"));
        QCOMPARE(session.modemStateNotification(0xff).toHex(), "fffa2c6bf0fff0");
        QVERIFY(!session.receive(framed("0b30 0b"), port()).modemStateAsked);
        QCOMPARE(session.modemStateNotification(0xb1), framed("6b30"));
        session.receive(framed("0bffff"), port());
        QCOMPARE(session.modemStateNotification(0xff), framed("6bffff"));
        session.receive(framed("0b00"), port());
        QVERIFY(session.modemStateNotification(0xff).isEmpty());
        session.reset();
        QVERIFY(session.modemStateNotification(0x30).isEmpty());
    }

    void changedSettings()
    {
        const auto change = [](const char* json) {
            return Rfc2217ServerSession::changed(port(), QJsonDocument::fromJson(json).object());
        };
        QCOMPARE(change("{}"), port().sanitized());
        const Settings all = change(R"({"baud_rate":300,"data_bits":8,"parity":"mark","stop_bits":2,
            "flow_control":"rtscts"})");
        QCOMPARE(all.baudRate, 300);
        QCOMPARE(all.dataBits, 8);
        QCOMPARE(all.stringParity, u"Mark"_s);
        QCOMPARE(all.stopBits, 2);
        QCOMPARE(all.flowControl, 1);
        const Settings wild = change(R"({"baud_rate":4294967295,"data_bits":99,"parity":"x",
            "stop_bits":"x","flow_control":7})");
        QCOMPARE(wild.baudRate, std::numeric_limits<qint32>::max());
        QCOMPARE(wild.dataBits, 8);
        QCOMPARE(wild.parity, port().parity);
        QCOMPARE(wild.stopBits, port().stopBits);
        QCOMPARE(wild.flowControl, port().flowControl);
    }
};

QTEST_APPLESS_MAIN(TestRfc2217ServerSession)
#include "tst_rfc2217serversession.moc"
