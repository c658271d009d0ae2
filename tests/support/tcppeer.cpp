#include "support/tcppeer.h"

#include <QHostAddress>
#include <QTcpSocket>

#include <algorithm>
#include <sys/socket.h>

TcpPeer::TcpPeer(QObject* parent)
    : QObject(parent)
{
    connect(&m_server, &QTcpServer::newConnection, this, [this] {
        while (auto* socket = m_server.nextPendingConnection()) {
            const int connection = adopt(socket);
            send(m_greeting, connection);
            Q_EMIT connected(connection);
            drain(connection);
        }
    });
}

TcpPeer::~TcpPeer()
{
    for (const Connection& connection : m_connections) {
        if (connection.socket != nullptr) {
            connection.socket->disconnect(this);
        }
    }
}

bool TcpPeer::listen(quint16 port)
{
    const bool listening = m_server.listen(QHostAddress::LocalHost, port);
    m_port = listening ? m_server.serverPort() : 0;
    return listening;
}

void TcpPeer::stopListening()
{
    m_server.close();
}

int TcpPeer::connectTo(quint16 port)
{
    auto* socket = new QTcpSocket(this);
    const int connection = adopt(socket);
    connect(socket, &QTcpSocket::connected, this, [this, connection] {
        send(m_greeting, connection);
        Q_EMIT connected(connection);
    });
    socket->connectToHost(QHostAddress(QHostAddress::LocalHost), port);
    return connection;
}

int TcpPeer::adopt(QTcpSocket* socket)
{
    const int connection = connectionCount();
    socket->setParent(this);
    socket->setReadBufferSize(kSocketBuffer);
    m_connections.push_back({socket, {}});
    connect(socket, &QTcpSocket::readyRead, this, [this, connection] { drain(connection); });
    const auto over = [this, connection] {
        Connection& own = m_connections[static_cast<size_t>(connection)];
        if (own.socket != nullptr && own.socket->state() == QAbstractSocket::UnconnectedState) {
            drain(connection);
            own.socket->disconnect(this);
            own.socket->deleteLater();
            own.socket = nullptr;
        }
    };
    connect(socket, &QTcpSocket::stateChanged, this, over);
    return connection;
}

void TcpPeer::drain(int connection)
{
    Connection& own = m_connections[static_cast<size_t>(connection)];
    const auto room = kReceiveCapacity - own.received.size();
    if (!m_reading || own.socket == nullptr || !own.socket->isOpen() || room <= 0) {
        return;
    }
    // Not more than is there: a read makes room for all that it is asked for first.
    const auto bytes = own.socket->read(std::min<qint64>(room, own.socket->bytesAvailable()));
    if (bytes.isEmpty()) {
        return;
    }
    own.received.append(bytes);
    if (m_answer) {
        send(m_answer(bytes), connection);
    }
}

const TcpPeer::Connection* TcpPeer::find(int connection) const
{
    const int index = connection == kLatest ? connectionCount() - 1 : connection;
    return index >= 0 && index < connectionCount() ? &m_connections[static_cast<size_t>(index)]
                                                   : nullptr;
}

TcpPeer::Connection* TcpPeer::find(int connection)
{
    return const_cast<Connection*>(std::as_const(*this).find(connection));
}

QTcpSocket* TcpPeer::socketOf(int connection) const
{
    const auto* own = find(connection);
    return own != nullptr ? own->socket : nullptr;
}

int TcpPeer::openCount() const
{
    return static_cast<int>(std::count_if(m_connections.begin(), m_connections.end(),
        [](const Connection& connection) { return connection.socket != nullptr; }));
}

bool TcpPeer::isOpen(int connection) const
{
    const auto* socket = socketOf(connection);
    return socket != nullptr && socket->state() == QAbstractSocket::ConnectedState;
}

void TcpPeer::send(const QByteArray& bytes, int connection)
{
    if (auto* socket = socketOf(connection); socket != nullptr && !bytes.isEmpty()) {
        socket->write(bytes);
    }
}

qint64 TcpPeer::unsent(int connection) const
{
    const auto* socket = socketOf(connection);
    return socket != nullptr ? socket->bytesToWrite() : 0;
}

void TcpPeer::reset(int connection)
{
    if (auto* socket = socketOf(connection); socket != nullptr) {
        const linger hard{1, 0};
        ::setsockopt(static_cast<int>(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &hard,
            sizeof hard);
        socket->abort();
    }
}

void TcpPeer::halfClose(int connection)
{
    if (auto* socket = socketOf(connection); socket != nullptr) {
        socket->flush();
        ::shutdown(static_cast<int>(socket->socketDescriptor()), SHUT_WR);
    }
}

void TcpPeer::close(int connection)
{
    if (auto* socket = socketOf(connection); socket != nullptr) {
        socket->disconnectFromHost();
    }
}

void TcpPeer::setReading(bool on)
{
    m_reading = on;
    for (int connection = 0; on && connection < connectionCount(); ++connection) {
        drain(connection);
    }
}

QByteArray TcpPeer::received(int connection) const
{
    const auto* own = find(connection);
    return own != nullptr ? own->received : QByteArray();
}

QByteArray TcpPeer::takeReceived(int connection)
{
    auto* own = find(connection);
    return own != nullptr ? std::exchange(own->received, {}) : QByteArray();
}
