#include "support/udppeer.h"

#include <QHostAddress>
#include <QNetworkDatagram>

UdpPeer::UdpPeer(QObject* parent)
    : QObject(parent)
{
    connect(&m_socket, &QUdpSocket::readyRead, this, &UdpPeer::drain);
    m_socket.bind(QHostAddress::LocalHost, 0);
}

UdpPeer::~UdpPeer()
{
    m_socket.disconnect(this);
}

bool UdpPeer::sendTo(quint16 port, const QByteArray& payload)
{
    return m_socket.writeDatagram(payload, QHostAddress::LocalHost, port) == payload.size();
}

QByteArray UdpPeer::receivedBytes() const
{
    QByteArray all;
    for (const Datagram& datagram : m_received) {
        all.append(datagram.payload);
    }
    return all;
}

void UdpPeer::clear()
{
    m_received.clear();
    m_dropped = 0;
}

void UdpPeer::drain()
{
    while (m_socket.hasPendingDatagrams()) {
        const auto datagram = m_socket.receiveDatagram();
        const auto sender = static_cast<quint16>(datagram.senderPort());
        if (m_received.size() < maxDatagrams) {
            m_received.append({sender, datagram.data()});
        } else {
            ++m_dropped;
        }
        if (const auto answer = m_answer ? m_answer(datagram.data()) : QByteArray();
            !answer.isEmpty()) {
            sendTo(sender, answer);
        }
        Q_EMIT datagramReceived();
    }
}
