#pragma once

#include "transfer/engine/xferconfig.h"
#include "transfer/engine/xferfilemeta.h"
#include "transfer/engine/xferstep.h"
#include "transfer/engine/xmodemline.h"
#include "transfer/engine/xmodemreceiver.h"
#include "transfer/engine/xmodemsender.h"

#include <QByteArrayView>
#include <QCoreApplication>
#include <QtGlobal>
#include <variant>

class XferSink;
class XferSource;

// One XMODEM or YMODEM transfer of one file in one direction, as a pure state machine: no I/O, no
// timer, no clock. Every entry point takes the monotonic time in milliseconds and returns what to
// write and when to call again.
//
// Use: construct, give it the source or the sink, begin(), then any sequence of receive(), tick(),
// onEgressDrained() and cancel(). After a step with bytes the owner writes them and calls
// onEgressDrained() once they have left the port; after a step with waitMs >= 0 it calls tick() no
// later than that; when it is late, whatever it calls first does what was due. A step with `done`
// or `failed` is the last one that says anything; later calls return empty steps.
//
// The gate: from a step with bytes to onEgressDrained() input is only collected and no timer runs.
// So one burst at most is in flight, and a reply time-out counts from when the frame has left, not
// from when it was queued behind a slow line.
//
// The states and what moves them are those of the role: xmodemsender.cpp, xmodemreceiver.cpp.
// Memory: the input (XmodemLine::kMaxInputBytes) and one frame.
class XmodemCodec final
{
    Q_DECLARE_TR_FUNCTIONS(XmodemCodec)

public:
    enum class Role { Sender, Receiver };

    // `blockSizeOption`: 128 forces blocks of 128 bytes, anything else allows 1024.
    XmodemCodec(Role role, XferProtocol protocol, qint32 blockSizeOption);
    ~XmodemCodec() = default;

    // The source, the sink: not owned, outlive the transfer; of no effect on the other role.
    void setSource(XferSource* source);
    void setSink(XferSink* sink);
    // Largest number of bytes to accept; 0 or less means no limit.
    void setReceiveLimit(qint64 bytes);

    // Once. Sending: `meta` goes into a YMODEM header. Receiving: it names an XMODEM file.
    XferStep begin(const XferFileMeta& meta, qint64 now);
    // Bytes that arrived from the port, in chunks of any size.
    XferStep receive(QByteArrayView bytes, qint64 now);
    // The owner's timer fired. Early calls are harmless.
    XferStep tick(qint64 now);
    // Every byte of the previous step has been written.
    XferStep onEgressDrained(qint64 now);
    // Processes buffered input now, unless the gate is closed.
    XferStep pump(qint64 now);
    // Ends the transfer from this side, at any moment.
    XferStep cancel(qint64 now);

    // What the other end sent behind the last byte of a completed transfer, once: a device says in
    // words what it has got.
    QByteArray takeRest() { return m_line.takeRest(); }

    XferProgress progress() const;
    // Until the deadline; 0 if past, -1 if there is none.
    qint32 remainingMs(qint64 now) const { return m_line.remainingMs(now); }
    // What a receiver with the current settings sends to be sent to: NAK, "C" or "G".
    char handshakeChar() const { return m_line.handshakeChar(); }
    XmodemState state() const { return m_line.state; }

private:
    using AnyRole = std::variant<XmodemSender, XmodemReceiver>;
    static AnyRole makeRole(Role role, XmodemLine& line, qint32 blockSizeOption);

    bool running() const { return m_begun && !m_line.ended(); }
    XferStep advance(qint64 now);
    XferStep catchUp(qint64 now);

    XmodemLine m_line;
    AnyRole m_role;
    bool m_begun = false;

    Q_DISABLE_COPY_MOVE(XmodemCodec)
};
