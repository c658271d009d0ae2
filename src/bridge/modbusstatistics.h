#pragma once

#include "bridge/engine/modbusline.h"

#include <QHash>
#include <QList>
#include <deque>

// One request of a Modbus gateway, with the moment in which it ended by the clock of people.
struct ModbusRecord
{
    qint64 endedAtMs = 0; // since the epoch
    ModbusLine::Transaction transaction;

    // -1 when it never got onto the line.
    [[nodiscard]] qint64 waitedMs() const;
    [[nodiscard]] qint64 onLineMs() const;
    [[nodiscard]] int unit() const; // 0 to 255
    [[nodiscard]] int functionCode() const;
    // The device's exception code; 0 when it answered otherwise or not at all.
    [[nodiscard]] int exceptionCode() const;
};

// What a Modbus gateway remembers of its transactions: the last kMaxRecords of them, and counters
// for each client and each unit. Owned by a bridge link; a plain value.
class ModbusStatistics final
{
public:
    static constexpr std::size_t kMaxRecords = 1000;
    static constexpr int kMaxClients = 1024;           // further ones are counted for nobody
    static constexpr std::size_t kMaxLatencies = 1000; // the latest, of each client and unit

    struct Counters
    {
        qint64 requests = 0;
        qint64 errors = 0;   // exceptions of the device, and requests that never went out
        qint64 timeouts = 0; // without an answer
        // From the arrival of a request to its answer. Milliseconds, -1 without any.
        qint64 medianMs = -1;
        qint64 percentile99Ms = -1;
    };

    void add(ModbusRecord record);
    void clear();

    // Oldest first.
    [[nodiscard]] const std::deque<ModbusRecord>& records() const { return m_records; }
    // How many there have been; the latest of records() is number total() - 1.
    [[nodiscard]] qint64 total() const { return m_total; }
    [[nodiscard]] QStringList clients() const;
    [[nodiscard]] QList<int> units() const;
    [[nodiscard]] Counters forClient(const QString& peerKey) const;
    [[nodiscard]] Counters forUnit(int unit) const;

private:
    struct Tally
    {
        Counters counters;
        std::deque<qint64> latencies; // at most kMaxLatencies

        void add(const ModbusRecord& record);
        [[nodiscard]] Counters result() const;
    };

    std::deque<ModbusRecord> m_records; // at most kMaxRecords
    qint64 m_total = 0;
    QHash<QString, Tally> m_clients; // at most kMaxClients
    QHash<int, Tally> m_units;       // at most 256
};
