#include "terminal/port/transportwriter.h"

#include "connections/connectioncontroller.h"

TransportWriter::TransportWriter(ConnectionController& controller, const Settings& settings)
    : m_controller(controller)
    , m_settings(settings)
{}

bool TransportWriter::isOpen() const
{
    return m_controller.isOpen(m_settings.connMode);
}

bool TransportWriter::sendMessage(const QByteArray& bytes)
{
    if (bytes.isEmpty())
        return false;
    const Settings settings = m_settings.sanitized();
    switch (settings.connMode) {
    case connectionMode::SerialPort:
        return m_controller.sendSerial(bytes, settings, settings.portName);
    case connectionMode::TcpClient:
    case connectionMode::RemoteSerialRfc2217:
        return sendTcpMessage(bytes, settings);
    case connectionMode::UdpServer:
    case connectionMode::UdpClient:
    case connectionMode::UdpMode6:
        return sendUdpMessage(bytes, settings);
    case connectionMode::TcpServer:
        return sendServerMessage(bytes);
    case connectionMode::NoTransport:
    case connectionMode::RemoteSerialCloudRelay:
        break;
    }
    return false;
}

bool TransportWriter::sendTcpMessage(const QByteArray& bytes, const Settings& settings)
{
    if (!m_controller.hasTcpClient())
        m_controller.open(settings, Transport::OpenMode::Asked);
    return m_controller.sendTcpClient(bytes);
}

bool TransportWriter::sendServerMessage(const QByteArray& bytes)
{
    const QStringList clients = m_controller.tcpServerClients();
    if (m_selectedPeer.isEmpty() && !clients.isEmpty())
        return m_controller.broadcastTcpServer(bytes) > 0;
    // No index: the controller tells the person that nobody is there to send to.
    return m_controller.sendTcpServer(bytes, static_cast<int>(clients.indexOf(m_selectedPeer)));
}

bool TransportWriter::sendUdpMessage(const QByteArray& bytes, const Settings& settings)
{
    const bool server = settings.connMode == connectionMode::UdpServer;
    if (!m_controller.isOpen(settings.connMode))
        m_controller.open(settings, Transport::OpenMode::Asked);
    if (!m_controller.isOpen(settings.connMode))
        return false;
    return server ? answerUdpPeer(bytes)
                  : writeUdp(bytes, settings, UdpTargetMode::ConfiguredRemote);
}

bool TransportWriter::answerUdpPeer(const QByteArray& bytes)
{
    // No row: the controller tells the person that nobody has been heard yet.
    if (m_controller.udpPeers().isEmpty())
        return m_controller.sendUdpToPeer(bytes, -1);
    if (m_selectedPeer.isEmpty())
        return writeUdp(
            bytes, {}, m_toAllUdpPeers ? UdpTargetMode::Broadcast : UdpTargetMode::LastSender);
    return m_controller.sendUdpToPeerKey(m_selectedPeer, bytes);
}

qint64 TransportWriter::writeRaw(
    const QByteArray& bytes, UdpTargetMode target, const QString& peerKey)
{
    const Settings settings = m_settings.sanitized();
    if (bytes.isEmpty() || !m_controller.isOpen(settings.connMode))
        return 0;
    bool taken = false;
    if (settings.connMode == connectionMode::SerialPort)
        taken = m_controller.sendSerial(bytes, settings, settings.portName);
    else if (connectionModeIsTcpClient(settings.connMode))
        taken = m_controller.sendTcpClient(bytes);
    else if (settings.connMode == connectionMode::TcpServer)
        taken = peerKey.isEmpty() ? m_controller.broadcastTcpServer(bytes) > 0
                                  : m_controller.sendTcpServerTo(peerKey, bytes);
    else if (connectionModeIsUdp(settings.connMode))
        taken = peerKey.isEmpty() ? writeUdp(bytes, settings, target)
                                  : m_controller.sendUdpToPeerKey(peerKey, bytes);
    return taken ? bytes.size() : 0;
}

bool TransportWriter::writeUdp(
    const QByteArray& bytes, const Settings& settings, UdpTargetMode target)
{
    switch (target) {
    case UdpTargetMode::LastSender:
        return m_controller.sendUdpToLastSender(bytes);
    case UdpTargetMode::ConfiguredRemote:
        return m_controller.sendUdp(
            bytes, settings.targetHost, static_cast<quint16>(settings.targetPort));
    case UdpTargetMode::Broadcast:
        return m_controller.broadcastUdp(bytes) > 0;
    }
    return false;
}
