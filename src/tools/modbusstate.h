#pragma once

#include "tools/modbusrequest.h"

#include <QList>

class QSettings;

// What the Modbus request builder remembers: the request being written, the kept ones in their
// order, and how they are sent. Names and units are those of the store.
struct ModbusState
{
    static constexpr int kMaxKept = 200;
    static constexpr qint64 kDefaultIntervalMs = 1000;
    static constexpr qint64 kDefaultTimeoutMs = 1000;

    struct Kept
    {
        ModbusRequest request;
        bool polled = true;

        friend bool operator==(const Kept&, const Kept&) = default;
    };

    ModbusRequest draft;
    QList<Kept> kept; // at most kMaxKept, each with a name of its own
    Modbus::Framing framing = Modbus::Framing::Rtu;
    qint64 repeatMs = kDefaultIntervalMs;
    qint64 pollMs = kDefaultIntervalMs;
    qint64 timeoutMs = kDefaultTimeoutMs;
    QByteArray geometry; // of the window
    int page = 0;

    // Damaged values are those of a new one.
    [[nodiscard]] static ModbusState load(const QSettings& store);
    // False with a reason for people when the store cannot be written.
    bool save(QSettings& store, QString& reason) const;

    friend bool operator==(const ModbusState&, const ModbusState&) = default;
};
