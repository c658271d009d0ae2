// velmora-gateway as a service manager and an administrator use it: the real program, with ports on
// loopback and all its folders in a scratch folder.
#include "support/tcppeer.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>
#include <QProcess>
#include <QSocketNotifier>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>
#include <array>
#include <csignal>
#include <memory>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kPatienceMs = 20'000;

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A file cannot say "any port": the system is asked for some that nobody has.
QList<quint16> freePorts(int count)
{
    std::vector<std::unique_ptr<QTcpServer>> servers;
    QList<quint16> ports;
    for (int i = 0; i < count; ++i) {
        servers.push_back(std::make_unique<QTcpServer>());
        servers.back()->listen(QHostAddress::LocalHost);
        ports.append(servers.back()->serverPort());
    }
    return ports;
}

QByteArray tcpServer(int index, quint16 port)
{
    return u"[%1]\nConnMode=1\nLastTargetPort=%2\n\n"_s.arg(index).arg(port).toLatin1();
}

QByteArray tcpClient(int index, quint16 port)
{
    return u"[%1]\nConnMode=2\nLastTargetHost=127.0.0.1\nLastTargetPort=%2\n\n"_s.arg(index)
        .arg(port)
        .toLatin1();
}

QByteArray bridge(int index, const QByteArray& name, int a, int b, const QByteArray& more = {})
{
    const QByteArray key = QByteArray::number(index) + '\\';
    QByteArray text = key + "Name=" + name + '\n' + key + "PortA=" + QByteArray::number(a) + '\n'
                      + key + "PortB=" + QByteArray::number(b) + '\n' + key + "FanoutMode=1\n";
    for (const QByteArray& line : more.split('\n'))
        text += line.isEmpty() ? QByteArray() : key + line + '\n';
    return text;
}

QByteArray session(int ports, const QByteArray& panes, int bridges, const QByteArray& text)
{
    return "[General]\nPortNumber=" + QByteArray::number(ports) + "\n\n" + panes
           + "[Bridge]\nCount=" + QByteArray::number(bridges) + '\n' + text;
}

template<class Condition>
bool eventually(Condition condition)
{
    return QTest::qWaitFor(condition, kPatienceMs);
}

// Exactly these bytes, in all.
bool receives(const TcpPeer& peer, const QByteArray& bytes)
{
    return QTest::qWaitFor([&] { return peer.received().size() >= bytes.size(); }, kPatienceMs)
           && peer.received() == bytes;
}

// What a service manager hears.
class NotifySocket final
{
public:
    explicit NotifySocket(const QString& path)
        : m_socket(::socket(AF_UNIX, SOCK_DGRAM, 0))
        , m_notifier(m_socket, QSocketNotifier::Read)
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        qstrncpy(address.sun_path, QFile::encodeName(path).constData(), sizeof(address.sun_path));
        m_bound =
            ::bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
        QObject::connect(&m_notifier, &QSocketNotifier::activated, &m_notifier, [this] {
            std::array<char, 4096> bytes{};
            const ssize_t count = ::recv(m_socket, bytes.data(), bytes.size(), MSG_DONTWAIT);
            if (count > 0)
                m_heard.append(QByteArray(bytes.data(), count));
        });
    }
    ~NotifySocket()
    {
        m_notifier.setEnabled(false);
        ::close(m_socket);
    }
    Q_DISABLE_COPY_MOVE(NotifySocket)

    [[nodiscard]] bool isBound() const { return m_bound; }
    // So many messages that begin like this, at least.
    [[nodiscard]] bool hears(const QByteArray& beginning, qsizetype count) const
    {
        return QTest::qWaitFor([&] { return this->count(beginning) >= count; }, kPatienceMs);
    }
    [[nodiscard]] qsizetype count(const QByteArray& beginning) const
    {
        return std::ranges::count_if(m_heard,
            [&beginning](const QByteArray& message) { return message.startsWith(beginning); });
    }

private:
    const int m_socket;
    QSocketNotifier m_notifier;
    QByteArrayList m_heard;
    bool m_bound = false;
};

} // namespace

class TestGateway final : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_file;
    QProcess m_gateway;
    QByteArray m_said;

    [[nodiscard]] QString path(const QString& name) const { return m_dir.filePath(name); }

    [[nodiscard]] QProcessEnvironment environment() const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"HOME"_s, m_dir.path());
        for (const QString& name :
            {u"XDG_CONFIG_HOME"_s, u"XDG_DATA_HOME"_s, u"XDG_CACHE_HOME"_s, u"XDG_RUNTIME_DIR"_s})
            environment.insert(name, path(u"run"_s));
        return environment;
    }

    void save(const QByteArray& text)
    {
        QFile file(m_file);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(text) == text.size());
    }

    // Runs until all it says contains the text.
    [[nodiscard]] bool says(const QByteArray& text)
    {
        return QTest::qWaitFor(
            [&] {
                m_said += m_gateway.readAllStandardError();
                return m_said.contains(text);
            },
            kPatienceMs);
    }

    void start(const QProcessEnvironment& environment)
    {
        m_said.clear();
        m_gateway.setProcessEnvironment(environment);
        m_gateway.start(QStringLiteral(GATEWAY_PROGRAM), {m_file});
    }

    void signal(int number) { ::kill(pid_t(m_gateway.processId()), number); }

    [[nodiscard]] int endWith(int number)
    {
        signal(number);
        const bool ended = QTest::qWaitFor(
            [this] { return m_gateway.state() == QProcess::NotRunning; }, kPatienceMs);
        m_said += m_gateway.readAllStandardError();
        return ended && m_gateway.exitStatus() == QProcess::NormalExit ? m_gateway.exitCode() : -1;
    }

    struct Result
    {
        int status = -1;
        QByteArray output;
        QByteArray errors;
    };

    [[nodiscard]] Result run(const QStringList& arguments) const
    {
        QProcess process;
        process.setProcessEnvironment(environment());
        process.start(QStringLiteral(GATEWAY_PROGRAM), arguments);
        if (!QTest::qWaitFor(
                [&] { return process.state() == QProcess::NotRunning; }, kPatienceMs)) {
            process.kill();
            process.waitForFinished(2000);
            return {};
        }
        return {
            process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
    }

    [[nodiscard]] QJsonObject status() const
    {
        return QJsonDocument::fromJson(run({u"--status"_s, m_file}).output).object();
    }

    // Where it can be asked; empty before.
    [[nodiscard]] QString socketName() const
    {
        const QStringList names = QDir(path(u"run"_s)).entryList(QDir::System);
        return names.isEmpty() ? QString() : path(u"run/"_s) + names.constFirst();
    }

    void checkStatus(const QJsonObject& now)
    {
        QCOMPARE(now[u"pid"_s].toInteger(), m_gateway.processId());
        const QJsonObject first = now[u"ports"_s][0].toObject();
        QCOMPARE(first[u"state"_s], u"open"_s);
        QCOMPARE(first[u"rx"_s], 4);
        QCOMPARE(first[u"tx"_s], 6);
        QCOMPARE(first[u"clientCount"_s], 1);
        const QJsonObject link = now[u"bridges"_s][0].toObject();
        QCOMPARE(link[u"state"_s], u"running"_s);
        QCOMPARE(link[u"fromA"_s][u"bytesOut"_s], 4);
        QCOMPARE(link[u"fromB"_s][u"bytesOut"_s], 6);
    }

private Q_SLOTS:
    void init()
    {
        m_file = path(u"line.vmr"_s);
        QDir(path(u"run"_s)).removeRecursively();
        QVERIFY(QDir(m_dir.path()).mkpath(u"run"_s));
        QVERIFY(QFile::setPermissions(
            path(u"run"_s), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    }

    void cleanup()
    {
        if (m_gateway.state() != QProcess::NotRunning) {
            m_gateway.kill();
            m_gateway.waitForFinished(2000);
        }
    }

    void wrongCommandLines()
    {
        for (const QStringList& arguments : {QStringList{}, {u"a"_s, u"b"_s},
                 {u"--chekc"_s, u"a"_s}, {u"--check"_s, u"--status"_s, u"a"_s}}) {
            const Result result = run(arguments);
            QCOMPARE(result.status, 64);
            QCOMPARE(result.errors.count('\n'), 1);
        }
        QCOMPARE(run({u"--help"_s}).status, 0);
        QVERIFY(run({u"--version"_s}).output.startsWith("velmora-gateway "));
    }

    void checkSaysEveryFault()
    {
        const QList<quint16> ports = freePorts(2);
        const QByteArray panes = tcpServer(0, ports[0]) + tcpClient(1, ports[1]);
        save(session(2, panes, 1, bridge(0, "Good", 0, 1)));
        Result result = run({u"--check"_s, m_file});
        QCOMPARE(result.output, "");
        QCOMPARE(result.status, 0);

        save(session(4,
            panes + "[2]\nConnMode=8\nLogSaveFlag=true\nLogFilePath=/nowhere/a.log\n\n"
                + tcpServer(3, ports[0]) + "LogSaveFlag=true\nLogFilePath=" + path(u"b"_s).toUtf8()
                + "\n\n",
            4,
            bridge(0, "Good", 0, 1)
                + bridge(1, "Again", 0, 1, "AllowedPeers=10.0.0.0/8, not-an-address\nQueueLimit=1")
                + bridge(2, "Far", 0, 12, "LogEnabled=true\nLogFilePath=/nowhere/capture")
                + bridge(3, "Strange", 1, 2, "Protocol=77\nFramingIdleGapMs=-5")));
        result = run({u"--check"_s, m_file});
        QCOMPARE(result.status, 1);
        for (const char* text :
            {"Port 3: its kind of connection", "Port 3: data log: the folder /nowhere",
                "Port 4: port 1 has TCP port", "Bridge 2 \"Again\": \"not-an-address\"",
                "Bridge 2 \"Again\": That direction is already bridged",
                "Bridge 3 \"Far\": Port number is out of range",
                "Bridge 3 \"Far\": capture: the folder /nowhere", "Bridge/3/Protocol: \"77\"",
                "Bridge/3/FramingIdleGapMs: \"-5\"", "remark: Bridge/1/QueueLimit"})
            QVERIFY2(result.output.contains(text), QByteArray(result.output + "\nlacks " + text));
        // Neither the address that is one nor anything else is blamed.
        QVERIFY(!result.output.contains("\"10.0.0.0/8\""));
        QCOMPARE(result.output.count("fault: "), 9);
    }

    void unreadableFilesDoNotStart()
    {
        for (const QByteArray& text : {QByteArray("no session"), QByteArray()}) {
            save(text);
            QCOMPARE(run({u"--check"_s, m_file}).status, 1);
            QCOMPARE(run({m_file}).status, 1);
        }
        QFile::remove(m_file);
        QCOMPARE(run({m_file}).status, 1);
        QCOMPARE(run({u"--status"_s, m_file}).status, 2);
    }

    // The journal of the system wants priorities in the place of times, and only it.
    void journalGetsPriorities()
    {
        save("no session");
        QFile stream(path(u"stream"_s));
        QVERIFY(stream.open(QIODevice::WriteOnly));
        struct stat status = {};
        QCOMPARE(::fstat(stream.handle(), &status), 0);
        for (const bool isJournal : {false, true}) {
            QProcessEnvironment ofJournal = environment();
            ofJournal.insert(u"JOURNAL_STREAM"_s,
                u"%1:%2"_s.arg(status.st_dev).arg(status.st_ino + (isJournal ? 0 : 1)));
            QProcess process;
            process.setProcessEnvironment(ofJournal);
            process.setStandardErrorFile(stream.fileName());
            process.start(QStringLiteral(GATEWAY_PROGRAM), {m_file});
            QVERIFY(process.waitForFinished(kPatienceMs));
            const QByteArray line = contentOf(stream.fileName());
            QCOMPARE(line.startsWith("<3>"), isJournal);
            QCOMPARE(line.contains(" error "), !isJournal);
        }
    }

    void clientsWithoutEndDoNotFillTheJournal()
    {
        const quint16 port = freePorts(1).constFirst();
        save(session(1,
            tcpServer(0, port) + "LogSaveFlag=true\nLogFilePath=" + path(u"flood.log"_s).toUtf8()
                + "\n\n",
            0, {}));
        start(environment());
        QVERIFY(says("open"));
        TcpPeer clients;
        for (int i = 0; i < 100; ++i) {
            clients.connectTo(port);
            QVERIFY(eventually([&] { return clients.isOpen(); }));
            clients.reset();
        }
        QVERIFY(says("lines were left out"));
        QVERIFY(m_said.count("client 127.0.0.1:") <= 50);
        QCOMPARE(endWith(SIGTERM), 0);
    }

    void forwardsTellsAndEndsInOrder()
    {
        TcpPeer device;
        QVERIFY(device.listen());
        device.setAnswer(
            [](const QByteArray& request) -> QByteArray { return "<" + request + ">"; });
        const quint16 port = freePorts(1).constFirst();
        const QByteArray log = path(u"data.log"_s).toUtf8();
        save(session(2,
            tcpServer(0, port) + "LogSaveFlag=true\nLogFilePath=" + log + "\n\n"
                + tcpClient(1, device.port()),
            1,
            bridge(0, "Line", 0, 1,
                "LogEnabled=true\nLogFilePath=" + path(u"capture.txt"_s).toUtf8())));
        start(environment());
        QVERIFY(says("Bridge \"Line\": running"));
        QCOMPARE(run({m_file}).status, 2); // one gateway a file

        TcpPeer client;
        client.connectTo(port);
        client.send("ping");
        QVERIFY(receives(client, "<ping>"));

        checkStatus(status());

        client.send("last");
        QVERIFY(receives(client, "<ping><last>"));
        QCOMPARE(endWith(SIGTERM), 0);
        // Capture and log wait a moment before they write: the end does not.
        QVERIFY(contentOf(path(u"capture.txt"_s)).contains("B>A 3C 6C 61 73 74 3E"));
        const QByteArray logged = contentOf(path(u"data.log"_s));
        QVERIFY2(logged.contains("ping") && logged.contains("last"), logged);
        QVERIFY(m_said.contains("client 127.0.0.1:"));
        QCOMPARE(run({u"--status"_s, m_file}).status, 2);
    }

    void reloadLeavesAloneWhatDidNotChange()
    {
        TcpPeer device;
        TcpPeer other;
        QVERIFY(device.listen() && other.listen());
        const QList<quint16> ports = freePorts(3);
        const QByteArray kept = tcpServer(0, ports[0]) + tcpClient(1, device.port());
        save(session(4, kept + tcpServer(2, ports[1]) + tcpClient(3, other.port()), 2,
            bridge(0, "Kept", 0, 1) + bridge(1, "Moved", 2, 3)));
        start(environment());
        QVERIFY(says("Bridge \"Kept\": running") && says("Bridge \"Moved\": running"));
        TcpPeer client;
        client.connectTo(ports[0]);
        client.send("one");
        QVERIFY(receives(device, "one"));

        // Another port number, another place in the list.
        save(session(4, kept + tcpServer(2, ports[2]) + tcpClient(3, other.port()), 2,
            bridge(0, "Moved", 2, 3) + bridge(1, "Kept", 0, 1)));
        signal(SIGHUP);
        QVERIFY(says("Port 3 (TCP server " + QByteArray::number(ports[2]) + "): open"));
        TcpPeer newcomer;
        newcomer.connectTo(ports[2]);
        newcomer.send("moved");
        QVERIFY(receives(other, "moved"));

        client.send("two");
        QVERIFY(receives(device, "onetwo"));
        QCOMPARE(device.connectionCount(), 1);
        QVERIFY(client.isOpen());
        QCOMPARE(status()[u"bridges"_s][1][u"fromA"_s][u"bytesOut"_s], 6); // counted on
    }

    // A broken file changes nothing; ports that go take only their own bridges along.
    void reloadSurvivesBrokenAndShorterFiles()
    {
        TcpPeer device;
        QVERIFY(device.listen());
        const QList<quint16> ports = freePorts(2);
        const QByteArray kept = tcpServer(0, ports[0]) + tcpClient(1, device.port());
        save(session(3, kept + tcpServer(2, ports[1]), 2,
            bridge(0, "Gone", 2, 1, "Direction=0") + bridge(1, "Kept", 0, 1, "Direction=0")));
        start(environment());
        QVERIFY(says("Bridge \"Gone\": running") && says("Bridge \"Kept\": running"));
        TcpPeer client;
        client.connectTo(ports[0]);
        TcpPeer leaving;
        leaving.connectTo(ports[1]);
        client.send("one");
        QVERIFY(receives(device, "one"));

        save("nonsense");
        signal(SIGHUP);
        QVERIFY(says("everything stays as it was"));
        save(session(2, kept, 1, bridge(0, "Kept", 0, 1, "Direction=0")));
        signal(SIGHUP);
        QVERIFY(says("Port 3 (TCP server " + QByteArray::number(ports[1]) + "): removed"));
        QVERIFY(eventually([&] { return !leaving.isOpen(); }));
        client.send("two");
        QVERIFY(receives(device, "onetwo"));
        QCOMPARE(status()[u"ports"_s].toArray().size(), 2);
        QCOMPARE(endWith(SIGINT), 0);
    }

    void portsThatAreGoneAreTriedAgain()
    {
        TcpPeer device;
        QVERIFY(device.listen());
        const quint16 port = device.port();
        device.stopListening();
        save(session(2, tcpServer(0, freePorts(1).constFirst()) + tcpClient(1, port), 1,
            bridge(0, "Line", 0, 1)));
        start(environment());
        QVERIFY(says("could not be opened, trying again"));
        // Each further attempt is no news: of the bridge neither.
        QVERIFY(says("Bridge \"Line\": degraded"));
        for (int attempt = 1; attempt <= 3; ++attempt) {
            signal(SIGHUP);
            QVERIFY(eventually([&] {
                m_said += m_gateway.readAllStandardError();
                return m_said.count("read again") == attempt;
            }));
        }
        QVERIFY(eventually([&] { return status()[u"ports"_s][1][u"state"_s] == u"closed"_s; }));
        QCOMPARE(m_said.count("could not be opened"), 1);
        QCOMPARE(m_said.count("Bridge \"Line\""), 1);
        QVERIFY(device.listen(port));
        QVERIFY(says("Bridge \"Line\": running"));
        device.reset();
        QVERIFY(says("lost, trying to regain it"));
        QVERIFY(eventually([&] { return device.connectionCount() == 2; }));
    }

    void leftoversOfACrashKeepNobodyOut()
    {
        save(session(1, tcpServer(0, freePorts(1).constFirst()), 0, {}));
        start(environment());
        QVERIFY(says("starts on") && eventually([&] { return !status().isEmpty(); }));
        m_gateway.kill();
        QVERIFY(m_gateway.waitForFinished(kPatienceMs));
        QVERIFY(!socketName().isEmpty());
        start(environment());
        QVERIFY(says("starts on") && eventually([&] { return !status().isEmpty(); }));
    }

    void strangersAtTheSocketAreShownOut()
    {
        save(session(1, tcpServer(0, freePorts(1).constFirst()), 0, {}));
        start(environment());
        QVERIFY(says("starts on"));
        QVERIFY(eventually([&] { return !socketName().isEmpty(); }));
        const QString name = socketName();
        QCOMPARE(QFileInfo(name).permissions() & (QFile::ReadOther | QFile::WriteGroup), 0);
        for (const QByteArray& request : {QByteArray("quit\n"), QByteArray(100'000, 'x')}) {
            QLocalSocket stranger;
            stranger.connectToServer(name);
            QVERIFY(eventually([&] { return stranger.state() == QLocalSocket::ConnectedState; }));
            stranger.write(request);
            QVERIFY(eventually([&] { return stranger.state() == QLocalSocket::UnconnectedState; }));
            QCOMPARE(stranger.readAll(), "");
        }
    }

    // As many as there may be, saying nothing, do not keep the next one out for ever.
    void silentCrowdAtTheSocketIsShownOut()
    {
        save(session(1, tcpServer(0, freePorts(1).constFirst()), 0, {}));
        start(environment());
        QVERIFY(says("starts on"));
        QVERIFY(eventually([&] { return !socketName().isEmpty(); }));
        const QString name = socketName();
        std::vector<std::unique_ptr<QLocalSocket>> silent;
        for (int i = 0; i < 8; ++i) {
            silent.push_back(std::make_unique<QLocalSocket>());
            silent.back()->connectToServer(name);
        }
        QVERIFY(eventually([&] { return !status().isEmpty(); }));
    }

    void tellsTheServiceManager()
    {
        NotifySocket manager(path(u"notify"_s));
        QVERIFY(manager.isBound());
        save(session(1, tcpServer(0, freePorts(1).constFirst()), 0, {}));
        QProcessEnvironment watched = environment();
        watched.insert(u"NOTIFY_SOCKET"_s, path(u"notify"_s));
        watched.insert(u"WATCHDOG_USEC"_s, u"200000"_s);
        start(watched);
        QVERIFY(manager.hears("READY=1", 1));
        QVERIFY(manager.hears("WATCHDOG=1", 3));
        signal(SIGHUP);
        QVERIFY(manager.hears("READY=1", 2));
        QCOMPARE(manager.count("RELOADING=1\nMONOTONIC_USEC="), 1);
        QCOMPARE(endWith(SIGTERM), 0);
        QVERIFY(manager.hears("STOPPING=1", 1));
    }
};

QTEST_GUILESS_MAIN(TestGateway)
#include "tst_gateway.moc"
