// The last steps of the sent road: from bytes to the transport that is open.
#include "connections/connectioncontroller.h"
#include "terminal/port/liveport.h"
#include "terminal/port/remoteseriallink.h"

// A message to a closed port opens it first. TCP keeps the bytes until the connection stands, UDP
// while the address of the host is looked up; a server is not started by a message.
SendPipeline::Written LivePort::write(const QByteArray& bytes)
{
    if (!isActive() && m_settings.connMode != connectionMode::TcpServer && !start(false))
        return SendPipeline::Written::Refused;
    if (!writeMessage(bytes))
        return SendPipeline::Written::Refused;
    const connectionMode mode = active().connMode;
    const bool waits = connectionModeIsUdp(mode) && m_controller->pendingWriteBytes(mode, {}) > 0;
    return isOpen() && !waits ? SendPipeline::Written::Taken : SendPipeline::Written::Kept;
}

bool LivePort::writeMessage(const QByteArray& bytes)
{
    const Settings& now = active();
    switch (now.connMode) {
    case connectionMode::SerialPort:
        return isOpen() && m_controller->sendSerial(bytes, now, now.portName);
    case connectionMode::TcpClient:
        return m_controller->sendTcpClient(bytes);
    case connectionMode::RemoteSerialRfc2217:
        return m_remote->sendPayload(bytes);
    case connectionMode::TcpServer:
        return writeToClients(bytes);
    case connectionMode::UdpServer:
    case connectionMode::UdpClient:
    case connectionMode::UdpMode6:
        return writeDatagram(bytes);
    case connectionMode::NoTransport:
    case connectionMode::RemoteSerialCloudRelay:
        break;
    }
    return false;
}

// Without a choice the only client is meant. With several of them a guess could reach a machine
// that the message is not for.
bool LivePort::writeToClients(const QByteArray& bytes)
{
    const QStringList clients = m_controller->tcpServerClients();
    if (m_target == Target::All && !clients.isEmpty())
        return m_controller->broadcastTcpServer(bytes) > 0;
    if (m_target == Target::Own && clients.size() > 1) {
        Q_EMIT noticed({tr("Several TCP clients are connected: nothing was sent. Choose whom to "
                           "send to"),
            {}, Notice::Gravity::Warning, kHintMs});
        return false;
    }
    const QString peer = m_target == Target::Own ? clients.value(0) : m_targetPeer;
    // No index: the controller tells the person that nobody is there to send to.
    return m_controller->sendTcpServer(bytes, static_cast<int>(clients.indexOf(peer)));
}

bool LivePort::writeDatagram(const QByteArray& bytes)
{
    const Settings& now = active();
    if (now.connMode != connectionMode::UdpServer) {
        return m_controller->sendUdp(bytes, now.targetHost, static_cast<quint16>(now.targetPort));
    }
    // No row: the controller tells the person that nobody has been heard yet.
    if (m_controller->udpPeers().isEmpty())
        return m_controller->sendUdpToPeer(bytes, -1);
    switch (m_target) {
    case Target::Own:
        return m_controller->sendUdpToLastSender(bytes);
    case Target::All:
        return m_controller->broadcastUdp(bytes) > 0;
    case Target::Peer:
        break;
    }
    return m_controller->sendUdpToPeerKey(m_targetPeer, bytes);
}

bool LivePort::sendBytes(const QByteArray& bytes)
{
    return isOpen() && m_send->sendMessage(bytes);
}

void LivePort::setTarget(Target target, const QString& peerKey)
{
    m_target = target;
    m_targetPeer = peerKey;
}

qint64 LivePort::sentBytes() const
{
    return m_send->sentBytes();
}

qint64 LivePort::pendingBytes() const
{
    const QString peer = m_target == Target::Peer ? m_targetPeer : QString();
    return m_controller->pendingWriteBytes(active().connMode, peer) + m_remote->waitingBytes();
}
