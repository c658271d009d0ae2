#include "connections/serialtransport.h"
#include "simdevice/pseudoterminal.h"
#include "support/nullmodem.h"
#include "support/numberedbytes.h"

#include <QAbstractEventDispatcher>
#include <QSignalSpy>
#include <QTest>

#include <cerrno>
#include <utility>

using namespace Qt::Literals::StringLiterals;
using End = NullModem::End;

namespace {

Settings hardwareFlow()
{
    Settings settings;
    settings.flowControl = QSerialPort::HardwareControl;
    return settings;
}

} // namespace

class TestSerialTransport final : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<NullModem> modem;
    std::unique_ptr<SerialTransport> link;
    std::unique_ptr<QSerialPort> far;
    QStringList messages; // "text|timeout"
    QStringList errors;
    QByteArray received;
    ReadHold hold;
    int lost = 0;
    qint64 unsent = 0;

    using OpenMode = Transport::OpenMode;

    void listen()
    {
        link->setDisplayName(u"A"_s);
        connect(link.get(), &Transport::noticed, this, [this](const Notice& notice) {
            if (notice.gravity == Notice::Gravity::Error)
                errors += notice.fullText();
            if (notice.shownMs > 0)
                messages += u"%1|%2"_s.arg(notice.text).arg(notice.shownMs);
        });
        connect(link.get(), &Transport::closed, this, [this](const CloseReason& reason) {
            lost += reason.kind == CloseReason::Kind::Lost ? 1 : 0;
            unsent += reason.unsentBytes;
        });
    }
    bool openPort(const QString& name, Settings settings = {}, OpenMode how = OpenMode::Asked)
    {
        settings.portName = name;
        return link->open(settings, how);
    }
    bool open(const Settings& settings = {}, OpenMode how = OpenMode::Asked)
    {
        return openPort(modem->portA(), settings, how);
    }
    QByteArray taken()
    {
        Chunk chunk;
        return link->takeChunk(chunk) ? chunk.bytes : QByteArray();
    }
    bool drive(SerialLine line, bool on)
    {
        return link->setLine(line, on) == SerialLines::Answer::Driven;
    }
    void readAtOnce()
    {
        connect(link.get(), &SerialTransport::readyRead, this, [this] { received += taken(); });
    }

    // A spinning notifier would keep the dispatcher busy for ever.
    static bool becomesIdle()
    {
        auto* dispatcher = QAbstractEventDispatcher::instance();
        for (int i = 0; i < 10'000; ++i) {
            if (!dispatcher->processEvents(QEventLoop::AllEvents))
                return true;
        }
        return false;
    }

private Q_SLOTS:
    void init()
    {
        modem = std::make_unique<NullModem>();
        QVERIFY2(modem->isValid(), qPrintable(modem->errorString()));
        far = std::make_unique<QSerialPort>(modem->portB());
        QVERIFY(far->open(QIODevice::ReadWrite));
        link = std::make_unique<SerialTransport>();
        messages.clear();
        errors.clear();
        received.clear();
        lost = 0;
        unsent = 0;
        listen();
    }

    void cleanup()
    {
        link.reset();
        far.reset();
        modem.reset();
    }

    void opensOnceAndCloses()
    {
        Settings settings;
        settings.baudRate = 115200;
        QVERIFY(open(settings, OpenMode::Quiet));
        QCOMPARE(messages, QStringList{u"Serial Port A OPEN SUCCESS|1000"_s});
        QCOMPARE(link->port().baudRate(), 115200);
        QVERIFY(modem->dtr(End::A) && modem->rts(End::A));

        settings.baudRate = 300;
        QVERIFY(open(settings));
        QCOMPARE(link->port().baudRate(), 115200);

        messages.clear();
        link->close();
        QVERIFY(!link->isOpen());
        QCOMPARE(link->inputs(), ModemLines());
        QCOMPARE(messages, QStringList{u"Serial Port A CLOSE SUCCESS|3000"_s});
        QVERIFY(!modem->dtr(End::A) && !modem->rts(End::A));
        QVERIFY(link->requested(SerialLine::Dtr) && link->requested(SerialLine::Rts));
    }

    void portWithoutLinesIsAskedOnce()
    {
        simdevice::PseudoTerminal terminal;
        QString error;
        QVERIFY2(terminal.open(&error), qPrintable(error));
        QCOMPARE(link->sight(), SerialLines::Sight::None);
        for (int opening = 1; opening <= 2; ++opening) {
            QVERIFY(openPort(terminal.slavePath(), {}, OpenMode::Quiet));
            QCOMPARE(link->sight(), SerialLines::Sight::All);
            for (int look = 0; look < 3; ++look)
                QCOMPARE(link->inputs(), ModemLines());
            QVERIFY(link->isOpen() && link->sight() == SerialLines::Sight::None);
            QCOMPARE(messages.filter(u"has no control lines that can be read"_s).size(), opening);
            link->close();
        }
    }

    void aFailedOpenSaysWhyAndWhatToDo()
    {
        const QString absent = modem->portA() + u"x"_s;
        QVERIFY(!openPort(absent, {}, OpenMode::Quiet));
        QVERIFY(errors.isEmpty() && messages.isEmpty());
        QVERIFY(!openPort(absent));
        const QString line = errors.value(0).section(u'\n', 0, 0);
        QVERIFY(line.startsWith("Serial Port A OPEN FAILED! ERROR: "_L1));
        QVERIFY(errors.value(0).section(u'\n', 1).contains(absent));
        QCOMPARE(messages, QStringList{line + u"|5000"_s});
    }

    void aBusyPortIsToldFromAForbiddenOne()
    {
        QVERIFY(open());
        const auto first = std::exchange(link, std::make_unique<SerialTransport>());
        listen();
        if (open())
            QSKIP("this user overrides exclusive use");
        QVERIFY(errors.value(0).contains("Another program has"_L1));
    }

    void unusableSettingsDoNotKeepThePortShut()
    {
        Settings settings;
        settings.baudRate = -1;
        settings.parity = 77;
        QVERIFY(open(settings));
        QCOMPARE(link->port().parity(), QSerialPort::NoParity);
    }

    void linesOfTheSettingsAreDrivenAtOpen()
    {
        QCOMPARE(link->setLine(SerialLine::Dtr, false), SerialLines::Answer::NotOpen);
        Settings settings;
        settings.dtrOn = false;
        QVERIFY(open(settings));
        QVERIFY(!modem->dtr(End::A) && modem->rts(End::A));
        QVERIFY(drive(SerialLine::Dtr, true));
        QVERIFY(drive(SerialLine::Rts, false));
        QVERIFY(modem->dtr(End::A) && !modem->rts(End::A));
    }

    void rtsBelongsToTheDriverUnderRtsCts()
    {
        QVERIFY(open(hardwareFlow()));
        QVERIFY(modem->dtr(End::A) && !modem->rts(End::A));
        messages.clear();
        QVERIFY(!drive(SerialLine::Rts, true));
        QCOMPARE(
            messages, QStringList{u"RTS is managed automatically by RTS/CTS flow control|3000"_s});
        QVERIFY(!modem->rts(End::A) && link->requested(SerialLine::Rts));

        modem->setOutputs(End::A, true, true);
        link->close();
        QVERIFY(!modem->dtr(End::A) && modem->rts(End::A));

        modem->setOutputs(End::A, false, false);
        QVERIFY(open());
        QVERIFY(modem->rts(End::A));
    }

    void throttlingHoldsTheSenderBackAndLosesNothing()
    {
        const QByteArray data = numberedBytes(256 * 1024);
        QVERIFY(open());
        readAtOnce();
        hold = link->holdReading();
        far->write(data);
        QTRY_COMPARE(link->port().bytesAvailable(), 4096);
        QVERIFY(becomesIdle());
        QVERIFY(far->bytesToWrite() > 0);
        QVERIFY(taken().isEmpty());
        hold.release();
        received += taken();
        QTRY_COMPARE(received.size(), data.size());
        QCOMPARE(received, data);
    }

    void throttlingAPortThatHoldsMoreThanItsLimitDoesNotSpin()
    {
        const QByteArray data = numberedBytes(10'000);
        QVERIFY(open());
        far->write(data);
        QTRY_COMPARE(link->port().bytesAvailable(), data.size());
        hold = link->holdReading();
        far->write(data);
        QTRY_COMPARE(link->port().bytesAvailable(), 4096);
        QVERIFY(becomesIdle());
        readAtOnce();
        hold.release();
        received += taken();
        QTRY_COMPARE(received, data + data);
    }

    void aVanishedDeviceLeavesItsBytes_data()
    {
        QTest::addColumn<bool>("throttled");
        QTest::addColumn<bool>("readerWaits");
        QTest::newRow("reader takes them at once") << false << true;
        QTest::newRow("reader comes later") << false << false;
        QTest::newRow("reads are throttled") << true << true;
    }

    void aVanishedDeviceLeavesItsBytes()
    {
        QFETCH(bool, throttled);
        QFETCH(bool, readerWaits);
        QVERIFY(open());
        QVERIFY(drive(SerialLine::Break, true));
        far->write("last words");
        QTRY_COMPARE(link->port().bytesAvailable(), 10);
        if (readerWaits)
            readAtOnce();
        if (throttled)
            hold = link->holdReading();
        messages.clear();
        modem->unplug(End::A);
        QTRY_COMPARE(lost, 1);
        QVERIFY(!link->isOpen() && !link->requested(SerialLine::Break));
        QCOMPARE(messages, QStringList{u"Serial Port %1 DISCONNECTED|5000"_s.arg(modem->portA())});
        QCOMPARE(received.isEmpty(), throttled || !readerWaits);
        hold.release();
        received += taken();
        QCOMPARE(received, "last words"_ba);

        QVERIFY(modem->plugBack(End::A));
        QVERIFY(open({}, OpenMode::Quiet));
        far->write("back");
        QTRY_VERIFY((received += taken()).endsWith("back"));
        QCOMPARE(lost, 1);
    }

    // The kernel's way of telling it: reads return 0, and errno holds whatever it held.
    void aHangUpIsALossToo()
    {
        QVERIFY(open());
        modem->unplug(End::A, NullModem::Vanishing::EndOfFile);
        errno = ENOTTY;
        QTRY_COMPARE(lost, 1);
        QVERIFY(!link->isOpen());
    }

    void lineParametersChangeInPlace()
    {
        Settings settings;
        link->apply(settings); // closed: nothing to change
        QVERIFY(open());
        messages.clear();
        settings.baudRate = 57600;
        settings.flowControl = QSerialPort::HardwareControl;
        link->apply(settings);
        QCOMPARE(link->port().baudRate(), 57600);
        QVERIFY(!link->driveLine(SerialLine::Rts, false, false));
        settings.flowControl = QSerialPort::NoFlowControl;
        link->apply(settings);
        QVERIFY(modem->rts(End::A)); // driven again to the level that was asked for
        for (const auto& [parity, letter] :
            {std::pair{QSerialPort::MarkParity, "M"}, {QSerialPort::OddParity, "O"},
                {QSerialPort::SpaceParity, "S"}, {QSerialPort::EvenParity, "E"}}) {
            settings.parity = parity;
            link->apply(settings);
            QCOMPARE(modem->lineSettings(End::A), "57600 8"_ba + letter + '1');
        }
        QVERIFY(messages.isEmpty());
        far->write("still open");
        QTRY_VERIFY((received += taken()) == "still open"_ba);
    }

    void outputForAVanishedDeviceDoesNotReachItsSuccessor()
    {
        QVERIFY(open());
        modem->setFlowing(false);
        QVERIFY(link->write(numberedBytes(100'000)).taken());
        QTRY_VERIFY(modem->crossedFrom(End::A) == 0 && link->pendingBytes() > 0);
        modem->unplug(End::A);
        QTRY_COMPARE(lost, 1);
        QCOMPARE(link->pendingBytes(), 0);
        QCOMPARE(unsent, 100'000);
        QCOMPARE(errors,
            QStringList{
                u"Serial Port %1 was closed with 100000 byte(s) not sent."_s.arg(modem->portA())});
        QVERIFY(modem->plugBack(End::A));
        modem->setFlowing(true);
        QTRY_VERIFY(becomesIdle());
        far->readAll();
        QVERIFY(open() && link->write("new"_ba).taken());
        QTRY_COMPARE(far->peek(100), "new"_ba);
    }

    void closingADeadDeviceIsNotALoss()
    {
        QVERIFY(open());
        modem->unplug(End::A);
        link->close(); // before the event loop has noticed
        QVERIFY(becomesIdle());
        QCOMPARE(lost, 0);
        QCOMPARE(messages.constLast(), u"Serial Port A CLOSE SUCCESS|3000"_s);
    }

    void aReaderMayCloseTheVanishingPort()
    {
        QVERIFY(open());
        far->write("x");
        QTRY_COMPARE(link->port().bytesAvailable(), 1);
        connect(link.get(), &SerialTransport::readyRead, this, [this] { link->close(); });
        modem->unplug(End::A);
        QTRY_VERIFY(!link->isOpen());
        QCOMPARE(lost, 0);
    }

    void outputIsBoundedByTheSpeedOfTheLine()
    {
        QVERIFY(open());
        modem->setFlowing(false);
        QVERIFY(link->write(QByteArray(1'000'000, 'a')).taken()); // whatever a person pastes
        messages.clear();
        QCOMPARE(link->write("more"_ba).refusal, WriteResult::Refusal::Full);
        QCOMPARE(link->write("still more"_ba).refusal, WriteResult::Refusal::Full);
        QCOMPARE(messages.size(), 1);
        QVERIFY(messages.at(0).contains(u"4 bytes"_s));
        QSignalSpy discarded(link.get(), &Transport::discarded);
        link->discard(Purge::Output);
        QVERIFY(discarded.value(0).value(0).toLongLong() > 900'000);
        QCOMPARE(link->pendingBytes(), 0);
        messages.clear();
        QVERIFY(link->write(QByteArray(SerialOutput::kMinBoundBytes, 'b')).taken());
        QCOMPARE(messages.size(), 1);
        QVERIFY(messages.at(0).contains(u"14 bytes in all"_s));
    }

    void whatTheDriverHoldsHasNotLeft()
    {
        QVERIFY(open());
        QSignalSpy left(link.get(), &Transport::left);
        modem->setDriverQueue(End::A, 3);
        QVERIFY(link->write("12345"_ba).taken());
        QTRY_COMPARE(link->pendingBytes(), 3);
        QTRY_COMPARE(left.value(0).value(0).toLongLong(), 2);
        modem->setDriverQueue(End::A, 0);
        QTRY_COMPARE(left.value(1).value(0).toLongLong(), 3);
        QCOMPARE(link->pendingBytes(), 0);
    }

    void theLineChangesBetweenTheBytes()
    {
        QVERIFY(open());
        modem->setDriverQueue(End::A, 3);
        QVERIFY(link->write("old"_ba).taken());
        Settings settings;
        settings.baudRate = 57600;
        link->apply(settings);
        QVERIFY(link->write("new"_ba).taken());
        settings.baudRate = 1200;
        link->apply(settings);
        QTRY_COMPARE(far->peek(100), "old"_ba);
        QCOMPARE(modem->lineSettings(End::A), "9600 8N1"_ba);
        QCOMPARE(link->pendingBytes(), 6);
        QByteArrayList settingsSeen;
        QTimer look;
        connect(&look, &QTimer::timeout, this, [&] {
            if (const QByteArray now = modem->lineSettings(End::A); !settingsSeen.contains(now))
                settingsSeen += now;
        });
        look.start(0);
        modem->setDriverQueue(End::A, 0);
        QTRY_COMPARE(settingsSeen, (QByteArrayList{"9600 8N1", "57600 8N1", "1200 8N1"}));
        QCOMPARE(far->peek(100), "oldnew"_ba);
        look.stop();
        // A line that never becomes quiet changes all the same.
        modem->setDriverQueue(End::A, 3);
        messages.clear();
        QVERIFY(link->write("end"_ba).taken());
        link->apply({});
        QTRY_COMPARE(modem->lineSettings(End::A), "9600 8N1"_ba);
        QVERIFY(messages.value(0).contains(u"3 bytes not sent yet"_s));
    }
};

QTEST_GUILESS_MAIN(TestSerialTransport)
#include "tst_serialtransport.moc"
