#include "gateway/gatewaystatus.h"

#include "bridge/modbusstatistics.h"
#include "connections/transport.h"
#include "gateway/gateway.h"
#include "settings/connectionmode.h"
#include "terminal/port/portlog.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::Literals::StringLiterals;

namespace {

QString lifeWord(ConnectionLife life)
{
    switch (life) {
    case ConnectionLife::Closed:
        return u"closed"_s;
    case ConnectionLife::Opening:
        return u"opening"_s;
    case ConnectionLife::Open:
        return u"open"_s;
    case ConnectionLife::Lost:
    case ConnectionLife::Regaining:
        return u"lost"_s;
    }
    return {};
}

// Fixed for who reads it, whatever the texts for people become.
QString stateWord(BridgeState state)
{
    switch (state) {
    case BridgeState::Off:
        return u"off"_s;
    case BridgeState::Idle:
        return u"idle"_s;
    case BridgeState::Running:
        return u"running"_s;
    case BridgeState::Degraded:
        return u"degraded"_s;
    case BridgeState::Suspended:
        return u"suspended"_s;
    }
    return {};
}

QString logWord(PortLog::State state)
{
    switch (state) {
    case PortLog::State::Off:
        return u"off"_s;
    case PortLog::State::Recording:
        return u"recording"_s;
    case PortLog::State::Failing:
        return u"failing"_s;
    }
    return {};
}

QJsonArray listed(const QStringList& names)
{
    return QJsonArray::fromStringList(names.first(qMin(names.size(), kMaxListedClients)));
}

QJsonObject portStatus(const LivePort& port, int index)
{
    QJsonObject result{{u"index"_s, index}, {u"name"_s, port.summary()},
        {u"state"_s, lifeWord(port.life())}, {u"error"_s, port.lastError()},
        {u"rx"_s, port.receivedBytes()}, {u"tx"_s, port.sentBytes()},
        {u"pending"_s, port.pendingBytes()}, {u"log"_s, logWord(port.log().state())},
        {u"unlogged"_s, port.unloggedBytes()}};
    if (port.active().connMode == connectionMode::TcpServer) {
        const QStringList clients = port.transport() ? port.transport()->peers() : QStringList();
        result.insert(u"clients"_s, listed(clients));
        result.insert(u"clientCount"_s, qint64(clients.size()));
    }
    return result;
}

QJsonObject countersOf(const BridgeCounters& counters)
{
    return {{u"bytesIn"_s, counters.bytesIn}, {u"bytesOut"_s, counters.bytesOut},
        {u"framesOut"_s, counters.framesOut}, {u"queued"_s, counters.queuedBytes},
        {u"peakQueued"_s, counters.peakQueuedBytes}, {u"dropped"_s, counters.droppedBytes},
        {u"droppedFrames"_s, counters.droppedFrames}, {u"discarded"_s, counters.discardedBytes},
        {u"lost"_s, counters.lostBytes}, {u"throttledMs"_s, counters.throttledMs}};
}

QJsonObject turnsOf(const BridgeRoute::Turns& turns, qint64 nowMs)
{
    return {{u"owner"_s, turns.owner},
        {u"heldMs"_s, turns.owner.isEmpty() ? qint64{0} : nowMs - turns.sinceMs},
        {u"waiting"_s, listed(turns.waiting)}, {u"waitingCount"_s, qint64(turns.waiting.size())},
        {u"unanswered"_s, turns.unanswered}, {u"dropped"_s, turns.dropped}};
}

QJsonObject modbusOf(const ModbusStatistics& statistics)
{
    QJsonArray units;
    for (const int unit : statistics.units()) {
        const ModbusStatistics::Counters counters = statistics.forUnit(unit);
        units.append(QJsonObject{{u"unit"_s, unit}, {u"requests"_s, counters.requests},
            {u"errors"_s, counters.errors}, {u"timeouts"_s, counters.timeouts},
            {u"medianMs"_s, counters.medianMs}, {u"percentile99Ms"_s, counters.percentile99Ms}});
    }
    return {{u"transactions"_s, statistics.total()}, {u"units"_s, units}};
}

QJsonObject bridgeStatus(const BridgeLink& link, int index)
{
    QJsonObject result{{u"index"_s, index}, {u"name"_s, link.config().name},
        {u"portA"_s, link.config().portA}, {u"portB"_s, link.config().portB},
        {u"enabled"_s, link.config().enabled}, {u"state"_s, stateWord(link.state())},
        {u"error"_s, link.errorText()}, {u"fromA"_s, countersOf(link.counters(BridgeSide::A))},
        {u"fromB"_s, countersOf(link.counters(BridgeSide::B))}};
    if (link.config().logEnabled)
        result.insert(u"captureError"_s, link.captureError());
    if (const BridgeRoute::Turns* turns = link.turns())
        result.insert(u"turns"_s, turnsOf(*turns, link.nowMs()));
    if (const ModbusStatistics* modbus = link.modbus())
        result.insert(u"modbus"_s, modbusOf(*modbus));
    return result;
}

} // namespace

QByteArray gatewayStatus(const Gateway& gateway, const QString& file)
{
    QJsonArray ports;
    for (int at = 0; at < gateway.portCount(); ++at)
        ports.append(portStatus(gateway.port(at), at));
    QJsonArray bridges;
    for (int at = 0; at < gateway.bridges().linkCount(); ++at) {
        if (const BridgeLink* link = gateway.bridges().linkAt(at))
            bridges.append(bridgeStatus(*link, at));
    }
    const QJsonObject status{{u"file"_s, file},
        {u"version"_s, QCoreApplication::applicationVersion()},
        {u"pid"_s, QCoreApplication::applicationPid()}, {u"summary"_s, gateway.summary()},
        {u"ports"_s, ports}, {u"bridges"_s, bridges}};
    return QJsonDocument(status).toJson();
}
