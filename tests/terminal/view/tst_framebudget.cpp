#include "terminal/view/framebudget.h"

#include <QTest>
#include <algorithm>
#include <array>
#include <numeric>
#include <vector>

// Views that always have something new, on a clock that jumps from frame to frame.
class TestFrameBudget final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sharesTheTime_data()
    {
        QTest::addColumn<int>("views");
        QTest::addColumn<qint64>("tookUs");
        QTest::addColumn<qint64>("leastBusyPerMille");
        QTest::addColumn<qint64>("mostBusyPerMille");
        QTest::newRow("one quick view") << 1 << qint64(2'000) << qint64(120) << qint64(126);
        QTest::newRow("one slow view") << 1 << qint64(20'000) << qint64(490) << qint64(510);
        QTest::newRow("sixteen quick views") << 16 << qint64(1'500) << qint64(70) << qint64(86);
        QTest::newRow("sixteen views too slow for their share")
            << 16 << qint64(4'000) << qint64(140) << qint64(180);
    }
    void sharesTheTime()
    {
        QFETCH(int, views);
        QFETCH(qint64, tookUs);
        QFETCH(qint64, leastBusyPerMille);
        QFETCH(qint64, mostBusyPerMille);
        constexpr qint64 kEndUs = 20'000'000;
        FrameBudget budget;
        std::vector<FrameBudget::View> all(static_cast<std::size_t>(views));
        std::vector<qint64> next(all.size(), 0);
        std::vector<int> frames(all.size(), 0);
        for (qint64 now = 0; now < kEndUs;) {
            const auto turn = std::ranges::min_element(next);
            const auto i = static_cast<std::size_t>(turn - next.begin());
            now = std::max(now, *turn);
            all[i] = {&all[i], now, tookUs, false};
            now += tookUs;
            ++frames[i];
            next[i] = budget.book(all[i], now);
            QVERIFY(next[i] <= now + FrameBudget::kLongestWaitUs);
        }
        const qint64 drawn = std::accumulate(frames.begin(), frames.end(), qint64(0));
        const qint64 busy = drawn * tookUs * 1000 / kEndUs;
        QVERIFY2(busy >= leastBusyPerMille && busy <= mostBusyPerMille,
            qPrintable(QString::number(busy)));
        const auto [fewest, most] = std::ranges::minmax(frames);
        QVERIFY(most - fewest <= 1 + most / 10);
    }

    void letsTheViewThatIsTypedInGoFirst()
    {
        FrameBudget budget;
        std::array<int, 40> ids{};
        for (const int& id : ids)
            budget.book({&id, 0, 3'000, false}, 100'000);
        const int typed = 0;
        QCOMPARE(budget.book({&typed, 0, 3'000, true}, 100'000), 100'000);
        budget.book({&ids[0], 100'000, 3'000, false}, 103'000);
        QCOMPARE(budget.book({&typed, 100'000, 3'000, true}, 103'000),
            100'000 + FrameBudget::kTypedFrameUs);
    }

    void leavesNoQueueBehindACrowd()
    {
        FrameBudget budget;
        std::array<int, 200> ids{};
        for (const int& id : ids)
            budget.book({&id, 0, 9'000, false}, 0);
        QCOMPARE(budget.book({this, 0, 9'000, false}, FrameBudget::kLongestWaitUs),
            FrameBudget::kLongestWaitUs);
    }
};

QTEST_APPLESS_MAIN(TestFrameBudget)
#include "tst_framebudget.moc"
