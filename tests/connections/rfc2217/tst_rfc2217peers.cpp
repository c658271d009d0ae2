// The RFC 2217 sessions against other programs, with a serial line behind the server's side: what
// one end asks for is read back from the line itself, and the other way round.

#include "connections/rfc2217/rfc2217clientsession.h"
#include "connections/rfc2217/rfc2217serversession.h"
#include "connections/rfc2217/rfc2217values.h"
#include "support/nullmodem.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSerialPort>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QTimer>

#include <memory>

using namespace Qt::Literals::StringLiterals;
using End = NullModem::End;

namespace {

// Every byte value, runs of 0xFF, and enough to be cut at many places.
QByteArray difficultPayload()
{
    QByteArray bytes;
    for (int value = 0; value < 256; ++value)
        bytes.append(char(value)).append(value % 7, '\xff');
    return bytes.repeated(8);
}

struct LineCase
{
    const char* line; // as NullModem::lineSettings() has it
    qint32 baudRate;
    qint32 dataBits;
    qint32 parity;
    qint32 stopBits;
    qint32 flowControl;
    const char* python; // the same for pyserial
};
// No two kinds of flow control in a row, as pyserial sets one beside the other, and neither odd nor
// even parity behind mark and space, which ser2net and QSerialPort do not take back.
constexpr LineCase kLineCases[] = {
    {"115200 7E2 RTS/CTS", 115'200, 7, 2, 2, 1,
        "port.apply_settings(dict(baudrate=115200, bytesize=7, parity='E', stopbits=2, "
        "rtscts=True))"},
    {"19200 6O1", 19'200, 6, 3, 1, 0,
        "port.apply_settings(dict(baudrate=19200, bytesize=6, parity='O', stopbits=1, "
        "rtscts=False))"},
    {"300 5S1 XON/XOFF", 300, 5, 4, 1, 2,
        "port.apply_settings(dict(baudrate=300, bytesize=5, parity='S', xonxoff=True))"},
    {"38400 8M1", 38'400, 8, 5, 1, 0,
        "port.apply_settings(dict(baudrate=38400, bytesize=8, parity='M', xonxoff=False))"},
    {"57600 8N1", 57'600, 8, 0, 1, 0, "port.apply_settings(dict(baudrate=57600, parity='N'))"},
};

Settings settingsOf(const LineCase& wanted)
{
    Settings settings;
    settings.useRemoteSerialConfig = false;
    settings.baudRate = wanted.baudRate;
    settings.dataBits = wanted.dataBits;
    settings.parity = wanted.parity;
    settings.stopBits = wanted.stopBits;
    settings.flowControl = wanted.flowControl;
    settings.refreshTexts();
    return settings;
}

QString summaryOf(const Settings& settings)
{
    return u"Remote baudrate: %1\nRemote data bits: %2\nRemote parity: %3\nRemote stop bits: %4\n"
           "Remote flow control: %5"_s.arg(settings.stringBaudRate)
               .arg(settings.dataBits)
               .arg(settings.stringParity, settings.stringStopBits, settings.stringFlowControl);
}

// A pane's part of a remote serial port: session, socket, settings.
struct RemotePort
{
    explicit RemotePort(quint16 tcpPort)
    {
        QObject::connect(
            &socket, &QTcpSocket::connected, &socket, [this] { socket.write(session.begin()); });
        QObject::connect(&socket, &QTcpSocket::readyRead, &socket, [this] {
            const auto outcome = session.receive(socket.readAll());
            socket.write(outcome.reply);
            received += outcome.data;
            if (outcome.negotiationFinished)
                push();
        });
        QObject::connect(&inquiry, &QTimer::timeout, &socket,
            [this] { socket.write(session.modemStateInquiry()); });
        inquiry.start(50);
        socket.connectToHost(QHostAddress::LocalHost, tcpPort);
    }

    void push() { socket.write(session.settingsUpdate(settings)); }
    void send(const QByteArray& data) { socket.write(session.encodePayload(data)); }

    QTcpSocket socket;
    QTimer inquiry;
    Rfc2217ClientSession session;
    Settings settings;
    QByteArray received;
};

// A bridge's part: one client of a local port, which is end A of the cable.
class ServedPort final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ServedPort)

public:
    explicit ServedPort(const QString& device)
        : m_port(device)
    {
        m_port.open(QIODevice::ReadWrite);
        m_server.listen(QHostAddress::LocalHost);
        connect(&m_server, &QTcpServer::newConnection, this, &ServedPort::welcome);
        connect(&m_port, &QSerialPort::readyRead, this,
            [this] { send(Rfc2217Codec::encodePayload(m_port.readAll())); });
        connect(&m_lines, &QTimer::timeout, this, &ServedPort::watchLines);
        m_lines.start(20);
    }
    ~ServedPort() override
    {
        // Before the members that its signals reach.
        if (m_client)
            m_client->disconnect(this);
    }

    quint16 tcpPort() const { return m_server.serverPort(); }
    int purges() const { return m_purges; }

private:
    void welcome()
    {
        m_client = m_server.nextPendingConnection();
        connect(m_client, &QTcpSocket::readyRead, this, &ServedPort::serve);
        send(m_session.begin());
    }

    void serve()
    {
        const auto outcome = m_session.receive(m_client->readAll(), m_settings);
        if (!outcome.settingsChanges.isEmpty()) {
            m_settings = Rfc2217ServerSession::changed(m_settings, outcome.settingsChanges);
            m_port.setBaudRate(m_settings.baudRate);
            m_port.setDataBits(QSerialPort::DataBits(m_settings.dataBits));
            m_port.setParity(QSerialPort::Parity(m_settings.parity));
            m_port.setStopBits(QSerialPort::StopBits(m_settings.stopBits));
            m_port.setFlowControl(QSerialPort::FlowControl(m_settings.flowControl));
        }
        for (const auto& action : outcome.controlActions)
            drive(action);
        if (outcome.purge != 0)
            ++m_purges;
        m_port.write(outcome.data);
        send(outcome.reply);
        if (outcome.modemStateAsked)
            send(m_session.modemStateNotification(m_lastState));
    }

    void drive(const Rfc2217ServerSession::ControlAction& action)
    {
        switch (action.line) {
        case Rfc2217ServerSession::Line::Dtr:
            m_port.setDataTerminalReady(m_settings.dtrOn = action.on);
            break;
        case Rfc2217ServerSession::Line::Rts:
            m_port.setRequestToSend(m_settings.rtsOn = action.on);
            break;
        case Rfc2217ServerSession::Line::Break:
            m_port.setBreakEnabled(action.on);
            break;
        }
    }

    void watchLines()
    {
        const auto lines = m_port.pinoutSignals();
        quint8 state = 0;
        state |= lines.testFlag(QSerialPort::ClearToSendSignal) ? Rfc2217::Cts : 0;
        state |= lines.testFlag(QSerialPort::DataSetReadySignal) ? Rfc2217::Dsr : 0;
        state |= lines.testFlag(QSerialPort::DataCarrierDetectSignal) ? Rfc2217::Dcd : 0;
        if (state == m_lastState)
            return;
        m_lastState = state;
        send(m_session.modemStateNotification(state));
    }

    void send(const QByteArray& bytes)
    {
        if (m_client)
            m_client->write(bytes);
    }

    QSerialPort m_port;
    QTcpServer m_server;
    QTcpSocket* m_client = nullptr; // child of the server
    Rfc2217ServerSession m_session;
    Settings m_settings;
    QTimer m_lines;
    quint8 m_lastState = 0;
    int m_purges = 0;
};

// A program that ends with this object.
class Program final
{
    Q_DISABLE_COPY_MOVE(Program)

public:
    Program() = default;
    ~Program()
    {
        process.kill();
        process.waitForFinished();
    }

    bool start(const QString& name, const QStringList& arguments)
    {
        process.setProcessEnvironment(NullModem::peerEnvironment());
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(name, arguments);
        return process.waitForStarted();
    }

    // What pyserial says to a statement, "ok" when it is content.
    QByteArray run(const QByteArray& statement)
    {
        process.write(statement + '\n');
        return QTest::qWaitFor([this] { return process.canReadLine(); }, 10'000)
                   ? process.readLine().trimmed()
                   : "no answer to "_ba + statement;
    }

    QProcess process;
};

// The port of 127.0.0.1 on which a process listens; 0 while there is none. Asking the system is the
// way to let it choose the port for a program that does not tell.
quint16 listeningPort(qint64 processId)
{
    const QString proc = u"/proc/%1/"_s.arg(processId);
    QByteArrayList sockets;
    const QDir descriptors(proc + u"fd"_s);
    for (const QString& name : descriptors.entryList(QDir::Files | QDir::System))
        sockets << QFile::symLinkTarget(descriptors.filePath(name)).section(u'/', -1).toLatin1();
    QFile table(proc + u"net/tcp"_s);
    if (!table.open(QIODevice::ReadOnly))
        return 0;
    const QByteArrayList rows = table.readAll().split('\n');
    for (const QByteArray& row : rows) {
        const QByteArrayList columns = row.simplified().split(' ');
        constexpr auto kListening = "0A";
        if (columns.size() > 9 && columns[3] == kListening
            && sockets.contains("socket:[" + columns[9] + ']'))
            return quint16(columns[1].split(':').last().toUInt(nullptr, 16));
    }
    return 0;
}

// Debian's own, for which Debian's pyserial is installed.
constexpr auto kPython = "/usr/bin/python3"_L1;

bool hasPyserial()
{
    return QProcess::execute(kPython, {u"-c"_s, u"import serial.rfc2217"_s}) == 0;
}

QString script(const char* name)
{
    return QFINDTESTDATA(QLatin1StringView(name));
}

} // namespace

class TestRfc2217Peers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void clientOfSer2net()
    {
        const QString ser2net = QStandardPaths::findExecutable(
            u"ser2net"_s, QStringList{u"/usr/sbin"_s, u"/usr/local/sbin"_s, u"/usr/bin"_s});
        if (ser2net.isEmpty()) {
            QVERIFY2(!qEnvironmentVariableIsSet("CI"), "ser2net is not installed");
            QSKIP("ser2net is not installed");
        }
        NullModem modem;
        Program program;
        const QString configuration =
            u"connection: &port#  accepter: telnet(rfc2217),tcp,127.0.0.1,0#"
            "  connector: serialdev,%1,9600n81"_s.arg(modem.portA());
        QVERIFY(program.start(ser2net, {u"-n"_s, u"-u"_s, u"-Y"_s, configuration}));
        quint16 port = 0;
        QTRY_VERIFY((port = listeningPort(program.process.processId())) != 0);
        drive(port, modem);
    }

    void clientOfPyserial()
    {
        if (!hasPyserial()) {
            QVERIFY2(!qEnvironmentVariableIsSet("CI"), "python3-serial is not installed");
            QSKIP("python3-serial is not installed");
        }
        NullModem modem;
        Program program;
        QVERIFY(program.start(kPython, {script("rfc2217server.py"), modem.portA()}));
        QTRY_VERIFY(program.process.canReadLine());
        drive(quint16(program.process.readLine().trimmed().toUInt()), modem);
    }

    void serverOfPyserial()
    {
        if (!hasPyserial()) {
            QVERIFY2(!qEnvironmentVariableIsSet("CI"), "python3-serial is not installed");
            QSKIP("python3-serial is not installed");
        }
        NullModem modem;
        QSerialPort device(modem.portB());
        QVERIFY(device.open(QIODevice::ReadWrite));
        ServedPort served(modem.portA());
        Program program;
        QVERIFY(program.start(kPython, {script("rfc2217client.py")}));
        // It waits for the answers to its settings, its lines and its purges here.
        const QByteArray url = "rfc2217://127.0.0.1:" + QByteArray::number(served.tcpPort());
        QCOMPARE(program.run("port = serial.serial_for_url('" + url + "', timeout=5)"), "ok");
        QCOMPARE(modem.lineSettings(End::A), "9600 8N1");
        QCOMPARE(served.purges(), 2);
        commandParameters(program, modem);
        if (!QTest::currentTestFailed())
            commandLines(program, modem);
        if (QTest::currentTestFailed())
            return;
        const QByteArray payload = difficultPayload();
        const QByteArray literal = "bytes.fromhex('" + payload.toHex() + "')";
        QCOMPARE(program.run("port.write(" + literal + ")"), "ok");
        QByteArray atDevice;
        QTRY_COMPARE((atDevice += device.readAll()).size(), payload.size());
        QCOMPARE(atDevice, payload);
        device.write(payload);
        QCOMPARE(program.run(
                     "assert port.read(" + QByteArray::number(payload.size()) + ") == " + literal),
            "ok");
        QCOMPARE(program.run("port.close()"), "ok");
    }

private:
    // Our client session against a server whose line is end A of the cable.
    static void drive(quint16 tcpPort, NullModem& modem)
    {
        QSerialPort device(modem.portB());
        QVERIFY(device.open(QIODevice::ReadWrite));
        RemotePort remote(tcpPort);
        QTRY_COMPARE(remote.session.state(), Rfc2217ClientSession::State::ComPortActive);
        driveParameters(remote, modem);
        if (!QTest::currentTestFailed())
            driveLines(remote, modem);
        if (QTest::currentTestFailed())
            return;
        const QByteArray payload = difficultPayload();
        remote.send(payload);
        QByteArray atDevice;
        QTRY_COMPARE((atDevice += device.readAll()).size(), payload.size());
        QCOMPARE(atDevice, payload);
        device.write(payload);
        QTRY_COMPARE(remote.received.size(), payload.size());
        QCOMPARE(remote.received, payload);
    }

    static void driveParameters(RemotePort& remote, const NullModem& modem)
    {
        // At first the port is left as it is, and only asked.
        QTRY_COMPARE(remote.session.remoteSummary(), summaryOf(remote.settings));
        QCOMPARE(modem.lineSettings(End::A), "9600 8N1");
        for (const LineCase& wanted : kLineCases) {
            remote.settings = settingsOf(wanted);
            remote.push();
            QTRY_COMPARE(modem.lineSettings(End::A), wanted.line);
            QTRY_COMPARE(remote.session.remoteSummary(), summaryOf(remote.settings));
        }
    }

    static void driveLines(RemotePort& remote, NullModem& modem)
    {
        const Rfc2217ClientSession& session = remote.session;
        for (const int levels : {1, 2, 0, 3}) {
            const bool dtr = (levels & 1) != 0;
            const bool rts = (levels & 2) != 0;
            remote.settings.dtrOn = dtr;
            remote.settings.rtsOn = rts;
            remote.push();
            QTRY_COMPARE(modem.dtr(End::A), dtr);
            QTRY_COMPARE(modem.rts(End::A), rts);
            QTRY_COMPARE(session.confirmedDtr(), std::optional(dtr));
            QTRY_COMPARE(session.confirmedRts(), std::optional(rts));
            // The device's levels cross to CTS, DSR and DCD of the server.
            modem.setOutputs(End::B, !dtr, !rts);
            const int expected = (dtr ? 0 : Rfc2217::Dsr | Rfc2217::Dcd) | (rts ? 0 : Rfc2217::Cts);
            QTRY_COMPARE(session.modemState().value_or(0xFF) & 0xF0, expected);
        }
        remote.socket.write(session.breakCommand(true));
        QTRY_VERIFY(modem.breakSeenBy(End::B).active);
        remote.socket.write(session.breakCommand(false));
        QTRY_COMPARE(modem.breakSeenBy(End::B).count, 1);
    }

    // pyserial's client against our server session.
    static void commandParameters(Program& pyserial, const NullModem& modem)
    {
        for (const LineCase& wanted : kLineCases) {
            QCOMPARE(pyserial.run(wanted.python), "ok");
            QCOMPARE(modem.lineSettings(End::A), wanted.line);
        }
    }

    static void commandLines(Program& pyserial, NullModem& modem)
    {
        // The client asks for modem states first; RFC 2217's default is that it need not.
        QCOMPARE(pyserial.run("port.rfc2217_send_subnegotiation(bytes([11]), bytes([255]))"), "ok");
        for (const int levels : {1, 2, 0, 3}) {
            const bool dtr = (levels & 1) != 0;
            const bool rts = (levels & 2) != 0;
            QCOMPARE(pyserial.run(dtr ? "port.dtr = True" : "port.dtr = False"), "ok");
            QCOMPARE(pyserial.run(rts ? "port.rts = True" : "port.rts = False"), "ok");
            QCOMPARE(modem.dtr(End::A), dtr);
            QCOMPARE(modem.rts(End::A), rts);
            modem.setOutputs(End::B, dtr, rts);
            const QByteArray check = "assert (port.dsr, port.cd, port.cts) == ("
                                     + QByteArray(dtr ? "True, True, " : "False, False, ")
                                     + (rts ? "True)" : "False)");
            QTRY_COMPARE(pyserial.run(check), "ok");
        }
        QCOMPARE(pyserial.run("port.break_condition = True"), "ok");
        QVERIFY(modem.breakSeenBy(End::B).active);
        QCOMPARE(pyserial.run("port.break_condition = False"), "ok");
        QCOMPARE(modem.breakSeenBy(End::B).count, 1);
    }
};

QTEST_GUILESS_MAIN(TestRfc2217Peers)
#include "tst_rfc2217peers.moc"
