#pragma once

#include <QByteArrayView>

namespace simdevice {

/// CRC-32 as in ISO-HDLC, Ethernet and ZIP (reflected polynomial 0xEDB88320, all ones in and out).
/// `crc` is the result over what came before, 0 at the start. Check value: 0xCBF43926 for
/// "123456789".
quint32 crc32(quint32 crc, QByteArrayView bytes);

} // namespace simdevice
