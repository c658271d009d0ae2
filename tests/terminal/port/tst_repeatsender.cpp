#include "terminal/port/repeatsender.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

class TestRepeatSender final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void interval_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("unit");
        QTest::addColumn<int>("ms");
        QTest::newRow("milliseconds") << 250 << 1 << 250;
        QTest::newRow("seconds") << 3 << 1000 << 3000;
        QTest::newRow("a unit of 0 is 1") << 250 << 0 << 250;
        QTest::newRow("shortest") << 10 << 1 << 10;
        QTest::newRow("too short") << 9 << 1 << 10;
        QTest::newRow("negative") << -5 << 1000 << 10;
        QTest::newRow("longest") << 1000000 << 1000 << 1000000000;
        QTest::newRow("too long for 32 bits") << 2000000000 << 60000 << 1000000000;
    }

    void interval()
    {
        QFETCH(int, count);
        QFETCH(int, unit);
        RepeatSender sender(pane());
        sender.setInterval(count, unit);
        QTEST(sender.intervalMs(), "ms");
    }

    void ticks_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("lineByLine");
        QTest::addColumn<bool>("open");
        QTest::addColumn<QString>("afterFive"); // messages
        QTest::newRow("whole text") << "a\nb" << false << true << "a\nb|a\nb|a\nb|a\nb|a\nb";
        QTest::newRow("three lines in turn") << "1\n2\n3" << true << true << "1|2|3|1|2";
        QTest::newRow("an empty line uses its tick") << "1\n\n3" << true << true << "1|3|1";
        QTest::newRow("nothing to send") << "" << false << true << "";
        QTest::newRow("closed") << "a" << false << false << "";
    }

    void ticks()
    {
        QFETCH(QString, text);
        QFETCH(bool, lineByLine);
        QFETCH(bool, open);
        m_text = text;
        m_open = open;
        m_sent.clear();
        RepeatSender sender(pane());
        sender.setLineByLine(lineByLine);
        sender.setEnabled(true);
        sender.paneStarted();
        for (int i = 0; i < 5; ++i)
            sender.tick();
        QTEST(m_sent.join(u'|'), "afterFive");
        sender.setEnabled(false);
        m_sent.clear();
        m_open = true;
        sender.tick();
        QCOMPARE(m_sent, QStringList());
    }

    void runsWhileEnabledAndThePaneRuns()
    {
        RepeatSender sender(pane());
        sender.setEnabled(true);
        QVERIFY2(!sender.isRunning(), "a stopped pane repeats nothing");
        sender.paneStarted();
        QVERIFY(sender.isRunning());
        sender.paneHalted(RunState::Paused);
        QVERIFY(!sender.isRunning());
        sender.setEnabled(false);
        sender.paneStarted();
        QVERIFY(!sender.isRunning());
        sender.setEnabled(true);
        QVERIFY(sender.isRunning());
        sender.paneHalted(RunState::Stopped);
        QVERIFY(!sender.isRunning());
    }

    // A paused view is no reason not to begin when a person says so.
    void beginsWhilePaused()
    {
        RepeatSender sender(pane());
        sender.paneStarted();
        sender.paneHalted(RunState::Paused);
        sender.setEnabled(true);
        QVERIFY(sender.isRunning());
    }

    // On a line slower than the period the backlog would grow without end.
    void waitsUntilTheLastMessageHasLeft()
    {
        m_text = u"x"_s;
        m_open = true;
        m_sent.clear();
        RepeatSender sender(pane());
        QSignalSpy skipped(&sender, &RepeatSender::skipped);
        sender.setEnabled(true);
        sender.paneStarted();
        m_pending = 1;
        sender.tick();
        sender.tick();
        QCOMPARE(m_sent, QStringList());
        QCOMPARE(skipped.size(), 1);
        m_pending = 0;
        sender.tick();
        QCOMPARE(m_sent, QStringList(u"x"_s));
    }

    void startBeginsWithTheFirstLine()
    {
        m_text = u"1\n2\n3"_s;
        m_open = true;
        m_sent.clear();
        RepeatSender sender(pane());
        sender.setLineByLine(true);
        sender.setEnabled(true);
        sender.paneStarted();
        sender.tick();
        sender.paneStarted();
        sender.tick();
        // A text that became shorter than the index goes on within its lines.
        sender.tick();
        m_text = u"x\ny"_s;
        sender.tick();
        QCOMPARE(m_sent, QStringList({u"1"_s, u"1"_s, u"2"_s, u"x"_s}));
    }

    void timerTicks()
    {
        m_text = u"ping"_s;
        m_open = true;
        m_sent.clear();
        RepeatSender sender(pane());
        sender.setInterval(10, 1);
        sender.setEnabled(true);
        sender.paneStarted();
        QTRY_VERIFY(m_sent.size() >= 3);
    }

private:
    RepeatSender::Pane pane()
    {
        return {[this] { return m_open; }, [this] { return m_pending; }, [this] { return m_text; },
            [this](const QString& message) { m_sent.append(message); }};
    }

    bool m_open = true;
    qint64 m_pending = 0;
    QString m_text;
    QStringList m_sent;
};

QTEST_GUILESS_MAIN(TestRepeatSender)
#include "tst_repeatsender.moc"
