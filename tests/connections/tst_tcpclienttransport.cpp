#include "connections/tcpclienttransport.h"
#include "support/numberedbytes.h"
#include "support/tcppeer.h"

#include <QSignalSpy>
#include <QTcpSocket>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kLookupMs = 30'000; // what a name server may take to say no

} // namespace

class TestTcpClientTransport final : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TcpPeer> m_peer;
    std::unique_ptr<TcpClientTransport> m_link;
    QList<CloseReason> m_gone;
    ReadHold m_hold;
    QStringList m_messages;
    QStringList m_errors;
    QByteArray m_received;

    void open(const QString& host = u"127.0.0.1"_s)
    {
        Settings settings;
        settings.targetHost = host;
        settings.targetPort = m_peer->port();
        QVERIFY(m_link->open(settings, Transport::OpenMode::Asked));
    }
    void connectLink()
    {
        open();
        QTRY_VERIFY(m_link->isOpen() && m_peer->isOpen());
    }
    bool send(const QByteArray& bytes) { return m_link->write(bytes).taken(); }
    bool isClosed() const { return m_link->state() == Transport::State::Closed; }
    QByteArray taken()
    {
        Chunk chunk;
        return m_link->takeChunk(chunk) ? chunk.bytes : QByteArray();
    }
    void readAtOnce()
    {
        connect(m_link.get(), &Transport::readyRead, this, [this] { m_received += taken(); });
    }

private Q_SLOTS:
    void init()
    {
        m_peer = std::make_unique<TcpPeer>();
        QVERIFY(m_peer->listen());
        m_link = std::make_unique<TcpClientTransport>();
        m_gone.clear();
        m_messages.clear();
        m_errors.clear();
        m_received.clear();
        connect(m_link.get(), &Transport::noticed, this, [this](const Notice& notice) {
            if (notice.gravity == Notice::Gravity::Error)
                m_errors += notice.text;
            if (notice.shownMs > 0)
                m_messages += u"%1|%2"_s.arg(notice.text).arg(notice.shownMs);
        });
        connect(m_link.get(), &Transport::closed, this,
            [this](const CloseReason& reason) { m_gone += reason; });
    }

    void cleanup()
    {
        m_link.reset();
        m_peer.reset();
    }

    void whatIsSentBeforeTheConnectionLeavesInOneWrite()
    {
        QSignalSpy left(m_link.get(), &Transport::left);
        open();
        QCOMPARE(m_link->state(), Transport::State::Opening);
        QVERIFY(send("ab"_ba) && send("cd"_ba));
        QVERIFY(!send({}));
        QCOMPARE(m_link->pendingBytes(), 4);
        QTRY_COMPARE(m_peer->received(), "abcd"_ba);
        QTRY_COMPARE(left.size(), 1);
        QCOMPARE(left.at(0).at(0).toLongLong(), 4);
    }

    void closingTheAttemptTellsWhatWaited()
    {
        open();
        QVERIFY(send(QByteArray(TcpClientTransport::kMaxUnsentBytes, 'x')));
        QCOMPARE(m_link->write("y"_ba).refusal, WriteResult::Refusal::Full);
        QVERIFY(!send("z"_ba));
        QCOMPARE(m_messages.size(), 1);
        m_link->close();
        QCOMPARE(m_gone.size(), 1);
        QCOMPARE(m_gone.at(0).unsentBytes, TcpClientTransport::kMaxUnsentBytes);
        QCOMPARE(m_errors.size(), 1);
        QVERIFY(isClosed() && m_link->pendingBytes() == 0);
        connectLink();
        QVERIFY(send("kept"_ba));
        QTRY_COMPARE(m_peer->received(), "kept"_ba);
    }

    void aFailedAttemptIsReportedAndFollowedByAnother_data()
    {
        QTest::addColumn<QString>("host");
        QTest::newRow("refused") << u"127.0.0.1"_s;
        QTest::newRow("no such name") << u"name.invalid"_s;
    }

    void aFailedAttemptIsReportedAndFollowedByAnother()
    {
        QFETCH(QString, host);
        m_peer->stopListening();
        open(host);
        QVERIFY(send("lost"_ba));
        QTRY_COMPARE_WITH_TIMEOUT(m_gone.size(), 1, kLookupMs);
        QCOMPARE(m_gone.at(0).kind, CloseReason::Kind::Failed);
        QCOMPARE(m_gone.at(0).unsentBytes, 4);
        QVERIFY(m_errors.at(0).startsWith("TCP connect FAILED: "_L1));
        QCOMPARE(m_messages.value(0), m_errors.at(0) + u"|5000"_s);
        QTRY_VERIFY(m_messages.value(1).contains(u"4 bytes not sent"_s));
        QCOMPARE(m_errors.size(), 1);
        QVERIFY(isClosed() && m_link->pendingBytes() == 0);

        QVERIFY(m_peer->listen(m_peer->port()));
        connectLink();
        QCOMPARE(m_gone.size(), 1);
    }

    void aLostConnectionIsDrainedAndReportedOnce_data()
    {
        QTest::addColumn<bool>("reset");
        QTest::addColumn<bool>("throttled");
        QTest::addColumn<bool>("readerWaits");
        QTest::newRow("closed") << false << false << true;
        QTest::newRow("closed, read later") << false << false << false;
        QTest::newRow("closed, throttled") << false << true << true;
        QTest::newRow("reset") << true << false << true;
        QTest::newRow("reset, read later") << true << false << false;
        QTest::newRow("reset, throttled") << true << true << true;
    }

    void aLostConnectionIsDrainedAndReportedOnce()
    {
        QFETCH(bool, reset);
        QFETCH(bool, throttled);
        QFETCH(bool, readerWaits);
        const QByteArray data = numberedBytes(3000);
        connectLink();
        if (readerWaits)
            readAtOnce();
        if (throttled)
            m_hold = m_link->holdReading();
        m_peer->send(data);
        QTRY_COMPARE(m_peer->unsent(), 0);
        if (reset)
            m_peer->reset();
        else
            m_peer->close();
        QTRY_COMPARE(m_gone.size(), 1);
        QCOMPARE(m_errors.size(), 1);
        QVERIFY(m_errors.at(0).startsWith("TCP connect FAILED: "_L1));
        QVERIFY(isClosed() && !send("x"_ba));
        QCOMPARE(m_received.isEmpty(), throttled || !readerWaits);
        m_hold.release();
        m_received += taken();
        QCOMPARE(m_received, data);
        QVERIFY(taken().isEmpty());
    }

    // A full, throttled socket hears nothing of its peer until it writes; by then the system still
    // holds what the peer had sent.
    void whatTheSystemHoldsBehindAThrottledSocketSurvivesAReset()
    {
        const QByteArray data = numberedBytes(60'000);
        connectLink();
        m_hold = m_link->holdReading();
        m_peer->send(data);
        QTRY_COMPARE(m_peer->unsent(), 0);
        m_peer->reset();
        QTRY_VERIFY(!m_peer->isOpen());
        send("x"_ba);
        QTRY_COMPARE(m_gone.size(), 1);
        m_hold.release();
        QVERIFY(taken() == data);
    }

    void theResidueSaysWhatItCouldNotKeep()
    {
        ReceiveResidue residue;
        QCOMPARE(residue.keep(QByteArray(ReceiveResidue::kMaxBytes - 1, 'a')), 0);
        QCOMPARE(residue.keep("bc"_ba), 1);
        QCOMPARE(residue.keep("d"_ba), 1);
        const QByteArray kept = residue.take();
        QVERIFY(kept.size() == ReceiveResidue::kMaxBytes && kept.endsWith("ab"));
        QVERIFY(residue.isEmpty());
    }

    void throttlingHoldsThePeerBackAndLosesNothing()
    {
        const QByteArray data = numberedBytes(20 * 1024 * 1024);
        m_hold = m_link->holdReading();
        connectLink();
        readAtOnce();
        m_peer->send(data);
        auto* socket = m_link->findChild<QTcpSocket*>();
        QTRY_COMPARE(socket->bytesAvailable(), Transport::kHeldReadBufferBytes);
        QVERIFY(m_peer->unsent() > 0);
        QVERIFY(m_received.isEmpty());
        m_hold.release();
        m_received += taken();
        QTRY_COMPARE(m_received.size(), data.size());
        QVERIFY(m_received == data);
    }

    void whatTheSystemHasNotSentHasNotLeft()
    {
        constexpr qint64 kSize = 2'000'000;
        connectLink();
        qint64 left = 0;
        connect(m_link.get(), &Transport::left, this, [&left](qint64 bytes) { left += bytes; });
        m_peer->setReading(false);
        QVERIFY(send(QByteArray(kSize, 'x')));
        QTRY_COMPARE(m_link->findChild<QTcpSocket*>()->bytesToWrite(), 0);
        QVERIFY(m_link->pendingBytes() > kSize / 2);
        QVERIFY(left < kSize / 2);
        m_peer->setReading(true);
        QTRY_COMPARE(left, kSize);
        QCOMPARE(m_link->pendingBytes(), 0);
    }

    void aStaleSocketDoesNotTouchItsSuccessor()
    {
        connectLink();
        connect(m_link.get(), &Transport::noticed, this, [this] {
            QVERIFY(m_gone.isEmpty());
            open();
            QVERIFY(send("second"_ba));
        });
        m_peer->close(0);
        QTRY_COMPARE(m_gone.size(), 1);
        QTRY_COMPARE(m_peer->received(1), "second"_ba);
        QVERIFY(m_link->isOpen());
        QCOMPARE(m_gone.size(), 1);
    }

    void aReaderMayCloseTheEndingConnection()
    {
        connectLink();
        m_peer->send("x"_ba);
        auto* socket = m_link->findChild<QTcpSocket*>();
        QTRY_COMPARE(socket->bytesAvailable(), 1);
        connect(m_link.get(), &Transport::readyRead, this, [this] { m_link->close(); });
        m_peer->close();
        QTRY_VERIFY(isClosed());
        QCOMPARE(m_gone.size(), 1);
        QVERIFY(m_errors.isEmpty() && m_gone.at(0).kind == CloseReason::Kind::ByWill);
    }

    void aBridgeTunesTheConnectedSocket()
    {
        m_link->setBridgeTuning(true);
        connectLink();
        auto* socket = m_link->findChild<QTcpSocket*>();
        QCOMPARE(socket->socketOption(QAbstractSocket::LowDelayOption).toInt(), 1);
        QCOMPARE(socket->socketOption(QAbstractSocket::KeepAliveOption).toInt(), 1);
    }
};

QTEST_GUILESS_MAIN(TestTcpClientTransport)
#include "tst_tcpclienttransport.moc"
