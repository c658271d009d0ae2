#pragma once

#include <QHostAddress>
#include <QString>

// The IPv4 form of an IPv4-mapped IPv6 address, as a listener for both protocols reports its IPv4
// clients; any other address as it is.
[[nodiscard]] QHostAddress unmappedAddress(const QHostAddress& address);

// The name of a remote peer: "address:port", the port in decimal ("192.168.1.20:5000").
[[nodiscard]] QString peerKeyOf(const QHostAddress& address, quint16 port);
