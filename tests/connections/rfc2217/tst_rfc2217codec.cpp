#include "connections/rfc2217/rfc2217codec.h"
#include "connections/rfc2217/rfc2217values.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

using Codec = Rfc2217Codec;
using Event = Codec::Event;
using Role = Codec::Role;
using enum Codec::Role;

QByteArray hex(const char* digits)
{
    return QByteArray::fromHex(digits);
}

// "type:value", an inquiry with "?", a line with "+" or "-", a signature with its text.
QByteArray describe(const QList<Event>& events, bool fromServer)
{
    constexpr const char* kNames[] = {"baud", "bits", "parity", "stop", "flow", "break", "dtr",
        "rts", "purge", "signature", "line", "modem"};
    QByteArrayList words;
    for (const Event& event : events) {
        QByteArray word = kNames[int(event.type)];
        if (event.inquiry)
            word += '?';
        else if (event.type >= Event::Type::Break && event.type <= Event::Type::Rts)
            word += event.on ? '+' : '-';
        else if (event.type == Event::Type::Signature)
            word += ':' + event.payload;
        else
            word += ':' + QByteArray::number(event.value);
        words << (event.fromServer == fromServer ? word : "wrong way " + word);
    }
    return words.join(' ');
}

struct Result
{
    QByteArray data;
    QByteArray reply;
    QByteArray events;
};

Result feed(Codec& codec, Role role, const QByteArrayList& chunks)
{
    Result result;
    QList<Event> events;
    for (const QByteArray& chunk : chunks)
        result.data += codec.decode(chunk, &events, &result.reply);
    result.events = describe(events, role == Client);
    return result;
}

QByteArrayList bytewise(const QByteArray& bytes)
{
    QByteArrayList chunks;
    for (const char byte : bytes)
        chunks << QByteArray(1, byte);
    return chunks;
}

// Everything that has to survive a connection: each byte value, and runs of 0xFF.
QByteArray difficultPayload()
{
    QByteArray bytes;
    for (int value = 0; value < 256; ++value)
        bytes.append(char(value));
    for (int run = 1; run < 6; ++run)
        bytes.append(run, '\xff').append(char(run)).append('\xf0');
    return bytes + '\xff';
}

struct DecodeCase
{
    const char* name;
    Role role;
    const char* in; // this and the next two in hexadecimal
    const char* data;
    const char* reply;
    const char* events;
};
constexpr DecodeCase kDecodeCases[] = {
    {"plain", Client, "0041fe", "0041fe", "", ""},
    {"doubled 0xFF", Client, "41ffff42", "41ff42", "", ""},
    {"three doubled", Server, "ffffffffffff", "ffffff", "", ""},
    {"other commands are dropped", Client, "41fff142fff943fff0", "414243", "", ""},
    {"accepted options", Server, "fffb00fffd00fffb03fffd03fffb2cfffd2c", "",
        "fffd00fffb00fffd03fffb03fffd2cfffb2c", ""},
    {"refused options", Client, "fffb01fffd18fffbff", "", "fffe01fffc18fffeff", ""},
    {"repeated requests", Client, "fffb2cfffb2cfffd01fffd01", "", "fffd2cfffc01", ""},
    {"end of what was never begun", Client, "fffc2cfffe2cfffc01fffe01", "", "", ""},
    {"end of what was agreed", Client, "fffb00fffd03fffc00fffe03fffc00fffe03", "",
        "fffd00fffb03fffe00fffc03", ""},
    {"data between options", Client, "41fffb0042fffd0343", "414243", "fffd00fffb03", ""},

    {"baud", Server, "fffa2c0100002580fff0", "", "", "baud:9600"},
    {"baud from a server", Client, "fffa2c650001c200fff0", "", "", "baud:115200"},
    {"baud with doubled 0xFF", Server, "fffa2c0100ffff00fffffff0", "", "", "baud:16711935"},
    {"baud inquiry", Server, "fffa2c0100000000fff0", "", "", "baud?"},
    {"baud too short", Server, "fffa2c01002580fff0", "", "", ""},
    {"wrong direction, client", Client, "fffa2c0100002580fff0", "", "", ""},
    {"wrong direction, server", Server, "fffa2c6500002580fff0", "", "", ""},
    {"data sizes", Server, "fffa2c0204fff0fffa2c0205fff0fffa2c0208fff0fffa2c0209fff0fffa2c0200fff0",
        "", "", "bits? bits:5 bits:8 bits? bits?"},
    {"parities", Client,
        "fffa2c6700fff0fffa2c6701fff0fffa2c6702fff0fffa2c6703fff0fffa2c6704fff0fffa2c6705fff0"
        "fffa2c6706fff0",
        "", "", "parity? parity:0 parity:3 parity:2 parity:5 parity:4 parity?"},
    {"stop sizes", Server, "fffa2c0400fff0fffa2c0401fff0fffa2c0402fff0fffa2c0403fff0fffa2c0404fff0",
        "", "", "stop? stop:1 stop:2 stop:3 stop?"},
    {"flow", Server,
        "fffa2c0500fff0fffa2c0501fff0fffa2c0502fff0fffa2c0503fff0fffa2c050dfff0fffa2c0511fff0", "",
        "", "flow? flow:0 flow:2 flow:1"},
    {"break", Server, "fffa2c0504fff0fffa2c0505fff0fffa2c0506fff0", "", "", "break? break+ break-"},
    {"dtr", Client, "fffa2c6907fff0fffa2c6908fff0fffa2c6909fff0", "", "", "dtr? dtr+ dtr-"},
    {"rts", Client, "fffa2c690afff0fffa2c690bfff0fffa2c690cfff0", "", "", "rts? rts+ rts-"},
    {"states", Client, "fffa2c6a60fff0fffa2c6bb0fff0fffa2c6bfffffff0", "", "",
        "line:96 modem:176 modem:255"},
    {"without the byte", Client, "fffa2c6bfff0fffa2c66fff0fffa2cfff0fffafff0", "", "", ""},
    {"dropped commands", Server, "fffa2c08fff0fffa2c0901fff0fffa2c0a01fff0fffa2c0d01fff0", "", "",
        ""},
    {"dropped responses", Client, "fffa2c7101fff0fffa2cc801fff0fffa2cff01fff0", "", "", ""},
    {"purge", Server, "fffa2c0c03fff0", "", "", "purge:3"},
    {"signatures", Server, "fffa2c00fff0fffa2c004142fff0", "", "", "signature? signature:AB"},
    {"signature of a server", Client, "fffa2c64fff0fffa2c6441fff0", "", "",
        "signature: signature:A"},
    {"another option's", Server, "41fffa18012cfff042", "4142", "", ""},
    {"broken off", Server, "fffa2c0100fff141fffa2c0c01fff0", "41", "", "purge:1"},
    {"begun twice", Server, "fffa2c0100fffa2c0c01fff0fffa2c0c02fff0", "2c0c01", "", "purge:2"},
};

} // namespace

class TestRfc2217Codec : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void decode_data()
    {
        QTest::addColumn<Role>("role");
        QTest::addColumn<QByteArray>("in");
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QByteArray>("events");
        for (const DecodeCase& row : kDecodeCases) {
            QTest::newRow(row.name) << row.role << hex(row.in) << hex(row.data) << hex(row.reply)
                                    << QByteArray(row.events);
        }
    }

    void decode()
    {
        QFETCH(Role, role);
        QFETCH(QByteArray, in);
        QFETCH(QByteArray, data);
        QFETCH(QByteArray, reply);
        QFETCH(QByteArray, events);
        const QByteArray tail = "tail";
        for (const QByteArrayList& chunks :
            {QByteArrayList{in, tail}, bytewise(in + tail), QByteArrayList{in + tail}}) {
            Codec codec(role);
            const Result result = feed(codec, role, chunks);
            QCOMPARE(result.data.toHex(), QByteArray(data + tail).toHex());
            QCOMPARE(result.reply.toHex(), reply.toHex());
            QCOMPARE(result.events, events);
            QCOMPARE(codec.remoteSentIac(), in.contains('\xff'));
        }
    }

    void payloadSurvivesEveryBorder()
    {
        const QByteArray payload = difficultPayload();
        const QByteArray wire = Codec::encodePayload(payload);
        QCOMPARE(wire.size(), payload.size() + payload.count('\xff'));
        for (qsizetype border = 0; border <= wire.size(); ++border) {
            Codec codec(Client);
            const Result result = feed(codec, Client, {wire.first(border), wire.sliced(border)});
            QCOMPARE(result.data, payload);
            QVERIFY(result.reply.isEmpty() && result.events.isEmpty());
        }
        Codec codec(Server);
        for (qsizetype border = 0; border <= payload.size(); ++border) {
            const QByteArrayList chunks{Codec::encodePayload(payload.first(border)),
                Codec::encodePayload(payload.sliced(border))};
            QCOMPARE(feed(codec, Server, chunks).data, payload);
        }
        // The payload of a command is data as well.
        QList<Event> events;
        codec.decode(Codec::clientRequest(Rfc2217::Signature, payload), &events, nullptr);
        QCOMPARE(events.value(0).payload, payload);
    }

    void plainDataIsNotCopied()
    {
        const QByteArray plain(1000, 'x');
        Codec codec(Client);
        QCOMPARE(codec.decode(plain, nullptr, nullptr).constData(), plain.constData());
        QCOMPARE(Codec::encodePayload(plain).constData(), plain.constData());
    }

    void greetingsAgree()
    {
        Codec client(Client);
        Codec server(Server);
        const QByteArray asked = client.greeting();
        const QByteArray offered = server.greeting();
        QCOMPARE(asked.toHex(), "fffb2cfffd2cfffb00fffd00fffb03fffd03");
        QCOMPARE(offered.toHex(), "fffb2cfffb00fffd00fffb03fffd03");
        // The server has not asked for the client's option before, everything else was announced.
        const QByteArray answer = feed(server, Server, {asked}).reply;
        QCOMPARE(answer.toHex(), "fffd2c");
        QCOMPARE(feed(client, Client, {offered, answer}).reply, QByteArray());
        QVERIFY(client.remoteSupportsComPort() && server.remoteSupportsComPort());
    }

    // A remote that turns every answer round.
    void contradictionEnds()
    {
        Codec codec(Client);
        QByteArray in = codec.greeting();
        int rounds = 0;
        for (; !in.isEmpty() && rounds < 1000; ++rounds) {
            for (qsizetype i = 1; i < in.size(); i += 3) {
                constexpr quint8 kTurned[] = {
                    Rfc2217::DONT, Rfc2217::DO, Rfc2217::WONT, Rfc2217::WILL};
                in[i] = char(kTurned[quint8(in[i]) - Rfc2217::WILL]);
            }
            QByteArray reply;
            codec.decode(in, nullptr, &reply);
            QVERIFY(reply.size() <= in.size());
            in = reply;
        }
        QVERIFY(rounds < 2 * Codec::kMaxOptionChanges);
    }

    void longSubnegotiation_data()
    {
        QTest::addColumn<qsizetype>("size"); // option, command and text
        QTest::addColumn<bool>("kept");
        QTest::newRow("longest") << Codec::kMaxSubnegotiationBytes << true;
        QTest::newRow("longer") << Codec::kMaxSubnegotiationBytes + 1 << false;
        QTest::newRow("without end") << qsizetype(10'000'000) << false;
    }

    void longSubnegotiation()
    {
        QFETCH(qsizetype, size);
        QFETCH(bool, kept);
        const QByteArray text(size - 2, 'x');
        Codec codec(Server);
        QList<Event> events;
        const QByteArray wire = Codec::clientRequest(Rfc2217::Signature, text);
        QCOMPARE(codec.decode(wire + "data", &events, nullptr), "data");
        QCOMPARE(events.size(), kept ? 1 : 0);
        codec.decode(Codec::clientRequest(Rfc2217::Signature, "short"), &events, nullptr);
        QCOMPARE(events.last().payload, "short");
    }

    void comPortSupport_data()
    {
        QTest::addColumn<Role>("role");
        QTest::addColumn<QByteArray>("in");
        QTest::addColumn<bool>("supported");
        const auto row = [](const char* name, Role role, const char* in, bool supported) {
            QTest::newRow(name) << role << hex(in) << supported;
        };
        row("WILL", Client, "fffb2c", true);
        row("DO", Client, "fffd2c", true);
        row("another option", Client, "fffb00fffd03", false);
        row("client, WONT", Client, "fffd2cfffc2c", true);
        row("client, DONT", Client, "fffb2cfffe2c", false);
        row("server, WONT", Server, "fffd2cfffc2c", false);
        row("server, DONT", Server, "fffb2cfffe2c", true);
    }

    void comPortSupport()
    {
        QFETCH(Role, role);
        QFETCH(QByteArray, in);
        Codec codec(role);
        codec.greeting();
        codec.decode(in, nullptr, nullptr);
        QTEST(codec.remoteSupportsComPort(), "supported");
    }

    // Whatever state the last conversation ended in, the next one goes as with a new codec.
    void resetForgetsTheConversation()
    {
        const QByteArray next = hex("41fffb2c42fffa2c0c01fff043");
        for (const char* last :
            {"ff", "fffb", "fffa2c0c", "fffa2cff", "fffb2cfffa2c0bfffffff041"}) {
            Codec used(Server);
            used.decode(hex(last), nullptr, nullptr);
            used.reset();
            QVERIFY(!used.remoteSentIac() && !used.remoteSupportsComPort());
            QVERIFY(used.modemStateNotification(0xFF).isEmpty());
            const Result result = feed(used, Server, {next});
            QCOMPARE(result.data, "ABC");
            QCOMPARE(result.reply.toHex(), "fffd2c");
            QCOMPARE(result.events, "purge:1");
        }
    }
};

QTEST_APPLESS_MAIN(TestRfc2217Codec)
#include "tst_rfc2217codec.moc"
