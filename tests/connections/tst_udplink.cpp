#include "connections/udplink.h"
#include "support/udppeer.h"

#include <QHostInfo>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int lookupMs = 30'000; // what a name server may take to say no

} // namespace

// Who gets what is sent is tested with the writer of a pane.
class TestUdpLink final : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<UdpLink> link;
    std::unique_ptr<QSignalSpy> ready;
    std::unique_ptr<QSignalSpy> peersChanged;
    QStringList messages;
    QStringList errors;
    qint64 lost = 0;

    static QString keyOf(const UdpPeer& peer) { return u"127.0.0.1:%1"_s.arg(peer.port()); }

    QList<UdpDatagram> readAll(qsizetype count)
    {
        QList<UdpDatagram> all;
        (void)QTest::qWaitFor([&] {
            all += link->readDatagrams();
            return all.size() >= count;
        });
        return all;
    }

private Q_SLOTS:
    void init()
    {
        link = std::make_unique<UdpLink>();
        ready = std::make_unique<QSignalSpy>(link.get(), &UdpLink::readyRead);
        peersChanged = std::make_unique<QSignalSpy>(link.get(), &UdpLink::peersChanged);
        messages.clear();
        errors.clear();
        lost = 0;
        connect(link.get(), &UdpLink::waitingLost, this, [this](qint64 bytes) { lost += bytes; });
        connect(link.get(), &UdpLink::statusMessage, this,
            [this](const QString& text, int ms) { messages += u"%1|%2"_s.arg(text).arg(ms); });
        connect(link.get(), &UdpLink::errorOccurred, this,
            [this](const QString& text) { errors += text; });
    }

    void eachSenderIsOneRow()
    {
        UdpPeer first;
        UdpPeer second;
        link->bind(0);
        QVERIFY(link->isBound());
        QVERIFY(first.sendTo(link->localPort(), "one"_ba));
        QTRY_COMPARE(ready->size(), 1);
        const auto datagrams = link->readDatagrams();
        QCOMPARE(datagrams.size(), 1);
        QCOMPARE(datagrams.at(0).peerKey, keyOf(first));
        QCOMPARE(datagrams.at(0).payload, "one"_ba);
        QCOMPARE(peersChanged->size(), 1);

        QVERIFY(first.sendTo(link->localPort(), "two"_ba));
        QCOMPARE(readAll(1).size(), 1);
        QCOMPARE(peersChanged->size(), 1);
        QVERIFY(second.sendTo(link->localPort(), {}));
        QCOMPARE(readAll(1).value(0).peerKey, keyOf(second));
        QCOMPARE(peersChanged->size(), 2);

        const UdpPeerTable& table = link->peerTable();
        QCOMPARE(table.peers().size(), 2);
        QCOMPARE(table.at(0)->lastDatagram, "two"_ba);
        QVERIFY(table.at(0)->lastHeard.isValid());
        QCOMPARE(table.at(1)->port, second.port());
        QCOMPARE(table.lastSenderRow(), 1);
        QVERIFY(!table.at(2) && !table.at(-1));
    }

    void aPortInUseIsReported()
    {
        QUdpSocket foreign;
        QVERIFY(foreign.bind(
            QHostAddress(QHostAddress::AnyIPv4), 0, QAbstractSocket::DontShareAddress));
        link->bind(foreign.localPort());
        QVERIFY(!link->isBound());
        QCOMPARE(errors.size(), 1);
        QVERIFY(errors.at(0).startsWith(
            u"UDP bind to port %1 FAILED: "_s.arg(QString::number(foreign.localPort()))));
        QCOMPARE(messages, QStringList{errors.at(0) + u"|5000"_s});
        QVERIFY(!link->send("x"_ba, u"127.0.0.1"_s, foreign.localPort()));
        QVERIFY(!link->isBound());
    }

    void closingAndBindingAnewForgetThePeers()
    {
        UdpPeer peer;
        link->bind(0);
        const quint16 before = link->localPort();
        QVERIFY(peer.sendTo(before, "a"_ba));
        QCOMPARE(readAll(1).size(), 1);
        link->bind(0);
        QVERIFY(link->peerTable().peers().isEmpty());
        QCOMPARE(peersChanged->size(), 2);
        QVERIFY(peer.sendTo(link->localPort(), "b"_ba));
        QCOMPARE(readAll(1).size(), 1);
        link->close();
        QVERIFY(!link->isBound());
        QCOMPARE(peersChanged->size(), 4);
        link->close();
        QCOMPARE(peersChanged->size(), 4);
        QVERIFY(!link->send("x"_ba, u"127.0.0.1"_s, peer.port()));
        QVERIFY(link->readDatagrams().isEmpty());
    }

    void namesAreLookedUpWithoutLosingTheOrder()
    {
        if (QHostInfo::fromName(u"localhost"_s).error() != QHostInfo::NoError)
            QSKIP("this machine does not know its own name: it has no /etc/hosts");
        UdpPeer peer;
        link->bind(0);
        QVERIFY(link->send("1"_ba, u" localhost"_s, peer.port()));
        QVERIFY(link->send("2"_ba, u"localhost"_s, peer.port()));
        QCOMPARE(link->pendingWriteBytes(), 2);
        QTRY_COMPARE(peer.receivedBytes(), "12"_ba);
        QCOMPARE(link->pendingWriteBytes(), 0);
        QVERIFY(link->send("3"_ba, u"localhost"_s, peer.port()));
        QCOMPARE(link->pendingWriteBytes(), 0); // the name is known by now
        QTRY_COMPARE(peer.receivedBytes(), "123"_ba);
    }

    void aNameThatDoesNotResolveIsReported()
    {
        link->bind(0);
        QVERIFY(link->send("lost"_ba, u"name.invalid"_s, 1));
        QTRY_COMPARE_WITH_TIMEOUT(errors.size(), 1, lookupMs);
        QVERIFY(errors.at(0).contains(u"\"name.invalid\""_s));
        QCOMPARE(messages.value(0), errors.at(0) + u"|5000"_s);
        QCOMPARE(link->pendingWriteBytes(), 0);
        QCOMPARE(lost, 4);
        QTRY_VERIFY(messages.value(1).startsWith("4 byte(s) were not sent"_L1));
    }

    void whatWaitsForANameIsBoundedAndDroppedByClose()
    {
        link->bind(0);
        for (std::size_t i = 0; i < UdpLink::maxWaitingDatagrams; ++i)
            QVERIFY(link->send("x"_ba, u"name.invalid"_s, 1));
        QVERIFY(!link->send("x"_ba, u"name.invalid"_s, 1));
        QVERIFY(!link->send("x"_ba, u"other.invalid"_s, 1));
        QCOMPARE(messages.size(), 1);
        link->close();
        QCOMPARE(link->pendingWriteBytes(), 0);
        QCOMPARE(lost, qint64(UdpLink::maxWaitingDatagrams));
        QTRY_VERIFY(messages.last().startsWith("256 byte(s) were not sent"_L1));
        link->bind(0);
        QVERIFY(!link->send(QByteArray(UdpLink::maxWaitingBytes + 1, 'x'), u"a.invalid"_s, 1));
    }

    void anUnsendableDatagramIsReported()
    {
        UdpPeer peer;
        link->bind(0);
        QVERIFY(!link->send(QByteArray(70'000, 'x'), u"127.0.0.1"_s, peer.port()));
        QVERIFY(messages.value(0).startsWith("UDP send to %1 FAILED: "_L1.arg(keyOf(peer))));
    }

    void oneReadIsBoundedAndTheRestIsAnnounced_data()
    {
        QTest::addColumn<qsizetype>("size");
        QTest::newRow("by datagrams") << qsizetype(1);
        QTest::newRow("empty ones count too") << qsizetype(0);
    }

    void oneReadIsBoundedAndTheRestIsAnnounced()
    {
        QFETCH(qsizetype, size);
        constexpr int count = 200;
        UdpPeer peer;
        link->bind(0);
        for (int i = 0; i < count; ++i)
            QVERIFY(peer.sendTo(link->localPort(), QByteArray(size, static_cast<char>(i))));
        QCOMPARE(link->readDatagrams().size(), UdpLink::maxDatagramsPerRead);
        // Only announcements lead to the rest.
        qsizetype all = UdpLink::maxDatagramsPerRead;
        connect(
            link.get(), &UdpLink::readyRead, this, [&] { all += link->readDatagrams().size(); });
        QTRY_COMPARE(all, count);
    }

    void aFullTableListsNobodyNewAndRepliesToNobodyElse()
    {
        using Heard = UdpPeerTable::Heard;
        const QHostAddress address(QHostAddress::LocalHost);
        const QDateTime now;
        UdpPeerTable table;
        for (int i = 0; i < UdpPeerTable::maxPeers; ++i)
            QCOMPARE(table.record(address, static_cast<quint16>(i + 1), {}, now), Heard::NewPeer);
        QCOMPARE(table.record(address, 60'000, {}, now), Heard::TableFull);
        QCOMPARE(table.lastSenderRow(), -1);
        QCOMPARE(table.record(address, 7, {}, now), Heard::KnownPeer);
        QCOMPARE(table.lastSenderRow(), 6);
        QCOMPARE(table.peers().size(), UdpPeerTable::maxPeers);
    }
};

QTEST_GUILESS_MAIN(TestUdpLink)
#include "tst_udplink.moc"
