#include "connections/tcpclientlink.h"

#include <QLocale>
#include <QNetworkProxy>
#include <QScopedValueRollback>
#include <QSignalBlocker>
#include <QTcpSocket>
#include <QTimer>
#include <limits>
#include <utility>

namespace {

constexpr int failureMs = 5000;

// Never asks the system for more, which could meet the end of the connection in mid-read.
QByteArray readBuffered(QTcpSocket* socket)
{
    const qint64 size = socket->bytesAvailable();
    return size > 0 ? socket->read(size) : QByteArray();
}

} // namespace

TcpClientLink::TcpClientLink(QObject* parent)
    : QObject(parent)
{}

TcpClientLink::~TcpClientLink()
{
    const QSignalBlocker nobody(this);
    teardown();
}

void TcpClientLink::connectTo(const QString& host, quint16 port)
{
    if (m_socket)
        return;
    m_socket = new QTcpSocket(this);
    // A device is where its address says; asking the system for its proxies may also take seconds.
    m_socket->setProxy(QNetworkProxy::NoProxy);
    m_fullReported = false;
    wire(m_socket);
    tune(m_socket);
    m_socket->connectToHost(host, port, QIODevice::ReadWrite, QAbstractSocket::AnyIPProtocol);
}

// A socket that was given up may still speak; each slot is told which socket it is and heeds the
// present one only.
void TcpClientLink::wire(QTcpSocket* socket)
{
    connect(socket, &QTcpSocket::connected, this, [this, socket] {
        if (socket != m_socket)
            return;
        // Options do not reach a socket that has no descriptor yet, so they are set again now.
        tune(socket);
        m_tail.open(socket->socketDescriptor());
        flushPending();
        Q_EMIT connected();
    });
    connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
        if (socket == m_socket)
            Q_EMIT readyRead();
    });
    connect(socket, &QTcpSocket::bytesWritten, this, [this, socket](qint64 bytes) {
        if (socket != m_socket)
            return;
        m_fullReported = false;
        Q_EMIT bytesWritten(bytes);
    });
    connect(
        socket, &QTcpSocket::disconnected, this, [this, socket] { onDisconnected(socket); },
        Qt::SingleShotConnection);
    connect(socket, &QTcpSocket::errorOccurred, this, [this, socket] { onError(socket); });
}

bool TcpClientLink::isConnected() const
{
    return m_socket && m_socket->state() == QAbstractSocket::ConnectedState;
}

bool TcpClientLink::teardown()
{
    m_residue.clear();
    if (!m_socket)
        return false;
    discard();
    return true;
}

void TcpClientLink::discard()
{
    QTcpSocket* socket = std::exchange(m_socket, nullptr);
    const qsizetype waiting = std::exchange(m_pending, {}).size();
    socket->disconnect(this);
    m_tail.close();
    if (socket->state() == QAbstractSocket::ConnectedState && socket->bytesToWrite() > 0) {
        linger(socket);
        return;
    }
    socket->abort();
    socket->deleteLater();
    if (waiting > 0)
        tellUnsent(waiting);
}

// The socket goes when its last bytes have left, or when its time is over.
void TcpClientLink::linger(QTcpSocket* socket)
{
    connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    QTimer::singleShot(lingerMs, socket, [this, socket] {
        const qint64 left = socket->bytesToWrite();
        socket->abort();
        socket->deleteLater();
        if (left <= 0)
            return;
        Q_EMIT unsent(left);
        tellUnsent(left);
    });
    socket->disconnectFromHost();
}

void TcpClientLink::tellUnsent(qint64 bytes)
{
    const QString text = tr("The TCP connection ended with %n byte(s) not sent.", nullptr,
        int(qMin<qint64>(bytes, std::numeric_limits<int>::max())));
    Q_EMIT statusMessage(text, failureMs);
}

bool TcpClientLink::send(const QByteArray& data)
{
    if (data.isEmpty() || !m_socket)
        return false;
    if (data.size() > maxPendingBytes - pendingWriteBytes()) {
        tellFull(isConnected()
                     ? tr("The TCP peer does not read: %1 wait for it, and the rest is refused")
                           .arg(QLocale().formattedDataSize(pendingWriteBytes()))
                     : tr("Too much to send before the TCP connection stands; the rest is "
                          "refused"));
        return false;
    }
    if (isConnected()) {
        flushPending();
        return m_socket && m_socket->write(data) == data.size();
    }
    m_pending.append(data);
    return true;
}

// Once, until there is room again.
void TcpClientLink::tellFull(const QString& text)
{
    if (!std::exchange(m_fullReported, true))
        Q_EMIT statusMessage(text, failureMs);
}

void TcpClientLink::flushPending()
{
    if (isConnected() && !m_pending.isEmpty())
        m_socket->write(std::exchange(m_pending, {}));
}

QByteArray TcpClientLink::readAvailable()
{
    if (m_readThrottled)
        return {};
    QByteArray bytes = m_residue.take();
    if (m_socket)
        bytes.append(readBuffered(m_socket));
    return bytes;
}

bool TcpClientLink::hasUnread() const
{
    return !m_residue.isEmpty() || (m_socket && m_socket->bytesAvailable() > 0);
}

qint64 TcpClientLink::pendingWriteBytes() const
{
    return (m_socket ? m_socket->bytesToWrite() : 0) + m_pending.size();
}

void TcpClientLink::setReadThrottled(bool on)
{
    m_readThrottled = on;
    if (m_socket)
        tune(m_socket);
}

void TcpClientLink::setBridgeTuning(bool on)
{
    m_bridgeTuning = on;
    if (m_socket)
        tune(m_socket);
}

void TcpClientLink::tune(QTcpSocket* socket) const
{
    if (m_bridgeTuning) {
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        socket->setSocketOption(QAbstractSocket::KeepAliveOption, 1);
    }
    socket->setReadBufferSize(m_readThrottled ? throttledReadBufferBytes : 0);
}

// A peer that closes is announced twice, first as an error and then as the end of the connection.
void TcpClientLink::onError(QTcpSocket* socket)
{
    if (socket != m_socket || m_retiring)
        return;
    m_unsent = socket->bytesToWrite();
    const QString text = tr("TCP connect FAILED: %1").arg(socket->errorString());
    if (!retire())
        return;
    Q_EMIT errorOccurred(text);
    Q_EMIT statusMessage(text, failureMs);
}

void TcpClientLink::onDisconnected(QTcpSocket* socket)
{
    if (socket == m_socket && !retire())
        return;
    Q_EMIT disconnected();
}

// Gives the socket up after what it holds was offered to the reader; what is not read now is kept.
// False when the reader itself discarded the socket meanwhile.
bool TcpClientLink::retire()
{
    if (!offerUnread())
        return false;
    QTcpSocket* socket = m_socket;
    qsizetype dropped = m_residue.keep(readBuffered(socket));
    dropped += m_residue.keep(m_tail.drain(ReceiveResidue::maxBytes));
    m_tail.close();
    const qint64 left = qMax(std::exchange(m_unsent, 0), socket->bytesToWrite());
    const qsizetype waiting = std::exchange(m_pending, {}).size();
    m_socket = nullptr;
    socket->deleteLater();
    if (left > 0)
        Q_EMIT unsent(left);
    // Later, or what others have to say about the end of the connection would hide it at once.
    if (left + waiting > 0)
        QMetaObject::invokeMethod(
            this, [this, bytes = left + waiting] { tellUnsent(bytes); }, Qt::QueuedConnection);
    if (dropped > 0) {
        Q_EMIT statusMessage(
            tr("%1 bytes that the TCP peer had sent were dropped: nobody read them").arg(dropped),
            failureMs);
    }
    if (!m_readThrottled && !m_residue.isEmpty())
        Q_EMIT readyRead();
    return true;
}

// A read may meet the end of the connection once more; that is not a second loss.
bool TcpClientLink::offerUnread()
{
    const QTcpSocket* socket = m_socket;
    const QScopedValueRollback<bool> retiring(m_retiring, true);
    if (!m_readThrottled && socket->bytesAvailable() > 0)
        Q_EMIT readyRead();
    return socket == m_socket;
}
