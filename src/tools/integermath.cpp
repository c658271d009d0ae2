#include "tools/integermath.h"

#include <cmath>
#include <limits>

quint64 IntegerMath::narrow(qint64 value, bool overflowed)
{
    const quint64 bits = quint64(value) & m_kind.mask();
    m_wrapped |= overflowed || m_kind.toSigned(bits) != value;
    return bits;
}

quint64 IntegerMath::narrow(quint64 value, bool overflowed)
{
    const quint64 bits = value & m_kind.mask();
    m_wrapped |= overflowed || bits != value;
    return bits;
}

template<typename SignedOp, typename UnsignedOp>
quint64 IntegerMath::checked(quint64 a, quint64 b, SignedOp signedOp, UnsignedOp unsignedOp)
{
    if (m_kind.isSigned) {
        qint64 result = 0;
        const bool overflowed = signedOp(m_kind.toSigned(a), m_kind.toSigned(b), &result);
        return narrow(result, overflowed);
    }
    quint64 result = 0;
    const bool overflowed = unsignedOp(a & m_kind.mask(), b & m_kind.mask(), &result);
    return narrow(result, overflowed);
}

quint64 IntegerMath::add(quint64 a, quint64 b)
{
    const auto op = [](auto x, auto y, auto* r) { return __builtin_add_overflow(x, y, r); };
    return checked(a, b, op, op);
}

quint64 IntegerMath::subtract(quint64 a, quint64 b)
{
    const auto op = [](auto x, auto y, auto* r) { return __builtin_sub_overflow(x, y, r); };
    return checked(a, b, op, op);
}

quint64 IntegerMath::multiply(quint64 a, quint64 b)
{
    const auto op = [](auto x, auto y, auto* r) { return __builtin_mul_overflow(x, y, r); };
    return checked(a, b, op, op);
}

std::optional<quint64> IntegerMath::divide(quint64 a, quint64 b)
{
    if ((b & m_kind.mask()) == 0)
        return std::nullopt;
    if (!m_kind.isSigned)
        return (a & m_kind.mask()) / (b & m_kind.mask());
    const qint64 divisor = m_kind.toSigned(b);
    // The smallest number has no positive counterpart: its negation wraps instead of trapping.
    return divisor == -1 ? subtract(0, a) : narrow(m_kind.toSigned(a) / divisor, false);
}

std::optional<quint64> IntegerMath::remainder(quint64 a, quint64 b) const
{
    if ((b & m_kind.mask()) == 0)
        return std::nullopt;
    if (!m_kind.isSigned)
        return (a & m_kind.mask()) % (b & m_kind.mask());
    const qint64 divisor = m_kind.toSigned(b);
    return divisor == -1 ? 0 : quint64(m_kind.toSigned(a) % divisor) & m_kind.mask();
}

std::optional<int> IntegerMath::shiftCount(quint64 count) const
{
    if (m_kind.isSigned && m_kind.toSigned(count) < 0)
        return std::nullopt;
    const quint64 steps = count & m_kind.mask();
    return steps >= quint64(m_kind.width) ? m_kind.width : int(steps);
}

std::optional<quint64> IntegerMath::shiftLeft(quint64 a, quint64 count) const
{
    const std::optional<int> steps = shiftCount(count);
    if (!steps)
        return std::nullopt;
    return *steps >= m_kind.width ? 0 : (a << *steps) & m_kind.mask();
}

std::optional<quint64> IntegerMath::shiftRight(quint64 a, quint64 count) const
{
    const std::optional<int> steps = shiftCount(count);
    if (!steps)
        return std::nullopt;
    const bool out = *steps >= m_kind.width;
    if (m_kind.isSigned) {
        const qint64 value = m_kind.toSigned(a);
        return quint64(value >> (out ? 63 : *steps)) & m_kind.mask();
    }
    return out ? 0 : (a & m_kind.mask()) >> *steps;
}

std::optional<quint64> IntegerMath::power(quint64 base, quint64 exponent)
{
    if (m_kind.isSigned && m_kind.toSigned(exponent) < 0)
        return std::nullopt;
    quint64 result = 1;
    quint64 square = base & m_kind.mask();
    for (quint64 rest = exponent & m_kind.mask(); rest != 0; rest >>= 1) {
        if (rest & 1)
            result = multiply(result, square);
        if (rest > 1)
            square = multiply(square, square);
    }
    return result;
}

quint64 IntegerMath::fit(quint64 magnitude)
{
    return narrow(magnitude, false);
}

std::optional<quint64> IntegerMath::truncate(double value) const
{
    const double whole = std::trunc(value);
    const int bits = m_kind.isSigned ? m_kind.width - 1 : m_kind.width;
    const double limit = std::ldexp(1.0, bits);
    const double lowest = m_kind.isSigned ? -limit : 0;
    if (!(whole >= lowest && whole < limit)) // also refuses what is no number
        return std::nullopt;
    const quint64 result = whole < 0 ? quint64(qint64(whole)) : quint64(whole);
    return result & m_kind.mask();
}
