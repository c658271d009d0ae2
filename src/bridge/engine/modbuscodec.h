#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QCoreApplication>
#include <QList>
#include <QString>

// Builds Modbus requests and their checksums: validates a request, builds its PDU (Modbus
// Application Protocol V1.1b3, chapter 6) and wraps it as an RTU or ASCII frame (Modbus over
// Serial Line V1.02, 2.5.1 and 2.5.2). Stateless.
class ModbusCodec final
{
    Q_DECLARE_TR_FUNCTIONS(ModbusCodec)

public:
    struct Request
    {
        int slave = 1;            // unit identifier, 0 (broadcast) to 247
        int functionCode = 3;     // 1 to 6, 15 or 16
        quint16 startAddress = 0; // counted from 0, as on the wire
        int quantity = 1;         // coils or registers; not used by 5 and 6
        QList<quint16> values;    // what to write; a coil is on when not 0
    };

    ModbusCodec() = delete;

    // CRC-16/MODBUS; 0xFFFF for no bytes. Goes on the wire low byte first.
    static quint16 crc16(QByteArrayView bytes);
    // The two's complement of the 8-bit sum, the check byte of ASCII frames.
    static quint8 lrc(QByteArrayView bytes);

    // Each is empty when the request is not valid; error, when given, then says why.
    static QByteArray buildPdu(const Request& request, QString* error);
    static QByteArray buildRtuFrame(const Request& request, QString* error);
    static QByteArray buildAsciiFrame(const Request& request, QString* error);

private:
    static QString invalidity(const Request& request);
    static QString writeInvalidity(const Request& request);
};
