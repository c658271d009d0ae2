#include "connections/tcpclienttransport.h"
#include "support/numberedbytes.h"
#include "support/tcppeer.h"

#include <QSignalSpy>
#include <QTcpSocket>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int lookupMs = 30'000; // what a name server may take to say no

} // namespace

class TestTcpClientTransport final : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TcpPeer> peer;
    std::unique_ptr<TcpClientTransport> link;
    QList<CloseReason> gone;
    ReadHold hold;
    QStringList messages;
    QStringList errors;
    QByteArray received;

    void open(const QString& host = u"127.0.0.1"_s)
    {
        Settings settings;
        settings.targetHost = host;
        settings.targetPort = peer->port();
        QVERIFY(link->open(settings, Transport::OpenMode::Asked));
    }
    void connectLink()
    {
        open();
        QTRY_VERIFY(link->isOpen() && peer->isOpen());
    }
    bool send(const QByteArray& bytes) { return link->write(bytes).taken(); }
    bool isClosed() const { return link->state() == Transport::State::Closed; }
    QByteArray taken()
    {
        Chunk chunk;
        return link->takeChunk(chunk) ? chunk.bytes : QByteArray();
    }
    void readAtOnce()
    {
        connect(link.get(), &Transport::readyRead, this, [this] { received += taken(); });
    }

private Q_SLOTS:
    void init()
    {
        peer = std::make_unique<TcpPeer>();
        QVERIFY(peer->listen());
        link = std::make_unique<TcpClientTransport>();
        gone.clear();
        messages.clear();
        errors.clear();
        received.clear();
        connect(link.get(), &Transport::noticed, this, [this](const Notice& notice) {
            if (notice.gravity == Notice::Gravity::Error)
                errors += notice.text;
            if (notice.shownMs > 0)
                messages += u"%1|%2"_s.arg(notice.text).arg(notice.shownMs);
        });
        connect(link.get(), &Transport::closed, this,
            [this](const CloseReason& reason) { gone += reason; });
    }

    void cleanup()
    {
        link.reset();
        peer.reset();
    }

    void whatIsSentBeforeTheConnectionLeavesInOneWrite()
    {
        QSignalSpy left(link.get(), &Transport::left);
        open();
        QCOMPARE(link->state(), Transport::State::Opening);
        QVERIFY(send("ab"_ba) && send("cd"_ba));
        QVERIFY(!send({}));
        QCOMPARE(link->pendingBytes(), 4);
        QTRY_COMPARE(peer->received(), "abcd"_ba);
        QTRY_COMPARE(left.size(), 1);
        QCOMPARE(left.at(0).at(0).toLongLong(), 4);
    }

    void closingTheAttemptTellsWhatWaited()
    {
        open();
        QVERIFY(send(QByteArray(TcpClientTransport::kMaxUnsentBytes, 'x')));
        QCOMPARE(link->write("y"_ba).refusal, WriteResult::Refusal::Full);
        QVERIFY(!send("z"_ba));
        QCOMPARE(messages.size(), 1);
        link->close();
        QCOMPARE(gone.size(), 1);
        QCOMPARE(gone.at(0).unsentBytes, TcpClientTransport::kMaxUnsentBytes);
        QCOMPARE(errors.size(), 1);
        QVERIFY(isClosed() && link->pendingBytes() == 0);
        connectLink();
        QVERIFY(send("kept"_ba));
        QTRY_COMPARE(peer->received(), "kept"_ba);
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
        peer->stopListening();
        open(host);
        QVERIFY(send("lost"_ba));
        QTRY_COMPARE_WITH_TIMEOUT(gone.size(), 1, lookupMs);
        QCOMPARE(gone.at(0).kind, CloseReason::Kind::Failed);
        QCOMPARE(gone.at(0).unsentBytes, 4);
        QVERIFY(errors.at(0).startsWith("TCP connect FAILED: "_L1));
        QCOMPARE(messages.value(0), errors.at(0) + u"|5000"_s);
        QTRY_VERIFY(messages.value(1).contains(u"4 bytes not sent"_s));
        QCOMPARE(errors.size(), 1);
        QVERIFY(isClosed() && link->pendingBytes() == 0);

        QVERIFY(peer->listen(peer->port()));
        connectLink();
        QCOMPARE(gone.size(), 1);
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
            hold = link->holdReading();
        peer->send(data);
        QTRY_COMPARE(peer->unsent(), 0);
        if (reset)
            peer->reset();
        else
            peer->close();
        QTRY_COMPARE(gone.size(), 1);
        QCOMPARE(errors.size(), 1);
        QVERIFY(errors.at(0).startsWith("TCP connect FAILED: "_L1));
        QVERIFY(isClosed() && !send("x"_ba));
        QCOMPARE(received.isEmpty(), throttled || !readerWaits);
        hold.release();
        received += taken();
        QCOMPARE(received, data);
        QVERIFY(taken().isEmpty());
    }

    // A full, throttled socket hears nothing of its peer until it writes; by then the system still
    // holds what the peer had sent.
    void whatTheSystemHoldsBehindAThrottledSocketSurvivesAReset()
    {
        const QByteArray data = numberedBytes(60'000);
        connectLink();
        hold = link->holdReading();
        peer->send(data);
        QTRY_COMPARE(peer->unsent(), 0);
        peer->reset();
        QTRY_VERIFY(!peer->isOpen());
        send("x"_ba);
        QTRY_COMPARE(gone.size(), 1);
        hold.release();
        QVERIFY(taken() == data);
    }

    void theResidueSaysWhatItCouldNotKeep()
    {
        ReceiveResidue residue;
        QCOMPARE(residue.keep(QByteArray(ReceiveResidue::maxBytes - 1, 'a')), 0);
        QCOMPARE(residue.keep("bc"_ba), 1);
        QCOMPARE(residue.keep("d"_ba), 1);
        const QByteArray kept = residue.take();
        QVERIFY(kept.size() == ReceiveResidue::maxBytes && kept.endsWith("ab"));
        QVERIFY(residue.isEmpty());
    }

    void throttlingHoldsThePeerBackAndLosesNothing()
    {
        const QByteArray data = numberedBytes(20 * 1024 * 1024);
        hold = link->holdReading();
        connectLink();
        readAtOnce();
        peer->send(data);
        auto* socket = link->findChild<QTcpSocket*>();
        QTRY_COMPARE(socket->bytesAvailable(), Transport::kHeldReadBufferBytes);
        QVERIFY(peer->unsent() > 0);
        QVERIFY(received.isEmpty());
        hold.release();
        received += taken();
        QTRY_COMPARE(received.size(), data.size());
        QVERIFY(received == data);
    }

    void whatTheSystemHasNotSentHasNotLeft()
    {
        constexpr qint64 size = 2'000'000;
        connectLink();
        qint64 left = 0;
        connect(link.get(), &Transport::left, this, [&left](qint64 bytes) { left += bytes; });
        peer->setReading(false);
        QVERIFY(send(QByteArray(size, 'x')));
        QTRY_COMPARE(link->findChild<QTcpSocket*>()->bytesToWrite(), 0);
        QVERIFY(link->pendingBytes() > size / 2);
        QVERIFY(left < size / 2);
        peer->setReading(true);
        QTRY_COMPARE(left, size);
        QCOMPARE(link->pendingBytes(), 0);
    }

    void aStaleSocketDoesNotTouchItsSuccessor()
    {
        connectLink();
        connect(link.get(), &Transport::noticed, this, [this] {
            QVERIFY(gone.isEmpty());
            open();
            QVERIFY(send("second"_ba));
        });
        peer->close(0);
        QTRY_COMPARE(gone.size(), 1);
        QTRY_COMPARE(peer->received(1), "second"_ba);
        QVERIFY(link->isOpen());
        QCOMPARE(gone.size(), 1);
    }

    void aReaderMayCloseTheEndingConnection()
    {
        connectLink();
        peer->send("x"_ba);
        auto* socket = link->findChild<QTcpSocket*>();
        QTRY_COMPARE(socket->bytesAvailable(), 1);
        connect(link.get(), &Transport::readyRead, this, [this] { link->close(); });
        peer->close();
        QTRY_VERIFY(isClosed());
        QCOMPARE(gone.size(), 1);
        QVERIFY(errors.isEmpty() && gone.at(0).kind == CloseReason::Kind::ByWill);
    }

    void aBridgeTunesTheConnectedSocket()
    {
        link->setBridgeTuning(true);
        connectLink();
        auto* socket = link->findChild<QTcpSocket*>();
        QCOMPARE(socket->socketOption(QAbstractSocket::LowDelayOption).toInt(), 1);
        QCOMPARE(socket->socketOption(QAbstractSocket::KeepAliveOption).toInt(), 1);
    }
};

QTEST_GUILESS_MAIN(TestTcpClientTransport)
#include "tst_tcpclienttransport.moc"
