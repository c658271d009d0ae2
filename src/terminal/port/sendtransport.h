#pragma once

#include <QByteArray>
#include <QString>

// Whom a datagram goes to when no peer is named.
enum class UdpTargetMode : int { LastSender = 0, ConfiguredRemote = 1, Broadcast = 2 };

// What the send pipeline needs of a transport.
class SendTransport
{
public:
    SendTransport() = default;
    virtual ~SendTransport() = default;
    Q_DISABLE_COPY_MOVE(SendTransport)

    [[nodiscard]] virtual bool isOpen() const = 0;
    // Sends to the pane's own target, opening the connection first when it is closed. True when
    // the transport took all bytes: to write them now or, while connecting, as soon as it can.
    virtual bool sendMessage(const QByteArray& bytes) = 0;
    // Sends over an open connection, to the peer of that key or, without a key, to the target of
    // the mode. Returns the bytes taken, all or 0.
    virtual qint64 writeRaw(
        const QByteArray& bytes, UdpTargetMode target, const QString& peerKey) = 0;
};
