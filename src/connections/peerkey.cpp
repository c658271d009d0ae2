#include "connections/peerkey.h"

using namespace Qt::Literals::StringLiterals;

QHostAddress unmappedAddress(const QHostAddress& address)
{
    bool mapped = false;
    const quint32 ipv4 = address.toIPv4Address(&mapped);
    return mapped && address.protocol() == QAbstractSocket::IPv6Protocol ? QHostAddress(ipv4)
                                                                         : address;
}

QString peerKeyOf(const QHostAddress& address, quint16 port)
{
    return u"%1:%2"_s.arg(unmappedAddress(address).toString()).arg(port);
}
