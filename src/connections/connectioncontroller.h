#pragma once

#include "connections/fanoutmode.h"
#include "connections/seriallines.h"
#include "connections/transport.h"
#include "connections/udppeertable.h"

#include <QSerialPort>
#include <vector>

class QTcpSocket;
class SerialTransport;
class TcpServerTransport;
class UdpTransport;

// A received datagram and the key of its sender.
struct UdpDatagram
{
    QString peerKey;
    QByteArray payload;
};

// The transport of one pane, by the names under which the parts of the program know it.
//
// It holds the one transport of the mode that was opened last and forwards; opening another mode
// closes the former one first, which may go on sending its last bytes (Transport::isLingering). It
// keeps what belongs to the pane rather than to one connection: requested levels of DTR and RTS,
// holds on reading, rules of the TCP server. It never decides when to connect; the pane does, and
// hears back through signals. A mode that nothing carries is closed: it does not open, reads
// nothing and sends nothing. Bounds are the transports'. Owned by the pane.
class ConnectionController final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ConnectionController)

public:
    using SerialLine = ::SerialLine;
    using UdpPeer = UdpPeerTable::Peer;
    using UdpDatagram = ::UdpDatagram;

    // Former transports whose last bytes are leaving; one more ends the first.
    static constexpr std::size_t kMaxFormer = 4;

    explicit ConnectionController(QObject* parent = nullptr);
    ~ConnectionController() override;

    // Whether this program can open a connection of the mode.
    [[nodiscard]] static bool carries(connectionMode mode) { return isCarried(mode); }

    // Opens what the settings name; see Transport::open. The levels of DTR and RTS are those that
    // were requested here.
    bool open(const Settings& settings, Transport::OpenMode how);
    // Of an open connection of the settings' mode: see Transport::apply.
    void apply(const Settings& settings);
    // The present one; null before the first was opened. transportChanged() tells of another.
    [[nodiscard]] Transport* transport() const { return m_transport.get(); }
    // Also over a change of the transport.
    [[nodiscard]] ReadHold holdReading();

    // Serial port; see SerialTransport. `displayName` is how messages call the port.
    bool openSerial(
        const Settings& settings, const QString& portName, const QString& displayName, bool quiet);
    bool sendSerial(const QByteArray& data, const Settings& settings, const QString& portName);
    // Stores a DTR or RTS level for now and every later open; drives it when the port is open.
    bool setSerialLine(SerialLine line, bool on);
    [[nodiscard]] bool serialLineRequested(SerialLine line) const;
    bool applySerialLine(SerialLine line, bool on, bool report);
    // For reading its settings; null when the transport is another.
    [[nodiscard]] const QSerialPort* serialPort() const;
    // Whether a device that vanishes is closed and reported by serialPortLost().
    void setAutoReconnect(bool on);
    [[nodiscard]] bool autoReconnect() const { return m_autoReconnect; }
    // Otherwise who hears of it by serialErrorOccurred() ends the connection here.
    void closeLostSerial();

    // TCP client; see TcpClientTransport. Sending and what follows serve RFC 2217 as well, with
    // payload.
    void connectTcpClient(const QString& host, quint16 port);
    bool sendTcpClient(const QByteArray& data);
    void onTcpClientConnected();
    // Discards the socket without a signal.
    void teardownTcpClient();
    // Whether an attempt or a connection exists.
    [[nodiscard]] bool hasTcpClient() const;

    // TCP server; see TcpServerTransport. Listening anew, also on the same port, closes every
    // client first. Port 0 lets the system choose; a failure is reported by errorOccurred.
    void listenTcpServer(quint16 port, const QHostAddress& address);
    // To every client: the size of the data when at least one took it, otherwise 0.
    qint64 broadcastTcpServer(const QByteArray& data);
    bool sendTcpServerTo(const QString& peerKey, const QByteArray& data);
    // `clientIndex` counts in the order of arrival, from 0. Another one names nobody, and a status
    // message says so.
    bool sendTcpServer(const QByteArray& data, int clientIndex);
    // Both are for clients that come from now on, and for every later listening.
    void setTcpServerFanout(FanoutMode mode);
    void setAllowedPeers(const QList<QString>& entries);
    // What the client sent and nobody has taken yet.
    QByteArray serverMessageFor(const QString& peerKey);
    void disconnectTcpServerClient(const QString& peerKey);
    // Where clients find the server: "127.0.0.1:6000", with "*" for every address of the machine;
    // empty while it does not listen.
    [[nodiscard]] QString tcpServerAddressString() const;
    // 0 while it does not listen.
    [[nodiscard]] quint16 tcpServerPort() const;
    [[nodiscard]] QStringList tcpServerClients() const;

    // UDP; see UdpTransport.
    void bindUdp(quint16 port);
    QList<UdpDatagram> readUdpDatagrams();
    bool sendUdp(const QByteArray& data, const QString& host, quint16 port);
    bool sendUdpToPeer(const QByteArray& data, int row);
    bool sendUdpToPeerKey(const QString& key, const QByteArray& data);
    bool sendUdpToLastSender(const QByteArray& data);
    qint64 broadcastUdp(const QByteArray& data);
    [[nodiscard]] QByteArray udpMessageFor(int row) const;
    [[nodiscard]] QList<UdpPeer> udpPeers() const;
    void clearUdpPeers();
    [[nodiscard]] static QString udpPeerKey(const QHostAddress& address, quint16 port);
    // The port that the UDP socket is bound to; 0 when it is not.
    [[nodiscard]] quint16 udpLocalPort() const;

    // All transports. A TCP client is open once connected; while it is connecting, it is not.
    [[nodiscard]] bool isOpen(connectionMode mode) const;
    // Everything received by a stream transport, nothing while reads are throttled. UDP is read
    // with readUdpDatagrams(), a server with serverMessageFor(). Also hands out what a lost
    // connection left behind.
    QByteArray readAvailable(connectionMode mode);
    // Bytes accepted for sending that have not left; see Transport::pendingBytes.
    [[nodiscard]] qint64 pendingWriteBytes(connectionMode mode) const;
    void closeAll(connectionMode mode, const QString& displayName);

    // Back-pressure: while on, the device or socket buffers 4096 bytes and the rest waits at the
    // sender. Switched off with bytes waiting, readyRead() follows at once.
    void setReadThrottled(connectionMode mode, bool on);
    [[nodiscard]] bool isReadThrottled() const { return m_holds > 0; }
    void setBridgeSocketTuning(bool on);
    void tuneTcpSocket(QTcpSocket* socket) const;

Q_SIGNALS:
    void statusMessage(const QString& text, int timeoutMs);
    void errorOccurred(const QString& text);
    void readyRead();
    void serialPortLost();
    // What an open serial port reports, after a loss was dealt with.
    void serialErrorOccurred(QSerialPort::SerialPortError error);
    void tcpClientDisconnected();
    // A client of the TCP server came, or (empty key) the TCP client connected.
    void peerArrived(const QString& peerKey);
    // A client of the TCP server left; what it sent was announced before.
    void peerLost(const QString& peerKey);
    void serverConnectionsChanged();
    // A client of the TCP server sent something: serverMessageFor() has it.
    void serverMessage(const QString& peerKey);
    void udpReadyRead();
    void udpPeersChanged();
    // What is known of the port behind an RFC 2217 server, one value a line; empty when nothing is.
    void remoteSummaryChanged(const QString& summary);
    // So many bytes have left this machine.
    void bytesWritten(qint64 bytes);
    // The same, of TCP server and UDP, with the peer they are for.
    void bytesWrittenTo(const QString& peerKey, qint64 bytes);
    // So many bytes were taken for sending and will never leave.
    void bytesDiscarded(const QString& peerKey, qint64 bytes);
    // The life of the connection, as its transport tells it; closing() is the last moment in which
    // it can be written to.
    void opened();
    void closing();
    void closed(const CloseReason& reason);
    // What statusMessage() and errorOccurred() say, whole.
    void noticed(const Notice& notice);
    void transportChanged();

private:
    Transport* prepare(connectionMode mode);
    void retire(std::unique_ptr<Transport> former);
    void wire(Transport& transport);
    void wireCounts(const Transport& transport);
    void tell(const Notice& notice);
    void wireServer(const TcpServerTransport& server);
    void onClosed(const CloseReason& reason);
    [[nodiscard]] bool matches(connectionMode mode) const;
    [[nodiscard]] SerialTransport* serial() const;
    [[nodiscard]] TcpServerTransport* server() const;
    [[nodiscard]] UdpTransport* udp() const;

    std::unique_ptr<Transport> m_transport;
    std::vector<std::unique_ptr<Transport>> m_former; // at most kMaxFormer
    int m_holds = 0;
    ReadHold m_transportHold; // while m_holds is not 0 and there is a transport
    ReadHold m_throttle;      // setReadThrottled's
    QString m_summary;
    FanoutMode m_fanout = FanoutMode::Shared;
    QList<QString> m_allowedPeers;
    bool m_dtrRequested = true;
    bool m_rtsRequested = true;
    bool m_autoReconnect = false;
    bool m_bridgeTuning = false;
};
