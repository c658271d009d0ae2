// The engine against its rules: one script a rule, for both roles, fed whole and byte by byte.

#include "transfer/engine/transferscript.h"
#include "transfer/engine/xferconfig.h"
#include "transfer/engine/xmodemframe.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto kSum = XferProtocol::Xmodem;
constexpr auto kCrc = XferProtocol::XmodemCrc;
constexpr auto kK1 = XferProtocol::Xmodem1K;
constexpr auto kY = XferProtocol::Ymodem;
constexpr auto kG = XferProtocol::YmodemG;

QByteArray times(int count, const char* words)
{
    return QByteArray(words).repeated(count);
}

struct Row
{
    const char* name;
    XferProtocol protocol;
    qsizetype fileSize;
    QByteArray script;
    const char* message = "";
};

void addRows(std::initializer_list<Row> rows)
{
    QTest::addColumn<XferProtocol>("protocol");
    QTest::addColumn<qsizetype>("fileSize");
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("message");
    for (const Row& row : rows) {
        QTest::newRow(row.name) << row.protocol << row.fileSize << row.script
                                << QString::fromLatin1(row.message);
    }
}

enum class Feed { WholeOnly, ByteByByteToo };

void playRow(XmodemCodec::Role role, qint32 block, Feed feed = Feed::ByteByByteToo)
{
    QFETCH(XferProtocol, protocol);
    QFETCH(qsizetype, fileSize);
    QFETCH(QByteArray, script);
    QFETCH(QString, message);
    for (const bool byteByByte : {false, true}) {
        if (byteByByte && feed == Feed::WholeOnly)
            break;
        TransferScript player(role, protocol, block, fileSize);
        player.message = message;
        const QString problem = player.play(script, byteByByte);
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
    }
}

} // namespace

class TestXmodemCodec final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    static void sender_data();
    static void sender() { playRow(XmodemCodec::Role::Sender, 1024); }
    static void senderShortBlocks_data();
    static void senderShortBlocks() { playRow(XmodemCodec::Role::Sender, 128); }
    static void receiver_data();
    static void receiver() { playRow(XmodemCodec::Role::Receiver, 1024); }
    static void senderLooksBack_data();
    static void senderLooksBack() { playRow(XmodemCodec::Role::Sender, 1024, Feed::WholeOnly); }
    static void receiverLooksAhead_data();
    static void receiverLooksAhead()
    {
        playRow(XmodemCodec::Role::Receiver, 1024, Feed::WholeOnly);
    }
    static void frameBytes();
    static void headerBlock_data();
    static void headerBlock();
    static void headerParsing_data();
    static void headerParsing();
    static void inputIsBounded();
    static void configIsClamped();
};

void TestXmodemCodec::sender_data()
{
    const char* gaveUp = "Gave up after 10 retries.";
    const char* unreadable = "Could not read the file being sent.";
    addRows({
        {"nobody asks", kCrc, 100, "wait:60000 <?,A,E +59999 wait:1 +1 fail:1 said",
            "The device did not request the transfer. Check that it is waiting to receive and "
            "that the baud rate matches."},
        {"block by block", kCrc, 300, "<C >1 <A >2 <A >3 <A >E <A done retries:0"},
        {"NAK asks for checksums", kCrc, 200, "sum <N >1 <A >2 <A >E <A done"},
        {"C asks for CRC", kSum, 200, "crc <C >1 <A >2 <A >E <A done"},
        {"1024 bytes are one block", kK1, 1024, "<C >1 <A >E <A done"},
        {"1025 bytes end in a short block", kK1, 1025, "<C >1 <A >2 <A >E <A done"},
        {"129 bytes fill a long block", kK1, 129, "<C >1 <A >E <A done"},
        {"empty file", kCrc, 0, "<C >E <A done"},
        {"empty file in a batch", kY, 0, "<C >H <A,C >E <A,C >T <A done"},
        {"batch", kY, 1100, "<C >H <A wait:10000 <?,N <C >1 <A >2 <A >E <A <C >T <N >T <A done"},
        {"no next header asked", kY, 10, "<C >H <A,C >1 <A >E <A wait:10000 +9999 +1 done"},
        {"C instead of EOT's ACK", kY, 10, "<C >H <A,C >1 <A >E <C >T <A done"},
        {"C instead of EOT's ACK, XMODEM", kCrc, 10, "<C >1 <A >E <C >T <A done"},
        {"C while a block awaits its ACK", kCrc, 10, "<C >1 <C <G +10000 >1 <A >E <A done"},
        {"ten resends", kCrc, 10, "<C >1 " + times(10, "<N >1 ") + "retries:10 <N >K fail:2 said",
            gaveUp},
        {"ten time-outs", kCrc, 10, "<C >1 " + times(10, "+9999 +1 >1 ") + "+10000 >K fail:2 said",
            gaveUp},
        {"retries count anew after ACK", kCrc, 200,
            "<C >1 " + times(10, "<N >1 ") + "<A >2 " + times(10, "+10000 >2 ")
                + "<A >E <N >E +10000 >E <A done retries:22"},
        {"nobody starts the data", kY, 10,
            "<C >H <A " + times(10, "+10000 ") + "+10000 >K fail:2 said", gaveUp},
        {"one CAN is noise", kCrc, 200, "<C >1 <X <A >2 <X,?,X,A >E <A done"},
        {"two CAN cancel", kCrc, 200, "<C >1 <X <X fail:3 said",
            "The device cancelled the transfer."},
        {"stream", kG, 3000, "<G >H <A,G >1,2,3,E <A,G >T <A done"},
        {"stream: only the EOT is acknowledged", kG, 3000,
            "<G >H wait:10000 <G >1,2,3,E <A,G >T wait:1000 <?,G +999 +1 done"},
        {"stream: end of the batch not acknowledged", kG, 300,
            "<G >H <A,G >1,E <A,G >T +9999 +1 done"},
        {"stream: G asked twice is no answer to the header", kG, 300,
            "hold <G >H <G +5000 drain +10000 >K fail:2"},
        {"stream because asked", kY, 3000, "<C >H <A,G >1,2,3,E <A,C >T <A done"},
        {"no stream because not asked", kG, 200, "<C >H <A,C >1 <A >E <A,C >T <A done"},
        {"stream: one frame in flight", kG, 3000,
            "hold <G >H drain <A,G >1 wait:-1 +90000 <A,C drain >2 drain >3 drain >E drain "
            "<A,G >T drain <A done"},
        {"stream: error reported", kG, 3000, "hold <G >H drain <A,G >1 <N drain >K fail:2 said",
            "The device reported an error. YMODEM-G cannot resend a block, so the transfer has "
            "been abandoned."},
        {"stream: silence", kG, 300, "<G >H +9999 +1 >K fail:2 said",
            "The device stopped responding. YMODEM-G has no retransmission, so the transfer has "
            "failed."},
        {"time-out counts from the drain", kCrc, 300,
            "hold <C >1 wait:-1 +50000 <A +999 drain >2 drain wait:10000 +9999 +1 >2 cancel >K"},
        {"ACK long before the block had left", kCrc, 300,
            "hold <C >1 <A +1000 drain wait:10000 <A >2 drain cancel >K"},
        {"ACK of a repetition while the next block is sent", kCrc, 400,
            "hold <C >1 drain +10000 >1 drain <A >2 <A drain wait:10000 <N >2 drain <A >3 <A drain "
            ">4 "
            "drain cancel >K"},
        {"reply after the time-out", kCrc, 300, "<C >1 late:10000 <A >1,2 <A >3 <A >E <A done"},
        {"reply after the last time-out", kY, 10, "<C >H <A,C >1 <A >E <A late:10000 <C done"},
        {"read error", kCrc, 300, "read-fails <C >K fail:8 said", unreadable},
        {"file shorter than it was", kCrc, 300, "read-short <C >K fail:8 said", unreadable},
        {"no file", kY, 300, "no-source <C >H <A,C >K fail:8 said", unreadable},
        {"file changed", kCrc, 10, "changed <C >1 <A >K fail:9 said",
            "The file changed while it was being sent."},
        {"cancelled here", kCrc, 10, "hold <C >1 cancel >K fail:4 said wait:-1", "Cancelled."},
    });
}

void TestXmodemCodec::senderShortBlocks_data()
{
    addRows({
        {"XMODEM-1K", kK1, 300, "<C >1 <A >2 <A >3 <A >E <A done"},
        {"YMODEM", kY, 256, "<C >H <A,C >1 <A >2 <A >E <A,C >T <A done"},
    });
}

void TestXmodemCodec::receiver_data()
{
    const char* notSaved = "The data was received but could not be saved.";
    const char* noFile = "Could not create the destination file.";
    const char* notStarted = "The device did not start sending. Check that it is ready to send and "
                             "that the baud rate matches.";
    const char* cancelled = "The device cancelled the transfer.";
    const char* noise = "Data kept failing its checksum. This is usually a baud rate mismatch or "
                        "line noise.";
    addRows({
        {"sender knows checksums only", kCrc, 100,
            ">C +2999 +1 >C " + times(4, "+3000 >C ")
                + "+3000 >N wait:10000 sum <1 >A <E >A done saved:128"},
        {"nobody sends, CRC", kY, 10, ">C " + times(19, "+3000 >C ") + "+3000 fail:1 said",
            notStarted},
        {"nobody sends, checksum", kSum, 10,
            ">N " + times(5, "+9999 +1 >N ") + "+10000 fail:1 said", notStarted},
        {"block by block", kCrc, 300, ">C <1 >A <2 >A <3 >A <E >A done saved:384 retries:0"},
        {"checksum", kSum, 200, ">N <1 >A <2 >A <E >A done saved:256"},
        {"long and short block", kK1, 1025, ">C <1 >A <2 >A <E >A done saved:1152"},
        {"empty file", kCrc, 0, ">C <E >A done saved:0"},
        {"all at once", kCrc, 300, ">C <1,2,3,E >A,A,A,A done saved:384"},
        {"repeated block", kCrc, 256, ">C <1 >A <1 >A <2 >A <2 >A <E >A done saved:256"},
        {"block out of step", kCrc, 500, ">C <1 >A <3 >K fail:16 said",
            "Block 3 arrived when block 2 was expected; the transfer is out of step."},
        {"damaged blocks", kCrc, 256,
            ">C <1! >N <1~ >N <1 >A <2~ >N <2 >A <E >A done saved:256 retries:3"},
        {"eleven damaged blocks", kCrc, 100,
            ">C " + times(5, "<1! >N <1~ >N ") + "retries:10 <1! >K fail:2 said", noise},
        {"time-outs", kSum, 200, ">N <1 >A " + times(10, "+9999 +1 >N ") + "+10000 >K fail:2 said",
            "Gave up after 10 retries."},
        {"time-out before any data", kCrc, 128, ">C <1! >N +10000 >C <1 >A +10000 >N"},
        {"time-out before any data, checksum", kSum, 128, ">N <1! >N +10000 >N"},
        {"noise and one CAN before a block", kCrc, 200, ">C <?,?,1 >A <X,2 >A <E >A done"},
        {"two CAN cancel", kCrc, 200, ">C <1 >A <X,X fail:3 said", cancelled},
        {"EOT in a block without a head", kCrc, 256,
            ">C <1 >A <?,E,? +10000 >N <2 >A <E >A done saved:256"},
        {"repetition that crossed the time-out's NAK", kCrc, 256,
            ">C <1 >A +10000 >N <1 >A <1 +9999 +1 >N <1 >A <2 >A <2 >A <E >A done saved:256"},
        {"damaged repetition that crossed the time-out's NAK", kCrc, 256,
            ">C <1 >A +10000 >N <1 >A <1! <2 >A <2! >N <2 >A <E >A done saved:256"},
        {"EOT instead of a block asked for again", kCrc, 256,
            ">C <1 >A <2! >N <E >N <2 >A <E >A done saved:256"},
        {"EOT instead of a block that was noise", kCrc, 256,
            ">C <1 >A <2^,2^,2^,2^,2^ +10000 >N <E >N <2 >A <E >A done saved:256"},
        {"EOT after noise, then a pause", kCrc, 128, ">C <1 >A <?,E +1000 <E >A done saved:128"},
        {"EOT after noise with all bytes here", kY, 128,
            ">C <H >A,C <1 >A <?,E >A,C <T >A done saved:128"},
        {"block cut short, then silence", kCrc, 256,
            ">C <1 >A <2^ +10000 >N <2 >A <E >A done saved:256"},
        {"slow block outlasts the time-out", kCrc, 256,
            ">C <1 >A +9500 <2^ +500 <2$ >A <E >A done saved:256 retries:0"},
        {"block that breaks off at the time-out", kCrc, 256,
            ">C <1 >A +9500 <2^ +500 wait:1000 +999 <- +1 >N <2 >A <E >A done saved:256"},
        {"cancelled in mid-block", kCrc, 256, ">C <1 >A <2^,K +10000 fail:3 said", cancelled},
        {"two CAN in what came of a block", kCrc, 256, ">C <1 >A <2^,X,X +10000 >N <2 >A"},
        {"batch", kY, 100, ">C <H >A,C wait:10000 <1 >A <E >A,C <T >A done saved:100"},
        {"batch of none", kY, 100, ">C <T >A done"},
        {"no end of batch", kY, 1300, ">C <H >A,C <1 >A <2 >A <E >A,C +9999 +1 done saved:1300"},
        {"repeated EOT is saved once", kY, 100,
            ">C <H >A,C <1 >A <E >A,C <E >A,C <T >A done saved:100"},
        {"EOT sent twice", kY, 100, ">C <H >A,C <1 >A <E,E >A,C,A,C <T >A done saved:100"},
        {"damaged end of batch", kY, 100, ">C <H >A,C <1 >A <E >A,C <T! >N <T >A done saved:100"},
        {"stream: repeated header", kG, 100, ">G <H >A,G <H >G <1,E >A,G <T >A done saved:100"},
        {"block that broke off, read late", kCrc, 256,
            ">C <1 >A <2^ late:10000 <2 >N,A <E >A done saved:256"},
        {"repeated header", kY, 100, ">C <H >A,C <H >A +10000 >C <1 >A <E >A,C <T >A done"},
        {"damaged header", kY, 100, ">C <H! >N <H >A,C <1 >A <E >A,C <T >A done saved:100"},
        {"header with a size that is none", kY, 100,
            ">C <U >A,C <1 >A <E >A,C <T >A done saved:128"},
        {"header without an end", kY, 100, ">C <W >K fail:16 said",
            "The device sent a malformed file header."},
        {"EOT before a header", kY, 100, ">C <E fail:12 said", notSaved},
        {"limit", kCrc, 2000, "limit:1000 >C <1,2,3,4,5,6,7,8 >A,A,A,A,A,A,A,A <9 >K fail:14 said",
            "Received 1152 bytes without an end of transfer. XMODEM has no length field, so there "
            "is no way to tell when it should stop."},
        {"limit met", kY, 1000, "limit:1000 >C <H >A,C <1 >A <E >A,C <T >A done"},
        {"limit below the offer", kY, 1001, "limit:1000 >C <H >K fail:14 said",
            "The device offered a 1001 byte file, which is over the receive limit."},
        {"no sink", kCrc, 10, "no-sink fail:10 said wait:-1", noFile},
        {"sink does not open", kCrc, 10, "open-fails fail:10 said", noFile},
        {"sink does not open after a header", kY, 10, "open-fails >C <H >K fail:10 said", noFile},
        {"sink does not write", kCrc, 10, "write-fails >C <1 >K fail:11 said",
            "Writing to disk failed."},
        {"sink does not commit", kCrc, 10, "commit-fails >C <1 >A <E fail:12 said", notSaved},
        {"stream", kG, 3000, ">G <H >A,G <1,2,2,3,E >A,G <T >A done saved:3000"},
        {"stream: damaged block", kG, 3000, ">G <H >A,G <1,2! >K fail:2 said",
            "A block failed its checksum. YMODEM-G cannot ask for it again, so the transfer has "
            "failed."},
        {"stream: silence", kG, 3000, ">G <H >A,G <1 +9999 +1 >K fail:2 said",
            "The device stopped sending. YMODEM-G cannot recover, so the transfer has failed."},
        {"nothing is read before the drain", kCrc, 256,
            "hold >C wait:-1 <1 +90000 drain >A <2 drain >A drain wait:10000 +9999 +1 >N"},
        {"cancelled here", kCrc, 256, ">C <1 >A cancel >K fail:4 said", "Cancelled."},
    });
}

// What came in one read with the reply before cannot answer the frame that this reply brought.
void TestXmodemCodec::senderLooksBack_data()
{
    addRows({
        {"doubled ACK", kCrc, 300, "<C >1 <A,A >2 <N >2 <A,A,A >3 <A,A >E +10000 >E <A done"},
        {"doubled start", kCrc, 300, "<C,C,N >1 <A >2 <A >3 <A >E <A done"},
        {"doubled start of a stream", kG, 300, "<G,G,G >H <A,G >1,E <A,G >T <A done"},
        {"cancelled behind an ACK", kCrc, 300, "<C >1 <A,X,X >2 fail:3"},
    });
}

// What lies behind a control character in the same read tells it from the inside of a block.
void TestXmodemCodec::receiverLooksAhead_data()
{
    addRows({
        {"head damaged into EOT", kCrc, 256, ">C <1 >A <E,2$ +10000 >N <2 >A <E >A done saved:256"},
        {"CAN CAN in a block without a head", kCrc, 256,
            ">C <1 >A <?,X,X,? +10000 >N <2 >A <?,K fail:3"},
    });
}

void TestXmodemCodec::frameBytes()
{
    using namespace XmodemFrame;
    QCOMPARE(crc16("123456789"), 0x31C3); // the catalogued check value of CRC-16/XMODEM
    QCOMPARE(frameBlock(0xFE, "AB", true).toHex(), "01fe014142567b"_ba);
    QCOMPARE(frameBlock(3, "\xFF\x03", false).toHex(), "0103fcff0302"_ba);
    QCOMPARE(frameBlock(1, QByteArray(128, 'x'), true).front(), kSoh);
    QCOMPARE(frameBlock(1, QByteArray(129, 'x'), true).front(), kStx);
    QVERIFY(trailerOk("AB", "\x56\x7B", true));
    QVERIFY(!trailerOk("AB", "\x7B\x56", true));
    QVERIFY(!trailerOk("AB", "\x56", true));
    QVERIFY(trailerOk("\xFF\x03", "\x02", false));
    QVERIFY(!trailerOk("\xFF\x03", QByteArrayView("\0\x02", 2), false));
}

void TestXmodemCodec::headerBlock_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<qint64>("size");
    QTest::addColumn<qint64>("mtime");
    QTest::addColumn<QByteArray>("start"); // NUL as |
    QTest::newRow("all") << u"a.bin"_s << 1234LL << 8LL << "a.bin|1234 10|"_ba;
    QTest::newRow("no time") << u"a.bin"_s << 0LL << 0LL << "a.bin|0|"_ba;
    QTest::newRow("unknown size, bad time") << u"a"_s << -1LL << -5LL << "a|0|"_ba;
    QTest::newRow("long name") << QString(300, u'n') << 9LL << 0LL << QByteArray(100, 'n') + "|9|";
    QTest::newRow("cut inside a character")
        << u"n"_s + QString(60, u'\u00e4') << 9LL << 0LL
        << "n" + QByteArray("\xC3\xA4").repeated(49) + "\xC3|9|";
}

void TestXmodemCodec::headerBlock()
{
    QFETCH(QString, name);
    QFETCH(qint64, size);
    QFETCH(qint64, mtime);
    QFETCH(QByteArray, start);
    const QByteArray block = XmodemFrame::buildHeaderBlock({name, size, mtime});
    QCOMPARE(block, start.replace('|', '\0').leftJustified(128, '\0'));
}

void TestXmodemCodec::headerParsing_data()
{
    QTest::addColumn<QByteArray>("data"); // NUL as |
    QTest::addColumn<bool>("valid");
    QTest::addColumn<XferFileMeta>("meta");
    const auto row = [](const char* data, const XferFileMeta& meta) {
        QTest::newRow(data) << QByteArray(data) << true << meta;
    };
    row("a b.bin|1234 10 100644 0|||", {u"a b.bin"_s, 1234, 8});
    row("a|  7\t 17  |junk", {u"a"_s, 7, 15});
    row("a|12", {u"a"_s, 12, 0});
    row("a|", {u"a"_s, -1, 0});
    row("a||5 5", {u"a"_s, -1, 0});
    row("a|abc 17|", {u"a"_s, -1, 15});
    row("a|-1 0|", {u"a"_s, -1, 0});
    row("a|99999999999999999999 9|", {u"a"_s, -1, 0});
    row("|5 5|", {QString(), 5, 5});
    QTest::newRow("no NUL") << "abc"_ba << false << XferFileMeta();
    QTest::newRow("empty") << QByteArray() << false << XferFileMeta();
}

void TestXmodemCodec::headerParsing()
{
    QFETCH(QByteArray, data);
    QFETCH(bool, valid);
    QFETCH(XferFileMeta, meta);
    const auto parsed = XmodemFrame::parseHeaderBlock(data.replace('|', '\0'));
    QCOMPARE(parsed.has_value(), valid);
    QVERIFY(!valid || *parsed == meta);
}

// A peer that streams into a blocked engine loses bytes at the bound; the gap must not pass as a
// good file.
void TestXmodemCodec::inputIsBounded()
{
    MemorySink sink;
    XmodemCodec codec(XmodemCodec::Role::Receiver, XferProtocol::YmodemG, 1024);
    codec.setSink(&sink);
    codec.begin({}, 0);
    codec.onEgressDrained(0);
    const QByteArray file = randomBytes(1024 * 4096, 3);
    codec.receive(
        XmodemFrame::frameBlock(0, XmodemFrame::buildHeaderBlock({u"f"_s, file.size(), 0}), true),
        1);
    for (int i = 0; i < 4096; ++i) {
        codec.receive(XmodemFrame::frameBlock(
                          quint8(i + 1), QByteArrayView(file).sliced(1024 * i, 1024), true),
            2);
    }
    const XferStep step = codec.onEgressDrained(3);
    QCOMPARE(sink.bytes.size(), 1024 * (XmodemLine::kMaxInputBytes / 1029));
    QVERIFY(!step.failed); // a frame is incomplete; what comes next does not fit it
    QVERIFY(codec.receive(XmodemFrame::frameBlock(1, QByteArray(1024, 'x'), true), 4).failed);
    QVERIFY(file.startsWith(sink.bytes));
}

void TestXmodemCodec::configIsClamped()
{
    XferConfig wild{XferProtocol(9), XferDirection(7), 4096, -5};
    QCOMPARE(wild.sanitized(), (XferConfig{XferProtocol::Xmodem, XferSend, 1024, 0}));
    wild = {XferProtocol::YmodemG, XferReceive, 128, 77};
    QCOMPARE(wild.sanitized(), wild);
}

QTEST_APPLESS_MAIN(TestXmodemCodec)
#include "tst_xmodemcodec.moc"
