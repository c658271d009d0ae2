#include "connections/udptransport.h"

#include "connections/hostresolver.h"

#include <QNetworkProxy>
#include <QPointer>
#include <QUdpSocket>
#include <QtDebug>
#include <utility>

UdpTransport::UdpTransport(connectionMode mode)
    : Transport(mode)
    , m_resolver(std::make_unique<HostResolver>())
{
    connect(m_resolver.get(), &HostResolver::resolved, this, &UdpTransport::onResolved);
    connect(m_resolver.get(), &HostResolver::failed, this, &UdpTransport::onUnresolved);
}

UdpTransport::~UdpTransport()
{
    if (m_socket) {
        m_socket->disconnect(this);
        m_socket->abort();
        m_socket->deleteLater();
    }
    m_resolver->disconnect(this);
    m_resolver.release()->deleteLater();
}

Transport::State UdpTransport::state() const
{
    return m_socket ? State::Open : State::Closed;
}

quint16 UdpTransport::localPort() const
{
    return m_socket ? m_socket->localPort() : 0;
}

bool UdpTransport::open(const Settings& settings, OpenMode how)
{
    if (m_socket)
        return true;
    m_settings = settings.sanitized();
    const quint16 port =
        mode() == connectionMode::UdpServer ? m_settings.udpServerPort : m_settings.udpLocalPort;
    setName(tr("UDP port %1").arg(port));
    setErrorText({});
    auto* socket = new QUdpSocket;
    socket->setProxy(QNetworkProxy::NoProxy);
    if (!socket->bind(QHostAddress(QHostAddress::AnyIPv4), port,
            QAbstractSocket::ShareAddress | QAbstractSocket::ReuseAddressHint)) {
        const QString text =
            tr("UDP bind to port %1 FAILED: %2").arg(QString::number(port), socket->errorString());
        delete socket;
        setErrorText(text);
        qWarning().noquote() << text;
        if (how == OpenMode::Asked)
            tell(Notice::error(text));
        return false;
    }
    m_socket = socket;
    m_datagramsLeft = kMaxDatagramsPerTurn;
    m_bytesLeft = kMaxBytesPerTurn;
    connect(socket, &QUdpSocket::readyRead, this, &UdpTransport::announce);
    const QPointer<UdpTransport> self(this);
    Q_EMIT opened();
    return self && m_socket;
}

void UdpTransport::close()
{
    if (!m_socket || m_closing)
        return;
    const QPointer<UdpTransport> self(this);
    m_closing = true;
    Q_EMIT closing();
    if (!self)
        return;
    // A reader takes its share at each announcement; one that takes nothing wants nothing.
    // Nobody can be kept waiting by one who sends without an end.
    m_datagramsLeft = 0;
    for (int turn = 0; self && turn < kMaxLastTurns && m_datagramsLeft < kMaxDatagramsPerTurn
                       && m_socket->hasPendingDatagrams();
         ++turn)
        announce();
    if (!self)
        return;
    m_closing = false;
    QUdpSocket* socket = std::exchange(m_socket, nullptr);
    socket->disconnect(this);
    socket->abort();
    socket->deleteLater();
    const CloseReason reason{CloseReason::Kind::ByWill, {}, dropWaiting()};
    if (reason.unsentBytes > 0)
        Q_EMIT discarded(reason.unsentBytes, {});
    if (self)
        tellRefused();
    if (self && !m_peers.peers().isEmpty())
        clearPeers();
    if (self)
        Q_EMIT closed(reason);
    if (self && reason.unsentBytes > 0)
        tellUnsent(unsentText(reason.unsentBytes));
}

QString UdpTransport::unsentText(qint64 bytes) const
{
    return tr("%1 was closed with %2 bytes not sent: the address of their host was still being "
              "looked up.")
        .arg(name(), QString::number(bytes));
}

// A new turn of the event loop, with its share of datagrams.
void UdpTransport::announce()
{
    m_turnAsked = false;
    m_datagramsLeft = kMaxDatagramsPerTurn;
    m_bytesLeft = kMaxBytesPerTurn;
    if (!isReadingHeld() || m_closing)
        Q_EMIT readyRead();
}

bool UdpTransport::takeChunk(Chunk& chunk)
{
    if ((isReadingHeld() && !m_closing) || !m_socket || !m_socket->hasPendingDatagrams())
        return false;
    if (m_datagramsLeft > 0 && m_bytesLeft > 0)
        return readDatagram(chunk);
    if (!std::exchange(m_turnAsked, true))
        QMetaObject::invokeMethod(this, &UdpTransport::announce, Qt::QueuedConnection);
    return false;
}

bool UdpTransport::readDatagram(Chunk& chunk)
{
    QByteArray payload(qMax<qint64>(m_socket->pendingDatagramSize(), 0), Qt::Uninitialized);
    QHostAddress sender;
    quint16 port = 0;
    const qint64 size = m_socket->readDatagram(payload.data(), payload.size(), &sender, &port);
    if (size < 0)
        return false;
    payload.truncate(size);
    --m_datagramsLeft;
    m_bytesLeft -= size;
    chunk = {payload, UdpPeerTable::keyOf(sender, port), false};
    recordSender(sender, port, payload);
    return true;
}

void UdpTransport::recordSender(
    const QHostAddress& address, quint16 port, const QByteArray& payload)
{
    const UdpPeerTable::Heard heard =
        m_peers.record(address, port, payload, QDateTime::currentDateTime());
    if (heard == UdpPeerTable::Heard::NewPeer) {
        Q_EMIT peersChanged();
    } else if (heard == UdpPeerTable::Heard::TableFull
               && !std::exchange(m_tableFullReported, true)) {
        tell(Notice::warning(tr("More than %1 UDP peers: new ones are received but not listed")
                                 .arg(UdpPeerTable::kMaxPeers)));
    }
}

void UdpTransport::setReadingHeld(bool held)
{
    if (!held && m_socket && m_socket->hasPendingDatagrams())
        announce();
}

WriteResult UdpTransport::write(const QByteArray& bytes, const QString& peer)
{
    if (bytes.isEmpty())
        return {WriteResult::Refusal::Nothing, tr("There is nothing to send.")};
    if (!peer.isEmpty() || mode() == connectionMode::UdpServer)
        return sendToRow(bytes, peer.isEmpty() ? m_peers.lastSenderRow() : m_peers.rowOf(peer));
    return sendTo(bytes, m_settings.targetHost, static_cast<quint16>(m_settings.targetPort));
}

WriteResult UdpTransport::sendTo(const QByteArray& bytes, const QString& host, quint16 port)
{
    if (!m_socket)
        return {WriteResult::Refusal::NotOpen, tr("The UDP port is not open.")};
    const QString target = host.trimmed();
    QHostAddress address(target);
    if (address.isNull())
        address = m_resolver->known(target);
    return address.isNull() ? waitForHost(bytes, target, port) : writeTo(bytes, address, port);
}

WriteResult UdpTransport::sendToRow(const QByteArray& bytes, int row)
{
    if (!m_socket)
        return {WriteResult::Refusal::NotOpen, tr("The UDP port is not open.")};
    if (bytes.isEmpty())
        return {WriteResult::Refusal::Nothing, tr("There is nothing to send.")};
    if (const UdpPeerTable::Peer* peer = m_peers.at(row)) {
        const QHostAddress address = peer->address;
        return writeTo(bytes, address, peer->port);
    }
    return {WriteResult::Refusal::NoPeer, tr("No UDP peer to reply to yet")};
}

qint64 UdpTransport::broadcast(const QByteArray& bytes)
{
    qint64 written = 0;
    const QPointer<UdpTransport> self(this);
    // A copy, since a write announces itself to slots that may clear the table.
    const QList<UdpPeerTable::Peer> peers = m_peers.peers();
    for (const UdpPeerTable::Peer& peer : peers) {
        if (!self)
            break;
        written = writeTo(bytes, peer.address, peer.port).taken() ? bytes.size() : -1;
    }
    return written;
}

WriteResult UdpTransport::writeToAll(const QByteArray& bytes)
{
    const QStringList keys = peers();
    WriteResult result = keys.isEmpty() ? sendToRow(bytes, -1) : WriteResult();
    bool taken = false;
    const QPointer<UdpTransport> self(this);
    for (const QString& key : keys) {
        if (!self)
            break;
        const WriteResult one = sendToRow(bytes, m_peers.rowOf(key));
        taken = taken || one.taken();
        result = one;
    }
    return taken ? WriteResult() : result;
}

qint64 UdpTransport::pendingBytes(const QString& peer) const
{
    return peer.isEmpty() ? m_waitingBytes : 0;
}

bool UdpTransport::hasRoomFor(qint64 bytes, const QString& peer) const
{
    Q_UNUSED(peer)
    return m_waiting.size() < kMaxWaitingDatagrams && m_waitingBytes + bytes <= kMaxWaitingBytes;
}

QStringList UdpTransport::peers() const
{
    QStringList keys;
    for (const UdpPeerTable::Peer& peer : m_peers.peers())
        keys.append(UdpPeerTable::keyOf(peer.address, peer.port));
    return keys;
}

void UdpTransport::discard(Purge which)
{
    if (purgesInput(which)) {
        while (m_socket && m_socket->hasPendingDatagrams()) {
            if (m_socket->readDatagram(nullptr, 0) < 0)
                break;
        }
    }
    if (const qint64 bytes = purgesOutput(which) ? dropWaiting() : 0; bytes > 0)
        Q_EMIT discarded(bytes, {});
}

void UdpTransport::clearPeers()
{
    m_peers.clear();
    m_tableFullReported = false;
    Q_EMIT peersChanged();
}

WriteResult UdpTransport::waitForHost(const QByteArray& bytes, const QString& host, quint16 port)
{
    if (!hasRoomFor(bytes.size()))
        return refuseFull(bytes.size());
    m_waiting.push_back({host, port, bytes});
    m_waitingBytes += bytes.size();
    m_resolver->lookUp(host);
    return WriteResult::waiting();
}

void UdpTransport::onResolved(const QString& host, const QHostAddress& address)
{
    const QPointer<UdpTransport> self(this);
    for (const Waiting& each : takeWaiting(host)) {
        const bool sent = writeTo(each.data, address, each.port).taken();
        if (self && !sent)
            Q_EMIT discarded(each.data.size(), {});
        if (!self)
            return;
    }
    tellRefused();
}

void UdpTransport::onUnresolved(const QString& host, const QString& reason)
{
    qint64 bytes = 0;
    for (const Waiting& each : takeWaiting(host))
        bytes += each.data.size();
    const QPointer<UdpTransport> self(this);
    if (bytes > 0)
        Q_EMIT discarded(bytes, {});
    if (self)
        tell(Notice::error(tr("UDP host \"%1\" was not found: %2").arg(host, reason),
            tr("%1 bytes were not sent.").arg(bytes)));
}

std::deque<UdpTransport::Waiting> UdpTransport::takeWaiting(const QString& host)
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
    return taken;
}

qint64 UdpTransport::dropWaiting()
{
    m_resolver->reset();
    m_waiting.clear();
    return std::exchange(m_waitingBytes, 0);
}

WriteResult UdpTransport::writeTo(
    const QByteArray& bytes, const QHostAddress& address, quint16 port)
{
    const QString key = UdpPeerTable::keyOf(address, port);
    if (!m_socket)
        return {WriteResult::Refusal::NotOpen, tr("The UDP port is not open.")};
    const qint64 written = m_socket->writeDatagram(bytes, address, port);
    if (written < 0) {
        const QString text = tr("UDP send to %1 FAILED: %2").arg(key, m_socket->errorString());
        tell(Notice::warning(text));
        return {WriteResult::Refusal::Failed, text};
    }
    Q_EMIT left(written, key);
    return {};
}
