#include "support/tcppeer.h"

#include <QSignalSpy>
#include <QTest>

#include <arpa/inet.h>
#include <cerrno>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

/// A bare client: Qt's sockets report FIN and RST alike, here they are told apart.
class BareClient final
{
    Q_DISABLE_COPY_MOVE(BareClient)

public:
    explicit BareClient(quint16 port)
        : m_descriptor(::socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::connect(m_descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address);
        ::fcntl(m_descriptor, F_SETFL, O_NONBLOCK);
    }
    ~BareClient() { ::close(m_descriptor); }

    qsizetype write(const QByteArray& bytes)
    {
        return ::send(m_descriptor, bytes.data(), size_t(bytes.size()), MSG_NOSIGNAL);
    }

    /// What has arrived, "FIN", "RST" or nothing yet.
    QByteArray read()
    {
        QByteArray bytes(256, Qt::Uninitialized);
        if (!m_end.isEmpty()) {
            return m_end;
        }
        const auto count = ::recv(m_descriptor, bytes.data(), size_t(bytes.size()), 0);
        if (count <= 0) {
            // Reported once; the socket reads as ended from then on.
            m_end = count == 0 ? "FIN" : errno == ECONNRESET ? "RST" : "";
            return m_end;
        }
        return bytes.left(count);
    }

private:
    int m_descriptor;
    QByteArray m_end;
};

} // namespace

class TestNetworkPeers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void endsAsAsked();
    void notReadingHoldsTheSenderBack();
};

void TestNetworkPeers::endsAsAsked()
{
    TcpPeer server;
    QVERIFY(server.listen());
    BareClient reset(server.port());
    QTRY_VERIFY(server.isOpen(0));
    BareClient halved(server.port());
    QTRY_VERIFY(server.isOpen(1));
    server.reset(0);
    QTRY_COMPARE(reset.read(), "RST");
    server.halfClose(1);
    QTRY_COMPARE(halved.read(), "FIN");
    QCOMPARE(halved.write("still heard"), 11);
    QTRY_COMPARE(server.received(1), "still heard");
    server.close(1);
    QTRY_COMPARE(server.openCount(), 0);
}

void TestNetworkPeers::notReadingHoldsTheSenderBack()
{
    TcpPeer server;
    QVERIFY(server.listen());
    server.setReading(false);
    BareClient client(server.port());
    QTRY_VERIFY(server.isOpen());
    const QByteArray block(65536, 'x');
    qint64 sent = 0;
    for (qsizetype count = 0; (count = client.write(block)) > 0;) {
        sent += count;
        QVERIFY(sent < TcpPeer::receiveCapacity);
    }
    QCOMPARE(errno, EAGAIN);
    QCoreApplication::processEvents(); // what has arrived is announced
    QVERIFY(server.received().isEmpty());
    server.setReading(true);
    QTRY_COMPARE(server.received().size(), sent);
}

QTEST_GUILESS_MAIN(TestNetworkPeers)
#include "tst_networkpeers.moc"
