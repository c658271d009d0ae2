#include "connections/connectioncontroller.h"

ConnectionController::ConnectionController(QObject* parent)
    : QObject(parent)
    , m_serial(this)
    , m_tcpClient(this)
    , m_udp(this)
{
    forwardCommonSignals(m_serial);
    connect(&m_serial, &SerialLink::readyRead, this, &ConnectionController::readyRead);
    connect(&m_serial, &SerialLink::lost, this, &ConnectionController::serialPortLost);

    forwardCommonSignals(m_tcpClient);
    connect(&m_tcpClient, &TcpClientLink::readyRead, this, &ConnectionController::readyRead);
    connect(
        &m_tcpClient, &TcpClientLink::connected, this, [this] { Q_EMIT peerArrived(QString()); });
    connect(&m_tcpClient, &TcpClientLink::disconnected, this,
        &ConnectionController::tcpClientDisconnected);

    forwardCommonSignals(m_udp);
    connect(&m_udp, &UdpLink::readyRead, this, &ConnectionController::udpReadyRead);
    connect(&m_udp, &UdpLink::peersChanged, this, &ConnectionController::udpPeersChanged);
}

ConnectionController::~ConnectionController() = default;

template<typename Link>
void ConnectionController::forwardCommonSignals(Link& link)
{
    connect(&link, &Link::statusMessage, this, &ConnectionController::statusMessage);
    connect(&link, &Link::errorOccurred, this, &ConnectionController::errorOccurred);
    connect(&link, &Link::bytesWritten, this, &ConnectionController::bytesWritten);
}

bool ConnectionController::carries(connectionMode mode)
{
    return mode == connectionMode::SerialPort || mode == connectionMode::TcpClient
           || connectionModeIsUdp(mode);
}

bool ConnectionController::openSerial(
    const Settings& settings, const QString& portName, const QString& displayName, bool quiet)
{
    return m_serial.open(settings, portName, displayName, quiet);
}

void ConnectionController::reconfigureSerial(const Settings& settings)
{
    m_serial.reconfigure(settings);
}

bool ConnectionController::sendSerial(
    const QByteArray& data, const Settings& settings, const QString& portName)
{
    return m_serial.send(data, settings, portName);
}

bool ConnectionController::setSerialLine(SerialLine line, bool on)
{
    return m_serial.setLine(line, on);
}

bool ConnectionController::serialLineRequested(SerialLine line) const
{
    return m_serial.lineRequested(line);
}

bool ConnectionController::applySerialLine(SerialLine line, bool on, bool report)
{
    return m_serial.applyLine(line, on, report);
}

QSerialPort::PinoutSignals ConnectionController::serialPinoutSignals()
{
    return m_serial.pinoutSignals();
}

void ConnectionController::setAutoReconnect(bool on)
{
    m_serial.setAutoReconnect(on);
}

void ConnectionController::connectTcpClient(const QString& host, quint16 port)
{
    m_tcpClient.connectTo(host, port);
}

bool ConnectionController::sendTcpClient(const QByteArray& data)
{
    return m_tcpClient.send(data);
}

void ConnectionController::onTcpClientConnected()
{
    m_tcpClient.flushPending();
}

void ConnectionController::teardownTcpClient()
{
    m_tcpClient.teardown();
}

void ConnectionController::bindUdp(quint16 port)
{
    m_udp.bind(port);
}

QList<UdpDatagram> ConnectionController::readUdpDatagrams()
{
    return m_udp.readDatagrams();
}

bool ConnectionController::sendUdp(const QByteArray& data, const QString& host, quint16 port)
{
    return m_udp.send(data, host, port);
}

bool ConnectionController::sendUdpToPeer(const QByteArray& data, int row)
{
    return m_udp.sendToPeer(data, row);
}

bool ConnectionController::sendUdpToPeerKey(const QString& key, const QByteArray& data)
{
    return m_udp.sendToPeerKey(key, data);
}

bool ConnectionController::sendUdpToLastSender(const QByteArray& data)
{
    return m_udp.sendToLastSender(data);
}

qint64 ConnectionController::broadcastUdp(const QByteArray& data)
{
    return m_udp.broadcast(data);
}

QByteArray ConnectionController::udpMessageFor(int row) const
{
    const UdpPeer* peer = m_udp.peerTable().at(row);
    return peer ? peer->lastDatagram : QByteArray();
}

void ConnectionController::clearUdpPeers()
{
    m_udp.clearPeers();
}

QString ConnectionController::udpPeerKey(const QHostAddress& address, quint16 port)
{
    return UdpPeerTable::keyOf(address, port);
}

bool ConnectionController::isOpen(connectionMode mode) const
{
    if (mode == connectionMode::SerialPort)
        return m_serial.isOpen();
    if (connectionModeIsTcpClient(mode))
        return m_tcpClient.isConnected();
    return connectionModeIsUdp(mode) && m_udp.isBound();
}

QByteArray ConnectionController::readAvailable(connectionMode mode)
{
    if (mode == connectionMode::SerialPort)
        return m_serial.readAvailable();
    return connectionModeIsTcpClient(mode) ? m_tcpClient.readAvailable() : QByteArray();
}

qint64 ConnectionController::pendingWriteBytes(connectionMode mode) const
{
    if (mode == connectionMode::SerialPort)
        return m_serial.pendingWriteBytes();
    if (connectionModeIsTcpClient(mode))
        return m_tcpClient.pendingWriteBytes();
    return connectionModeIsUdp(mode) ? m_udp.pendingWriteBytes() : 0;
}

void ConnectionController::closeAll(connectionMode mode, const QString& displayName)
{
    if (mode == connectionMode::SerialPort) {
        m_serial.close(displayName);
    } else if (connectionModeIsTcpClient(mode)) {
        if (m_tcpClient.teardown())
            Q_EMIT tcpClientDisconnected();
    } else if (connectionModeIsUdp(mode)) {
        m_udp.close();
    }
}

void ConnectionController::setReadThrottled(connectionMode mode, bool on)
{
    if (m_readThrottled == on)
        return;
    m_readThrottled = on;
    // Every stream follows, so that none stays throttled when the pane changes its mode meanwhile.
    m_serial.setReadThrottled(on);
    m_tcpClient.setReadThrottled(on);
    const bool waiting = (mode == connectionMode::SerialPort && m_serial.hasUnread())
                         || (connectionModeIsTcpClient(mode) && m_tcpClient.hasUnread());
    if (!on && waiting)
        Q_EMIT readyRead();
}

void ConnectionController::setBridgeSocketTuning(bool on)
{
    m_tcpClient.setBridgeTuning(on);
}

void ConnectionController::tuneTcpSocket(QTcpSocket* socket) const
{
    m_tcpClient.tune(socket);
}
