#include "bridge/engine/bridgeflow.h"
#include "bridge/engine/bridgesink.h"
#include "bridge/engine/modbusline.h"

#include <benchmark/benchmark.h>

namespace {

// A port that never fills up, or that takes nothing at all.
class Sink final : public BridgeSink
{
public:
    bool isWritable() const override { return writable; }
    qint64 pendingWriteBytes() const override { return 0; }

    BridgeWrite write(QByteArrayView bytes) override
    {
        benchmark::DoNotOptimize(bytes.data());
        return BridgeWrite::took(bytes.size());
    }

    bool writable = true;
};

// Reads of the given size through framer, queue and flow; lines of 64 bytes, fixed frames of 256
// bytes, an idle gap after every 4 KiB.
void flow(benchmark::State& state)
{
    constexpr qint64 BurstBytes = 4096;
    FramingPolicy framing{.mode = FramingMode(state.range(0))};
    if (framing.mode == FramingMode::IdleGap)
        framing.maxFrameBytes = 2 * BurstBytes;
    Sink sink;
    BridgeFlow flow;
    flow.setSink(&sink);
    flow.setFramingPolicy(framing);
    flow.setFlowControlPolicy({.floodBytesPerSecond = Q_INT64_C(1) << 50});

    QByteArray line(63, 'x');
    line += '\n';
    const QByteArray lines = line.repeated(BurstBytes / line.size());
    QList<QByteArray> reads;
    for (qsizetype at = 0; at < lines.size(); at += state.range(1))
        reads.append(lines.mid(at, state.range(1)));

    qint64 nowMs = 0;
    for (auto _ : state) {
        for (const QByteArray& read : std::as_const(reads))
            flow.ingest(read, nowMs, {});
        nowMs += framing.idleGapMs;
        flow.tick(nowMs);
    }
    if (flow.stats().bytesOut != flow.stats().bytesIn)
        state.SkipWithError("bytes were held back");
    state.SetBytesProcessed(flow.stats().bytesOut);
}

// A backlog of 16-byte frames, all queued before the first is written.
void backlog(benchmark::State& state)
{
    const QByteArray read(16, 'x');
    for (auto _ : state) {
        Sink sink;
        sink.writable = false;
        BridgeFlow flow;
        flow.setSink(&sink);
        flow.setFlowControlPolicy(
            {.capacityBytes = FlowControlPolicy::kMaxCapacityBytes, .floodGuardEnabled = false});
        for (qint64 queued = 0; queued < state.range(0); queued += read.size())
            flow.ingest(read, 0, {});
        sink.writable = true;
        flow.drain(1);
        if (flow.stats().bytesOut != state.range(0))
            state.SkipWithError("not everything was written");
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
    state.SetComplexityN(state.range(0));
}

// Requests for the given number of registers, the given number of them under way at a time.
void gateway(benchmark::State& state)
{
    const auto registers = int(state.range(0));
    const auto depth = int(state.range(1));
    ModbusGateway gateway(1000);
    const QByteArray request = ModbusGateway::buildMbap(1, 17, QByteArray::fromHex("030000007d"));
    const QByteArray answer = ModbusGateway::appendCrc(
        QByteArray::fromHex("1103") + char(2 * registers) + QByteArray(2 * registers, '\1'));
    for (int i = 1; i < depth; ++i)
        gateway.tcpToRtu(request, 0);

    qint64 nowMs = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(gateway.tcpToRtu(request, ++nowMs));
        benchmark::DoNotOptimize(gateway.rtuToTcp(answer, nowMs));
        gateway.tick(nowMs);
        benchmark::DoNotOptimize(gateway.nextTimeoutMs(nowMs));
    }
    if (gateway.counters().expiredTransactions > 0 || gateway.pendingTransactions() != depth - 1)
        state.SkipWithError("a request was not answered");
    state.SetItemsProcessed(state.iterations());
}

// Requests of that many clients, each waiting for its turn, and the device's answers.
void modbusLine(benchmark::State& state)
{
    const auto clients = int(state.range(0));
    const QByteArray request = ModbusGateway::buildMbap(1, 17, QByteArray::fromHex("030000000a"));
    const QByteArray answer =
        ModbusGateway::appendCrc(QByteArray::fromHex("110314") + QByteArray(20, '\1'));
    ModbusLine line(200, 1000);
    line.setMaxQueuedRequests(clients);
    QStringList peers;
    for (int i = 0; i < clients; ++i) {
        peers.append(QString::number(i));
        line.fromClient(peers.last(), request, 0);
    }

    qint64 nowMs = 0;
    int next = 0;
    for (auto _ : state) {
        const ModbusLine::Output output = line.fromLine(answer, ++nowMs);
        if (output.toClients.size() != 1)
            state.SkipWithError("a request was not answered");
        line.fromClient(peers.at(next), request, nowMs);
        next = (next + 1) % clients;
        benchmark::DoNotOptimize(line.nextTimeoutMs(nowMs));
    }
    state.SetItemsProcessed(state.iterations());
}

} // namespace

BENCHMARK(flow)->ArgNames({"mode", "read"})->ArgsProduct({{0, 1, 2, 3}, {16, 4096}});
BENCHMARK(backlog)->Range(1 << 20, 64 << 20)->Unit(benchmark::kMillisecond)->Complexity();
BENCHMARK(gateway)->ArgNames({"registers", "depth"})->ArgsProduct({{1, 125}, {1, 32}});
BENCHMARK(modbusLine)->ArgName("clients")->Arg(1)->Arg(4)->Arg(64);
BENCHMARK_MAIN();
