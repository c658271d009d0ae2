#pragma once

#include <QByteArrayView>
#include <QLatin1StringView>
#include <QtGlobal>
#include <span>

// The named CRC algorithms and two ways to calculate: a fast one per named algorithm and one for
// any parameters. The model is the usual one of width, polynomial (normal form), initial value,
// reflection and final XOR; check values are those of the public catalogue of parametrised CRC
// algorithms over the ASCII digits "123456789". Stateless.
class CrcCatalog final
{
public:
    enum class Algorithm : int {
        Crc4Itu = 0,
        Crc5Itu = 1,
        Crc5Usb = 2,
        Crc6Itu = 3,
        Crc8 = 4,
        Crc16Modbus = 5,
        Crc16Usb = 6,
        Crc32 = 7,
        Custom = 8
    };

    struct CustomParameters
    {
        int width = 16; // 1 to 64 bits; more counts as 64, less gives 0
        quint64 polynomial = 0x1021;
        // The content of the register before the first byte. With reflected input the register
        // runs mirrored, and this value is taken as it stands there: an algorithm whose published
        // initial value is no palindrome needs it bit-reversed.
        quint64 initialValue = 0xFFFF;
        quint64 finalXor = 0;
        bool reflectInput = false;
        bool reflectOutput = false;
    };

    struct Definition
    {
        Algorithm algorithm = Algorithm::Custom;
        QLatin1StringView name; // as shown, the same in every language
        CustomParameters parameters;
    };

    CrcCatalog() = delete;

    // In the order of the enumeration.
    [[nodiscard]] static std::span<const Definition> definitions();
    // Null for a value outside the enumeration.
    [[nodiscard]] static const Definition* definition(Algorithm algorithm);
    // "Custom" stands for its default parameters; a value outside the enumeration gives 0.
    [[nodiscard]] static quint64 calculate(Algorithm algorithm, QByteArrayView bytes);
    [[nodiscard]] static quint64 calculateCustom(
        QByteArrayView bytes, const CustomParameters& parameters);
    // The lowest `width` bits set: 0 below 1, all ones from 64 on.
    [[nodiscard]] static constexpr quint64 maskForWidth(int width)
    {
        if (width < 1)
            return 0;
        return width >= 64 ? ~quint64(0) : (quint64(1) << width) - 1;
    }
};
