#include "bridge/portendpoint.h"

#include "connections/connectioncontroller.h"

#include <utility>

using Refusal = WriteResult::Refusal;

PortEndpoint::PortEndpoint(LivePort& port, int number)
    : m_port(&port)
    , m_number(number)
    , m_wasOpen(port.isOpen())
{
    m_retry.setSingleShot(true);
    connect(&m_retry, &QTimer::timeout, this, &PortEndpoint::tryOpen);
    noteTrouble();
    const ConnectionController* controller = &port.controller();
    connect(controller, &ConnectionController::bytesWritten, this, &PortEndpoint::drained);
    connect(controller, &ConnectionController::bytesDiscarded, this,
        [this](const QString&, qint64 bytes) { Q_EMIT discarded(bytes); });
    connect(controller, &ConnectionController::closed, this, &PortEndpoint::onClosed);
    connect(&port, &LivePort::stateChanged, this, [this] {
        noteTrouble();
        const bool open = isOpen();
        if (open != std::exchange(m_wasOpen, open)) {
            m_closedByWill = m_closedByWill && !open;
            open ? Q_EMIT opened() : Q_EMIT closed();
        }
        schedule();
        Q_EMIT changed();
    });
    connect(&port, &LivePort::recordsChanged, this, &PortEndpoint::changed);
    connect(&port, &LivePort::going, this, &PortEndpoint::leavePort);
}

PortEndpoint::~PortEndpoint() = default;

// While it goes it tells of many things, and must not be asked about them.
void PortEndpoint::leavePort()
{
    m_port->controller().disconnect(this);
    m_port->disconnect(this);
    m_port.clear();
    m_retry.stop();
    if (std::exchange(m_wasOpen, false))
        Q_EMIT closed();
    Q_EMIT changed();
}

QString PortEndpoint::name() const
{
    return m_port ? tr("Port %1 (%2)").arg(QString::number(m_number), m_port->summary())
                  : shortName();
}

connectionMode PortEndpoint::mode() const
{
    return m_port ? m_port->active().connMode : connectionMode::SerialPort;
}

SerialLines* PortEndpoint::serialLines() const
{
    return isOpen() ? m_port->transport()->serialLines() : nullptr;
}

QString PortEndpoint::trouble() const
{
    return !m_port || isOpen() || m_closedByWill ? QString() : m_trouble;
}

void PortEndpoint::noteTrouble()
{
    const ConnectionLife life = m_port->life();
    const QString error = m_port->lastError();
    if (life == ConnectionLife::Open)
        m_trouble.clear();
    else if (!error.isEmpty())
        m_trouble = error;
    else if (life == ConnectionLife::Lost)
        m_trouble = tr("The connection is lost.");
}

BridgeWrite PortEndpoint::write(
    QByteArrayView bytes, const QString& peer, UdpTargetMode udp, bool shown)
{
    if (!isOpen())
        return BridgeWrite::blocked();
    Transport& transport = *m_port->transport();
    const QByteArray data = bytes.toByteArray();
    WriteResult result;
    if (connectionModeIsUdp(transport.mode()))
        result = writeDatagram(transport, data, peer, udp);
    else
        result = peer.isEmpty() ? transport.writeToAll(data) : transport.write(data, peer);
    if (result.refusal == Refusal::Full)
        return BridgeWrite::blocked();
    if (!result.taken())
        return BridgeWrite::refusal(result.reason);
    m_written = true;
    if (m_port)
        m_port->sending().noteSent(data, shown && m_port->showsForwarded(data.size()));
    return BridgeWrite::took(bytes.size());
}

WriteResult PortEndpoint::writeDatagram(
    Transport& transport, const QByteArray& bytes, const QString& peer, UdpTargetMode udp)
{
    if (bytes.size() > kMaxDatagramBytes)
        return {Refusal::Failed, tr("A UDP datagram carries at most %1 bytes.").arg(65'507)};
    switch (udp) {
    case UdpTargetMode::AllPeers:
        return transport.writeToAll(bytes);
    case UdpTargetMode::Fixed: {
        const Settings& settings = m_port->active();
        if (m_port->controller().sendUdp(bytes, settings.targetHost, settings.targetPort))
            return {};
        return {Refusal::Failed,
            tr("Nothing can be sent to %1:%2.").arg(settings.targetHost).arg(settings.targetPort)};
    }
    case UdpTargetMode::LastSender:
        break;
    }
    return transport.write(bytes, peer);
}

qint64 PortEndpoint::pendingBytes(const QString& peer) const
{
    return isOpen() ? m_port->transport()->pendingBytes(peer) : 0;
}

void PortEndpoint::flush()
{
    if (std::exchange(m_written, false) && isOpen())
        m_port->transport()->tellLeft();
}

void PortEndpoint::disconnectPeer(const QString& peer)
{
    if (!m_port)
        return;
    if (isServer()) {
        m_port->controller().disconnectTcpServerClient(peer);
        return;
    }
    m_port->stop();
    openAgain();
}

void PortEndpoint::onClosed(const CloseReason& reason)
{
    m_closedByWill = reason.kind == CloseReason::Kind::ByWill;
}

void PortEndpoint::keepOpen(const QObject* who, bool on)
{
    if (on)
        m_keepers.insert(who);
    else
        m_keepers.remove(who);
    if (on)
        openAgain();
    else
        schedule();
}

void PortEndpoint::openAgain()
{
    m_closedByWill = false;
    if (!m_keepers.isEmpty())
        m_retry.start(0);
}

void PortEndpoint::tryOpen()
{
    if (m_port && !m_keepers.isEmpty() && !m_port->isActive() && !m_closedByWill)
        m_port->start(true);
    schedule();
}

void PortEndpoint::schedule()
{
    const bool due = m_port && !m_keepers.isEmpty() && !m_port->isActive() && !m_closedByWill;
    if (!due)
        m_retry.stop();
    else if (!m_retry.isActive())
        m_retry.start(kRetryMs);
}
