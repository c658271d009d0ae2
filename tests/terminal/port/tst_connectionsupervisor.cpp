#include "terminal/port/connectionsupervisor.h"

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

constexpr auto A = NullModem::End::A;

// A supervisor on a real controller, and everything it says.
class Bench
{
public:
    Bench()
        : supervisor(controller, catalog)
    {
        QObject::connect(&supervisor, &ConnectionSupervisor::statusMessage, &context,
            [this](const QString& text, int ms) { messages += u"%1 (%2)"_s.arg(text).arg(ms); });
        QObject::connect(&supervisor, &ConnectionSupervisor::errorOccurred, &context,
            [this](const QString& text) { errors += text; });
        QObject::connect(
            &supervisor, &ConnectionSupervisor::opened, &context, [this] { states += 'o'; });
        QObject::connect(
            &supervisor, &ConnectionSupervisor::closed, &context, [this] { states += 'c'; });
        QObject::connect(&supervisor, &ConnectionSupervisor::serialPortReconnected, &context,
            [this](const QString& name) { regained += name; });
    }

    bool start(bool quiet = false)
    {
        supervisor.setSettings(settings);
        return supervisor.start(quiet);
    }
    bool timerRuns() const { return supervisor.findChild<QTimer*>()->isActive(); }
    QStringList takeMessages() { return std::exchange(messages, {}); }

    Settings settings;
    SystemPortCatalog catalog;
    ConnectionController controller;
    ConnectionSupervisor supervisor;
    QStringList messages;
    QStringList errors;
    QByteArray states;
    QStringList regained;
    QObject context;
};

} // namespace

class TestConnectionSupervisor final : public QObject
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
        bench.supervisor.setAutoReconnect(true);
        QVERIFY(bench.start());
        QVERIFY(bench.supervisor.isOpen());
        QCOMPARE(
            bench.takeMessages(), QStringList(u"Serial Port %1 OPEN SUCCESS (1000)"_s.arg(name)));

        cable.unplug(A);
        QTRY_VERIFY(!bench.supervisor.isOpen());
        QVERIFY(bench.supervisor.isWaitingForPort());
        QVERIFY(bench.timerRuns());
        QCOMPARE(bench.supervisor.findChild<QTimer*>()->interval(), 2000);
        QCOMPARE(bench.takeMessages(),
            QStringList({u"Serial Port %1 DISCONNECTED (5000)"_s.arg(name),
                u"Serial Port %1 lost, waiting for it to come back... (3000)"_s.arg(name)}));
        for (int i = 0; i < 3; ++i)
            bench.supervisor.reconnectTick();
        QVERIFY(bench.supervisor.isWaitingForPort());
        QCOMPARE(bench.takeMessages(), QStringList());

        QVERIFY(cable.plugBack(A));
        bench.settings.baudRate = 115200;
        bench.supervisor.setSettings(bench.settings);
        QTRY_VERIFY_WITH_TIMEOUT(bench.supervisor.isOpen(), 4000); // by the timer itself
        QVERIFY(!bench.supervisor.isWaitingForPort());
        QVERIFY(!bench.timerRuns());
        QCOMPARE(bench.controller.serialPort()->baudRate(), 115200);
        QCOMPARE(bench.regained, QStringList(name));
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
        cable.unplug(A);
        QTRY_VERIFY(!bench.supervisor.isOpen());
        QVERIFY(!bench.controller.isOpen(connectionMode::SerialPort));
        QVERIFY(!bench.timerRuns());
        QCOMPARE(
            bench.takeMessages(), QStringList(u"Serial Port %1 DISCONNECTED (5000)"_s.arg(name)));
        QCOMPARE(bench.errors.size(), 1);
        QVERIFY(bench.errors[0].contains(name));
        QCOMPARE(bench.supervisor.lastError(), bench.errors[0]);
        QCOMPARE(bench.states, QByteArray("oc"));
        QVERIFY(cable.plugBack(A));
        QVERIFY(bench.start());
        QCOMPARE(bench.supervisor.lastError(), QString());
    }

    void givingUpOnALostPort_data()
    {
        QTest::addColumn<int>("how");
        QTest::newRow("auto-reconnect switched off") << 0;
        QTest::newRow("disarmed") << 1;
        QTest::newRow("closed by the person") << 2;
    }

    void givingUpOnALostPort()
    {
        QFETCH(int, how);
        NullModem cable;
        Bench bench;
        bench.settings.portName = cable.portA();
        bench.supervisor.setAutoReconnect(true);
        QVERIFY(bench.start());
        cable.unplug(A);
        QTRY_VERIFY(bench.supervisor.isWaitingForPort());
        bench.messages.clear();
        if (how == 0)
            bench.supervisor.setAutoReconnect(false);
        else if (how == 1)
            bench.supervisor.disarmReconnect();
        else
            bench.supervisor.stop();
        QVERIFY(!bench.supervisor.isWaitingForPort());
        QVERIFY(!bench.timerRuns());
        QVERIFY(cable.plugBack(A));
        bench.supervisor.reconnectTick(); // one that was under way
        QVERIFY(!bench.supervisor.isOpen());
        QCOMPARE(bench.takeMessages(), QStringList());
        QCOMPARE(bench.supervisor.autoReconnect(), how != 0);
    }

    void personOpensWhileWaiting()
    {
        NullModem cable;
        Bench bench;
        bench.settings.portName = cable.portA();
        bench.supervisor.setAutoReconnect(true);
        QVERIFY(bench.start());
        cable.unplug(A);
        QTRY_VERIFY(bench.supervisor.isWaitingForPort());
        QVERIFY(!bench.start());
        QVERIFY2(bench.supervisor.isWaitingForPort(), "a failed attempt by hand gives nothing up");
        QVERIFY(cable.plugBack(A));
        QVERIFY(bench.start());
        QVERIFY(!bench.timerRuns());
        QCOMPARE(bench.regained, QStringList());
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
        QVERIFY(bench.supervisor.isOpen());
        bench.supervisor.stop();
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
        bench.supervisor.stop();
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
        bench.supervisor.setAutoReconnect(true);
        QVERIFY(bench.start());
        QVERIFY(bench.supervisor.isConnecting());
        QVERIFY(!bench.supervisor.isOpen());
        QTRY_VERIFY(bench.supervisor.isOpen());
        QTRY_COMPARE(peer.openCount(), 1);
        QCOMPARE(bench.takeMessages(), QStringList());

        peer.stopListening();
        peer.close();
        QTRY_VERIFY(bench.supervisor.isReconnecting());
        QVERIFY(!bench.supervisor.isOpen());
        QCOMPARE(bench.takeMessages().last(), u"Connection lost, reconnecting... (3000)"_s);

        bench.supervisor.reconnectTick();
        const QString attempt = u"Reconnecting to 127.0.0.1:%1 ... (2000)"_s.arg(port);
        QCOMPARE(bench.takeMessages(), QStringList(attempt));
        bench.supervisor.reconnectTick(); // still connecting
        QCOMPARE(bench.takeMessages(), QStringList());
        QTRY_VERIFY(!bench.supervisor.isConnecting());
        QCOMPARE(
            bench.takeMessages(), QStringList(u"TCP connect FAILED: Connection refused (5000)"_s));
        QVERIFY(bench.supervisor.isReconnecting());

        QVERIFY(peer.listen(port));
        bench.supervisor.reconnectTick();
        QTRY_VERIFY(bench.supervisor.isOpen());
        QCOMPARE(bench.takeMessages(), QStringList(attempt));
        bench.supervisor.reconnectTick();
        QCOMPARE(bench.takeMessages(), QStringList(u"TCP connection RESTORED (3000)"_s));
        QVERIFY(!bench.supervisor.isReconnecting());
        QCOMPARE(bench.states, QByteArray("oco"));
        QCOMPARE(bench.errors, QStringList());
        QCOMPARE(bench.supervisor.lastError(), QString());

        bench.supervisor.setAutoReconnect(false);
        QTRY_COMPARE(peer.openCount(), 1);
        peer.reset();
        QTRY_VERIFY(!bench.supervisor.isOpen());
        QVERIFY(!bench.timerRuns());
        QCOMPARE(bench.errors, QStringList(bench.supervisor.lastError()));
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
        bench.supervisor.setAutoReconnect(true);
        QVERIFY(bench.start());
        QTRY_VERIFY(bench.supervisor.isOpen());
        bench.supervisor.stop();
        QVERIFY(!bench.supervisor.isOpen());
        QVERIFY(bench.supervisor.closedByUser());
        QVERIFY(!bench.timerRuns());
        QVERIFY(!bench.controller.isOpen(mode));
        QCOMPARE(bench.states, QByteArray("oc"));
        bench.messages.clear();
        bench.supervisor.stop();
        QCOMPARE(bench.messages, QStringList()); // there is nothing to close
        QVERIFY(bench.start());
        QTRY_VERIFY(bench.supervisor.isOpen());
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
        QVERIFY(!bench.supervisor.isOpen());
        QCOMPARE(bench.errors.size(), 1);
        QVERIFY2(bench.errors[0].contains(says), qPrintable(bench.errors[0]));
        QCOMPARE(bench.supervisor.lastError(), bench.errors[0]);
        QCOMPARE(bench.messages.size(), 1);
        QVERIFY(bench.messages[0].endsWith(" (5000)"_L1));
        QVERIFY(!bench.start(true));
        QCOMPARE(bench.errors.size(), 1);
        QVERIFY(bench.supervisor.lastError().contains(says));
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
        second.supervisor.setAutoReconnect(true);
        QVERIFY(!second.start());
        const QString failure =
            u"TCP listen on port %1 FAILED: "_s.arg(bench.controller.tcpServerPort());
        QVERIFY(second.supervisor.lastError().startsWith(failure));
        QCOMPARE(second.errors, QStringList(second.supervisor.lastError()));
        QVERIFY(!second.timerRuns());
        bench.supervisor.stop();
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
        bench.supervisor.setAutoReconnect(true);
        QVERIFY(bench.start(true));
        QTRY_VERIFY(!bench.supervisor.isConnecting());
        QCOMPARE(bench.errors, QStringList());
        QCOMPARE(bench.supervisor.lastError(), u"TCP connect FAILED: Connection refused"_s);
        QVERIFY2(!bench.timerRuns(), "there was no connection to regain");
        QVERIFY(bench.start());
        QTRY_VERIFY(!bench.supervisor.isConnecting());
        QCOMPARE(bench.errors, QStringList(bench.supervisor.lastError()));
        QCOMPARE(bench.states, QByteArray());
    }

    void messageMayOpenFirst()
    {
        UdpPeer peer;
        Bench bench;
        bench.settings.connMode = connectionMode::UdpServer;
        bench.controller.bindUdp(0); // by a message to send
        const quint16 port = bench.controller.udpLocalPort();
        QObject::connect(&bench.controller, &ConnectionController::udpReadyRead, &bench.context,
            [&] { bench.controller.readUdpDatagrams(); });
        peer.sendTo(port, "hello");
        QTRY_COMPARE(bench.controller.udpPeers().size(), 1);
        QVERIFY(bench.start());
        QCOMPARE(bench.states, QByteArray("o"));
        QCOMPARE(bench.controller.udpLocalPort(), port);
        QCOMPARE(bench.controller.udpPeers().size(), 1);
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
        QVERIFY(!bench.supervisor.closedByUser());
        QCOMPARE(bench.states, QByteArray("oco"));
    }
};

QTEST_GUILESS_MAIN(TestConnectionSupervisor)
#include "tst_connectionsupervisor.moc"
