#include "bridge/bridgeend.h"

#include "connections/connectioncontroller.h"

BridgeEnd::BridgeEnd(PortEndpoint& endpoint, UdpTargetMode udpTarget)
    : m_endpoint(endpoint)
    , m_udpTarget(udpTarget)
{}

BridgeEnd::~BridgeEnd() = default;

void BridgeEnd::receive(const QByteArray& bytes, const QString& peer, qint64 nowMs)
{
    m_lastSender = peer;
    deliver(bytes, peer, nowMs);
}

void BridgeEnd::deliver(const QByteArray& payload, const QString& peer, qint64 nowMs)
{
    if (!payload.isEmpty() && m_deliver)
        m_deliver(payload, peer, nowMs);
}

BridgeWrite BridgeEnd::write(QByteArrayView payload, const QString& peer)
{
    const bool answersSender = peer.isEmpty() && m_udpTarget == UdpTargetMode::LastSender
                               && connectionModeIsUdp(m_endpoint.mode());
    return m_endpoint.write(payload, answersSender ? m_lastSender : peer, m_udpTarget);
}

void BridgeEnd::opened(qint64 /*nowMs*/) {}

void BridgeEnd::closed(qint64 /*nowMs*/)
{
    m_lastSender.clear();
}

void BridgeEnd::peerArrived(const QString& /*peer*/, qint64 /*nowMs*/) {}

void BridgeEnd::peerLost(const QString& peer, qint64 /*nowMs*/)
{
    if (peer == m_lastSender)
        m_lastSender.clear();
}

void BridgeEnd::tick(qint64 /*nowMs*/) {}

int BridgeEnd::nextTimeoutMs(qint64 /*nowMs*/) const
{
    return -1;
}

void BridgeEnd::hold(bool on)
{
    LivePort* port = m_endpoint.port();
    m_hold = on && port ? port->controller().holdReading() : ReadHold();
}
