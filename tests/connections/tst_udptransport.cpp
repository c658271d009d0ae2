#include "connections/udptransport.h"
#include "support/udppeer.h"

#include <QHostInfo>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kLookupMs = 30'000; // what a name server may take to say no

} // namespace

// Who gets what is sent is tested with the writer of a pane.
class TestUdpTransport final : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<UdpTransport> m_link;
    std::unique_ptr<QSignalSpy> m_ready;
    std::unique_ptr<QSignalSpy> m_peersChanged;
    QStringList m_messages;
    QStringList m_errors;

    static QString keyOf(const UdpPeer& peer) { return u"127.0.0.1:%1"_s.arg(peer.port()); }

    void bind(quint16 port = 0)
    {
        Settings settings;
        settings.udpLocalPort = port;
        m_link->open(settings, Transport::OpenMode::Asked);
    }
    bool send(const QByteArray& bytes, const QString& host, quint16 port)
    {
        return m_link->sendTo(bytes, host, port).taken();
    }
    QList<Chunk> readDatagrams()
    {
        QList<Chunk> all;
        Chunk chunk;
        while (m_link->takeChunk(chunk))
            all += chunk;
        return all;
    }
    QList<Chunk> readAll(qsizetype count)
    {
        QList<Chunk> all;
        (void)QTest::qWaitFor([&] {
            all += readDatagrams();
            return all.size() >= count;
        });
        return all;
    }

private Q_SLOTS:
    void init()
    {
        m_link = std::make_unique<UdpTransport>(connectionMode::UdpClient);
        m_ready = std::make_unique<QSignalSpy>(m_link.get(), &UdpTransport::readyRead);
        m_peersChanged = std::make_unique<QSignalSpy>(m_link.get(), &UdpTransport::peersChanged);
        m_messages.clear();
        m_errors.clear();
        connect(m_link.get(), &Transport::noticed, this, [this](const Notice& notice) {
            if (notice.gravity == Notice::Gravity::Error)
                m_errors += notice.fullText();
            if (notice.shownMs > 0)
                m_messages += u"%1|%2"_s.arg(notice.text).arg(notice.shownMs);
        });
    }

    void eachSenderIsOneRow()
    {
        UdpPeer first;
        UdpPeer second;
        bind();
        QVERIFY(m_link->isOpen());
        QVERIFY(first.sendTo(m_link->localPort(), "one"_ba));
        QTRY_COMPARE(m_ready->size(), 1);
        const auto datagrams = readDatagrams();
        QCOMPARE(datagrams.size(), 1);
        QCOMPARE(datagrams.at(0).peer, keyOf(first));
        QCOMPARE(datagrams.at(0).bytes, "one"_ba);
        QCOMPARE(m_peersChanged->size(), 1);

        QVERIFY(first.sendTo(m_link->localPort(), "two"_ba));
        QCOMPARE(readAll(1).size(), 1);
        QCOMPARE(m_peersChanged->size(), 1);
        QVERIFY(second.sendTo(m_link->localPort(), {}));
        QCOMPARE(readAll(1).value(0).peer, keyOf(second));
        QCOMPARE(m_peersChanged->size(), 2);

        const UdpPeerTable& table = m_link->peerTable();
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
        bind(foreign.localPort());
        QVERIFY(!m_link->isOpen());
        QCOMPARE(m_errors.size(), 1);
        QVERIFY(m_errors.at(0).startsWith(
            u"UDP bind to port %1 FAILED: "_s.arg(QString::number(foreign.localPort()))));
        QCOMPARE(m_messages, QStringList{m_errors.at(0) + u"|5000"_s});
        QVERIFY(!send("x"_ba, u"127.0.0.1"_s, foreign.localPort()));
        QVERIFY(!m_link->isOpen());
    }

    void closingAndBindingAnewForgetThePeers()
    {
        UdpPeer peer;
        bind();
        QVERIFY(peer.sendTo(m_link->localPort(), "a"_ba));
        QCOMPARE(readAll(1).size(), 1);
        m_link->close();
        bind();
        QVERIFY(m_link->peerTable().peers().isEmpty());
        QCOMPARE(m_peersChanged->size(), 2);
        QVERIFY(peer.sendTo(m_link->localPort(), "b"_ba));
        QCOMPARE(readAll(1).size(), 1);
        m_link->close();
        QVERIFY(!m_link->isOpen());
        QCOMPARE(m_peersChanged->size(), 4);
        m_link->close();
        QCOMPARE(m_peersChanged->size(), 4);
        QVERIFY(!send("x"_ba, u"127.0.0.1"_s, peer.port()));
        QVERIFY(readDatagrams().isEmpty());
    }

    void namesAreLookedUpWithoutLosingTheOrder()
    {
        if (QHostInfo::fromName(u"localhost"_s).error() != QHostInfo::NoError)
            QSKIP("this machine does not know its own name: it has no /etc/hosts");
        UdpPeer peer;
        bind();
        QVERIFY(send("1"_ba, u" localhost"_s, peer.port()));
        QVERIFY(send("2"_ba, u"localhost"_s, peer.port()));
        QCOMPARE(m_link->pendingBytes(), 2);
        QTRY_COMPARE(peer.receivedBytes(), "12"_ba);
        QCOMPARE(m_link->pendingBytes(), 0);
        QVERIFY(send("3"_ba, u"localhost"_s, peer.port()));
        QCOMPARE(m_link->pendingBytes(), 0); // the name is known by now
        QTRY_COMPARE(peer.receivedBytes(), "123"_ba);
    }

    void aNameThatDoesNotResolveIsReported()
    {
        bind();
        QVERIFY(send("lost"_ba, u"name.invalid"_s, 1));
        QTRY_COMPARE_WITH_TIMEOUT(m_errors.size(), 1, kLookupMs);
        QVERIFY(m_errors.at(0).contains(u"\"name.invalid\""_s));
        QVERIFY(m_errors.at(0).endsWith(u"\n4 bytes were not sent."_s));
        QCOMPARE(m_link->pendingBytes(), 0);
    }

    void whatWaitsForANameIsBoundedAndDroppedByClose()
    {
        bind();
        for (std::size_t i = 0; i < UdpTransport::kMaxWaitingDatagrams; ++i)
            QVERIFY(send("x"_ba, u"name.invalid"_s, 1));
        QVERIFY(!send("x"_ba, u"name.invalid"_s, 1));
        QVERIFY(!send("x"_ba, u"other.invalid"_s, 1));
        QCOMPARE(m_messages.size(), 1);
        QSignalSpy closed(m_link.get(), &Transport::closed);
        m_link->close();
        QCOMPARE(closed.value(0).value(0).value<CloseReason>().unsentBytes,
            qint64(UdpTransport::kMaxWaitingDatagrams));
        QCOMPARE(m_link->pendingBytes(), 0);
        bind();
        QVERIFY(!send(QByteArray(UdpTransport::kMaxWaitingBytes + 1, 'x'), u"a.invalid"_s, 1));
    }

    void anUnsendableDatagramIsReported()
    {
        UdpPeer peer;
        bind();
        QVERIFY(!send(QByteArray(70'000, 'x'), u"127.0.0.1"_s, peer.port()));
        QVERIFY(m_messages.value(0).startsWith("UDP send to %1 FAILED: "_L1.arg(keyOf(peer))));
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
        constexpr int kCount = 200;
        UdpPeer peer;
        bind();
        for (int i = 0; i < kCount; ++i)
            QVERIFY(peer.sendTo(m_link->localPort(), QByteArray(size, static_cast<char>(i))));
        QCOMPARE(readDatagrams().size(), UdpTransport::kMaxDatagramsPerTurn);
        // Only announcements lead to the rest.
        qsizetype all = UdpTransport::kMaxDatagramsPerTurn;
        connect(
            m_link.get(), &UdpTransport::readyRead, this, [&] { all += readDatagrams().size(); });
        QTRY_COMPARE(all, kCount);
    }

    void aFullTableListsNobodyNewAndRepliesToNobodyElse()
    {
        using Heard = UdpPeerTable::Heard;
        const QHostAddress address(QHostAddress::LocalHost);
        const QDateTime now;
        UdpPeerTable table;
        for (int i = 0; i < UdpPeerTable::kMaxPeers; ++i)
            QCOMPARE(table.record(address, static_cast<quint16>(i + 1), {}, now), Heard::NewPeer);
        QCOMPARE(table.record(address, 60'000, {}, now), Heard::TableFull);
        QCOMPARE(table.lastSenderRow(), -1);
        QCOMPARE(table.record(address, 7, {}, now), Heard::KnownPeer);
        QCOMPARE(table.lastSenderRow(), 6);
        QCOMPARE(table.peers().size(), UdpPeerTable::kMaxPeers);
    }
};

QTEST_GUILESS_MAIN(TestUdpTransport)
#include "tst_udptransport.moc"
