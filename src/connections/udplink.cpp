#include "connections/udplink.h"

#include "connections/hostresolver.h"

#include <QNetworkProxy>
#include <QUdpSocket>
#include <QtDebug>
#include <limits>
#include <utility>

namespace {

constexpr int failureMs = 5000;
constexpr int hintMs = 3000;

} // namespace

UdpLink::UdpLink(QObject* parent)
    : QObject(parent)
    , m_resolver(std::make_unique<HostResolver>())
{
    connect(m_resolver.get(), &HostResolver::resolved, this, &UdpLink::onResolved);
    connect(m_resolver.get(), &HostResolver::failed, this, &UdpLink::onUnresolved);
}

UdpLink::~UdpLink() = default;

void UdpLink::bind(quint16 port)
{
    discardSocket();
    dropWaiting();
    if (!m_peers.peers().isEmpty())
        clearPeers();

    m_socket = new QUdpSocket(this);
    m_socket->setProxy(QNetworkProxy::NoProxy);
    connect(m_socket, &QUdpSocket::readyRead, this, &UdpLink::readyRead);
    connect(m_socket, &QUdpSocket::bytesWritten, this, &UdpLink::bytesWritten);
    if (m_socket->bind(QHostAddress(QHostAddress::AnyIPv4), port,
            QAbstractSocket::ShareAddress | QAbstractSocket::ReuseAddressHint)) {
        return;
    }
    const QString text =
        tr("UDP bind to port %1 FAILED: %2").arg(QString::number(port), m_socket->errorString());
    qWarning().noquote() << text;
    Q_EMIT errorOccurred(text);
    Q_EMIT statusMessage(text, failureMs);
}

bool UdpLink::isBound() const
{
    return m_socket && m_socket->state() == QAbstractSocket::BoundState;
}

quint16 UdpLink::localPort() const
{
    return isBound() ? m_socket->localPort() : 0;
}

void UdpLink::close()
{
    dropWaiting();
    if (m_socket)
        m_socket->abort();
    if (!m_peers.peers().isEmpty())
        clearPeers();
}

QList<UdpDatagram> UdpLink::readDatagrams()
{
    QList<UdpDatagram> result;
    const QDateTime now = QDateTime::currentDateTime();
    qsizetype bytes = 0;
    // The socket is asked anew each time: a slot of peersChanged may have closed or replaced it.
    // It announces what stays behind by itself, since each read re-arms its notification.
    while (isBound() && m_socket->hasPendingDatagrams() && result.size() < maxDatagramsPerRead
           && bytes < maxBytesPerRead) {
        QByteArray payload(qMax<qint64>(m_socket->pendingDatagramSize(), 0), Qt::Uninitialized);
        QHostAddress sender;
        quint16 port = 0;
        const qint64 size = m_socket->readDatagram(payload.data(), payload.size(), &sender, &port);
        if (size < 0)
            break;
        payload.truncate(size);
        bytes += size;
        result.append({UdpPeerTable::keyOf(sender, port), payload});
        recordSender(sender, port, payload, now);
    }
    return result;
}

bool UdpLink::send(const QByteArray& data, const QString& host, quint16 port)
{
    if (!isBound())
        return false;
    const QString target = host.trimmed();
    QHostAddress address(target);
    if (address.isNull())
        address = m_resolver->known(target);
    return address.isNull() ? waitForHost(data, target, port) : write(data, address, port) >= 0;
}

bool UdpLink::sendToPeer(const QByteArray& data, int row)
{
    if (!isBound() || data.isEmpty())
        return false;
    if (const UdpPeerTable::Peer* peer = m_peers.at(row))
        return write(data, peer->address, peer->port) >= 0;
    Q_EMIT statusMessage(tr("No UDP peer to reply to yet"), hintMs);
    return false;
}

bool UdpLink::sendToPeerKey(const QString& key, const QByteArray& data)
{
    const int row = m_peers.rowOf(key);
    return row >= 0 && sendToPeer(data, row);
}

bool UdpLink::sendToLastSender(const QByteArray& data)
{
    return sendToPeer(data, m_peers.lastSenderRow());
}

qint64 UdpLink::broadcast(const QByteArray& data)
{
    qint64 written = 0;
    // A copy, since a write announces itself to slots that may clear the table.
    const QList<UdpPeerTable::Peer> peers = m_peers.peers();
    for (const UdpPeerTable::Peer& peer : peers)
        written = write(data, peer.address, peer.port);
    return written;
}

void UdpLink::clearPeers()
{
    m_peers.clear();
    m_tableFullReported = false;
    Q_EMIT peersChanged();
}

void UdpLink::discardSocket()
{
    if (QUdpSocket* socket = std::exchange(m_socket, nullptr)) {
        socket->disconnect(this);
        socket->abort();
        socket->deleteLater();
    }
}

void UdpLink::recordSender(
    const QHostAddress& address, quint16 port, const QByteArray& payload, const QDateTime& now)
{
    const UdpPeerTable::Heard heard = m_peers.record(address, port, payload, now);
    if (heard == UdpPeerTable::Heard::NewPeer) {
        Q_EMIT peersChanged();
    } else if (heard == UdpPeerTable::Heard::TableFull
               && !std::exchange(m_tableFullReported, true)) {
        Q_EMIT statusMessage(tr("More than %1 UDP peers: new ones are received but not listed")
                                 .arg(UdpPeerTable::maxPeers),
            failureMs);
    }
}

bool UdpLink::waitForHost(const QByteArray& data, const QString& host, quint16 port)
{
    if (m_waiting.size() >= maxWaitingDatagrams || m_waitingBytes + data.size() > maxWaitingBytes) {
        if (!std::exchange(m_waitingFullReported, true)) {
            Q_EMIT statusMessage(
                tr("Too much to send while the address of \"%1\" is looked up").arg(host),
                failureMs);
        }
        return false;
    }
    m_waiting.push_back({host, port, data});
    m_waitingBytes += data.size();
    m_resolver->lookUp(host);
    return true;
}

void UdpLink::onResolved(const QString& host, const QHostAddress& address)
{
    qint64 failed = 0;
    for (const Waiting& each : takeWaiting(host)) {
        if (write(each.data, address, each.port) < 0)
            failed += each.data.size();
    }
    if (m_waiting.empty())
        Q_EMIT waitingLeft();
    if (failed > 0)
        Q_EMIT unsent(failed);
}

void UdpLink::onUnresolved(const QString& host, const QString& reason)
{
    qint64 lost = 0;
    for (const Waiting& each : takeWaiting(host))
        lost += each.data.size();
    const QString text = tr("UDP host \"%1\" was not found: %2").arg(host, reason);
    Q_EMIT errorOccurred(text);
    Q_EMIT statusMessage(text, failureMs);
    giveUp(lost);
}

std::deque<UdpLink::Waiting> UdpLink::takeWaiting(const QString& host)
{
    std::deque<Waiting> taken;
    std::deque<Waiting> kept;
    for (Waiting& each : m_waiting) {
        const bool matches = each.host == host;
        if (matches)
            m_waitingBytes -= each.data.size();
        (matches ? taken : kept).push_back(std::move(each));
    }
    m_waiting = std::move(kept);
    m_waitingFullReported = false;
    return taken;
}

void UdpLink::dropWaiting()
{
    m_resolver->reset();
    m_waiting.clear();
    m_waitingFullReported = false;
    giveUp(std::exchange(m_waitingBytes, 0));
}

// Told later, or what is said about the close itself would hide it at once.
void UdpLink::giveUp(qint64 bytes)
{
    if (bytes <= 0)
        return;
    Q_EMIT waitingLost(bytes);
    const QString text = tr("%n byte(s) were not sent: no address was found for them", nullptr,
        int(qMin<qint64>(bytes, std::numeric_limits<int>::max())));
    QMetaObject::invokeMethod(
        this, [this, text] { Q_EMIT statusMessage(text, failureMs); }, Qt::QueuedConnection);
}

qint64 UdpLink::write(const QByteArray& data, const QHostAddress& address, quint16 port)
{
    if (!isBound())
        return -1;
    const qint64 written = m_socket->writeDatagram(data, address, port);
    if (written < 0) {
        Q_EMIT statusMessage(tr("UDP send to %1 FAILED: %2")
                                 .arg(UdpPeerTable::keyOf(address, port), m_socket->errorString()),
            failureMs);
    } else {
        Q_EMIT bytesWrittenTo(UdpPeerTable::keyOf(address, port), written);
    }
    return written;
}
