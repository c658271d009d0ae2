// What a master finds in the bytes that come back: answers in one piece and in many, behind noise
// and behind its own request, damaged ones, those of others, and none.
#include "bridge/engine/modbusanswer.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;
using Modbus::Framing;
using Kind = ModbusAnswer::Kind;
using Answer = std::optional<ModbusAnswer>;

namespace {

constexpr quint8 kUnit = 17;
constexpr quint16 kTransaction = 0x1502;
constexpr qint64 kTimeoutMs = 500;

QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

QByteArray framed(Framing framing, const QByteArray& pdu, quint8 unit = kUnit)
{
    return framing == Framing::Rtu ? Modbus::rtuFrame(unit, pdu)
                                   : Modbus::tcpFrame(kTransaction, unit, pdu);
}

ModbusAnswerReader asked(const QByteArray& request, Framing framing = Framing::Rtu)
{
    ModbusAnswerReader reader;
    reader.ask({framing, kTransaction, kUnit, request, kTimeoutMs}, 0);
    return reader;
}

const QByteArray kReadThree = hex("03 006b 0003");
const QByteArray kThreeWords = hex("03 06 022b 0000 0064");

} // namespace

class TestModbusAnswer final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The examples of Modbus Application Protocol V1.1b3, chapter 6 and 7.
    void examples_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QByteArray>("answer");
        const auto row = [](const char* name, const char* request, const char* answer) {
            QTest::newRow(name) << hex(request) << hex(answer);
        };
        row("6.1 read coils", "01 0013 0013", "01 03 cd6b05");
        row("6.2 read discrete inputs", "02 00c4 0016", "02 03 acdb35");
        row("6.3 read holding registers", "03 006b 0003", "03 06 022b 0000 0064");
        row("6.4 read input registers", "04 0008 0001", "04 02 000a");
        row("6.5 write single coil", "05 00ac ff00", "05 00ac ff00");
        row("6.6 write single register", "06 0001 0003", "06 0001 0003");
        row("6.7 read exception status", "07", "07 6d");
        row("6.8 diagnostics", "08 0000 a537", "08 0000 a537");
        row("6.9 event counter", "0b", "0b ffff 0108");
        row("6.10 event log", "0c", "0c 08 0000 0108 0121 2000");
        row("6.11 write multiple coils", "0f 0013 000a 02 cd01", "0f 0013 000a");
        row("6.12 write multiple registers", "10 0001 0002 04 000a 0102", "10 0001 0002");
        row("6.16 mask write register", "16 0004 00f2 0025", "16 0004 00f2 0025");
        row("6.17 read/write", "17 0003 0006 000e 0003 06 00ff 00ff 00ff",
            "17 0c 00fe 0acd 0001 0003 000d 00ff");
        row("6.18 read FIFO queue", "18 04de", "18 0006 0002 01b8 1284");
        row("exception", "01 04a1 0001", "81 02");
    }

    // With the last byte, and with none before; behind noise; on a serial line behind the request,
    // too, as an adapter hears it that does not shut its receiver.
    void examples()
    {
        QFETCH(const QByteArray, request);
        QFETCH(const QByteArray, answer);
        const Kind kind = answer.front() == '\x81' ? Kind::Exception : Kind::Data;
        const bool echoes = request == answer;
        for (const Framing framing : {Framing::Rtu, Framing::Tcp}) {
            const QByteArray frame = framed(framing, answer);
            QList<QByteArray> before{{}, hex("00"), hex("ff 11 fe")};
            if (framing == Framing::Rtu && !echoes)
                before << framed(framing, request);
            for (const QByteArray& head : std::as_const(before)) {
                ModbusAnswerReader whole = asked(request, framing);
                const Answer atOnce = whole.feed(head + frame + "tail", {}, 7);
                QVERIFY(atOnce);
                QCOMPARE(atOnce->kind, kind);
                QCOMPARE(atOnce->pdu, answer);
                QCOMPARE(atOnce->frame, frame);
                QCOMPARE(atOnce->latencyMs, 7);

                ModbusAnswerReader split = asked(request, framing);
                const QByteArray bytes = head + frame;
                for (qsizetype at = 0; at + 1 < bytes.size(); ++at)
                    QVERIFY(!split.feed(bytes.sliced(at, 1), {}, at));
                QVERIFY(split.feed(bytes.last(1), {}, bytes.size()));
                QVERIFY(!split.isWaiting());
            }
        }
    }

    // A function whose answer tells no length ends by silence, one millisecond not before.
    void unknownLengthEndsBySilence()
    {
        const QByteArray answer = hex("2b 0e 01 01 00 00 01 00 02 4142");
        ModbusAnswerReader reader = asked(hex("2b 0e 01 00"));
        QVERIFY(!reader.feed(framed(Framing::Rtu, answer), {}, 20));
        const qint64 endMs = 20 + ModbusAnswerReader::kQuietMs;
        QCOMPARE(reader.nextTimeoutMs(20), ModbusAnswerReader::kQuietMs);
        QVERIFY(!reader.tick(endMs - 1));
        const Answer found = reader.tick(endMs);
        QVERIFY(found);
        QCOMPARE(found->kind, Kind::Data);
        QCOMPARE(found->pdu, answer);
    }

    void faults_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<Kind>("kind");
        const QByteArray good = framed(Framing::Rtu, kThreeWords);
        QByteArray damaged = good;
        damaged[4] = char(damaged[4] ^ 1);
        QTest::newRow("nothing") << QByteArray() << Kind::Silent;
        QTest::newRow("a part") << good.chopped(1) << Kind::Incomplete;
        QTest::newRow("text") << "login: "_ba << Kind::Incomplete;
        QTest::newRow("a bit is wrong") << damaged << Kind::BadChecksum;
        QTest::newRow("another unit") << framed(Framing::Rtu, kThreeWords, 18) << Kind::OtherUnit;
        QTest::newRow("another function")
            << framed(Framing::Rtu, hex("04 02 000a")) << Kind::OtherFunction;
        QTest::newRow("fewer registers")
            << framed(Framing::Rtu, hex("03 04 022b 0000")) << Kind::Mismatch;
        // What the line hears of the request alone is no answer, neither a damaged one.
        QTest::newRow("its echo") << framed(Framing::Rtu, kReadThree) << Kind::Incomplete;
    }

    void faults()
    {
        QFETCH(const QByteArray, bytes);
        QFETCH(const Kind, kind);
        ModbusAnswerReader reader = asked(kReadThree);
        Answer found = reader.feed(bytes, {}, 10);
        for (qint64 nowMs = 10; !found && nowMs <= kTimeoutMs; ++nowMs)
            found = reader.tick(nowMs);
        QVERIFY(found);
        QCOMPARE(found->kind, kind);
        QVERIFY(!found->text().isEmpty());
        QVERIFY(!reader.feed(framed(Framing::Rtu, kThreeWords), {}, kTimeoutMs + 1)); // too late
    }

    // The right answer may stand behind one that is damaged, and an owner who comes late gets what
    // one gets who is exact.
    void orderAndTime()
    {
        QByteArray damaged = framed(Framing::Rtu, kThreeWords);
        damaged[4] = char(damaged[4] ^ 1);
        ModbusAnswerReader again = asked(kReadThree);
        QVERIFY(!again.feed(damaged, {}, 10));
        const Answer second = again.feed(framed(Framing::Rtu, kThreeWords), {}, 60);
        QVERIFY(second && second->kind == Kind::Data);

        ModbusAnswerReader late = asked(kReadThree);
        const Answer silent = late.feed(framed(Framing::Rtu, kThreeWords), {}, kTimeoutMs);
        QVERIFY(silent && silent->kind == Kind::Silent);

        // 300 baud: the time is over while the bytes still come.
        ModbusAnswerReader slow = asked(kReadThree);
        const QByteArray frame = framed(Framing::Rtu, kThreeWords);
        for (qsizetype at = 0; at + 1 < frame.size(); ++at)
            QVERIFY(!slow.feed(frame.sliced(at, 1), {}, kTimeoutMs - 50 + at * 37));
        const Answer whole = slow.feed(frame.last(1), {}, kTimeoutMs - 50 + frame.size() * 37);
        QVERIFY(whole && whole->kind == Kind::Data);
    }

    void othersAreKeptApart()
    {
        // The answer to the request before, which was given up.
        ModbusAnswerReader tcp = asked(kReadThree, Framing::Tcp);
        QVERIFY(!tcp.feed(Modbus::tcpFrame(kTransaction - 1, kUnit, kThreeWords), {}, 1));
        const Answer own = tcp.feed(Modbus::tcpFrame(kTransaction, kUnit, kThreeWords), {}, 2);
        QVERIFY(own && own->kind == Kind::Data);

        ModbusAnswerReader peers = asked(kReadThree);
        const QByteArray frame = framed(Framing::Rtu, kThreeWords);
        QVERIFY(!peers.feed(frame.first(4), u"10.0.0.1:5"_s, 1));
        QVERIFY(!peers.feed("chatter", u"10.0.0.2:6"_s, 2));
        const Answer found = peers.feed(frame.sliced(4), u"10.0.0.1:5"_s, 3);
        QVERIFY(found);
        QCOMPARE(found->peer, u"10.0.0.1:5"_s);

        ModbusAnswerReader broadcast;
        broadcast.ask({Framing::Rtu, 0, 0, hex("06 0001 0003"), kTimeoutMs}, 0);
        const Answer done = broadcast.tick(ModbusAnswerReader::kTurnaroundMs);
        QVERIFY(done && done->kind == Kind::Broadcast);
    }
};

QTEST_GUILESS_MAIN(TestModbusAnswer)
#include "tst_modbusanswer.moc"
