#pragma once

#include <QByteArrayView>

// Where a bridge flow writes: the sending side of a port. The implementation outlives the flow or
// takes itself off it with BridgeFlow::setSink(nullptr). The owner drains the flow when the port
// reports written bytes; from inside write() a port may have the flow drained or suspended, but
// not fed or reset, as the bytes being written are still the queue's.
class BridgeSink
{
    Q_DISABLE_COPY_MOVE(BridgeSink)

public:
    virtual ~BridgeSink() = default;

    virtual bool isWritable() const = 0;
    // Bytes that write() took and that have not left yet.
    virtual qint64 pendingWriteBytes() const = 0;
    // Takes bytes from the front of the view, which is valid during the call only; how many, or 0
    // or less when none.
    virtual qint64 write(QByteArrayView bytes) = 0;

protected:
    BridgeSink() = default;
};
