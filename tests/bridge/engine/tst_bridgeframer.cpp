#include "bridge/engine/bridgeframer.h"

#include <QRandomGenerator>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// One thing that happens to a framer: a read, or only time that passes.
struct Event
{
    qint64 atMs = 0;
    QByteArray read;
};

FramingPolicy randomPolicy(QRandomGenerator& random)
{
    const QByteArray delimiters[] = {"a"_ba, "ab"_ba, "aab"_ba};
    FramingPolicy policy;
    policy.mode = FramingMode(random.bounded(4));
    policy.delimiter = delimiters[random.bounded(3)];
    policy.frameLength = random.bounded(1, 12);
    policy.maxFrameBytes = random.bounded(1, 16);
    policy.idleGapMs = random.bounded(1, 5);
    policy.flushTimeoutMs = random.bounded(1, 12);
    return policy;
}

const FramingPolicy kGap4{.mode = FramingMode::IdleGap, .idleGapMs = 4};
const FramingPolicy kLines{
    .mode = FramingMode::Delimiter, .delimiter = "\r\n"_ba, .maxFrameBytes = 6};
const FramingPolicy kFixed3{.mode = FramingMode::FixedLength, .frameLength = 3};

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

    // An owner that ticks when told and one that only hands reads over, late, get the same frames.
    void framesOfASchedule_data()
    {
        QTest::addColumn<FramingPolicy>("policy");
        QTest::addColumn<QList<Event>>("events");
        QTest::addColumn<QByteArrayList>("frames");
        using Events = QList<Event>;
        using Frames = QByteArrayList;
        const auto row = [](const char* name, const FramingPolicy& policy, const Events& events,
                             const Frames& frames) {
            QTest::newRow(name) << policy << events << frames;
        };
        row("3 ms apart is one frame", kGap4, {{0, "ab"}, {3, "cd"}, {7, {}}}, {"abcd"});
        row("4 ms apart is two", kGap4, {{0, "ab"}, {4, "cd"}, {8, {}}}, {"ab", "cd"});
        row("50 ms apart is two", kGap4, {{0, "ab"}, {50, "cd"}, {60, {}}}, {"ab", "cd"});
        row("no gap, but the flush timeout", {.mode = FramingMode::IdleGap, .idleGapMs = 100},
            {{0, "a"}, {90, "b"}, {180, "c"}, {199, "y"}, {200, "z"}, {300, {}}}, {"abcy", "z"});
        row("delimiter in two reads", kLines, {{0, "ab\r"}, {1, "\ncd"}, {201, {}}},
            {"ab\r\n", "cd"});
        row("half a delimiter is overdue", kLines, {{0, "ab\r"}, {5000, "\ncd\r\n"}},
            {"ab\r", "\ncd\r\n"});
        row("a line beyond the bound", kLines, {{0, "abcde"}, {1, "fgh\r\nij\r\n"}},
            {"abcdefgh\r\n", "ij\r\n"});
        row("a line beyond the bound in pieces", kLines, {{0, "abcde"}, {1, "fgh"}, {2, "\r\n"}},
            {"abcdef", "gh\r\n"});
        row("fixed length", kFixed3, {{0, "ab"}, {1, "cdefg"}, {2, "hi"}}, {"abc", "def", "ghi"});
        row("overdue rest of a fixed length", kFixed3, {{0, "abcd"}, {200, "efg"}},
            {"abc", "d", "efg"});
        row("a rest begins with the read that brought it", kFixed3,
            {{0, "ab"}, {150, "cd"}, {349, "e"}, {350, "f"}, {549, {}}, {550, {}}},
            {"abc", "de", "f"});
    }

    void framesOfASchedule()
    {
        QFETCH(const FramingPolicy, policy);
        QFETCH(const QList<Event>, events);
        QFETCH(const QByteArrayList, frames);
        for (const bool exact : {true, false}) {
            BridgeFramer framer(policy);
            QByteArrayList given;
            qint64 nowMs = 0;
            for (const Event& event : events) {
                qint64 dueMs = framer.nextTimeoutMs(nowMs);
                while (exact && dueMs >= 0 && nowMs + dueMs < event.atMs) {
                    nowMs += dueMs;
                    given += framer.tick(nowMs);
                    dueMs = framer.nextTimeoutMs(nowMs);
                }
                nowMs = event.atMs;
                given +=
                    event.read.isEmpty() ? framer.tick(nowMs) : framer.ingest(event.read, nowMs);
            }
            QCOMPARE(given, frames);
        }
    }

    // Nothing added, lost or reordered, whatever is read when and however the policy changes.
    void framesJoinedAreWhatWentIn()
    {
        for (quint32 seed = 1; seed <= 200; ++seed) {
            QRandomGenerator random(seed);
            BridgeFramer framer(randomPolicy(random));
            QByteArray in;
            QByteArray out;
            for (qint64 nowMs = 0; nowMs < 400; nowMs += random.bounded(4)) {
                QByteArray read;
                for (int left = random.bounded(9); left > 0; --left)
                    read += char('a' + random.bounded(3));
                in += read;
                if (random.bounded(20) == 0)
                    framer.setPolicy(randomPolicy(random));
                out += framer.ingest(read, nowMs).join();
                QVERIFY(read.isEmpty() || framer.bufferedBytes() < framer.policy().maxFrameBytes);
                QVERIFY(framer.nextTimeoutMs(nowMs) != 0);
            }
            QCOMPARE(out + framer.flush().join(), in);
        }
    }
};

QTEST_APPLESS_MAIN(tst_BridgeFramer)
#include "tst_bridgeframer.moc"
