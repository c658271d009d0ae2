// Against a server that speaks RFC 2217, one that speaks only Telnet and one that speaks neither.
#include "connections/rfc2217transport.h"

#include "connections/rfc2217/rfc2217values.h"
#include "connections/tcpclienttransport.h"
#include "support/deviceserver.h"
#include "support/numberedbytes.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using State = Rfc2217Transport::SessionState;
using Answer = SerialLines::Answer;
using Refusal = WriteResult::Refusal;

namespace {

// The transport, with somebody who reads.
struct Bench
{
    Settings settings;
    Rfc2217Transport link{
        connectionMode::RemoteSerialRfc2217, std::make_unique<TcpClientTransport>()};
    QByteArray payload;
    QStringList told;
    QList<CloseReason> gone;
    QSignalSpy left{&link, &Transport::left};

    explicit Bench(quint16 port)
        : settings(DeviceServer::settingsFor(port))
    {
        QObject::connect(&link, &Transport::readyRead, &link, [this] {
            for (Chunk chunk; link.takeChunk(chunk);)
                payload += chunk.bytes;
        });
        QObject::connect(&link, &Transport::noticed, &link,
            [this](const Notice& notice) { told += notice.text; });
        QObject::connect(&link, &Transport::closed, &link,
            [this](const CloseReason& reason) { gone += reason; });
        open();
    }
    void open() { link.open(settings, Transport::OpenMode::Asked); }
    [[nodiscard]] qint64 sumLeft() const
    {
        qint64 sum = 0;
        for (const auto& each : left)
            sum += each.value(0).toLongLong();
        return sum;
    }
};

} // namespace

class TestRfc2217Transport final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fallsBack();
    void waitingPayloadIsLostWithItsConnection_data();
    void waitingPayloadIsLostWithItsConnection();
    void beginsAnew();
    void heldRestIsReadByItsOwnSession();
    void negotiatesWhileReadingIsHeld_data();
    void negotiatesWhileReadingIsHeld();
    void countsPayload();
    void settingsKeepTheirPlaceAmongTheBytes();
    void purgesBothEnds();
    void linesAnswerForTheRemote();
};

void TestRfc2217Transport::fallsBack()
{
    TcpPeer peer;
    QVERIFY(peer.listen());
    peer.setGreeting("login: ");
    Bench bench(peer.port());
    QTRY_COMPARE(bench.payload, "login: "_ba);
    QVERIFY(bench.told.isEmpty());
    QVERIFY(bench.link.write("a\xff"_ba).taken()); // while nobody knows what it is to become
    QCOMPARE(bench.link.pendingBytes(), 2);
    QTRY_VERIFY(!peer.received().isEmpty());
    peer.takeReceived();
    bench.link.setNegotiationTimeout(0);
    QTRY_COMPARE(bench.link.sessionState(), State::TransparentTcp);
    QCOMPARE(bench.told.size(), 1);
    // Takes neither settings nor breaks.
    bench.link.apply(bench.settings);
    QCOMPARE(bench.link.setLine(SerialLine::Break, true), Answer::NoComPort);
    QVERIFY(bench.link.write("\xff end"_ba).taken());
    QTRY_COMPARE(peer.received(), "a\xff\xff end"_ba);
    QTRY_COMPARE(bench.link.pendingBytes(), 0);
}

void TestRfc2217Transport::waitingPayloadIsLostWithItsConnection_data()
{
    QTest::addColumn<bool>("listening");
    QTest::newRow("refused by the host") << false;
    QTest::newRow("ended while negotiating") << true;
}

void TestRfc2217Transport::waitingPayloadIsLostWithItsConnection()
{
    QFETCH(bool, listening);
    TcpPeer peer;
    QVERIFY(peer.listen());
    if (!listening)
        peer.stopListening();
    Bench bench(peer.port());
    QVERIFY(bench.link.write("lost!"_ba).taken());
    QCOMPARE(bench.link.write(QByteArray(Rfc2217Transport::kMaxUnsentBytes, 'x')).refusal,
        Refusal::Full);
    if (listening) {
        QTRY_COMPARE(peer.openCount(), 1);
        peer.reset();
    }
    QTRY_COMPARE(bench.gone.size(), 1);
    QCOMPARE(bench.gone.at(0).unsentBytes, 5);
    QVERIFY(bench.told.constLast().startsWith(u"5 bytes were not sent"_s));
    QCOMPARE(bench.link.write("x"_ba).refusal, Refusal::NotOpen);
}

void TestRfc2217Transport::beginsAnew()
{
    DeviceServer server;
    Bench bench(server.peer.port());
    QTRY_VERIFY(bench.link.level(SerialLine::Dtr).has_value());
    QVERIFY(!bench.link.remoteSummary().isEmpty());
    server.peer.reset();
    QTRY_COMPARE(bench.link.sessionState(), State::Negotiating);
    QVERIFY(!bench.link.level(SerialLine::Dtr).has_value());
    QCOMPARE(bench.link.remoteSummary(), QString());
    server.settings.baudRate = 300;
    bench.open();
    QTRY_COMPARE(server.settings.baudRate, 57600);
    QTRY_COMPARE(bench.link.level(SerialLine::Dtr), std::optional(true));
    QVERIFY(bench.payload.isEmpty());
}

void TestRfc2217Transport::heldRestIsReadByItsOwnSession()
{
    TcpPeer peer;
    QVERIFY(peer.listen());
    Bench bench(peer.port());
    bench.link.setNegotiationTimeout(0);
    QTRY_COMPARE(bench.link.sessionState(), State::TransparentTcp);
    ReadHold hold = bench.link.holdReading();
    peer.send("\xff\xff\xff"_ba);
    peer.close();
    QTRY_COMPARE(bench.link.sessionState(), State::Negotiating);
    QVERIFY(bench.payload.isEmpty());
    hold.release();
    QCOMPARE(bench.payload, "\xff\xff\xff"_ba);
}

void TestRfc2217Transport::negotiatesWhileReadingIsHeld_data()
{
    QTest::addColumn<qsizetype>("inFront");
    QTest::newRow("a server that agrees at once") << qsizetype(0);
    QTest::newRow("behind a banner") << qsizetype(100);
    QTest::newRow("behind more than is read") << qsizetype(40) * 1024 * 1024;
}

void TestRfc2217Transport::negotiatesWhileReadingIsHeld()
{
    QFETCH(qsizetype, inFront);
    DeviceServer server;
    const QByteArray banner = numberedBytes(inFront);
    server.peer.setGreeting(banner);
    Bench bench(server.peer.port());
    ReadHold hold = bench.link.holdReading();
    bench.link.setNegotiationTimeout(200);
    QVERIFY(bench.link.write("\xff"_ba).taken());
    if (inFront < Rfc2217Transport::kMaxUntakenBytes) {
        QTRY_COMPARE(bench.link.sessionState(), State::ComPortActive);
    } else {
        // Its clock stands still: far more time passes here than a negotiation has.
        QTRY_VERIFY(server.peer.isOpen());
        QVERIFY(!QTest::qWaitFor(
            [&] { return bench.link.sessionState() != State::Negotiating; }, 1000));
    }
    QVERIFY(bench.payload.isEmpty());
    hold.release();
    QTRY_COMPARE_WITH_TIMEOUT(bench.link.sessionState(), State::ComPortActive, 20'000);
    QTRY_COMPARE_WITH_TIMEOUT(bench.payload.size(), banner.size(), 20'000);
    QVERIFY(bench.payload == banner);
    QTRY_COMPARE(server.line, "\xff"_ba);
}

void TestRfc2217Transport::countsPayload()
{
    DeviceServer server;
    Bench bench(server.peer.port());
    QTRY_COMPARE(bench.link.sessionState(), State::ComPortActive);
    const QByteArray doubled(200'000, '\xff');
    QVERIFY(bench.link.write(doubled).taken());
    QVERIFY(bench.link.pendingBytes() > 0);
    QTRY_COMPARE(server.line.size(), doubled.size());
    QTRY_COMPARE(bench.sumLeft(), doubled.size());
    QCOMPARE(bench.link.pendingBytes(), 0);

    server.peer.setReading(false);
    qint64 accepted = doubled.size();
    while (bench.link.write(doubled).taken())
        accepted += doubled.size();
    QVERIFY(bench.told.constLast().contains(u"200000 bytes"_s));
    server.peer.reset();
    QTRY_COMPARE(bench.gone.size(), 1);
    QCOMPARE(bench.gone.at(0).unsentBytes + bench.sumLeft(), accepted);
}

void TestRfc2217Transport::settingsKeepTheirPlaceAmongTheBytes()
{
    DeviceServer server;
    Bench bench(server.peer.port());
    QTRY_COMPARE(server.settings.baudRate, 57600);
    // More than goes below at once.
    const QByteArray data = numberedBytes(Rfc2217Transport::kMaxUnsentBytes);
    QVERIFY(bench.link.write(data).taken());
    bench.settings.baudRate = 1200;
    bench.link.apply(bench.settings);
    QSignalSpy changed(&bench.link, &Transport::linesChanged);
    while (server.settings.baudRate != 1200)
        QVERIFY(changed.wait(20'000));
    QCOMPARE(server.bytesAtLastBaud, data.size());
    QVERIFY(server.line == data);
}

void TestRfc2217Transport::purgesBothEnds()
{
    DeviceServer server;
    Bench bench(server.peer.port());
    QTRY_COMPARE(bench.link.sessionState(), State::ComPortActive);
    const ReadHold hold = bench.link.holdReading();
    server.peer.send("stale"_ba);
    bench.link.discard(Purge::Both);
    QTRY_COMPARE(server.purged, int(Rfc2217::PurgeBoth));
}

void TestRfc2217Transport::linesAnswerForTheRemote()
{
    TcpPeer peer;
    QVERIFY(peer.listen());
    Bench bench(peer.port());
    QCOMPARE(bench.link.setLine(SerialLine::Rts, true), Answer::NotOpen);
    QTRY_VERIFY(bench.link.isOpen());
    QCOMPARE(bench.link.sight(), SerialLines::Sight::Unknown);
    QCOMPARE(bench.link.setLine(SerialLine::Dtr, false), Answer::Later);
    QCOMPARE(bench.link.setLine(SerialLine::Break, true), Answer::NotYet);
    DeviceServer server;
    peer.send(server.session.begin());
    QTRY_COMPARE(bench.link.sessionState(), State::ComPortActive);
    bench.link.close();
    bench.settings.dtrOn = false;
    bench.settings.targetPort = server.peer.port();
    bench.open();
    QTRY_COMPARE(bench.link.level(SerialLine::Dtr), std::optional(false));
    QCOMPARE(bench.link.setLine(SerialLine::Break, true), Answer::Asked);
    QTRY_VERIFY(server.saw(Rfc2217ServerSession::Line::Break, true));
    server.peer.send(server.session.modemStateNotification(Rfc2217::Cts | Rfc2217::Dcd));
    QTRY_COMPARE(bench.link.inputs(), (ModemLines{true, false, true, false}));
    bench.settings.useRemoteSerialConfig = true;
    bench.link.apply(bench.settings);
    QCOMPARE(bench.link.setLine(SerialLine::Dtr, true), Answer::RemoteOwn);
}

QTEST_GUILESS_MAIN(TestRfc2217Transport)
#include "tst_rfc2217transport.moc"
