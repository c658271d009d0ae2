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
    std::unique_ptr<NullModem> m_modem;
    std::unique_ptr<SerialTransport> m_link;
    std::unique_ptr<QSerialPort> m_far;
    QStringList m_messages; // "text|timeout"
    QStringList m_errors;
    QByteArray m_received;
    ReadHold m_hold;
    int m_lost = 0;
    qint64 m_unsent = 0;

    using OpenMode = Transport::OpenMode;

    void listen()
    {
        m_link->setDisplayName(u"A"_s);
        connect(m_link.get(), &Transport::noticed, this, [this](const Notice& notice) {
            if (notice.gravity == Notice::Gravity::Error)
                m_errors += notice.fullText();
            if (notice.shownMs > 0)
                m_messages += u"%1|%2"_s.arg(notice.text).arg(notice.shownMs);
        });
        connect(m_link.get(), &Transport::closed, this, [this](const CloseReason& reason) {
            m_lost += reason.kind == CloseReason::Kind::Lost ? 1 : 0;
            m_unsent += reason.unsentBytes;
        });
    }
    bool openPort(const QString& name, Settings settings = {}, OpenMode how = OpenMode::Asked)
    {
        settings.portName = name;
        return m_link->open(settings, how);
    }
    bool open(const Settings& settings = {}, OpenMode how = OpenMode::Asked)
    {
        return openPort(m_modem->portA(), settings, how);
    }
    QByteArray taken()
    {
        Chunk chunk;
        return m_link->takeChunk(chunk) ? chunk.bytes : QByteArray();
    }
    bool drive(SerialLine line, bool on)
    {
        return m_link->setLine(line, on) == SerialLines::Answer::Driven;
    }
    void readAtOnce()
    {
        connect(m_link.get(), &SerialTransport::readyRead, this, [this] { m_received += taken(); });
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
        m_modem = std::make_unique<NullModem>();
        QVERIFY2(m_modem->isValid(), qPrintable(m_modem->errorString()));
        m_far = std::make_unique<QSerialPort>(m_modem->portB());
        QVERIFY(m_far->open(QIODevice::ReadWrite));
        m_link = std::make_unique<SerialTransport>();
        m_messages.clear();
        m_errors.clear();
        m_received.clear();
        m_lost = 0;
        m_unsent = 0;
        listen();
    }

    void cleanup()
    {
        m_link.reset();
        m_far.reset();
        m_modem.reset();
    }

    void opensOnceAndCloses()
    {
        Settings settings;
        settings.baudRate = 115200;
        QVERIFY(open(settings, OpenMode::Quiet));
        QCOMPARE(m_messages, QStringList{u"Serial Port A OPEN SUCCESS|1000"_s});
        QCOMPARE(m_link->port().baudRate(), 115200);
        QVERIFY(m_modem->dtr(End::A) && m_modem->rts(End::A));

        settings.baudRate = 300;
        QVERIFY(open(settings));
        QCOMPARE(m_link->port().baudRate(), 115200);

        m_messages.clear();
        m_link->close();
        QVERIFY(!m_link->isOpen());
        QCOMPARE(m_link->inputs(), ModemLines());
        QCOMPARE(m_messages, QStringList{u"Serial Port A CLOSE SUCCESS|3000"_s});
        QVERIFY(!m_modem->dtr(End::A) && !m_modem->rts(End::A));
        QVERIFY(m_link->requested(SerialLine::Dtr) && m_link->requested(SerialLine::Rts));
    }

    void portWithoutLinesOpensWithoutComplaint()
    {
        simdevice::PseudoTerminal terminal;
        QString error;
        QVERIFY2(terminal.open(&error), qPrintable(error));
        QCOMPARE(m_link->sight(), SerialLines::Sight::None);
        QSignalSpy told(m_link.get(), &Transport::noticed);
        const auto forAPerson = [&told] {
            QStringList texts;
            for (const auto& arguments : told) {
                const auto notice = arguments.first().value<Notice>();
                if (!notice.isDetail)
                    texts += notice.text;
            }
            told.clear();
            return texts;
        };
        for (int opening = 1; opening <= 2; ++opening) {
            QVERIFY(openPort(terminal.slavePath(), {}, OpenMode::Quiet));
            for (int look = 0; look < 3; ++look)
                QCOMPARE(m_link->inputs(), ModemLines());
            QVERIFY(m_link->isOpen() && m_link->sight() == SerialLines::Sight::Unknown);
            QCOMPARE(forAPerson(), QStringList{u"Serial Port A OPEN SUCCESS"_s});
            // Whoever asks for a level hears that there is none.
            QVERIFY(!drive(SerialLine::Dtr, true));
            QVERIFY(forAPerson().value(0).startsWith(u"Failed to set DTR: "_s));
            m_link->close();
            told.clear();
        }
    }

    void aFailedOpenSaysWhyAndWhatToDo()
    {
        const QString absent = m_modem->portA() + u"x"_s;
        QVERIFY(!openPort(absent, {}, OpenMode::Quiet));
        QVERIFY(m_errors.isEmpty() && m_messages.isEmpty());
        QVERIFY(!openPort(absent));
        const QString line = m_errors.value(0).section(u'\n', 0, 0);
        QVERIFY(line.startsWith("Serial Port A OPEN FAILED! ERROR: "_L1));
        QVERIFY(m_errors.value(0).section(u'\n', 1).contains(absent));
        QCOMPARE(m_messages, QStringList{line + u"|5000"_s});
    }

    void aBusyPortIsToldFromAForbiddenOne()
    {
        QVERIFY(open());
        const auto first = std::exchange(m_link, std::make_unique<SerialTransport>());
        listen();
        if (open())
            QSKIP("this user overrides exclusive use");
        QVERIFY(m_errors.value(0).contains("Another program has"_L1));
    }

    void unusableSettingsDoNotKeepThePortShut()
    {
        Settings settings;
        settings.baudRate = -1;
        settings.parity = 77;
        QVERIFY(open(settings));
        QCOMPARE(m_link->port().parity(), QSerialPort::NoParity);
    }

    void linesOfTheSettingsAreDrivenAtOpen()
    {
        QCOMPARE(m_link->setLine(SerialLine::Dtr, false), SerialLines::Answer::NotOpen);
        Settings settings;
        settings.dtrOn = false;
        QVERIFY(open(settings));
        QVERIFY(!m_modem->dtr(End::A) && m_modem->rts(End::A));
        QVERIFY(drive(SerialLine::Dtr, true));
        QVERIFY(drive(SerialLine::Rts, false));
        QVERIFY(m_modem->dtr(End::A) && !m_modem->rts(End::A));
    }

    void rtsBelongsToTheDriverUnderRtsCts()
    {
        QVERIFY(open(hardwareFlow()));
        QVERIFY(m_modem->dtr(End::A) && !m_modem->rts(End::A));
        m_messages.clear();
        QVERIFY(!drive(SerialLine::Rts, true));
        QCOMPARE(m_messages,
            QStringList{u"RTS is managed automatically by RTS/CTS flow control|3000"_s});
        QVERIFY(!m_modem->rts(End::A) && m_link->requested(SerialLine::Rts));

        m_modem->setOutputs(End::A, true, true);
        m_link->close();
        QVERIFY(!m_modem->dtr(End::A) && m_modem->rts(End::A));

        m_modem->setOutputs(End::A, false, false);
        QVERIFY(open());
        QVERIFY(m_modem->rts(End::A));
    }

    void throttlingHoldsTheSenderBackAndLosesNothing()
    {
        const QByteArray data = numberedBytes(256 * 1024);
        QVERIFY(open());
        readAtOnce();
        m_hold = m_link->holdReading();
        m_far->write(data);
        QTRY_COMPARE(m_link->port().bytesAvailable(), 4096);
        QVERIFY(becomesIdle());
        QVERIFY(m_far->bytesToWrite() > 0);
        QVERIFY(taken().isEmpty());
        m_hold.release();
        m_received += taken();
        QTRY_COMPARE(m_received.size(), data.size());
        QCOMPARE(m_received, data);
    }

    void throttlingAPortThatHoldsMoreThanItsLimitDoesNotSpin()
    {
        const QByteArray data = numberedBytes(10'000);
        QVERIFY(open());
        m_far->write(data);
        QTRY_COMPARE(m_link->port().bytesAvailable(), data.size());
        m_hold = m_link->holdReading();
        m_far->write(data);
        QTRY_COMPARE(m_link->port().bytesAvailable(), 4096);
        QVERIFY(becomesIdle());
        readAtOnce();
        m_hold.release();
        m_received += taken();
        QTRY_COMPARE(m_received, data + data);
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
        m_far->write("last words");
        QTRY_COMPARE(m_link->port().bytesAvailable(), 10);
        if (readerWaits)
            readAtOnce();
        if (throttled)
            m_hold = m_link->holdReading();
        m_messages.clear();
        m_modem->unplug(End::A);
        QTRY_COMPARE(m_lost, 1);
        QVERIFY(!m_link->isOpen() && !m_link->requested(SerialLine::Break));
        QCOMPARE(
            m_messages, QStringList{u"Serial Port %1 DISCONNECTED|5000"_s.arg(m_modem->portA())});
        QCOMPARE(m_received.isEmpty(), throttled || !readerWaits);
        m_hold.release();
        m_received += taken();
        QCOMPARE(m_received, "last words"_ba);

        QVERIFY(m_modem->plugBack(End::A));
        QVERIFY(open({}, OpenMode::Quiet));
        m_far->write("back");
        QTRY_VERIFY((m_received += taken()).endsWith("back"));
        QCOMPARE(m_lost, 1);
    }

    // The kernel's way of telling it: reads return 0, and errno holds whatever it held.
    void aHangUpIsALossToo()
    {
        QVERIFY(open());
        m_modem->unplug(End::A, NullModem::Vanishing::EndOfFile);
        errno = ENOTTY;
        QTRY_COMPARE(m_lost, 1);
        QVERIFY(!m_link->isOpen());
    }

    void lineParametersChangeInPlace()
    {
        Settings settings;
        m_link->apply(settings); // closed: nothing to change
        QVERIFY(open());
        m_messages.clear();
        settings.baudRate = 57600;
        settings.flowControl = QSerialPort::HardwareControl;
        m_link->apply(settings);
        QCOMPARE(m_link->port().baudRate(), 57600);
        QVERIFY(!m_link->driveLine(SerialLine::Rts, false, false));
        settings.flowControl = QSerialPort::NoFlowControl;
        m_link->apply(settings);
        QVERIFY(m_modem->rts(End::A)); // driven again to the level that was asked for
        for (const auto& [parity, letter] :
            {std::pair{QSerialPort::MarkParity, "M"}, {QSerialPort::OddParity, "O"},
                {QSerialPort::SpaceParity, "S"}, {QSerialPort::EvenParity, "E"}}) {
            settings.parity = parity;
            m_link->apply(settings);
            QCOMPARE(m_modem->lineSettings(End::A), "57600 8"_ba + letter + '1');
        }
        QVERIFY(m_messages.isEmpty());
        m_far->write("still open");
        QTRY_VERIFY((m_received += taken()) == "still open"_ba);
    }

    void outputForAVanishedDeviceDoesNotReachItsSuccessor()
    {
        QVERIFY(open());
        m_modem->setFlowing(false);
        QVERIFY(m_link->write(numberedBytes(100'000)).taken());
        QTRY_VERIFY(m_modem->crossedFrom(End::A) == 0 && m_link->pendingBytes() > 0);
        m_modem->unplug(End::A);
        QTRY_COMPARE(m_lost, 1);
        QCOMPARE(m_link->pendingBytes(), 0);
        QCOMPARE(m_unsent, 100'000);
        QCOMPARE(
            m_errors, QStringList{u"Serial Port %1 was closed with 100000 byte(s) not sent."_s.arg(
                          m_modem->portA())});
        QVERIFY(m_modem->plugBack(End::A));
        m_modem->setFlowing(true);
        QTRY_VERIFY(becomesIdle());
        m_far->readAll();
        QVERIFY(open() && m_link->write("new"_ba).taken());
        QTRY_COMPARE(m_far->peek(100), "new"_ba);
    }

    void closingADeadDeviceIsNotALoss()
    {
        QVERIFY(open());
        m_modem->unplug(End::A);
        m_link->close(); // before the event loop has noticed
        QVERIFY(becomesIdle());
        QCOMPARE(m_lost, 0);
        QCOMPARE(m_messages.constLast(), u"Serial Port A CLOSE SUCCESS|3000"_s);
    }

    void aReaderMayCloseTheVanishingPort()
    {
        QVERIFY(open());
        m_far->write("x");
        QTRY_COMPARE(m_link->port().bytesAvailable(), 1);
        connect(m_link.get(), &SerialTransport::readyRead, this, [this] { m_link->close(); });
        m_modem->unplug(End::A);
        QTRY_VERIFY(!m_link->isOpen());
        QCOMPARE(m_lost, 0);
    }

    void outputIsBoundedByTheSpeedOfTheLine()
    {
        QVERIFY(open());
        m_modem->setFlowing(false);
        QVERIFY(m_link->write(QByteArray(1'000'000, 'a')).taken()); // whatever a person pastes
        m_messages.clear();
        QCOMPARE(m_link->write("more"_ba).refusal, WriteResult::Refusal::Full);
        QCOMPARE(m_link->write("still more"_ba).refusal, WriteResult::Refusal::Full);
        QCOMPARE(m_messages.size(), 1);
        QVERIFY(m_messages.at(0).contains(u"4 bytes"_s));
        QSignalSpy discarded(m_link.get(), &Transport::discarded);
        m_link->discard(Purge::Output);
        QVERIFY(discarded.value(0).value(0).toLongLong() > 900'000);
        QCOMPARE(m_link->pendingBytes(), 0);
        m_messages.clear();
        QVERIFY(m_link->write(QByteArray(SerialOutput::kMinBoundBytes, 'b')).taken());
        QCOMPARE(m_messages.size(), 1);
        QVERIFY(m_messages.at(0).contains(u"14 bytes in all"_s));
    }

    void whatTheDriverHoldsHasNotLeft()
    {
        QVERIFY(open());
        QSignalSpy left(m_link.get(), &Transport::left);
        m_modem->setDriverQueue(End::A, 3);
        QVERIFY(m_link->write("12345"_ba).taken());
        QTRY_COMPARE(m_link->pendingBytes(), 3);
        QTRY_COMPARE(left.value(0).value(0).toLongLong(), 2);
        m_modem->setDriverQueue(End::A, 0);
        QTRY_COMPARE(left.value(1).value(0).toLongLong(), 3);
        QCOMPARE(m_link->pendingBytes(), 0);
    }

    void theLineChangesBetweenTheBytes()
    {
        QVERIFY(open());
        m_modem->setDriverQueue(End::A, 3);
        QVERIFY(m_link->write("old"_ba).taken());
        Settings settings;
        settings.baudRate = 57600;
        m_link->apply(settings);
        QVERIFY(m_link->write("new"_ba).taken());
        settings.baudRate = 1200;
        m_link->apply(settings);
        QTRY_COMPARE(m_far->peek(100), "old"_ba);
        QCOMPARE(m_modem->lineSettings(End::A), "9600 8N1"_ba);
        QCOMPARE(m_link->pendingBytes(), 6);
        QByteArrayList settingsSeen;
        QTimer look;
        connect(&look, &QTimer::timeout, this, [&] {
            if (const QByteArray now = m_modem->lineSettings(End::A); !settingsSeen.contains(now))
                settingsSeen += now;
        });
        look.start(0);
        m_modem->setDriverQueue(End::A, 0);
        QTRY_COMPARE(settingsSeen, (QByteArrayList{"9600 8N1", "57600 8N1", "1200 8N1"}));
        QCOMPARE(m_far->peek(100), "oldnew"_ba);
        look.stop();
        // A line that never becomes quiet changes all the same.
        m_modem->setDriverQueue(End::A, 3);
        m_messages.clear();
        QVERIFY(m_link->write("end"_ba).taken());
        m_link->apply({});
        QTRY_COMPARE(m_modem->lineSettings(End::A), "9600 8N1"_ba);
        QVERIFY(m_messages.value(0).contains(u"3 bytes not sent yet"_s));
    }
};

QTEST_GUILESS_MAIN(TestSerialTransport)
#include "tst_serialtransport.moc"
