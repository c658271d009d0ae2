#include "transfer/engine/xmodemcodec.h"
#include "fuzzinput.h"
#include "transfer/engine/xmodemframe.h"

#include "transfer/engine/memoryfile.h"

#include <cstdlib>
#include <limits>

// Either role, any variant, calls in any order at any times: a step carries one frame at most, an
// ended engine is silent, a running one that owes the port nothing has a timer, and a tick leaves
// no deadline in the past.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr qint64 kForever = std::numeric_limits<qint64>::max();
    FuzzInput input(data, size);
    const int setup = input.byte();
    MemorySource source(QByteArray(input.byte() * 16, 'f'));
    MemorySink sink;
    XmodemCodec codec(
        XmodemCodec::Role(setup & 1), XferProtocol(setup / 2 % 5), setup & 32 ? 128 : 0);
    codec.setSource(&source);
    codec.setSink(&sink);
    codec.setReceiveLimit(setup & 64 ? 5000 : 0);
    qint64 now = setup & 128 ? -60'001 : 0;
    XferStep step = codec.begin({QStringLiteral("f"), source.size(), 1}, now);
    bool owed = !step.bytes.isEmpty();
    while (!input.atEnd()) {
        const int call = input.byte();
        const bool ended = codec.state() >= XmodemState::Done;
        if (call < 128) {
            step = codec.receive(input.take(call), now);
        } else if (call < 192) {
            const QByteArray block = QByteArray(call % 2 ? 128 : 1024, char(call));
            step = codec.receive(
                XmodemFrame::frameBlock(quint8(input.byte()), block, call % 4 > 1), now);
        } else if (call < 216) {
            now = call == 192 ? kForever : now > kForever / 2 ? now : now + input.byte() * 100;
            step = codec.tick(now);
            if (codec.remainingMs(now) == 0 && now < kForever)
                std::abort();
        } else if (call < 254) {
            owed = false;
            step = codec.onEgressDrained(now);
        } else {
            step = call == 254 ? codec.pump(now) : codec.cancel(now);
        }
        owed = owed || !step.bytes.isEmpty();
        const bool over = codec.state() >= XmodemState::Done;
        if (step.bytes.size() > 1029 || (step.done && step.failed)
            || over != (ended || step.done || step.failed) || (ended && !step.bytes.isEmpty())
            || (over || owed) != (codec.remainingMs(now) < 0))
            std::abort();
    }
    return 0;
}
