#include "terminal/pane/peerpanel.h"

#include "connections/connectioncontroller.h"
#include "terminal/pane/elidedlabel.h"
#include "terminal/port/liveport.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QMenu>
#include <QMouseEvent>
#include <QToolButton>
#include <QTreeView>

using namespace Qt::Literals::StringLiterals;

PeerPanel::PeerPanel(QWidget* parent)
    : QWidget(parent)
    , m_model(new PeerListModel(this))
    , m_fold(new QToolButton(this))
    , m_summary(new ElidedLabel(this))
    , m_list(new QTreeView(this))
{
    setObjectName("peerPanel"_L1);
    buildHeader();
    buildList();
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    auto* header = new QHBoxLayout;
    header->setSpacing(8);
    header->addWidget(m_fold);
    header->addWidget(m_summary, 1);
    layout->addLayout(header);
    layout->addWidget(m_list);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
    connect(m_model, &PeerListModel::modelReset, this, &PeerPanel::chooseDefault);
    connect(m_model, &PeerListModel::peersChanged, this, &PeerPanel::refresh);
    chooseDefault();
    refresh();
    hide();
}

PeerPanel::~PeerPanel() = default;

void PeerPanel::follow(LivePort* port)
{
    m_port = port;
    ConnectionController* controller = &port->controller();
    connect(controller, &ConnectionController::peerArrived, m_model, [this](const QString& key) {
        // Without a key it is the far end of a TCP client.
        if (!key.isEmpty())
            m_model->addPeer(key);
    });
    connect(controller, &ConnectionController::peerLost, m_model, &PeerListModel::removePeer);
    connect(controller, &ConnectionController::udpPeersChanged, this, &PeerPanel::addUdpPeers);
    connect(controller, &ConnectionController::bytesWrittenTo, m_model, &PeerListModel::noteSent);
    connect(port, &LivePort::arrived, m_model, [this](const QString& peer, qint64 bytes) {
        if (!peer.isEmpty())
            m_model->noteReceived(peer, bytes);
    });
    connect(
        port, &LivePort::rxTapped, m_model, [this](const QByteArray& bytes, const QString& peer) {
            if (!peer.isEmpty())
                m_model->notePreview(peer, bytes);
        });
    connect(port, &LivePort::stateChanged, this, &PeerPanel::showPort);
    connect(this, &PeerPanel::targetChanged, this, &PeerPanel::tellTarget);
    connect(this, &PeerPanel::disconnectRequested, controller,
        &ConnectionController::disconnectTcpServerClient);
    connect(this, &PeerPanel::clearRequested, controller, &ConnectionController::clearUdpPeers);
    showPort();
}

void PeerPanel::showPort()
{
    const connectionMode mode = m_port->active().connMode;
    const ConnectionController& controller = m_port->controller();
    QString address;
    if (mode == connectionMode::TcpServer) {
        setKind(Kind::TcpClients);
        address = controller.tcpServerAddressString();
    } else if (mode == connectionMode::UdpServer) {
        setKind(Kind::UdpPeers);
        if (const quint16 port = controller.udpLocalPort(); port != 0)
            address = u"*:%1"_s.arg(port);
    } else {
        setKind({});
    }
    setListeningOn(address);
    tellTarget();
}

// Peers are only ever appended, or forgotten all at once.
void PeerPanel::addUdpPeers()
{
    if (m_model->kind() != Kind::UdpPeers)
        return;
    const QList<ConnectionController::UdpPeer>& peers = m_port->controller().udpPeers();
    if (peers.isEmpty())
        m_model->clear();
    for (int i = m_model->peerCount(); i < peers.size(); ++i)
        m_model->addPeer(ConnectionController::udpPeerKey(peers.at(i).address, peers.at(i).port));
}

void PeerPanel::tellTarget()
{
    switch (m_target) {
    case Target::Own:
        m_port->setTarget(LivePort::Target::Own);
        break;
    case Target::All:
        m_port->setTarget(LivePort::Target::All);
        break;
    case Target::Peer:
        m_port->setTarget(LivePort::Target::Peer, m_targetPeer);
        break;
    }
}

void PeerPanel::buildHeader()
{
    m_fold->setObjectName("peerFold"_L1);
    m_fold->setAutoRaise(true);
    m_fold->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_fold->setFocusPolicy(Qt::StrongFocus);
    m_fold->setToolTip(tr("Show or hide the list"));
    connect(m_fold, &QToolButton::clicked, this, [this] { setExpanded(!m_expanded); });
    m_summary->setTextFormat(Qt::PlainText);
}

void PeerPanel::buildList()
{
    m_list->setObjectName("peerList"_L1);
    m_list->setModel(m_model);
    m_list->setRootIsDecorated(false);
    m_list->setUniformRowHeights(true);
    m_list->setAllColumnsShowFocus(true);
    m_list->setContextMenuPolicy(Qt::CustomContextMenu);
    m_list->setTabKeyNavigation(false);
    // It would take the height of a row from a list of few rows.
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->viewport()->installEventFilter(this);
    const int digit = m_list->fontMetrics().horizontalAdvance(u'0');
    QHeaderView* header = m_list->header();
    header->setSectionsMovable(false);
    header->setTextElideMode(Qt::ElideRight);
    header->resizeSection(PeerListModel::Address, 22 * digit);
    header->resizeSection(PeerListModel::Received, 10 * digit);
    header->resizeSection(PeerListModel::Sent, 10 * digit);
    header->resizeSection(PeerListModel::LastHeard, 10 * digit);
    connect(m_list, &QTreeView::customContextMenuRequested, this, &PeerPanel::openMenu);
    connect(m_list->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
        [this](const QModelIndex& current) { onCurrentChanged(current); });
}

void PeerPanel::setKind(std::optional<Kind> kind)
{
    if (kind)
        m_model->setKind(*kind);
    else if (m_model->rowOf(Target::All) + 1 < m_model->rowCount())
        m_model->clear();
    setVisible(kind.has_value());
    refresh();
}

void PeerPanel::setListeningOn(const QString& address)
{
    m_listeningOn = address;
    refresh();
}

void PeerPanel::setExpanded(bool expanded)
{
    m_expanded = expanded;
    refresh();
}

QString PeerPanel::summary() const
{
    return m_summary->text();
}

void PeerPanel::choose(Target target, const QString& peerKey)
{
    const QModelIndex row = m_model->index(m_model->rowOf(target, peerKey), 0);
    if (row.isValid())
        m_list->setCurrentIndex(row);
}

// Telling everybody is a choice that a person makes.
void PeerPanel::chooseDefault()
{
    choose(Target::Own);
}

void PeerPanel::onCurrentChanged(const QModelIndex& current)
{
    if (!current.isValid())
        return;
    const Target target = m_model->targetAt(current.row());
    const QString peer = m_model->keyAt(current.row());
    if (target == m_target && peer == m_targetPeer)
        return;
    m_target = target;
    m_targetPeer = peer;
    m_model->setChosenPeer(peer);
    refresh();
    Q_EMIT targetChanged();
}

void PeerPanel::refresh()
{
    const bool clients = m_model->kind() == Kind::TcpClients;
    const int count = m_model->peerCount();
    m_fold->setText(clients ? tr("Clients: %1").arg(count) : tr("Peers: %1").arg(count));
    m_fold->setArrowType(m_expanded ? Qt::DownArrow : Qt::RightArrow);
    m_list->setAccessibleName(clients ? tr("Clients of this port") : tr("Peers of this port"));
    const QModelIndex target = m_model->index(m_model->rowOf(m_target, m_targetPeer), 0);
    const bool peers = target.isValid() && m_model->rowOf(Target::All) + 1 < m_model->rowCount();
    m_summary->setText(peers ? targetText(target.data().toString()) : emptyText());
    m_summary->setToolTip(m_summary->text());
    m_fold->setEnabled(peers);
    m_list->setVisible(peers && m_expanded);
    fitList();
}

QString PeerPanel::targetText(const QString& target) const
{
    return m_listeningOn.isEmpty()
               ? tr("Sending to: %1").arg(target)
               : tr("Sending to: %1; listening on %2").arg(target, m_listeningOn);
}

QString PeerPanel::emptyText() const
{
    const bool clients = m_model->kind() == Kind::TcpClients;
    if (m_listeningOn.isEmpty())
        return clients ? tr("Closed: no client can connect") : tr("Closed: no peer is heard");
    return clients ? tr("No client connected; listening on %1").arg(m_listeningOn)
                   : tr("No peer heard; listening on %1").arg(m_listeningOn);
}

void PeerPanel::fitList()
{
    const int row = qMax(m_list->sizeHintForRow(0), m_list->fontMetrics().height());
    const int frame = m_list->header()->sizeHint().height() + 2 * m_list->frameWidth();
    m_list->setMinimumHeight(frame + kMinRows * row);
    m_list->setMaximumHeight(frame + qBound(kMinRows, m_model->rowCount(), kMaxRows) * row);
}

bool PeerPanel::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::MouseButtonPress
        && static_cast<QMouseEvent*>(event)->button() == Qt::RightButton)
        return true;
    return QWidget::eventFilter(watched, event);
}

void PeerPanel::openMenu(const QPoint& position)
{
    const QModelIndex at = m_list->indexAt(position);
    const QString key = at.isValid() ? m_model->keyAt(at.row()) : QString();
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    QAction* copy = menu->addAction(
        tr("Copy Address"), this, [key] { QGuiApplication::clipboard()->setText(key); });
    copy->setEnabled(!key.isEmpty());
    if (m_model->kind() == Kind::TcpClients) {
        QAction* disconnect = menu->addAction(
            tr("Disconnect Client"), this, [this, key] { Q_EMIT disconnectRequested(key); });
        disconnect->setEnabled(!key.isEmpty() && !m_model->isGone(at.row()));
    } else {
        menu->addAction(tr("Clear List"), this, &PeerPanel::clearRequested);
    }
    menu->popup(m_list->viewport()->mapToGlobal(position));
}
