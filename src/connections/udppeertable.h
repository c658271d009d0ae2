#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include <QHostAddress>
#include <QList>

// The senders of one UDP socket in the order of their first datagram, and which spoke last.
// A value of the UdpLink. Rows are never removed one by one, so a row stays what it was.
class UdpPeerTable final
{
public:
    // A sender that the socket has heard from.
    struct Peer
    {
        QHostAddress address;
        quint16 port = 0;
        QByteArray lastDatagram;
        QDateTime lastHeard; // local time
    };

    // With datagrams of 64 KiB at most this bounds what the table holds to 64 MiB.
    static constexpr qsizetype kMaxPeers = 1024;

    enum class Heard { KnownPeer, NewPeer, TableFull };

    // "address:port", the port in decimal.
    static QString keyOf(const QHostAddress& address, quint16 port);

    // Records a datagram. With a full table a new sender is not listed, and no row counts as the
    // last sender, so that no reply goes to somebody else.
    Heard record(
        const QHostAddress& address, quint16 port, const QByteArray& payload, const QDateTime& now);
    void clear();

    [[nodiscard]] const QList<Peer>& peers() const { return m_peers; }
    // The peer of a row or null; valid until the table changes.
    [[nodiscard]] const Peer* at(int row) const;
    // -1 when unknown.
    [[nodiscard]] int rowOf(const QString& key) const { return m_rows.value(key, -1); }
    // -1 while none.
    [[nodiscard]] int lastSenderRow() const { return m_lastSenderRow; }

private:
    QList<Peer> m_peers;
    QHash<QString, int> m_rows;
    int m_lastSenderRow = -1;
};
