#include "transfer/engine/xmodemline.h"

#include "transfer/engine/xmodemcodec.h"
#include "transfer/engine/xmodemframe.h"

#include <algorithm>
#include <limits>

using namespace XmodemFrame;

XmodemLine::XmodemLine(XferProtocol variant)
    : protocol(variant)
    , useCrc(variant != XferProtocol::Xmodem)
{}

char XmodemLine::handshakeChar() const
{
    if (!useCrc) {
        return Nak;
    }
    return protocol == XferProtocol::YmodemG ? StartStream : StartCrc;
}

qsizetype XmodemLine::append(QByteArrayView bytes, qint64 now)
{
    if (bytes.isEmpty()) {
        return 0;
    }
    if (lastArrivalAt_ && quiet(now)) {
        torn = false;
    }
    lastArrivalAt_ = now;
    input_.remove(0, head_);
    head_ = 0;
    const qsizetype taken = std::min(bytes.size(), MaxInputBytes - input_.size());
    input_.append(bytes.first(taken));
    return taken;
}

void XmodemLine::consume(qsizetype count)
{
    head_ += count;
    stale_ = std::max<qsizetype>(stale_ - count, 0);
    early_ = std::max<qsizetype>(early_ - count, 0);
}

void XmodemLine::discardInput()
{
    input_.clear();
    head_ = 0;
    stale_ = 0;
    early_ = 0;
}

bool XmodemLine::quiet(qint64 now) const
{
    return !lastArrivalAt_ || elapsedMs(*lastArrivalAt_, now) >= QuietMs;
}

bool XmodemLine::isCancel(char byte)
{
    cancelRun_ = byte == Can ? cancelRun_ + 1 : 0;
    return cancelRun_ >= 2;
}

void XmodemLine::arm(qint64 now, qint32 ms)
{
    deadline_ = now > std::numeric_limits<qint64>::max() - ms ? std::numeric_limits<qint64>::max()
                                                              : now + ms;
    deferredWaitMs_.reset();
}

void XmodemLine::armOrDefer(const XferStep& step, qint64 now, qint32 ms)
{
    if (step.bytes.isEmpty()) {
        arm(now, ms);
        return;
    }
    deadline_.reset();
    deferredWaitMs_ = ms;
}

XferStep XmodemLine::settle(XferStep step, qint64 now)
{
    if (!ended() && !step.bytes.isEmpty()) {
        awaitingDrain_ = true;
    }
    step.waitMs = remainingMs(now);
    return step;
}

void XmodemLine::openGate(qint64 now)
{
    awaitingDrain_ = false;
    // A port may report a little late that a frame has left, so that its answer is here already,
    // but not for as long as a second.
    early_ = pending().size();
    if (quiet(now)) {
        stale_ = early_;
    }
    if (deferredWaitMs_) {
        arm(now, *deferredWaitMs_);
    }
}

bool XmodemLine::takeExpired(qint64 now)
{
    if (!deadline_ || now < *deadline_) {
        return false;
    }
    deadline_.reset();
    return true;
}

qint32 XmodemLine::remainingMs(qint64 now) const
{
    if (!deadline_) {
        return -1;
    }
    constexpr quint64 longest = std::numeric_limits<qint32>::max();
    return static_cast<qint32>(std::min(elapsedMs(now, *deadline_), longest));
}

bool XmodemLine::countRetry()
{
    if (consecutiveRetries_ >= MaxRetries) {
        return false;
    }
    ++consecutiveRetries_;
    totalRetries_ += totalRetries_ < std::numeric_limits<qint32>::max() ? 1 : 0;
    return true;
}

XferStep XmodemLine::failWith(XferError error, const QString& message, bool sendCancel)
{
    state = XmodemState::Failed;
    clearTimers();
    discardInput();
    XferStep step;
    step.failed = true;
    step.error = error;
    step.message = message;
    if (sendCancel) {
        step.bytes = cancelSequence();
    }
    return step;
}

XferStep XmodemLine::failRetries()
{
    return failWith(XferError::RetriesExhausted,
        XmodemCodec::tr("Gave up after %1 retries.").arg(MaxRetries), true);
}

XferStep XmodemLine::failRemoteCancel()
{
    return failWith(
        XferError::RemoteCancel, XmodemCodec::tr("The device cancelled the transfer."), false);
}

XferStep XmodemLine::complete(const QByteArray& lastBytes)
{
    state = XmodemState::Done;
    clearTimers();
    rest_ = pending().toByteArray();
    discardInput();
    XferStep step;
    step.bytes = lastBytes;
    step.done = true;
    return step;
}

quint64 XmodemLine::elapsedMs(qint64 from, qint64 to)
{
    // The difference of two 64-bit times fits 64 bits only without a sign.
    return to > from ? static_cast<quint64>(to) - static_cast<quint64>(from) : 0;
}

void XmodemLine::clearTimers()
{
    deadline_.reset();
    deferredWaitMs_.reset();
    awaitingDrain_ = false;
}
