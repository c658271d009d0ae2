#include "tools/modbuspoll.h"

#include <algorithm>
#include <utility>

void ModbusPoll::start(
    QList<Item> items, Modbus::Framing framing, const Timing& timing, qint64 nowMs)
{
    stop();
    m_items = std::move(items);
    m_framing = framing;
    m_timing.intervalMs =
        timing.intervalMs <= 0 ? 0 : std::clamp(timing.intervalMs, kMinIntervalMs, kMaxIntervalMs);
    m_timing.timeoutMs = std::clamp(timing.timeoutMs, kMinTimeoutMs, kMaxTimeoutMs);
    m_timing.gapMs = std::clamp<qint64>(timing.gapMs, 0, kMaxGapMs);
    m_nextMs = nowMs;
    ++m_transaction; // an answer to what was stopped is none to this
}

void ModbusPoll::stop()
{
    m_reader.cancel();
    m_items.clear();
    m_at = 0;
}

QByteArray ModbusPoll::due(qint64 nowMs) const
{
    if (!isRunning() || m_reader.isWaiting() || nowMs < m_nextMs)
        return {};
    const Item& item = m_items[m_at];
    return m_framing == Modbus::Framing::Rtu ? Modbus::rtuFrame(item.unit, item.pdu)
                                             : Modbus::tcpFrame(m_transaction, item.unit, item.pdu);
}

void ModbusPoll::sent(qint64 nowMs, qint64 extraMs)
{
    if (!isRunning() || m_reader.isWaiting())
        return;
    // As planned, so that a timer's lateness does not add up; if that was missed, as it is.
    if (m_at == 0)
        m_roundMs = nowMs - m_nextMs < m_timing.intervalMs ? m_nextMs : nowMs;
    const Item& item = m_items[m_at];
    m_reader.ask({m_framing, m_transaction, item.unit, item.pdu,
                     m_timing.timeoutMs + std::max<qint64>(0, extraMs)},
        nowMs);
}

std::optional<ModbusPoll::Outcome> ModbusPoll::receive(
    const QByteArray& bytes, const QString& peer, qint64 nowMs)
{
    return conclude(m_reader.feed(bytes, peer, nowMs), nowMs);
}

std::optional<ModbusPoll::Outcome> ModbusPoll::tick(qint64 nowMs)
{
    return conclude(m_reader.tick(nowMs), nowMs);
}

qint64 ModbusPoll::nextTimeoutMs(qint64 nowMs) const
{
    if (m_reader.isWaiting())
        return m_reader.nextTimeoutMs(nowMs);
    return isRunning() ? std::max<qint64>(0, m_nextMs - nowMs) : -1;
}

std::optional<ModbusPoll::Outcome> ModbusPoll::conclude(
    std::optional<ModbusAnswer> answer, qint64 nowMs)
{
    if (!answer || !isRunning())
        return {};
    Outcome outcome{m_items[m_at].id, *std::move(answer)};
    ++m_transaction;
    m_nextMs = nowMs + m_timing.gapMs;
    if (++m_at < m_items.size())
        return outcome;
    m_at = 0;
    if (m_timing.intervalMs == 0)
        stop();
    else
        m_nextMs = std::max(m_nextMs, m_roundMs + m_timing.intervalMs);
    return outcome;
}
