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
        return kNak;
    }
    return protocol == XferProtocol::YmodemG ? kStartStream : kStartCrc;
}

qsizetype XmodemLine::append(QByteArrayView bytes, qint64 now)
{
    if (bytes.isEmpty()) {
        return 0;
    }
    if (m_lastArrivalAt && quiet(now)) {
        torn = false;
    }
    m_lastArrivalAt = now;
    m_input.remove(0, m_head);
    m_head = 0;
    const qsizetype taken = std::min(bytes.size(), kMaxInputBytes - m_input.size());
    m_input.append(bytes.first(taken));
    return taken;
}

void XmodemLine::consume(qsizetype count)
{
    m_head += count;
    m_stale = std::max<qsizetype>(m_stale - count, 0);
    m_early = std::max<qsizetype>(m_early - count, 0);
}

void XmodemLine::discardInput()
{
    m_input.clear();
    m_head = 0;
    m_stale = 0;
    m_early = 0;
}

bool XmodemLine::quiet(qint64 now) const
{
    return !m_lastArrivalAt || elapsedMs(*m_lastArrivalAt, now) >= kQuietMs;
}

bool XmodemLine::isCancel(char byte)
{
    m_cancelRun = byte == kCan ? m_cancelRun + 1 : 0;
    return m_cancelRun >= 2;
}

void XmodemLine::arm(qint64 now, qint32 ms)
{
    m_deadline = now > std::numeric_limits<qint64>::max() - ms ? std::numeric_limits<qint64>::max()
                                                               : now + ms;
    m_deferredWaitMs.reset();
}

void XmodemLine::armOrDefer(const XferStep& step, qint64 now, qint32 ms)
{
    if (step.bytes.isEmpty()) {
        arm(now, ms);
        return;
    }
    m_deadline.reset();
    m_deferredWaitMs = ms;
}

XferStep XmodemLine::settle(XferStep step, qint64 now)
{
    if (!ended() && !step.bytes.isEmpty()) {
        m_awaitingDrain = true;
    }
    step.waitMs = remainingMs(now);
    return step;
}

void XmodemLine::openGate(qint64 now)
{
    m_awaitingDrain = false;
    // A port may report a little late that a frame has left, so that its answer is here already,
    // but not for as long as a second.
    m_early = pending().size();
    if (quiet(now)) {
        m_stale = m_early;
    }
    if (m_deferredWaitMs) {
        arm(now, *m_deferredWaitMs);
    }
}

bool XmodemLine::takeExpired(qint64 now)
{
    if (!m_deadline || now < *m_deadline) {
        return false;
    }
    m_deadline.reset();
    return true;
}

qint32 XmodemLine::remainingMs(qint64 now) const
{
    if (!m_deadline) {
        return -1;
    }
    constexpr quint64 kLongest = std::numeric_limits<qint32>::max();
    return static_cast<qint32>(std::min(elapsedMs(now, *m_deadline), kLongest));
}

bool XmodemLine::countRetry()
{
    if (m_consecutiveRetries >= kMaxRetries) {
        return false;
    }
    ++m_consecutiveRetries;
    m_totalRetries += m_totalRetries < std::numeric_limits<qint32>::max() ? 1 : 0;
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
        XmodemCodec::tr("Gave up after %1 retries.").arg(kMaxRetries), true);
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
    m_rest = pending().toByteArray();
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
    m_deadline.reset();
    m_deferredWaitMs.reset();
    m_awaitingDrain = false;
}
