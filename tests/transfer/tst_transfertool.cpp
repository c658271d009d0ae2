// velmora-transfer as scripts use it: exit statuses, and lrzsz at the other end of a TCP
// connection.
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// A device on a TCP port: a program that speaks through its standard input and output.
class Device final : public QObject
{
public:
    // It runs before anybody connects: programs throw away what came while they start.
    Device(const QStringList& command, const QString& folder)
    {
        m_process.setWorkingDirectory(folder);
        m_process.setStandardErrorFile(QProcess::nullDevice());
        m_process.start(command.first(), command.mid(1));
        m_server.listen(QHostAddress::LocalHost);
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            m_socket = m_server.nextPendingConnection();
            const auto toSocket = [this] { m_socket->write(m_process.readAllStandardOutput()); };
            connect(m_socket, &QTcpSocket::readyRead, this,
                [this] { m_process.write(m_socket->readAll()); });
            connect(&m_process, &QProcess::readyReadStandardOutput, this, toSocket);
            toSocket();
        });
    }
    ~Device() override
    {
        m_process.kill();
        m_process.waitForFinished(2000);
    }
    [[nodiscard]] QString address() const { return u"127.0.0.1:%1"_s.arg(m_server.serverPort()); }

private:
    QTcpServer m_server;
    QTcpSocket* m_socket = nullptr;
    QProcess m_process;
};

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TestTransferTool final : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QProcess m_tool;
    QByteArray m_content;

    // Its exit status; what it says on standard error is kept.
    int run(const QStringList& arguments)
    {
        m_tool.start(QStringLiteral(TRANSFER_PROGRAM), arguments);
        if (!QTest::qWaitFor([this] { return m_tool.state() == QProcess::NotRunning; }, 60'000)) {
            m_tool.kill();
            m_tool.waitForFinished(2000);
            return -1;
        }
        return m_tool.exitStatus() == QProcess::NormalExit ? m_tool.exitCode() : -1;
    }
    [[nodiscard]] QString path(const QString& name) const { return m_dir.filePath(name); }

private Q_SLOTS:
    void initTestCase()
    {
        for (int i = 0; i < 30'000; ++i)
            m_content += char(i * 31 + i / 251);
        QFile file(path(u"data.bin"_s));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(m_content) == m_content.size());
        QVERIFY(QDir(m_dir.path()).mkpath(u"far"_s) && QDir(m_dir.path()).mkpath(u"near"_s));
    }

    void wrongCommandLines_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("nothing") << QStringList();
        QTest::newRow("both ways")
            << QStringList{u"--send"_s, u"f"_s, u"--receive"_s, u"d"_s, u"127.0.0.1:1"_s};
        QTest::newRow("unknown protocol")
            << QStringList{u"--send"_s, u"f"_s, u"--protocol"_s, u"kermit"_s, u"127.0.0.1:1"_s};
        QTest::newRow("unknown option") << QStringList{u"--sned"_s, u"f"_s, u"127.0.0.1:1"_s};
        QTest::newRow("address without brackets")
            << QStringList{u"--send"_s, u"f"_s, u"fe80::1:5000"_s};
        QTest::newRow("no baud rate")
            << QStringList{u"--send"_s, u"f"_s, u"--baud"_s, u"fast"_s, u"/dev/ttyX"_s};
    }

    void wrongCommandLines()
    {
        QFETCH(QStringList, arguments);
        QCOMPARE(run(arguments), 2);
        QCOMPARE(m_tool.readAllStandardError().count('\n'), 1);
    }

    void failuresHaveTheirStatus()
    {
        QTcpServer nobody;
        QVERIFY(nobody.listen(QHostAddress::LocalHost));
        const QString address = u"127.0.0.1:%1"_s.arg(nobody.serverPort());
        QCOMPARE(run({u"--send"_s, path(u"missing"_s), address}), 1);
        QVERIFY(m_tool.readAllStandardError().contains("Could not open "));
        nobody.close();
        QCOMPARE(run({u"--send"_s, path(u"data.bin"_s), address}), 3);
        QCOMPARE(run({u"--send"_s, path(u"data.bin"_s), u"/nowhere/ttyX"_s}), 3);
        // A peer that goes in the middle has confirmed nothing.
        QTcpServer leaving;
        QVERIFY(leaving.listen(QHostAddress::LocalHost));
        connect(&leaving, &QTcpServer::newConnection, &leaving, [&leaving] {
            QTcpSocket* socket = leaving.nextPendingConnection();
            connect(
                socket, &QTcpSocket::readyRead, socket, [socket] { socket->disconnectFromHost(); });
            socket->write("C");
        });
        QCOMPARE(
            run({u"--send"_s, path(u"data.bin"_s), u"127.0.0.1:%1"_s.arg(leaving.serverPort())}),
            1);
        QVERIFY(m_tool.readAllStandardError().contains("The connection was lost"));
    }

    // The device is told, and nothing is left behind.
    void endsInOrderBySignal()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        QByteArray heard;
        connect(&server, &QTcpServer::newConnection, &server, [&] {
            QTcpSocket* socket = server.nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, socket, [this, socket, &heard] {
                const QByteArray bytes = socket->readAll();
                if (heard.isEmpty()) // its invitation; a block of XMODEM with a check sum
                    socket->write("\x01\x01\xFE" + QByteArray(128, '\1') + char(128));
                else if (bytes.contains('\x06'))
                    m_tool.terminate();
                heard += bytes;
            });
        });
        const QString address = u"127.0.0.1:%1"_s.arg(server.serverPort());
        QCOMPARE(run({u"--receive"_s, path(u"near"_s), u"--protocol"_s, u"xmodem"_s, address}), 1);
        QTRY_VERIFY(heard.contains("\x18\x18"));
        const QByteArray said = m_tool.readAllStandardError();
        QVERIFY2(said.contains("XMODEM carries no file name") && said.contains("Cancelled"), said);
        QCOMPARE(
            QDir(path(u"near"_s)).entryList({u"*.part*"_s}, QDir::Files | QDir::Hidden).size(), 0);
    }

    void bracketedAddress()
    {
        QTcpServer server;
        if (!server.listen(QHostAddress::LocalHostIPv6))
            QSKIP("this machine has no IPv6");
        connect(&server, &QTcpServer::newConnection, &server,
            [&server] { server.nextPendingConnection()->disconnectFromHost(); });
        const QString address = u"[::1]:%1"_s.arg(server.serverPort());
        QCOMPARE(run({u"--send"_s, path(u"data.bin"_s), address}), 1); // 3 if it did not connect
    }

    void speaksWithLrzsz_data()
    {
        QTest::addColumn<QString>("protocol");
        QTest::addColumn<QString>("receiver");
        QTest::addColumn<QString>("sender");
        QTest::newRow("XMODEM-1K") << u"xmodem-1k"_s << u"rx -c got.bin"_s << u"sx -k %1"_s;
        QTest::newRow("YMODEM") << u"ymodem"_s << u"rb"_s << u"sb -k %1"_s;
    }

    void speaksWithLrzsz()
    {
        if (QStandardPaths::findExecutable(u"rx"_s).isEmpty()) {
            QVERIFY2(!qEnvironmentVariableIsSet("CI"), "lrzsz is missing");
            QSKIP("lrzsz is not installed");
        }
        QFETCH(QString, protocol);
        QFETCH(QString, receiver);
        QFETCH(QString, sender);
        const bool ymodem = protocol == u"ymodem"_s;
        const QString far = path(ymodem ? u"far/data.bin"_s : u"far/got.bin"_s);
        QFile::remove(far);
        {
            const Device device(receiver.split(u' '), path(u"far"_s));
            const int status = run(
                {u"--send"_s, path(u"data.bin"_s), u"--protocol"_s, protocol, device.address()});
            QVERIFY2(status == 0, m_tool.readAllStandardError());
            QTRY_VERIFY(contentOf(far).startsWith(m_content));
            QVERIFY(contentOf(far).size() - m_content.size() < (ymodem ? 1 : 1024));
        }
        const Device device(sender.arg(path(u"data.bin"_s)).split(u' '), path(u"far"_s));
        const QString near = path(ymodem ? u"near"_s : u"near/"_s + protocol);
        const int status = run({u"--receive"_s, near, u"--protocol"_s, protocol, device.address()});
        QVERIFY2(status == 0, m_tool.readAllStandardError());
        // It says where the file is.
        const QString saved = QString::fromLocal8Bit(m_tool.readAllStandardOutput()).trimmed();
        QVERIFY(contentOf(saved).startsWith(m_content));
        QCOMPARE(QFileInfo(saved).path(), path(u"near"_s));
    }
};

QTEST_GUILESS_MAIN(TestTransferTool)
#include "tst_transfertool.moc"
