#include "terminal/transportreader.h"

#include "connections/connectioncontroller.h"
#include "terminal/receivepipeline.h"

TransportReader::TransportReader(
    ConnectionController& controller, ReceivePipeline& receive, const Settings& settings)
    : m_controller(controller)
    , m_receive(receive)
    , m_settings(settings)
{
    connect(&controller, &ConnectionController::readyRead, this, &TransportReader::readStream);
    connect(
        &controller, &ConnectionController::udpReadyRead, this, &TransportReader::readDatagrams);
    connect(&receive, &ReceivePipeline::throttleRequested, this,
        [this](bool on) { throttle(ReadGate::Reason::View, on); });
}

TransportReader::~TransportReader() = default;

void TransportReader::readStream()
{
    m_receive.ingestRx(m_controller.readAvailable(m_settings.connMode), true, {});
}

void TransportReader::readDatagrams()
{
    // What is not read waits in the socket; the release of the gate comes back here.
    if (m_gate.isThrottled())
        return;
    for (const ConnectionController::UdpDatagram& datagram : m_controller.readUdpDatagrams())
        m_receive.ingestRx(datagram.payload, false, datagram.peerKey);
}

void TransportReader::throttle(ReadGate::Reason reason, bool on)
{
    if (!m_gate.set(reason, on))
        return;
    m_controller.setReadThrottled(m_settings.connMode, m_gate.isThrottled());
    if (!on && connectionModeIsUdp(m_settings.connMode))
        readDatagrams();
}
