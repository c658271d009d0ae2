#include "terminal/port/portconnection.h"

#include "connections/connectioncontroller.h"
#include "connections/systemportcatalog.h"
#include "support/nullmodem.h"
#include "support/tcppeer.h"
#include "support/udppeer.h"

#include <QSignalSpy>
#include <QTest>
#include <QUdpSocket>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto kA = NullModem::End::A;

// A connection on a real controller, and everything it says.
class Bench
{
public:
    Bench()
        : connection(controller, catalog)
    {
        QObject::connect(
            &connection, &PortConnection::noticed, &context, [this](const Notice& notice) {
                if (notice.shownMs == Notice::kUntilDismissed)
                    errors += notice.text;
                else
                    messages += u"%1 (%2)"_s.arg(notice.text).arg(notice.shownMs);
            });
        QObject::connect(&connection, &PortConnection::opened, &context, [this] { states += 'o'; });
        QObject::connect(&connection, &PortConnection::closed, &context, [this] { states += 'c'; });
    }

    bool start(bool quiet = false)
    {
        connection.setSettings(settings);
        return connection.start(quiet);
    }
    bool timerRuns() const { return connection.findChild<QTimer*>()->isActive(); }
    ConnectionLife life() const { return connection.life(); }
    bool regains() const
    {
        return life() == ConnectionLife::Lost || life() == ConnectionLife::Regaining;
    }
    bool attempts() const
    {
        return life() == ConnectionLife::Opening || life() == ConnectionLife::Regaining;
    }
    QStringList takeMessages() { return std::exchange(messages, {}); }

    Settings settings;
    SystemPortCatalog catalog;
    ConnectionController controller;
    PortConnection connection;
    QStringList messages;
    QStringList errors;
    QByteArray states;
    QObject context;
};

} // namespace

class TestPortConnection final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void serialPortReturns()
    {
        NullModem cable;
        QVERIFY2(cable.isValid(), qPrintable(cable.errorString()));
        const QString name = cable.portA();
        Bench bench;
        bench.settings.portName = name;
        bench.connection.setAutoReconnect(true);
        QVERIFY(bench.start());
        QVERIFY(bench.connection.isOpen());
        QCOMPARE(
            bench.takeMessages(), QStringList(u"Serial Port %1 OPEN SUCCESS (1000)"_s.arg(name)));

        cable.unplug(kA);
        QTRY_VERIFY(!bench.connection.isOpen());
        QVERIFY((bench.life() == ConnectionLife::Lost));
        QVERIFY(bench.timerRuns());
        QCOMPARE(bench.connection.findChild<QTimer*>()->interval(), 2000);
        QCOMPARE(bench.takeMessages(),
            QStringList({u"Serial Port %1 DISCONNECTED (5000)"_s.arg(name),
                u"Serial Port %1 lost, waiting for it to come back... (3000)"_s.arg(name)}));
        for (int i = 0; i < 3; ++i)
            bench.connection.reconnectTick();
        QVERIFY((bench.life() == ConnectionLife::Lost));
        QCOMPARE(bench.takeMessages(), QStringList());

        QVERIFY(cable.plugBack(kA));
        bench.settings.baudRate = 115200;
        bench.connection.setSettings(bench.settings);
        QTRY_VERIFY_WITH_TIMEOUT(bench.connection.isOpen(), 4000); // by the timer itself
        QVERIFY(!(bench.life() == ConnectionLife::Lost));
        QVERIFY(!bench.timerRuns());
        QCOMPARE(bench.controller.serialPort()->baudRate(), 115200);
        QCOMPARE(
            bench.takeMessages(), QStringList({u"Serial Port %1 OPEN SUCCESS (1000)"_s.arg(name),
                                      u"Serial Port %1 RECONNECTED (3000)"_s.arg(name)}));
        QCOMPARE(bench.states, QByteArray("oco"));
        QCOMPARE(bench.errors, QStringList());
    }

    void serialPortVanishesWithoutReconnect()
    {
        NullModem cable;
        const QString name = cable.portA();
        Bench bench;
        bench.settings.portName = name;
        QVERIFY(bench.start());
        bench.messages.clear();
        cable.unplug(kA);
        QTRY_VERIFY(!bench.connection.isOpen());
        QVERIFY(!bench.controller.isOpen(connectionMode::SerialPort));
        QVERIFY(!bench.timerRuns());
        QCOMPARE(
            bench.takeMessages(), QStringList(u"Serial Port %1 DISCONNECTED (5000)"_s.arg(name)));
        QCOMPARE(bench.errors.size(), 1);
        QVERIFY(bench.errors[0].contains(name));
        QCOMPARE(bench.connection.lastError(), bench.errors[0]);
        QCOMPARE(bench.states, QByteArray("oc"));
        QVERIFY(cable.plugBack(kA));
        QVERIFY(bench.start());
        QCOMPARE(bench.connection.lastError(), QString());
    }

    void givingUpOnALostPort_data()
    {
        QTest::addColumn<int>("how");
        QTest::newRow("auto-reconnect switched off") << 0;
        QTest::newRow("closed by the person") << 2;
    }

    void givingUpOnALostPort()
    {
        QFETCH(int, how);
        NullModem cable;
        Bench bench;
        bench.settings.portName = cable.portA();
        bench.connection.setAutoReconnect(true);
        QVERIFY(bench.start());
        cable.unplug(kA);
        QTRY_VERIFY((bench.life() == ConnectionLife::Lost));
        bench.messages.clear();
        if (how == 0)
            bench.connection.setAutoReconnect(false);
        else
            bench.connection.stop();
        QVERIFY(!(bench.life() == ConnectionLife::Lost));
        QVERIFY(!bench.timerRuns());
        QVERIFY(cable.plugBack(kA));
        bench.connection.reconnectTick(); // one that was under way
        QVERIFY(!bench.connection.isOpen());
        QCOMPARE(bench.takeMessages(), QStringList());
        QCOMPARE(bench.connection.autoReconnect(), how != 0);
    }

    void personOpensWhileWaiting()
    {
        NullModem cable;
        Bench bench;
        bench.settings.portName = cable.portA();
        bench.connection.setAutoReconnect(true);
        QVERIFY(bench.start());
        cable.unplug(kA);
        QTRY_VERIFY((bench.life() == ConnectionLife::Lost));
        QVERIFY(!bench.start());
        QVERIFY2(
            (bench.life() == ConnectionLife::Lost), "a failed attempt by hand gives nothing up");
        QVERIFY(cable.plugBack(kA));
        QVERIFY(bench.start());
        QVERIFY(!bench.timerRuns());
        QCOMPARE(bench.states, QByteArray("oco"));
    }

    void brokenSerialPortIsReportedOnce()
    {
        NullModem cable;
        Bench bench;
        bench.settings.portName = cable.portA();
        QVERIFY(bench.start());
        bench.messages.clear();
        // What a driver reports for each byte it cannot write.
        auto* port = const_cast<QSerialPort*>(bench.controller.serialPort());
        for (int i = 0; i < 5; ++i)
            Q_EMIT port->errorOccurred(QSerialPort::WriteError);
        QCOMPARE(bench.messages.size(), 1);
        QVERIFY(bench.messages[0].contains(cable.portA()));
        QCOMPARE(bench.errors.size(), 1);
        // A line that the adapter lacks is reported by who asked for it.
        Q_EMIT port->errorOccurred(QSerialPort::UnsupportedOperationError);
        QCOMPARE(bench.messages.size(), 1);
        QVERIFY(bench.connection.isOpen());
        bench.connection.stop();
        QVERIFY(bench.start());
        Q_EMIT port->errorOccurred(QSerialPort::WriteError);
        QCOMPARE(bench.errors.size(), 2);
    }

    void throttledBytesAreReadBeforeClosing()
    {
        NullModem cable;
        QSerialPort device;
        device.setPortName(cable.portB());
        QVERIFY(device.open(QIODevice::ReadWrite));
        Bench bench;
        QByteArray received;
        QObject::connect(&bench.controller, &ConnectionController::readyRead, &bench.context,
            [&] { received += bench.controller.readAvailable(connectionMode::SerialPort); });
        bench.settings.portName = cable.portA();
        QVERIFY(bench.start());
        bench.controller.setReadThrottled(connectionMode::SerialPort, true);
        device.write("last words");
        QTRY_COMPARE(bench.controller.serialPort()->bytesAvailable(), 10);
        bench.connection.stop();
        QCOMPARE(received, QByteArray("last words"));
        QVERIFY(bench.controller.isReadThrottled());
    }

    void tcpPeerReturns()
    {
        TcpPeer peer;
        QVERIFY(peer.listen());
        const quint16 port = peer.port();
        Bench bench;
        bench.settings.connMode = connectionMode::TcpClient;
        bench.settings.targetPort = port;
        bench.connection.setAutoReconnect(true);
        QVERIFY(bench.start());
        QVERIFY(bench.attempts());
        QVERIFY(!bench.connection.isOpen());
        QTRY_VERIFY(bench.connection.isOpen());
        QTRY_COMPARE(peer.openCount(), 1);
        QCOMPARE(bench.takeMessages(), QStringList());

        peer.stopListening();
        peer.close();
        QTRY_VERIFY(bench.regains());
        QVERIFY(!bench.connection.isOpen());
        QCOMPARE(bench.takeMessages().last(), u"Connection lost, reconnecting... (3000)"_s);

        bench.connection.reconnectTick();
        const QString attempt = u"Reconnecting to 127.0.0.1:%1 ... (2000)"_s.arg(port);
        QCOMPARE(bench.takeMessages(), QStringList(attempt));
        bench.connection.reconnectTick(); // still connecting
        QCOMPARE(bench.takeMessages(), QStringList());
        QTRY_VERIFY(!bench.attempts());
        QCOMPARE(
            bench.takeMessages(), QStringList(u"TCP connect FAILED: Connection refused (5000)"_s));
        QVERIFY(bench.regains());

        QVERIFY(peer.listen(port));
        bench.connection.reconnectTick();
        QTRY_VERIFY(bench.connection.isOpen());
        QCOMPARE(bench.takeMessages(), QStringList({attempt, u"TCP connection RESTORED (3000)"_s}));
        QVERIFY(!bench.regains());
        QCOMPARE(bench.states, QByteArray("oco"));
        QCOMPARE(bench.errors, QStringList());
        QCOMPARE(bench.connection.lastError(), QString());

        bench.connection.setAutoReconnect(false);
        QTRY_COMPARE(peer.openCount(), 1);
        peer.reset();
        QTRY_VERIFY(!bench.connection.isOpen());
        QVERIFY(!bench.timerRuns());
        QCOMPARE(bench.errors, QStringList(bench.connection.lastError()));
    }

    void closedByThePersonStaysClosed_data()
    {
        QTest::addColumn<connectionMode>("mode");
        QTest::newRow("serial port") << connectionMode::SerialPort;
        QTest::newRow("TCP client") << connectionMode::TcpClient;
        QTest::newRow("TCP server") << connectionMode::TcpServer;
        QTest::newRow("UDP server") << connectionMode::UdpServer;
        QTest::newRow("UDP client") << connectionMode::UdpClient;
    }

    void closedByThePersonStaysClosed()
    {
        QFETCH(connectionMode, mode);
        NullModem cable;
        TcpPeer peer;
        QVERIFY(peer.listen());
        Bench bench;
        bench.settings.connMode = mode;
        bench.settings.portName = cable.portA();
        bench.settings.targetPort = mode == connectionMode::TcpServer ? 0 : peer.port();
        bench.settings.udpServerPort = 0;
        bench.settings.udpLocalPort = 0;
        bench.connection.setAutoReconnect(true);
        QVERIFY(bench.start());
        QTRY_VERIFY(bench.connection.isOpen());
        bench.connection.stop();
        QVERIFY(!bench.connection.isOpen());
        QVERIFY(!bench.timerRuns());
        QVERIFY(!bench.controller.isOpen(mode));
        QCOMPARE(bench.states, QByteArray("oc"));
        bench.messages.clear();
        bench.connection.stop();
        QCOMPARE(bench.messages, QStringList()); // there is nothing to close
        QVERIFY(bench.start());
        QTRY_VERIFY(bench.connection.isOpen());
        QCOMPARE(bench.errors, QStringList());
    }

    void failedStarts_data()
    {
        QTest::addColumn<connectionMode>("mode");
        QTest::addColumn<QString>("port");
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("says");
        const QString missing = u"/nowhere/ttyX"_s;
        const QString notHere = u"not available in this version"_s;
        const auto row = [](const char* name, connectionMode mode, const QString& port,
                             const QString& host, const QString& says) {
            QTest::newRow(name) << mode << port << host << says;
        };
        using Mode = connectionMode;
        row("missing port", Mode::SerialPort, missing, u"h"_s,
            u"Serial Port %1 OPEN FAILED! ERROR: "_s.arg(missing));
        row("no port", Mode::SerialPort, {}, u"h"_s, u"No serial port"_s);
        row("no host", Mode::TcpClient, u"p"_s, {}, u"No host"_s);
        row("none", Mode::NoTransport, u"p"_s, u"h"_s, notHere);
        row("relay", Mode::RemoteSerialCloudRelay, u"p"_s, u"h"_s, notHere);
    }

    void failedStarts()
    {
        QFETCH(connectionMode, mode);
        QFETCH(QString, port);
        QFETCH(QString, host);
        QFETCH(QString, says);
        Bench bench;
        bench.settings.connMode = mode;
        bench.settings.portName = port;
        bench.settings.targetHost = host;
        QVERIFY(!bench.start());
        QVERIFY(!bench.connection.isOpen());
        QCOMPARE(bench.errors.size(), 1);
        QVERIFY2(bench.errors[0].contains(says), qPrintable(bench.errors[0]));
        QCOMPARE(bench.connection.lastError(), bench.errors[0]);
        QCOMPARE(bench.messages.size(), 1);
        QVERIFY(bench.messages[0].endsWith(" (5000)"_L1));
        QVERIFY(!bench.start(true));
        QCOMPARE(bench.errors.size(), 1);
        QVERIFY(bench.connection.lastError().contains(says));
        QCOMPARE(bench.states, QByteArray());
    }

    void aServerKeepsItsClientsWhenStartedAgain()
    {
        Bench bench;
        bench.settings.connMode = connectionMode::TcpServer;
        bench.settings.targetPort = 0;
        QVERIFY(bench.start());
        TcpPeer peer;
        peer.connectTo(bench.controller.tcpServerPort());
        QTRY_COMPARE(bench.controller.tcpServerClients().size(), 1);
        QVERIFY2(bench.start(), "a message sent by hand ends in a start");
        QCOMPARE(bench.controller.tcpServerClients().size(), 1);

        Bench second;
        second.settings.connMode = connectionMode::TcpServer;
        second.settings.targetPort = bench.controller.tcpServerPort();
        second.connection.setAutoReconnect(true);
        QVERIFY(!second.start());
        const QString failure =
            u"TCP listen on port %1 FAILED: "_s.arg(bench.controller.tcpServerPort());
        QVERIFY(second.connection.lastError().startsWith(failure));
        QCOMPARE(second.errors, QStringList(second.connection.lastError()));
        QVERIFY(!second.timerRuns());
        bench.connection.stop();
        QTRY_VERIFY(!peer.isOpen());
        QCOMPARE(bench.states, QByteArray("oc"));
        QVERIFY(second.start());
    }

    void failedTcpConnect()
    {
        TcpPeer peer;
        QVERIFY(peer.listen());
        Bench bench;
        bench.settings.connMode = connectionMode::TcpClient;
        bench.settings.targetPort = peer.port();
        peer.stopListening();
        bench.connection.setAutoReconnect(true);
        QVERIFY(bench.start(true));
        QTRY_VERIFY(!bench.attempts());
        QCOMPARE(bench.errors, QStringList());
        QCOMPARE(bench.connection.lastError(), u"TCP connect FAILED: Connection refused"_s);
        QVERIFY2(!bench.timerRuns(), "there was no connection to regain");
        QVERIFY(bench.start());
        QTRY_VERIFY(!bench.attempts());
        QCOMPARE(bench.errors, QStringList(bench.connection.lastError()));
        QCOMPARE(bench.states, QByteArray());
    }

    // A connection that is still being made is one, too.
    void anotherTargetGivesUpTheAttempt()
    {
        NullModem cable;
        TcpPeer peer;
        QVERIFY(peer.listen());
        Bench bench;
        bench.settings.connMode = connectionMode::TcpClient;
        bench.settings.targetPort = peer.port();
        QVERIFY(bench.start());
        bench.settings.connMode = connectionMode::SerialPort;
        bench.settings.portName = cable.portA();
        QVERIFY(bench.start());
        QVERIFY(!bench.controller.hasTcpClient());
        QCOMPARE(bench.connection.active().portName, cable.portA());
        QVERIFY(bench.connection.isOpen());
    }

    void changedModeClosesTheOldConnection()
    {
        NullModem cable;
        Bench bench;
        bench.settings.portName = cable.portA();
        QVERIFY(bench.start());
        bench.settings.connMode = connectionMode::UdpClient;
        bench.settings.udpLocalPort = 0;
        QVERIFY(bench.start());
        QVERIFY(!bench.controller.isOpen(connectionMode::SerialPort));
        QVERIFY(bench.controller.isOpen(connectionMode::UdpClient));
        // Other line parameters belong to what is open, another port to the next start.
        bench.settings.udpLocalPort = 1;
        bench.connection.setSettings(bench.settings);
        QCOMPARE(bench.connection.active().udpLocalPort, 0);
        QCOMPARE(bench.states, QByteArray("oco"));
    }
};

QTEST_GUILESS_MAIN(TestPortConnection)
#include "tst_portconnection.moc"
