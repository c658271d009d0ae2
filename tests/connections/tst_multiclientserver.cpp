#include "connections/multiclientserver.h"

#include "connections/peerkey.h"
#include "connections/serverclient.h"
#include "connections/tcpkeepalive.h"
#include "support/numberedbytes.h"
#include "support/tcppeer.h"

#include <QDir>
#include <QPointer>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTest>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

using Leave = void (*)(TcpPeer&);

// A server that writes down what it says: "+1", "1:text", "-1", clients numbered as they came.
class Bench
{
public:
    explicit Bench(bool taking = true)
    {
        QObject::connect(
            &server, &MultiClientServer::clientArrived, &context, [this](const QString& key) {
                keys += key;
                log += u'+' + number(key);
            });
        QObject::connect(&server, &MultiClientServer::clientGone, &context,
            [this](const QString& key) { log += u'-' + number(key); });
        if (taking) {
            QObject::connect(
                &server, &MultiClientServer::newMessage, &context, [this](const QString& key) {
                    log += number(key) + u':' + QString::fromLatin1(server.takeMessage(key));
                });
        }
        listening = server.start(0, QHostAddress(QHostAddress::LocalHost));
    }
    // Connects and waits until the server has it. The number of the connection in `peer`.
    int join(TcpPeer& peer)
    {
        const int before = server.clientCount();
        const int connection = peer.connectTo(server.serverPort());
        if (!QTest::qWaitFor([&] { return server.clientCount() > before; }))
            qFatal("no client arrived");
        return connection;
    }
    QString number(const QString& key) const { return QString::number(keys.lastIndexOf(key)); }
    qsizetype sockets() const { return server.findChildren<QTcpSocket*>().size(); }

    MultiClientServer server;
    bool listening = false;
    QStringList keys; // of clients 0, 1, ...
    QStringList log;
    QObject context;
};

qsizetype openDescriptors()
{
    return QDir(u"/proc/self/fd"_s).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size();
}

} // namespace

Q_DECLARE_METATYPE(Leave)

class TestMultiClientServer final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void allowlist_data();
    void allowlist();
    void peerKeys();
    void clientsAreToldApart();
    void refusals();
    void lastWordsComeBeforeTheEnd_data();
    void lastWordsComeBeforeTheEnd();
    void thoseWhoLeaveUnreadAreBounded();
    void aFloodingClientIsHeldBackAlone();
    void aClientThatDoesNotReadIsDropped();
    void aReturningClientReplacesItsDeadConnection();
    void aSlotMayStopTheServer_data();
    void aSlotMayStopTheServer();
    void aSlotMayDeleteTheServer_data();
    void aSlotMayDeleteTheServer();
    void stoppingLeavesNothing();
    void oneClientIsDisconnected();
    void aThousandConnectionsLeaveNothing();
    void withoutDescriptorsItWaits();
    void silentClientsAreProbed();
};

void TestMultiClientServer::allowlist_data()
{
    QTest::addColumn<QStringList>("entries");
    QTest::addColumn<QString>("address");
    QTest::addColumn<bool>("allowed");
    const auto row = [](const char* entries, const char* address, bool allowed) {
        const QString list = QString::fromLatin1(entries);
        QTest::addRow("%s <- %s", entries, address)
            << (list.isEmpty() ? QStringList() : list.split(u' ')) << QString::fromLatin1(address)
            << allowed;
    };
    row("", "10.0.0.5", true);
    row("192.168.1.0/24", "192.168.1.77", true);
    row("192.168.1.0/24", "192.168.2.77", false);
    row("192.168.1.0/24", "10.0.0.5", false);
    row("192.168.1.0/24", "::ffff:192.168.1.77", true);
    row("192.168.1.0/255.255.255.0", "192.168.1.77", true);
    row("192.168.1.77/32", "192.168.1.78", false);
    row("0.0.0.0/0", "10.0.0.5", true);
    row("0.0.0.0/0", "fd00::1", false);
    row("fd00::/8", "fd12::1", true);
    row("fd00::/8", "192.168.1.1", false);
    row("192.168.1.10", "192.168.1.10", true);
    row("192.168.1.10", "::ffff:192.168.1.10", true);
    row("::ffff:192.168.1.10", "192.168.1.10", true);
    row("192.168.1.10", "192.168.1.11", false);
    row("rubbish 192.168.1.0/33 1.2.3.4/x /24 10.0.0.5", "10.0.0.5", true);
    row("rubbish 192.168.1.0/33 /24", "192.168.1.1", false);
    QTest::newRow("blanks around an entry")
        << QStringList{u" 10.0.0.5\r"_s} << u"10.0.0.5"_s << true;
}

void TestMultiClientServer::allowlist()
{
    QFETCH(QStringList, entries);
    QFETCH(QString, address);
    QTEST(PeerAllowlist(entries).allows(QHostAddress(address)), "allowed");
}

void TestMultiClientServer::peerKeys()
{
    QCOMPARE(peerKeyOf(QHostAddress(u"192.168.1.20"_s), 5000), u"192.168.1.20:5000"_s);
    QCOMPARE(peerKeyOf(QHostAddress(u"::ffff:192.168.1.20"_s), 5000), u"192.168.1.20:5000"_s);
    QCOMPARE(peerKeyOf(QHostAddress(u"fd00::1"_s), 65535), u"fd00::1:65535"_s);
    for (const auto& [stored, mode] : {std::pair{0, FanoutMode::Shared}, {1, FanoutMode::Exclusive},
             {2, FanoutMode::TakeTurns}, {3, FanoutMode::Exclusive}, {-1, FanoutMode::Exclusive}})
        QCOMPARE(fanoutModeFromInt(stored), mode);
}

void TestMultiClientServer::clientsAreToldApart()
{
    Bench bench(false);
    QSignalSpy messages(&bench.server, &MultiClientServer::newMessage);
    QSignalSpy writtenTo(&bench.server, &MultiClientServer::bytesWrittenTo);
    TcpPeer peer;
    bench.join(peer);
    bench.join(peer);
    QCOMPARE(bench.server.clientKeys(), bench.keys);
    QCOMPARE(bench.server.rememberedKeyFor(bench.server.exclusiveOwner()), bench.keys[0]);
    QCOMPARE(MultiClientServer::peerKeyFor(bench.server.exclusiveOwner()), bench.keys[0]);

    peer.send("from one ", 0);
    QTRY_COMPARE(messages.size(), 1);
    peer.send("again", 0);
    peer.send("from two", 1);
    QTRY_COMPARE(messages.size(), 3);
    QCOMPARE(bench.server.takeMessage(bench.keys[0]), "from one again"_ba);
    QCOMPARE(bench.server.takeMessage(bench.keys[1]), "from two"_ba);
    QCOMPARE(bench.server.takeMessage(bench.keys[1]), QByteArray());

    QCOMPARE(bench.server.broadcast("all "), 4);
    QVERIFY(bench.server.writeTo(bench.keys[1], "you"));
    QVERIFY(!bench.server.writeTo(bench.keys[1], {}));
    QVERIFY(!bench.server.writeTo(u"127.0.0.1:1"_s, "nobody"));
    QTRY_COMPARE(peer.received(1), "all you"_ba);
    QTRY_COMPARE(peer.received(0), "all "_ba);
    const auto toSecond = [&] {
        qint64 bytes = 0;
        for (const auto& each : writtenTo)
            bytes += each[0].toString() == bench.keys[1] ? each[1].toLongLong() : 0;
        return bytes;
    };
    QTRY_COMPARE(toSecond(), 7);

    peer.close(0);
    QTRY_COMPARE(bench.log, (QStringList{u"+0"_s, u"+1"_s, u"-0"_s}));
    QCOMPARE(bench.server.rememberedKeyFor(bench.server.exclusiveOwner()), bench.keys[1]);
    QVERIFY(!bench.server.writeTo(bench.keys[0], "gone"));
    QCOMPARE(bench.server.broadcast({}), 0);
}

void TestMultiClientServer::refusals()
{
    Bench bench;
    QSignalSpy refused(&bench.server, &MultiClientServer::connectionRefused);
    TcpPeer peer;
    bench.server.setAllowedPeers({u"10.0.0.0/8"_s});
    peer.connectTo(bench.server.serverPort());
    QTRY_COMPARE(refused.size(), 1);
    QCOMPARE(refused[0][1].toString(), u"not on the address allowlist"_s);
    QVERIFY(refused[0][0].toString().startsWith("127.0.0.1:"_L1));
    QTRY_VERIFY(!peer.isOpen());

    bench.server.setAllowedPeers({u"127.0.0.0/8"_s});
    bench.server.setFanoutMode(FanoutMode::Exclusive);
    const int first = bench.join(peer);
    peer.connectTo(bench.server.serverPort());
    QTRY_COMPARE(refused.size(), 2);
    QCOMPARE(refused[1][1].toString(), u"the port already has a client (exclusive mode)"_s);
    QTRY_VERIFY(!peer.isOpen());
    QVERIFY(peer.isOpen(first));
    peer.close(first);
    QTRY_COMPARE(bench.server.clientCount(), 0);
    bench.join(peer);
    bench.server.setFanoutMode(FanoutMode::TakeTurns);
    bench.join(peer);
    QCOMPARE(bench.log, (QStringList{u"+0"_s, u"-0"_s, u"+1"_s, u"+2"_s}));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(bench.sockets(), 2);
}

void TestMultiClientServer::lastWordsComeBeforeTheEnd_data()
{
    QTest::addColumn<Leave>("leave");
    QTest::addColumn<bool>("throttled");
    for (const bool throttled : {false, true}) {
        const char* how = throttled ? "throttled" : "reading";
        QTest::addRow("close, %s", how) << Leave([](TcpPeer& peer) { peer.close(); }) << throttled;
        QTest::addRow("half close, %s", how)
            << Leave([](TcpPeer& peer) { peer.halfClose(); }) << throttled;
        QTest::addRow("reset, %s", how) << Leave([](TcpPeer& peer) { peer.reset(); }) << throttled;
    }
}

void TestMultiClientServer::lastWordsComeBeforeTheEnd()
{
    QFETCH(Leave, leave);
    QFETCH(bool, throttled);
    Bench bench;
    QSignalSpy lost(&bench.server, &MultiClientServer::bytesLost);
    TcpPeer peer;
    TcpPeer other;
    bench.join(peer);
    bench.join(other);
    bench.server.setReadThrottled(throttled);
    // More than a throttled socket takes: the end stands behind what it has not read.
    const QByteArray words = numberedBytes(20'000);
    peer.send(words);
    QTRY_COMPARE(peer.unsent(), 0);
    leave(peer);
    if (throttled) {
        // Meets the reset of a client that is not read, which closes the socket over its bytes.
        QTRY_VERIFY(bench.server.broadcast("anybody?") > 0 && other.received().size() > 20);
        QCOMPARE(bench.log, (QStringList{u"+0"_s, u"+1"_s}));
        bench.server.setReadThrottled(false);
    }
    QTRY_COMPARE(bench.log.last(), u"-0"_s);
    QString heard;
    for (const QString& entry : bench.log)
        heard += entry.startsWith("0:"_L1) ? entry.mid(2) : QString();
    QCOMPARE(heard.size(), words.size());
    QCOMPARE(heard, QString::fromLatin1(words));
    for (const auto& each : lost)
        QCOMPARE(each[1].toLongLong(), 0);
}

void TestMultiClientServer::thoseWhoLeaveUnreadAreBounded()
{
    Bench bench;
    bench.server.setReadThrottled(true);
    constexpr int kKept = MultiClientServer::kMaxDepartedClients;
    constexpr int kAll = kKept + 100;
    TcpPeer peer;
    peer.setGreeting("hello");
    for (int i = 0; i < kAll; ++i) {
        peer.connectTo(bench.server.serverPort());
        QTRY_VERIFY(peer.isOpen());
        peer.close();
        QTRY_VERIFY(!peer.isOpen());
    }
    QTRY_VERIFY(bench.server.clientCount() >= kKept);
    QVERIFY(bench.server.clientCount() <= kKept + bench.server.maxPendingConnections());
    bench.server.setReadThrottled(false);
    QTRY_COMPARE(bench.log.filter(u":hello"_s).size(), kAll);
    QTRY_COMPARE(bench.server.clientCount(), 0);
}

void TestMultiClientServer::aFloodingClientIsHeldBackAlone()
{
    Bench bench(false);
    TcpPeer flooder;
    TcpPeer other;
    bench.join(flooder);
    bench.join(other);
    const QByteArray flood = numberedBytes(40 * 1024 * 1024);
    flooder.send(flood);
    // Nobody takes, so it stalls; the other one does not notice.
    for (int i = 0; i < 200; ++i) {
        other.send("hello");
        QByteArray heard;
        QTRY_COMPARE(heard += bench.server.takeMessage(bench.keys[1]), "hello"_ba);
        QVERIFY(bench.server.writeTo(bench.keys[1], "."));
        QTRY_COMPARE(other.received().size(), i + 1);
    }
    QVERIFY(flooder.unsent() > 0);
    QByteArray taken = bench.server.takeMessage(bench.keys[0]);
    QCOMPARE(taken.size(), ServerClient::kMaxUnreadBytes);

    QObject::connect(
        &bench.server, &MultiClientServer::newMessage, &bench.context, [&](const QString& key) {
            const QByteArray bytes = bench.server.takeMessage(key);
            QVERIFY(bytes.size() <= ServerClient::kMaxUnreadBytes);
            taken += bytes;
        });
    QTRY_COMPARE(taken.size(), flood.size());
    QVERIFY(taken == flood);
}

void TestMultiClientServer::aClientThatDoesNotReadIsDropped()
{
    Bench bench;
    QSignalSpy stalled(&bench.server, &MultiClientServer::clientStalled);
    QSignalSpy lost(&bench.server, &MultiClientServer::bytesLost);
    TcpPeer deaf;
    TcpPeer other;
    bench.join(deaf);
    bench.join(other);
    deaf.setReading(false);
    const QByteArray block = numberedBytes(256 * 1024);
    // As a bridge does: no faster than the client that keeps up.
    for (int blocks = 0; stalled.isEmpty() && blocks < 400; ++blocks) {
        const QStringList before = bench.log;
        QVERIFY(bench.server.broadcast(block) == block.size());
        QVERIFY2(bench.log == before && stalled.isEmpty(), "nobody goes while one writes");
        QVERIFY(bench.server.pendingWriteBytes() > 0);
        QTRY_COMPARE(bench.server.pendingWriteBytes(), 0);
        QTRY_COMPARE(other.received().size(), block.size());
        QCOMPARE(other.takeReceived(), block);
        // What a deaf client has not read slows nobody, and is known.
        QVERIFY(
            blocks < 40 || !stalled.isEmpty() || bench.server.pendingWriteBytes(bench.keys[0]) > 0);
    }
    QTRY_COMPARE(stalled.size(), 1);
    QCOMPARE(stalled[0][0].toString(), bench.keys[0]);
    const qint64 unsent = stalled[0][1].toLongLong();
    // Beside the bound stands what the system has not sent.
    QVERIFY2(unsent > ServerClient::kMaxUnsentBytes - 2 * block.size(),
        qPrintable(QString::number(unsent)));
    QVERIFY(lost.isEmpty());
    QCOMPARE(bench.log, (QStringList{u"+0"_s, u"+1"_s, u"-0"_s}));
    deaf.setReading(true);
    QTRY_VERIFY(!deaf.isOpen());
}

void TestMultiClientServer::aReturningClientReplacesItsDeadConnection()
{
    Bench bench;
    QVERIFY(bench.server.start(0, QHostAddress(QHostAddress::AnyIPv4)));
    // One key, two connections: the second one reaches another address of this machine.
    QTcpSocket first;
    QVERIFY(first.bind(QHostAddress(u"127.0.0.1"_s), 0, QAbstractSocket::ReuseAddressHint));
    QTcpSocket second;
    QVERIFY(second.bind(QHostAddress(u"127.0.0.1"_s), first.localPort(),
        QAbstractSocket::ReuseAddressHint | QAbstractSocket::ShareAddress));
    first.connectToHost(QHostAddress(u"127.0.0.1"_s), bench.server.serverPort());
    first.write("before");
    QTRY_VERIFY(bench.log.contains(u"0:before"_s));
    second.connectToHost(QHostAddress(u"127.0.0.2"_s), bench.server.serverPort());
    second.write("after");
    QTRY_COMPARE(bench.log, (QStringList{u"+0"_s, u"0:before"_s, u"-0"_s, u"+1"_s, u"1:after"_s}));
    QCOMPARE(bench.server.clientCount(), 1);
    QTRY_COMPARE(first.state(), QAbstractSocket::UnconnectedState);
}

void TestMultiClientServer::aSlotMayStopTheServer_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("arrived") << 0;
    QTest::newRow("message") << 1;
    QTest::newRow("gone") << 2;
    QTest::newRow("written") << 3;
    QTest::newRow("changed") << 4;
}

void TestMultiClientServer::aSlotMayStopTheServer()
{
    QFETCH(int, signal);
    Bench bench(false);
    QSignalSpy gone(&bench.server, &MultiClientServer::clientGone);
    TcpPeer peer;
    bench.join(peer);
    bench.join(peer);
    const auto stopAt = [&](int wanted, auto when) {
        if (signal == wanted)
            QObject::connect(&bench.server, when, &bench.context, [&] { bench.server.stop(); });
    };
    stopAt(0, &MultiClientServer::clientArrived);
    stopAt(1, &MultiClientServer::newMessage);
    stopAt(2, &MultiClientServer::clientGone);
    stopAt(3, &MultiClientServer::bytesWritten);
    stopAt(4, &MultiClientServer::connectionStateChange);
    const quint16 port = bench.server.serverPort();
    bench.server.broadcast("x");
    peer.send("bye", 0);
    peer.close(0);
    peer.connectTo(port);
    QTRY_VERIFY(!bench.server.isListening());
    QTRY_COMPARE(peer.openCount(), 0);
    QCOMPARE(bench.server.clientCount(), 0);
    QCOMPARE(gone.size(), bench.keys.size());
}

void TestMultiClientServer::aSlotMayDeleteTheServer_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("arrived") << 0;
    QTest::newRow("changed") << 1;
    QTest::newRow("refused") << 2;
}

void TestMultiClientServer::aSlotMayDeleteTheServer()
{
    QFETCH(int, signal);
    auto* server = new MultiClientServer;
    const QPointer<MultiClientServer> alive(server);
    const auto deleteAt = [&](int wanted, auto when) {
        if (signal == wanted)
            QObject::connect(server, when, this, [server] { delete server; });
    };
    deleteAt(0, &MultiClientServer::clientArrived);
    deleteAt(1, &MultiClientServer::connectionStateChange);
    deleteAt(2, &MultiClientServer::connectionRefused);
    if (signal == 2)
        server->setAllowedPeers({u"10.0.0.1"_s});
    QVERIFY(server->start(0, QHostAddress(QHostAddress::LocalHost)));
    TcpPeer peer;
    for (int i = 0; i < 3; ++i)
        peer.connectTo(server->serverPort());
    QTRY_VERIFY(!alive);
    QTRY_COMPARE(peer.openCount(), 0);
}

void TestMultiClientServer::stoppingLeavesNothing()
{
    Bench bench;
    TcpPeer peer;
    bench.join(peer);
    bench.join(peer);
    const quint16 port = bench.server.serverPort();
    bench.server.broadcast("last");
    bench.server.stop();
    QCOMPARE(bench.log, (QStringList{u"+0"_s, u"+1"_s, u"-0"_s, u"-1"_s}));
    QTRY_COMPARE(peer.openCount(), 0);
    QCOMPARE(peer.received(0), "last"_ba);
    QCOMPARE(peer.received(1), "last"_ba);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(bench.sockets(), 0);
    QVERIFY(!bench.server.isListening());
    QVERIFY2(bench.server.start(port, QHostAddress(QHostAddress::LocalHost)), "the same port");
    bench.join(peer);
}

void TestMultiClientServer::oneClientIsDisconnected()
{
    Bench bench;
    TcpPeer peer;
    bench.join(peer);
    bench.join(peer);
    bench.server.writeTo(bench.keys[0], "goodbye");
    bench.server.disconnectClient(bench.keys[0]);
    QTRY_VERIFY(!peer.isOpen(0));
    QCOMPARE(peer.received(0), "goodbye"_ba);
    QTRY_COMPARE(bench.log.last(), u"-0"_s);
    QVERIFY(peer.isOpen(1));
}

void TestMultiClientServer::aThousandConnectionsLeaveNothing()
{
    Bench bench;
    constexpr int kWaves = 20;
    constexpr int kPerWave = 50;
    const qsizetype children = bench.server.children().size();
    qsizetype descriptors = 0;
    for (int wave = 0; wave <= kWaves; ++wave) {
        {
            TcpPeer peer;
            peer.setGreeting("hello");
            for (int i = 0; i < kPerWave; ++i)
                peer.connectTo(bench.server.serverPort());
            QTRY_COMPARE(bench.keys.size(), (wave + 1) * kPerWave);
            for (int i = 0; i < kPerWave; ++i)
                i % 2 ? peer.close(i) : peer.reset(i);
            QTRY_COMPARE(bench.server.clientCount(), 0);
            QTRY_COMPARE(peer.openCount(), 0);
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        if (wave == 0)
            descriptors = openDescriptors();
        QCOMPARE(bench.server.children().size(), children);
        QCOMPARE(openDescriptors(), descriptors);
    }
}

void TestMultiClientServer::withoutDescriptorsItWaits()
{
    Bench bench;
    QSignalSpy errors(&bench.server, &QTcpServer::acceptError);
    QSignalSpy told(&bench.server, &MultiClientServer::acceptFailed);
    TcpPeer peer;
    peer.connectTo(bench.server.serverPort());
    const int next = ::dup(0); // what accepting would be given
    ::close(next);
    rlimit before{};
    ::getrlimit(RLIMIT_NOFILE, &before);
    rlimit none = before;
    none.rlim_cur = rlim_t(next);
    ::setrlimit(RLIMIT_NOFILE, &none);
    const bool failed = QTest::qWaitFor([&] { return errors.size() >= 2; });
    ::setrlimit(RLIMIT_NOFILE, &before);
    QVERIFY(failed);
    QCOMPARE(told.size(), 1);
    QTRY_COMPARE(bench.server.clientCount(), 1);
    QVERIFY2(errors.size() <= 3, "tries once a second, not all the time");
}

void TestMultiClientServer::silentClientsAreProbed()
{
    Bench bench;
    TcpPeer peer;
    bench.join(peer);
    const auto descriptor = int(bench.server.exclusiveOwner()->socketDescriptor());
    const auto option = [descriptor](int level, int name) {
        int value = -1;
        socklen_t size = sizeof value;
        ::getsockopt(descriptor, level, name, &value, &size);
        return value;
    };
    QCOMPARE(option(SOL_SOCKET, SO_KEEPALIVE), 1);
    QCOMPARE(option(IPPROTO_TCP, TCP_KEEPIDLE), kTcpKeepAliveIdleSeconds);
    QCOMPARE(option(IPPROTO_TCP, TCP_KEEPCNT), kTcpKeepAliveProbes);
    QCOMPARE(option(IPPROTO_TCP, TCP_NODELAY), 0);
    bench.server.setBridgeSocketTuning(true);
    QCOMPARE(option(IPPROTO_TCP, TCP_NODELAY), 1);
}

QTEST_GUILESS_MAIN(TestMultiClientServer)
#include "tst_multiclientserver.moc"
