#include "connections/peerallowlist.h"

#include "connections/peerkey.h"

#include <algorithm>

PeerAllowlist::PeerAllowlist(const QList<QString>& entries)
    : m_unrestricted(entries.isEmpty())
{
    for (const QString& entry : entries) {
        const QString text = entry.trimmed();
        if (text.contains(u'/')) {
            const auto subnet = QHostAddress::parseSubnet(text);
            if (!subnet.first.isNull() && subnet.second >= 0)
                m_subnets.append(subnet);
        } else if (const QHostAddress address(text); !address.isNull()) {
            m_addresses.append(address);
        }
    }
}

bool PeerAllowlist::allows(const QHostAddress& address) const
{
    if (m_unrestricted)
        return true;
    const QHostAddress unmapped = unmappedAddress(address);
    const auto equals = [&](const QHostAddress& each) {
        return each.isEqual(address, QHostAddress::TolerantConversion);
    };
    const auto contains = [&](const std::pair<QHostAddress, int>& subnet) {
        return address.isInSubnet(subnet) || unmapped.isInSubnet(subnet);
    };
    return std::any_of(m_addresses.begin(), m_addresses.end(), equals)
           || std::any_of(m_subnets.begin(), m_subnets.end(), contains);
}
