// What every transport promises, asked of every kind.
#include "connections/tcpservertransport.h"
#include "connections/udptransport.h"
#include "support/deviceserver.h"
#include "support/nullmodem.h"
#include "support/numberedbytes.h"
#include "support/udppeer.h"

#include <QPointer>
#include <QSerialPort>
#include <QSignalSpy>
#include <QTest>
#include <functional>

using namespace Qt::Literals::StringLiterals;
using Mode = connectionMode;
using Refusal = WriteResult::Refusal;
using Kind = CloseReason::Kind;

namespace {

// A transport of one kind, and what stands at its other end.
struct Rig
{
    explicit Rig(Mode mode)
        : transport(makeTransport(mode))
    {
        settings.connMode = mode;
        settings.targetHost = u"127.0.0.1"_s;
        settings.udpLocalPort = 0;
        if (auto* server = qobject_cast<TcpServerTransport*>(transport.get()))
            server->setAddress(QHostAddress(QHostAddress::LocalHost));
        Transport* each = transport.get();
        QObject::connect(each, &Transport::left, &context, [this](qint64 n) { leftBytes += n; });
        QObject::connect(
            each, &Transport::discarded, &context, [this](qint64 n) { discardedBytes += n; });
        QObject::connect(
            each, &Transport::closed, &context, [this](const CloseReason& r) { gone += r; });
        QObject::connect(each, &Transport::noticed, &context, [this](const Notice& notice) {
            if (notice.gravity != Notice::Gravity::Info)
                told += notice.text;
        });
    }
    virtual ~Rig() = default;
    Q_DISABLE_COPY_MOVE(Rig)

    virtual void send(const QByteArray& bytes) = 0;
    virtual QByteArray heard() = 0;
    virtual void setReading(bool on) = 0;
    virtual void vanish() = 0;
    // The other end is there, too, and whatever has to be negotiated is.
    virtual bool isReady() { return transport->isOpen(); }
    virtual void join() {}

    bool open() { return transport->open(settings, Transport::OpenMode::Asked); }
    bool openAndWait()
    {
        if (!open())
            return false;
        join();
        return QTest::qWaitFor([this] { return isReady(); });
    }
    WriteResult write(const QByteArray& bytes)
    {
        const WriteResult result = transport->write(bytes);
        accepted += result.taken() ? bytes.size() : 0;
        return result;
    }
    QByteArray take()
    {
        QByteArray all;
        for (Chunk chunk; transport && transport->takeChunk(chunk);)
            all += chunk.bytes;
        return all;
    }
    [[nodiscard]] bool isAccounted() const
    {
        return accepted == leftBytes + discardedBytes + transport->pendingBytes();
    }

    Settings settings;
    QObject context;
    std::unique_ptr<Transport> transport;
    qint64 accepted = 0;
    qint64 leftBytes = 0;
    qint64 discardedBytes = 0;
    QList<CloseReason> gone;
    QStringList told;
};

struct SerialRig final : Rig
{
    SerialRig()
        : Rig(Mode::SerialPort)
    {
        settings.portName = modem.portA();
        far.open(QIODevice::ReadWrite);
    }
    void send(const QByteArray& bytes) override { far.write(bytes); }
    QByteArray heard() override { return far.peek(far.bytesAvailable()); }
    void setReading(bool on) override { modem.setFlowing(on); }
    void vanish() override { modem.unplug(NullModem::End::A); }

    NullModem modem;
    QSerialPort far{modem.portB()};
};

struct TcpRig : Rig
{
    explicit TcpRig(Mode mode, TcpPeer& other)
        : Rig(mode)
        , peer(other)
    {}
    void send(const QByteArray& bytes) override { peer.send(bytes); }
    QByteArray heard() override { return peer.received(); }
    void setReading(bool on) override { peer.setReading(on); }
    void vanish() override { peer.reset(); }

    TcpPeer& peer;
};

struct ClientRig final : TcpRig
{
    ClientRig()
        : TcpRig(Mode::TcpClient, own)
    {
        own.listen();
        settings.targetPort = own.port();
    }
    bool isReady() override { return transport->isOpen() && own.isOpen(); }

    TcpPeer own;
};

struct ServerRig final : TcpRig
{
    ServerRig()
        : TcpRig(Mode::TcpServer, own)
    {
        settings.targetPort = 0;
    }
    void join() override
    {
        if (transport)
            own.connectTo(static_cast<TcpServerTransport&>(*transport).server().serverPort());
    }
    bool isReady() override { return !transport->peers().isEmpty(); }

    TcpPeer own;
};

struct RemoteRig final : TcpRig
{
    RemoteRig()
        : TcpRig(Mode::RemoteSerialRfc2217, device.peer)
    {
        settings = DeviceServer::settingsFor(device.peer.port());
    }
    void send(const QByteArray& bytes) override { peer.send(Rfc2217Codec::encodePayload(bytes)); }
    QByteArray heard() override { return device.line; }
    bool isReady() override { return device.settings.baudRate == 57600; }

    DeviceServer device;
};

struct UdpRig final : Rig
{
    UdpRig()
        : Rig(Mode::UdpClient)
    {
        settings.targetPort = far.port();
    }
    void send(const QByteArray& bytes) override
    {
        if (transport)
            far.sendTo(static_cast<UdpTransport&>(*transport).localPort(), bytes);
    }
    QByteArray heard() override { return far.receivedBytes(); }
    void setReading(bool) override {}
    void vanish() override {}

    UdpPeer far;
};

using MakeRig = std::unique_ptr<Rig> (*)();
template<typename Kind>
std::unique_ptr<Rig> make()
{
    return std::make_unique<Kind>();
}

// Where somebody is called back, and may do anything.
using Hook = void (*)(Transport&, QObject& context, const std::function<void()>& act);
template<auto Signal>
void hook(Transport& transport, QObject& context, const std::function<void()>& act)
{
    QObject::connect(&transport, Signal, &context, [act] { act(); });
}

struct Place
{
    const char* name;
    Hook hook;
};
constexpr Place kPlaces[]{{"opened", hook<&Transport::opened>},
    {"readyRead", hook<&Transport::readyRead>}, {"left", hook<&Transport::left>},
    {"closing", hook<&Transport::closing>}, {"closed", hook<&Transport::closed>},
    {"noticed", hook<&Transport::noticed>}, {"peerArrived", hook<&Transport::peerArrived>},
    {"peersChanged", hook<&Transport::peersChanged>},
    {"linesChanged", hook<&Transport::linesChanged>}, {"discarded", hook<&Transport::discarded>},
    {"peerLost", hook<&Transport::peerLost>}};

} // namespace

Q_DECLARE_METATYPE(MakeRig)
Q_DECLARE_METATYPE(Hook)

class TestTransports final : public QObject
{
    Q_OBJECT

private:
    static void kinds(bool streamsOnly)
    {
        QTest::addColumn<MakeRig>("makeRig");
        QTest::newRow("serial") << MakeRig(make<SerialRig>);
        QTest::newRow("TCP client") << MakeRig(make<ClientRig>);
        QTest::newRow("TCP server") << MakeRig(make<ServerRig>);
        QTest::newRow("RFC 2217") << MakeRig(make<RemoteRig>);
        if (!streamsOnly)
            QTest::newRow("UDP") << MakeRig(make<UdpRig>);
    }
    static std::unique_ptr<Rig> rig()
    {
        QFETCH(MakeRig, makeRig);
        return makeRig();
    }
    // Writes until no more is taken.
    static void fill(Rig& rig)
    {
        const QByteArray block = numberedBytes(500'000);
        for (int i = 0; i < 200 && rig.write(block).taken(); ++i)
            QCoreApplication::processEvents();
    }

private Q_SLOTS:
    void closedIsRefusedAndTold_data() { kinds(false); }
    void closedIsRefusedAndTold()
    {
        const auto rig = TestTransports::rig();
        Transport& transport = *rig->transport;
        for (int round = 0; round < 2; ++round) {
            transport.close();
            transport.apply(rig->settings);
            transport.discard(Purge::Both);
            ReadHold hold = transport.holdReading();
            QCOMPARE(rig->write("x"_ba).refusal, Refusal::NotOpen);
            QVERIFY(!rig->write({}).taken());
            QVERIFY(!rig->write("x"_ba).reason.isEmpty());
            hold.release();
            QVERIFY(rig->take().isEmpty() && transport.peers().isEmpty());
            QCOMPARE(transport.pendingBytes(), 0);
            QCOMPARE(transport.pendingBytes(u"127.0.0.1:1"_s), 0);
            QVERIFY(!transport.isOpen());
            QTRY_VERIFY(!transport.isLingering());
            QCOMPARE(rig->gone.size(), round);
            QVERIFY(rig->openAndWait());
            QVERIFY(rig->open() && transport.errorText().isEmpty());
            transport.close();
            transport.close();
            QCOMPARE(transport.state(), Transport::State::Closed);
        }
        QCOMPARE(rig->gone.size(), 2);
        QVERIFY(rig->told.isEmpty());
    }

    void bytesCrossAndAreAccountedFor_data() { kinds(false); }
    void bytesCrossAndAreAccountedFor()
    {
        const auto rig = TestTransports::rig();
        QVERIFY(rig->openAndWait());
        QVERIFY(rig->write("ping \xff"_ba).taken());
        QVERIFY(rig->isAccounted());
        QTRY_COMPARE(rig->heard(), "ping \xff"_ba);
        QTRY_COMPARE(rig->leftBytes, rig->accepted);
        rig->send("pong \xff"_ba);
        QByteArray received;
        QTRY_COMPARE((received += rig->take()), "pong \xff"_ba);
    }

    void everyHoldHolds_data() { kinds(false); }
    void everyHoldHolds()
    {
        const auto rig = TestTransports::rig();
        ReadHold first = rig->transport->holdReading();
        QVERIFY(rig->openAndWait());
        ReadHold second = rig->transport->holdReading();
        QSignalSpy ready(rig->transport.get(), &Transport::readyRead);
        rig->send("waits"_ba);
        second = ReadHold(std::move(first));
        QVERIFY(rig->transport->isReadingHeld() && !first);
        QVERIFY(!QTest::qWaitFor([&] { return !rig->take().isEmpty(); }, 50));
        ready.clear();
        second.release();
        QTRY_VERIFY(!ready.isEmpty());
        QByteArray received;
        QTRY_COMPARE((received += rig->take()), "waits"_ba);
        // A wish may outlive the transport.
        first = rig->transport->holdReading();
        rig->transport.reset();
        first.release();
    }

    void lastWordsLeaveInBothDirections_data() { kinds(false); }
    void lastWordsLeaveInBothDirections()
    {
        const auto rig = TestTransports::rig();
        QVERIFY(rig->openAndWait());
        const ReadHold hold = rig->transport->holdReading();
        rig->send("their last"_ba);
        QVERIFY(rig->isReady());
        QByteArray received;
        QObject::connect(rig->transport.get(), &Transport::readyRead, &rig->context,
            [&] { received += rig->take(); });
        QObject::connect(rig->transport.get(), &Transport::closing, &rig->context,
            [&] { QVERIFY(rig->write("our last"_ba).taken()); });
        QCoreApplication::processEvents();
        QTest::qWait(1);
        rig->transport->close();
        QCOMPARE(rig->transport->state(), Transport::State::Closed);
        QCOMPARE(rig->gone.size(), 1);
        QVERIFY(rig->gone.at(0).kind == Kind::ByWill && rig->gone.at(0).unsentBytes == 0);
        QTRY_COMPARE(rig->heard(), "our last"_ba);
        QTRY_VERIFY(!rig->transport->isLingering());
        QCOMPARE(rig->leftBytes, 8);
        QCOMPARE(received, "their last"_ba);
        QVERIFY(rig->told.isEmpty());
    }

    void allThatIsQueuedLeavesAfterClosing_data() { kinds(true); }
    void allThatIsQueuedLeavesAfterClosing()
    {
        const auto rig = TestTransports::rig();
        QVERIFY(rig->openAndWait());
        const QByteArray data = numberedBytes(200'000);
        QVERIFY(rig->write(data).taken());
        QSignalSpy lingered(rig->transport.get(), &Transport::lingered);
        rig->transport->close();
        QVERIFY(!rig->transport->isOpen() && rig->transport->isLingering());
        QTRY_COMPARE(lingered.size(), 1);
        QCOMPARE(rig->leftBytes, data.size());
        QTRY_COMPARE(rig->heard().size(), data.size());
        QVERIFY(rig->told.isEmpty());
    }

    void aDeafEndIsBoundedAndTold_data() { kinds(true); }
    void aDeafEndIsBoundedAndTold()
    {
        const auto rig = TestTransports::rig();
        QVERIFY(rig->openAndWait());
        rig->setReading(false);
        fill(*rig);
        QVERIFY2(rig->accepted < 30'000'000, qPrintable(QString::number(rig->accepted)));
        QTRY_COMPARE(rig->told.size(), 1);
        // A server has sent its only client away by now; the others go on until they are closed.
        if (rig->transport->mode() != Mode::TcpServer) {
            QVERIFY(rig->told.at(0).contains(u"500000 bytes"_s));
            QVERIFY(!rig->write(numberedBytes(20'000'000)).taken());
            rig->transport->close();
            QVERIFY(rig->transport->isLingering() && rig->transport->pendingBytes() > 0);
            QTRY_VERIFY(!rig->transport->isLingering());
        }
        QVERIFY(rig->discardedBytes > 0);
        QCOMPARE(rig->leftBytes + rig->discardedBytes, rig->accepted);
        QVERIFY(rig->told.constLast().contains(QString::number(rig->discardedBytes)));
    }

    void whatALostConnectionHadIsTold_data() { kinds(true); }
    void whatALostConnectionHadIsTold()
    {
        const auto rig = TestTransports::rig();
        QVERIFY(rig->openAndWait());
        rig->setReading(false);
        QVERIFY(rig->write(QByteArray(15'000'000, 'x')).taken());
        QCoreApplication::processEvents();
        rig->vanish();
        QTRY_VERIFY(rig->discardedBytes > 0);
        QCOMPARE(rig->leftBytes + rig->discardedBytes, rig->accepted);
        QCOMPARE(rig->transport->pendingBytes(), 0);
        QTRY_VERIFY(!rig->told.filter(QString::number(rig->discardedBytes)).isEmpty());
        if (rig->transport->mode() == Mode::TcpServer)
            return;
        QCOMPARE(rig->gone.size(), 1);
        QVERIFY(rig->gone.at(0).kind == Kind::Lost || rig->gone.at(0).kind == Kind::ByPeer);
        QCOMPARE(rig->gone.at(0).unsentBytes, rig->discardedBytes);
        QVERIFY(!rig->transport->errorText().isEmpty());
    }

    void anySlotMayDoAnything_data()
    {
        QTest::addColumn<MakeRig>("makeRig");
        QTest::addColumn<Hook>("place");
        QTest::addColumn<int>("action");
        const std::pair<const char*, MakeRig> makers[]{{"serial", make<SerialRig>},
            {"TCP client", make<ClientRig>}, {"TCP server", make<ServerRig>},
            {"RFC 2217", make<RemoteRig>}, {"UDP", make<UdpRig>}};
        const char* actions[]{"close", "reopen", "write", "delete"};
        for (const auto& [kind, maker] : makers) {
            for (const Place& place : kPlaces) {
                for (int action = 0; action < 4; ++action) {
                    QTest::addRow("%s: %s in %s", kind, actions[action], place.name)
                        << maker << place.hook << action;
                }
            }
        }
    }
    void anySlotMayDoAnything()
    {
        QFETCH(Hook, place);
        QFETCH(int, action);
        const auto rig = TestTransports::rig();
        const QPointer<Transport> alive(rig->transport.get());
        int depth = 0;
        place(*alive, rig->context, [&] {
            if (!rig->transport || depth > 0)
                return;
            ++depth;
            if (action == 0 || action == 1)
                rig->transport->close();
            if (action == 1 && rig->transport)
                rig->open();
            if (action == 2)
                rig->transport->write("from a slot"_ba);
            if (action == 3)
                rig->transport.reset();
            --depth;
        });
        // A life, and a violent end: whatever of it the slot leaves.
        if (rig->open())
            rig->join();
        (void)QTest::qWaitFor([&] { return !alive || !alive->isOpen() || rig->isReady(); }, 500);
        if (alive)
            rig->transport->write("hello"_ba);
        rig->send("hello"_ba);
        QTest::qWait(5);
        if (alive)
            rig->transport->apply(rig->settings);
        rig->setReading(false);
        if (alive)
            rig->transport->write(QByteArray(60'000, 'x'));
        rig->vanish();
        QTest::qWait(5);
        if (alive) {
            rig->open();
            rig->transport->write("again"_ba);
            rig->transport->close();
            QVERIFY(!alive || action == 1 || !alive->isOpen());
        }
        QTest::qWait(1);
    }
};

QTEST_GUILESS_MAIN(TestTransports)
#include "tst_transports.moc"
