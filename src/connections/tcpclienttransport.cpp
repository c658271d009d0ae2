#include "connections/tcpclienttransport.h"

#include "connections/lingeringsocket.h"

#include <QNetworkProxy>
#include <QPointer>
#include <QTcpSocket>
#include <QtDebug>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

// Never asks the system for more, which could meet the end of the connection in mid-read.
QByteArray readBuffered(QTcpSocket* socket)
{
    const qint64 size = socket->bytesAvailable();
    return size > 0 ? socket->read(size) : QByteArray();
}

} // namespace

TcpClientTransport::TcpClientTransport(connectionMode mode)
    : Transport(mode)
{
    m_poll.setInterval(SocketOutput::kPollMs);
    connect(&m_poll, &QTimer::timeout, this, &TcpClientTransport::seeToOutput);
}

TcpClientTransport::~TcpClientTransport()
{
    QTcpSocket* socket = std::exchange(m_socket, nullptr);
    if (!socket)
        return;
    socket->disconnect(this);
    socket->flush();
    // A stream with its end missing is not to pass for a whole one.
    if (const qint64 unsent = socket->bytesToWrite() + m_pending.size(); unsent > 0) {
        qWarning() << "The connection to" << name() << "ended with" << unsent << "bytes not sent";
        resetConnection(*socket);
    }
    giveUp(socket);
}

Transport::State TcpClientTransport::state() const
{
    if (!m_socket)
        return State::Closed;
    return isConnected() && m_stood ? State::Open : State::Opening;
}

bool TcpClientTransport::isConnected() const
{
    return m_socket && m_socket->state() == QAbstractSocket::ConnectedState;
}

bool TcpClientTransport::open(const Settings& settings, OpenMode how)
{
    if (m_socket)
        return true;
    const QPointer<TcpClientTransport> self(this);
    if (m_lingering)
        m_lingering->end();
    if (!self || m_socket)
        return self;
    const Settings sane = settings.sanitized();
    setName(u"%1:%2"_s.arg(sane.targetHost).arg(sane.targetPort));
    setErrorText({});
    m_quiet = how == OpenMode::Quiet;
    m_stood = false;
    m_socket = new QTcpSocket(this);
    // A device is where its address says; asking the system for its proxies may also take seconds.
    m_socket->setProxy(QNetworkProxy::NoProxy);
    wire(m_socket);
    tune(*m_socket, m_bridgeTuning, isReadingHeld());
    m_socket->connectToHost(sane.targetHost, static_cast<quint16>(sane.targetPort),
        QIODevice::ReadWrite, QAbstractSocket::AnyIPProtocol);
    return self && m_socket;
}

// A socket that was given up may still speak; each slot is told which socket it is and heeds the
// present one only.
void TcpClientTransport::wire(QTcpSocket* socket)
{
    connect(socket, &QTcpSocket::connected, this, [this, socket] {
        if (socket == m_socket)
            onConnected();
    });
    connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
        if (socket == m_socket)
            Q_EMIT readyRead();
    });
    connect(socket, &QTcpSocket::bytesWritten, this, [this, socket] {
        if (socket == m_socket)
            seeToOutput();
    });
    connect(
        socket, &QTcpSocket::disconnected, this, [this, socket] { onDisconnected(socket); },
        Qt::SingleShotConnection);
    connect(socket, &QTcpSocket::errorOccurred, this, [this, socket] { onError(socket); });
}

void TcpClientTransport::onConnected()
{
    // Options do not reach a socket that has no descriptor yet, so they are set again now.
    tune(*m_socket, m_bridgeTuning, isReadingHeld());
    m_tail.open(m_socket->socketDescriptor());
    m_stood = true;
    flushPending();
    Q_EMIT opened();
}

void TcpClientTransport::flushPending()
{
    if (isConnected() && !m_pending.isEmpty())
        m_socket->write(std::exchange(m_pending, {}));
}

WriteResult TcpClientTransport::write(const QByteArray& bytes, const QString& peer)
{
    Q_UNUSED(peer)
    if (bytes.isEmpty())
        return {WriteResult::Refusal::Nothing, tr("There is nothing to send.")};
    if (!m_socket || m_retiring)
        return {WriteResult::Refusal::NotOpen, tr("There is no TCP connection.")};
    if (!hasRoomFor(bytes.size()))
        return refuseFull(bytes.size());
    if (isConnected()) {
        flushPending();
        if (!m_output.write(*m_socket, bytes))
            return {WriteResult::Refusal::Failed, m_socket->errorString()};
        if (!m_poll.isActive())
            m_poll.start();
    } else {
        m_pending.append(bytes);
        m_output.add(bytes.size());
    }
    const bool stands = isOpen();
    tellRefused();
    return stands ? WriteResult() : WriteResult::waiting();
}

bool TcpClientTransport::hasRoomFor(qint64 bytes, const QString& peer) const
{
    Q_UNUSED(peer)
    const qint64 waiting = m_pending.size() + (m_socket ? m_socket->bytesToWrite() : 0);
    return bytes <= kMaxUnsentBytes - waiting;
}

qint64 TcpClientTransport::pendingBytes(const QString& peer) const
{
    Q_UNUSED(peer)
    const qint64 former = m_lingering ? m_lingering->pendingBytes() : 0;
    if (!m_socket)
        return former;
    // The system knows nothing of what waits for the connection.
    const bool waits = !isConnected() || !m_pending.isEmpty();
    return former + m_output.pendingBytes(waits ? nullptr : m_socket);
}

void TcpClientTransport::tellLeft()
{
    if (m_socket)
        seeToOutput();
}

void TcpClientTransport::seeToOutput()
{
    if (!isConnected() || !m_pending.isEmpty()) {
        m_poll.stop();
        return;
    }
    const qint64 bytes = m_output.takeLeft(*m_socket);
    if (!m_output.needsPoll(*m_socket))
        m_poll.stop();
    else if (!m_poll.isActive())
        m_poll.start();
    if (bytes > 0)
        Q_EMIT left(bytes, {});
}

bool TcpClientTransport::takeChunk(Chunk& chunk)
{
    if (isReadingHeld() && !m_lastCall)
        return false;
    chunk = {m_residue.take(), {}, true};
    if (m_socket)
        chunk.bytes.append(readBuffered(m_socket));
    return !chunk.bytes.isEmpty();
}

bool TcpClientTransport::hasUnread() const
{
    return !m_residue.isEmpty() || (m_socket && m_socket->bytesAvailable() > 0);
}

void TcpClientTransport::discard(Purge which)
{
    if (!m_socket)
        return;
    if (purgesInput(which)) {
        m_residue.clear();
        (void)readBuffered(m_socket);
        // Behind a held socket stands the system's buffer.
        while (!m_tail.drain(ReceiveResidue::kMaxBytes).isEmpty()) {
        }
    }
    if (!purgesOutput(which) || m_pending.isEmpty())
        return;
    m_pending.clear();
    Q_EMIT discarded(m_output.drop(), {});
}

void TcpClientTransport::setReadingHeld(bool held)
{
    if (m_socket)
        tune(*m_socket, m_bridgeTuning, isReadingHeld());
    if (!held && hasUnread())
        Q_EMIT readyRead();
}

void TcpClientTransport::setBridgeTuning(bool on)
{
    m_bridgeTuning = on;
    if (m_socket)
        tune(*m_socket, m_bridgeTuning, isReadingHeld());
}

void TcpClientTransport::tune(QTcpSocket& socket, bool forBridge, bool held)
{
    if (forBridge) {
        socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
        socket.setSocketOption(QAbstractSocket::KeepAliveOption, 1);
    }
    socket.setReadBufferSize(held ? kHeldReadBufferBytes : 0);
}

// The last moment, for those who write and those who read. False when the connection ended in it.
bool TcpClientTransport::sayGoodbye()
{
    if (state() != State::Open)
        return true;
    const QPointer<TcpClientTransport> self(this);
    const QTcpSocket* const socket = m_socket;
    m_closing = true;
    Q_EMIT closing();
    if (self && m_socket == socket && hasUnread()) {
        m_lastCall = true;
        Q_EMIT readyRead();
        if (self)
            m_lastCall = false;
    }
    if (!self)
        return false;
    m_closing = false;
    return m_socket == socket;
}

void TcpClientTransport::close()
{
    const QPointer<TcpClientTransport> self(this);
    if (!m_socket || m_closing || !sayGoodbye())
        return;
    QTcpSocket* const socket = m_socket;
    CloseReason reason;
    const qint64 gone = m_pending.isEmpty() && m_stood ? m_output.takeLeft(*socket) : 0;
    m_socket = nullptr;
    m_residue.clear();
    m_poll.stop();
    m_tail.close();
    socket->disconnect(this);
    if (socket->state() == QAbstractSocket::ConnectedState && m_pending.isEmpty()) {
        linger(socket);
    } else {
        reason.unsentBytes = m_output.drop();
        m_pending.clear();
        giveUp(socket);
    }
    if (gone > 0)
        Q_EMIT left(gone, {});
    if (self && reason.unsentBytes > 0)
        Q_EMIT discarded(reason.unsentBytes, {});
    if (self)
        tellRefused();
    if (self)
        Q_EMIT closed(reason);
    if (self && reason.unsentBytes > 0)
        tellUnsent(unsentText(reason.unsentBytes));
}

void TcpClientTransport::linger(QTcpSocket* socket)
{
    if (allAcknowledged(*socket)) {
        m_output.drop();
        giveUp(socket);
        return;
    }
    m_lingering = new LingeringSocket(socket, m_output, {}, kLingerMs);
    m_lingering->setParent(this);
    m_output.drop();
    connect(m_lingering, &LingeringSocket::left, this, &Transport::left);
    connect(m_lingering, &LingeringSocket::ended, this, &TcpClientTransport::onLingered);
}

void TcpClientTransport::onLingered(qint64 unsentBytes)
{
    std::exchange(m_lingering, nullptr)->deleteLater();
    const QPointer<TcpClientTransport> self(this);
    if (unsentBytes > 0)
        Q_EMIT discarded(unsentBytes, {});
    if (self && unsentBytes > 0)
        tellUnsent(unsentText(unsentBytes));
    if (self)
        Q_EMIT lingered();
}

QString TcpClientTransport::unsentText(qint64 bytes) const
{
    return tr("The connection to %1 ended with %2 bytes not sent.")
        .arg(name(), QString::number(bytes));
}

void TcpClientTransport::giveUp(QTcpSocket* socket)
{
    m_tail.close();
    socket->setParent(nullptr);
    socket->disconnect(this);
    socket->abort();
    socket->deleteLater();
}

// A peer that closes is announced twice, first as an error and then as the end of the connection.
void TcpClientTransport::onError(QTcpSocket* socket)
{
    if (socket != m_socket || m_retiring)
        return;
    const bool byPeer = socket->error() == QAbstractSocket::RemoteHostClosedError;
    using Kind = CloseReason::Kind;
    CloseReason reason{!m_stood ? Kind::Failed
                       : byPeer ? Kind::ByPeer
                                : Kind::Lost,
        tr("TCP connect FAILED: %1").arg(socket->errorString()), 0};
    if (offerUnread())
        retire(std::move(reason));
}

void TcpClientTransport::onDisconnected(QTcpSocket* socket)
{
    if (socket == m_socket && !m_retiring && offerUnread())
        retire({CloseReason::Kind::ByPeer, {}, 0});
}

// What the lost socket holds is offered to the reader; false when the reader discarded it. A read
// may meet the end of the connection once more; that is not a second loss.
bool TcpClientTransport::offerUnread()
{
    const QTcpSocket* socket = m_socket;
    const QPointer<TcpClientTransport> self(this);
    m_retiring = true;
    if (!isReadingHeld() && socket->bytesAvailable() > 0)
        Q_EMIT readyRead();
    if (!self)
        return false;
    m_retiring = false;
    return socket == m_socket;
}

void TcpClientTransport::retire(CloseReason reason)
{
    const QPointer<TcpClientTransport> self(this);
    QTcpSocket* socket = m_socket;
    const qint64 gone = m_pending.isEmpty() && m_stood ? m_output.takeLeft(*socket) : 0;
    reason.unsentBytes = m_output.drop();
    m_pending.clear();
    m_poll.stop();
    const qsizetype dropped = keepUnread(socket);
    m_socket = nullptr;
    const bool quiet = std::exchange(m_quiet, false) && reason.kind == CloseReason::Kind::Failed;
    setErrorText(reason.text);
    giveUp(socket);
    if (gone > 0)
        Q_EMIT left(gone, {});
    if (self && reason.unsentBytes > 0)
        Q_EMIT discarded(reason.unsentBytes, {});
    if (self && dropped > 0) {
        tell(Notice::error(
            tr("%1 bytes that the TCP peer had sent were dropped: nobody read them").arg(dropped)));
    }
    if (self)
        tellRefused();
    if (self && !isReadingHeld() && !m_residue.isEmpty())
        Q_EMIT readyRead();
    if (self && !quiet && !reason.text.isEmpty())
        tell(Notice::error(reason.text));
    if (self)
        Q_EMIT closed(reason);
    if (self && reason.unsentBytes > 0)
        tellUnsent(unsentText(reason.unsentBytes), reason.kind);
}

// Gives how many bytes had no room.
qsizetype TcpClientTransport::keepUnread(QTcpSocket* socket)
{
    qsizetype dropped = m_residue.keep(readBuffered(socket));
    dropped += m_residue.keep(m_tail.drain(ReceiveResidue::kMaxBytes));
    return dropped;
}
