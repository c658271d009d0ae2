#include "connections/udppeertable.h"

#include "connections/peerkey.h"

QString UdpPeerTable::keyOf(const QHostAddress& address, quint16 port)
{
    return peerKeyOf(address, port);
}

UdpPeerTable::Heard UdpPeerTable::record(
    const QHostAddress& address, quint16 port, const QByteArray& payload, const QDateTime& now)
{
    const QString key = keyOf(address, port);
    m_lastSenderRow = rowOf(key);
    if (m_lastSenderRow >= 0) {
        Peer& peer = m_peers[m_lastSenderRow];
        peer.lastDatagram = payload;
        peer.lastHeard = now;
        return Heard::KnownPeer;
    }
    if (m_peers.size() >= kMaxPeers)
        return Heard::TableFull;
    m_lastSenderRow = static_cast<int>(m_peers.size());
    m_peers.append({address, port, payload, now});
    m_rows.insert(key, m_lastSenderRow);
    return Heard::NewPeer;
}

void UdpPeerTable::clear()
{
    m_peers.clear();
    m_rows.clear();
    m_lastSenderRow = -1;
}

const UdpPeerTable::Peer* UdpPeerTable::at(int row) const
{
    return row >= 0 && row < m_peers.size() ? &m_peers.at(row) : nullptr;
}
