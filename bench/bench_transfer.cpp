#include "transfer/engine/memoryfile.h"
#include "transfer/engine/xmodemcodec.h"

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

} // namespace

BENCHMARK_MAIN();
