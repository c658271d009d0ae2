#include "connections/connectioncontroller.h"

#include "connections/rfc2217transport.h"
#include "connections/serialtransport.h"
#include "connections/tcpclienttransport.h"
#include "connections/tcpservertransport.h"
#include "connections/udptransport.h"

#include <QPointer>
#include <algorithm>
#include <utility>

ConnectionController::ConnectionController(QObject* parent)
    : QObject(parent)
{}

ConnectionController::~ConnectionController() = default;

SerialTransport* ConnectionController::serial() const
{
    return qobject_cast<SerialTransport*>(m_transport.get());
}

TcpServerTransport* ConnectionController::server() const
{
    return qobject_cast<TcpServerTransport*>(m_transport.get());
}

UdpTransport* ConnectionController::udp() const
{
    return qobject_cast<UdpTransport*>(m_transport.get());
}

// TCP clients are one kind to whoever asks, and so are the modes of UDP.
bool ConnectionController::matches(connectionMode mode) const
{
    if (!m_transport)
        return false;
    const connectionMode own = m_transport->mode();
    return own == mode || (connectionModeIsTcpClient(own) && connectionModeIsTcpClient(mode))
           || (connectionModeIsUdp(own) && connectionModeIsUdp(mode));
}

// A transport of the mode, the present one if it is; null when nothing carries the mode, or when
// somebody who heard of the former one's end made this impossible.
Transport* ConnectionController::prepare(connectionMode mode)
{
    if (m_transport && m_transport->mode() == mode)
        return m_transport.get();
    std::unique_ptr<Transport> made = makeTransport(mode);
    if (!made)
        return nullptr;
    const QPointer<ConnectionController> self(this);
    if (m_transport)
        m_transport->close();
    if (!self)
        return nullptr;
    m_transportHold.release();
    if (!self)
        return nullptr;
    if (auto former = std::exchange(m_transport, std::move(made)))
        retire(std::move(former));
    wire(*m_transport);
    m_transport->setBridgeTuning(m_bridgeTuning);
    if (m_holds > 0)
        m_transportHold = m_transport->holdReading();
    Q_EMIT transportChanged();
    return self ? m_transport.get() : nullptr;
}

// Its last bytes may still be leaving, which is heard of; nothing else of it is.
void ConnectionController::retire(std::unique_ptr<Transport> former)
{
    Transport* const each = former.get();
    each->disconnect(this);
    if (!each->isLingering()) {
        former.release()->deleteLater();
        return;
    }
    wireCounts(*each);
    connect(each, &Transport::lingered, this, [this, each] {
        const auto found = std::ranges::find(m_former, each, &std::unique_ptr<Transport>::get);
        if (found == m_former.end())
            return;
        found->release()->deleteLater();
        m_former.erase(found);
    });
    if (m_former.size() >= kMaxFormer)
        m_former.erase(m_former.begin());
    m_former.push_back(std::move(former));
}

void ConnectionController::wireCounts(const Transport& transport)
{
    connect(&transport, &Transport::left, this, [this](qint64 bytes, const QString& peer) {
        const QPointer<ConnectionController> self(this);
        Q_EMIT bytesWritten(bytes);
        if (self && !peer.isEmpty())
            Q_EMIT bytesWrittenTo(peer, bytes);
    });
    connect(&transport, &Transport::discarded, this,
        [this](qint64 bytes, const QString& peer) { Q_EMIT bytesDiscarded(peer, bytes); });
    connect(&transport, &Transport::noticed, this, &ConnectionController::tell);
}

void ConnectionController::tell(const Notice& notice)
{
    const QPointer<ConnectionController> self(this);
    Q_EMIT noticed(notice);
    if (self && notice.gravity == Notice::Gravity::Error)
        Q_EMIT errorOccurred(notice.fullText());
    if (self && notice.shownMs > 0)
        Q_EMIT statusMessage(notice.text, notice.shownMs);
}

void ConnectionController::wire(Transport& transport)
{
    wireCounts(transport);
    connect(&transport, &Transport::opened, this, &ConnectionController::opened);
    connect(&transport, &Transport::closing, this, &ConnectionController::closing);
    connect(&transport, &Transport::closed, this, &ConnectionController::onClosed);
    connect(&transport, &Transport::peerArrived, this, &ConnectionController::peerArrived);
    connect(&transport, &Transport::peerLost, this, &ConnectionController::peerLost);
    const connectionMode mode = transport.mode();
    connect(&transport, &Transport::readyRead, this,
        connectionModeIsUdp(mode) ? &ConnectionController::udpReadyRead
                                  : &ConnectionController::readyRead);
    connect(&transport, &Transport::peersChanged, this,
        connectionModeIsUdp(mode) ? &ConnectionController::udpPeersChanged
                                  : &ConnectionController::serverConnectionsChanged);
    if (connectionModeIsTcpClient(mode))
        connect(&transport, &Transport::opened, this, [this] { Q_EMIT peerArrived(QString()); });
    if (const auto* remote = qobject_cast<Rfc2217Transport*>(&transport)) {
        connect(remote, &Transport::linesChanged, this, [this, remote] {
            if (std::exchange(m_summary, remote->remoteSummary()) != m_summary)
                Q_EMIT remoteSummaryChanged(m_summary);
        });
    }
    if (auto* port = qobject_cast<SerialTransport*>(&transport)) {
        port->setClosesWhenLost(m_autoReconnect);
        connect(port, &SerialTransport::portErrorOccurred, this,
            &ConnectionController::serialErrorOccurred);
    }
    if (const auto* tcp = qobject_cast<TcpServerTransport*>(&transport))
        wireServer(*tcp);
}

// Who asks for messages by the client takes them from the server, past the transport.
void ConnectionController::wireServer(const TcpServerTransport& server)
{
    disconnect(&server, &Transport::readyRead, this, nullptr);
    connect(&server.server(), &MultiClientServer::newMessage, this,
        &ConnectionController::serverMessage);
}

void ConnectionController::onClosed(const CloseReason& reason)
{
    const QPointer<ConnectionController> self(this);
    const connectionMode mode = m_transport->mode();
    Q_EMIT closed(reason);
    if (!self)
        return;
    if (mode == connectionMode::SerialPort && reason.kind == CloseReason::Kind::Lost
        && m_autoReconnect)
        Q_EMIT serialPortLost();
    else if (connectionModeIsTcpClient(mode) && reason.kind != CloseReason::Kind::Failed)
        Q_EMIT tcpClientDisconnected();
}

bool ConnectionController::open(const Settings& settings, Transport::OpenMode how)
{
    Transport* transport = prepare(settings.connMode);
    if (!transport)
        return false;
    if (auto* tcp = qobject_cast<TcpServerTransport*>(transport)) {
        tcp->server().setFanoutMode(m_fanout);
        tcp->server().setAllowedPeers(m_allowedPeers);
    }
    Settings own = settings;
    own.dtrOn = settings.connMode == connectionMode::SerialPort ? m_dtrRequested : settings.dtrOn;
    own.rtsOn = settings.connMode == connectionMode::SerialPort ? m_rtsRequested : settings.rtsOn;
    return transport->open(own, how);
}

void ConnectionController::apply(const Settings& settings)
{
    if (!m_transport || m_transport->mode() != settings.connMode)
        return;
    Settings own = settings;
    if (serial()) {
        own.dtrOn = m_dtrRequested;
        own.rtsOn = m_rtsRequested;
    }
    m_transport->apply(own);
}

bool ConnectionController::openSerial(
    const Settings& settings, const QString& portName, const QString& displayName, bool quiet)
{
    Settings named = settings;
    named.connMode = connectionMode::SerialPort;
    if (!portName.isEmpty())
        named.portName = portName;
    if (auto* port = qobject_cast<SerialTransport*>(prepare(connectionMode::SerialPort)))
        port->setDisplayName(displayName);
    return open(named, quiet ? Transport::OpenMode::Quiet : Transport::OpenMode::Asked);
}

bool ConnectionController::sendSerial(
    const QByteArray& data, const Settings& settings, const QString& portName)
{
    if (!isOpen(connectionMode::SerialPort) && !openSerial(settings, portName, portName, false))
        return false;
    return serial() && serial()->write(data).taken();
}

bool ConnectionController::setSerialLine(SerialLine line, bool on)
{
    if (line == SerialLine::Dtr)
        m_dtrRequested = on;
    else if (line == SerialLine::Rts)
        m_rtsRequested = on;
    if (isOpen(connectionMode::SerialPort))
        return serial()->setLine(line, on) == SerialLines::Answer::Driven;
    if (line != SerialLine::Break)
        return true;
    if (on)
        tell(Notice::info(tr("Open the serial port before sending Break")));
    return !on;
}

bool ConnectionController::serialLineRequested(SerialLine line) const
{
    return line == SerialLine::Dtr   ? m_dtrRequested
           : line == SerialLine::Rts ? m_rtsRequested
                                     : serial() && serial()->requested(line);
}

bool ConnectionController::applySerialLine(SerialLine line, bool on, bool report)
{
    return serial() && serial()->driveLine(line, on, report);
}

const QSerialPort* ConnectionController::serialPort() const
{
    return serial() ? &serial()->port() : nullptr;
}

void ConnectionController::setAutoReconnect(bool on)
{
    m_autoReconnect = on;
    if (SerialTransport* port = serial())
        port->setClosesWhenLost(on);
}

void ConnectionController::closeLostSerial()
{
    if (SerialTransport* port = serial())
        port->closeLost();
}

void ConnectionController::connectTcpClient(const QString& host, quint16 port)
{
    if (hasTcpClient())
        return;
    Settings settings;
    settings.connMode = connectionMode::TcpClient;
    settings.targetHost = host;
    settings.targetPort = port;
    open(settings, Transport::OpenMode::Asked);
}

bool ConnectionController::sendTcpClient(const QByteArray& data)
{
    return hasTcpClient() && m_transport->write(data).taken();
}

void ConnectionController::onTcpClientConnected()
{
    if (auto* tcp = qobject_cast<TcpClientTransport*>(m_transport.get()))
        tcp->flushPending();
}

bool ConnectionController::hasTcpClient() const
{
    return matches(connectionMode::TcpClient) && m_transport->state() != Transport::State::Closed;
}

void ConnectionController::teardownTcpClient()
{
    if (!matches(connectionMode::TcpClient))
        return;
    m_transport->disconnect(this);
    m_transportHold = {};
    m_transport.reset();
}

void ConnectionController::listenTcpServer(quint16 port, const QHostAddress& address)
{
    const QPointer<ConnectionController> self(this);
    if (isOpen(connectionMode::TcpServer))
        m_transport->close();
    auto* tcp =
        self ? qobject_cast<TcpServerTransport*>(prepare(connectionMode::TcpServer)) : nullptr;
    if (!tcp)
        return;
    tcp->setAddress(address);
    Settings settings;
    settings.connMode = connectionMode::TcpServer;
    settings.targetPort = port;
    open(settings, Transport::OpenMode::Asked);
}

qint64 ConnectionController::broadcastTcpServer(const QByteArray& data)
{
    return server() ? server()->server().broadcast(data) : 0;
}

bool ConnectionController::sendTcpServerTo(const QString& peerKey, const QByteArray& data)
{
    return server() && server()->server().writeTo(peerKey, data);
}

bool ConnectionController::sendTcpServer(const QByteArray& data, int clientIndex)
{
    const QStringList clients = tcpServerClients();
    if (clientIndex >= 0 && clientIndex < clients.size())
        return sendTcpServerTo(clients.at(clientIndex), data);
    if (!data.isEmpty()) {
        tell(Notice::info(
            clients.isEmpty()
                ? tr("No TCP client is connected: nothing was sent")
                : tr("The chosen TCP client is gone: nothing was sent. Choose whom to send to")));
    }
    return false;
}

void ConnectionController::setTcpServerFanout(FanoutMode mode)
{
    m_fanout = mode;
    if (server())
        server()->server().setFanoutMode(mode);
}

void ConnectionController::setAllowedPeers(const QList<QString>& entries)
{
    m_allowedPeers = entries;
    if (server())
        server()->server().setAllowedPeers(entries);
}

QByteArray ConnectionController::serverMessageFor(const QString& peerKey)
{
    return server() ? server()->server().takeMessage(peerKey) : QByteArray();
}

void ConnectionController::disconnectTcpServerClient(const QString& peerKey)
{
    if (server())
        server()->server().disconnectClient(peerKey);
}

QString ConnectionController::tcpServerAddressString() const
{
    return server() ? server()->addressText() : QString();
}

quint16 ConnectionController::tcpServerPort() const
{
    return server() ? server()->server().serverPort() : 0;
}

QStringList ConnectionController::tcpServerClients() const
{
    return server() ? server()->peers() : QStringList();
}

void ConnectionController::bindUdp(quint16 port)
{
    const QPointer<ConnectionController> self(this);
    Settings settings;
    settings.connMode = udp() ? m_transport->mode() : connectionMode::UdpClient;
    settings.udpLocalPort = port;
    settings.udpServerPort = port;
    if (udp())
        m_transport->close();
    if (self)
        open(settings, Transport::OpenMode::Asked);
}

QList<UdpDatagram> ConnectionController::readUdpDatagrams()
{
    QList<UdpDatagram> datagrams;
    const QPointer<ConnectionController> self(this);
    Chunk chunk;
    while (self && udp() && udp()->takeChunk(chunk))
        datagrams.append({chunk.peer, chunk.bytes});
    return datagrams;
}

bool ConnectionController::sendUdp(const QByteArray& data, const QString& host, quint16 port)
{
    return udp() && udp()->sendTo(data, host, port).taken();
}

bool ConnectionController::sendUdpToPeer(const QByteArray& data, int row)
{
    if (!udp())
        return false;
    const WriteResult result = udp()->sendToRow(data, row);
    if (result.refusal == WriteResult::Refusal::NoPeer)
        tell(Notice::info(result.reason));
    return result.taken();
}

bool ConnectionController::sendUdpToPeerKey(const QString& key, const QByteArray& data)
{
    const int row = udp() ? udp()->peerTable().rowOf(key) : -1;
    return row >= 0 && sendUdpToPeer(data, row);
}

bool ConnectionController::sendUdpToLastSender(const QByteArray& data)
{
    return udp() && sendUdpToPeer(data, udp()->peerTable().lastSenderRow());
}

qint64 ConnectionController::broadcastUdp(const QByteArray& data)
{
    return udp() ? udp()->broadcast(data) : 0;
}

QByteArray ConnectionController::udpMessageFor(int row) const
{
    const UdpPeer* peer = udp() ? udp()->peerTable().at(row) : nullptr;
    return peer ? peer->lastDatagram : QByteArray();
}

QList<ConnectionController::UdpPeer> ConnectionController::udpPeers() const
{
    return udp() ? udp()->peerTable().peers() : QList<UdpPeer>();
}

void ConnectionController::clearUdpPeers()
{
    if (udp())
        udp()->clearPeers();
}

QString ConnectionController::udpPeerKey(const QHostAddress& address, quint16 port)
{
    return UdpPeerTable::keyOf(address, port);
}

quint16 ConnectionController::udpLocalPort() const
{
    return udp() ? udp()->localPort() : 0;
}

bool ConnectionController::isOpen(connectionMode mode) const
{
    return matches(mode) && m_transport->isOpen();
}

QByteArray ConnectionController::readAvailable(connectionMode mode)
{
    QByteArray bytes;
    if (!matches(mode) || server() || udp())
        return bytes;
    Chunk chunk;
    while (m_transport->takeChunk(chunk))
        bytes.append(chunk.bytes);
    return bytes;
}

qint64 ConnectionController::pendingWriteBytes(connectionMode mode) const
{
    return matches(mode) ? m_transport->pendingBytes() : 0;
}

void ConnectionController::closeAll(connectionMode mode, const QString& displayName)
{
    if (SerialTransport* port = mode == connectionMode::SerialPort ? serial() : nullptr)
        port->setDisplayName(displayName);
    if (mode == connectionMode::SerialPort && !isOpen(mode))
        tell(Notice::info(SerialTransport::closedText(displayName)));
    else if (matches(mode))
        m_transport->close();
}

ReadHold ConnectionController::holdReading()
{
    if (++m_holds == 1 && m_transport)
        m_transportHold = m_transport->holdReading();
    return ReadHold([self = QPointer<ConnectionController>(this)] {
        if (self && --self->m_holds == 0)
            self->m_transportHold.release();
    });
}

void ConnectionController::setReadThrottled(connectionMode mode, bool on)
{
    // What waits is read by whoever has the mode, and that is who opened it.
    Q_UNUSED(mode)
    if (on == bool(m_throttle))
        return;
    if (on)
        m_throttle = holdReading();
    else
        m_throttle.release();
}

void ConnectionController::setBridgeSocketTuning(bool on)
{
    m_bridgeTuning = on;
    if (m_transport)
        m_transport->setBridgeTuning(on);
}

void ConnectionController::tuneTcpSocket(QTcpSocket* socket) const
{
    TcpClientTransport::tune(*socket, m_bridgeTuning, m_holds > 0);
}
