#include "bridge/engine/modbusgateway.h"
#include "fuzzinput.h"

#include <QtEndian>
#include <cstdlib>

namespace {

void require(bool condition)
{
    if (!condition)
        std::abort();
}

} // namespace

// Bytes from the client, frames from the line and time in any order: what goes to the line are
// valid frames of legal length, what goes to the client says its own length, nothing grows beyond
// its bound, and a tick after the announced time gives the oldest transaction up.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput input(data, size);
    ModbusGateway gateway(1 + input.byte());
    const int maxPending = 1 + input.byte() % 8;
    gateway.setMaxPendingTransactions(maxPending);
    qint64 nowMs = 0;
    while (!input.atEnd()) {
        const int choice = input.byte() % 4;
        if (choice == 0) {
            for (const QByteArray& frame : gateway.tcpToRtu(input.take(input.byte()), nowMs))
                require(ModbusGateway::crcValid(frame) && frame.size() <= 256);
        } else if (choice < 3) {
            const QByteArray line = input.take(input.byte());
            const QByteArray response =
                gateway.rtuToTcp(choice == 1 ? line : ModbusGateway::appendCrc(line), nowMs);
            require(response.isEmpty()
                    || qFromBigEndian<quint16>(response.constData() + 4) == response.size() - 6);
        } else {
            const int pending = gateway.pendingTransactions();
            const int stepMs = input.byte();
            const qint64 nextMs = gateway.nextTimeoutMs(nowMs);
            nowMs += stepMs;
            gateway.tick(nowMs);
            require((nextMs >= 0) == (pending > 0));
            require(nextMs < 0 || stepMs <= nextMs || gateway.pendingTransactions() < pending);
        }
        require(gateway.bufferedBytes() < ModbusGateway::kMaxMbapFrameBytes);
        require(gateway.pendingTransactions() <= maxPending);
    }
    return 0;
}
