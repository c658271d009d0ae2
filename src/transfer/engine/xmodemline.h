#pragma once

#include "transfer/engine/xferconfig.h"
#include "transfer/engine/xferstep.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QtGlobal>
#include <optional>
#include <utility>

enum class XmodemState : qint32 {
    AwaitStart = 0, // sender: for the receiver's start character
    AwaitAck = 1,
    AwaitDataStart = 2, // header acknowledged; for the start character of the data
    AwaitBatchEnd = 3,  // file acknowledged; for the start character of the next header
    Streaming = 4,
    Handshake = 5, // receiver: start character sent, nothing usable back yet
    Receiving = 6,
    AwaitNextHeader = 7, // file saved; for the end-of-batch block
    Done = 8,
    Failed = 9,
};

// What a sender and a receiver have in common: the input that is not yet consumed, one timer, the
// gate that holds everything back until the bytes of the last step have left the port, the retry
// counters and the two ways to end. XmodemCodec owns it and opens the gate; the role it drives
// reads the input, arms the timer and moves `state`.
//
// Bounds: kMaxInputBytes of input; what arrives beyond it is lost as on a line that overruns, and
// the block trailers find the gap.
class XmodemLine final
{
public:
    // Room for a peer that streams while our own start character is still being reported written.
    // Not a multiple of a frame (133 or 1029 bytes), so that a loss always cuts one.
    static constexpr qsizetype kMaxInputBytes = 1'048'576;
    static constexpr qint32 kMaxRetries = 10;
    static constexpr qint32 kReplyTimeoutMs = 10'000;
    static constexpr qint32 kHandshakeLimitMs = 60'000;
    // A pause this long ends whatever burst was on the line (the reference's purge time).
    static constexpr qint32 kQuietMs = 1'000;

    explicit XmodemLine(XferProtocol variant);
    ~XmodemLine() = default;

    const XferProtocol protocol;
    XmodemState state = XmodemState::AwaitStart;
    bool useCrc;
    bool streaming = false;
    // Bytes that belong to no frame were dropped and no pause or good block has come since. What
    // follows may be the inside of a block whose head was destroyed.
    bool torn = false;

    // What a receiver sends to be sent to: NAK, "C" or "G".
    char handshakeChar() const;
    bool ended() const { return state == XmodemState::Done || state == XmodemState::Failed; }

    // Takes as many bytes as there is room for and returns their number.
    qsizetype append(QByteArrayView bytes, qint64 now);
    // Valid until the next append() or discardInput().
    QByteArrayView pending() const { return QByteArrayView(m_input).sliced(m_head); }
    void consume(qsizetype count);
    // What is pending came before the frame that is now written was made: it cannot answer it.
    void markStale() { m_stale = pending().size(); }
    // Whether the byte at the front of the input is such a one, or came long before that frame had
    // left the port.
    bool frontIsStale() const { return m_stale > 0; }
    // Whether it came before the owner reported that the frame had left.
    bool frontIsEarly() const { return m_early > 0; }
    void discardInput();
    bool quiet(qint64 now) const;
    // To be told every byte outside a frame: true at the second CAN in a row.
    bool isCancel(char byte);

    void arm(qint64 now, qint32 ms);
    // Starts the timer now, or when the bytes of `step` have left if it has any.
    void armOrDefer(const XferStep& step, qint64 now, qint32 ms);
    // Closes the gate if `step` carries bytes, and fills in its waitMs.
    XferStep settle(XferStep step, qint64 now);
    void openGate(qint64 now);
    bool gateClosed() const { return m_awaitingDrain; }
    // The deadline has passed; it is cleared.
    bool takeExpired(qint64 now);
    qint32 remainingMs(qint64 now) const; // 0 when past, -1 without a deadline

    // False when ten in a row have been used up.
    bool countRetry();
    void resetRetries() { m_consecutiveRetries = 0; }
    qint32 totalRetries() const { return m_totalRetries; }

    XferStep failWith(XferError error, const QString& message, bool sendCancel);
    XferStep failRetries();
    XferStep failRemoteCancel();
    XferStep complete(const QByteArray& lastBytes = {});
    // What came behind the end of a transfer that completed, for whoever reads the port next.
    void keepRest(QByteArrayView bytes) { m_rest.append(bytes); }
    QByteArray takeRest() { return std::exchange(m_rest, {}); }

    // Milliseconds from one time to a later one; 0 when the clock ran backwards.
    static quint64 elapsedMs(qint64 from, qint64 to);

private:
    void clearTimers();

    QByteArray m_input; // at most kMaxInputBytes
    QByteArray m_rest;  // of that, and of the read that completed the transfer
    qsizetype m_head = 0;
    qsizetype m_stale = 0; // from m_head on
    qsizetype m_early = 0;
    std::optional<qint64> m_lastArrivalAt;
    qint32 m_cancelRun = 0;

    bool m_awaitingDrain = false;
    std::optional<qint64> m_deadline;
    std::optional<qint32> m_deferredWaitMs;

    qint32 m_consecutiveRetries = 0;
    qint32 m_totalRetries = 0;

    Q_DISABLE_COPY_MOVE(XmodemLine)
};
