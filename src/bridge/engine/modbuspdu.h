#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

// What every side of a Modbus conversation knows of its messages: names, limits, frames, and how
// long an answer is. Numbers and names are those of the Modbus Application Protocol V1.1b3, frames
// those of Modbus over Serial Line V1.02 and of Modbus Messaging on TCP/IP V1.0b. Stateless.
namespace Modbus {

enum FunctionCode : int {
    ReadCoils = 0x01,
    ReadDiscreteInputs = 0x02,
    ReadHoldingRegisters = 0x03,
    ReadInputRegisters = 0x04,
    WriteSingleCoil = 0x05,
    WriteSingleRegister = 0x06,
    WriteMultipleCoils = 0x0F,
    WriteMultipleRegisters = 0x10,
    MaskWriteRegister = 0x16,
    ReadWriteMultipleRegisters = 0x17,
};

enum class Framing : quint8 { Rtu, Tcp };

inline constexpr int kExceptionBit = 0x80;   // in the function code of an exception response (7)
inline constexpr int kMaxPduBytes = 253;     // 4.1
inline constexpr int kMbapBytes = 7;         // transaction, protocol, length, unit
inline constexpr int kAddressSpace = 65'536; // 4.4
inline constexpr int kMaxSerialUnit = 247;   // Modbus over Serial Line V1.02, 2.2
inline constexpr int kMaxWriteOfReadWrite = 121; // registers that function 0x17 writes (6.17)

// How many coils or registers one request may name, for 0x17 those that it reads; 0 for a function
// without a quantity.
[[nodiscard]] constexpr int maxQuantity(int functionCode)
{
    switch (functionCode) {
    case ReadCoils:
    case ReadDiscreteInputs:
        return 2000;
    case ReadHoldingRegisters:
    case ReadInputRegisters:
    case ReadWriteMultipleRegisters:
        return 125;
    case WriteMultipleCoils:
        return 1968;
    case WriteMultipleRegisters:
        return 123;
    default:
        return 0;
    }
}

// "Read Holding Registers"; of a code without a name its number. The exception bit is ignored.
[[nodiscard]] QString functionName(int functionCode);
// "Illegal Data Address"; of a code without a name its number.
[[nodiscard]] QString exceptionName(int exceptionCode);

// Unit, PDU and CRC-16, low byte first.
[[nodiscard]] QByteArray rtuFrame(quint8 unit, const QByteArray& pdu);
// MBAP header and PDU.
[[nodiscard]] QByteArray tcpFrame(quint16 transaction, quint8 unit, const QByteArray& pdu);

inline constexpr int kLengthNeedsMore = 0;
inline constexpr int kLengthUnknown = -1;
// The length in bytes of the PDU that begins with these bytes; kLengthNeedsMore when it stands
// further on, kLengthUnknown when nothing in it tells. Diagnostics repeat the length of `request`;
// without one theirs is not known.
[[nodiscard]] int answerPduLength(QByteArrayView answer, QByteArrayView request = {});
// Whether a whole PDU answers a request: with an exception to its function, or with as many data as
// were asked for or what it repeats of the request. Of a function that is not known here the code
// is all that is compared.
[[nodiscard]] bool answersRequest(QByteArrayView answer, QByteArrayView request);

} // namespace Modbus
