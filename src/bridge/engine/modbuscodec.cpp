#include "bridge/engine/modbuscodec.h"

#include "bridge/engine/modbuspdu.h"
#include "terminal/text/crccatalog.h"

#include <numeric>

namespace {

constexpr quint16 kCoilOn = 0xFF00; // Modbus Application Protocol V1.1b3, 6.5
constexpr quint16 kCoilOff = 0x0000;

using namespace Modbus;

// How many coils or registers one request may name; 0 for a function code that is not built here.
constexpr int limitOf(int functionCode)
{
    return functionCode == ReadWriteMultipleRegisters ? 0 : maxQuantity(functionCode);
}

constexpr bool namesCoils(int functionCode)
{
    return functionCode == ReadCoils || functionCode == ReadDiscreteInputs
           || functionCode == WriteMultipleCoils;
}

constexpr bool writesSeveral(int functionCode)
{
    return functionCode == WriteMultipleCoils || functionCode == WriteMultipleRegisters;
}

void appendBigEndian16(QByteArray& out, quint16 value)
{
    out.append(char(value >> 8));
    out.append(char(value & 0xFF));
}

// Eight coils to a byte, the first in the least significant bit.
QByteArray packedCoils(const QList<quint16>& values)
{
    QByteArray packed((values.size() + 7) / 8, '\0');
    for (qsizetype i = 0; i < values.size(); ++i) {
        if (values[i] != 0)
            packed[i / 8] = char(uchar(packed[i / 8]) | (1U << (i % 8)));
    }
    return packed;
}

QByteArray packedRegisters(const QList<quint16>& values)
{
    QByteArray packed;
    packed.reserve(values.size() * 2);
    for (const quint16 value : values)
        appendBigEndian16(packed, value);
    return packed;
}

} // namespace

quint16 ModbusCodec::crc16(QByteArrayView bytes)
{
    return quint16(CrcCatalog::calculate(CrcCatalog::Algorithm::Crc16Modbus, bytes));
}

quint8 ModbusCodec::lrc(QByteArrayView bytes)
{
    // Modbus over Serial Line V1.02, 6.2.1: carries out of the eight bits are dropped.
    const auto sum = std::accumulate(bytes.begin(), bytes.end(), quint8(0),
        [](quint8 total, char byte) { return quint8(total + quint8(byte)); });
    return quint8(0x100 - sum);
}

QByteArray ModbusCodec::buildPdu(const Request& request, QString* error)
{
    const QString reason = invalidity(request);
    if (!reason.isEmpty()) {
        if (error)
            *error = reason;
        return {};
    }
    const int code = request.functionCode;
    QByteArray pdu(1, char(code));
    appendBigEndian16(pdu, request.startAddress);
    if (code == WriteSingleCoil) {
        appendBigEndian16(pdu, request.values.first() != 0 ? kCoilOn : kCoilOff);
    } else if (code == WriteSingleRegister) {
        appendBigEndian16(pdu, request.values.first());
    } else {
        appendBigEndian16(pdu, quint16(request.quantity));
    }
    if (writesSeveral(code)) {
        const QByteArray data =
            namesCoils(code) ? packedCoils(request.values) : packedRegisters(request.values);
        pdu.append(char(data.size()));
        pdu.append(data);
    }
    return pdu;
}

QByteArray ModbusCodec::buildRtuFrame(const Request& request, QString* error)
{
    const QByteArray pdu = buildPdu(request, error);
    return pdu.isEmpty() ? QByteArray() : rtuFrame(quint8(request.slave), pdu);
}

QByteArray ModbusCodec::buildAsciiFrame(const Request& request, QString* error)
{
    const QByteArray pdu = buildPdu(request, error);
    if (pdu.isEmpty())
        return {};
    QByteArray message = QByteArray(1, char(request.slave)) + pdu;
    message.append(char(lrc(message)));
    // Modbus over Serial Line V1.02, 2.5.2: colon, upper-case hexadecimal pairs, CR and LF.
    return ':' + message.toHex().toUpper() + "\r\n";
}

// Why the request cannot be sent; empty when it can.
QString ModbusCodec::invalidity(const Request& request)
{
    const int code = request.functionCode;
    if (request.slave < 0 || request.slave > kMaxSerialUnit)
        return tr("Slave ID must be between 0 and 247.");
    if (code == WriteSingleCoil && request.values.size() != 1)
        return tr("Write Single Coil needs exactly one value.");
    if (code == WriteSingleRegister && request.values.size() != 1)
        return tr("Write Single Register needs exactly one value.");
    if (code == WriteSingleCoil || code == WriteSingleRegister)
        return {};

    const int limit = limitOf(code);
    if (limit == 0)
        return tr("Unsupported function code 0x%1.").arg(code, 2, 16, QLatin1Char('0'));
    if (request.quantity < 1 || request.quantity > limit) {
        const QString label = namesCoils(code) ? tr("Coil count") : tr("Register count");
        return tr("%1 must be between %2 and %3.").arg(label).arg(1).arg(limit);
    }
    return writesSeveral(code) ? writeInvalidity(request) : QString();
}

QString ModbusCodec::writeInvalidity(const Request& request)
{
    if (request.startAddress + request.quantity > kAddressSpace) {
        return tr("Address %1 plus count %2 exceeds the 65536 address space.")
            .arg(request.startAddress)
            .arg(request.quantity);
    }
    // Nothing is written to a device that nobody asked for, neither padding nor a part.
    if (request.values.size() != request.quantity)
        return tr("The number of values must be the quantity, %1.").arg(request.quantity);
    return {};
}
