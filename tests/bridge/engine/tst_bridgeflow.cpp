#include "bridge/engine/bridgeflow.h"
#include "bridge/engine/bridgesink.h"

#include <QRandomGenerator>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// A port's sending side: takes at most `room` bytes a call and reports what it was told to hold.
class Sink final : public BridgeSink
{
public:
    bool isWritable() const override { return writable; }
    qint64 pendingWriteBytes() const override { return pending; }

    BridgeWrite write(QByteArrayView bytes) override
    {
        if (bytes.size() > largest)
            return BridgeWrite::refusal(u"too long"_s);
        const QByteArrayView part = bytes.first(qMin<qint64>(bytes.size(), room));
        taken.append(part.data(), part.size());
        if (countsPending)
            pending += part.size();
        if (reportsAtOnce)
            reportsAtOnce();
        return BridgeWrite::took(part.size());
    }

    QByteArray taken;
    std::function<void()> reportsAtOnce;
    qint64 pending = 0;
    qint64 room = 1'000'000;
    qint64 largest = 1'000'000;
    bool writable = true;
    bool countsPending = false;
};

// A flow with its sink and a record of what the source was told.
struct Rig
{
    explicit Rig(const FlowControlPolicy& policy = {}, const FramingPolicy& framing = {})
    {
        flow.setSink(&sink);
        flow.setThrottleCallback([this](bool on) { throttles.append(on); });
        flow.setFramingPolicy(framing);
        flow.setFlowControlPolicy(policy);
    }

    void ingest(qint64 bytes, qint64 nowMs) { flow.ingest(QByteArray(bytes, 'x'), nowMs, {}); }

    Sink sink;
    QList<bool> throttles;
    BridgeFlow flow;
};

const FramingPolicy kFixed6{.mode = FramingMode::FixedLength, .frameLength = 6};

} // namespace

class tst_BridgeFlow final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sinkDecidesHowMuchGoesOut_data()
    {
        QTest::addColumn<bool>("writable");
        QTest::addColumn<qint64>("pending");
        QTest::addColumn<qint64>("room");
        QTest::addColumn<qint64>("taken");
        QTest::newRow("free") << true << 0LL << 100'000LL << 10'000LL;
        QTest::newRow("below the ceiling") << true << 65'535LL << 100'000LL << 4096LL;
        QTest::newRow("at the ceiling") << true << 65'536LL << 100'000LL << 0LL;
        QTest::newRow("not writable") << false << 0LL << 100'000LL << 0LL;
        QTest::newRow("takes nothing") << true << 0LL << 0LL << 0LL;
        QTest::newRow("takes parts of frames") << true << 0LL << 7LL << 10'000LL;
    }

    void sinkDecidesHowMuchGoesOut()
    {
        QFETCH(const bool, writable);
        QFETCH(const qint64, pending);
        QFETCH(const qint64, room);
        QFETCH(const qint64, taken);
        Rig rig;
        rig.sink.countsPending = true;
        rig.sink.writable = writable;
        rig.sink.pending = pending;
        rig.sink.room = room;
        rig.ingest(10'000, 5);
        QCOMPARE(rig.sink.taken.size(), taken);
        QCOMPARE(rig.flow.stats().bytesOut, taken);
        QCOMPARE(rig.flow.stats().bytesIn, 10'000);
        QCOMPARE(rig.flow.stats().framesOut, 3);
        QCOMPARE(rig.flow.stats().queuedBytes, 10'000 - taken);
        QCOMPARE(rig.flow.nextTimeoutMs(5), taken == 10'000 ? -1 : 20);
        QCOMPARE(rig.flow.isIdle(), taken == 10'000);
    }

    // As a datagram socket does.
    void aSinkThatReportsFromInsideTheWriteGetsNothingTwice()
    {
        Rig rig;
        rig.sink.reportsAtOnce = [&] { rig.flow.drain(1); };
        rig.ingest(10'000, 1);
        QCOMPARE(rig.sink.taken.size(), 10'000);
        QCOMPARE(rig.flow.stats().bytesOut, 10'000);
    }

    // As a UDP socket does with more than a datagram can hold.
    void refusedFrameIsDroppedAndCounted()
    {
        Rig rig;
        rig.sink.largest = 1000;
        rig.ingest(1001, 1);
        rig.ingest(10, 2);
        QCOMPARE(rig.sink.taken.size(), 10);
        QCOMPARE(rig.flow.stats().refusedFrames, 1);
        QCOMPARE(rig.flow.stats().droppedBytes, 1001);
        QCOMPARE(rig.flow.stats().bytesOut, 10);
        QCOMPARE(rig.flow.lastRefusal(), u"too long"_s);
        QCOMPARE(rig.flow.nextTimeoutMs(2), -1);
    }

    void broadcastHasOneOutcome_data()
    {
        QTest::addColumn<QList<BridgeWrite>>("peers");
        QTest::addColumn<int>("taken");
        QTest::addColumn<int>("missed");
        QTest::addColumn<bool>("refused");
        QTest::addColumn<QString>("reason");
        using Peers = QList<BridgeWrite>;
        const BridgeWrite ok = BridgeWrite::took(8);
        const BridgeWrite full = BridgeWrite::blocked();
        const BridgeWrite bad = BridgeWrite::refusal(u"gone"_s);
        QTest::newRow("all") << Peers{ok, ok} << 8 << 0 << false << QString();
        QTest::newRow("one is bad") << Peers{ok, bad, ok} << 8 << 1 << false << u"gone"_s;
        QTest::newRow("one is full") << Peers{full, ok} << 8 << 1 << false << QString();
        QTest::newRow("none yet") << Peers{full, bad} << 0 << 0 << false << QString();
        QTest::newRow("none ever") << Peers{bad, bad} << 0 << 0 << true << u"gone"_s;
        QTest::newRow("nobody there") << Peers{} << 0 << 0 << true << QString();
    }

    void broadcastHasOneOutcome()
    {
        QFETCH(const QList<BridgeWrite>, peers);
        const BridgeWrite outcome = BridgeWrite::broadcast(peers, 8);
        QTEST(int(outcome.taken), "taken");
        QTEST(outcome.missedPeers, "missed");
        QTEST(outcome.refused, "refused");
        QTEST(outcome.reason, "reason");
    }

    // The window was blocked for 5 s: what was due by then is a frame of its own, and what the sink
    // has room for by now leaves the queue first.
    void lateReadDoesNotJoinWhatWasDue()
    {
        Rig rig({.capacityBytes = 8, .highWaterBytes = 8, .lowWaterBytes = 0}, kFixed6);
        rig.ingest(4, 0);
        rig.ingest(6, 5000);
        QCOMPARE(rig.flow.stats().framesOut, 2);
        QCOMPARE(rig.sink.taken.size(), 10);
        rig.sink.writable = false;
        rig.ingest(6, 5001);
        rig.sink.writable = true;
        rig.ingest(6, 5100);
        QCOMPARE(rig.flow.stats().droppedFrames, 0);
        rig.ingest(3, 6000);
        rig.flow.drain(6200);
        QCOMPARE(rig.sink.taken.size(), 25);
    }

    void queueThrottlesTheSource()
    {
        Rig rig;
        rig.sink.writable = false;
        rig.ingest(196'607, 10);
        QCOMPARE(rig.throttles, QList<bool>());
        rig.ingest(1, 20);
        rig.ingest(1, 30);
        QCOMPARE(rig.throttles, QList{true});
        QCOMPARE(rig.flow.throttledMs(50), 30);

        // The sink has room again and says so: no tick is needed for the source to go on.
        rig.sink.writable = rig.sink.countsPending = true;
        rig.sink.pending = 65'536 - 131'072;
        rig.sink.room = 1;
        rig.flow.drain(110);
        QCOMPARE(rig.flow.stats().queuedBytes, 65'537);
        QCOMPARE(rig.throttles, QList{true});
        rig.sink.pending -= 1;
        rig.flow.drain(120);
        QCOMPARE(rig.throttles, (QList{true, false}));
        QCOMPARE(rig.flow.throttledMs(500), 100);
        QCOMPARE(rig.flow.stats().peakQueuedBytes, 196'609);
    }

    void ownerHoldsTheSource()
    {
        Rig rig;
        rig.flow.setHeld(true, 10);
        rig.flow.tick(15);
        QCOMPARE(rig.throttles, QList{true});
        rig.flow.suspend(u"cable pulled"_s);
        QCOMPARE(rig.throttles, (QList{true, false}));
        rig.flow.resume(20);
        QCOMPARE(rig.throttles, (QList{true, false, true}));
        rig.flow.setHeld(false, 30);
        QCOMPARE(rig.throttles, (QList{true, false, true, false}));
        QCOMPARE(rig.flow.throttledMs(30), 15);
    }

    void overflowStopsTheFlow()
    {
        Rig rig({.capacityBytes = 10,
                    .highWaterBytes = 5,
                    .overflowPolicy = OverflowPolicy::StopBridge},
            kFixed6);
        rig.sink.writable = false;
        rig.ingest(6, 0);
        QCOMPARE(rig.throttles, QList{true});
        rig.ingest(18, 1);
        QVERIFY(rig.flow.isSuspended());
        QCOMPARE(rig.flow.suspensionReason(), u"Egress queue overflowed"_s);
        QCOMPARE(rig.flow.stats().droppedFrames, 1);
        QCOMPARE(rig.flow.stats().droppedBytes, 6);
        QCOMPARE(rig.throttles, (QList{true, false}));
        QCOMPARE(rig.flow.nextTimeoutMs(1), -1);

        rig.flow.suspend(u"later"_s);
        rig.ingest(100, 2);
        QCOMPARE(rig.flow.stats().bytesIn, 24);
        QCOMPARE(rig.flow.stats().discardedBytes, 12 + 100);
        rig.sink.writable = true;
        rig.flow.resume(3);
        QCOMPARE(rig.sink.taken.size(), 6);
        QVERIFY(rig.flow.suspensionReason().isEmpty());
        QCOMPARE(rig.flow.lastError(), u"Egress queue overflowed"_s);
        rig.ingest(6, 4);
        QCOMPARE(rig.sink.taken.size(), 12);
    }

    // 1000 bytes, a read of the given size 1 ms before the window of 3000 ms ends, 1000 bytes at
    // its end.
    void floodGuard_data()
    {
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<bool>("bytesGoOut");
        QTest::addColumn<qint64>("secondRead");
        QTest::addColumn<bool>("trips");
        const qint64 atThreshold = 2000 * 3 - 2000;
        QTest::newRow("at the threshold") << true << true << atThreshold << false;
        QTest::newRow("above the threshold") << true << true << atThreshold + 3 << true;
        QTest::newRow("nothing goes out") << true << false << atThreshold + 3 << false;
        QTest::newRow("guard off") << false << true << atThreshold + 3 << false;
    }

    void floodGuard()
    {
        QFETCH(const bool, enabled);
        QFETCH(const bool, bytesGoOut);
        QFETCH(const qint64, secondRead);
        QFETCH(const bool, trips);
        Rig rig({.floodGuardEnabled = enabled, .floodBytesPerSecond = 2000, .floodWindowMs = 3000});
        rig.sink.writable = bytesGoOut;
        rig.ingest(1000, 0);
        rig.ingest(secondRead, 2999);
        QVERIFY(!rig.flow.isSuspended());
        rig.ingest(1000, 3000);
        QCOMPARE(rig.flow.isSuspended(), trips);
        QCOMPARE(rig.flow.lastError(),
            trips ? u"Flood guard tripped (possible cable loop)"_s : QString());
        QCOMPARE(rig.flow.stats().bytesIn, secondRead + (trips ? 1000 : 2000));
        QCOMPARE(rig.flow.stats().discardedBytes, trips ? 1000 : 0);

        // A new window has begun; what the last one saw does not count again.
        rig.flow.resume(3001);
        rig.ingest(1000, 6001);
        QVERIFY(!rig.flow.isSuspended());
    }

    void partialFrameGoesOutOnTimeOrAtTheEnd()
    {
        Rig rig({}, kFixed6);
        rig.ingest(8, 0);
        QCOMPARE(rig.sink.taken.size(), 6);
        QCOMPARE(rig.flow.nextTimeoutMs(50), 150);
        rig.flow.tick(199);
        QCOMPARE(rig.sink.taken.size(), 6);
        rig.flow.tick(200);
        QCOMPARE(rig.sink.taken.size(), 8);
        rig.ingest(2, 300);
        rig.flow.finish(301);
        QCOMPARE(rig.sink.taken.size(), 10);
        QCOMPARE(rig.flow.nextTimeoutMs(301), -1);
    }

    // What was held when the flow stopped must not be glued to what comes after it goes on.
    void resumeReleasesAnOverduePartialFrame()
    {
        Rig rig({}, kFixed6);
        rig.flow.ingest("old"_ba, 0, {});
        rig.flow.suspend(u"stopped"_s);
        rig.flow.resume(5000);
        QCOMPARE(rig.sink.taken, "old"_ba);
        rig.flow.ingest("newer."_ba, 5000, u"peer"_s);
        QCOMPARE(rig.flow.stats().framesOut, 2);
        QCOMPARE(rig.flow.lastOrigin(), u"peer"_s);
    }

    void resetLeavesARunningEmptyFlow()
    {
        Rig rig({.capacityBytes = 10, .highWaterBytes = 5}, kFixed6);
        rig.sink.writable = false;
        rig.ingest(20, 0);
        rig.flow.suspend(u"stopped"_s);
        rig.flow.reset();
        QVERIFY(rig.flow.isIdle() && !rig.flow.isSuspended() && !rig.flow.isSourceThrottled());
        QCOMPARE(rig.flow.stats().queuedBytes, 0);
        QCOMPARE(rig.flow.stats().droppedFrames, 2);
        rig.flow.resetStats();
        QCOMPARE(rig.flow.stats().droppedFrames, 0);
    }

    // A source that obeys the throttle and an owner that ticks only when told: everything arrives,
    // in order, and the owner is never told to come back at once for ever.
    void obedientSourceLosesNothing()
    {
        for (quint32 seed = 1; seed <= 40; ++seed) {
            QRandomGenerator random(seed);
            FramingPolicy framing{.mode = FramingMode(random.bounded(4)), .delimiter = "x"_ba};
            framing.frameLength = random.bounded(1, 90);
            framing.maxFrameBytes = random.bounded(1, 90);
            Rig rig(
                {.capacityBytes = 400, .highWaterBytes = 200, .lowWaterBytes = random.bounded(200)},
                framing);
            QByteArray sent;
            qint64 nowMs = 0;
            for (int step = 0; step < 400; ++step) {
                rig.sink.room = random.bounded(40);
                if (!rig.flow.isSourceThrottled()) {
                    QByteArray data(random.bounded(1, 100), Qt::Uninitialized);
                    for (char& byte : data)
                        byte = char('a' + random.bounded(26));
                    rig.flow.ingest(data, nowMs, {});
                    sent += data;
                }
                const int waitMs = rig.flow.nextTimeoutMs(nowMs);
                nowMs += waitMs < 0 ? 1 : random.bounded(waitMs + 1);
                rig.flow.tick(nowMs);
                QVERIFY(rig.flow.queue().queuedBytes() <= 400);
                QVERIFY(rig.flow.nextTimeoutMs(nowMs) != 0);
            }
            rig.sink.room = 1000;
            rig.flow.finish(nowMs);
            QCOMPARE(rig.flow.stats().droppedBytes, 0);
            QCOMPARE(rig.sink.taken, sent);
            QVERIFY(!rig.flow.isSourceThrottled());
        }
    }
};

QTEST_APPLESS_MAIN(tst_BridgeFlow)
#include "tst_bridgeflow.moc"
