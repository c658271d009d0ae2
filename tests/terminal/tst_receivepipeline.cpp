#include "terminal/receivepipeline.h"

#include "terminal/displaysinkstub.h"
#include "terminal/format/messagecodec.h"
#include "terminal/format/sendmodes.h"
#include "terminal/text/wiretextcodecregistry.h"

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

// The obvious way: all of it filtered and formatted as one record.
QString formattedWhole(const QByteArray& bytes, const FormatSetting& format)
{
    AnsiEscapeFilter filter;
    filter.setSingleByteIntroducers(false);
    rxData record;
    record.time = kNoon;
    record.bytes =
        format.receiveMsgFormat == int(MessageFormat::Text) ? filter.process(bytes) : bytes;
    DisplayState state;
    const auto decoder = WireTextCodecRegistry::createDecoder(format.receiveEncoding);
    return MessageCodec::decodeForUi(record, format, state, *decoder);
}

} // namespace

class TestReceivePipeline final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cuttingNeverMatters_data();
    void cuttingNeverMatters();
    void escapeOnlyChunkCountsAndShowsNothing();
    void bytesOfUtf8AreNoControlSequences();
    void peersDoNotMixCharacters();
    void peerDecodersAreBounded();
    void recordsOfOneColourAreAppendedTogether();
    void drainBudget_data();
    void drainBudget();
    void holdBufferArrivesWhole();
    void lineFeedAtASliceEndIsNotAlone();
    void pausedViewKeepsDatagramsApart();
    void stopShowsWhatCameBefore();
    void startAfreshOrResumed();
    void trimHalvesTheView();
    void queueMarks();
    void tinyRecordsCostTheirKeeping();
    void pausedMark();
    void timerRestsWhenIdle();
    void clearForgets();
    void everyChunkIsTappedAndLightsTheLamp();
};

void TestReceivePipeline::cuttingNeverMatters_data()
{
    QTest::addColumn<int>("receiveFormat");
    QTest::addColumn<bool>("stamps");
    QTest::addColumn<int>("chunkSize");
    const int text = int(MessageFormat::Text);
    const int hex = int(MessageFormat::Hexadecimal);
    QTest::newRow("text, tiny chunks") << text << false << 5;
    QTest::newRow("text, large chunks") << text << false << 300000;
    QTest::newRow("text with stamps, tiny chunks") << text << true << 5;
    QTest::newRow("text with stamps, large chunks") << text << true << 300000;
    QTest::newRow("hexadecimal, chunks") << hex << false << 1000;
    QTest::newRow("hexadecimal with stamps, large chunks") << hex << true << 300000;
}

void TestReceivePipeline::cuttingNeverMatters()
{
    QFETCH(int, receiveFormat);
    QFETCH(bool, stamps);
    QFETCH(int, chunkSize);
    for (quint32 seed = 1; seed <= 4; ++seed) {
        QRandomGenerator random(seed);
        const QByteArray input = deviceTalk(random, chunkSize < 100 ? 60000 : 3 * kMiB);
        Bench bench;
        bench.format.receiveMsgFormat = receiveFormat;
        bench.format.displayMsgTime = stamps;
        bench.format.displayBufferSize = kMiB;
        bench.apply();
        for (qsizetype at = 0; at < input.size();) {
            const qsizetype size = 1 + random.bounded(chunkSize);
            bench.receive(input.mid(at, size));
            at += size;
            bench.stepMs = random.bounded(8);
            switch (random.bounded(6)) {
            case 0:
                bench.pipeline.pause();
                break;
            case 1:
                bench.pipeline.start();
                break;
            case 2:
            case 3:
                bench.pipeline.onRefreshDisplay();
                break;
            default:
                break;
            }
        }
        bench.pipeline.start();
        bench.drainAll();
        QCOMPARE(bench.pipeline.receivedBytes(), input.size());
        QCOMPARE(bench.pipeline.waitingBytes(), 0);
        // The view has the end of the text; what is missing in front was trimmed by halves.
        const QString whole = formattedWhole(input, bench.format);
        const qint64 removed = bench.pipeline.removedCharacters();
        QCOMPARE(removed % (kMiB / 2), 0);
        QCOMPARE(bench.sink.text.size(), whole.size() - removed);
        QVERIFY2(bench.sink.text == QStringView(whole).sliced(removed), QByteArray::number(seed));
    }
}

void TestReceivePipeline::escapeOnlyChunkCountsAndShowsNothing()
{
    Bench bench;
    QSignalSpy drained(&bench.pipeline, &ReceivePipeline::drained);
    bench.receive("\x1B[0m");
    QCOMPARE(bench.pipeline.receivedBytes(), 4);
    QCOMPARE(bench.pipeline.waitingBytes(), 0);
    bench.drainAll();
    QCOMPARE(drained.size(), 0);
    // Switching to hexadecimal gives up a sequence that is open and shows all from then on.
    bench.receive("\x1B[3");
    bench.format.receiveMsgFormat = int(MessageFormat::Hexadecimal);
    bench.apply();
    bench.receive("\x1B[0m");
    bench.drainAll();
    QCOMPARE(bench.sink.text, u"1B 5B 30 6D "_s);
    bench.format.receiveMsgFormat = int(MessageFormat::Text);
    bench.apply();
    bench.receive("1m");
    bench.drainAll();
    QVERIFY(bench.sink.text.endsWith("1m"_L1));
}

void TestReceivePipeline::bytesOfUtf8AreNoControlSequences()
{
    Bench bench;
    bench.receive("\xC3\x9B"
                  "50 m\xC3\x9D"
                  "?\n");
    bench.drainAll();
    QCOMPARE(bench.sink.text, QString::fromUtf8("\xC3\x9B"
                                                "50 m\xC3\x9D"
                                                "?\n"));
    bench.pipeline.clear();
    bench.format.receiveEncoding = u"latin1"_s;
    bench.apply();
    bench.receive("a\x9B"
                  "1mb");
    bench.drainAll();
    QCOMPARE(bench.sink.text, u"ab"_s);
}

void TestReceivePipeline::peersDoNotMixCharacters()
{
    Bench bench;
    bench.receive("\xE4", u"a:1"_s);
    bench.receive("\xC3", u"b:1"_s);
    bench.receive("\xB8\xAD", u"a:1"_s);
    bench.receive("\xA9", u"b:1"_s);
    bench.drainAll();
    QCOMPARE(bench.sink.text, QString(QChar(0x4E2D)) + QChar(0xE9));
}

void TestReceivePipeline::peerDecodersAreBounded()
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

void TestReceivePipeline::recordsOfOneColourAreAppendedTogether()
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
    QCOMPARE(bench.sink.appends, QList<StringSink::Append>({{u"r1 r2 s1 r3 "_s, std::nullopt}}));
    bench.format.formatDisplayColor = true;
    bench.format.receiveTextColor = Qt::blue;
    bench.format.sendTextColor = Qt::red;
    bench.apply();
    exchange();
    QCOMPARE(bench.sink.appends, QList<StringSink::Append>({{u"r1 r2 "_s, QColor(Qt::blue)},
                                     {u"s1 "_s, QColor(Qt::red)}, {u"r3 "_s, QColor(Qt::blue)}}));
    QCOMPARE(bench.pipeline.receivedBytes(), 18);
}

void TestReceivePipeline::drainBudget_data()
{
    QTest::addColumn<int>("msPerRecord");
    QTest::addColumn<int>("recordsInOneDrain");
    QTest::newRow("all at once while there is time") << 0 << 5;
    QTest::newRow("a millisecond is left") << int(ReceivePipeline::kDrainBudgetMs) - 1 << 2;
    QTest::newRow("the time is used up") << int(ReceivePipeline::kDrainBudgetMs) << 1;
    QTest::newRow("one takes longer than the time") << 1000 << 1;
}

void TestReceivePipeline::drainBudget()
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

void TestReceivePipeline::holdBufferArrivesWhole()
{
    Bench bench;
    bench.format.displayMsgTime = true;
    bench.format.rxTimeFormat = u"[hh:mm:ss] "_s;
    bench.format.displayBufferSize = 8 * kMiB;
    bench.apply();
    QRandomGenerator random(7);
    const QByteArray held = deviceTalk(random, kMiB) + "\r\n";
    bench.pipeline.pause();
    for (qsizetype at = 0; at < held.size(); at += 1000)
        bench.receive(held.mid(at, 1000));
    QCOMPARE(bench.pipeline.receivedBytes(), 0);
    bench.now = kNoon.addSecs(60);
    bench.pipeline.start();
    QCOMPARE(bench.pipeline.receivedBytes(), held.size());
    // New bytes wait behind the held ones, with their own time.
    bench.now = kNoon.addSecs(61);
    bench.receive("\x1B[32mnext");
    bench.stepMs = ReceivePipeline::kDrainBudgetMs / 2;
    QCOMPARE(bench.drainAll(), int((held.size() / DisplayQueue::kSliceBytes + 2 + 1) / 2));
    for (const StringSink::Append& append : std::as_const(bench.sink.appends))
        QVERIFY(append.text.size() < 8 * DisplayQueue::kSliceBytes);
    const QString noonText = formattedWhole(held, bench.format);
    QCOMPARE(bench.sink.text.size(), noonText.size() + u"[12:01:01] next"_s.size());
    QVERIFY(bench.sink.text
            == QString(noonText).replace("[12:00:00]"_L1, "[12:01:00]"_L1) + "[12:01:01] next"_L1);
}

void TestReceivePipeline::lineFeedAtASliceEndIsNotAlone()
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

void TestReceivePipeline::pausedViewKeepsDatagramsApart()
{
    Bench bench;
    bench.format.displayMsgTime = true;
    bench.format.rxTimeFormat = u"[ss] "_s;
    bench.apply();
    bench.pipeline.pause();
    bench.receive("one\n", u"a:1"_s);
    bench.now = kNoon.addSecs(1);
    bench.receive("two\n", u"a:1"_s);
    QCOMPARE(bench.pipeline.receivedBytes(), 8);
    bench.pipeline.onRefreshDisplay();
    QCOMPARE(bench.sink.text, QString());
    bench.pipeline.start();
    bench.drainAll();
    QCOMPARE(bench.sink.text, u"[00] one\n[01] two\n"_s);
}

void TestReceivePipeline::stopShowsWhatCameBefore()
{
    Bench bench;
    bench.stepMs = ReceivePipeline::kDrainBudgetMs; // one record per drain
    bench.receive("last ");
    bench.receive("words ");
    bench.pipeline.stop();
    bench.receive("late");
    bench.drainAll();
    QCOMPARE(bench.sink.text, u"last words "_s);
    bench.pipeline.start();
    bench.drainAll();
    QCOMPARE(bench.sink.text, u"last words late"_s);
    // What a paused view held back waits too, and is not lost.
    bench.pipeline.pause();
    bench.receive(" held");
    bench.pipeline.stop();
    bench.drainAll();
    QCOMPARE(bench.sink.text, u"last words late"_s);
    bench.pipeline.start();
    bench.drainAll();
    QCOMPARE(bench.sink.text, u"last words late held"_s);
    QCOMPARE(bench.pipeline.receivedBytes(), 20);
}

void TestReceivePipeline::startAfreshOrResumed()
{
    Bench bench;
    const QString eAcute(QChar(0xE9));
    bench.receive("\xC3");
    bench.drainAll();
    bench.pipeline.start(); // of a running view: a message was sent meanwhile
    bench.receive("\xA9");
    bench.drainAll();
    QCOMPARE(bench.sink.text, eAcute);
    bench.receive("\xC3");
    bench.drainAll();
    bench.pipeline.pause();
    bench.receive("\xA9");
    bench.pipeline.start();
    bench.drainAll();
    QCOMPARE(bench.sink.text, eAcute + eAcute);
    bench.receive("\xC3");
    bench.drainAll();
    bench.pipeline.stop();
    bench.pipeline.start();
    bench.receive("A");
    bench.drainAll();
    QCOMPARE(bench.sink.text, eAcute + eAcute + u'A');
}

void TestReceivePipeline::trimHalvesTheView()
{
    Bench bench;
    bench.format.displayBufferSize = kMiB;
    bench.apply();
    bench.receive(QByteArray(kMiB - 1, 'a'));
    bench.receive("b");
    bench.drainAll();
    QCOMPARE(bench.sink.trims, QList<qint64>());
    bench.receive("c");
    bench.drainAll();
    QCOMPARE(bench.sink.trims, QList<qint64>{kMiB / 2});
    QCOMPARE(bench.sink.forcedScrolls, 1);
    QCOMPARE(bench.sink.text, QString(kMiB / 2 - 1, u'a') + "bc"_L1);
    QCOMPARE(bench.pipeline.removedCharacters(), kMiB / 2);
    // A view shorter than half its bound loses what it has.
    bench.pipeline.clear();
    bench.receive("abc");
    bench.drainAll();
    bench.pipeline.removeHalfData();
    QCOMPARE(bench.pipeline.removedCharacters(), 3);
    QCOMPARE(bench.sink.text, QString());
}

void TestReceivePipeline::queueMarks()
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

void TestReceivePipeline::tinyRecordsCostTheirKeeping()
{
    Bench bench;
    QSignalSpy throttle(&bench.pipeline, &ReceivePipeline::throttleRequested);
    int records = 0;
    while (throttle.isEmpty() && records < 100000) {
        bench.now = kNoon.addMSecs(records);
        bench.receive("x");
        ++records;
    }
    QCOMPARE(records, int((ReceivePipeline::kQueueHighWater + DisplayQueue::kRecordCost)
                          / (DisplayQueue::kRecordCost + 1)));
}

void TestReceivePipeline::pausedMark()
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

void TestReceivePipeline::timerRestsWhenIdle()
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

void TestReceivePipeline::clearForgets()
{
    Bench bench;
    bench.receive("text\xC3");
    bench.drainAll();
    bench.pipeline.clear();
    QCOMPARE(bench.sink.text, QString());
    QCOMPARE(bench.pipeline.receivedBytes(), 0);
    // The view is at the start of a line, and no character is open.
    bench.receive("\n");
    bench.receive("A");
    bench.drainAll();
    QCOMPARE(bench.sink.text, u"A"_s);
}

void TestReceivePipeline::everyChunkIsTappedAndLightsTheLamp()
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

QTEST_GUILESS_MAIN(TestReceivePipeline)
#include "tst_receivepipeline.moc"
