#include "transfer/lossyline.h"
#include "transfer/xmodemframe.h"

#include <benchmark/benchmark.h>

namespace {

constexpr qint64 Mebibyte = 1024 * 1024;

// Both engines in memory: what one writes the other receives, and has left the port at once.
void endToEnd(benchmark::State& state)
{
    MemorySource source(randomBytes(4 * Mebibyte, 1));
    for (auto _ : state) {
        MemorySink sink;
        sink.bytes.reserve(source.size() + 1024);
        XmodemCodec sender(XmodemCodec::Role::Sender, XferProtocol(state.range(0)), 1024);
        XmodemCodec receiver(XmodemCodec::Role::Receiver, XferProtocol(state.range(0)), 1024);
        sender.setSource(&source);
        receiver.setSink(&sink);
        sender.begin({QStringLiteral("f"), source.size(), 0}, 0);
        XferStep there = receiver.begin({}, 0);
        XferStep here;
        while (!here.done && !here.failed) {
            here = sender.onEgressDrained(0);
            if (here.bytes.isEmpty()) {
                receiver.onEgressDrained(0);
                here = sender.receive(there.bytes, 0);
            }
            if (!here.bytes.isEmpty())
                there = receiver.receive(here.bytes, 0);
        }
        if (sink.bytes != source.bytes)
            state.SkipWithError("the file differs");
    }
    state.SetBytesProcessed(state.iterations() * source.size());
}
BENCHMARK(endToEnd)->ArgName("protocol")->DenseRange(2, 4);

void crc(benchmark::State& state)
{
    const QByteArray block = randomBytes(1024, 1);
    for (auto _ : state)
        benchmark::DoNotOptimize(XmodemFrame::crc16(block));
    state.SetBytesProcessed(state.iterations() * block.size());
}
BENCHMARK(crc);

// 1 MiB in blocks of 128 bytes over a line that damages one byte in a thousand. Counted: frames
// sent again, frames that the line damaged, replies that it damaged.
void damagedLine(benchmark::State& state)
{
    const QByteArray file = randomBytes(Mebibyte, 2);
    for (auto _ : state) {
        LossyLine line({.protocol = XferProtocol::XmodemCrc,
                           .faults = {.damage = 1e-3},
                           .seed = quint32(state.range(0))},
            file);
        if (!line.run(Q_INT64_C(86'400'000)) || !line.bothDone() || !line.arrivedWhole())
            state.SkipWithError("the file did not arrive");
        state.counters["resent"] = line.progress(LossyLine::Sender).retries;
        state.counters["hurtFrames"] = line.framesHurt;
        state.counters["hurtReplies"] = line.repliesHurt;
        state.counters["lineSeconds"] = double(line.nowMs()) / 1000;
    }
    state.SetBytesProcessed(state.iterations() * file.size());
}
BENCHMARK(damagedLine)
    ->ArgName("seed")
    ->DenseRange(1, 10)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
