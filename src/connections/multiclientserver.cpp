#include "connections/multiclientserver.h"

#include "connections/lingeringsocket.h"
#include "connections/peerkey.h"
#include "connections/serverclient.h"
#include "connections/tcpkeepalive.h"

#include <QNetworkProxy>
#include <QPointer>
#include <QTcpSocket>
#include <algorithm>
#include <utility>

MultiClientServer::MultiClientServer(QObject* parent)
    : QTcpServer(parent)
    , m_acceptRetry(this)
    , m_poll(this)
{
    setListenBacklogSize(kListenBacklog);
    // A port of this machine; asking the system for its proxies may also take seconds.
    setProxy(QNetworkProxy::NoProxy);
    m_acceptRetry.setSingleShot(true);
    m_acceptRetry.setInterval(kAcceptRetryMs);
    connect(&m_acceptRetry, &QTimer::timeout, this, &MultiClientServer::regulateAccepting);
    m_poll.setInterval(SocketOutput::kPollMs);
    connect(&m_poll, &QTimer::timeout, this, &MultiClientServer::pollOutput);
    // Queued, so that a turn of the event loop accepts no more than the limit of pending
    // connections, however fast they come.
    connect(this, &QTcpServer::newConnection, this, &MultiClientServer::handleNewConnection,
        Qt::QueuedConnection);
    connect(this, &QTcpServer::acceptError, this, &MultiClientServer::onAcceptError);
}

MultiClientServer::~MultiClientServer()
{
    const QSignalBlocker quiet(this);
    stop();
}

bool MultiClientServer::start(quint16 port, const QHostAddress& address)
{
    const QPointer<MultiClientServer> self(this);
    stop();
    for (const auto& socket : std::exchange(m_lingering, {})) {
        socket->end();
        if (!self)
            return false;
    }
    m_acceptFailureTold = false;
    return listen(address, port);
}

void MultiClientServer::stop()
{
    const QPointer<MultiClientServer> self(this);
    m_acceptRetry.stop();
    close();
    for (const QString& key : clientKeys()) {
        if (ServerClient* client = find(key); client && client->isConnected())
            client->socket()->flush();
        seeToOutput(key);
        if (!self)
            return;
        // The flush may have met the end of the connection.
        ServerClient* client = find(key);
        if (client && client->isConnected() && !allAcknowledged(*client->socket()))
            letLinger(*client);
        else if (client)
            retire(*client);
        handOver(key);
        if (!self)
            return;
    }
}

void MultiClientServer::letLinger(ServerClient& client)
{
    SocketOutput output;
    QTcpSocket* socket =
        client.part(qMax<qsizetype>(kMaxDepartedBytes - departedBytes(), 0), output);
    auto lingering = std::make_unique<LingeringSocket>(socket, output, client.key(), kStopLingerMs);
    LingeringSocket* each = lingering.get();
    connect(each, &LingeringSocket::left, this, [this](qint64 bytes, const QString& key) {
        const QPointer<MultiClientServer> self(this);
        Q_EMIT bytesWritten(bytes);
        if (self)
            Q_EMIT bytesWrittenTo(key, bytes);
    });
    connect(each, &LingeringSocket::ended, this,
        [this, each](qint64 unsent, const QString& key) { onLingered(each, key, unsent); });
    m_lingering.push_back(std::move(lingering));
}

void MultiClientServer::onLingered(LingeringSocket* socket, const QString& key, qint64 unsentBytes)
{
    const auto found = std::find_if(m_lingering.begin(), m_lingering.end(),
        [socket](const auto& each) { return each.get() == socket; });
    if (found != m_lingering.end()) {
        // It is in the middle of its last signal.
        found->release()->deleteLater();
        m_lingering.erase(found);
    }
    const QPointer<MultiClientServer> self(this);
    if (unsentBytes > 0)
        Q_EMIT bytesLost(key, 0, unsentBytes);
    if (self && m_lingering.empty())
        Q_EMIT lingered();
}

void MultiClientServer::setAllowedPeers(const QList<QString>& entries)
{
    m_allowed = PeerAllowlist(entries);
}

void MultiClientServer::setReadThrottled(bool on)
{
    if (m_readThrottled == on)
        return;
    m_readThrottled = on;
    for (const auto& client : m_clients)
        client->setHeld(on || client->unreadBytes() >= ServerClient::kMaxUnreadBytes);
    if (on)
        return;
    for (const QString& key : clientKeys()) {
        // A slot may have shut the gate again.
        if (m_readThrottled)
            return;
        const ServerClient* client = find(key);
        if (client && client->socket())
            offer(key);
        else if (client)
            handOver(key);
    }
    regulateAccepting();
}

// Whoever left while nobody reads has to be kept, so when they are many the next ones wait at the
// system's door.
void MultiClientServer::regulateAccepting()
{
    if (!isListening())
        return;
    const auto departed = std::count_if(m_clients.begin(), m_clients.end(),
        [](const auto& client) { return client->socket() == nullptr; });
    if (departed >= kMaxDepartedClients)
        pauseAccepting();
    else if (!m_acceptRetry.isActive())
        resumeAccepting();
}

void MultiClientServer::setBridgeSocketTuning(bool on)
{
    m_bridgeTuning = on;
    for (const auto& client : m_clients) {
        if (client->socket())
            tune(client->socket());
    }
}

void MultiClientServer::tune(QTcpSocket* socket) const
{
    enableTcpKeepAlive(*socket);
    if (m_bridgeTuning)
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
}

void MultiClientServer::handleNewConnection()
{
    const QPointer<MultiClientServer> self(this);
    while (QTcpSocket* socket = self ? nextPendingConnection() : nullptr) {
        m_acceptFailureTold = false;
        const QString reason = refusalFor(socket->peerAddress());
        if (reason.isEmpty()) {
            accept(socket);
            continue;
        }
        const QString peer = peerKeyFor(socket);
        socket->close();
        socket->deleteLater();
        Q_EMIT connectionRefused(peer, reason);
    }
    if (self)
        regulateAccepting();
}

QString MultiClientServer::refusalFor(const QHostAddress& address) const
{
    if (!m_allowed.allows(address))
        return tr("not on the address allowlist");
    if (m_fanout == FanoutMode::Exclusive && exclusiveOwner())
        return tr("the port already has a client (exclusive mode)");
    return {};
}

void MultiClientServer::accept(QTcpSocket* socket)
{
    const QString key = peerKeyFor(socket);
    const QPointer<MultiClientServer> self(this);
    // A device that restarted may come back from the same port before its old connection is known
    // to be dead.
    if (ServerClient* former = find(key)) {
        retire(*former);
        handOver(key);
        if (!self)
            return;
        // Its end was reason enough to stop.
        if (!isListening()) {
            socket->abort();
            socket->deleteLater();
            return;
        }
    }
    m_clients.push_back(std::make_unique<ServerClient>(socket, key));
    ServerClient& client = *m_clients.back();
    m_byKey.insert(key, &client);
    wire(socket);
    tune(socket);
    client.setHeld(m_readThrottled);
    Q_EMIT clientArrived(key);
    if (self)
        Q_EMIT connectionStateChange();
    // It may have spoken, or left, before it was wired.
    if (self)
        drainClient(key);
    if (ServerClient* now = self ? find(key) : nullptr;
        now && now->socket() == socket && !now->isConnected())
        clientDisconnected(key);
}

// Each slot is told the key, which outlives the address of the socket.
void MultiClientServer::wire(QTcpSocket* socket)
{
    const QString key = peerKeyFor(socket);
    connect(socket, &QTcpSocket::readyRead, this, [this, key] { drainClient(key); });
    connect(socket, &QTcpSocket::bytesWritten, this, [this, key] { seeToOutput(key); });
    connect(socket, &QTcpSocket::errorOccurred, this, [this, key] {
        const QPointer<MultiClientServer> self(this);
        seeToOutput(key);
        if (ServerClient* client = self ? find(key) : nullptr)
            client->salvage();
    });
    connect(socket, &QTcpSocket::disconnected, this, [this, key] { clientDisconnected(key); });
}

// Accepting is paused by the time this is called; going on at once would only fail again.
void MultiClientServer::onAcceptError()
{
    m_acceptRetry.start();
    if (!std::exchange(m_acceptFailureTold, true))
        Q_EMIT acceptFailed(errorString());
}

void MultiClientServer::drainClient(const QString& key)
{
    if (!m_readThrottled)
        offer(key);
}

void MultiClientServer::offer(const QString& key)
{
    ServerClient* client = find(key);
    if (client && (client->fill() || client->unreadBytes() > 0))
        Q_EMIT newMessage(key);
}

void MultiClientServer::clientDisconnected(const QString& key)
{
    ServerClient* client = find(key);
    if (!client)
        return;
    retire(*client);
    if (m_readThrottled && client->unreadBytes() > 0) {
        regulateAccepting();
        Q_EMIT connectionStateChange();
    } else {
        handOver(key);
    }
}

void MultiClientServer::retire(ServerClient& client)
{
    client.salvage();
    client.depart(qMax<qsizetype>(kMaxDepartedBytes - departedBytes(), 0));
}

void MultiClientServer::handOver(const QString& key)
{
    const QPointer<MultiClientServer> self(this);
    ServerClient* departed = find(key);
    if (departed && departed->unreadBytes() > 0 && departed->announceLast())
        Q_EMIT newMessage(key);
    // The slot may have stopped the server, or deleted it.
    const ServerClient* client = self ? find(key) : nullptr;
    if (!client || client->socket())
        return;
    const qint64 unread = client->unreadBytes() + client->lostUnreadBytes();
    const qint64 unsent = client->lostUnsentBytes();
    const qint64 stalled = m_byKey.value(key)->takeStalled();
    m_byKey.remove(key);
    m_clients.erase(std::find_if(m_clients.begin(), m_clients.end(),
        [client](const auto& each) { return each.get() == client; }));
    if (stalled > 0)
        Q_EMIT clientStalled(key, stalled);
    if (self && (unread > 0 || unsent > 0))
        Q_EMIT bytesLost(key, unread, unsent);
    if (self)
        Q_EMIT clientGone(key);
    if (self)
        Q_EMIT connectionStateChange();
}

qint64 MultiClientServer::broadcast(const QByteArray& data)
{
    bool taken = false;
    for (const QString& key : clientKeys())
        taken = writeTo(key, data) || taken;
    return taken ? data.size() : 0;
}

bool MultiClientServer::writeTo(const QString& peerKey, const QByteArray& data)
{
    ServerClient* client = find(peerKey);
    if (data.isEmpty() || !client || !client->isConnected())
        return false;
    if (!client->hasRoomFor(data.size())) {
        // The system may have room that the event loop has not come to use yet.
        client->socket()->flush();
        client = find(peerKey);
        if (!client || !client->isConnected())
            return false;
        if (!client->hasRoomFor(data.size())) {
            dropStalled(*client);
            return false;
        }
    }
    if (!client->write(data))
        return false;
    if (!m_poll.isActive())
        m_poll.start();
    return true;
}

// A stream with a hole would be a lie to the client, so its connection ends instead: it knows then,
// and a new one begins with the present. Its end is told later, since nobody who writes expects a
// client to go meanwhile.
void MultiClientServer::dropStalled(ServerClient& client)
{
    client.departStalled(qMax<qsizetype>(kMaxDepartedBytes - departedBytes(), 0));
    QMetaObject::invokeMethod(
        this,
        [this, key = client.key()] {
            ServerClient* stalled = find(key);
            const qint64 unsent = stalled ? stalled->takeStalled() : 0;
            if (unsent == 0)
                return;
            const QPointer<MultiClientServer> self(this);
            Q_EMIT clientStalled(key, unsent);
            if (self && find(key) == stalled)
                clientDisconnected(key);
        },
        Qt::QueuedConnection);
}

void MultiClientServer::seeToOutput(const QString& key)
{
    ServerClient* client = find(key);
    const qint64 bytes = client ? client->takeLeft() : 0;
    if (client && client->needsPoll() && !m_poll.isActive())
        m_poll.start();
    if (bytes == 0)
        return;
    const QPointer<MultiClientServer> self(this);
    Q_EMIT bytesWritten(bytes);
    if (self)
        Q_EMIT bytesWrittenTo(key, bytes);
}

void MultiClientServer::pollOutput()
{
    const QPointer<MultiClientServer> self(this);
    m_poll.stop();
    for (const QString& key : clientKeys()) {
        seeToOutput(key);
        if (!self)
            return;
    }
}

QByteArray MultiClientServer::takeMessage(const QString& peerKey)
{
    ServerClient* client = find(peerKey);
    if (!client)
        return {};
    QByteArray bytes = client->take();
    client->setHeld(m_readThrottled);
    // Later, so that a client that floods has its turn like every other.
    if (!m_readThrottled && client->hasMore()) {
        QMetaObject::invokeMethod(
            this, [this, peerKey] { drainClient(peerKey); }, Qt::QueuedConnection);
    }
    return bytes;
}

void MultiClientServer::disconnectClient(const QString& peerKey)
{
    const ServerClient* client = find(peerKey);
    if (!client || !client->isConnected())
        return;
    QTcpSocket* socket = client->socket();
    QTimer::singleShot(kLingerMs, socket, [this, peerKey, socket] {
        if (ServerClient* late = find(peerKey); late && late->socket() == socket)
            clientDisconnected(peerKey);
    });
    socket->disconnectFromHost();
}

QStringList MultiClientServer::clientKeys() const
{
    QStringList keys;
    keys.reserve(clientCount());
    for (const auto& client : m_clients)
        keys.append(client->key());
    return keys;
}

QTcpSocket* MultiClientServer::exclusiveOwner() const
{
    const auto found = std::find_if(m_clients.begin(), m_clients.end(),
        [](const auto& client) { return client->isConnected(); });
    return found == m_clients.end() ? nullptr : (*found)->socket();
}

QString MultiClientServer::peerKeyFor(const QTcpSocket* socket)
{
    return socket ? peerKeyOf(socket->peerAddress(), socket->peerPort()) : QString();
}

QString MultiClientServer::rememberedKeyFor(const QTcpSocket* socket) const
{
    const auto found = std::find_if(m_clients.begin(), m_clients.end(),
        [socket](const auto& client) { return socket && client->socket() == socket; });
    return found == m_clients.end() ? QString() : (*found)->key();
}

qint64 MultiClientServer::pendingWriteBytes(const QString& peerKey) const
{
    const ServerClient* client = find(peerKey);
    qint64 bytes = client ? client->unsentBytes() : 0;
    for (const auto& each : m_lingering)
        bytes += each->peer() == peerKey ? each->pendingBytes() : 0;
    return bytes;
}

qint64 MultiClientServer::pendingWriteBytes() const
{
    qint64 most = 0;
    for (const auto& client : m_clients) {
        if (client->isConnected() && !client->isDeaf())
            most = qMax(most, client->unsentBytes());
    }
    for (const auto& each : m_lingering)
        most = qMax(most, each->pendingBytes());
    return most;
}

bool MultiClientServer::hasRoomFor(const QString& peerKey, qint64 bytes) const
{
    const ServerClient* client = find(peerKey);
    return client && client->isConnected() && client->hasRoomFor(bytes);
}

ServerClient* MultiClientServer::find(const QString& peerKey) const
{
    return m_byKey.value(peerKey, nullptr);
}

qsizetype MultiClientServer::departedBytes() const
{
    qsizetype bytes = 0;
    for (const auto& client : m_clients) {
        if (!client->socket())
            bytes += client->unreadBytes();
    }
    return bytes;
}
