#pragma once

#include "bridge/engine/modbusline.h"
#include "bridge/modbusstatistics.h"
#include "bridge/sharedlineroute.h"

// Modbus TCP clients at a Modbus RTU line.
class ModbusRoute final : public SharedLineRoute
{
    Q_DISABLE_COPY_MOVE(ModbusRoute)

public:
    ModbusRoute(const Ends& ends, BridgeSide clients, const BridgeConfig& config);
    ~ModbusRoute() override;

    void received(
        BridgeSide side, const QByteArray& payload, const QString& peer, qint64 nowMs) override;
    void closed(BridgeSide side, qint64 nowMs) override;
    void peerLost(BridgeSide side, const QString& peer, qint64 nowMs) override;
    void tick(qint64 nowMs) override;
    [[nodiscard]] int nextTimeoutMs(qint64 nowMs) const override;
    void resetCounters() override;
    void drop(BridgeSide from, qint64 nowMs) override;
    [[nodiscard]] const ModbusStatistics* modbus() const override { return &m_statistics; }

protected:
    [[nodiscard]] const BridgeArbiter& arbiter() const override { return m_line.arbiter(); }
    void requestLeft(qint64 nowMs) override { perform(m_line.lineDrained(nowMs), nowMs); }

private:
    void perform(ModbusLine::Output output, qint64 nowMs);
    void record(const ModbusLine::Transaction& transaction);
    void adaptToLine();

    ModbusLine m_line;
    ModbusStatistics m_statistics;
    int m_baudRate = -1; // that the silences were computed for
};
