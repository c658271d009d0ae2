#include "bridge/engine/bridgeflow.h"
#include "bridge/engine/bridgesink.h"
#include "bridge/engine/modbusline.h"
#include "fuzzinput.h"

#include <QtEndian>
#include <cstdlib>

namespace {

void require(bool condition)
{
    if (!condition)
        std::abort();
}

// Takes as much as it has room for; with less than none it refuses for good.
class Sink final : public BridgeSink
{
public:
    bool isWritable() const override { return true; }
    qint64 pendingWriteBytes() const override { return 0; }
    BridgeWrite write(QByteArrayView bytes) override
    {
        const qint64 taken = qMin<qint64>(bytes.size(), room);
        room -= qMax<qint64>(0, taken);
        return room < 0 ? BridgeWrite::refusal({}) : BridgeWrite::took(taken);
    }

    qint64 room = 0;
};

FramingPolicy framingFrom(FuzzInput& input)
{
    FramingPolicy policy{.mode = framingModeFromInt(input.byte() % 4), .idleGapMs = input.byte()};
    policy.delimiter = input.take(input.byte() % 3);
    policy.frameLength = input.byte();
    policy.maxFrameBytes = input.byte();
    policy.flushTimeoutMs = input.byte();
    return policy;
}

} // namespace

// Reads and times in any order, through a flow, through turns with framing and through turns with
// a gateway: every byte and every request that went in is found again, once, and whatever is asked
// to wait is waited for no longer than announced.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput input(data, size);
    const FramingPolicy framing = framingFrom(input);
    Sink sink;
    BridgeFlow flow;
    flow.setSink(&sink);
    flow.setFramingPolicy(framing);
    flow.setFlowControlPolicy({.capacityBytes = 1 + input.byte() * 4,
        .overflowPolicy = overflowPolicyFromInt(input.byte() % 4)});
    BridgeArbiter arbiter(framing, 1 + input.byte());
    arbiter.setMaxQueuedRequests(1 + input.byte() % 8);
    arbiter.setLineQuietMs(input.byte() % 8, input.byte());
    ModbusLine line(1 + input.byte(), 1 + input.byte());
    line.setMaxQueuedRequests(1 + input.byte() % 8);
    line.setExceptionsForUnanswered(input.byte() % 2 != 0);

    qint64 nowMs = 0;
    qint64 bytesIn = 0;
    qint64 bytesTaken = 0;
    QHash<quint16, QString> asked; // and not yet ended
    quint16 lastId = 0;
    qsizetype open = 0;
    const auto check = [&](const ModbusLine::Output& output) {
        for (const ModbusLine::ToClient& to : output.toClients)
            require(asked.take(qFromBigEndian<quint16>(to.bytes.constData())) == to.peerKey);
        open -= output.ended.size();
        require(output.closeClients.isEmpty() && open == line.openTransactions());
        require(output.toLine.isEmpty() || ModbusGateway::crcValid(output.toLine));
    };
    while (!input.atEnd()) {
        const int choice = input.byte();
        const QString peer = QString::number(choice / 8 % 3);
        const QByteArray bytes = input.take(choice % 8 < 6 ? input.byte() % 16 : 0);
        if (choice % 8 < 3) {
            flow.ingest(bytes, nowMs, peer);
            arbiter.submit(peer, bytes, nowMs);
            bytesIn += bytes.size();
        } else if (choice % 8 == 3 && bytes.size() > 1) {
            asked.insert(++lastId, peer);
            ++open;
            check(line.fromClient(
                peer, ModbusGateway::buildMbap(lastId, quint8(bytes[0]), bytes.mid(1)), nowMs));
        } else if (choice % 8 < 6) {
            check(line.fromLine(choice < 128 ? ModbusGateway::appendCrc(bytes) : bytes, nowMs));
            arbiter.routeResponse(nowMs);
        } else if (choice % 8 == 6) {
            sink.room = choice / 8 % 4 == 0 ? -1 : choice;
            flow.drain(nowMs);
            check(choice < 32 ? line.clientGone(peer, nowMs) : line.lineDrained(nowMs));
        } else {
            nowMs += choice < 128 ? input.byte() : qMax(0, line.nextTimeoutMs(nowMs));
            flow.tick(nowMs);
            check(line.tick(nowMs));
            require(line.nextTimeoutMs(nowMs) != 0 && flow.nextTimeoutMs(nowMs) != 0);
        }
        BridgeArbiter::Request request;
        while (choice % 2 == 0 && arbiter.takeNext(nowMs, &request)) {
            bytesTaken += request.bytes.size();
            arbiter.closeWindow();
        }
        const BridgeFlowStats& stats = flow.stats();
        require(stats.bytesOut + stats.droppedBytes + stats.discardedBytes
                    + flow.queue().queuedBytes() + flow.framer().bufferedBytes()
                == bytesIn);
        require(bytesTaken + arbiter.queuedBytes() + arbiter.heldBytes() + arbiter.droppedBytes()
                == bytesIn);
    }
    for (int next = line.nextTimeoutMs(nowMs); next >= 0; next = line.nextTimeoutMs(nowMs))
        check(line.tick(nowMs += next));
    require(open == 0);
    return 0;
}
