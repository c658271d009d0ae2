// The rules of the sender (times in ms; every reply time-out is 10000 and counts from when the
// frame has left the port):
//
//   AwaitStart      "C"/"G"     CRC blocks, "G" also streaming: start the file
//                   NAK         checksum blocks: start the file
//                   60000       fail: nobody asked
//   start the file: YMODEM sends the header (-> AwaitAck), XMODEM the first block
//   AwaitAck        ACK         header: -> AwaitDataStart; block: send the next;
//                               EOT: XMODEM is done, YMODEM -> AwaitBatchEnd; batch end: done
//                   NAK, 10000  send the last frame again, ten times; streaming: fail
//                   "C"/"G"     after EOT: its ACK was lost, send the end of the batch
//                   "G"         streaming, after the header: first block
//                   10000       streaming, after the end of the batch: done
//   AwaitDataStart  "C"/"G"     first block
//                   10000       wait on, ten times
//   AwaitBatchEnd   "C"/"G"     send the end of the batch (-> AwaitAck)
//                   10000       done: the receiver wants no other file
//   Streaming       frame left  send the next
//                   NAK, 10000  fail
//   any             CAN CAN     fail: cancelled
//
// Sending a block leads to AwaitAck, or to Streaming; at the end of the source an EOT goes out
// instead, in AwaitAck.
//
// Two dialects of streaming. By the YMODEM reference (Forsberg 1988, figure 8) the receiver answers
// the header with "G" alone and acknowledges nothing but the EOT; others acknowledge the header and
// the end of the batch as well. Either is understood; to a receiver of the first kind the end of
// the batch has arrived when it has been quiet for 1000.
//
// Staying in step. Replies carry no number, so one that was here before a frame was made, or long
// before it left, does not answer it: the second of two ACKs would skip a block. And each
// repetition after a time-out may bring one ACK more for the same block. Such a surplus ACK comes
// while the next block is on its way out and is not its answer either.

#include "transfer/engine/xmodemsender.h"

#include "transfer/engine/xfersource.h"
#include "transfer/engine/xmodemcodec.h"
#include "transfer/engine/xmodemframe.h"
#include "transfer/engine/xmodemline.h"

#include <algorithm>
#include <utility>

using namespace XmodemFrame;

XmodemSender::XmodemSender(XmodemLine& line, qint32 blockSizeOption)
    : m_line(line)
    , m_blockSizeOption(blockSizeOption)
{
    m_line.state = XmodemState::AwaitStart;
}

XferStep XmodemSender::begin(const XferFileMeta& meta, qint64 now)
{
    m_meta = meta;
    m_line.arm(now, XmodemLine::kHandshakeLimitMs);
    return {};
}

XferStep XmodemSender::senderPump(qint64 now)
{
    XferStep step;
    while (step.bytes.isEmpty() && !m_line.ended() && !m_line.pending().isEmpty()) {
        const char byte = m_line.pending().front();
        const bool idle = answersNothing(byte);
        m_line.consume(1);
        if (m_line.isCancel(byte)) {
            return m_line.failRemoteCancel();
        }
        if (!idle) {
            step = onByte(byte, now);
        }
    }
    // The pump runs only while nothing waits to be written: the last block has left.
    if (step.bytes.isEmpty() && m_line.state == XmodemState::Streaming) {
        return advance(now);
    }
    return step;
}

XferStep XmodemSender::senderTick(qint64 now)
{
    switch (m_line.state) {
    case XmodemState::AwaitStart:
        return m_line.failWith(XferError::NoHandshake,
            XmodemCodec::tr("The device did not request the transfer. Check that it is waiting to "
                            "receive and that the baud rate matches."),
            false);
    case XmodemState::AwaitDataStart:
        if (!m_line.countRetry()) {
            return m_line.failRetries();
        }
        m_line.arm(now, XmodemLine::kReplyTimeoutMs);
        return {};
    case XmodemState::AwaitBatchEnd:
        return m_line.complete();
    default:
        break;
    }
    if (m_line.streaming && m_lastSentKind == Sent::BatchEnd) {
        return m_line.complete();
    }
    if (m_line.streaming) {
        return m_line.failWith(XferError::RetriesExhausted,
            XmodemCodec::tr("The device stopped responding. YMODEM-G has no retransmission, so the "
                            "transfer has failed."),
            true);
    }
    ++m_timedOutResends;
    return resend(now);
}

// Whether the byte at the front of the input came too early to answer the frame that was sent last.
// An error that a streaming receiver reports concerns any frame.
bool XmodemSender::answersNothing(char byte)
{
    if (m_line.streaming && (m_line.state == XmodemState::Streaming || byte == kNak)) {
        return false;
    }
    if (m_line.frontIsStale()) {
        return true;
    }
    if (byte != kAck || !m_line.frontIsEarly() || m_surplusAcks == 0) {
        return false;
    }
    --m_surplusAcks;
    return true;
}

XferStep XmodemSender::onByte(char byte, qint64 now)
{
    const bool crcStart = byte == kStartCrc || byte == kStartStream;
    switch (m_line.state) {
    case XmodemState::AwaitStart:
        if (!crcStart && byte != kNak) {
            return {};
        }
        m_line.useCrc = crcStart;
        m_line.streaming = byte == kStartStream;
        return senderStartFile(now);
    case XmodemState::AwaitDataStart:
        if (!crcStart) {
            return {};
        }
        m_line.streaming = byte == kStartStream;
        m_blockNumber = 1;
        return senderEmitNextBlock(now);
    case XmodemState::AwaitBatchEnd:
        return crcStart ? sendBatchEnd(now) : XferStep();
    case XmodemState::AwaitAck:
        return onReply(byte, now);
    default:
        return byte == kNak ? failStreaming() : XferStep();
    }
}

XferStep XmodemSender::onReply(char byte, qint64 now)
{
    switch (byte) {
    case kAck:
        return onAck(now);
    case kNak:
        return m_line.streaming ? failStreaming() : resend(now);
    case kStartCrc:
    case kStartStream:
        if (byte == kStartStream && m_line.streaming && m_lastSentKind == Sent::Header) {
            m_acksOnlyEots = true;
            m_blockNumber = 1;
            return senderEmitNextBlock(now);
        }
        return m_lastSentKind == Sent::Eot ? sendBatchEnd(now) : XferStep();
    default:
        return {};
    }
}

XferStep XmodemSender::onAck(qint64 now)
{
    m_line.resetRetries();
    m_surplusAcks = std::exchange(m_timedOutResends, 0);
    switch (m_lastSentKind) {
    case Sent::Header:
        m_line.state = XmodemState::AwaitDataStart;
        m_line.arm(now, XmodemLine::kReplyTimeoutMs);
        return {};
    case Sent::Data:
        return advance(now);
    case Sent::Eot:
        if (!xferIsYmodem(m_line.protocol)) {
            return m_line.complete();
        }
        m_line.state = XmodemState::AwaitBatchEnd;
        m_line.arm(now, XmodemLine::kReplyTimeoutMs);
        return {};
    case Sent::BatchEnd:
        return m_line.complete();
    case Sent::Nothing:
        break;
    }
    return {};
}

XferStep XmodemSender::senderStartFile(qint64 now)
{
    if (xferIsYmodem(m_line.protocol)) {
        return transmit(frameBlock(0, buildHeaderBlock(m_meta), m_line.useCrc), Sent::Header, now);
    }
    m_blockNumber = 1;
    return senderEmitNextBlock(now);
}

XferStep XmodemSender::advance(qint64 now)
{
    m_bytesSent += m_lastBlockDataLen;
    ++m_blockNumber;
    return senderEmitNextBlock(now);
}

XferStep XmodemSender::senderEmitNextBlock(qint64 now)
{
    if (!m_source) {
        return failRead();
    }
    const qint64 remaining = m_source->size() - m_bytesSent;
    if (remaining <= 0) {
        return sendEot(now);
    }
    const qsizetype block = blockSize(remaining);
    const qint64 wanted = std::min<qint64>(block, remaining);
    QByteArray data = m_source->read(m_bytesSent, wanted);
    // A short read would put padding into the middle of the file.
    if (m_source->readFailed() || data.size() < wanted) {
        return failRead();
    }
    m_lastBlockDataLen = wanted;
    m_line.resetRetries();
    data.truncate(wanted);
    if (wanted < block) {
        data = data.leftJustified(block, kSub);
    }
    return transmit(frameBlock(m_blockNumber, data, m_line.useCrc), Sent::Data, now);
}

XferStep XmodemSender::sendEot(qint64 now)
{
    if (!m_source->stillIntact()) {
        return m_line.failWith(XferError::SourceChanged,
            XmodemCodec::tr("The file changed while it was being sent."), true);
    }
    return transmit(QByteArray(1, kEot), Sent::Eot, now);
}

XferStep XmodemSender::sendBatchEnd(qint64 now)
{
    return transmit(frameBlock(0, buildTerminatorBlock(), m_line.useCrc), Sent::BatchEnd, now);
}

XferStep XmodemSender::transmit(const QByteArray& frame, Sent kind, qint64 now)
{
    m_lastFrame = frame;
    m_lastSentKind = kind;
    const bool unacknowledged = m_line.streaming && kind == Sent::Data;
    m_line.state = unacknowledged ? XmodemState::Streaming : XmodemState::AwaitAck;
    XferStep step;
    step.bytes = frame;
    m_line.markStale();
    const bool silentEnd = m_acksOnlyEots && kind == Sent::BatchEnd;
    m_line.armOrDefer(step, now, silentEnd ? XmodemLine::kQuietMs : XmodemLine::kReplyTimeoutMs);
    return step;
}

XferStep XmodemSender::resend(qint64 now)
{
    return m_line.countRetry() ? transmit(m_lastFrame, m_lastSentKind, now) : m_line.failRetries();
}

XferStep XmodemSender::failRead()
{
    return m_line.failWith(
        XferError::SourceReadFailed, XmodemCodec::tr("Could not read the file being sent."), true);
}

XferStep XmodemSender::failStreaming()
{
    return m_line.failWith(XferError::RetriesExhausted,
        XmodemCodec::tr("The device reported an error. YMODEM-G cannot resend a block, so the "
                        "transfer has been abandoned."),
        true);
}

qsizetype XmodemSender::blockSize(qint64 remaining) const
{
    const bool shortOnly = m_line.protocol == XferProtocol::Xmodem
                           || m_line.protocol == XferProtocol::XmodemCrc
                           || m_blockSizeOption == kShortData;
    return shortOnly || remaining <= kShortData ? kShortData : kLongData;
}

XferProgress XmodemSender::progress() const
{
    XferProgress progress;
    progress.bytesDone = m_bytesSent;
    progress.bytesTotal = m_source ? m_source->size() : -1;
    progress.block = m_blockNumber;
    progress.retries = m_line.totalRetries();
    progress.fileName = m_meta.name;
    return progress;
}
