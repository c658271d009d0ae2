#include "terminal/port/transportreader.h"

#include "connections/connectioncontroller.h"
#include "terminal/port/receivepipeline.h"

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
        [this](bool on) { m_viewHold = on ? m_controller.holdReading() : ReadHold(); });
}

TransportReader::~TransportReader() = default;

void TransportReader::readStream()
{
    m_receive.ingestRx(m_controller.readAvailable(m_settings.connMode), true, {});
}

void TransportReader::readDatagrams()
{
    for (const ConnectionController::UdpDatagram& datagram : m_controller.readUdpDatagrams())
        m_receive.ingestRx(datagram.payload, false, datagram.peerKey);
}

// Clients of a server are records of their own, as datagrams are: joined while the view is paused,
// the bytes of one would continue those of another.
void TransportReader::readServerClient(const QString& peerKey)
{
    m_receive.ingestRx(m_controller.serverMessageFor(peerKey), false, peerKey);
}
