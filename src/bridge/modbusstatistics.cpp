#include "bridge/modbusstatistics.h"

#include <algorithm>
#include <utility>

namespace {

constexpr char kExceptionFlag = char(0x80);

qint64 atShare(std::deque<qint64> sorted, int percent)
{
    if (sorted.empty())
        return -1;
    // The nearest rank: the smallest value that so many percent do not exceed.
    const std::size_t rank = (sorted.size() * std::size_t(percent) + 99) / 100;
    const auto nth = sorted.begin() + std::ptrdiff_t(std::max<std::size_t>(rank, 1) - 1);
    std::nth_element(sorted.begin(), nth, sorted.end());
    return *nth;
}

} // namespace

qint64 ModbusRecord::waitedMs() const
{
    return transaction.sentMs < 0 ? -1 : transaction.sentMs - transaction.arrivedMs;
}

qint64 ModbusRecord::onLineMs() const
{
    return transaction.sentMs < 0 ? -1 : transaction.endedMs - transaction.sentMs;
}

int ModbusRecord::unit() const
{
    return transaction.request.isEmpty() ? 0 : quint8(transaction.request.at(0));
}

int ModbusRecord::functionCode() const
{
    return transaction.request.size() < 2 ? 0 : quint8(transaction.request.at(1));
}

int ModbusRecord::exceptionCode() const
{
    const QByteArray& answer = transaction.answer;
    return answer.size() > 2 && (answer.at(1) & kExceptionFlag) != 0 ? quint8(answer.at(2)) : 0;
}

void ModbusStatistics::Tally::add(const ModbusRecord& record)
{
    using Outcome = ModbusLine::Outcome;
    ++counters.requests;
    const Outcome outcome = record.transaction.outcome;
    counters.timeouts += outcome == Outcome::TimedOut;
    counters.errors += outcome == Outcome::Dropped || record.exceptionCode() != 0;
    if (outcome != Outcome::Answered)
        return;
    latencies.push_back(record.transaction.endedMs - record.transaction.arrivedMs);
    if (latencies.size() > kMaxLatencies)
        latencies.pop_front();
}

ModbusStatistics::Counters ModbusStatistics::Tally::result() const
{
    Counters result = counters;
    result.medianMs = atShare(latencies, 50);
    result.percentile99Ms = atShare(latencies, 99);
    return result;
}

void ModbusStatistics::add(ModbusRecord record)
{
    const QString client = record.transaction.peerKey;
    if (m_clients.size() < kMaxClients || m_clients.contains(client))
        m_clients[client].add(record);
    m_units[record.unit()].add(record);
    m_records.push_back(std::move(record));
    if (m_records.size() > kMaxRecords)
        m_records.pop_front();
    ++m_total;
}

void ModbusStatistics::clear()
{
    *this = {};
}

QStringList ModbusStatistics::clients() const
{
    QStringList keys = m_clients.keys();
    keys.sort();
    return keys;
}

QList<int> ModbusStatistics::units() const
{
    QList<int> units = m_units.keys();
    std::sort(units.begin(), units.end());
    return units;
}

ModbusStatistics::Counters ModbusStatistics::forClient(const QString& peerKey) const
{
    return m_clients.value(peerKey).result();
}

ModbusStatistics::Counters ModbusStatistics::forUnit(int unit) const
{
    return m_units.value(unit).result();
}
