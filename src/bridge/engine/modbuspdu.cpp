#include "bridge/engine/modbuspdu.h"

#include "bridge/engine/modbusgateway.h"

#include <QCoreApplication>
#include <QtEndian>
#include <algorithm>
#include <iterator>

namespace {

// The shortest request with an address: function code, address and a quantity or value.
constexpr qsizetype kAddressedPduBytes = 5;

struct NamedCode
{
    int code;
    const char* name;
};

// Modbus Application Protocol V1.1b3, 5.1.
constexpr NamedCode kFunctions[] = {
    {0x01, QT_TRANSLATE_NOOP("Modbus", "Read Coils")},
    {0x02, QT_TRANSLATE_NOOP("Modbus", "Read Discrete Inputs")},
    {0x03, QT_TRANSLATE_NOOP("Modbus", "Read Holding Registers")},
    {0x04, QT_TRANSLATE_NOOP("Modbus", "Read Input Registers")},
    {0x05, QT_TRANSLATE_NOOP("Modbus", "Write Single Coil")},
    {0x06, QT_TRANSLATE_NOOP("Modbus", "Write Single Register")},
    {0x07, QT_TRANSLATE_NOOP("Modbus", "Read Exception Status")},
    {0x08, QT_TRANSLATE_NOOP("Modbus", "Diagnostics")},
    {0x0B, QT_TRANSLATE_NOOP("Modbus", "Get Comm Event Counter")},
    {0x0C, QT_TRANSLATE_NOOP("Modbus", "Get Comm Event Log")},
    {0x0F, QT_TRANSLATE_NOOP("Modbus", "Write Multiple Coils")},
    {0x10, QT_TRANSLATE_NOOP("Modbus", "Write Multiple Registers")},
    {0x11, QT_TRANSLATE_NOOP("Modbus", "Report Server ID")},
    {0x14, QT_TRANSLATE_NOOP("Modbus", "Read File Record")},
    {0x15, QT_TRANSLATE_NOOP("Modbus", "Write File Record")},
    {0x16, QT_TRANSLATE_NOOP("Modbus", "Mask Write Register")},
    {0x17, QT_TRANSLATE_NOOP("Modbus", "Read/Write Multiple Registers")},
    {0x18, QT_TRANSLATE_NOOP("Modbus", "Read FIFO Queue")},
    {0x2B, QT_TRANSLATE_NOOP("Modbus", "Encapsulated Interface Transport")},
};

// The same, 7.
constexpr NamedCode kExceptions[] = {
    {0x01, QT_TRANSLATE_NOOP("Modbus", "Illegal Function")},
    {0x02, QT_TRANSLATE_NOOP("Modbus", "Illegal Data Address")},
    {0x03, QT_TRANSLATE_NOOP("Modbus", "Illegal Data Value")},
    {0x04, QT_TRANSLATE_NOOP("Modbus", "Server Device Failure")},
    {0x05, QT_TRANSLATE_NOOP("Modbus", "Acknowledge")},
    {0x06, QT_TRANSLATE_NOOP("Modbus", "Server Device Busy")},
    {0x08, QT_TRANSLATE_NOOP("Modbus", "Memory Parity Error")},
    {0x0A, QT_TRANSLATE_NOOP("Modbus", "Gateway Path Unavailable")},
    {0x0B, QT_TRANSLATE_NOOP("Modbus", "Gateway Target Device Failed to Respond")},
};

template<std::size_t Count>
QString nameOf(const NamedCode (&codes)[Count], int code, const char* otherwise)
{
    const auto* const found = std::find_if(std::begin(codes), std::end(codes),
        [code](const NamedCode& entry) { return entry.code == code; });
    if (found != std::end(codes))
        return QCoreApplication::translate("Modbus", found->name);
    return QCoreApplication::translate("Modbus", otherwise).arg(code, 2, 16, QLatin1Char('0'));
}

} // namespace

QString Modbus::functionName(int functionCode)
{
    return nameOf(
        kFunctions, functionCode & ~kExceptionBit, QT_TRANSLATE_NOOP("Modbus", "Function 0x%1"));
}

QString Modbus::exceptionName(int exceptionCode)
{
    return nameOf(kExceptions, exceptionCode, QT_TRANSLATE_NOOP("Modbus", "Exception 0x%1"));
}

QByteArray Modbus::rtuFrame(quint8 unit, const QByteArray& pdu)
{
    return ModbusGateway::appendCrc(QByteArray(1, char(unit)) + pdu);
}

QByteArray Modbus::tcpFrame(quint16 transaction, quint8 unit, const QByteArray& pdu)
{
    return ModbusGateway::buildMbap(transaction, unit, pdu);
}

int Modbus::answerPduLength(QByteArrayView answer, QByteArrayView request)
{
    if (answer.isEmpty())
        return kLengthNeedsMore;
    const int code = uchar(answer.front());
    if ((code & kExceptionBit) != 0)
        return 2;
    switch (code) {
    case ReadCoils:
    case ReadDiscreteInputs:
    case ReadHoldingRegisters:
    case ReadInputRegisters:
    case ReadWriteMultipleRegisters:
    case 0x0C: // event log
    case 0x11: // server identifier
    case 0x14: // file record, read and written
    case 0x15:
        return answer.size() < 2 ? kLengthNeedsMore : 2 + uchar(answer[1]);
    case 0x07: // exception status
        return 2;
    case 0x08: // diagnostics: sub-function 0 returns the data that came
        return request.isEmpty() ? kLengthUnknown : int(request.size());
    case WriteSingleCoil:
    case WriteSingleRegister:
    case WriteMultipleCoils:
    case WriteMultipleRegisters:
    case 0x0B: // event counter
        return 5;
    case MaskWriteRegister:
        return 7;
    case 0x18: // FIFO queue
        return answer.size() < 3 ? kLengthNeedsMore
                                 : 3 + qFromBigEndian<quint16>(answer.data() + 1);
    default:
        return kLengthUnknown;
    }
}

bool Modbus::answersRequest(QByteArrayView answer, QByteArrayView request)
{
    if (answer.isEmpty() || request.isEmpty())
        return false;
    const int code = uchar(request.front());
    if (uchar(answer.front()) == (code | kExceptionBit))
        return answer.size() == 2;
    if (uchar(answer.front()) != code)
        return false;
    const int length = answerPduLength(answer, request);
    if (length == kLengthUnknown || request.size() < kAddressedPduBytes)
        return true;
    if (length != answer.size())
        return false;
    const int quantity = qFromBigEndian<quint16>(request.data() + 3);
    switch (code) {
    case ReadCoils:
    case ReadDiscreteInputs:
        return uchar(answer[1]) == (quantity + 7) / 8;
    case ReadHoldingRegisters:
    case ReadInputRegisters:
    case ReadWriteMultipleRegisters:
        return uchar(answer[1]) == quantity * 2;
    case WriteSingleCoil:
    case WriteSingleRegister:
    case WriteMultipleCoils:
    case WriteMultipleRegisters:
    case MaskWriteRegister:
        return request.startsWith(answer);
    default:
        return true;
    }
}
