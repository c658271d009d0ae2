#include "terminal/text/crccatalog.h"

#include <QtEndian>
#include <algorithm>
#include <array>
#include <bit>

namespace {

using Algorithm = CrcCatalog::Algorithm;
using Parameters = CrcCatalog::CustomParameters;

constexpr std::array kDefinitions{
    CrcCatalog::Definition{Algorithm::Crc4Itu, QLatin1StringView("CRC-4/ITU"),
        Parameters{4, 0x3, 0x0, 0x0, true, true}},
    CrcCatalog::Definition{Algorithm::Crc5Itu, QLatin1StringView("CRC-5/ITU"),
        Parameters{5, 0x15, 0x00, 0x00, true, true}},
    CrcCatalog::Definition{Algorithm::Crc5Usb, QLatin1StringView("CRC-5/USB"),
        Parameters{5, 0x05, 0x1F, 0x1F, true, true}},
    CrcCatalog::Definition{Algorithm::Crc6Itu, QLatin1StringView("CRC-6/ITU"),
        Parameters{6, 0x03, 0x00, 0x00, true, true}},
    CrcCatalog::Definition{
        Algorithm::Crc8, QLatin1StringView("CRC-8"), Parameters{8, 0x07, 0x00, 0x00, false, false}},
    CrcCatalog::Definition{Algorithm::Crc16Modbus, QLatin1StringView("CRC-16/MODBUS"),
        Parameters{16, 0x8005, 0xFFFF, 0x0000, true, true}},
    CrcCatalog::Definition{Algorithm::Crc16Usb, QLatin1StringView("CRC-16/USB"),
        Parameters{16, 0x8005, 0xFFFF, 0xFFFF, true, true}},
    CrcCatalog::Definition{Algorithm::Crc32, QLatin1StringView("CRC-32"),
        Parameters{32, 0x04C11DB7, 0xFFFFFFFF, 0xFFFFFFFF, true, true}},
    CrcCatalog::Definition{Algorithm::Custom, QLatin1StringView("Custom"), Parameters{}},
};

template<typename Register>
using Table = std::array<Register, 256>;
// slices[k][b]: the register after byte b and k zero bytes.
template<typename Register>
using Slices = std::array<Table<Register>, 8>;

template<typename Register>
constexpr Table<Register> reflectedTable(Register reversedPolynomial)
{
    Table<Register> table{};
    for (std::size_t byte = 0; byte < table.size(); ++byte) {
        auto value = Register(byte);
        for (int bit = 0; bit < 8; ++bit)
            value = Register((value >> 1) ^ ((value & 1) != 0 ? reversedPolynomial : Register(0)));
        table[byte] = value;
    }
    return table;
}

template<typename Register>
constexpr Slices<Register> reflectedSlices(Register reversedPolynomial)
{
    Slices<Register> slices{reflectedTable(reversedPolynomial)};
    for (std::size_t k = 1; k < slices.size(); ++k) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const Register value = slices[k - 1][byte];
            slices[k][byte] = Register((value >> 8) ^ slices[0][value & 0xFF]);
        }
    }
    return slices;
}

// For a register that is aligned at its most significant bit.
template<typename Register>
constexpr Table<Register> forwardTable(Register polynomial)
{
    constexpr int kBits = int(sizeof(Register)) * 8;
    Table<Register> table{};
    for (std::size_t byte = 0; byte < table.size(); ++byte) {
        auto value = Register(Register(byte) << (kBits - 8));
        for (int bit = 0; bit < 8; ++bit)
            value =
                Register((value << 1) ^ ((value >> (kBits - 1)) != 0 ? polynomial : Register(0)));
        table[byte] = value;
    }
    return table;
}

constexpr auto kCrc4Itu = reflectedTable<quint8>(0x0C);
constexpr auto kCrc5Itu = reflectedTable<quint8>(0x15);
constexpr auto kCrc5Usb = reflectedTable<quint8>(0x14);
constexpr auto kCrc6Itu = reflectedTable<quint8>(0x30);
constexpr auto kCrc8 = forwardTable<quint8>(0x07);
constexpr auto kCrc16 = reflectedSlices<quint16>(0xA001);
constexpr auto kCrc32 = reflectedSlices<quint32>(0xEDB88320);
constexpr auto kCcitt = forwardTable<quint16>(0x1021);

// Registers of up to eight bits; both directions look the same from here.
quint8 narrowCrc(const Table<quint8>& table, quint8 value, QByteArrayView bytes)
{
    for (const char byte : bytes)
        value = table[value ^ uchar(byte)];
    return value;
}

// Eight bytes a step, so that the table look-ups do not wait for each other.
template<typename Register>
Register slicedCrc(const Slices<Register>& slices, Register value, QByteArrayView bytes)
{
    const char* from = bytes.data();
    const char* const end = from + bytes.size();
    for (; end - from >= 8; from += 8) {
        const quint64 word = qFromLittleEndian<quint64>(from) ^ value;
        value = Register(slices[7][word & 0xFF] ^ slices[6][(word >> 8) & 0xFF]
                         ^ slices[5][(word >> 16) & 0xFF] ^ slices[4][(word >> 24) & 0xFF]
                         ^ slices[3][(word >> 32) & 0xFF] ^ slices[2][(word >> 40) & 0xFF]
                         ^ slices[1][(word >> 48) & 0xFF] ^ slices[0][word >> 56]);
    }
    for (; from < end; ++from)
        value = Register((value >> 8) ^ slices[0][(value ^ uchar(*from)) & 0xFF]);
    return value;
}

template<typename Register>
Register forwardCrc(const Table<Register>& table, Register value, QByteArrayView bytes)
{
    constexpr int kTopByte = int(sizeof(Register)) * 8 - 8;
    for (const char byte : bytes)
        value = Register((value << 8) ^ table[((value >> kTopByte) ^ uchar(byte)) & 0xFF]);
    return value;
}

template<typename Register>
Register reflectedCrc(const Table<Register>& table, Register value, QByteArrayView bytes)
{
    for (const char byte : bytes)
        value = Register((value >> 8) ^ table[(value ^ uchar(byte)) & 0xFF]);
    return value;
}

quint64 reversedBits(quint64 value, int width)
{
    quint64 reversed = 0;
    for (int bit = 0; bit < width; ++bit)
        reversed |= ((value >> bit) & 1) << (width - 1 - bit);
    return reversed;
}

} // namespace

std::span<const CrcCatalog::Definition> CrcCatalog::definitions()
{
    return kDefinitions;
}

const CrcCatalog::Definition* CrcCatalog::definition(Algorithm algorithm)
{
    const auto* const found = std::find_if(kDefinitions.begin(), kDefinitions.end(),
        [algorithm](const Definition& entry) { return entry.algorithm == algorithm; });
    return found != kDefinitions.end() ? found : nullptr;
}

quint64 CrcCatalog::calculate(Algorithm algorithm, QByteArrayView bytes)
{
    switch (algorithm) {
    case Algorithm::Crc4Itu:
        return narrowCrc(kCrc4Itu, 0, bytes);
    case Algorithm::Crc5Itu:
        return narrowCrc(kCrc5Itu, 0, bytes);
    case Algorithm::Crc5Usb:
        return narrowCrc(kCrc5Usb, 0x1F, bytes) ^ 0x1FU;
    case Algorithm::Crc6Itu:
        return narrowCrc(kCrc6Itu, 0, bytes);
    case Algorithm::Crc8:
        return narrowCrc(kCrc8, 0, bytes);
    case Algorithm::Crc16Modbus:
        return slicedCrc<quint16>(kCrc16, 0xFFFF, bytes);
    case Algorithm::Crc16Usb:
        return slicedCrc<quint16>(kCrc16, 0xFFFF, bytes) ^ 0xFFFFU;
    case Algorithm::Crc32:
        return slicedCrc<quint32>(kCrc32, 0xFFFFFFFF, bytes) ^ 0xFFFFFFFFU;
    case Algorithm::Custom:
        return forwardCrc<quint16>(kCcitt, 0xFFFF, bytes);
    }
    return 0;
}

quint64 CrcCatalog::calculateCustom(QByteArrayView bytes, const CustomParameters& parameters)
{
    const int width = std::min(parameters.width, 64);
    if (width < 1)
        return 0;
    const quint64 mask = maskForWidth(width);
    const quint64 polynomial = parameters.polynomial & mask;
    const quint64 initial = parameters.initialValue & mask;
    quint64 value = 0;
    if (parameters.reflectInput) {
        value = reflectedCrc(reflectedTable(reversedBits(polynomial, width)), initial, bytes);
    } else {
        // At the top of a 64-bit register every width runs alike, also those below a byte.
        const int shift = 64 - width;
        value = forwardCrc(forwardTable(polynomial << shift), initial << shift, bytes) >> shift;
    }
    if (parameters.reflectInput != parameters.reflectOutput)
        value = reversedBits(value, width);
    return (value ^ parameters.finalXor) & mask;
}
