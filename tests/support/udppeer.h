#pragma once

#include <QHostAddress>
#include <QList>
#include <QNetworkDatagram>
#include <QUdpSocket>

/// The other side of a UDP exchange in a test: one socket on 127.0.0.1, on a port that the system
/// chooses, that keeps every datagram up to `kMaxDatagrams`.
class UdpPeer final
{
    Q_DISABLE_COPY_MOVE(UdpPeer)

public:
    struct Datagram
    {
        quint16 senderPort = 0;
        QByteArray payload;
    };

    static constexpr qsizetype kMaxDatagrams = 10'000;

    UdpPeer()
    {
        QObject::connect(&m_socket, &QUdpSocket::readyRead, &m_socket, [this] { drain(); });
        m_socket.bind(QHostAddress::LocalHost, 0);
    }
    ~UdpPeer() = default;

    quint16 port() const { return m_socket.localPort(); }

    /// One datagram to 127.0.0.1, also an empty one. False when the system refuses it.
    bool sendTo(quint16 port, const QByteArray& payload)
    {
        return m_socket.writeDatagram(payload, QHostAddress::LocalHost, port) == payload.size();
    }

    const QList<Datagram>& received() const { return m_received; }
    void clear() { m_received.clear(); }

    /// Payloads of all datagrams, joined in order of arrival.
    QByteArray receivedBytes() const
    {
        QByteArray all;
        for (const Datagram& datagram : m_received) {
            all.append(datagram.payload);
        }
        return all;
    }

private:
    void drain()
    {
        while (m_socket.hasPendingDatagrams()) {
            const auto datagram = m_socket.receiveDatagram();
            if (m_received.size() < kMaxDatagrams) {
                m_received.append({static_cast<quint16>(datagram.senderPort()), datagram.data()});
            }
        }
    }

    QList<Datagram> m_received;
    QUdpSocket m_socket;
};
