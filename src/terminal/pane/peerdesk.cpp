#include "terminal/pane/peerdesk.h"

#include "connections/connectioncontroller.h"
#include "terminal/pane/peerpanel.h"
#include "terminal/port/receivepipeline.h"
#include "terminal/port/transportwriter.h"

using namespace Qt::Literals::StringLiterals;

PeerDesk::PeerDesk(PeerPanel& panel, ConnectionController& controller, ReceivePipeline& receive,
    TransportWriter& writer)
    : m_panel(panel)
    , m_controller(controller)
    , m_writer(writer)
{
    followPeers();
    PeerListModel* model = &panel.model();
    connect(&receive, &ReceivePipeline::rxTapped, model,
        [model](const QByteArray& bytes, const QString& peer) {
            if (!peer.isEmpty())
                model->noteReceived(peer, bytes);
        });
    connect(&controller, &ConnectionController::bytesWrittenTo, model, &PeerListModel::noteSent);
    connect(&panel, &PeerPanel::targetChanged, this, &PeerDesk::sendToTarget);
    connect(&panel, &PeerPanel::disconnectRequested, &controller,
        &ConnectionController::disconnectTcpServerClient);
    connect(&panel, &PeerPanel::clearRequested, &controller, &ConnectionController::clearUdpPeers);
}

PeerDesk::~PeerDesk() = default;

void PeerDesk::followPeers()
{
    PeerListModel* model = &m_panel.model();
    connect(&m_controller, &ConnectionController::peerArrived, model, [model](const QString& key) {
        // Without a key it is the far end of a TCP client.
        if (!key.isEmpty())
            model->addPeer(key);
    });
    connect(&m_controller, &ConnectionController::peerLost, model, &PeerListModel::removePeer);
    connect(&m_controller, &ConnectionController::udpPeersChanged, this, &PeerDesk::addUdpPeers);
}

// Peers are only ever appended, or forgotten all at once.
void PeerDesk::addUdpPeers()
{
    PeerListModel& model = m_panel.model();
    if (model.kind() != PeerListModel::Kind::UdpPeers)
        return;
    const QList<ConnectionController::UdpPeer>& peers = m_controller.udpPeers();
    if (peers.isEmpty())
        model.clear();
    for (int i = model.peerCount(); i < peers.size(); ++i)
        model.addPeer(ConnectionController::udpPeerKey(peers.at(i).address, peers.at(i).port));
}

void PeerDesk::sendToTarget()
{
    m_writer.setSelectedPeer(m_panel.targetPeer());
    m_writer.setSendToAllUdpPeers(m_panel.target() == PeerPanel::Target::All);
}

void PeerDesk::show(connectionMode mode)
{
    m_mode = mode;
    if (mode == connectionMode::TcpServer)
        m_panel.setKind(PeerPanel::Kind::TcpClients);
    else if (mode == connectionMode::UdpServer)
        m_panel.setKind(PeerPanel::Kind::UdpPeers);
    else
        m_panel.setKind({});
    m_panel.setListeningOn(listeningOn());
    sendToTarget();
}

QString PeerDesk::listeningOn() const
{
    if (m_mode == connectionMode::TcpServer)
        return m_controller.tcpServerAddressString();
    const quint16 port = m_controller.udpLocalPort();
    return m_mode == connectionMode::UdpServer && port != 0 ? u"*:%1"_s.arg(port) : QString();
}
