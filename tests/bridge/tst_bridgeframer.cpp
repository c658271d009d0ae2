#include "bridge/bridgeframer.h"

#include <QRandomGenerator>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

FramingPolicy policyFor(FramingMode mode, const QByteArray& delimiter = ";"_ba)
{
    return {.mode = mode, .delimiter = delimiter, .frameLength = 4, .maxFrameBytes = 6};
}

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
    void policyIsSanitized_data()
    {
        QTest::addColumn<FramingPolicy>("given");
        QTest::addColumn<FramingPolicy>("sane");
        const auto mode = [](int value) { return FramingMode(value); };
        QTest::newRow("below every range")
            << FramingPolicy{mode(1), 0, {}, 0, 0, 0} << FramingPolicy{mode(1), 1, {}, 1, 1, 1};
        QTest::newRow("above every range")
            << FramingPolicy{mode(4), 60'001, "x"_ba, 1'048'577, 1'048'577, 60'001}
            << FramingPolicy{mode(0), 60'000, "x"_ba, 1'048'576, 1'048'576, 60'000};
        QTest::newRow("no delimiter") << FramingPolicy{mode(2), 4, {}, 256, 4096, 200}
                                      << FramingPolicy{mode(0), 4, {}, 256, 4096, 200};
        QTest::newRow("delimiter beyond the largest frame") << FramingPolicy{
            mode(2), 4, "abc"_ba, 256, 2, 200} << FramingPolicy{mode(2), 4, "abc"_ba, 256, 3, 200};
        QTest::newRow("fixed length beyond the largest frame") << FramingPolicy{mode(3), 4,
            "abc"_ba, 256, 2, 200} << FramingPolicy{mode(3), 4, "abc"_ba, 256, 256, 200};
    }

    void policyIsSanitized()
    {
        QFETCH(const FramingPolicy, given);
        QTEST(given.sanitized(), "sane");
        QTEST(BridgeFramer(given).policy(), "sane");
    }

    // A step is "<ms>:<bytes>" (a read), "t<ms>" (a tick) or "f<ms>" (a flush); a frame shows with
    // the time of the step that gave it.
    void schedule_data()
    {
        QTest::addColumn<FramingPolicy>("policy");
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("frames");
        const FramingPolicy gap = policyFor(FramingMode::IdleGap);
        const FramingPolicy line = policyFor(FramingMode::Delimiter);
        const FramingPolicy pair = policyFor(FramingMode::Delimiter, ";;"_ba);
        const FramingPolicy fixed = policyFor(FramingMode::FixedLength);
        FramingPolicy impatient = gap;
        impatient.flushTimeoutMs = 8;

        QTest::newRow("at once, cut at the largest frame")
            << policyFor(FramingMode::Immediate) << "1:ab 2:abcdefgh"
            << "1=ab 2=abcdef 2=gh";
        QTest::newRow("3 ms apart is one frame") << gap << "0:ab 3:cd t6 t7"
                                                 << "7=abcd";
        QTest::newRow("4 ms apart are two") << gap << "0:ab t3 t4 4:cd t8"
                                            << "4=ab 8=cd";
        QTest::newRow("never idle, cut by the flush timeout") << impatient << "0:a 3:b 6:c t7 t8"
                                                              << "8=abc";
        QTest::newRow("idle gap, cut at the largest frame") << gap << "0:abc 1:defgh t4 t5"
                                                            << "1=abcdef 5=gh";
        QTest::newRow("several lines in a read") << line << "0:a;bb;c"
                                                 << "0=a; 0=bb;";
        QTest::newRow("delimiter split between reads") << pair << "0:ab; 1:;cd"
                                                       << "1=ab;;";
        QTest::newRow("the rest waits from its own read on")
            << pair << "0:ab; 150:;cd t200 t349 t350"
            << "150=ab;; 350=cd";
        QTest::newRow("delimiter after a false start")
            << policyFor(FramingMode::Delimiter, "aab"_ba) << "0:aa 0:ab"
            << "0=aaab";
        QTest::newRow("a long line in one read is whole") << line << "0:abcdefgh;"
                                                          << "0=abcdefgh;";
        QTest::newRow("a long line in pieces is cut") << line << "0:abcdefgh 1:i;"
                                                      << "0=abcdef 1=ghi;";
        QTest::newRow("a delimiter across a forced cut is lost") << pair << "0:abcde; 1:;x f2"
                                                                 << "0=abcde; 2=;x";
        QTest::newRow("fixed length") << fixed << "0:abcdefghi 1:jkl t199 t200"
                                      << "0=abcd 0=efgh 1=ijkl";
        QTest::newRow("an unfinished frame is released") << fixed << "0:ab 150:c t199 t200"
                                                         << "200=abc";
    }

    void schedule()
    {
        QFETCH(const FramingPolicy, policy);
        QFETCH(const QString, steps);
        BridgeFramer framer(policy);
        QStringList seen;
        for (const QString& step : steps.split(u' ')) {
            const QString time = step.section(u':', 0, 0).remove(u't').remove(u'f');
            QList<QByteArray> frames;
            if (step.startsWith(u't'))
                frames = framer.tick(time.toLongLong());
            else if (step.startsWith(u'f'))
                frames = framer.flush();
            else
                frames = framer.ingest(step.section(u':', 1).toLatin1(), time.toLongLong());
            for (const QByteArray& frame : frames)
                seen.append(time + u'=' + QString::fromLatin1(frame));
        }
        QTEST(seen.join(u' '), "frames");
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

    void splitsOfTheStreamDoNotMatter()
    {
        QRandomGenerator random(7);
        QByteArray stream; // lines that stay within the largest frame of 6 bytes
        while (stream.size() < 3000)
            stream += randomText(random, 3, "ab;") + "a;;";
        const auto framed = [&](FramingMode mode, int longestRead) {
            BridgeFramer framer(policyFor(mode, ";;"_ba));
            QList<QByteArray> frames;
            for (qsizetype at = 0; at < stream.size(); at += longestRead) {
                const int first = random.bounded(1, longestRead + 1);
                frames += framer.ingest(stream.mid(at, first), 0);
                frames += framer.ingest(stream.mid(at + first, longestRead - first), 0);
            }
            return frames + framer.flush();
        };
        for (const FramingMode mode :
            {FramingMode::IdleGap, FramingMode::Delimiter, FramingMode::FixedLength}) {
            const QList<QByteArray> bytewise = framed(mode, 1);
            QCOMPARE(bytewise.join(), stream);
            QVERIFY(bytewise.size() > 400);
            for (int longestRead = 2; longestRead < 50; ++longestRead)
                QCOMPARE(framed(mode, longestRead), bytewise);
        }
    }
};

QTEST_APPLESS_MAIN(tst_BridgeFramer)
#include "tst_bridgeframer.moc"
