#include "terminal/port/transportreader.h"

#include "connections/connectioncontroller.h"
#include "terminal/port/receivepipeline.h"

#include <utility>

TransportReader::TransportReader(
    ConnectionController& controller, ReceivePipeline& receive, const Settings& settings)
    : m_controller(controller)
    , m_receive(receive)
    , m_settings(settings)
{
    connect(&controller, &ConnectionController::readyRead, this, &TransportReader::readStream);
    connect(
        &controller, &ConnectionController::udpReadyRead, this, &TransportReader::readDatagrams);
    connect(&controller, &ConnectionController::serverMessage, this,
        &TransportReader::readServerClient);
    connect(&controller, &ConnectionController::peerLost, &receive, &ReceivePipeline::forgetPeer);
    connect(&receive, &ReceivePipeline::throttleRequested, this,
        [this](bool on) { throttle(ReadGate::Reason::View, on); });
}

TransportReader::~TransportReader() = default;

void TransportReader::setRemoteDecoder(std::function<QByteArray(const QByteArray&)> decode)
{
    m_decode = std::move(decode);
}

void TransportReader::readStream()
{
    QByteArray bytes = m_controller.readAvailable(m_settings.connMode);
    if (m_decode && m_settings.connMode == connectionMode::RemoteSerialRfc2217)
        bytes = m_decode(bytes);
    m_receive.ingestRx(bytes, true, {});
}

void TransportReader::readDatagrams()
{
    // What is not read waits in the socket; the release of the gate comes back here.
    if (m_gate.isThrottled())
        return;
    for (const ConnectionController::UdpDatagram& datagram : m_controller.readUdpDatagrams())
        m_receive.ingestRx(datagram.payload, false, datagram.peerKey);
}

// Clients of a server are records of their own, as datagrams are: joined while the view is paused,
// the bytes of one would continue those of another.
void TransportReader::readServerClient(const QString& peerKey)
{
    m_receive.ingestRx(m_controller.serverMessageFor(peerKey), false, peerKey);
}

void TransportReader::throttle(ReadGate::Reason reason, bool on)
{
    if (!m_gate.set(reason, on))
        return;
    m_controller.setReadThrottled(m_settings.connMode, m_gate.isThrottled());
    if (!on && connectionModeIsUdp(m_settings.connMode))
        readDatagrams();
}
