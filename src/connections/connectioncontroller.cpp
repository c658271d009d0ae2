#include "connections/connectioncontroller.h"

#include "connections/peerkey.h"

#include <QtDebug>
#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int failureMs = 5000;
constexpr int hintMs = 3000;

bool isAnyAddress(const QHostAddress& address)
{
    constexpr std::array specials{QHostAddress::Any, QHostAddress::AnyIPv4, QHostAddress::AnyIPv6};
    return std::ranges::any_of(
        specials, [&](QHostAddress::SpecialAddress special) { return address == special; });
}

} // namespace

ConnectionController::ConnectionController(QObject* parent)
    : QObject(parent)
    , m_serial(this)
    , m_tcpClient(this)
    , m_udp(this)
{
    forwardCommonSignals(m_serial);
    connect(&m_serial, &SerialLink::readyRead, this, &ConnectionController::readyRead);
    connect(&m_serial, &SerialLink::unsent, this, &ConnectionController::bytesUnsent);
    connect(&m_tcpClient, &TcpClientLink::unsent, this, &ConnectionController::bytesUnsent);
    connect(&m_serial, &SerialLink::lost, this, &ConnectionController::serialPortLost);

    forwardCommonSignals(m_tcpClient);
    connect(&m_tcpClient, &TcpClientLink::readyRead, this, &ConnectionController::readyRead);
    connect(
        &m_tcpClient, &TcpClientLink::connected, this, [this] { Q_EMIT peerArrived(QString()); });
    connect(&m_tcpClient, &TcpClientLink::disconnected, this,
        &ConnectionController::tcpClientDisconnected);

    forwardCommonSignals(m_udp);
    connect(&m_udp, &UdpLink::unsent, this, &ConnectionController::bytesUnsent);
    connect(&m_udp, &UdpLink::waitingLeft, this, &ConnectionController::udpWaitingLeft);
    connect(&m_udp, &UdpLink::waitingLost, this, &ConnectionController::udpWaitingLost);
    connect(&m_udp, &UdpLink::readyRead, this, &ConnectionController::udpReadyRead);
    connect(&m_udp, &UdpLink::peersChanged, this, &ConnectionController::udpPeersChanged);
    connect(&m_udp, &UdpLink::bytesWrittenTo, this, &ConnectionController::bytesWrittenTo);
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
    return mode == connectionMode::SerialPort || mode == connectionMode::TcpServer
           || connectionModeIsTcpClient(mode) || connectionModeIsUdp(mode);
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

void ConnectionController::listenTcpServer(quint16 port, const QHostAddress& address)
{
    if (!m_server)
        createServer();
    m_server->stop();
    m_server->setBridgeSocketTuning(m_bridgeTuning);
    m_server->setReadThrottled(m_readThrottled);
    m_server->setFanoutMode(m_fanout);
    m_server->setAllowedPeers(m_allowedPeers);
    if (!m_server->start(port, address)) {
        fail(tr("TCP listen on port %1 FAILED: %2")
                 .arg(QString::number(port), m_server->errorString()));
    }
}

void ConnectionController::createServer()
{
    m_server = std::make_unique<MultiClientServer>();
    const MultiClientServer* server = m_server.get();
    connect(server, &MultiClientServer::connectionStateChange, this,
        &ConnectionController::serverConnectionsChanged);
    connect(server, &MultiClientServer::newMessage, this, &ConnectionController::serverMessage);
    connect(server, &MultiClientServer::clientGone, this, &ConnectionController::peerLost);
    connect(server, &MultiClientServer::clientArrived, this, &ConnectionController::peerArrived);
    connect(server, &MultiClientServer::bytesWritten, this, &ConnectionController::bytesWritten);
    connect(
        server, &MultiClientServer::bytesWrittenTo, this, &ConnectionController::bytesWrittenTo);
    connect(server, &MultiClientServer::connectionRefused, this,
        [this](const QString& peer, const QString& reason) {
            Q_EMIT statusMessage(tr("Refused %1: %2").arg(peer, reason), failureMs);
        });
    tellServerFailures();
}

void ConnectionController::tellServerFailures()
{
    const MultiClientServer* server = m_server.get();
    connect(server, &MultiClientServer::clientStalled, this,
        [this](const QString& peerKey, qint64 unsentBytes) {
            Q_EMIT statusMessage(tr("Disconnected %1: it does not read, %2 bytes did not reach it")
                                     .arg(peerKey, QString::number(unsentBytes)),
                failureMs);
        });
    connect(server, &MultiClientServer::bytesLost, this,
        [this](const QString& peerKey, qint64 unreadBytes, qint64 unsentBytes) {
            const QString text =
                unsentBytes > 0
                    ? tr("%1 left: %2 bytes did not reach it")
                          .arg(peerKey, QString::number(unsentBytes))
                    : tr("%1 left: %2 bytes that it had sent were dropped, nobody read them")
                          .arg(peerKey, QString::number(unreadBytes));
            Q_EMIT statusMessage(text, failureMs);
        });
    connect(server, &MultiClientServer::acceptFailed, this, [this](const QString& reason) {
        fail(tr("TCP port %1 can take no further client for now: %2")
                 .arg(QString::number(tcpServerPort()), reason));
    });
}

void ConnectionController::fail(const QString& text)
{
    qWarning().noquote() << text;
    Q_EMIT errorOccurred(text);
    Q_EMIT statusMessage(text, failureMs);
}

qint64 ConnectionController::broadcastTcpServer(const QByteArray& data)
{
    return m_server ? m_server->broadcast(data) : 0;
}

bool ConnectionController::sendTcpServerTo(const QString& peerKey, const QByteArray& data)
{
    return m_server && m_server->writeTo(peerKey, data);
}

bool ConnectionController::sendTcpServer(const QByteArray& data, int clientIndex)
{
    const QStringList clients = tcpServerClients();
    if (clientIndex >= 0 && clientIndex < clients.size())
        return m_server->writeTo(clients.at(clientIndex), data);
    if (!data.isEmpty()) {
        Q_EMIT statusMessage(
            clients.isEmpty()
                ? tr("No TCP client is connected: nothing was sent")
                : tr("The chosen TCP client is gone: nothing was sent. Choose whom to send to"),
            hintMs);
    }
    return false;
}

void ConnectionController::setTcpServerFanout(FanoutMode mode)
{
    m_fanout = mode;
    if (m_server)
        m_server->setFanoutMode(mode);
}

void ConnectionController::setAllowedPeers(const QList<QString>& entries)
{
    m_allowedPeers = entries;
    if (m_server)
        m_server->setAllowedPeers(entries);
}

QByteArray ConnectionController::serverMessageFor(const QString& peerKey)
{
    return m_server ? m_server->takeMessage(peerKey) : QByteArray();
}

void ConnectionController::disconnectTcpServerClient(const QString& peerKey)
{
    if (m_server)
        m_server->disconnectClient(peerKey);
}

QString ConnectionController::tcpServerAddressString() const
{
    if (!m_server || !m_server->isListening())
        return {};
    const QHostAddress address = m_server->serverAddress();
    return isAnyAddress(address) ? u"*:%1"_s.arg(m_server->serverPort())
                                 : peerKeyOf(address, m_server->serverPort());
}

quint16 ConnectionController::tcpServerPort() const
{
    return m_server ? m_server->serverPort() : 0;
}

QStringList ConnectionController::tcpServerClients() const
{
    return m_server ? m_server->clientKeys() : QStringList();
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
    if (mode == connectionMode::TcpServer)
        return m_server && m_server->isListening();
    return connectionModeIsUdp(mode) && m_udp.isBound();
}

QByteArray ConnectionController::readAvailable(connectionMode mode)
{
    if (mode == connectionMode::SerialPort)
        return m_serial.readAvailable();
    return connectionModeIsTcpClient(mode) ? m_tcpClient.readAvailable() : QByteArray();
}

qint64 ConnectionController::pendingWriteBytes(connectionMode mode, const QString& peerKey) const
{
    if (mode == connectionMode::SerialPort)
        return m_serial.pendingWriteBytes();
    if (connectionModeIsTcpClient(mode))
        return m_tcpClient.pendingWriteBytes();
    if (mode == connectionMode::TcpServer)
        return !m_server           ? 0
               : peerKey.isEmpty() ? m_server->pendingWriteBytes()
                                   : m_server->pendingWriteBytes(peerKey);
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
    } else if (mode == connectionMode::TcpServer && m_server) {
        m_server->stop();
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
    if (m_server)
        m_server->setReadThrottled(on);
    const bool waiting = (mode == connectionMode::SerialPort && m_serial.hasUnread())
                         || (connectionModeIsTcpClient(mode) && m_tcpClient.hasUnread());
    if (!on && waiting)
        Q_EMIT readyRead();
}

void ConnectionController::setBridgeSocketTuning(bool on)
{
    m_bridgeTuning = on;
    m_tcpClient.setBridgeTuning(on);
    if (m_server)
        m_server->setBridgeSocketTuning(on);
}

void ConnectionController::tuneTcpSocket(QTcpSocket* socket) const
{
    m_tcpClient.tune(socket);
}
