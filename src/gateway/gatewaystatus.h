#pragma once

#include <QByteArray>
#include <QString>

class Gateway;

// What a gateway is doing, as JSON; the keys are described in docs/GATEWAY.md. At most
// kMaxListedClients clients and waiting requests are listed by name, all are counted.
inline constexpr qsizetype kMaxListedClients = 256;

[[nodiscard]] QByteArray gatewayStatus(const Gateway& gateway, const QString& file);
