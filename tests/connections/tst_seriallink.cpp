#include "connections/seriallink.h"
#include "simdevice/pseudoterminal.h"
#include "support/nullmodem.h"
#include "support/numberedbytes.h"

#include <QAbstractEventDispatcher>
#include <QSignalSpy>
#include <QTest>

#include <cerrno>

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

class TestSerialLink final : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<NullModem> modem;
    std::unique_ptr<SerialLink> link;
    std::unique_ptr<QSerialPort> far;
    QStringList messages; // "text|timeout"
    QStringList errors;
    QByteArray received;
    int lost = 0;

    bool open(const Settings& settings = {}, bool quiet = false)
    {
        return link->open(settings, modem->portA(), u"A"_s, quiet);
    }

    void readAtOnce()
    {
        connect(link.get(), &SerialLink::readyRead, this,
            [this] { received += link->readAvailable(); });
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
        link = std::make_unique<SerialLink>();
        messages.clear();
        errors.clear();
        received.clear();
        lost = 0;
        connect(link.get(), &SerialLink::statusMessage, this,
            [this](const QString& text, int ms) { messages += u"%1|%2"_s.arg(text).arg(ms); });
        connect(link.get(), &SerialLink::errorOccurred, this,
            [this](const QString& text) { errors += text; });
        connect(link.get(), &SerialLink::lost, this, [this] { ++lost; });
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
        QVERIFY(open(settings, true));
        QCOMPARE(messages, QStringList{u"Serial Port A OPEN SUCCESS|1000"_s});
        QCOMPARE(link->port().baudRate(), 115200);
        QVERIFY(modem->dtr(End::A) && modem->rts(End::A));

        settings.baudRate = 300;
        QVERIFY(open(settings));
        QCOMPARE(link->port().baudRate(), 115200);

        messages.clear();
        link->close(u"A"_s);
        QVERIFY(!link->isOpen());
        QCOMPARE(link->pinoutSignals(), QSerialPort::NoSignal);
        QCOMPARE(messages, QStringList{u"Serial Port A CLOSE SUCCESS|3000"_s});
        QVERIFY(!modem->dtr(End::A) && !modem->rts(End::A));
        QVERIFY(link->lineRequested(SerialLine::Dtr) && link->lineRequested(SerialLine::Rts));
    }

    void portWithoutLinesIsAskedOnce()
    {
        simdevice::PseudoTerminal terminal;
        QString error;
        QVERIFY2(terminal.open(&error), qPrintable(error));
        QVERIFY(!link->tellsPinout());
        for (int opening = 1; opening <= 2; ++opening) {
            QVERIFY(link->open({}, terminal.slavePath(), u"P"_s, true));
            QVERIFY(link->tellsPinout());
            for (int look = 0; look < 3; ++look)
                QCOMPARE(link->pinoutSignals(), QSerialPort::NoSignal);
            QVERIFY(link->isOpen() && !link->tellsPinout());
            QCOMPARE(messages.filter(u"has no control lines that can be read"_s).size(), opening);
            link->close(u"P"_s);
        }
    }

    void aFailedOpenSaysWhyAndWhatToDo()
    {
        const QString absent = modem->portA() + u"x"_s;
        QVERIFY(!link->open({}, absent, u"X"_s, true));
        QVERIFY(errors.isEmpty() && messages.isEmpty());
        QVERIFY(!link->open({}, absent, u"X"_s, false));
        const QString line = errors.value(0).section(u'\n', 0, 0);
        QVERIFY(line.startsWith("Serial Port X OPEN FAILED! ERROR: "_L1));
        QVERIFY(errors.value(0).section(u'\n', 1).contains(absent));
        QCOMPARE(messages, QStringList{line + u"|5000"_s});
    }

    void aBusyPortIsToldFromAForbiddenOne()
    {
        QVERIFY(open());
        SerialLink second;
        QSignalSpy failed(&second, &SerialLink::errorOccurred);
        if (second.open({}, modem->portA(), u"A"_s, false))
            QSKIP("this user overrides exclusive use");
        QVERIFY(failed.value(0).value(0).toString().contains("Another program has"_L1));
    }

    void aRecordNamesThePortWhenNobodyElseDoes()
    {
        Settings settings;
        settings.portName = modem->portA();
        QVERIFY(link->open(settings, QString(), u"A"_s, false));
    }

    void unusableSettingsDoNotKeepThePortShut()
    {
        Settings settings;
        settings.baudRate = -1;
        settings.parity = 77;
        QVERIFY(open(settings));
        QCOMPARE(link->port().parity(), QSerialPort::NoParity);
    }

    void linesRequestedWhileClosedAreDrivenAtOpen()
    {
        QVERIFY(link->setLine(SerialLine::Dtr, false));
        QVERIFY(open());
        QVERIFY(!modem->dtr(End::A) && modem->rts(End::A));
        QVERIFY(link->setLine(SerialLine::Dtr, true));
        QVERIFY(link->setLine(SerialLine::Rts, false));
        QVERIFY(modem->dtr(End::A) && !modem->rts(End::A));
    }

    void rtsBelongsToTheDriverUnderRtsCts()
    {
        QVERIFY(open(hardwareFlow()));
        QVERIFY(modem->dtr(End::A) && !modem->rts(End::A));
        messages.clear();
        QVERIFY(!link->setLine(SerialLine::Rts, true));
        QCOMPARE(
            messages, QStringList{u"RTS is managed automatically by RTS/CTS flow control|3000"_s});
        QVERIFY(!modem->rts(End::A) && link->lineRequested(SerialLine::Rts));

        modem->setOutputs(End::A, true, true);
        link->close(u"A"_s);
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
        link->setReadThrottled(true);
        far->write(data);
        QTRY_COMPARE(link->port().bytesAvailable(), 4096);
        QVERIFY(becomesIdle());
        QVERIFY(far->bytesToWrite() > 0);
        QVERIFY(link->readAvailable().isEmpty());
        link->setReadThrottled(false);
        QVERIFY(link->hasUnread());
        received += link->readAvailable();
        QTRY_COMPARE(received.size(), data.size());
        QCOMPARE(received, data);
    }

    void throttlingAPortThatHoldsMoreThanItsLimitDoesNotSpin()
    {
        const QByteArray data = numberedBytes(10'000);
        QVERIFY(open());
        far->write(data);
        QTRY_COMPARE(link->port().bytesAvailable(), data.size());
        link->setReadThrottled(true);
        far->write(data);
        QTRY_COMPARE(link->port().bytesAvailable(), 4096);
        QVERIFY(becomesIdle());
        readAtOnce();
        link->setReadThrottled(false);
        received += link->readAvailable();
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
        link->setAutoReconnect(true);
        QVERIFY(open());
        QVERIFY(link->setLine(SerialLine::Break, true));
        far->write("last words");
        QTRY_COMPARE(link->port().bytesAvailable(), 10);
        if (readerWaits)
            readAtOnce();
        link->setReadThrottled(throttled);
        messages.clear();
        modem->unplug(End::A);
        QTRY_COMPARE(lost, 1);
        QVERIFY(!link->isOpen() && !link->lineRequested(SerialLine::Break));
        QCOMPARE(messages, QStringList{u"Serial Port %1 DISCONNECTED|5000"_s.arg(modem->portA())});
        QCOMPARE(received.isEmpty(), throttled || !readerWaits);
        link->setReadThrottled(false);
        received += link->readAvailable();
        QCOMPARE(received, "last words"_ba);

        QVERIFY(modem->plugBack(End::A));
        QVERIFY(open({}, true));
        far->write("back");
        QTRY_VERIFY((received += link->readAvailable()).endsWith("back"));
        QCOMPARE(lost, 1);
    }

    // The kernel's way of telling it: reads return 0, and errno holds whatever it held.
    void aHangUpIsALossToo()
    {
        link->setAutoReconnect(true);
        QVERIFY(open());
        modem->unplug(End::A, NullModem::Vanishing::EndOfFile);
        errno = ENOTTY;
        QTRY_COMPARE(lost, 1);
        QVERIFY(!link->isOpen());
    }

    void lineParametersChangeInPlace()
    {
        Settings settings;
        link->reconfigure(settings); // closed: nothing to change
        QVERIFY(open());
        messages.clear();
        settings.baudRate = 57600;
        settings.flowControl = QSerialPort::HardwareControl;
        link->reconfigure(settings);
        QCOMPARE(link->port().baudRate(), 57600);
        QVERIFY(!link->applyLine(SerialLine::Rts, false, false));
        settings.flowControl = QSerialPort::NoFlowControl;
        link->reconfigure(settings);
        QVERIFY(modem->rts(End::A)); // driven again to the level that was asked for
        for (const auto& [parity, letter] :
            {std::pair{QSerialPort::MarkParity, "M"}, {QSerialPort::OddParity, "O"},
                {QSerialPort::SpaceParity, "S"}, {QSerialPort::EvenParity, "E"}}) {
            settings.parity = parity;
            link->reconfigure(settings);
            QCOMPARE(modem->lineSettings(End::A), "57600 8"_ba + letter + '1');
        }
        QVERIFY(messages.isEmpty());
        far->write("still open");
        QTRY_VERIFY((received += link->readAvailable()) == "still open"_ba);
    }

    // At 300 baud a repetition would fill the memory, and go on for hours after it was stopped.
    void aSlowLineTakesNoMemoryWithoutEnd()
    {
        QVERIFY(open());
        modem->setFlowing(false);
        const QByteArray block(64 * 1024, 'x');
        qint64 taken = 0;
        while (link->send(block, {}, modem->portA())) {
            taken += block.size();
            QVERIFY(taken < 100 * block.size());
        }
        QVERIFY(!link->send(block, {}, modem->portA()));
        QVERIFY(taken >= SerialLink::kMinUnsentBytes - block.size());
        const auto full = messages.filter(u"is too slow"_s);
        QCOMPARE(full.size(), 1);
        QSignalSpy unsent(link.get(), &SerialLink::unsent);
        link->close(modem->portA());
        QCOMPARE(unsent.size(), 1);
        QVERIFY(unsent[0][0].toLongLong() > 0);
        modem->setFlowing(true);
    }

    void outputForAVanishedDeviceDoesNotReachItsSuccessor()
    {
        link->setAutoReconnect(true);
        QVERIFY(open());
        modem->setFlowing(false);
        QVERIFY(link->send(numberedBytes(100'000), {}, modem->portA()));
        QTRY_VERIFY(modem->crossedFrom(End::A) == 0 && link->pendingWriteBytes() > 0);
        modem->unplug(End::A);
        QTRY_COMPARE(lost, 1);
        QCOMPARE(link->pendingWriteBytes(), 0);
        QCOMPARE(errors.size(), 1); // says how much never left
        QVERIFY(modem->plugBack(End::A));
        modem->setFlowing(true);
        QTRY_VERIFY(becomesIdle());
        far->readAll();
        QVERIFY(link->send("new"_ba, {}, modem->portA()));
        QTRY_COMPARE(far->peek(100), "new"_ba);
    }

    void closingADeadDeviceIsNotALoss()
    {
        link->setAutoReconnect(true);
        QVERIFY(open());
        modem->unplug(End::A);
        link->close(u"A"_s); // before the event loop has noticed
        QVERIFY(becomesIdle());
        QCOMPARE(lost, 0);
        QCOMPARE(messages.constLast(), u"Serial Port A CLOSE SUCCESS|3000"_s);
    }

    void aReaderMayCloseTheVanishingPort()
    {
        link->setAutoReconnect(true);
        QVERIFY(open());
        far->write("x");
        QTRY_COMPARE(link->port().bytesAvailable(), 1);
        connect(link.get(), &SerialLink::readyRead, this, [this] { link->close(u"A"_s); });
        modem->unplug(End::A);
        QTRY_VERIFY(!link->isOpen());
        QCOMPARE(lost, 0);
    }
};

QTEST_GUILESS_MAIN(TestSerialLink)
#include "tst_seriallink.moc"
