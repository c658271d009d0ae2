#include "bridge/engine/bridgearbiter.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kTimeoutMs = 100;

// Takes the next turn and shows whose it is and what goes to the device; empty when nobody's turn
// has come.
QString nextTurn(BridgeArbiter& arbiter, qint64 nowMs)
{
    BridgeArbiter::Request request;
    if (!arbiter.takeNext(nowMs, &request))
        return {};
    return request.peerKey + u':' + QString::fromLatin1(request.bytes);
}

} // namespace

class tst_BridgeArbiter final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void oneRequestAtATimeInOrderOfArrival()
    {
        BridgeArbiter arbiter({}, kTimeoutMs);
        QCOMPARE(arbiter.nextTimeoutMs(0), -1);
        QCOMPARE(nextTurn(arbiter, 0), QString());
        arbiter.submit(u"a"_s, "1"_ba, 0);
        arbiter.submit(u"b"_s, "2"_ba, 1);
        arbiter.submit(u"a"_s, "3"_ba, 2);
        arbiter.submit(u"a"_s, {}, 2);
        QCOMPARE(arbiter.queuedRequests(), 3);
        QCOMPARE(arbiter.nextTimeoutMs(2), 0);
        QCOMPARE(arbiter.routeResponse(2), QString()); // nobody has asked yet

        QCOMPARE(nextTurn(arbiter, 2), u"a:1"_s);
        QCOMPARE(arbiter.windowOwner(), u"a"_s);
        QCOMPARE(nextTurn(arbiter, 3), QString());
        QCOMPARE(arbiter.nextTimeoutMs(3), kTimeoutMs - 1);
        arbiter.closeWindow();
        QCOMPARE(nextTurn(arbiter, 4), u"b:2"_s);
        arbiter.closeWindow();
        QCOMPARE(nextTurn(arbiter, 5), u"a:3"_s);
        arbiter.closeWindow();
        QCOMPARE(arbiter.timedOutRequests(), 0);
        QCOMPARE(arbiter.nextTimeoutMs(5), -1);
    }

    // A request at 0 with a deadline at 100; blocks come at the given times. Whoever looks first at
    // the deadline, a tick or a late block, ends the window.
    void windowEndsAtItsDeadline_data()
    {
        QTest::addColumn<QList<int>>("blocksMs");
        QTest::addColumn<QList<int>>("routedMs");
        QTest::addColumn<int>("deadlineMs");
        QTest::addColumn<int>("timedOut");
        QTest::newRow("no answer") << QList<int>{} << QList<int>{} << 100 << 1;
        QTest::newRow("answer just in time") << QList{99} << QList{99} << 199 << 0;
        QTest::newRow("answer at the deadline") << QList{100} << QList<int>{} << 100 << 1;
        QTest::newRow("answer in pieces") << QList{50, 149, 248} << QList{50, 149, 248} << 348 << 0;
        QTest::newRow("second piece late") << QList{50, 150} << QList{50} << 150 << 0;
    }

    void windowEndsAtItsDeadline()
    {
        QFETCH(const QList<int>, blocksMs);
        QFETCH(const int, deadlineMs);
        BridgeArbiter arbiter({}, kTimeoutMs);
        arbiter.submit(u"a"_s, "1"_ba, 0);
        arbiter.submit(u"b"_s, "2"_ba, 0);
        QCOMPARE(nextTurn(arbiter, 0), u"a:1"_s);
        QList<int> routedMs;
        for (const int blockMs : blocksMs) {
            if (arbiter.routeResponse(blockMs) == u"a"_s)
                routedMs.append(blockMs);
        }
        QTEST(routedMs, "routedMs");
        if (arbiter.isInFlight()) {
            QCOMPARE(arbiter.nextTimeoutMs(deadlineMs - 1), 1);
            QCOMPARE(nextTurn(arbiter, deadlineMs - 1), QString());
            QCOMPARE(arbiter.nextTimeoutMs(deadlineMs), 0);
        }
        QCOMPARE(nextTurn(arbiter, deadlineMs), u"b:2"_s);
        QTEST(int(arbiter.timedOutRequests()), "timedOut");
    }

    void fullQueueDropsTheOldest()
    {
        BridgeArbiter arbiter({}, kTimeoutMs);
        for (int i = 1; i <= 65; ++i)
            arbiter.submit(u"a"_s, QByteArray::number(i), 0);
        QCOMPARE(arbiter.queuedRequests(), 64);
        QCOMPARE(arbiter.droppedRequests(), 1);
        QCOMPARE(nextTurn(arbiter, 0), u"a:2"_s);

        arbiter.setMaxQueuedRequests(-5); // clamped to 1
        arbiter.submit(u"b"_s, "new"_ba, 0);
        QCOMPARE(arbiter.droppedRequests(), 64);
        arbiter.closeWindow();
        QCOMPARE(nextTurn(arbiter, 0), u"b:new"_s);
    }

    // A read that the owner hands over late does not join what was due long before.
    void lateReadIsARequestOfItsOwn()
    {
        BridgeArbiter arbiter({.mode = FramingMode::IdleGap, .idleGapMs = 4}, kTimeoutMs);
        arbiter.submit(u"a"_s, "1"_ba, 0);
        arbiter.submit(u"b"_s, "2"_ba, 2);
        arbiter.submit(u"a"_s, "3"_ba, 50);
        QCOMPARE(arbiter.queuedRequests(), 2);
        QCOMPARE(nextTurn(arbiter, 50), u"a:1"_s);
        // Nor does an overdue turn end only when somebody looks.
        arbiter.submit(u"b"_s, "4"_ba, 150);
        QCOMPARE(arbiter.timedOutRequests(), 1);
        QCOMPARE(nextTurn(arbiter, 150), u"b:2"_s);
    }

    void wholeRequestsAreNotFramedAgain()
    {
        BridgeArbiter arbiter({.mode = FramingMode::IdleGap}, kTimeoutMs);
        arbiter.submitRequest({.peerKey = u"a"_s, .bytes = "1"_ba, .tag = 11}, 0);
        arbiter.submitRequest({.peerKey = u"a"_s, .bytes = "2"_ba, .tag = 12}, 0);
        QCOMPARE(arbiter.queuedRequests(), 2);
        QCOMPARE(nextTurn(arbiter, 0), u"a:1"_s);
        QCOMPARE(arbiter.windowTag(), 11);
        // A block that is not the answer does not lengthen the turn; without its answer a request
        // with a tag has timed out, whatever came.
        arbiter.noteStray(90);
        QCOMPARE(arbiter.nextTimeoutMs(90), 10);
        arbiter.routeResponse(95);
        QCOMPARE(nextTurn(arbiter, 195), u"a:2"_s);
        const auto givenUp = arbiter.takeGivenUp();
        QCOMPARE(givenUp.size(), 1);
        QCOMPARE(givenUp.first().tag, 11);
        QVERIFY(givenUp.first().fate == BridgeArbiter::Fate::TimedOut);
        // A line that never falls silent does not keep its turn for ever.
        qint64 nowMs = 195;
        while (arbiter.isInFlight() && nowMs < 100'000)
            arbiter.routeResponse(nowMs += 50);
        QCOMPARE(nowMs, 195 + kTimeoutMs * BridgeArbiter::kMaxQuietTimes);
    }

    void lineFallsSilentBeforeTheNextTurn()
    {
        BridgeArbiter arbiter({}, kTimeoutMs);
        arbiter.setLineQuietMs(4, 30);
        for (const char* text : {"1", "2", "3", "4"})
            arbiter.submit(u"a"_s, text, 0);
        QCOMPARE(nextTurn(arbiter, 0), u"a:1"_s);
        arbiter.routeResponse(10);
        arbiter.closeWindow();
        QCOMPARE(arbiter.nextTimeoutMs(11), 3);
        QCOMPARE(nextTurn(arbiter, 13), QString());
        QCOMPARE(nextTurn(arbiter, 14), u"a:2"_s);
        // The silence counts from the deadline, and anew from each late block.
        QCOMPARE(arbiter.routeResponse(120), QString());
        QCOMPARE(nextTurn(arbiter, 149), QString());
        QCOMPARE(nextTurn(arbiter, 150), u"a:3"_s);
        // An owner that comes later than that finds the line free.
        QCOMPARE(nextTurn(arbiter, 280), u"a:4"_s);
        QCOMPARE(arbiter.timedOutRequests(), 2);
    }

    void memoryIsBounded()
    {
        BridgeArbiter arbiter({.mode = FramingMode::Delimiter, .maxFrameBytes = 1'048'576}, 100);
        for (int i = 0; i < BridgeArbiter::kMaxFramedPeers + 3; ++i)
            arbiter.submit(QString::number(i), "x"_ba, 0);
        QCOMPARE(arbiter.queuedRequests(), 3); // what the longest waiting had sent
        arbiter.reset();
        for (int i = 0; i < 20; ++i)
            arbiter.submit(QString::number(i), QByteArray(1'000'000, 'x'), i);
        QCOMPARE(arbiter.queuedRequests(), 4);
        QCOMPARE(nextTurn(arbiter, 20).left(2), u"0:"_s);
        arbiter.reset();
        for (int i = 0; i < 20; ++i)
            arbiter.submitRequest({.peerKey = u"a"_s, .bytes = QByteArray(1'000'000, 'x')}, 0);
        QCOMPARE(arbiter.queuedRequests(), 16);
        QCOMPARE(arbiter.droppedRequests(), 4);
        QCOMPARE(arbiter.takeGivenUp().size(), 4);
    }

    void leavingClientFreesTheLine()
    {
        BridgeArbiter arbiter({.mode = FramingMode::Delimiter}, kTimeoutMs);
        arbiter.submit(u"a"_s, "1\n2\nrest"_ba, 0);
        arbiter.submit(u"b"_s, "3\n"_ba, 0);
        QCOMPARE(nextTurn(arbiter, 0), u"a:1\n"_s);
        arbiter.forgetPeer(u"a"_s);
        QCOMPARE(arbiter.routeResponse(1), QString());
        QCOMPARE(nextTurn(arbiter, 1), u"b:3\n"_s);
        arbiter.forgetPeer(u"a"_s);
        QCOMPARE(arbiter.windowOwner(), u"b"_s);
        arbiter.tick(1000);
        QCOMPARE(arbiter.queuedRequests(), 0);
    }

    void requestsAreCutByEachClientsOwnFramer()
    {
        BridgeArbiter arbiter({.mode = FramingMode::IdleGap, .idleGapMs = 4}, kTimeoutMs);
        const QString peers = u"fbhcgade"_s;
        for (int i = 0; i < peers.size(); ++i)
            arbiter.submit(peers.at(i), "12"_ba, i / 4);
        arbiter.submit(u"f"_s, "34"_ba, 3);
        QCOMPARE(arbiter.nextTimeoutMs(3), 1);
        arbiter.tick(3);
        QCOMPARE(arbiter.queuedRequests(), 0);
        // All of them are due by now; they take their turns as they began.
        for (const QChar peer : u"bcfhadeg"_s) {
            QCOMPARE(nextTurn(arbiter, 7), peer + (peer == u'f' ? u":1234"_s : u":12"_s));
            arbiter.closeWindow();
        }

        arbiter.submit(u"d"_s, "56"_ba, 8);
        QCOMPARE(nextTurn(arbiter, 8), QString());
        QCOMPARE(arbiter.nextTimeoutMs(8), 4);
        arbiter.setFramingPolicy({.mode = FramingMode::FixedLength, .frameLength = 3});
        arbiter.submit(u"d"_s, "7"_ba, 9);
        QCOMPARE(arbiter.queuedRequests(), 1);
        arbiter.reset();
        QVERIFY(!arbiter.isInFlight());
        QCOMPARE(arbiter.nextTimeoutMs(9), -1);
    }

    void responseTimeoutIsClamped()
    {
        BridgeArbiter arbiter({}, 0);
        arbiter.submit(u"a"_s, "1"_ba, 0);
        arbiter.submit(u"a"_s, "2"_ba, 0);
        QCOMPARE(nextTurn(arbiter, 0), u"a:1"_s);
        QCOMPARE(arbiter.nextTimeoutMs(0), 1);
        arbiter.setResponseTimeoutMs(600'001);
        QCOMPARE(nextTurn(arbiter, 1), u"a:2"_s);
        QCOMPARE(arbiter.nextTimeoutMs(1), 600'000);
        arbiter.setResponseTimeoutMs(50);
        QCOMPARE(arbiter.nextTimeoutMs(1), 600'000); // the open window keeps its deadline
        arbiter.routeResponse(2);
        QCOMPARE(arbiter.nextTimeoutMs(2), 50);
    }
};

QTEST_APPLESS_MAIN(tst_BridgeArbiter)
#include "tst_bridgearbiter.moc"
