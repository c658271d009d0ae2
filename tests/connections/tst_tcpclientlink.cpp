#include "connections/tcpclientlink.h"
#include "support/numberedbytes.h"
#include "support/tcppeer.h"

#include <QSignalSpy>
#include <QTcpSocket>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int lookupMs = 30'000; // what a name server may take to say no

} // namespace

class TestTcpClientLink final : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TcpPeer> peer;
    std::unique_ptr<TcpClientLink> link;
    std::unique_ptr<QSignalSpy> gone;
    QStringList messages;
    QStringList errors;
    QByteArray received;

    void connectLink()
    {
        link->connectTo(u"127.0.0.1"_s, peer->port());
        QTRY_VERIFY(link->isConnected() && peer->isOpen());
    }

    void readAtOnce()
    {
        connect(link.get(), &TcpClientLink::readyRead, this,
            [this] { received += link->readAvailable(); });
    }

private Q_SLOTS:
    void init()
    {
        peer = std::make_unique<TcpPeer>();
        QVERIFY(peer->listen());
        link = std::make_unique<TcpClientLink>();
        gone = std::make_unique<QSignalSpy>(link.get(), &TcpClientLink::disconnected);
        messages.clear();
        errors.clear();
        received.clear();
        connect(link.get(), &TcpClientLink::statusMessage, this,
            [this](const QString& text, int ms) { messages += u"%1|%2"_s.arg(text).arg(ms); });
        connect(link.get(), &TcpClientLink::errorOccurred, this,
            [this](const QString& text) { errors += text; });
    }

    void cleanup()
    {
        gone.reset();
        link.reset();
        peer.reset();
    }

    void whatIsSentBeforeTheConnectionLeavesInOneWrite()
    {
        QVERIFY(!link->send("no socket"_ba));
        QSignalSpy written(link.get(), &TcpClientLink::bytesWritten);
        QSignalSpy arrived(link.get(), &TcpClientLink::connected);
        link->connectTo(u"127.0.0.1"_s, peer->port());
        QVERIFY(!link->isConnected() && link->hasSocket());
        QVERIFY(link->send("ab"_ba) && link->send("cd"_ba));
        QVERIFY(!link->send({}));
        QCOMPARE(link->pendingWriteBytes(), 4);
        QTRY_COMPARE(peer->received(), "abcd"_ba);
        QCOMPARE(arrived.size(), 1);
        QCOMPARE(written.size(), 1);
        QCOMPARE(written.at(0).at(0).toLongLong(), 4);
        QVERIFY(link->send("ef"_ba));
        QTRY_COMPARE(peer->received(), "abcdef"_ba);
        QCOMPARE(link->pendingWriteBytes(), 0);
    }

    void tearingDownDropsWhatWaited()
    {
        link->connectTo(u"127.0.0.1"_s, peer->port());
        QVERIFY(link->send("dropped"_ba));
        QVERIFY(link->teardown());
        QVERIFY(!link->teardown());
        QCOMPARE(link->pendingWriteBytes(), 0);
        connectLink();
        QVERIFY(link->send("kept"_ba));
        QTRY_COMPARE(peer->received(), "kept"_ba);
        QVERIFY(gone->isEmpty());
    }

    void outputThatWaitsForAConnectionIsBounded()
    {
        link->connectTo(u"127.0.0.1"_s, peer->port());
        QVERIFY(link->send(QByteArray(TcpClientLink::maxPendingBytes, 'x')));
        QVERIFY(!link->send("y"_ba));
        QVERIFY(!link->send("z"_ba));
        QCOMPARE(messages.size(), 1);
        QTRY_COMPARE(peer->received().size(), TcpClientLink::maxPendingBytes);
    }

    // What send() took arrives, or is told to the byte.
    void closingSendsWhatWaitsOrSaysHowMuch_data()
    {
        QTest::addColumn<bool>("reads");
        QTest::newRow("the peer reads") << true;
        QTest::newRow("the peer is deaf") << false;
    }

    void closingSendsWhatWaitsOrSaysHowMuch()
    {
        QFETCH(bool, reads);
        QSignalSpy unsent(link.get(), &TcpClientLink::unsent);
        connectLink();
        peer->setReading(false);
        const QByteArray all = numberedBytes(8 * 1024 * 1024);
        QVERIFY(link->send(all));
        QTRY_VERIFY(link->pendingWriteBytes() < all.size());
        QVERIFY(link->teardown());
        QVERIFY(!link->hasSocket());
        if (reads) {
            peer->setReading(true);
            QTRY_COMPARE(peer->received().size(), all.size());
            QVERIFY(peer->received() == all);
            QCOMPARE(messages, QStringList());
        } else {
            QTRY_COMPARE_WITH_TIMEOUT(unsent.size(), 1, 3 * TcpClientLink::lingerMs);
            QCOMPARE(messages.size(), 1);
            const qint64 left = unsent[0][0].toLongLong();
            QVERIFY(left > 0 && left < all.size());
        }
    }

    void aDeafPeerTakesNoMemoryWithoutEnd()
    {
        connectLink();
        peer->setReading(false);
        const QByteArray block(1024 * 1024, 'x');
        qint64 taken = 0;
        while (link->send(block)) {
            taken += block.size();
            QVERIFY(taken < 64 * block.size());
        }
        QVERIFY(!link->send(block));
        QCOMPARE(messages.size(), 1);
        QVERIFY(link->pendingWriteBytes() <= TcpClientLink::maxPendingBytes);
        // There is room again once it reads.
        peer->setReading(true);
        QTRY_COMPARE(link->pendingWriteBytes(), 0);
        QVERIFY(link->send("more"_ba));
        // And a reset is told with what never left.
        peer->setReading(false);
        QTRY_COMPARE(link->pendingWriteBytes(), 0);
        while (link->send(block)) {
        }
        QSignalSpy unsent(link.get(), &TcpClientLink::unsent);
        peer->reset();
        QTRY_COMPARE(unsent.size(), 1);
        QVERIFY(unsent[0][0].toLongLong() > 0);
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
        link->connectTo(host, peer->port());
        QVERIFY(link->send("lost"_ba));
        QTRY_COMPARE_WITH_TIMEOUT(errors.size(), 1, lookupMs);
        QVERIFY(errors.at(0).startsWith("TCP connect FAILED: "_L1));
        QTRY_COMPARE(messages, (QStringList{errors.at(0) + u"|5000"_s,
                                   u"The TCP connection ended with 4 byte(s) not sent.|5000"_s}));
        QVERIFY(!link->hasSocket());
        QCOMPARE(link->pendingWriteBytes(), 0);

        QVERIFY(peer->listen(peer->port()));
        connectLink();
        QVERIFY(gone->isEmpty());
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
        link->setReadThrottled(throttled);
        peer->send(data);
        QTRY_COMPARE(peer->unsent(), 0);
        if (reset)
            peer->reset();
        else
            peer->close();
        QTRY_COMPARE(gone->size(), 1);
        QCOMPARE(errors.size(), 1);
        QVERIFY(errors.at(0).startsWith("TCP connect FAILED: "_L1));
        QVERIFY(!link->hasSocket() && !link->send("x"_ba));
        QCOMPARE(received.isEmpty(), throttled || !readerWaits);
        link->setReadThrottled(false);
        QCOMPARE(link->hasUnread(), throttled || !readerWaits);
        received += link->readAvailable();
        QCOMPARE(received, data);
        QVERIFY(!link->hasUnread());
    }

    // A full, throttled socket hears nothing of its peer until it writes; by then the system still
    // holds what the peer had sent.
    void whatTheSystemHoldsBehindAThrottledSocketSurvivesAReset()
    {
        const QByteArray data = numberedBytes(60'000);
        connectLink();
        link->setReadThrottled(true);
        peer->send(data);
        QTRY_COMPARE(peer->unsent(), 0);
        peer->reset();
        QTRY_VERIFY(!peer->isOpen());
        link->send("x"_ba);
        QTRY_COMPARE(gone->size() + errors.size(), 2);
        link->setReadThrottled(false);
        QVERIFY(link->readAvailable() == data);
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
        link->setReadThrottled(true);
        connectLink();
        readAtOnce();
        peer->send(data);
        auto* socket = link->findChild<QTcpSocket*>();
        QTRY_COMPARE(socket->bytesAvailable(), TcpClientLink::throttledReadBufferBytes);
        QVERIFY(peer->unsent() > 0);
        QVERIFY(received.isEmpty() && link->hasUnread());
        link->setReadThrottled(false);
        received += link->readAvailable();
        QTRY_COMPARE(received.size(), data.size());
        QVERIFY(received == data);
    }

    void aStaleSocketDoesNotTouchItsSuccessor()
    {
        connectLink();
        connect(link.get(), &TcpClientLink::errorOccurred, this, [this] {
            QVERIFY(gone->isEmpty());
            link->connectTo(u"127.0.0.1"_s, peer->port());
            QVERIFY(link->send("second"_ba));
        });
        peer->close(0);
        QTRY_COMPARE(gone->size(), 1);
        QTRY_COMPARE(peer->received(1), "second"_ba);
        QVERIFY(link->isConnected());
        QCOMPARE(gone->size(), 1);
    }

    void aReaderMayTearDownTheEndingConnection()
    {
        connectLink();
        peer->send("x"_ba);
        auto* socket = link->findChild<QTcpSocket*>();
        QTRY_COMPARE(socket->bytesAvailable(), 1);
        connect(link.get(), &TcpClientLink::readyRead, this, [this] { link->teardown(); });
        peer->close();
        QTRY_VERIFY(!link->hasSocket());
        QVERIFY(errors.isEmpty() && gone->isEmpty());
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

QTEST_GUILESS_MAIN(TestTcpClientLink)
#include "tst_tcpclientlink.moc"
