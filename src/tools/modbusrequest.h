#pragma once

#include "bridge/engine/modbuspdu.h"
#include "tools/modbusvalues.h"

#include <QJsonObject>
#include <QMap>

// A Modbus request as a person writes it: fields as they were typed, also impossible ones, so that
// nothing typed is lost when the window closes. build() makes it what goes on the wire, or says at
// each field what is wrong.
struct ModbusRequest
{
    enum class Field : quint8 {
        Unit,
        Address,
        Quantity,
        WriteAddress,
        Values,
        AndMask,
        OrMask,
        Raw
    };

    static constexpr int kCustom = 0; // the PDU as bytes
    static constexpr qsizetype kMaxText =
        qsizetype(16) * 1024; // characters of a field that are kept

    struct Built
    {
        quint8 unit = 0;
        QByteArray pdu; // empty when there are faults
        QMap<Field, QString> faults;
        int quantity = 0;     // coils or registers that are read, or written
        int wireAddress = -1; // from 0; -1 when it cannot be read or there is none
        [[nodiscard]] bool isValid() const { return faults.isEmpty(); }
    };

    QString name;
    int function = Modbus::ReadHoldingRegisters; // or kCustom
    QString unit = QStringLiteral("1");
    QString address = QStringLiteral("0"); // decimal, or hexadecimal with 0x
    QString quantity = QStringLiteral("1");
    QString writeAddress = QStringLiteral("0"); // of Read/Write Multiple Registers
    QString values;
    QString andMask = QStringLiteral("0xFFFF");
    QString orMask = QStringLiteral("0x0000");
    QString raw;           // the PDU in hexadecimal
    bool oneBased = false; // addresses are counted from 1, as in many manuals, not as on the wire
    ModbusValues::Type type = ModbusValues::Type::Unsigned16;
    ModbusValues::Order order = ModbusValues::Order::Abcd;

    // Units go up to 247 on a serial line; Modbus TCP has 255 for the device itself, too.
    [[nodiscard]] Built build(Modbus::Framing framing) const;
    [[nodiscard]] bool has(Field field) const;
    [[nodiscard]] bool isOfCoils() const;
    // "Unit 1, Read Holding Registers, 0 (0x0000), 10".
    [[nodiscard]] QString summary() const;

    // What the answer to it holds; `pdu` is one that ModbusAnswerReader found fit.
    [[nodiscard]] QList<ModbusValues::Shown> shownAnswer(const QByteArray& pdu) const;
    // The address of a value as the person counts.
    [[nodiscard]] int shownAddress(int wireAddress) const
    {
        return wireAddress + (oneBased ? 1 : 0);
    }

    [[nodiscard]] QJsonObject toJson() const;
    // Unknown and damaged members keep their defaults.
    [[nodiscard]] static ModbusRequest fromJson(const QJsonObject& json);

    friend bool operator==(const ModbusRequest&, const ModbusRequest&) = default;
};
