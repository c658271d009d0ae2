#pragma once

#include "connections/multiclientserver.h"
#include "connections/seriallink.h"
#include "connections/tcpclientlink.h"
#include "connections/udplink.h"

// The transport of one pane. Hides from the pane which of them carries its bytes: every operation
// that several share takes the connection mode of the pane's settings.
//
// A façade: each kind of transport is a link class of its own, and the controller owns one of each
// and forwards. It never decides when to connect; the pane does, and hears back through signals.
// A mode that no link carries is closed: it does not open, reads nothing and sends nothing.
// Bounds are the links' own. Owned by the pane; everything runs on its thread.
class ConnectionController final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ConnectionController)

public:
    using SerialLine = ::SerialLine;
    using UdpPeer = UdpPeerTable::Peer;
    using UdpDatagram = ::UdpDatagram;

    explicit ConnectionController(QObject* parent = nullptr);
    ~ConnectionController() override;

    // Whether this program can open a connection of the mode. The bytes of RFC 2217 pass through
    // the TCP client as they are; the pane speaks the protocol.
    [[nodiscard]] static bool carries(connectionMode mode);

    // Serial port; see SerialLink. `displayName` is how messages call the port.
    bool openSerial(
        const Settings& settings, const QString& portName, const QString& displayName, bool quiet);
    // Changes the line parameters of an open port in place.
    void reconfigureSerial(const Settings& settings);
    bool sendSerial(const QByteArray& data, const Settings& settings, const QString& portName);
    // Stores a DTR or RTS level for now and every later open; drives it when the port is open.
    bool setSerialLine(SerialLine line, bool on);
    [[nodiscard]] bool serialLineRequested(SerialLine line) const;
    bool applySerialLine(SerialLine line, bool on, bool report);
    // The modem lines now, from the driver; none when the port is closed.
    QSerialPort::PinoutSignals serialPinoutSignals();
    [[nodiscard]] bool tellsSerialPinout() const { return m_serial.tellsPinout(); }
    // For reading its settings and watching its errors; lives as long as the controller.
    [[nodiscard]] const QSerialPort* serialPort() const { return &m_serial.port(); }
    void setAutoReconnect(bool on);
    [[nodiscard]] bool autoReconnect() const { return m_serial.autoReconnect(); }

    // TCP client, also below RFC 2217; see TcpClientLink.
    void connectTcpClient(const QString& host, quint16 port);
    bool sendTcpClient(const QByteArray& data);
    void onTcpClientConnected();
    // Discards the socket without a signal.
    void teardownTcpClient();
    // Whether an attempt or a connection exists.
    [[nodiscard]] bool hasTcpClient() const { return m_tcpClient.hasSocket(); }

    // TCP server; see MultiClientServer. Listening anew, also on the same port, closes every
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

    // UDP; see UdpLink.
    void bindUdp(quint16 port);
    QList<UdpDatagram> readUdpDatagrams();
    bool sendUdp(const QByteArray& data, const QString& host, quint16 port);
    bool sendUdpToPeer(const QByteArray& data, int row);
    bool sendUdpToPeerKey(const QString& key, const QByteArray& data);
    bool sendUdpToLastSender(const QByteArray& data);
    qint64 broadcastUdp(const QByteArray& data);
    [[nodiscard]] QByteArray udpMessageFor(int row) const;
    [[nodiscard]] const QList<UdpPeer>& udpPeers() const { return m_udp.peerTable().peers(); }
    void clearUdpPeers();
    [[nodiscard]] static QString udpPeerKey(const QHostAddress& address, quint16 port);
    // The port that the UDP socket is bound to; 0 when it is not.
    [[nodiscard]] quint16 udpLocalPort() const { return m_udp.localPort(); }

    // All transports. A TCP client is open once connected; while it is connecting, it is not.
    [[nodiscard]] bool isOpen(connectionMode mode) const;
    // Everything received by a stream transport, nothing while reads are throttled. UDP is read
    // with readUdpDatagrams(), a server with serverMessageFor(). Also hands out what a lost
    // connection left behind.
    QByteArray readAvailable(connectionMode mode);
    // Bytes accepted for sending that have not left: what waits here and, of a serial port, in its
    // driver. Of a server, what waits for that client; without a key, for the one that is ahead of
    // all: who paces what everybody gets must not wait for one that does not read.
    [[nodiscard]] qint64 pendingWriteBytes(connectionMode mode, const QString& peerKey = {}) const;
    void closeAll(connectionMode mode, const QString& displayName);

    // Back-pressure: while on, the device or socket buffers 4096 bytes and the rest waits at the
    // sender. Switched off with bytes waiting, readyRead() follows at once.
    void setReadThrottled(connectionMode mode, bool on);
    [[nodiscard]] bool isReadThrottled() const { return m_readThrottled; }
    void setBridgeSocketTuning(bool on);
    void tuneTcpSocket(QTcpSocket* socket) const;

Q_SIGNALS:
    void statusMessage(const QString& text, int timeoutMs);
    void errorOccurred(const QString& text);
    void readyRead();
    void serialPortLost();
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
    void bytesWritten(qint64 bytes);
    // So many bytes that had been taken for sending did not leave, because the connection ended.
    void bytesUnsent(qint64 bytes);
    // What waited for the address of its host: all of it left, or it never will.
    void udpWaitingLeft();
    void udpWaitingLost();
    // The same as bytesWritten(), of TCP server and UDP, with the peer they are for.
    void bytesWrittenTo(const QString& peerKey, qint64 bytes);

private:
    void createServer();
    void tellServerFailures();
    void fail(const QString& text);
    template<typename Link>
    void forwardCommonSignals(Link& link);

    SerialLink m_serial;
    TcpClientLink m_tcpClient;
    UdpLink m_udp;
    std::unique_ptr<MultiClientServer> m_server; // made when it first listens
    FanoutMode m_fanout = FanoutMode::Shared;
    QList<QString> m_allowedPeers;
    bool m_readThrottled = false;
    bool m_bridgeTuning = false;
};
