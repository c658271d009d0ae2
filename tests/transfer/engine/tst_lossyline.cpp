// Two engines over a simulated line. Whatever the line does, the file arrives whole or at least one
// end says that it did not, and both come to an end.

#include "transfer/engine/lossyline.h"

#include <QTest>

namespace {

struct Variant
{
    const char* name;
    XferProtocol protocol;
    qint32 block;
};
constexpr Variant kVariants[] = {
    {"XMODEM", XferProtocol::Xmodem, 1024},
    {"XMODEM-CRC", XferProtocol::XmodemCrc, 1024},
    {"XMODEM-1K", XferProtocol::Xmodem1K, 1024},
    {"YMODEM", XferProtocol::Ymodem, 1024},
    {"YMODEM/128", XferProtocol::Ymodem, 128},
    {"YMODEM-G", XferProtocol::YmodemG, 1024},
};

// Each of the ten retries of one block can wait for its time-out, and then the other end for its
// own.
qint64 longestMs(qsizetype fileSize)
{
    return 60'000 + (fileSize / 128 + 4) * 11 * 20'000;
}

QByteArray describe(const LossyLine& line, const char* name = "", qint64 number = 0)
{
    const auto say = [](const XferStep& step) {
        return step.done ? QByteArray("done")
                         : "error " + QByteArray::number(qint32(step.error)) + " "
                               + step.message.toLatin1();
    };
    return QByteArray(name) + ' ' + QByteArray::number(number) + ": sender "
           + say(line.end(LossyLine::Sender)) + ", receiver " + say(line.end(LossyLine::Receiver))
           + ", at " + QByteArray::number(line.nowMs()) + " ms, received "
           + QByteArray::number(line.sink.bytes.size());
}

} // namespace

class TestLossyLine final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    static void perfectLine_data();
    static void perfectLine();
    static void badLine_data();
    static void badLine();
    static void damageIsRepaired();
    static void cancelAtEveryPoint();
};

void TestLossyLine::perfectLine_data()
{
    QTest::addColumn<XferProtocol>("protocol");
    QTest::addColumn<qint32>("block");
    QTest::addColumn<qsizetype>("size");
    for (const Variant& v : kVariants) {
        const bool shortBlocks = v.block == 128 || v.protocol < XferProtocol::Xmodem1K;
        for (const qsizetype size :
            {0, 1, 127, 128, 129, 1023, 1024, 1025, 131073, 300 * (shortBlocks ? 128 : 1024)}) {
            QTest::addRow("%s, %d bytes", v.name, int(size)) << v.protocol << v.block << size;
        }
    }
}

void TestLossyLine::perfectLine()
{
    QFETCH(XferProtocol, protocol);
    QFETCH(qint32, block);
    QFETCH(qsizetype, size);
    // Chunks of one byte, of a frame, of more; 300 baud, on which a long block outlasts every
    // time-out; a line that is all latency.
    const LossyLine::Config timings[] = {
        {.protocol = protocol, .blockSizeOption = block, .byteUs = 33'333, .longestChunk = 1},
        {.protocol = protocol, .blockSizeOption = block, .latencyUs = 400'000, .byteUs = 0},
        {.protocol = protocol, .blockSizeOption = block, .longestChunk = 5000},
    };
    for (const LossyLine::Config& config : timings) {
        LossyLine line(config, randomBytes(size, 11));
        QVERIFY2(line.run(longestMs(size)), describe(line));
        QVERIFY2(line.bothDone() && line.arrivedWhole(), describe(line));
        QCOMPARE(line.progress(LossyLine::Receiver).retries, 0);
        QCOMPARE(line.progress(LossyLine::Sender).bytesDone, size);
        const qsizetype padding = line.sink.bytes.size() - size;
        QVERIFY(padding >= 0 && padding < (xferIsYmodem(protocol) ? 1 : 1024));
    }
}

void TestLossyLine::badLine_data()
{
    QTest::addColumn<XferProtocol>("protocol");
    QTest::addColumn<qint32>("block");
    QTest::addColumn<double>("loss");
    QTest::addColumn<double>("damage");
    QTest::addColumn<double>("doubling");
    for (const Variant& v : kVariants) {
        const auto row = [&v](const char* faults, double loss, double damage, double doubling) {
            QTest::addRow("%s, %s", v.name, faults)
                << v.protocol << v.block << loss << damage << doubling;
        };
        row("loss", 1e-3, 0, 0);
        row("damage", 0, 1e-3, 0);
        row("doubling", 0, 0, 1e-3);
        row("everything", 2e-4, 2e-4, 2e-4);
        row("storm", 1e-2, 1e-2, 1e-2);
        row("dead", 1, 0, 0);
    }
}

void TestLossyLine::badLine()
{
    QFETCH(XferProtocol, protocol);
    QFETCH(qint32, block);
    LossyLine::Faults faults;
    QFETCH(double, loss);
    QFETCH(double, damage);
    QFETCH(double, doubling);
    faults = {loss, damage, doubling};
    quint32 seed = 100;
    for (const qsizetype size : {0, 1, 127, 128, 129, 1023, 1024, 1025, 5000, 38400}) {
        for (int run = 0; run < 4; ++run) {
            ++seed;
            LossyLine line(
                {.protocol = protocol, .blockSizeOption = block, .faults = faults, .seed = seed},
                randomBytes(size, seed));
            QVERIFY2(line.run(longestMs(size)), describe(line, "seed", seed));
            QVERIFY2(!line.bothDone() || line.arrivedWhole() || line.forgedEot,
                describe(line, "seed", seed));
        }
    }
}

// One byte in two thousand: every block that is hit is sent again, and no other. A reply that is
// hit may cost two, as both ends time out at once and the receiver's NAK crosses the repetition.
void TestLossyLine::damageIsRepaired()
{
    for (const Variant& v : kVariants) {
        for (quint32 seed = 1; seed <= 10 && v.protocol != XferProtocol::YmodemG; ++seed) {
            // Every other run at 1200 baud: a long block takes 8.6 s, nearly a whole time-out.
            LossyLine line({.protocol = v.protocol,
                               .blockSizeOption = v.block,
                               .faults = {.damage = 5e-4},
                               .seed = seed,
                               .byteUs = seed % 2 == 0 ? 8'333 : 87,
                               .longestChunk = 8},
                randomBytes(65536, seed));
            QVERIFY2(line.run(longestMs(65536)), describe(line, v.name, seed));
            QVERIFY2(line.bothDone() && line.arrivedWhole(), describe(line, v.name, seed));
            const int resent = line.progress(LossyLine::Sender).retries;
            QVERIFY2(
                resent <= line.framesHurt + 2 * line.repliesHurt, describe(line, v.name, seed));
        }
    }
}

void TestLossyLine::cancelAtEveryPoint()
{
    const QByteArray file = randomBytes(2500, 5);
    const qint64 limitMs = longestMs(file.size());
    for (const Variant& v : kVariants) {
        for (const LossyLine::End here : {LossyLine::Sender, LossyLine::Receiver}) {
            LossyLine::Config config{.protocol = v.protocol, .longestChunk = 400};
            config.cancellingEnd = here;
            LossyLine whole(config, file);
            QVERIFY(whole.run(limitMs) && whole.bothDone());
            QVERIFY(whole.events() > 5);
            for (int event = 0; event < whole.events(); ++event) {
                config.cancelAtEvent = event;
                LossyLine line(config, file);
                QVERIFY2(line.run(limitMs), describe(line, v.name, event));
                QCOMPARE(line.end(here).error, XferError::LocalCancel);
                // The other end may have been through already, or have given up by itself.
                const XferStep& there = line.end(LossyLine::End(1 - here));
                const bool knows = there.error == XferError::RemoteCancel;
                QVERIFY2(knows || there.done, describe(line, v.name, event));
                QVERIFY2(!there.done || line.arrivedWhole(), describe(line, v.name, event));
            }
        }
    }
}

QTEST_APPLESS_MAIN(TestLossyLine)
#include "tst_lossyline.moc"
