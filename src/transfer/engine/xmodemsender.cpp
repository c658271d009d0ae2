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
    : line_(line)
    , blockSizeOption_(blockSizeOption)
{
    line_.state = XmodemState::AwaitStart;
}

XferStep XmodemSender::begin(const XferFileMeta& meta, qint64 now)
{
    meta_ = meta;
    line_.arm(now, XmodemLine::HandshakeLimitMs);
    return {};
}

XferStep XmodemSender::senderPump(qint64 now)
{
    XferStep step;
    while (step.bytes.isEmpty() && !line_.ended() && !line_.pending().isEmpty()) {
        const char byte = line_.pending().front();
        const bool idle = answersNothing(byte);
        line_.consume(1);
        if (line_.isCancel(byte)) {
            return line_.failRemoteCancel();
        }
        if (!idle) {
            step = onByte(byte, now);
        }
    }
    // The pump runs only while nothing waits to be written: the last block has left.
    if (step.bytes.isEmpty() && line_.state == XmodemState::Streaming) {
        return advance(now);
    }
    return step;
}

XferStep XmodemSender::senderTick(qint64 now)
{
    switch (line_.state) {
    case XmodemState::AwaitStart:
        return line_.failWith(XferError::NoHandshake,
            XmodemCodec::tr("The device did not request the transfer. Check that it is waiting to "
                            "receive and that the baud rate matches."),
            false);
    case XmodemState::AwaitDataStart:
        if (!line_.countRetry()) {
            return line_.failRetries();
        }
        line_.arm(now, XmodemLine::ReplyTimeoutMs);
        return {};
    case XmodemState::AwaitBatchEnd:
        return line_.complete();
    default:
        break;
    }
    if (line_.streaming && lastSentKind_ == Sent::BatchEnd) {
        return line_.complete();
    }
    if (line_.streaming) {
        return line_.failWith(XferError::RetriesExhausted,
            XmodemCodec::tr("The device stopped responding. YMODEM-G has no retransmission, so the "
                            "transfer has failed."),
            true);
    }
    ++timedOutResends_;
    return resend(now);
}

// Whether the byte at the front of the input came too early to answer the frame that was sent last.
// An error that a streaming receiver reports concerns any frame.
bool XmodemSender::answersNothing(char byte)
{
    if (line_.streaming && (line_.state == XmodemState::Streaming || byte == Nak)) {
        return false;
    }
    if (line_.frontIsStale()) {
        return true;
    }
    if (byte != Ack || !line_.frontIsEarly() || surplusAcks_ == 0) {
        return false;
    }
    --surplusAcks_;
    return true;
}

XferStep XmodemSender::onByte(char byte, qint64 now)
{
    const bool crcStart = byte == StartCrc || byte == StartStream;
    switch (line_.state) {
    case XmodemState::AwaitStart:
        if (!crcStart && byte != Nak) {
            return {};
        }
        line_.useCrc = crcStart;
        line_.streaming = byte == StartStream;
        return senderStartFile(now);
    case XmodemState::AwaitDataStart:
        if (!crcStart) {
            return {};
        }
        line_.streaming = byte == StartStream;
        blockNumber_ = 1;
        return senderEmitNextBlock(now);
    case XmodemState::AwaitBatchEnd:
        return crcStart ? sendBatchEnd(now) : XferStep();
    case XmodemState::AwaitAck:
        return onReply(byte, now);
    default:
        return byte == Nak ? failStreaming() : XferStep();
    }
}

XferStep XmodemSender::onReply(char byte, qint64 now)
{
    switch (byte) {
    case Ack:
        return onAck(now);
    case Nak:
        return line_.streaming ? failStreaming() : resend(now);
    case StartCrc:
    case StartStream:
        if (byte == StartStream && line_.streaming && lastSentKind_ == Sent::Header) {
            acksOnlyEots_ = true;
            blockNumber_ = 1;
            return senderEmitNextBlock(now);
        }
        return lastSentKind_ == Sent::Eot ? sendBatchEnd(now) : XferStep();
    default:
        return {};
    }
}

XferStep XmodemSender::onAck(qint64 now)
{
    line_.resetRetries();
    surplusAcks_ = std::exchange(timedOutResends_, 0);
    switch (lastSentKind_) {
    case Sent::Header:
        line_.state = XmodemState::AwaitDataStart;
        line_.arm(now, XmodemLine::ReplyTimeoutMs);
        return {};
    case Sent::Data:
        return advance(now);
    case Sent::Eot:
        if (!xferIsYmodem(line_.protocol)) {
            return line_.complete();
        }
        line_.state = XmodemState::AwaitBatchEnd;
        line_.arm(now, XmodemLine::ReplyTimeoutMs);
        return {};
    case Sent::BatchEnd:
        return line_.complete();
    case Sent::Nothing:
        break;
    }
    return {};
}

XferStep XmodemSender::senderStartFile(qint64 now)
{
    if (xferIsYmodem(line_.protocol)) {
        return transmit(frameBlock(0, buildHeaderBlock(meta_), line_.useCrc), Sent::Header, now);
    }
    blockNumber_ = 1;
    return senderEmitNextBlock(now);
}

XferStep XmodemSender::advance(qint64 now)
{
    bytesSent_ += lastBlockDataLen_;
    ++blockNumber_;
    return senderEmitNextBlock(now);
}

XferStep XmodemSender::senderEmitNextBlock(qint64 now)
{
    if (!source_) {
        return failRead();
    }
    const qint64 remaining = source_->size() - bytesSent_;
    if (remaining <= 0) {
        return sendEot(now);
    }
    const qsizetype block = blockSize(remaining);
    const qint64 wanted = std::min<qint64>(block, remaining);
    QByteArray data = source_->read(bytesSent_, wanted);
    // A short read would put padding into the middle of the file.
    if (source_->readFailed() || data.size() < wanted) {
        return failRead();
    }
    lastBlockDataLen_ = wanted;
    line_.resetRetries();
    data.truncate(wanted);
    if (wanted < block) {
        data = data.leftJustified(block, Sub);
    }
    return transmit(frameBlock(blockNumber_, data, line_.useCrc), Sent::Data, now);
}

XferStep XmodemSender::sendEot(qint64 now)
{
    if (!source_->stillIntact()) {
        return line_.failWith(XferError::SourceChanged,
            XmodemCodec::tr("The file changed while it was being sent."), true);
    }
    return transmit(QByteArray(1, Eot), Sent::Eot, now);
}

XferStep XmodemSender::sendBatchEnd(qint64 now)
{
    return transmit(frameBlock(0, buildTerminatorBlock(), line_.useCrc), Sent::BatchEnd, now);
}

XferStep XmodemSender::transmit(const QByteArray& frame, Sent kind, qint64 now)
{
    lastFrame_ = frame;
    lastSentKind_ = kind;
    const bool unacknowledged = line_.streaming && kind == Sent::Data;
    line_.state = unacknowledged ? XmodemState::Streaming : XmodemState::AwaitAck;
    XferStep step;
    step.bytes = frame;
    line_.markStale();
    const bool silentEnd = acksOnlyEots_ && kind == Sent::BatchEnd;
    line_.armOrDefer(step, now, silentEnd ? XmodemLine::QuietMs : XmodemLine::ReplyTimeoutMs);
    return step;
}

XferStep XmodemSender::resend(qint64 now)
{
    return line_.countRetry() ? transmit(lastFrame_, lastSentKind_, now) : line_.failRetries();
}

XferStep XmodemSender::failRead()
{
    return line_.failWith(
        XferError::SourceReadFailed, XmodemCodec::tr("Could not read the file being sent."), true);
}

XferStep XmodemSender::failStreaming()
{
    return line_.failWith(XferError::RetriesExhausted,
        XmodemCodec::tr("The device reported an error. YMODEM-G cannot resend a block, so the "
                        "transfer has been abandoned."),
        true);
}

qsizetype XmodemSender::blockSize(qint64 remaining) const
{
    const bool shortOnly = line_.protocol == XferProtocol::Xmodem
                           || line_.protocol == XferProtocol::XmodemCrc
                           || blockSizeOption_ == ShortData;
    return shortOnly || remaining <= ShortData ? ShortData : LongData;
}

XferProgress XmodemSender::progress() const
{
    XferProgress progress;
    progress.bytesDone = bytesSent_;
    progress.bytesTotal = source_ ? source_->size() : -1;
    progress.block = blockNumber_;
    progress.retries = line_.totalRetries();
    progress.fileName = meta_.name;
    return progress;
}
