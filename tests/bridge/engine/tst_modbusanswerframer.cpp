#include "bridge/engine/modbusanswerframer.h"
#include "bridge/engine/modbusgateway.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

using Kind = ModbusAnswerFramer::Kind;

namespace {

QByteArray rtu(const QByteArray& digits)
{
    return ModbusGateway::appendCrc(QByteArray::fromHex(digits));
}

} // namespace

class tst_ModbusAnswerFramer final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Requests and answers of the Modbus Application Protocol V1.1b3, chapter 6, and what looks
    // like an answer. 0 ms: known by its length with its last byte; 50 ms: by the silence.
    void endOfAnAnswer_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<Kind>("kind");
        QTest::addColumn<int>("afterMs");
        const auto row = [](const char* name, const char* request, const char* answer,
                             Kind kind = Kind::Answer, int afterMs = 0) {
            QTest::newRow(name) << rtu(request) << rtu(answer) << kind << afterMs;
        };
        row("coils", "1101 0013 0013", "1101 03 cd6b05");
        row("inputs", "1102 00c4 0016", "1102 03 acdb35");
        row("holding registers", "1103 006b 0003", "1103 06 022b00000064");
        row("input registers", "1104 0008 0001", "1104 02 000a");
        row("single coil", "1105 00ac ff00", "1105 00ac ff00");
        row("single register", "1106 0001 0003", "1106 0001 0003");
        row("exception status", "1107", "1107 6d");
        row("event counter", "110b", "110b ffff 0108");
        row("event log", "110c", "110c 08 0000 0108 0121 2000");
        row("coils to write", "110f 0013 000a 02 cd01", "110f 0013 000a");
        row("registers to write", "1110 0001 0002 04 000a0102", "1110 0001 0002");
        row("server identifier", "1111", "1111 02 0aff");
        row("file record to read", "1114 07 06 0004 0001 0002", "1114 06 05 06 0dfe0020");
        row("file record to write", "1115 09 06 0004 0007 0001 06af",
            "1115 09 06 0004 0007 0001 06af");
        row("mask", "1116 0004 00f2 0025", "1116 0004 00f2 0025");
        row("read and write", "1117 0003 0001 000e 0001 02 00ff", "1117 02 00fe");
        row("queue", "1118 04de", "1118 0006 0002 01b8 1284");
        row("exception", "1103 006b 0003", "1183 02");
        row("diagnostics", "1108 0000 a537", "1108 0000 a537", Kind::Answer, 50);
        row("a maker's own", "1142 01", "1142 aabbccdd", Kind::Answer, 50);
        row("another unit", "1103 006b 0003", "1203 06 022b00000064", Kind::Foreign);
        row("another function", "1103 006b 0003", "1104 06 022b00000064", Kind::Foreign);
        row("an exception of another function", "1103 006b 0003", "1184 02", Kind::Foreign);
        row("fewer registers", "1103 006b 0003", "1103 04 022b0000", Kind::Foreign);
        row("fewer coils", "1101 0013 0013", "1101 02 cd6b", Kind::Foreign);
        row("another register", "1106 0001 0003", "1106 0002 0003", Kind::Foreign);
        row("another value", "1106 0001 0003", "1106 0001 0004", Kind::Foreign);
        row("another mask", "1116 0004 00f2 0025", "1116 0004 00f2 0026", Kind::Foreign);
        row("a maker's own, another unit", "1142 01", "1242 aabb", Kind::Foreign, 50);
    }

    void endOfAnAnswer()
    {
        QFETCH(const QByteArray, request);
        QFETCH(const QByteArray, answer);
        QFETCH(const Kind, kind);
        QFETCH(const int, afterMs);
        for (const bool byteByByte : {false, true}) {
            ModbusAnswerFramer framer;
            framer.expect(request, 0);
            QList<ModbusAnswerFramer::Piece> pieces;
            for (qsizetype i = 0; i < answer.size(); i += byteByByte ? 1 : answer.size()) {
                QCOMPARE(pieces.size(), 0);
                pieces = framer.ingest(byteByByte ? answer.mid(i, 1) : answer, 40 * i);
            }
            if (afterMs > 0) {
                QCOMPARE(pieces.size(), 0);
                const qint64 lastMs = byteByByte ? 40 * (answer.size() - 1) : 0;
                QCOMPARE(framer.tick(lastMs + afterMs - 1).size(), 0);
                pieces = framer.tick(lastMs + afterMs);
            }
            QCOMPARE(pieces.size(), 1);
            QVERIFY(pieces.first().kind == kind);
            QCOMPARE(pieces.first().bytes, answer);
            QCOMPARE(framer.isExpecting(), kind != Kind::Answer);
            QCOMPARE(framer.nextTimeoutMs(100'000), -1);
        }
    }

    // A read that comes after the silence does not join what was there before, and a late owner
    // gets the same as an exact one.
    void lateReadDoesNotJoin()
    {
        ModbusAnswerFramer framer(4);
        framer.expect(rtu("1103 006b 0001"), 0);
        framer.ingest(rtu("1103 02 1234").left(3), 1);
        QCOMPARE(framer.nextTimeoutMs(2), 3);
        const auto pieces = framer.ingest(rtu("1103 02 1234"), 5000);
        QCOMPARE(pieces.size(), 2);
        QVERIFY(pieces[0].kind == Kind::Damaged && pieces[1].kind == Kind::Answer);
    }

    void nothingIsLostAndLittleHeld()
    {
        ModbusAnswerFramer framer;
        const QByteArray flood(10'000, '\x11');
        for (const bool expecting : {false, true}) {
            if (expecting)
                framer.expect(rtu("1103 006b 0001"), 0);
            qsizetype bytes = 0;
            for (const auto& piece : framer.ingest(flood, 0)) {
                QVERIFY(piece.kind == (expecting ? Kind::Damaged : Kind::Foreign));
                bytes += piece.bytes.size();
            }
            QVERIFY(framer.bufferedBytes() < ModbusAnswerFramer::kMaxFrameBytes);
            QCOMPARE(bytes + framer.bufferedBytes(), flood.size());
        }
        QCOMPARE(framer.expectNothing(1).size(), 1);
    }
};

QTEST_APPLESS_MAIN(tst_ModbusAnswerFramer)
#include "tst_modbusanswerframer.moc"
