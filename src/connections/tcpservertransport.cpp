#include "connections/tcpservertransport.h"

#include "connections/peerkey.h"

#include <QtDebug>
#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

bool isAnyAddress(const QHostAddress& address)
{
    constexpr std::array kSpecials{QHostAddress::Any, QHostAddress::AnyIPv4, QHostAddress::AnyIPv6};
    return std::ranges::any_of(
        kSpecials, [&](QHostAddress::SpecialAddress special) { return address == special; });
}

} // namespace

TcpServerTransport::TcpServerTransport()
    : Transport(connectionMode::TcpServer)
    , m_server(new MultiClientServer)
{
    forward();
    tellFailures();
}

TcpServerTransport::~TcpServerTransport()
{
    m_server->disconnect(this);
    m_server->blockSignals(true);
    m_server->stop();
    m_server->deleteLater();
}

void TcpServerTransport::forward()
{
    const MultiClientServer* server = m_server;
    connect(server, &MultiClientServer::connectionStateChange, this, &Transport::peersChanged);
    connect(server, &MultiClientServer::clientArrived, this, &Transport::peerArrived);
    connect(server, &MultiClientServer::clientGone, this, [this](const QString& peer) {
        if (m_heardKeys.remove(peer))
            std::erase(m_heard, peer);
        Q_EMIT peerLost(peer);
    });
    connect(server, &MultiClientServer::lingered, this, &Transport::lingered);
    connect(server, &MultiClientServer::bytesWrittenTo, this,
        [this](const QString& peer, qint64 bytes) { Q_EMIT left(bytes, peer); });
    connect(server, &MultiClientServer::newMessage, this, [this](const QString& peer) {
        if (!m_heardKeys.contains(peer)) {
            m_heardKeys.insert(peer);
            m_heard.push_back(peer);
        }
        Q_EMIT readyRead();
    });
    connect(server, &MultiClientServer::connectionRefused, this,
        [this](const QString& peer, const QString& reason) {
            tell(Notice::warning(tr("Refused %1: %2").arg(peer, reason)));
        });
}

void TcpServerTransport::tellFailures()
{
    const MultiClientServer* server = m_server;
    connect(server, &MultiClientServer::clientStalled, this,
        [this](const QString& peer, qint64 unsentBytes) {
            const QPointer<TcpServerTransport> self(this);
            m_unsentAtClose += unsentBytes;
            Q_EMIT discarded(unsentBytes, peer);
            if (self) {
                tell(Notice::warning(
                    tr("Disconnected %1: it does not read, %2 bytes did not reach it")
                        .arg(peer, QString::number(unsentBytes))));
            }
        });
    connect(server, &MultiClientServer::bytesLost, this, &TcpServerTransport::tellLost);
    connect(server, &MultiClientServer::acceptFailed, this, [this](const QString& reason) {
        const QString text = tr("TCP port %1 can take no further client for now: %2")
                                 .arg(QString::number(m_server->serverPort()), reason);
        qWarning().noquote() << text;
        tell(Notice::error(text));
    });
}

void TcpServerTransport::tellLost(const QString& peer, qint64 unreadBytes, qint64 unsentBytes)
{
    const QPointer<TcpServerTransport> self(this);
    m_unsentAtClose += unsentBytes;
    if (unsentBytes > 0)
        Q_EMIT discarded(unsentBytes, peer);
    if (self && unsentBytes > 0) {
        tell(Notice::warning(
            tr("%1 left: %2 bytes did not reach it").arg(peer, QString::number(unsentBytes))));
    }
    if (self && unreadBytes > 0) {
        tell(Notice::warning(tr("%1 left: %2 bytes that it had sent were dropped, nobody read them")
                                 .arg(peer, QString::number(unreadBytes))));
    }
}

QString TcpServerTransport::addressText() const
{
    if (!m_server->isListening())
        return {};
    const QHostAddress address = m_server->serverAddress();
    return isAnyAddress(address) ? u"*:%1"_s.arg(m_server->serverPort())
                                 : peerKeyOf(address, m_server->serverPort());
}

Transport::State TcpServerTransport::state() const
{
    return m_server->isListening() ? State::Open : State::Closed;
}

bool TcpServerTransport::open(const Settings& settings, OpenMode how)
{
    if (isOpen() || m_closing)
        return isOpen();
    const auto port = static_cast<quint16>(settings.sanitized().targetPort);
    setName(tr("TCP port %1").arg(port));
    setErrorText({});
    const QPointer<TcpServerTransport> self(this);
    const bool listening = m_server->start(port, m_address);
    if (!self)
        return false;
    if (listening) {
        Q_EMIT opened();
        return self && isOpen();
    }
    const QString text =
        tr("TCP listen on port %1 FAILED: %2").arg(QString::number(port), m_server->errorString());
    setErrorText(text);
    qWarning().noquote() << text;
    if (how == OpenMode::Asked)
        tell(Notice::error(text));
    return false;
}

void TcpServerTransport::close()
{
    if (!isOpen() || m_closing)
        return;
    const QPointer<TcpServerTransport> self(this);
    m_closing = true;
    Q_EMIT closing();
    if (!self)
        return;
    m_unsentAtClose = 0;
    // What the clients have sent is handed out although the reading is held.
    m_server->setReadThrottled(false);
    if (!self)
        return;
    m_server->stop();
    if (!self)
        return;
    m_closing = false;
    tellRefused();
    if (!self)
        return;
    m_server->setReadThrottled(isReadingHeld());
    Q_EMIT closed({CloseReason::Kind::ByWill, {}, std::exchange(m_unsentAtClose, 0)});
}

WriteResult TcpServerTransport::write(const QByteArray& bytes, const QString& peer)
{
    if (bytes.isEmpty())
        return {WriteResult::Refusal::Nothing, tr("There is nothing to send.")};
    if (!isOpen())
        return {WriteResult::Refusal::NotOpen, tr("The TCP server does not listen.")};
    const bool taken =
        peer.isEmpty() ? m_server->broadcast(bytes) > 0 : m_server->writeTo(peer, bytes);
    if (taken)
        return {};
    if (!peer.isEmpty() && m_server->pendingWriteBytes(peer) > 0)
        return {WriteResult::Refusal::Full, tr("%1 does not read: nothing was sent").arg(peer)};
    return {WriteResult::Refusal::NoPeer,
        peer.isEmpty() ? tr("No TCP client is connected: nothing was sent")
                       : tr("%1 is not connected: nothing was sent").arg(peer)};
}

qint64 TcpServerTransport::pendingBytes(const QString& peer) const
{
    return peer.isEmpty() ? m_server->pendingWriteBytes() : m_server->pendingWriteBytes(peer);
}

bool TcpServerTransport::hasRoomFor(qint64 bytes, const QString& peer) const
{
    if (!peer.isEmpty())
        return m_server->hasRoomFor(peer, bytes);
    const QStringList keys = peers();
    return std::ranges::all_of(
        keys, [&](const QString& key) { return m_server->hasRoomFor(key, bytes); });
}

bool TcpServerTransport::takeChunk(Chunk& chunk)
{
    if (isReadingHeld() && !m_closing)
        return false;
    while (!m_heard.empty()) {
        const QString peer = m_heard.front();
        m_heard.pop_front();
        m_heardKeys.remove(peer);
        chunk = {m_server->takeMessage(peer), peer, false};
        if (!chunk.bytes.isEmpty())
            return true;
    }
    return false;
}

void TcpServerTransport::discard(Purge which)
{
    if (!purgesInput(which))
        return;
    for (const QString& peer : peers())
        (void)m_server->takeMessage(peer);
}
