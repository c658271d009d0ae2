#include "bridge/engine/modbusgateway.h"

#include <QRandomGenerator>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kTimeoutMs = 1000;

QByteArray hex(const char* digits)
{
    return QByteArray::fromHex(digits);
}

QByteArray rtu(const char* digits)
{
    return ModbusGateway::appendCrc(hex(digits));
}

// A request for one register from the unit, and the unit's answer.
QByteArray readRequest(quint16 transactionId, quint8 unitId)
{
    return ModbusGateway::buildMbap(transactionId, unitId, hex("0300000001"));
}

QByteArray readAnswer(quint8 unitId)
{
    return ModbusGateway::appendCrc(QByteArray(1, char(unitId)) + hex("03021234"));
}

} // namespace

class tst_ModbusGateway final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void requestAndAnswer()
    {
        ModbusGateway gateway(kTimeoutMs);
        QCOMPARE(gateway.tcpToRtu(hex("1501 0000 0006 11 03006b0003"), 0),
            QList{hex("1103006b0003 7687")});
        QCOMPARE(gateway.rtuToTcp(rtu("1103 06 ae415652 4340"), 1),
            hex("1501 0000 0009 11 0306ae4156524340"));
        QCOMPARE(gateway.pendingTransactions(), 0);
        // An exception response is an answer like any other.
        gateway.tcpToRtu(readRequest(0xfffe, 0xff), 2);
        QCOMPARE(gateway.rtuToTcp(rtu("ff8302"), 3), hex("fffe 0000 0003 ff 8302"));
    }

    void answersGoToTheOldestRequestOfTheirUnit()
    {
        ModbusGateway gateway(kTimeoutMs);
        const QList<QByteArray> frames =
            gateway.tcpToRtu(readRequest(1, 7) + readRequest(2, 8) + readRequest(3, 7), 0);
        QCOMPARE(frames.size(), 3);
        QCOMPARE(gateway.rtuToTcp(readAnswer(8), 1).left(2), hex("0002"));
        QCOMPARE(gateway.rtuToTcp(readAnswer(7), 2).left(2), hex("0001"));
        QCOMPARE(gateway.rtuToTcp(readAnswer(7), 3).left(2), hex("0003"));
        QCOMPARE(gateway.rtuToTcp(readAnswer(7), 4), QByteArray());
        QCOMPARE(gateway.counters().unmatchedAnswers, 1);
    }

    void headerDecidesWhatIsMalformed_data()
    {
        QTest::addColumn<QByteArray>("stream");
        QTest::addColumn<int>("frames");
        QTest::addColumn<int>("malformed");
        QTest::addColumn<int>("buffered");
        const QByteArray good = readRequest(1, 7);
        QTest::newRow("protocol identifier 1") << hex("0001 0001 0006 07") << 0 << 1 << 0;
        QTest::newRow("length 1") << hex("0001 0000 0001 07") << 0 << 1 << 0;
        QTest::newRow("length 255") << hex("0001 0000 00ff 07") << 0 << 1 << 0;
        QTest::newRow("length 512") << hex("0001 0000 0200 07") << 0 << 1 << 0;
        QTest::newRow("length 2") << hex("0001 0000 0002 07 11") << 1 << 0 << 0;
        QTest::newRow("length 254") << hex("0001 0000 00fe") + QByteArray(254, '\7') << 1 << 0 << 0;
        QTest::newRow("length 254, one byte missing")
            << hex("0001 0000 00fe") + QByteArray(253, '\7') << 0 << 0 << 259;
        QTest::newRow("half a header is not judged") << hex("0001 0001 00ff") << 0 << 0 << 6;
        QTest::newRow("what follows a malformed header is dropped")
            << good + hex("0001 0001 0006 07") + good << 1 << 1 << 0;
    }

    void headerDecidesWhatIsMalformed()
    {
        QFETCH(const QByteArray, stream);
        ModbusGateway gateway(kTimeoutMs);
        QTEST(int(gateway.tcpToRtu(stream, 0).size()), "frames");
        QTEST(int(gateway.counters().malformedHeaders), "malformed");
        QTEST(int(gateway.bufferedBytes()), "buffered");
        // Where the next request starts can only be guessed, and a guess would reach the device.
        QFETCH(const int, malformed);
        QCOMPARE(gateway.isBroken(), malformed > 0);
        if (gateway.isBroken()) {
            QCOMPARE(gateway.tcpToRtu(readRequest(2, 7), 0).size(), 0);
            gateway.reset();
        }
        if (gateway.bufferedBytes() == 0)
            QCOMPARE(gateway.tcpToRtu(readRequest(3, 7), 0).size(), 1);
    }

    void badAnswersAreCounted()
    {
        const QByteArray badFrames[] = {{}, rtu("07"), readAnswer(7).replace(6, 1, "x"_ba),
            readAnswer(7).replace(4, 1, "x"_ba),
            ModbusGateway::appendCrc(QByteArray(65'536, '\7'))}; // beyond a 16-bit length
        for (const QByteArray& frame : badFrames) {
            ModbusGateway gateway(kTimeoutMs);
            gateway.tcpToRtu(readRequest(1, 7), 0);
            QCOMPARE(gateway.rtuToTcp(frame, 1), QByteArray());
            QCOMPARE(gateway.counters().badRtuFrames, 1);
            QCOMPARE(gateway.pendingTransactions(), 1);
        }
    }

    void transactionsExpireAfterTheTimeout()
    {
        ModbusGateway gateway(kTimeoutMs);
        QCOMPARE(gateway.nextTimeoutMs(0), -1);
        gateway.tcpToRtu(readRequest(1, 7), 500);
        gateway.tcpToRtu(readRequest(2, 7), 600);
        QCOMPARE(gateway.nextTimeoutMs(600), 900);
        gateway.tick(1500);
        QCOMPARE(gateway.counters().expiredTransactions, 0);
        QCOMPARE(gateway.nextTimeoutMs(1500), 1);
        QCOMPARE(gateway.nextTimeoutMs(1700), 0);
        gateway.tick(1501);
        QCOMPARE(gateway.counters().expiredTransactions, 1);
        QCOMPARE(gateway.nextTimeoutMs(1501), 99);
        QCOMPARE(gateway.rtuToTcp(readAnswer(7), 1501).left(2), hex("0002"));
    }

    // On a line with turns a request waits for as long as it takes, and only what went out can be
    // answered.
    void requestsThatTakeTurns()
    {
        ModbusGateway gateway(kTimeoutMs);
        const auto requests = gateway.takeRequests(
            readRequest(1, 7) + readRequest(2, 7) + readRequest(3, 7) + readRequest(4, 0), 0);
        QCOMPARE(requests.size(), 4);
        QCOMPARE(gateway.nextTimeoutMs(0), -1);
        QCOMPARE(gateway.rtuToTcp(readAnswer(7), 9000), QByteArray());
        QCOMPARE(gateway.pendingTransactions(), 4);

        QVERIFY(gateway.noteSent(requests[0].id, 10'000));
        QCOMPARE(gateway.nextTimeoutMs(10'000), kTimeoutMs);
        gateway.forget(requests[0].id);
        QCOMPARE(gateway.rtuToTcp(readAnswer(7), 10'001), QByteArray()); // late
        QVERIFY(gateway.noteSent(requests[1].id, 10'100));
        QCOMPARE(gateway.rtuToTcp(rtu("0704021234"), 10'101), QByteArray()); // another function
        QCOMPARE(gateway.rtuToTcp(readAnswer(7), 10'102).left(2), hex("0002"));
        QCOMPARE(gateway.counters().unmatchedAnswers, 3);

        QVERIFY(requests[3].broadcast && !requests[2].broadcast);
        QVERIFY(gateway.noteSent(requests[3].id, 10'200));
        QCOMPARE(gateway.pendingTransactions(), 1);
        QCOMPARE(gateway.fail(requests[2].id, ModbusGateway::ExceptionCode::TargetFailedToRespond),
            hex("0003 0000 0003 07 830b"));
        QVERIFY(!gateway.noteSent(requests[2].id, 10'300));
        QCOMPARE(gateway.pendingTransactions(), 0);
    }

    // Overdue is overdue, whoever asks first.
    void lateAnswerFindsNoTransaction()
    {
        ModbusGateway gateway(kTimeoutMs);
        gateway.tcpToRtu(readRequest(1, 7), 0);
        gateway.tcpToRtu(readRequest(2, 7), 500);
        QCOMPARE(gateway.rtuToTcp(readAnswer(7), 1001).left(2), hex("0002"));
        QCOMPARE(gateway.counters().expiredTransactions, 1);
    }

    void timeoutIsClamped()
    {
        ModbusGateway gateway(0);
        gateway.tcpToRtu(readRequest(1, 7), 0);
        QCOMPARE(gateway.nextTimeoutMs(0), 1);
        gateway.setTransactionTimeoutMs(600'001);
        QCOMPARE(gateway.nextTimeoutMs(0), 600'000);
    }

    void fullPendingListEvictsTheOldest()
    {
        ModbusGateway gateway(kTimeoutMs);
        for (quint16 id = 1; id <= 33; ++id)
            QCOMPARE(gateway.tcpToRtu(readRequest(id, 7), 0).size(), 1);
        QCOMPARE(gateway.pendingTransactions(), 32);
        QCOMPARE(gateway.counters().expiredTransactions, 1);
        QCOMPARE(gateway.rtuToTcp(readAnswer(7), 0).left(2), hex("0002"));

        gateway.setMaxPendingTransactions(0); // clamped to 1
        gateway.tcpToRtu(readRequest(99, 7), 0);
        QCOMPARE(gateway.pendingTransactions(), 1);
        gateway.setMaxPendingTransactions(100'000); // clamped to 4096
        for (quint16 id = 0; id < 5000; ++id)
            gateway.tcpToRtu(readRequest(id, 7), 0);
        QCOMPARE(gateway.pendingTransactions(), 4096);
        gateway.tcpToRtu(hex("0001 00"), 0);
        gateway.reset();
        QCOMPARE(gateway.pendingTransactions(), 0);
        QCOMPARE(gateway.bufferedBytes(), 0);
    }

    void splitsOfTheStreamDoNotMatter()
    {
        QRandomGenerator random(11);
        QByteArray stream;
        QList<QByteArray> expected;
        for (quint16 id = 0; id < 300; ++id) {
            const auto unitId = quint8(random.bounded(256));
            const QByteArray pdu(random.bounded(1, 254), char(random.bounded(256)));
            stream += ModbusGateway::buildMbap(id, unitId, pdu);
            expected += ModbusGateway::appendCrc(QByteArray(1, char(unitId)) + pdu);
        }
        for (const int longest : {1, 3, 40, 1000, 100'000}) {
            ModbusGateway gateway(kTimeoutMs);
            QList<QByteArray> frames;
            for (qsizetype at = 0; at < stream.size();) {
                const QByteArray read = stream.mid(at, random.bounded(1, longest + 1));
                frames += gateway.tcpToRtu(read, 0);
                at += read.size();
                QVERIFY(gateway.bufferedBytes() < ModbusGateway::kMaxMbapFrameBytes);
            }
            QCOMPARE(frames, expected);
        }
    }
};

QTEST_APPLESS_MAIN(tst_ModbusGateway)
#include "tst_modbusgateway.moc"
