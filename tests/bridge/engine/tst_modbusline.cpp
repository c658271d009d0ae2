#include "bridge/engine/modbusline.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kResponseMs = 200;
constexpr int kTransactionMs = 1000;

QByteArray rtu(const char* digits)
{
    return ModbusGateway::appendCrc(QByteArray::fromHex(digits));
}

// Reads one register of unit 7 at an address; the answer carries the same number as its value.
QByteArray ask(quint16 transactionId, quint8 address = 0)
{
    return ModbusGateway::buildMbap(transactionId, 7,
        QByteArray::fromHex("0300") + char(address) + QByteArray::fromHex("0001"));
}

QByteArray answer(quint8 value)
{
    return ModbusGateway::appendCrc(QByteArray::fromHex("07030200") + char(value));
}

// What reached clients, each as "client:transaction identifier".
QStringList heard(const ModbusLine::Output& output)
{
    QStringList list;
    for (const ModbusLine::ToClient& to : output.toClients)
        list.append(to.peerKey + u':' + QString::fromLatin1(to.bytes.left(2).toHex()));
    return list;
}

QList<ModbusLine::Outcome> outcomes(const ModbusLine::Output& output)
{
    QList<ModbusLine::Outcome> list;
    for (const ModbusLine::Transaction& transaction : output.ended)
        list.append(transaction.outcome);
    return list;
}

} // namespace

class tst_ModbusLine final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void requestsOfOneReadTakeTheirTurns()
    {
        ModbusLine line(kResponseMs, kTransactionMs);
        QCOMPARE(line.fromClient(u"a"_s, ask(1) + ask(2), 0).toLine, rtu("070300000001"));
        QCOMPARE(line.fromClient(u"b"_s, ask(3), 1).toLine, QByteArray());
        // The last byte of the answer ends the turn, not a silence behind it.
        QCOMPARE(heard(line.fromLine(answer(1).left(6), 5)), QStringList());
        auto output = line.fromLine(answer(1).mid(6), 9);
        QCOMPARE(heard(output), QStringList{u"a:0001"_s});
        QCOMPARE(output.toLine, rtu("070300000001"));
        QCOMPARE(output.ended.first().answer, answer(1));
        QCOMPARE(output.ended.first().endedMs, 9);
        QCOMPARE(heard(line.fromLine(answer(2), 10)), QStringList{u"a:0002"_s});
        QCOMPARE(heard(line.fromLine(answer(3), 11)), QStringList{u"b:0003"_s});
        QCOMPARE(line.openTransactions(), 0);
        QCOMPARE(line.nextTimeoutMs(11), -1);
    }

    // The device is silent, then answers after its time-out. That answer is nobody's.
    void lateAnswerReachesNobody_data()
    {
        QTest::addColumn<int>("lateMs");
        QTest::addColumn<int>("nextSentMs");
        QTest::newRow("before the next request") << kResponseMs + 10 << kResponseMs + 60;
        QTest::newRow("never") << -1 << kResponseMs + 50;
    }

    void lateAnswerReachesNobody()
    {
        QFETCH(const int, lateMs);
        QFETCH(const int, nextSentMs);
        ModbusLine line(kResponseMs, kTransactionMs);
        line.fromClient(u"a"_s, ask(1), 0);
        line.fromClient(u"b"_s, ask(2), 0);
        QCOMPARE(line.nextTimeoutMs(0), kResponseMs);
        auto output = line.tick(kResponseMs);
        QCOMPARE(outcomes(output), QList{ModbusLine::Outcome::TimedOut});
        QCOMPARE(output.toLine, QByteArray());
        if (lateMs >= 0) {
            QCOMPARE(heard(line.fromLine(answer(1), lateMs)), QStringList());
            QCOMPARE(line.counters().foreignFrames, 1);
        }
        QCOMPARE(line.tick(nextSentMs - 1).toLine, QByteArray());
        QVERIFY(!line.tick(nextSentMs).toLine.isEmpty());
        QCOMPARE(heard(line.fromLine(answer(2), nextSentMs + 5)), QStringList{u"b:0002"_s});
    }

    // Behind a slow device a request can wait longer than a transaction may take.
    void waitingForATurnCostsNoTransactionTime()
    {
        ModbusLine line(kResponseMs, 300);
        for (int i = 0; i < 4; ++i)
            line.fromClient(u"a"_s, ask(quint16(i)), 0);
        for (int i = 0; i < 4; ++i) {
            const auto output = line.fromLine(answer(1), 150 * (i + 1));
            QCOMPARE(output.toClients.size(), 1);
            QCOMPARE(outcomes(output), QList{ModbusLine::Outcome::Answered});
        }
        // Nor does a long way out of the port.
        line.fromClient(u"a"_s, ask(9), 1000);
        line.lineDrained(1190);
        QCOMPARE(line.nextTimeoutMs(1190), kResponseMs);
        QCOMPARE(heard(line.fromLine(answer(1), 1389)), QStringList{u"a:0009"_s});
    }

    void whatIsNoAnswerLeavesTheTurn_data()
    {
        QTest::addColumn<QByteArray>("noise");
        QTest::addColumn<int>("foreign");
        QTest::addColumn<int>("damaged");
        QByteArray wrongSum = answer(1);
        wrongSum[3] = char(wrongSum[3] ^ 1);
        QTest::newRow("another unit") << rtu("0803020001") << 1 << 0;
        QTest::newRow("another function") << rtu("0704020001") << 1 << 0;
        QTest::newRow("another number of registers") << rtu("07030400010002") << 1 << 0;
        QTest::newRow("wrong checksum") << wrongSum << 0 << 1;
        QTest::newRow("half an answer") << answer(1).left(5) << 0 << 1;
        QTest::newRow("a flood") << QByteArray(1000, 'x') << 0 << 4;
    }

    void whatIsNoAnswerLeavesTheTurn()
    {
        QFETCH(const QByteArray, noise);
        ModbusLine line(kResponseMs, kTransactionMs);
        line.fromClient(u"a"_s, ask(1), 0);
        QCOMPARE(heard(line.fromLine(noise, 10)), QStringList());
        QCOMPARE(heard(line.tick(70)), QStringList());
        QTEST(int(line.counters().foreignFrames), "foreign");
        QTEST(int(line.counters().damagedFrames), "damaged");
        QCOMPARE(heard(line.fromLine(answer(1), 80)), QStringList{u"a:0001"_s});
    }

    void answerThatComesTwiceCountsOnce()
    {
        ModbusLine line(kResponseMs, kTransactionMs);
        line.setLineQuietMs(4, 50);
        line.fromClient(u"a"_s, ask(1), 0);
        line.fromClient(u"b"_s, ask(2), 0);
        const auto output = line.fromLine(answer(1) + answer(1), 10);
        QCOMPARE(heard(output), QStringList{u"a:0001"_s});
        QCOMPARE(output.toLine, QByteArray());
        QCOMPARE(heard(line.fromLine(answer(1), 12)), QStringList());
        QCOMPARE(line.nextTimeoutMs(12), 4);
        QVERIFY(!line.tick(16).toLine.isEmpty());
        QCOMPARE(line.counters().foreignFrames, 2);
    }

    void deviceExceptionIsAnAnswer()
    {
        ModbusLine line(kResponseMs, kTransactionMs);
        line.fromClient(u"a"_s, ask(1), 0);
        const auto output = line.fromLine(rtu("078302"), 5);
        QCOMPARE(output.toClients.first().bytes, QByteArray::fromHex("0001 0000 0003 07 8302"));
    }

    void broadcastHasNoAnswer()
    {
        ModbusLine line(kResponseMs, kTransactionMs);
        const QByteArray broadcast =
            ModbusGateway::buildMbap(1, 0, QByteArray::fromHex("0600010002"));
        auto output = line.fromClient(u"a"_s, broadcast + ask(2), 0);
        QCOMPARE(output.toLine, rtu("000600010002"));
        QCOMPARE(outcomes(output), QList{ModbusLine::Outcome::Broadcast});
        // Nobody answers it; a device that does is not heard.
        QCOMPARE(heard(line.fromLine(rtu("000600010002"), 5)), QStringList());
        QCOMPARE(line.nextTimeoutMs(5), 95);
        QVERIFY(!line.tick(100).toLine.isEmpty());
        QCOMPARE(line.arbiter().timedOutRequests(), 0);
    }

    void malformedClientIsClosedAndNoOtherHarmed()
    {
        ModbusLine line(kResponseMs, kTransactionMs);
        line.fromClient(u"b"_s, ask(1), 0);
        auto output = line.fromClient(u"a"_s, ask(2) + QByteArray::fromHex("00010001000607"), 1);
        QCOMPARE(output.closeClients, QStringList{u"a"_s});
        QCOMPARE(outcomes(output), QList{ModbusLine::Outcome::Abandoned});
        // What is under way from it before it is closed must not be guessed at.
        output = line.fromClient(u"a"_s, ask(3), 2);
        QCOMPARE(output.closeClients, QStringList());
        QCOMPARE(heard(line.fromLine(answer(1), 3)), QStringList{u"b:0001"_s});
        QCOMPARE(line.openTransactions(), 0);
        line.clientGone(u"a"_s, 4);
        QVERIFY(!line.fromClient(u"a"_s, ask(4), 5).toLine.isEmpty());
    }

    void clientsAndRequestsAreBounded()
    {
        ModbusLine line(kResponseMs, kTransactionMs);
        for (int i = 0; i < ModbusLine::kMaxClients; ++i)
            line.fromClient(QString::number(i), ask(1), 0);
        QCOMPARE(
            line.fromClient(u"one more"_s, ask(1), 0).closeClients, QStringList{u"one more"_s});
        QCOMPARE(line.clients(), ModbusLine::kMaxClients);
        QCOMPARE(line.openTransactions(), 1 + BridgeArbiter::kDefaultMaxQueuedRequests);
        // A read of more requests than anything queues.
        const auto output = line.fromClient(u"0"_s, ask(1).repeated(10'000), 0);
        QCOMPARE(output.ended.size(), 10'000);
        QCOMPARE(line.openTransactions(), 1 + BridgeArbiter::kDefaultMaxQueuedRequests);
    }

    // The device does not know that the client has left, and answers; the next one waits for that.
    void answerToAClientThatLeftReachesNobody()
    {
        ModbusLine line(kResponseMs, kTransactionMs);
        line.fromClient(u"a"_s, ask(1), 0);
        line.fromClient(u"b"_s, ask(2), 0);
        auto output = line.clientGone(u"a"_s, 10);
        QCOMPARE(outcomes(output), QList{ModbusLine::Outcome::Abandoned});
        QCOMPARE(output.toLine, QByteArray());
        output = line.fromLine(answer(1), 50);
        QCOMPARE(heard(output), QStringList());
        QVERIFY(!output.toLine.isEmpty());
        QCOMPARE(heard(line.fromLine(answer(2), 60)), QStringList{u"b:0002"_s});
    }

    void unansweredRequestsCanBeToldToTheClient_data()
    {
        QTest::addColumn<bool>("told");
        QTest::newRow("by default not") << false;
        QTest::newRow("by an exception") << true;
    }

    void unansweredRequestsCanBeToldToTheClient()
    {
        QFETCH(const bool, told);
        ModbusLine line(kResponseMs, kTransactionMs);
        line.setExceptionsForUnanswered(told);
        line.setMaxQueuedRequests(1);
        line.fromClient(u"a"_s, ask(1), 0);
        const auto dropped = line.fromClient(u"b"_s, ask(2) + ask(3), 0);
        const auto timedOut = line.tick(kResponseMs);
        QCOMPARE(outcomes(dropped), QList{ModbusLine::Outcome::Dropped});
        QCOMPARE(outcomes(timedOut), QList{ModbusLine::Outcome::TimedOut});
        if (!told) {
            QVERIFY(dropped.toClients.isEmpty() && timedOut.toClients.isEmpty());
            return;
        }
        QCOMPARE(dropped.toClients.first().bytes, QByteArray::fromHex("0002 0000 0003 07 830a"));
        QCOMPARE(timedOut.toClients.first().bytes, QByteArray::fromHex("0001 0000 0003 07 830b"));
    }

    // An answer of a length that only its silence tells is complete at that silence, even if the
    // owner looks long after the deadline.
    void lateOwnerGetsWhatAnExactOneGot()
    {
        for (const bool exact : {true, false}) {
            ModbusLine line(kResponseMs, kTransactionMs);
            line.fromClient(u"a"_s, ModbusGateway::buildMbap(1, 7, QByteArray::fromHex("4201")), 0);
            line.fromLine(rtu("0742aabb"), 180);
            const int dueMs = 180 + line.nextTimeoutMs(180);
            QCOMPARE(dueMs, 230);
            const auto output = line.tick(exact ? dueMs : 5000);
            QCOMPARE(heard(output), QStringList{u"a:0001"_s});
            QCOMPARE(outcomes(output), QList{ModbusLine::Outcome::Answered});
        }
    }
};

QTEST_APPLESS_MAIN(tst_ModbusLine)
#include "tst_modbusline.moc"
