#include "terminal/pane/activityblink.h"

#include <QTest>

class TestActivityBlink final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void timing_data();
    void timing();
};

void TestActivityBlink::timing_data()
{
    // One letter per step: t traffic, e the timer ended. For each step the lamp after it and the
    // time that the timer is started with, 0 for not started.
    QTest::addColumn<QByteArray>("steps");
    QTest::addColumn<QByteArray>("lamp");
    QTest::addColumn<QList<int>>("timer");
    QTest::newRow("one chunk") << QByteArray("tee") << QByteArray("100") << QList{80, 0, 0};
    QTest::newRow("traffic while lit blinks again")
        << QByteArray("tteee") << QByteArray("11010") << QList{80, 0, 70, 80, 0};
    QTest::newRow("traffic while dark")
        << QByteArray("ttetee") << QByteArray("110010") << QList{80, 0, 70, 0, 80, 0};
    QTest::newRow("a stream blinks") << QByteArray("ttetetete") << QByteArray("110011001")
                                     << QList{80, 0, 70, 0, 80, 0, 70, 0, 80};
    QTest::newRow("a pause rests it") << QByteArray("tet") << QByteArray("101") << QList{80, 0, 80};
}

void TestActivityBlink::timing()
{
    QFETCH(QByteArray, steps);
    QFETCH(QByteArray, lamp);
    QFETCH(QList<int>, timer);
    ActivityBlink blink;
    QByteArray seen;
    QList<int> started;
    for (const char step : steps) {
        started.append(step == 't' ? blink.flash() : blink.timerEnded());
        seen.append(blink.isLit() ? '1' : '0');
    }
    QCOMPARE(seen, lamp);
    QCOMPARE(started, timer);
}

QTEST_GUILESS_MAIN(TestActivityBlink)
#include "tst_activityblink.moc"
