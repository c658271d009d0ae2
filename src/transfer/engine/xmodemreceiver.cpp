// The rules of the receiver (times in ms, counted from when the reply before has left the port):
//
//   begin            send the start character (NAK, "C", "G") -> Handshake
//   Handshake        3000, checksum: 10000   start character again; XMODEM asks for checksums
//                    from the seventh time on; 60000 after begin: fail
//   any              good block  see below    EOT  save; XMODEM: ACK, done;
//                    CAN CAN     fail              YMODEM: ACK, start -> AwaitNextHeader
//                    bad block   NAK, ten times (Handshake -> Receiving); streaming: fail
//   Receiving        10000       NAK again, ten times (start character while no data has come);
//                                streaming: fail
//   AwaitNextHeader  good block  ACK, done: the batch ends after one file
//                    EOT         our reply was lost: reply again, the file is saved already
//                    10000       done
//
//   good block       YMODEM's first, number 0: the header; open the sink, ACK and start
//                    same number as the last: a repetition, ACK
//                    the header once more, streaming: "G" alone, which is all that a sender by the
//                    reference (Forsberg 1988, figure 8) waits for
//                    the next number: write, ACK              streaming sends no ACK
//                    any other: fail, out of step
//
// Finding blocks on a line that damages bytes. A block whose head byte was destroyed leaves up to
// 1028 bytes that can look like anything, an EOT above all, which would save half a file. So once
// bytes had to be dropped (`torn`), and until a good block or a pause, SOH and STX count only with
// a matching number and complement, CAN CAN only with no other than CAN or BS behind it, and an EOT
// not at all: a real one comes again after the time-out's NAK. An EOT with other bytes right behind
// it never is one, as the sender waits for our reply; it is the damaged head of a block. A time-out
// waits for an incomplete frame while bytes of it arrive. On a quiet line it drops the frame: its
// sender will begin anew, not go on; or it has cancelled in mid-block, when the frame ends in CANs.
//
// Staying in step. Replies carry no number. An ACK too many, from a doubled byte or from a
// repetition of ours, makes the sender take a later block for acknowledged, and the next damage
// loses that block. Two rules against it:
//   - When a reply was lost both ends time out at about the same time, and our NAK crosses the
//     repetition. The sender then repeats once more; that second repetition gets no reply, good or
//     damaged.
//   - An EOT while a block's worth of bytes was unusable since the last good block (`debris`) is
//     answered with NAK: that block is still missing.
// Neither holds back an EOT once the announced size has been reached.

#include "transfer/engine/xmodemreceiver.h"

#include "transfer/engine/xfersink.h"
#include "transfer/engine/xmodemcodec.h"
#include "transfer/engine/xmodemframe.h"
#include "transfer/engine/xmodemline.h"

#include <algorithm>

using namespace XmodemFrame;

namespace {

constexpr qint32 crcHandshakeMs = 3'000;
constexpr qint32 crcHandshakeAttempts = 6; // then the sender may know checksums only
constexpr char backspace = 0x08;
constexpr qsizetype cancelRun = 4; // senders cancel with five or more; two can be a file's bytes
constexpr qsizetype blockOfDebris = ShortData / 2;
constexpr qint32 crossingMs = XmodemLine::ReplyTimeoutMs / 2; // a sender's own time-out is longer

// Whether a block broke off in a run of CAN, with or without BS behind it.
bool endsInCancel(QByteArrayView bytes)
{
    while (!bytes.isEmpty() && bytes.back() == backspace) {
        bytes.chop(1);
    }
    const QByteArrayView run = bytes.last(std::min(bytes.size(), cancelRun));
    return run.size() == cancelRun && std::ranges::count(run, Can) == cancelRun;
}

} // namespace

XmodemReceiver::XmodemReceiver(XmodemLine& line)
    : line_(line)
{
    line_.state = XmodemState::Handshake;
    line_.streaming = line_.protocol == XferProtocol::YmodemG;
}

XferStep XmodemReceiver::begin(const XferFileMeta& meta, qint64 now)
{
    meta_ = meta;
    startedAt_ = now;
    if (!xferIsYmodem(line_.protocol)) {
        blockNumber_ = 1;
        if (!openSink()) {
            return failSinkOpen(false);
        }
    }
    return sendStart(now);
}

XferStep XmodemReceiver::receiverPump(qint64 now)
{
    XferStep step;
    while (step.bytes.isEmpty() && !line_.ended() && !line_.pending().isEmpty()) {
        const char byte = line_.pending().front();
        if (line_.isCancel(byte) && !(line_.torn && followedByOtherThan(Can, backspace))) {
            return line_.failRemoteCancel();
        }
        if (byte != Soh && byte != Stx) {
            step = takeControl(byte, now);
        } else {
            frameBeganAt_ = frameBeganAt_.value_or(now);
            auto taken = takeFrame(now);
            if (!taken) {
                break;
            }
            step = *std::move(taken);
            frameBeganAt_.reset();
        }
    }
    return step;
}

XferStep XmodemReceiver::takeControl(char byte, qint64 now)
{
    const bool insideBlock = (line_.torn && !sizeReached()) || followedByOtherThan(Eot, Eot);
    line_.consume(1);
    if (byte == Eot && !insideBlock) {
        return receiverHandleEot(now);
    }
    if (byte != Can) {
        line_.torn = true;
        addDebris(1);
    }
    return {};
}

// Whether the byte at the front of the input has one behind it already that is neither of these.
bool XmodemReceiver::followedByOtherThan(char first, char second) const
{
    const QByteArrayView input = line_.pending();
    return input.size() > 1 && input[1] != first && input[1] != second;
}

// Nothing while the frame at the front of the input is incomplete.
std::optional<XferStep> XmodemReceiver::takeFrame(qint64 now)
{
    const QByteArrayView input = line_.pending();
    const qsizetype dataLen = input[0] == Soh ? ShortData : LongData;
    const qsizetype trailerLen = trailerBytes(line_.useCrc);
    const qsizetype frameLen = HeadBytes + dataLen + trailerLen;
    const bool numbered = input.size() >= HeadBytes
                          && static_cast<quint8>(input[1]) == static_cast<quint8>(~input[2]);
    if (line_.torn && input.size() >= HeadBytes && !numbered) {
        line_.consume(1);
        addDebris(1);
        return XferStep();
    }
    if (input.size() < frameLen) {
        return std::nullopt;
    }
    line_.consume(frameLen);
    const QByteArrayView data = input.sliced(HeadBytes, dataLen);
    const QByteArrayView trailer = input.sliced(HeadBytes + dataLen, trailerLen);
    const auto number = static_cast<quint8>(input[1]);
    if (!numbered || !trailerOk(data, trailer, line_.useCrc)) {
        return rejectFrame(numbered ? std::optional(number) : std::nullopt, frameLen, now);
    }
    line_.torn = false;
    debris_ = 0;
    return receiverAcceptBlock(number, data, now);
}

XferStep XmodemReceiver::rejectFrame(std::optional<quint8> number, qsizetype length, qint64 now)
{
    if (number != lastAccepted_) {
        addDebris(length);
    }
    if (crossed() && number != blockNumber_) {
        return ignoreRepetition(now);
    }
    return rejectBlock(now);
}

XferStep XmodemReceiver::rejectBlock(qint64 now)
{
    if (line_.streaming) {
        return line_.failWith(XferError::RetriesExhausted,
            XmodemCodec::tr("A block failed its checksum. YMODEM-G cannot ask for it again, so the "
                            "transfer has failed."),
            true);
    }
    if (!line_.countRetry()) {
        return line_.failWith(XferError::RetriesExhausted,
            XmodemCodec::tr("Data kept failing its checksum. This is usually a baud rate mismatch "
                            "or line noise."),
            true);
    }
    if (line_.state != XmodemState::AwaitNextHeader) {
        line_.state = XmodemState::Receiving;
    }
    return reply(QByteArray(1, Nak), now);
}

XferStep XmodemReceiver::receiverAcceptBlock(quint8 number, QByteArrayView data, qint64 now)
{
    line_.resetRetries();
    if (line_.state == XmodemState::AwaitNextHeader) {
        return line_.complete(QByteArray(1, Ack));
    }
    if (xferIsYmodem(line_.protocol) && number == 0 && !lastAccepted_) {
        return acceptHeader(data, now);
    }
    if (number == lastAccepted_) {
        if (line_.streaming && number == 0 && bytesReceived_ == 0) {
            return reply(QByteArray(1, line_.handshakeChar()), now);
        }
        return acknowledgeRepetition(now);
    }
    if (number == blockNumber_) {
        return acceptData(number, data, now);
    }
    return line_.failWith(XferError::OutOfStep,
        XmodemCodec::tr("Block %1 arrived when block %2 was expected; the transfer is out of step.")
            .arg(number)
            .arg(blockNumber_),
        true);
}

XferStep XmodemReceiver::acceptHeader(QByteArrayView data, qint64 now)
{
    const auto header = parseHeaderBlock(data);
    if (!header) {
        return line_.failWith(XferError::OutOfStep,
            XmodemCodec::tr("The device sent a malformed file header."), true);
    }
    if (header->name.isEmpty()) {
        return line_.complete(QByteArray(1, Ack));
    }
    if (receiveLimit_ >= 1 && header->size > receiveLimit_) {
        return line_.failWith(XferError::LimitExceeded,
            XmodemCodec::tr("The device offered a %1 byte file, which is over the receive limit.")
                .arg(header->size),
            true);
    }
    meta_ = *header;
    announcedSize_ = header->size;
    if (!openSink()) {
        return failSinkOpen(true);
    }
    blockNumber_ = 1;
    lastAccepted_ = 0;
    line_.state = XmodemState::Receiving;
    return replyWithStart(now);
}

XferStep XmodemReceiver::acceptData(quint8 number, QByteArrayView data, qint64 now)
{
    if (announcedSize_ >= 0) {
        const qint64 missing = std::max<qint64>(announcedSize_ - bytesReceived_, 0);
        data = data.first(std::min<qint64>(data.size(), missing));
    }
    if (!data.isEmpty() && !sink_->write(data)) {
        return line_.failWith(
            XferError::SinkWriteFailed, XmodemCodec::tr("Writing to disk failed."), true);
    }
    bytesReceived_ += data.size();
    // Without a length all but the first byte of a last block may be padding, so a file within the
    // limit can arrive rounded up to a whole block.
    const qint64 padding = announcedSize_ < 0 ? std::max<qint64>(data.size() - 1, 0) : 0;
    if (receiveLimit_ >= 1 && bytesReceived_ - padding > receiveLimit_) {
        return line_.failWith(XferError::LimitExceeded,
            XmodemCodec::tr("Received %1 bytes without an end of transfer. XMODEM has no length "
                            "field, so there is no way to tell when it should stop.")
                .arg(bytesReceived_),
            true);
    }
    lastAccepted_ = number;
    blockNumber_ = static_cast<quint8>(number + 1);
    line_.state = XmodemState::Receiving;
    noteAnswer(now);
    return acknowledge(now);
}

XferStep XmodemReceiver::receiverHandleEot(qint64 now)
{
    if (line_.state == XmodemState::AwaitNextHeader) {
        return replyWithStart(now);
    }
    if (debris_ >= blockOfDebris && !sizeReached()) {
        return rejectBlock(now);
    }
    if (!sinkOpen_ || !sink_->commit(announcedSize_)) {
        return line_.failWith(XferError::SinkCommitFailed,
            XmodemCodec::tr("The data was received but could not be saved."), false);
    }
    if (!xferIsYmodem(line_.protocol)) {
        return line_.complete(QByteArray(1, Ack));
    }
    line_.state = XmodemState::AwaitNextHeader;
    return replyWithStart(now);
}

XferStep XmodemReceiver::receiverTick(qint64 now)
{
    if (line_.state == XmodemState::AwaitNextHeader) {
        return line_.complete();
    }
    // At 300 baud a long block takes 34 s: a request in the middle of it would have the sender
    // repeat what is on its way.
    if (!line_.pending().isEmpty() && !line_.quiet(now)) {
        line_.arm(now, XmodemLine::QuietMs);
        return {};
    }
    if (endsInCancel(line_.pending())) {
        return line_.failRemoteCancel();
    }
    if (line_.quiet(now)) {
        addDebris(line_.pending().size());
        line_.discardInput();
        line_.torn = false;
        frameBeganAt_.reset();
    }
    return line_.state == XmodemState::Handshake ? retryHandshake(now) : repeatRequest(now);
}

XferStep XmodemReceiver::retryHandshake(qint64 now)
{
    if (XmodemLine::elapsedMs(startedAt_, now) >= XmodemLine::HandshakeLimitMs) {
        return line_.failWith(XferError::NoHandshake,
            XmodemCodec::tr("The device did not start sending. Check that it is ready to send and "
                            "that the baud rate matches."),
            false);
    }
    if (!xferIsYmodem(line_.protocol) && handshakeAttempts_ >= crcHandshakeAttempts) {
        line_.useCrc = false;
    }
    return sendStart(now);
}

XferStep XmodemReceiver::repeatRequest(qint64 now)
{
    if (line_.streaming) {
        return line_.failWith(XferError::RetriesExhausted,
            XmodemCodec::tr("The device stopped sending. YMODEM-G cannot recover, so the transfer "
                            "has failed."),
            true);
    }
    if (!line_.countRetry()) {
        return line_.failRetries();
    }
    requestedAgain_ = true;
    answeredAt_.reset();
    const bool nothingYet = bytesReceived_ == 0 && line_.useCrc;
    return reply(QByteArray(1, nothingYet ? line_.handshakeChar() : Nak), now);
}

XferStep XmodemReceiver::sendStart(qint64 now)
{
    ++handshakeAttempts_;
    XferStep step;
    step.bytes.append(line_.handshakeChar());
    line_.armOrDefer(step, now, line_.useCrc ? crcHandshakeMs : XmodemLine::ReplyTimeoutMs);
    return step;
}

XferStep XmodemReceiver::acknowledge(qint64 now)
{
    return reply(line_.streaming ? QByteArray() : QByteArray(1, Ack), now);
}

XferStep XmodemReceiver::acknowledgeRepetition(qint64 now)
{
    if (crossed()) {
        return ignoreRepetition(now);
    }
    noteAnswer(now);
    return acknowledge(now);
}

XferStep XmodemReceiver::ignoreRepetition(qint64 now)
{
    answeredAt_.reset();
    line_.arm(now, XmodemLine::ReplyTimeoutMs);
    return {};
}

// What came last may be the sender's answer to a NAK that crossed its own repetition. Its first
// byte tells: how long the others take depends on the speed of the line.
bool XmodemReceiver::crossed() const
{
    return answeredAt_ && frameBeganAt_
           && XmodemLine::elapsedMs(*answeredAt_, *frameBeganAt_) < crossingMs;
}

void XmodemReceiver::noteAnswer(qint64 now)
{
    answeredAt_ = requestedAgain_ ? std::optional(now) : std::nullopt;
    requestedAgain_ = false;
}

void XmodemReceiver::addDebris(qsizetype bytes)
{
    // Before the first good block it may be text that the device prints while it gets ready.
    if (lastAccepted_) {
        debris_ = std::min(debris_ + bytes, blockOfDebris);
    }
}

XferStep XmodemReceiver::replyWithStart(qint64 now)
{
    const char start = line_.handshakeChar();
    return reply(QByteArray(1, Ack) + start, now);
}

XferStep XmodemReceiver::reply(const QByteArray& bytes, qint64 now)
{
    XferStep step;
    step.bytes = bytes;
    line_.armOrDefer(step, now, XmodemLine::ReplyTimeoutMs);
    return step;
}

XferStep XmodemReceiver::failSinkOpen(bool sendCancel)
{
    return line_.failWith(XferError::SinkOpenFailed,
        XmodemCodec::tr("Could not create the destination file."), sendCancel);
}

bool XmodemReceiver::openSink()
{
    sinkOpen_ = sink_ && sink_->open(meta_);
    return sinkOpen_;
}

bool XmodemReceiver::sizeReached() const
{
    return announcedSize_ >= 0 && bytesReceived_ >= announcedSize_;
}

XferProgress XmodemReceiver::progress() const
{
    XferProgress progress;
    progress.bytesDone = bytesReceived_;
    progress.bytesTotal = announcedSize_;
    progress.block = lastAccepted_.value_or(0);
    progress.retries = line_.totalRetries();
    progress.fileName = meta_.name;
    return progress;
}
