#include "tools/calcvalue.h"

#include <QLocale>

#include <bit>

qint64 IntegerKind::toSigned(quint64 bits) const
{
    const int unused = 64 - width;
    return qint64(bits << unused) >> unused;
}

double IntegerKind::toReal(quint64 bits) const
{
    return isSigned ? double(toSigned(bits)) : double(bits & mask());
}

namespace IntegerText {

namespace {

constexpr int kBinaryGroup = 4;

QString padded(quint64 bits, IntegerKind kind, int base, int digits)
{
    return QString::number(bits & kind.mask(), base).toUpper().rightJustified(digits, u'0');
}

} // namespace

QString hexadecimal(quint64 bits, IntegerKind kind)
{
    return padded(bits, kind, 16, kind.width / 4);
}

QString binary(quint64 bits, IntegerKind kind)
{
    QString digits = padded(bits, kind, 2, kind.width);
    for (qsizetype at = digits.size() - kBinaryGroup; at > 0; at -= kBinaryGroup)
        digits.insert(at, u' ');
    return digits;
}

QString octal(quint64 bits, IntegerKind kind)
{
    return padded(bits, kind, 8, 1);
}

QString signedDecimal(quint64 bits, IntegerKind kind)
{
    return QString::number(kind.toSigned(bits));
}

QString unsignedDecimal(quint64 bits, IntegerKind kind)
{
    return QString::number(bits & kind.mask());
}

quint64 swapBytes(quint64 bits, IntegerKind kind)
{
    quint64 swapped = 0;
    for (int shift = 0; shift < kind.width; shift += 8)
        swapped = (swapped << 8) | ((bits >> shift) & 0xFF);
    return swapped;
}

} // namespace IntegerText

namespace Ieee754 {

quint32 bitsOfFloat(float value)
{
    return std::bit_cast<quint32>(value);
}

float floatOfBits(quint32 bits)
{
    return std::bit_cast<float>(bits);
}

quint64 bitsOfDouble(double value)
{
    return std::bit_cast<quint64>(value);
}

double doubleOfBits(quint64 bits)
{
    return std::bit_cast<double>(bits);
}

} // namespace Ieee754

QString realText(double value)
{
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

QString realText(float value)
{
    // The shortest text that a float reads back from has at most nine digits.
    constexpr int kLongest = 9;
    for (int digits = 1; digits < kLongest; ++digits) {
        QString text = QString::number(double(value), 'g', digits);
        if (text.toFloat() == value)
            return text;
    }
    return QString::number(double(value), 'g', kLongest);
}
