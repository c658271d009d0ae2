#include "terminal/port/receivepipeline.h"

#include "log/logfilename.h"
#include "terminal/format/sendmodes.h"
#include "terminal/port/displaysinkstub.h"
#include "terminal/port/forwardedview.h"
#include "terminal/port/portlog.h"

#include <QFile>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 kMiB = 1024 * 1024;

const QDateTime kNoon(QDate(2024, 5, 1), QTime(12, 0));

// A pipeline whose two clocks stand until they are moved.
struct Bench
{
    Bench()
        : pipeline({[this] { return now; }, [this] { return monotonicMs += stepMs; }})
    {
        pipeline.setDisplay(&sink);
        pipeline.start();
    }
    void apply() { pipeline.setFormatSetting(format); }
    void receive(const QByteArray& bytes, const QString& peer = {})
    {
        pipeline.ingestRx(bytes, peer.isEmpty(), peer);
    }
    // Shows all that may be shown now; gives the number of drains.
    int drainAll()
    {
        int drains = 0;
        for (qint64 before = -1; before != pipeline.waitingBytes(); ++drains) {
            before = pipeline.waitingBytes();
            pipeline.onRefreshDisplay();
        }
        return drains - 1;
    }

    QDateTime now = kNoon;
    qint64 monotonicMs = 0;
    qint64 stepMs = 0; // by which the monotonic clock goes on each time it is read
    FormatSetting format;
    StringSink sink;
    ReceivePipeline pipeline;
};

// What a device with a colour terminal says, without an empty line: a line feed that arrives alone
// after another is the one thing that depends on the cutting.
QByteArray deviceTalk(QRandomGenerator& random, qsizetype size)
{
    static const QByteArrayList tokens{"word", " ", "\r\n$ ", "\n> ", "\n\r# ", "a\rb",
        "\x1B[31;1m", "\x1B]0;title\x07", "\x1B[0m", "\x1BZ", "\xE4\xB8\xAD", "\xF0\x9F\x98\x80",
        "\xC3\x9B", "\xFF", QByteArray("\0\x01", 2), "\x1B["};
    QByteArray bytes("boot");
    while (bytes.size() < size)
        bytes += tokens.at(random.bounded(tokens.size()));
    // No sequence and no character is left open.
    return bytes + "m end";
}

} // namespace

class TestReceivePipeline final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anyCuttingGivesTheSameText_data()
    {
        QTest::addColumn<int>("format");
        QTest::newRow("text") << int(MessageFormat::Text);
        QTest::newRow("hexadecimal") << int(MessageFormat::Hexadecimal);
    }

    // Whole, and cut anywhere, with the view paused and drained at any moment between.
    void anyCuttingGivesTheSameText()
    {
        QFETCH(int, format);
        QRandomGenerator random(7);
        const QByteArray talk = deviceTalk(random, 200000);
        QString whole;
        for (int round = 0; round < 4; ++round) {
            Bench bench;
            bench.format.receiveMsgFormat = format;
            bench.apply();
            bench.stepMs = round;
            for (qsizetype at = 0; at < talk.size();) {
                const qsizetype size = round == 0 ? talk.size() : 1 + random.bounded(3000);
                bench.receive(talk.mid(at, size));
                at += size;
                if (const quint32 what = round == 0 ? 9 : random.bounded(10); what == 0)
                    bench.pipeline.pause();
                else if (what < 3)
                    bench.pipeline.start();
                else if (what < 5)
                    bench.pipeline.onRefreshDisplay();
            }
            bench.pipeline.start();
            bench.drainAll();
            if (round == 0)
                whole = bench.sink.text;
            QVERIFY(bench.sink.text == whole);
            QCOMPARE(bench.pipeline.receivedBytes(), talk.size());
        }
        QVERIFY(whole.size() > 50000);
    }

    // What a connection delivered is shown and logged as its own, whatever happens to its view.
    void bytesStayWithTheirConnection()
    {
        QTemporaryDir folder;
        Bench bench;
        PortLog log;
        bench.pipeline.setLog(&log);
        FormatSetting record;
        record.logSaveFlag = true;
        record.logFilePath = folder.filePath(u"%S.log"_s);
        log.setUp(record, u"A"_s, {});
        bench.receive("first ");
        bench.drainAll();
        bench.pipeline.pause();
        bench.receive("held \x1B[3");
        bench.pipeline.stop();
        // Queued by the next connection before the former one's bytes are through.
        bench.pipeline.afterWaiting([&] { log.setUp(record, u"B"_s, {}); });
        bench.pipeline.start();
        bench.receive("second");
        bench.drainAll();
        QCOMPARE(bench.sink.text, u"first held \u241B[3second"_s);
        QVERIFY(log.flushLog());
        const auto logged = [&folder](const QString& name) {
            QFile file(folder.filePath(name));
            return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        };
        QVERIFY2(logged(u"A.log"_s).contains("first held "), logged(u"A.log"_s));
        QVERIFY(!logged(u"A.log"_s).contains("second"));
        QVERIFY2(logged(u"B.log"_s).contains("second"), logged(u"B.log"_s));
        QVERIFY(!logged(u"B.log"_s).contains("held"));
    }

    void clearingDropsWhatWaitsFromTheViewOnly()
    {
        QTemporaryDir folder;
        Bench bench;
        PortLog log;
        bench.pipeline.setLog(&log);
        FormatSetting record;
        record.logSaveFlag = true;
        record.logFilePath = folder.filePath(u"a.log"_s);
        log.setUp(record, u"A"_s, {});
        bench.pipeline.pause();
        bench.receive("evidence");
        bench.pipeline.pushByteArray("sent", false, RXorTx::Sent);
        bench.pipeline.clear();
        bench.receive("new");
        bench.pipeline.start();
        bench.drainAll();
        QCOMPARE(bench.sink.text, u"new"_s);
        QCOMPARE(bench.pipeline.receivedBytes(), 3);
        QVERIFY(log.flushLog());
        QFile file(folder.filePath(u"a.log"_s));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray text = file.readAll();
        QVERIFY2(text.contains("evidence") && text.contains("sent") && text.contains("new"), text);
    }

    void anotherFormatKeepsWhatTheFilterHolds()
    {
        Bench bench;
        bench.receive("a\x1B[31");
        bench.drainAll();
        QCOMPARE(bench.sink.text, u"a"_s);
        bench.format.receiveMsgFormat = int(MessageFormat::Hexadecimal);
        bench.apply();
        bench.receive("m");
        bench.drainAll();
        QCOMPARE(bench.sink.text, u"a1B 5B 33 31 6D "_s);
        QCOMPARE(bench.pipeline.receivedBytes(), 6);
    }

    void peerDecodersAreBounded()
    {
        const auto peer = [](int number) { return u"10.0.0.1:%1"_s.arg(number); };
        DecoderSet decoders;
        for (int i = 0; i < int(DecoderSet::kMaxPeers); ++i)
            QVERIFY(decoders.received(peer(i)).decode("\xC3").text.isEmpty());
        QVERIFY(decoders.received(peer(0)).decode("").text.isEmpty()); // heard again
        QVERIFY(decoders.received(peer(1000)).decode("\xC3").text.isEmpty());
        QCOMPARE(decoders.peerCount(), DecoderSet::kMaxPeers);
        const QString eAcute(QChar(0xE9));
        QCOMPARE(decoders.received(peer(0)).decode("\xA9").text, eAcute);
        QCOMPARE(decoders.received(peer(2)).decode("\xA9").text, eAcute);
        // Peer 1 was silent the longest, and what it had begun is gone.
        QCOMPARE(decoders.received(peer(1)).decode("\xA9").text, QString(QChar(0xFFFD)));
    }

    // What one peer leaves unfinished belongs to nobody who comes after it.
    void whatAPeerLeavesIsForgotten()
    {
        Bench bench;
        bench.receive("\x1B[3", u"a"_s);
        bench.receive("\xC3", u"a2"_s);
        bench.drainAll();
        bench.pipeline.forgetPeer(u"a"_s);
        bench.pipeline.forgetPeer(u"a2"_s);
        bench.receive("1m", u"a"_s);
        bench.receive("\xA9", u"a2"_s);
        bench.drainAll();
        QCOMPARE(bench.sink.text, u"\u241B[31m\uFFFD"_s);

        // Left while its bytes still wait: they keep what came before them.
        bench.receive("\xC3", u"b"_s);
        bench.drainAll();
        bench.receive("\xA9", u"b"_s);
        bench.pipeline.forgetPeer(u"b"_s);
        bench.drainAll();
        bench.receive("\xA9", u"b"_s);
        bench.drainAll();
        QCOMPARE(bench.sink.text, u"\u241B[31m\uFFFD\u00E9\uFFFD"_s);
    }

    void recordsOfOneColourAreAppendedTogether()
    {
        Bench bench;
        const auto exchange = [&bench] {
            bench.sink.appends.clear();
            bench.receive("r1 ");
            bench.receive("r2 ");
            bench.pipeline.pushByteArray("s1 ", false, RXorTx::Sent);
            bench.receive("r3 ");
            bench.drainAll();
        };
        exchange();
        QCOMPARE(bench.sink.appends, QList<StringSink::Append>({{u"r1 r2 s1 r3 "_s, Ink::Plain}}));
        bench.format.formatDisplayColor = true;
        bench.apply();
        exchange();
        QCOMPARE(bench.sink.appends, QList<StringSink::Append>({{u"r1 r2 "_s, Ink::Received},
                                         {u"s1 "_s, Ink::Sent}, {u"r3 "_s, Ink::Received}}));
        QCOMPARE(bench.pipeline.receivedBytes(), 18);
    }

    void drainBudget_data()
    {
        QTest::addColumn<int>("msPerRecord");
        QTest::addColumn<int>("recordsInOneDrain");
        QTest::newRow("all at once while there is time") << 0 << 5;
        QTest::newRow("a millisecond is left") << int(ReceivePipeline::kDrainBudgetMs) - 1 << 2;
        QTest::newRow("the time is used up") << int(ReceivePipeline::kDrainBudgetMs) << 1;
        QTest::newRow("one takes longer than the time") << 1000 << 1;
    }

    void drainBudget()
    {
        QFETCH(int, msPerRecord);
        Bench bench;
        for (int i = 0; i < 5; ++i) {
            bench.now = kNoon.addMSecs(i);
            bench.receive("x");
        }
        bench.stepMs = msPerRecord;
        bench.pipeline.onRefreshDisplay();
        QTEST(int(bench.sink.text.size()), "recordsInOneDrain");
        bench.drainAll();
        QCOMPARE(bench.sink.text, u"xxxxx"_s);
    }

    void lineFeedAtASliceEndIsNotAlone()
    {
        Bench bench;
        bench.receive("a\n");
        QByteArray record = QByteArray("\x1B[m").repeated(DisplayQueue::kSliceBytes / 3) + '\n';
        QCOMPARE(record.size(), DisplayQueue::kSliceBytes);
        bench.receive(record + "next");
        bench.drainAll();
        QCOMPARE(bench.sink.text, u"a\n\nnext"_s);
        // Nothing of a record may be shown, and the one behind it is its own.
        bench.receive("\n");
        bench.receive(record);
        bench.receive("\n");
        bench.drainAll();
        QCOMPARE(bench.sink.text, u"a\n\nnext\n"_s);
    }

    void trimHalvesTheView()
    {
        Bench bench;
        bench.format.displayBufferSize = kMiB;
        bench.apply();
        bench.receive(QByteArray(kMiB, 'a'));
        bench.drainAll();
        QCOMPARE(bench.sink.trims, QList<qint64>());
        bench.receive("c");
        bench.drainAll();
        QCOMPARE(bench.sink.trims, QList<qint64>{kMiB / 2});
        QCOMPARE(bench.sink.forcedScrolls, 1);
        // A resumed view brings far more than its maximum.
        bench.pipeline.pause();
        bench.receive(QByteArray(30 * kMiB, 'd'));
        bench.pipeline.start();
        bench.drainAll();
        QCOMPARE(bench.sink.text.size() + bench.pipeline.removedCharacters(), 31 * kMiB + 1);
        QCOMPARE(bench.sink.text.size(), kMiB / 2 + 1);
        QCOMPARE_LE(bench.sink.longest, kMiB + 2 * DisplayQueue::kSliceBytes);
        // A smaller maximum holds at once, also for a view that is paused.
        bench.format.displayBufferSize = 4 * kMiB;
        bench.apply();
        bench.receive(QByteArray(3 * kMiB, 'e'));
        bench.drainAll();
        bench.pipeline.pause();
        bench.format.displayBufferSize = kMiB;
        QSignalSpy changed(&bench.pipeline, &ReceivePipeline::drained);
        bench.apply();
        bench.apply();
        QCOMPARE(bench.sink.text.size(), kMiB / 2 + 1);
        QCOMPARE(changed.size(), 1);
        bench.pipeline.start();
        // A view shorter than half its bound loses what it has.
        bench.pipeline.clear();
        bench.receive("abc");
        bench.drainAll();
        bench.pipeline.removeHalfData();
        QCOMPARE(bench.pipeline.removedCharacters(), 3);
        QCOMPARE(bench.sink.text, QString());
    }

    void queueMarks()
    {
        Bench bench;
        QSignalSpy throttle(&bench.pipeline, &ReceivePipeline::throttleRequested);
        const qint64 room = ReceivePipeline::kQueueHighWater - 2 * DisplayQueue::kRecordCost;
        bench.receive(QByteArray(room - 2, 'x'));
        bench.receive("x");
        QCOMPARE(throttle.size(), 0);
        bench.drainAll();
        bench.pipeline.clear();
        bench.receive(QByteArray(room - 1, 'x'));
        bench.receive("y");
        QCOMPARE(throttle.size(), 1);
        QVERIFY(throttle.takeFirst()[0].toBool());
        bench.stepMs = ReceivePipeline::kDrainBudgetMs; // one slice per drain
        while (throttle.isEmpty()) {
            QVERIFY(bench.pipeline.waitingBytes() > 0);
            QVERIFY(bench.pipeline.waitingBytes() >= ReceivePipeline::kQueueLowWater - 256);
            bench.pipeline.onRefreshDisplay();
        }
        QVERIFY(!throttle[0][0].toBool());
        QVERIFY(bench.pipeline.waitingBytes() < ReceivePipeline::kQueueLowWater);
        bench.drainAll();
        QCOMPARE(throttle.size(), 1);
        QVERIFY(bench.sink.text.endsWith(u'y'));
    }

    void pausedMark()
    {
        Bench bench;
        QSignalSpy throttle(&bench.pipeline, &ReceivePipeline::throttleRequested);
        QSignalSpy status(&bench.pipeline, &ReceivePipeline::pausedFull);
        // More than a running view may keep waiting is no reason for a paused one.
        bench.receive(QByteArray(ReceivePipeline::kQueueHighWater, 'q'));
        QCOMPARE(throttle.size(), 1);
        bench.pipeline.pause();
        QCOMPARE(throttle.size(), 2);
        bench.receive(QByteArray(ReceivePipeline::kHoldHighWater - DisplayQueue::kRecordCost
                                     - ReceivePipeline::kQueueHighWater - 1,
            'h'));
        QCOMPARE(throttle.size(), 2);
        QCOMPARE(status.size(), 0);
        bench.receive("h");
        QCOMPARE(throttle.size(), 3);
        QVERIFY(throttle[2][0].toBool());
        bench.receive("h"); // was on its way
        QCOMPARE(status.size(), 1);
        QVERIFY2(status[0][0].toString().contains("64"_L1), qPrintable(status[0][0].toString()));
        bench.pipeline.start();
        bench.stepMs = ReceivePipeline::kDrainBudgetMs;
        bench.pipeline.onRefreshDisplay();
        QCOMPARE(throttle.size(), 3); // the view has to catch up first
    }

    // What breaks a silence is shown with the next turn of the event loop, what follows closely
    // together and a little later; the timer rests when nothing waits.
    void drainsAtOnceAfterSilence()
    {
        Bench bench;
        const auto* timer = bench.pipeline.findChild<QTimer*>();
        bench.receive("a");
        QCOMPARE(bench.sink.text, QString());
        QVERIFY(!timer->isActive());
        QCoreApplication::processEvents();
        QCOMPARE(bench.sink.text, u"a"_s);
        QVERIFY(!timer->isActive());
        bench.monotonicMs += ReceivePipeline::kDrainIntervalMs - 1;
        bench.receive("b");
        QVERIFY(timer->isActive());
        bench.monotonicMs += ReceivePipeline::kCounterIntervalMs;
        QTRY_COMPARE(bench.sink.text, u"ab"_s);
        QVERIFY(!timer->isActive());
        bench.monotonicMs += ReceivePipeline::kDrainIntervalMs;
        bench.receive("c");
        bench.pipeline.onRefreshDisplay(); // a send with echo asked for it
        bench.receive("d");
        QVERIFY(timer->isActive());
        QCoreApplication::processEvents();
        QTRY_COMPARE(bench.sink.text, u"abcd"_s);
    }

    void showsNothingWhilePaused()
    {
        StringSink sink;
        ReceivePipeline pipeline;
        pipeline.setDisplay(&sink);
        const auto* timer = pipeline.findChild<QTimer*>();
        QCOMPARE(timer->interval(), 20);
        pipeline.start();
        pipeline.ingestRx("hello", true, {});
        QTRY_COMPARE(sink.text, u"hello"_s);
        QVERIFY(!timer->isActive());
        pipeline.pause();
        pipeline.ingestRx(" again", true, {});
        pipeline.pushByteArray(" sent", false, RXorTx::Sent);
        QVERIFY(!timer->isActive());
        pipeline.start();
        QTRY_COMPARE(sink.text, u"hello sent again"_s);
    }

    // Somebody else lives on the bytes: a view that is paused, or too slow, gives up some of them
    // and says how many, and never asks that reading be stopped.
    void bystanderHoldsNothingUp()
    {
        Bench bench;
        const QSignalSpy throttle(&bench.pipeline, &ReceivePipeline::throttleRequested);
        bench.pipeline.setBystander(true);
        bench.pipeline.pause();
        const QByteArray block(1 << 20, 'x');
        const qint64 blocks = 2 * ReceivePipeline::kHoldHighWater / block.size();
        for (qint64 i = 0; i < blocks; ++i)
            bench.receive(block);
        QCOMPARE(throttle.size(), 0);
        bench.format.displayBufferSize = FormatSetting::kMaxDisplayBufferSize;
        bench.apply();
        bench.pipeline.start();
        bench.drainAll();
        QCOMPARE(bench.pipeline.receivedBytes(), blocks * block.size());
        QVERIFY2(bench.sink.text.contains(u"64.00 MiB that passed a bridge are missing here"_s),
            qPrintable(bench.sink.text.right(200)));
        // No bystander any more: what waits counts again.
        bench.pipeline.pause();
        bench.pipeline.setBystander(false);
        for (qint64 i = 0; i < blocks / 2; ++i)
            bench.receive(block);
        QCOMPARE(throttle.size(), 1);
    }

    void forwardedBytesAreMuted()
    {
        ForwardedView view;
        view.use({.takesReceived = true, .show = true, .muteBytesPerSec = 100});
        QVERIFY(view.shows(100, 0));
        QCOMPARE(view.takeText(), QString());
        QVERIFY(!view.shows(1, 999));
        QVERIFY(!view.takeText().isEmpty());
        // The second after a loud one is measured before anything is shown.
        QVERIFY(!view.shows(50, 1000));
        QCOMPARE(view.takeText(), QString());
        QVERIFY(view.shows(50, 2000));
        QVERIFY(view.takeText().startsWith(u"51 bytes"_s));
        view.use({.show = false});
        QVERIFY(!view.shows(1, 9000));
    }
};

QTEST_GUILESS_MAIN(TestReceivePipeline)
#include "tst_receivepipeline.moc"
