#include "tools/modbusrequest.h"

#include "bridge/engine/modbuscodec.h"
#include "terminal/text/hexparser.h"

#include <QCoreApplication>
#include <QJsonValue>
#include <QtEndian>
#include <algorithm>
#include <optional>

using namespace Qt::Literals::StringLiterals;
using Modbus::Framing;
using Field = ModbusRequest::Field;

namespace {

constexpr int kMaxTcpUnit = 255;
constexpr int kMaxWord = 0xFFFF;

QString translated(const char* text)
{
    return QCoreApplication::translate("ModbusRequest", text);
}

// Decimal, or hexadecimal with 0x.
std::optional<int> number(const QString& text)
{
    const QString trimmed = text.trimmed();
    bool ok = false;
    const int value = trimmed.startsWith("0x"_L1, Qt::CaseInsensitive)
                          ? QStringView(trimmed).sliced(2).toInt(&ok, 16)
                          : trimmed.toInt(&ok, 10);
    return ok && value >= 0 ? std::optional(value) : std::nullopt;
}

// The number in a field, or a fault at it.
class Reader final
{
public:
    explicit Reader(ModbusRequest::Built& built)
        : m_built(built)
    {}

    int numberIn(Field field, const QString& text, int least, int most)
    {
        const std::optional<int> value = number(text);
        if (value && *value >= least && *value <= most)
            return *value;
        m_built.faults[field] =
            translated(QT_TRANSLATE_NOOP("ModbusRequest", "Write a number from %1 to %2."))
                .arg(least)
                .arg(most);
        return least;
    }

    int addressIn(Field field, const QString& text, bool oneBased)
    {
        const int base = oneBased ? 1 : 0;
        return numberIn(field, text, base, kMaxWord + base) - base;
    }

    void require(bool condition, Field field, const QString& fault)
    {
        if (!condition && !m_built.faults.contains(field))
            m_built.faults[field] = fault;
    }

    void requireSpace(Field field, int address, qsizetype count)
    {
        require(address + count <= Modbus::kAddressSpace, field,
            translated(QT_TRANSLATE_NOOP("ModbusRequest",
                           "From here %1 do not fit: the last address on the wire is 65535."))
                .arg(count));
    }

private:
    ModbusRequest::Built& m_built;
};

void appendWord(QByteArray& bytes, int word)
{
    bytes += char(word >> 8);
    bytes += char(word & 0xFF);
}

bool writesMany(int function)
{
    return function == Modbus::WriteMultipleCoils || function == Modbus::WriteMultipleRegisters
           || function == Modbus::ReadWriteMultipleRegisters;
}

int maxValues(int function)
{
    if (function == Modbus::ReadWriteMultipleRegisters)
        return Modbus::kMaxWriteOfReadWrite;
    return writesMany(function) ? Modbus::maxQuantity(function) : 1;
}

QList<quint16> readValues(const ModbusRequest& request, Reader& reader)
{
    const bool coils = request.isOfCoils();
    const ModbusValues::Parsed parsed =
        coils ? ModbusValues::parseCoils(request.values)
              : ModbusValues::parseRegisters(request.values, request.type, request.order);
    const int most = maxValues(request.function);
    reader.require(parsed.fault.isEmpty(), Field::Values, parsed.fault);
    reader.require(!parsed.words.isEmpty(), Field::Values,
        translated(QT_TRANSLATE_NOOP("ModbusRequest", "Write at least one value.")));
    if (most == 1) {
        reader.require(parsed.words.size() <= 1, Field::Values,
            translated(QT_TRANSLATE_NOOP(
                "ModbusRequest", "This function writes one coil or one 16-bit register only.")));
    }
    reader.require(parsed.words.size() <= most, Field::Values,
        translated(QT_TRANSLATE_NOOP("ModbusRequest", "%1 are too many, %2 at most."))
            .arg(parsed.words.size())
            .arg(most));
    return parsed.words;
}

QByteArray maskPdu(int address, int andMask, int orMask)
{
    QByteArray pdu(1, char(Modbus::MaskWriteRegister));
    for (const int word : {address, andMask, orMask})
        appendWord(pdu, word);
    return pdu;
}

QByteArray readWritePdu(int address, int quantity, int writeAddress, const QList<quint16>& words)
{
    QByteArray pdu(1, char(Modbus::ReadWriteMultipleRegisters));
    for (const int word : {address, quantity, writeAddress, int(words.size())})
        appendWord(pdu, word);
    pdu += char(words.size() * 2);
    for (const quint16 word : words)
        appendWord(pdu, word);
    return pdu;
}

void buildRaw(const QString& raw, ModbusRequest::Built& built, Reader& reader)
{
    const HexParseResult parsed = parseHex(raw);
    reader.require(parsed.ok, Field::Raw, hexErrorMessage(parsed));
    reader.require(!parsed.bytes.isEmpty(), Field::Raw,
        translated(QT_TRANSLATE_NOOP(
            "ModbusRequest", "Write the function code and what follows it, in hexadecimal.")));
    reader.require(parsed.bytes.size() <= Modbus::kMaxPduBytes, Field::Raw,
        translated(QT_TRANSLATE_NOOP("ModbusRequest", "%1 bytes are too many, %2 at most."))
            .arg(parsed.bytes.size())
            .arg(Modbus::kMaxPduBytes));
    built.pdu = parsed.bytes;
}

void buildNamed(const ModbusRequest& request, ModbusRequest::Built& built, Reader& reader)
{
    const int function = request.function;
    const int address = reader.addressIn(Field::Address, request.address, request.oneBased);
    if (!built.faults.contains(Field::Address))
        built.wireAddress = address;
    built.quantity = 1;
    QList<quint16> values;
    int writeAddress = 0;
    if (request.has(Field::Quantity)) {
        built.quantity =
            reader.numberIn(Field::Quantity, request.quantity, 1, Modbus::maxQuantity(function));
        reader.requireSpace(Field::Address, address, built.quantity);
    }
    if (request.has(Field::WriteAddress))
        writeAddress =
            reader.addressIn(Field::WriteAddress, request.writeAddress, request.oneBased);
    if (request.has(Field::Values)) {
        values = readValues(request, reader);
        if (request.has(Field::WriteAddress)) {
            reader.requireSpace(Field::WriteAddress, writeAddress, values.size());
        } else {
            built.quantity = int(values.size());
            reader.requireSpace(Field::Address, address, values.size());
        }
    }
    if (function == Modbus::MaskWriteRegister) {
        const int andMask = reader.numberIn(Field::AndMask, request.andMask, 0, kMaxWord);
        const int orMask = reader.numberIn(Field::OrMask, request.orMask, 0, kMaxWord);
        built.pdu = maskPdu(address, andMask, orMask);
    } else if (function == Modbus::ReadWriteMultipleRegisters) {
        built.pdu = readWritePdu(address, built.quantity, writeAddress, values);
    } else if (built.isValid()) {
        // The unit stands in front of the PDU, and those of Modbus TCP are more.
        built.pdu = ModbusCodec::buildPdu({.slave = 1,
                                              .functionCode = function,
                                              .startAddress = quint16(address),
                                              .quantity = built.quantity,
                                              .values = values},
            nullptr);
    }
}

QList<quint16> coilsIn(const QByteArray& packed, int count)
{
    QList<quint16> coils;
    for (int i = 0; i < count && i / 8 < packed.size(); ++i)
        coils += quint16((uchar(packed[i / 8]) >> (i % 8)) & 1);
    return coils;
}

QList<quint16> wordsIn(const QByteArray& bytes)
{
    QList<quint16> words;
    for (qsizetype at = 0; at + 2 <= bytes.size(); at += 2)
        words += qFromBigEndian<quint16>(bytes.constData() + at);
    return words;
}

} // namespace

bool ModbusRequest::has(Field field) const
{
    switch (field) {
    case Field::Unit:
        return true;
    case Field::Address:
        return function != kCustom;
    case Field::Quantity:
        return (function >= Modbus::ReadCoils && function <= Modbus::ReadInputRegisters)
               || function == Modbus::ReadWriteMultipleRegisters;
    case Field::WriteAddress:
        return function == Modbus::ReadWriteMultipleRegisters;
    case Field::Values:
        return function == Modbus::WriteSingleCoil || function == Modbus::WriteSingleRegister
               || writesMany(function);
    case Field::AndMask:
    case Field::OrMask:
        return function == Modbus::MaskWriteRegister;
    case Field::Raw:
        return function == kCustom;
    }
    return false;
}

bool ModbusRequest::isOfCoils() const
{
    return function == Modbus::ReadCoils || function == Modbus::ReadDiscreteInputs
           || function == Modbus::WriteSingleCoil || function == Modbus::WriteMultipleCoils;
}

ModbusRequest::Built ModbusRequest::build(Framing framing) const
{
    Built built;
    Reader reader(built);
    built.unit = quint8(reader.numberIn(
        Field::Unit, unit, 0, framing == Framing::Tcp ? kMaxTcpUnit : Modbus::kMaxSerialUnit));
    if (function == kCustom)
        buildRaw(raw, built, reader);
    else
        buildNamed(*this, built, reader);
    if (!built.isValid())
        built.pdu.clear();
    return built;
}

QString ModbusRequest::summary() const
{
    const QString what = function == kCustom
                             ? translated(QT_TRANSLATE_NOOP("ModbusRequest", "Custom PDU"))
                             : Modbus::functionName(function);
    QString text = translated(QT_TRANSLATE_NOOP("ModbusRequest", "Unit %1, %2")).arg(unit, what);
    const Built built = build(Framing::Tcp);
    if (built.wireAddress >= 0) {
        text += u", "_s + ModbusValues::hexAddress(built.wireAddress);
        if (built.quantity > 1)
            text += u" × %1"_s.arg(built.quantity);
    }
    return text;
}

QList<ModbusValues::Shown> ModbusRequest::shownAnswer(const QByteArray& pdu) const
{
    const Built built = build(Framing::Tcp);
    if (pdu.size() < 2 || !built.isValid() || uchar(pdu[0]) != function)
        return {};
    switch (function) {
    case Modbus::ReadCoils:
    case Modbus::ReadDiscreteInputs:
        return ModbusValues::showCoils(coilsIn(pdu.sliced(2), built.quantity));
    case Modbus::ReadHoldingRegisters:
    case Modbus::ReadInputRegisters:
    case Modbus::ReadWriteMultipleRegisters:
        return ModbusValues::showRegisters(wordsIn(pdu.sliced(2)), type, order);
    case Modbus::WriteSingleCoil:
        return ModbusValues::showCoils(wordsIn(pdu.mid(3)));
    case Modbus::WriteSingleRegister:
        return ModbusValues::showRegisters(wordsIn(pdu.mid(3)), type, order);
    case Modbus::WriteMultipleCoils:
    case Modbus::WriteMultipleRegisters:
        return {{0, built.quantity,
            translated(QT_TRANSLATE_NOOP("ModbusRequest", "%1 written")).arg(built.quantity), {}}};
    default:
        return {};
    }
}

QJsonObject ModbusRequest::toJson() const
{
    return {{u"name"_s, name}, {u"function"_s, function}, {u"unit"_s, unit},
        {u"address"_s, address}, {u"quantity"_s, quantity}, {u"writeAddress"_s, writeAddress},
        {u"values"_s, values}, {u"andMask"_s, andMask}, {u"orMask"_s, orMask}, {u"raw"_s, raw},
        {u"oneBased"_s, oneBased}, {u"type"_s, int(type)}, {u"order"_s, int(order)}};
}

ModbusRequest ModbusRequest::fromJson(const QJsonObject& json)
{
    ModbusRequest request;
    const auto text = [&json](const QString& key, QString& value) {
        value = json.value(key).toString(value).left(kMaxText);
    };
    text(u"name"_s, request.name);
    text(u"unit"_s, request.unit);
    text(u"address"_s, request.address);
    text(u"quantity"_s, request.quantity);
    text(u"writeAddress"_s, request.writeAddress);
    text(u"values"_s, request.values);
    text(u"andMask"_s, request.andMask);
    text(u"orMask"_s, request.orMask);
    text(u"raw"_s, request.raw);
    const int function = json.value(u"function"_s).toInt(request.function);
    const bool known = function == kCustom || Modbus::maxQuantity(function) > 0
                       || function == Modbus::WriteSingleCoil
                       || function == Modbus::WriteSingleRegister
                       || function == Modbus::MaskWriteRegister;
    if (known)
        request.function = function;
    request.oneBased = json.value(u"oneBased"_s).toBool();
    request.type =
        ModbusValues::Type(std::clamp(json.value(u"type"_s).toInt(), 0, ModbusValues::kTypes - 1));
    request.order = ModbusValues::Order(
        std::clamp(json.value(u"order"_s).toInt(), 0, ModbusValues::kOrders - 1));
    return request;
}
