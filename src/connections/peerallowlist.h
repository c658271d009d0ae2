#pragma once

#include <QHostAddress>
#include <QList>
#include <QString>
#include <utility>

// Which addresses may use a TCP server: single addresses and subnets ("192.168.1.0/24",
// "fd00::/8"). A value; an empty list allows every address.
class PeerAllowlist final
{
public:
    PeerAllowlist() = default;
    // Entries that are neither an address nor a subnet match nothing; a list of nothing else
    // therefore refuses everybody.
    explicit PeerAllowlist(const QList<QString>& entries);

    // At least one entry is an address or a subnet.
    [[nodiscard]] bool hasEntries() const { return !m_addresses.isEmpty() || !m_subnets.isEmpty(); }

    // An IPv4-mapped IPv6 address counts as its IPv4 form.
    [[nodiscard]] bool allows(const QHostAddress& address) const;

private:
    bool m_unrestricted = true;
    QList<QHostAddress> m_addresses;
    QList<std::pair<QHostAddress, int>> m_subnets; // network and prefix length in bits
};
