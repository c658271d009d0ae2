#pragma once

#include <QList>
#include <QString>
#include <QStringView>

// Registers and coils as a person writes and reads them. Stateless.
namespace ModbusValues {

// How registers are read. The protocol knows 16-bit registers only; larger values are a habit of
// the makers of devices, and so is the order of their words and bytes.
enum class Type : quint8 { Unsigned16, Signed16, Hex16, Unsigned32, Signed32, Float32 };
// Of a 32-bit value whose bytes are A (most significant) to D, as they stand on the wire.
enum class Order : quint8 { Abcd, Cdab, Badc, Dcba };

inline constexpr int kTypes = 6;
inline constexpr int kOrders = 4;

// 1 or 2.
[[nodiscard]] constexpr int registersOf(Type type)
{
    return type >= Type::Unsigned32 ? 2 : 1;
}

struct Parsed
{
    QList<quint16> words; // registers, or a coil each: 0 or 1
    QString fault;        // for people; empty when all of the text could be read
};

// Numbers with blanks, commas or semicolons between them: decimal, hexadecimal with 0x (the bits as
// they are, whatever the sign of the type), for Float32 with a decimal point.
[[nodiscard]] Parsed parseRegisters(QStringView text, Type type, Order order);
// Digits 0 and 1, also without anything between them, and "on" and "off".
[[nodiscard]] Parsed parseCoils(QStringView text);

// "0x006B".
[[nodiscard]] QString hexAddress(int wireAddress);

struct Shown
{
    int offset = 0; // of the first register or coil of the value
    int count = 1;  // registers
    QString text;
    QString raw; // the registers in hexadecimal, in the order of the wire; of a coil 0 or 1
};

// A register that is left over of a 32-bit type is shown in hexadecimal.
[[nodiscard]] QList<Shown> showRegisters(const QList<quint16>& words, Type type, Order order);
[[nodiscard]] QList<Shown> showCoils(const QList<quint16>& coils);

} // namespace ModbusValues
