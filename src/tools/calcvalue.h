#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

// The integers that an expression is worked out in: two's complement of 8, 16, 32 or 64 bits.
struct IntegerKind
{
    int width = 64;
    bool isSigned = true;

    [[nodiscard]] quint64 mask() const
    {
        return width >= 64 ? ~quint64(0) : (quint64(1) << width) - 1;
    }
    // The bits read as a signed number of this width.
    [[nodiscard]] qint64 toSigned(quint64 bits) const;
    [[nodiscard]] double toReal(quint64 bits) const;

    friend bool operator==(const IntegerKind&, const IntegerKind&) = default;
};

// An integer (its low `width` bits) or a real number.
struct CalcValue
{
    bool isReal = false;
    double real = 0;
    quint64 bits = 0;
};

// The ways in which a firmware engineer writes one integer. Bases carry no prefix; hexadecimal and
// binary are padded to the width, and binary is grouped by four digits.
namespace IntegerText {

[[nodiscard]] QString hexadecimal(quint64 bits, IntegerKind kind);
[[nodiscard]] QString binary(quint64 bits, IntegerKind kind);
[[nodiscard]] QString octal(quint64 bits, IntegerKind kind);
[[nodiscard]] QString signedDecimal(quint64 bits, IntegerKind kind);
[[nodiscard]] QString unsignedDecimal(quint64 bits, IntegerKind kind);
// The bytes of the width in reverse order.
[[nodiscard]] quint64 swapBytes(quint64 bits, IntegerKind kind);

} // namespace IntegerText

// IEEE 754 binary32 and binary64 as their bits.
namespace Ieee754 {

[[nodiscard]] quint32 bitsOfFloat(float value);
[[nodiscard]] float floatOfBits(quint32 bits);
[[nodiscard]] quint64 bitsOfDouble(double value);
[[nodiscard]] double doubleOfBits(quint64 bits);

} // namespace Ieee754

// The shortest decimal that reads back as the same number.
[[nodiscard]] QString realText(double value);
[[nodiscard]] QString realText(float value);
