#include "bridge/modbusroute.h"

#include "bridge/engine/modbuspdu.h"

#include <QDateTime>

namespace {

// Modbus over Serial Line V1.02, 2.5.1.1: frames are apart by 3.5 characters of 11 bits. Whole
// milliseconds: on fast lines the way through the system takes longer than that.
int silenceMs(int baudRate)
{
    constexpr int kBits = 385; // tenths
    return baudRate > 0 ? kBits * 100 / baudRate : 0;
}

} // namespace

ModbusRoute::ModbusRoute(const Ends& ends, BridgeSide clients, const BridgeConfig& config)
    : SharedLineRoute(ends, clients)
    , m_line(config.arbiterResponseTimeoutMs, config.modbusTransactionTimeoutMs)
{
    m_line.setMaxQueuedRequests(config.arbiterMaxQueuedRequests);
    m_line.setExceptionsForUnanswered(config.modbusExceptions);
}

ModbusRoute::~ModbusRoute() = default;

// The rate of the line may change while the bridge runs.
void ModbusRoute::adaptToLine()
{
    const LivePort* port = line().endpoint().port();
    const int baudRate = port && line().endpoint().serialLines() ? port->active().baudRate : 0;
    if (baudRate == m_baudRate)
        return;
    m_baudRate = baudRate;
    m_line.setLineQuietMs(silenceMs(baudRate), ModbusLine::kDefaultDrainMs);
}

void ModbusRoute::received(
    BridgeSide side, const QByteArray& payload, const QString& peer, qint64 nowMs)
{
    if (isClients(side)) {
        adaptToLine();
        m_toLine.bytesIn += payload.size();
        perform(m_line.fromClient(keyOf(peer), payload, nowMs), nowMs);
    } else {
        m_toClients.bytesIn += payload.size();
        perform(m_line.fromLine(payload, nowMs), nowMs);
    }
}

void ModbusRoute::perform(ModbusLine::Output output, qint64 nowMs)
{
    for (;;) {
        for (const ModbusLine::ToClient& response : output.toClients)
            writeToClient(response.peerKey, response.bytes);
        for (const ModbusLine::Transaction& transaction : output.ended)
            record(transaction);
        for (const QString& key : output.closeClients)
            clients().endpoint().disconnectPeer(peerOf(key));
        if (output.toLine.isEmpty() || writeToLine(output.toLine, nowMs))
            return;
        m_toLine.droppedBytes += output.toLine.size();
        output = m_line.lineFailed(nowMs);
    }
}

void ModbusRoute::record(const ModbusLine::Transaction& transaction)
{
    m_unanswered += transaction.outcome == ModbusLine::Outcome::TimedOut;
    m_droppedRequests += transaction.outcome == ModbusLine::Outcome::Dropped;
    m_statistics.add({QDateTime::currentMSecsSinceEpoch(), transaction});
}

void ModbusRoute::closed(BridgeSide side, qint64 nowMs)
{
    if (isClients(side))
        perform(m_line.clientGone(keyOf({}), nowMs), nowMs);
    else if (isSending())
        perform(m_line.lineFailed(nowMs), nowMs);
}

void ModbusRoute::peerLost(BridgeSide side, const QString& peer, qint64 nowMs)
{
    if (isClients(side))
        perform(m_line.clientGone(keyOf(peer), nowMs), nowMs);
}

void ModbusRoute::tick(qint64 nowMs)
{
    perform(m_line.tick(nowMs), nowMs);
}

int ModbusRoute::nextTimeoutMs(qint64 nowMs) const
{
    return m_line.nextTimeoutMs(nowMs);
}

void ModbusRoute::resetCounters()
{
    SharedLineRoute::resetCounters();
    m_statistics.clear();
}

void ModbusRoute::drop(BridgeSide from, qint64 /*nowMs*/)
{
    if (isClients(from))
        m_line.reset();
}
