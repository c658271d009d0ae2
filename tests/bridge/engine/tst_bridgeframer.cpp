#include "bridge/engine/bridgeframer.h"

#include <QRandomGenerator>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// The rules again, slow and obvious: everything held is searched and cut from the front each time.
struct FramerModel
{
    FramingPolicy policy;
    QByteArray held;
    qint64 startMs = 0;
    qint64 lastMs = 0;

    QList<QByteArray> harvest(bool force)
    {
        QList<QByteArray> frames;
        const auto cut = [&](qsizetype length) {
            frames.append(held.left(length));
            held = held.mid(length);
        };
        while (policy.mode == FramingMode::Delimiter && held.contains(policy.delimiter))
            cut(held.indexOf(policy.delimiter) + policy.delimiter.size());
        while (policy.mode == FramingMode::FixedLength && held.size() >= policy.frameLength)
            cut(policy.frameLength);
        while (held.size() >= policy.maxFrameBytes)
            cut(policy.maxFrameBytes);
        if (force && !held.isEmpty())
            cut(held.size());
        return frames;
    }

    QList<QByteArray> ingest(const QByteArray& data, qint64 nowMs)
    {
        if (data.isEmpty())
            return {};
        if (held.isEmpty())
            startMs = nowMs;
        lastMs = nowMs;
        held += data;
        const QList<QByteArray> frames = harvest(policy.mode == FramingMode::Immediate);
        if (!frames.isEmpty())
            startMs = nowMs;
        return frames;
    }

    qint64 nextTimeoutMs(qint64 nowMs) const
    {
        if (held.isEmpty())
            return -1;
        qint64 due = startMs + policy.flushTimeoutMs;
        if (policy.mode == FramingMode::IdleGap)
            due = qMin(due, lastMs + policy.idleGapMs);
        return qMax<qint64>(0, due - nowMs);
    }
};

QByteArray randomText(QRandomGenerator& random, int longest, QByteArrayView letters)
{
    QByteArray text;
    for (int left = random.bounded(longest + 1); left > 0; --left)
        text += letters[random.bounded(int(letters.size()))];
    return text;
}

FramingPolicy randomPolicy(QRandomGenerator& random)
{
    FramingPolicy policy;
    policy.mode = FramingMode(random.bounded(4));
    policy.delimiter = randomText(random, 3, "ab");
    policy.frameLength = random.bounded(1, 12);
    policy.maxFrameBytes = random.bounded(1, 16);
    policy.idleGapMs = random.bounded(1, 5);
    policy.flushTimeoutMs = random.bounded(1, 12);
    return policy;
}

} // namespace

class tst_BridgeFramer final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void policyIsSanitized()
    {
        struct Case
        {
            FramingPolicy given;
            FramingPolicy sane;
        };
        const auto mode = [](int value) { return FramingMode(value); };
        const Case cases[] = {
            // Below and above every range.
            {{mode(1), 0, {}, 0, 0, 0}, {mode(1), 1, {}, 1, 1, 1}},
            {{mode(4), 60'001, "x"_ba, 1'048'577, 1'048'577, 60'001},
                {mode(0), 60'000, "x"_ba, 1'048'576, 1'048'576, 60'000}},
            // No delimiter; a delimiter and a fixed length beyond the largest frame.
            {{mode(2), 4, {}, 256, 4096, 200}, {mode(0), 4, {}, 256, 4096, 200}},
            {{mode(2), 4, "abc"_ba, 256, 2, 200}, {mode(2), 4, "abc"_ba, 256, 3, 200}},
            {{mode(3), 4, "abc"_ba, 256, 2, 200}, {mode(3), 4, "abc"_ba, 256, 256, 200}},
        };
        for (const Case& c : cases) {
            QCOMPARE(c.given.sanitized(), c.sane);
            QCOMPARE(BridgeFramer(c.given).policy(), c.sane);
        }
    }

    void defaultBurstIsCutAt4096()
    {
        const QByteArray burst(10'000, 'x');
        QCOMPARE(BridgeFramer().ingest(burst, 0),
            (QList{burst.left(4096), burst.left(4096), burst.left(1808)}));
    }

    void randomScheduleMatchesTheModel()
    {
        for (quint32 seed = 1; seed <= 300; ++seed) {
            QRandomGenerator random(seed);
            BridgeFramer framer(randomPolicy(random));
            FramerModel model{framer.policy(), {}};
            qint64 nowMs = 0;
            for (int step = 0; step < 200; ++step) {
                nowMs += random.bounded(4);
                const int choice = random.bounded(20);
                QList<QByteArray> expected;
                QList<QByteArray> frames;
                if (choice == 0) {
                    framer.setPolicy(randomPolicy(random));
                    model.policy = framer.policy();
                } else if (choice == 1) {
                    expected = model.harvest(true);
                    frames = framer.flush();
                } else if (choice == 2) {
                    model.held.clear();
                    framer.reset();
                } else if (choice < 9) {
                    if (model.nextTimeoutMs(nowMs) == 0)
                        expected = model.harvest(true);
                    frames = framer.tick(nowMs);
                } else {
                    const QByteArray data = randomText(random, 9, "abc");
                    expected = model.ingest(data, nowMs);
                    frames = framer.ingest(data, nowMs);
                }
                const QByteArray where =
                    "seed " + QByteArray::number(seed) + " step " + QByteArray::number(step);
                QVERIFY2(frames == expected, where.constData());
                QVERIFY2(
                    framer.nextTimeoutMs(nowMs) == model.nextTimeoutMs(nowMs), where.constData());
                QVERIFY2(framer.bufferedBytes() == model.held.size(), where.constData());
            }
        }
    }
};

QTEST_APPLESS_MAIN(tst_BridgeFramer)
#include "tst_bridgeframer.moc"
