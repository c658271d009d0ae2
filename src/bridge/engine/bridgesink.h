#pragma once

#include <QByteArrayView>
#include <QString>
#include <span>

// What became of a frame that a sink was handed. Neither taken nor refused is blocked: the same
// bytes are offered again later.
struct BridgeWrite
{
    qint64 taken = 0;     // bytes from the front that the sink is done with
    bool refused = false; // the frame can never go, as a datagram beyond its largest size
    int missedPeers = 0;  // of several peers, how many did not get what was taken
    QString reason;       // why it was refused or missed, for people

    static BridgeWrite took(qint64 bytes) { return {.taken = bytes, .reason = {}}; }
    static BridgeWrite blocked() { return {}; }
    static BridgeWrite refusal(const QString& why) { return {.refused = true, .reason = why}; }

    // One outcome for a frame of that many bytes that was offered to several peers, each of which
    // took the whole of it or nothing. Once any peer has it the frame is done with, as a second
    // attempt would repeat it there: the others have missed it. It is blocked when nobody took it
    // and somebody may yet, refused when nobody ever will, as when there is no peer.
    static BridgeWrite broadcast(std::span<const BridgeWrite> peers, qint64 frameBytes);
};

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
    // Offers the rest of a frame; the view is valid during the call only.
    virtual BridgeWrite write(QByteArrayView bytes) = 0;

protected:
    BridgeSink() = default;
};
