#include "bridge/engine/bridgeframer.h"
#include "fuzzinput.h"

#include <cstdlib>

namespace {

FramingPolicy policyFrom(FuzzInput& input)
{
    FramingPolicy policy{.mode = framingModeFromInt(input.byte() % 4), .idleGapMs = input.byte()};
    policy.delimiter = input.take(input.byte() % 4);
    policy.frameLength = input.byte();
    policy.maxFrameBytes = input.byte();
    policy.flushTimeoutMs = input.byte();
    return policy;
}

} // namespace

// Whatever is read when: the frames joined are the input, no frame is empty, what is held stays
// below the largest frame, and a tick at the announced time leaves nothing overdue.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput input(data, size);
    BridgeFramer framer(policyFrom(input));
    QByteArray in;
    QByteArray out;
    qint64 nowMs = 0;
    const auto collect = [&](const QList<QByteArray>& frames) {
        for (const QByteArray& frame : frames) {
            if (frame.isEmpty())
                std::abort();
            out += frame;
        }
        if (framer.bufferedBytes() >= framer.policy().maxFrameBytes)
            std::abort();
    };
    while (!input.atEnd()) {
        const int choice = input.byte();
        if (choice < 200) {
            const QByteArray bytes = input.take(choice);
            in += bytes;
            collect(framer.ingest(bytes, nowMs));
        } else if (choice < 250) {
            nowMs += choice < 240 ? input.byte() : framer.nextTimeoutMs(nowMs) + 1;
            collect(framer.tick(nowMs));
            if (framer.nextTimeoutMs(nowMs) == 0)
                std::abort();
        } else {
            collect(framer.flush());
            framer.setPolicy(policyFrom(input));
        }
    }
    collect(framer.flush());
    return in == out ? 0 : (std::abort(), 1);
}
