#include "simdevice/crc32.h"

#include <array>

namespace simdevice {

namespace {

constexpr std::array<quint32, 256> makeTable()
{
    std::array<quint32, 256> table{};
    for (quint32 value = 0; value < table.size(); ++value) {
        quint32 remainder = value;
        for (int bit = 0; bit < 8; ++bit) {
            remainder = (remainder >> 1) ^ ((remainder & 1U) != 0 ? 0xEDB88320U : 0U);
        }
        table.at(value) = remainder;
    }
    return table;
}

constexpr std::array<quint32, 256> kTable = makeTable();

} // namespace

quint32 crc32(quint32 crc, QByteArrayView bytes)
{
    crc = ~crc;
    for (const char byte : bytes) {
        crc = (crc >> 8) ^ kTable[(crc ^ static_cast<quint8>(byte)) & 0xFFU];
    }
    return ~crc;
}

} // namespace simdevice
