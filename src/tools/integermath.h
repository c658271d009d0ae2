#pragma once

#include "tools/calcvalue.h"

#include <optional>

// The arithmetic of one integer width, two's complement: results are masked to the width, and
// what did not fit is remembered.
class IntegerMath final
{
public:
    explicit IntegerMath(IntegerKind kind)
        : m_kind(kind)
    {}

    [[nodiscard]] quint64 add(quint64 a, quint64 b);
    [[nodiscard]] quint64 subtract(quint64 a, quint64 b);
    [[nodiscard]] quint64 multiply(quint64 a, quint64 b);
    // Nothing for a divisor of 0.
    [[nodiscard]] std::optional<quint64> divide(quint64 a, quint64 b);
    [[nodiscard]] std::optional<quint64> remainder(quint64 a, quint64 b) const;
    // A count of the width or more shifts everything out; a right shift of a signed number keeps
    // its sign. Nothing for a negative count.
    [[nodiscard]] std::optional<quint64> shiftLeft(quint64 a, quint64 count) const;
    [[nodiscard]] std::optional<quint64> shiftRight(quint64 a, quint64 count) const;
    // Nothing for a negative exponent.
    [[nodiscard]] std::optional<quint64> power(quint64 base, quint64 exponent);
    // A literal or a result: masked, and remembered when it did not fit.
    [[nodiscard]] quint64 fit(quint64 magnitude);
    // A real cut towards zero. Nothing when it is no number or does not fit the width.
    [[nodiscard]] std::optional<quint64> truncate(double value) const;

    [[nodiscard]] bool wrapped() const { return m_wrapped; }

private:
    template<typename SignedOp, typename UnsignedOp>
    quint64 checked(quint64 a, quint64 b, SignedOp signedOp, UnsignedOp unsignedOp);
    [[nodiscard]] quint64 narrow(qint64 value, bool overflowed);
    [[nodiscard]] quint64 narrow(quint64 value, bool overflowed);
    [[nodiscard]] std::optional<int> shiftCount(quint64 count) const;

    IntegerKind m_kind;
    bool m_wrapped = false;
};
