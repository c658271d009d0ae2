#include "terminal/port/receivepipeline.h"

#include "terminal/port/receivemodel.h"

#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 kMiB = 1024 * 1024;

const QDateTime kNoon(QDate(2024, 5, 1), QTime(12, 0));

// A pipeline whose two clocks stand until they are moved.
struct Bench
{
    Bench()
        : pipeline(sink, {[this] { return now; }, [this] { return monotonicMs += stepMs; }})
    {
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

QByteArray anyChunk(QRandomGenerator& random, bool large)
{
    static const QByteArrayList chunks{"a", "word ", "\n", "\n", "\r", "\r\n", "end\r\n", "\n\n",
        "\xE4", "\xB8\xAD", "\xC3", "\xA9", "\xD6\xD0", "\x9B", "m", "\x1B", "[0", "\x1B[31m",
        "\x1B]0;title\x07", "\x9D", "\x07", QByteArray("\0", 1), "a\rb\nc"};
    if (large && random.bounded(100) == 0)
        return deviceTalk(random, random.bounded(700000));
    QByteArray chunk;
    for (int parts = 1 + random.bounded(2); parts > 0; --parts)
        chunk += chunks.at(random.bounded(chunks.size()));
    return chunk;
}

FormatSetting anyFormat(QRandomGenerator& random)
{
    static const QStringList encodings{u"UTF-8"_s, u"GBK"_s, u"ISO-8859-1"_s};
    FormatSetting format;
    format.receiveMsgFormat = 1 + int(random.bounded(4) > 0);
    format.sendMsgFormat = 1 + int(random.bounded(4) > 0);
    format.receiveEncoding = encodings.at(random.bounded(encodings.size()));
    format.sendEncoding = encodings.at(random.bounded(encodings.size()));
    format.rxAutoFeedLine = random.bounded(2) == 0;
    format.autoFeedInterval = 10;
    format.displayMsgTime = random.bounded(2) == 0;
    format.rxTimeFormat = u"<zzz "_s;
    format.txTimeFormat = u">zzz "_s;
    format.formatDisplayColor = random.bounded(2) == 0;
    format.receiveTextColor = Qt::blue;
    format.sendTextColor = random.bounded(2) == 0 ? Qt::blue : Qt::red;
    format.displayBufferSize = random.bounded(3) > 0 ? kMiB : FormatSetting::maxDisplayBufferSize;
    return format;
}

// What was appended, with neighbours of one colour in one piece.
QList<StringSink::Append> appendedByColour(const StringSink& sink)
{
    QList<StringSink::Append> runs;
    for (const StringSink::Append& append : sink.appends) {
        if (runs.isEmpty() || runs.constLast().color != append.color)
            runs.append({QString(), append.color});
        runs.last().text += append.text;
    }
    return runs;
}

void oneStep(Bench& bench, ReceiveModel& model, QRandomGenerator& random)
{
    static const QStringList peers{u""_s, u""_s, u""_s, u"a:1"_s, u"b:1"_s};
    bench.now = bench.now.addMSecs(std::array{0, 0, 0, 1, 10, 11}[random.bounded(6)]);
    const RunState state = model.runState();
    quint32 what = random.bounded(100);
    // A large record is filtered piece by piece when it is shown; what would change the filter
    // waits for that.
    if (bench.pipeline.waitingBytes() > DisplayQueue::kSliceBytes && what >= 80
        && !(state == RunState::Paused && what < 86))
        what = 99;
    if (what < 75) {
        const QByteArray chunk = anyChunk(random, state != RunState::Stopped);
        const QString peer = peers.at(random.bounded(peers.size()));
        if (what < 60) {
            bench.receive(chunk, peer);
            model.ingest(chunk, peer, bench.now);
        } else {
            bench.pipeline.pushByteArray(chunk, false, RXorTx::Sent);
            model.push(chunk, RXorTx::Sent, {}, bench.now);
        }
    } else if (what < 80) {
        bench.pipeline.pause();
        model.pause();
    } else if (what < 86) {
        bench.pipeline.start();
        model.start(bench.now);
    } else if (what < 88) {
        bench.pipeline.stop();
        model.stop(bench.now);
    } else if (what < 89) {
        bench.pipeline.clear();
        model.clear();
    } else if (what < 92) {
        bench.format = anyFormat(random);
        bench.apply();
        model.setFormat(bench.format);
    }
    // Nothing is shown in between.
    const bool drains = what >= 92 || random.bounded(3) == 0;
    model.appended.clear();
    if (drains) {
        bench.drainAll();
        model.drain();
    }
}

} // namespace

class TestReceivePipeline final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Chunks of all kinds, pauses, directions, peers, formats, encodings and colours, a view that
    // is paused, stopped, resumed and cleared: after every step the pipeline has done what the
    // model does. In every second run the time of a drain is used up now and then.
    void likeTheModel()
    {
        for (quint32 seed = 1; seed <= 12; ++seed) {
            Bench bench;
            ReceiveModel model;
            model.start(bench.now);
            QRandomGenerator random(seed);
            for (int step = 0; step < 400; ++step) {
                bench.stepMs =
                    seed % 2 == 0 ? random.bounded(2 * ReceivePipeline::kDrainBudgetMs) : 0;
                oneStep(bench, model, random);
                const QByteArray where =
                    "seed " + QByteArray::number(seed) + " step " + QByteArray::number(step);
                QVERIFY2(appendedByColour(bench.sink) == model.appended, where);
                bench.sink.appends.clear();
                QVERIFY2(bench.sink.text == model.text, where);
                QVERIFY2(bench.sink.digits == model.digits, where);
                QVERIFY2(bench.pipeline.receivedBytes() == model.received, where);
                QVERIFY2(bench.pipeline.removedCharacters() == model.removed, where);
                QVERIFY2(bench.pipeline.runState() == model.runState(), where);
            }
        }
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
        QCOMPARE(bench.sink.text, u"1m\uFFFD"_s);

        // Left while its bytes still wait: they keep what came before them.
        bench.receive("\xC3", u"b"_s);
        bench.drainAll();
        bench.receive("\xA9", u"b"_s);
        bench.pipeline.forgetPeer(u"b"_s);
        bench.drainAll();
        bench.receive("\xA9", u"b"_s);
        bench.drainAll();
        QCOMPARE(bench.sink.text, u"1m\uFFFD\u00E9\uFFFD"_s);
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
        QCOMPARE(
            bench.sink.appends, QList<StringSink::Append>({{u"r1 r2 s1 r3 "_s, std::nullopt}}));
        bench.format.formatDisplayColor = true;
        bench.format.receiveTextColor = Qt::blue;
        bench.format.sendTextColor = Qt::red;
        bench.apply();
        exchange();
        QCOMPARE(
            bench.sink.appends, QList<StringSink::Append>({{u"r1 r2 "_s, QColor(Qt::blue)},
                                    {u"s1 "_s, QColor(Qt::red)}, {u"r3 "_s, QColor(Qt::blue)}}));
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
        QSignalSpy status(&bench.pipeline, &ReceivePipeline::statusMessage);
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
        QCOMPARE(status[0][1].toInt(), 5000);
        bench.pipeline.start();
        bench.stepMs = ReceivePipeline::kDrainBudgetMs;
        bench.pipeline.onRefreshDisplay();
        QCOMPARE(throttle.size(), 3); // the view has to catch up first
    }

    void timerRestsWhenIdle()
    {
        StringSink sink;
        ReceivePipeline pipeline(sink);
        const auto* timer = pipeline.findChild<QTimer*>();
        QCOMPARE(timer->interval(), 20);
        pipeline.start();
        QVERIFY(!timer->isActive());
        pipeline.ingestRx("hello", true, {});
        QVERIFY(timer->isActive());
        QTRY_COMPARE(sink.text, u"hello"_s);
        QVERIFY(!timer->isActive());
        pipeline.pause();
        pipeline.ingestRx(" again", true, {});
        pipeline.pushByteArray(" sent", false, RXorTx::Sent);
        QVERIFY(!timer->isActive());
        pipeline.start();
        QTRY_COMPARE(sink.text, u"hello sent again"_s);
    }

    void everyChunkIsTappedAndLightsTheLamp()
    {
        Bench bench;
        QSignalSpy tapped(&bench.pipeline, &ReceivePipeline::rxTapped);
        QSignalSpy lamp(&bench.pipeline, &ReceivePipeline::received);
        bench.receive("\x1B[0m");
        bench.pipeline.pause();
        bench.receive("b");
        bench.receive("c", u"a:1"_s);
        bench.receive("");
        QCOMPARE(tapped, QList<QVariantList>({{QByteArray("\x1B[0m"), QString()},
                             {QByteArray("b"), QString()}, {QByteArray("c"), u"a:1"_s}}));
        QCOMPARE(lamp.size(), 3);
        bench.pipeline.pushByteArray("sent", false, RXorTx::Sent);
        QCOMPARE(lamp.size(), 3);
    }
};

QTEST_GUILESS_MAIN(TestReceivePipeline)
#include "tst_receivepipeline.moc"
