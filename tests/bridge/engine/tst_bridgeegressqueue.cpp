#include "bridge/engine/bridgeegressqueue.h"

#include <QRandomGenerator>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// The rules again, slow and obvious: a list of frames whose sum is taken each time.
struct QueueModel
{
    FlowControlPolicy policy;
    QList<QByteArray> frames;
    qint64 peak = 0;
    qint64 droppedBytes = 0;
    qint64 droppedFrames = 0;
    bool throttling = false;

    qint64 queued() const { return frames.join().size(); }

    void updateThrottle()
    {
        if (queued() >= policy.highWaterBytes)
            throttling = true;
        if (queued() <= policy.lowWaterBytes)
            throttling = false;
    }

    void countDropped(const QByteArray& frame)
    {
        droppedBytes += frame.size();
        ++droppedFrames;
    }

    int enqueue(const QByteArray& frame)
    {
        if (frame.isEmpty())
            return 0;
        int result = 0;
        if (queued() + frame.size() > policy.capacityBytes) {
            if (policy.overflowPolicy != OverflowPolicy::DropOldest) {
                countDropped(frame);
                return policy.overflowPolicy == OverflowPolicy::StopBridge ? 3 : 2;
            }
            while (!frames.isEmpty() && queued() + frame.size() > policy.capacityBytes) {
                countDropped(frames.takeFirst());
                result = 1;
            }
        }
        frames.append(frame);
        peak = qMax(peak, queued());
        updateThrottle();
        return result;
    }

    void consume(qint64 bytes)
    {
        while (bytes > 0 && !frames.isEmpty()) {
            const qint64 part = qMin<qint64>(bytes, frames.first().size());
            frames.first().remove(0, part);
            bytes -= part;
            if (frames.first().isEmpty())
                frames.removeFirst();
        }
        updateThrottle();
    }
};

FlowControlPolicy randomPolicy(QRandomGenerator& random)
{
    FlowControlPolicy policy;
    policy.capacityBytes = random.bounded(1, 12'000);
    policy.highWaterBytes = random.bounded(1, 12'000);
    policy.lowWaterBytes = random.bounded(0, 6'000);
    policy.overflowPolicy = OverflowPolicy(random.bounded(4));
    return policy;
}

// Sizes on both sides of what is packed into shared blocks.
QByteArray randomFrame(QRandomGenerator& random)
{
    const int longest = random.bounded(4) == 0 ? 6000 : 50;
    return QByteArray(random.bounded(longest), char(random.bounded(256)));
}

} // namespace

class tst_BridgeEgressQueue final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void policyIsSanitized()
    {
        const FlowControlPolicy low =
            FlowControlPolicy{0, 0, -1, 0, OverflowPolicy(-1), true, 0, 0}.sanitized();
        QCOMPARE(low, (FlowControlPolicy{1, 1, 0, 1, OverflowPolicy::SlowSender, true, 1024, 100}));
        const qint64 beyond = Q_INT64_C(1) << 40;
        const FlowControlPolicy high = FlowControlPolicy{beyond, beyond, beyond, beyond,
            OverflowPolicy(4), false, beyond, 600'001}
                                           .sanitized();
        QCOMPARE(high, (FlowControlPolicy{1'073'741'824, 1'073'741'824, 1'073'741'823, 268'435'456,
                           OverflowPolicy::SlowSender, false, beyond, 600'000}));
    }

    // A reader's buffer is often far larger than what one read put into it; the queue's budget
    // counts bytes, so it must not keep such buffers alive.
    void queuedFramesDoNotPinTheBuffersTheyWereReadInto()
    {
        QByteArray read;
        read.reserve(1'000'000);
        read.append(QByteArray(5000, 'x'));
        BridgeEgressQueue queue;
        queue.enqueue({read, 0});
        QVERIFY(read.isDetached());
        queue.enqueue({read.left(10), 0});
        QCOMPARE(queue.queuedBytes(), 5010);
    }

    void randomScheduleMatchesTheModel()
    {
        for (quint32 seed = 1; seed <= 60; ++seed) {
            QRandomGenerator random(seed);
            BridgeEgressQueue queue(randomPolicy(random));
            QueueModel model{queue.policy(), {}};
            for (int step = 0; step < 300; ++step) {
                const QByteArray where =
                    "seed " + QByteArray::number(seed) + " step " + QByteArray::number(step);
                const int choice = random.bounded(40);
                if (choice == 0) {
                    queue.setPolicy(randomPolicy(random));
                    model.policy = queue.policy();
                    model.updateThrottle();
                } else if (choice == 1) {
                    queue.clear();
                    model.frames.clear();
                    model.updateThrottle();
                } else if (choice == 2) {
                    queue.resetCounters();
                    model = {model.policy, model.frames, model.queued(), 0, 0, model.throttling};
                } else if (choice < 24) {
                    const QByteArray frame = randomFrame(random);
                    const int expected = model.enqueue(frame);
                    QVERIFY2(queue.enqueue({frame, step}) == expected, where.constData());
                } else {
                    const qint64 bytes = choice < 30 ? queue.head().size()
                                                     : random.bounded(-10, choice < 34 ? 50 : 9000);
                    queue.consume(bytes);
                    model.consume(bytes);
                }
                QVERIFY2(queue.head() == model.frames.value(0), where.constData());
                const QList<qint64> counts{queue.frameCount(), queue.queuedBytes(),
                    queue.peakQueuedBytes(), queue.droppedBytes(), queue.droppedFrames()};
                const QList<qint64> expected{model.frames.size(), model.queued(), model.peak,
                    model.droppedBytes, model.droppedFrames};
                QVERIFY2(counts == expected, where.constData());
                QVERIFY2(queue.isThrottling() == model.throttling, where.constData());
            }
        }
    }
};

QTEST_APPLESS_MAIN(tst_BridgeEgressQueue)
#include "tst_bridgeegressqueue.moc"
