#pragma once

#include "terminal/text/crccatalog.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QString>

// What a CRC calculator shows, without its window: the fields of a custom CRC read and checked,
// a result written in a base and as the bytes that go on the wire.
class CrcCalculation final
{
    Q_DECLARE_TR_FUNCTIONS(CrcCalculation)

public:
    enum class Base : int { Binary = 2, Octal = 8, Hexadecimal = 16 };
    enum class ByteOrder : int { MostSignificantFirst = 0, LeastSignificantFirst = 1 };

    // The fields as typed: the width in decimal, the values in hexadecimal without prefix.
    struct CustomFields
    {
        QString width;
        QString polynomial;
        QString initialValue;
        QString finalXor;
        bool reflectInput = false;
        bool reflectOutput = false;
    };

    struct CustomResult
    {
        CrcCatalog::CustomParameters parameters;
        QString error; // for people, of the first field that is wrong; empty when all are right
    };

    [[nodiscard]] static CustomResult readCustomParameters(const CustomFields& fields);

    // `width` in bits, 1 to 64.
    CrcCalculation(quint64 value, int width);

    [[nodiscard]] quint64 value() const { return m_value; }
    [[nodiscard]] int width() const { return m_width; }
    // Upper case, padded with zeros to the digits that the width needs.
    [[nodiscard]] QString text(Base base) const;
    // As many bytes as the width needs.
    [[nodiscard]] QByteArray wireBytes(ByteOrder order) const;
    // The wire bytes as pairs of upper-case hexadecimal digits separated by blanks.
    [[nodiscard]] QString wireText(ByteOrder order) const;

private:
    quint64 m_value;
    int m_width;
};
