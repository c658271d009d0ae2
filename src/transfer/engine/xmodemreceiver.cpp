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

constexpr qint32 kCrcHandshakeMs = 3'000;
constexpr qint32 kCrcHandshakeAttempts = 6; // then the sender may know checksums only
constexpr char kBackspace = 0x08;
constexpr qsizetype kCancelRun = 4; // senders cancel with five or more; two can be a file's bytes
constexpr qsizetype kBlockOfDebris = kShortData / 2;
constexpr qint32 kCrossingMs = XmodemLine::kReplyTimeoutMs / 2; // a sender's own time-out is longer

// Whether a block broke off in a run of CAN, with or without BS behind it.
bool endsInCancel(QByteArrayView bytes)
{
    while (!bytes.isEmpty() && bytes.back() == kBackspace) {
        bytes.chop(1);
    }
    const QByteArrayView run = bytes.last(std::min(bytes.size(), kCancelRun));
    return run.size() == kCancelRun && std::ranges::count(run, kCan) == kCancelRun;
}

} // namespace

XmodemReceiver::XmodemReceiver(XmodemLine& line)
    : m_line(line)
{
    m_line.state = XmodemState::Handshake;
    m_line.streaming = m_line.protocol == XferProtocol::YmodemG;
}

XferStep XmodemReceiver::begin(const XferFileMeta& meta, qint64 now)
{
    m_meta = meta;
    m_startedAt = now;
    if (!xferIsYmodem(m_line.protocol)) {
        m_blockNumber = 1;
        if (!openSink()) {
            return failSinkOpen(false);
        }
    }
    return sendStart(now);
}

XferStep XmodemReceiver::receiverPump(qint64 now)
{
    XferStep step;
    while (step.bytes.isEmpty() && !m_line.ended() && !m_line.pending().isEmpty()) {
        const char byte = m_line.pending().front();
        if (m_line.isCancel(byte) && !(m_line.torn && followedByOtherThan(kCan, kBackspace))) {
            return m_line.failRemoteCancel();
        }
        if (byte != kSoh && byte != kStx) {
            step = takeControl(byte, now);
        } else {
            m_frameBeganAt = m_frameBeganAt.value_or(now);
            auto taken = takeFrame(now);
            if (!taken) {
                break;
            }
            step = *std::move(taken);
            m_frameBeganAt.reset();
        }
    }
    return step;
}

XferStep XmodemReceiver::takeControl(char byte, qint64 now)
{
    const bool insideBlock = (m_line.torn && !sizeReached()) || followedByOtherThan(kEot, kEot);
    m_line.consume(1);
    if (byte == kEot && !insideBlock) {
        return receiverHandleEot(now);
    }
    if (byte != kCan) {
        m_line.torn = true;
        addDebris(1);
    }
    return {};
}

// Whether the byte at the front of the input has one behind it already that is neither of these.
bool XmodemReceiver::followedByOtherThan(char first, char second) const
{
    const QByteArrayView input = m_line.pending();
    return input.size() > 1 && input[1] != first && input[1] != second;
}

// Nothing while the frame at the front of the input is incomplete.
std::optional<XferStep> XmodemReceiver::takeFrame(qint64 now)
{
    const QByteArrayView input = m_line.pending();
    const qsizetype dataLen = input[0] == kSoh ? kShortData : kLongData;
    const qsizetype trailerLen = trailerBytes(m_line.useCrc);
    const qsizetype frameLen = kHeadBytes + dataLen + trailerLen;
    const bool numbered = input.size() >= kHeadBytes
                          && static_cast<quint8>(input[1]) == static_cast<quint8>(~input[2]);
    if (m_line.torn && input.size() >= kHeadBytes && !numbered) {
        m_line.consume(1);
        addDebris(1);
        return XferStep();
    }
    if (input.size() < frameLen) {
        return std::nullopt;
    }
    m_line.consume(frameLen);
    const QByteArrayView data = input.sliced(kHeadBytes, dataLen);
    const QByteArrayView trailer = input.sliced(kHeadBytes + dataLen, trailerLen);
    const auto number = static_cast<quint8>(input[1]);
    if (!numbered || !trailerOk(data, trailer, m_line.useCrc)) {
        return rejectFrame(numbered ? std::optional(number) : std::nullopt, frameLen, now);
    }
    m_line.torn = false;
    m_debris = 0;
    return receiverAcceptBlock(number, data, now);
}

XferStep XmodemReceiver::rejectFrame(std::optional<quint8> number, qsizetype length, qint64 now)
{
    if (number != m_lastAccepted) {
        addDebris(length);
    }
    if (crossed() && number != m_blockNumber) {
        return ignoreRepetition(now);
    }
    return rejectBlock(now);
}

XferStep XmodemReceiver::rejectBlock(qint64 now)
{
    if (m_line.streaming) {
        return m_line.failWith(XferError::RetriesExhausted,
            XmodemCodec::tr("A block failed its checksum. YMODEM-G cannot ask for it again, so the "
                            "transfer has failed."),
            true);
    }
    if (!m_line.countRetry()) {
        return m_line.failWith(XferError::RetriesExhausted,
            XmodemCodec::tr("Data kept failing its checksum. This is usually a baud rate mismatch "
                            "or line noise."),
            true);
    }
    if (m_line.state != XmodemState::AwaitNextHeader) {
        m_line.state = XmodemState::Receiving;
    }
    return reply(QByteArray(1, kNak), now);
}

XferStep XmodemReceiver::receiverAcceptBlock(quint8 number, QByteArrayView data, qint64 now)
{
    m_line.resetRetries();
    if (m_line.state == XmodemState::AwaitNextHeader) {
        return m_line.complete(QByteArray(1, kAck));
    }
    if (xferIsYmodem(m_line.protocol) && number == 0 && !m_lastAccepted) {
        return acceptHeader(data, now);
    }
    if (number == m_lastAccepted) {
        if (m_line.streaming && number == 0 && m_bytesReceived == 0) {
            return reply(QByteArray(1, m_line.handshakeChar()), now);
        }
        return acknowledgeRepetition(now);
    }
    if (number == m_blockNumber) {
        return acceptData(number, data, now);
    }
    return m_line.failWith(XferError::OutOfStep,
        XmodemCodec::tr("Block %1 arrived when block %2 was expected; the transfer is out of step.")
            .arg(number)
            .arg(m_blockNumber),
        true);
}

XferStep XmodemReceiver::acceptHeader(QByteArrayView data, qint64 now)
{
    const auto header = parseHeaderBlock(data);
    if (!header) {
        return m_line.failWith(XferError::OutOfStep,
            XmodemCodec::tr("The device sent a malformed file header."), true);
    }
    if (header->name.isEmpty()) {
        return m_line.complete(QByteArray(1, kAck));
    }
    if (m_receiveLimit >= 1 && header->size > m_receiveLimit) {
        return m_line.failWith(XferError::LimitExceeded,
            XmodemCodec::tr("The device offered a %1 byte file, which is over the receive limit.")
                .arg(header->size),
            true);
    }
    m_meta = *header;
    m_announcedSize = header->size;
    if (!openSink()) {
        return failSinkOpen(true);
    }
    m_blockNumber = 1;
    m_lastAccepted = 0;
    m_line.state = XmodemState::Receiving;
    return replyWithStart(now);
}

XferStep XmodemReceiver::acceptData(quint8 number, QByteArrayView data, qint64 now)
{
    if (m_announcedSize >= 0) {
        const qint64 missing = std::max<qint64>(m_announcedSize - m_bytesReceived, 0);
        data = data.first(std::min<qint64>(data.size(), missing));
    }
    if (!data.isEmpty() && !m_sink->write(data)) {
        return m_line.failWith(
            XferError::SinkWriteFailed, XmodemCodec::tr("Writing to disk failed."), true);
    }
    m_bytesReceived += data.size();
    // Without a length all but the first byte of a last block may be padding, so a file within the
    // limit can arrive rounded up to a whole block.
    const qint64 padding = m_announcedSize < 0 ? std::max<qint64>(data.size() - 1, 0) : 0;
    if (m_receiveLimit >= 1 && m_bytesReceived - padding > m_receiveLimit) {
        return m_line.failWith(XferError::LimitExceeded,
            XmodemCodec::tr("Received %1 bytes without an end of transfer. XMODEM has no length "
                            "field, so there is no way to tell when it should stop.")
                .arg(m_bytesReceived),
            true);
    }
    m_lastAccepted = number;
    m_blockNumber = static_cast<quint8>(number + 1);
    m_line.state = XmodemState::Receiving;
    noteAnswer(now);
    return acknowledge(now);
}

XferStep XmodemReceiver::receiverHandleEot(qint64 now)
{
    if (m_line.state == XmodemState::AwaitNextHeader) {
        return replyWithStart(now);
    }
    if (m_debris >= kBlockOfDebris && !sizeReached()) {
        return rejectBlock(now);
    }
    if (!m_sinkOpen || !m_sink->commit(m_announcedSize)) {
        return m_line.failWith(XferError::SinkCommitFailed,
            XmodemCodec::tr("The data was received but could not be saved."), false);
    }
    if (!xferIsYmodem(m_line.protocol)) {
        return m_line.complete(QByteArray(1, kAck));
    }
    m_line.state = XmodemState::AwaitNextHeader;
    return replyWithStart(now);
}

XferStep XmodemReceiver::receiverTick(qint64 now)
{
    if (m_line.state == XmodemState::AwaitNextHeader) {
        return m_line.complete();
    }
    // At 300 baud a long block takes 34 s: a request in the middle of it would have the sender
    // repeat what is on its way.
    if (!m_line.pending().isEmpty() && !m_line.quiet(now)) {
        m_line.arm(now, XmodemLine::kQuietMs);
        return {};
    }
    if (endsInCancel(m_line.pending())) {
        return m_line.failRemoteCancel();
    }
    if (m_line.quiet(now)) {
        addDebris(m_line.pending().size());
        m_line.discardInput();
        m_line.torn = false;
        m_frameBeganAt.reset();
    }
    return m_line.state == XmodemState::Handshake ? retryHandshake(now) : repeatRequest(now);
}

XferStep XmodemReceiver::retryHandshake(qint64 now)
{
    if (XmodemLine::elapsedMs(m_startedAt, now) >= XmodemLine::kHandshakeLimitMs) {
        return m_line.failWith(XferError::NoHandshake,
            XmodemCodec::tr("The device did not start sending. Check that it is ready to send and "
                            "that the baud rate matches."),
            false);
    }
    if (!xferIsYmodem(m_line.protocol) && m_handshakeAttempts >= kCrcHandshakeAttempts) {
        m_line.useCrc = false;
    }
    return sendStart(now);
}

XferStep XmodemReceiver::repeatRequest(qint64 now)
{
    if (m_line.streaming) {
        return m_line.failWith(XferError::RetriesExhausted,
            XmodemCodec::tr("The device stopped sending. YMODEM-G cannot recover, so the transfer "
                            "has failed."),
            true);
    }
    if (!m_line.countRetry()) {
        return m_line.failRetries();
    }
    m_requestedAgain = true;
    m_answeredAt.reset();
    const bool nothingYet = m_bytesReceived == 0 && m_line.useCrc;
    return reply(QByteArray(1, nothingYet ? m_line.handshakeChar() : kNak), now);
}

XferStep XmodemReceiver::sendStart(qint64 now)
{
    ++m_handshakeAttempts;
    XferStep step;
    step.bytes.append(m_line.handshakeChar());
    m_line.armOrDefer(step, now, m_line.useCrc ? kCrcHandshakeMs : XmodemLine::kReplyTimeoutMs);
    return step;
}

XferStep XmodemReceiver::acknowledge(qint64 now)
{
    return reply(m_line.streaming ? QByteArray() : QByteArray(1, kAck), now);
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
    m_answeredAt.reset();
    m_line.arm(now, XmodemLine::kReplyTimeoutMs);
    return {};
}

// What came last may be the sender's answer to a NAK that crossed its own repetition. Its first
// byte tells: how long the others take depends on the speed of the line.
bool XmodemReceiver::crossed() const
{
    return m_answeredAt && m_frameBeganAt
           && XmodemLine::elapsedMs(*m_answeredAt, *m_frameBeganAt) < kCrossingMs;
}

void XmodemReceiver::noteAnswer(qint64 now)
{
    m_answeredAt = m_requestedAgain ? std::optional(now) : std::nullopt;
    m_requestedAgain = false;
}

void XmodemReceiver::addDebris(qsizetype bytes)
{
    // Before the first good block it may be text that the device prints while it gets ready.
    if (m_lastAccepted) {
        m_debris = std::min(m_debris + bytes, kBlockOfDebris);
    }
}

XferStep XmodemReceiver::replyWithStart(qint64 now)
{
    const char start = m_line.handshakeChar();
    return reply(QByteArray(1, kAck) + start, now);
}

XferStep XmodemReceiver::reply(const QByteArray& bytes, qint64 now)
{
    XferStep step;
    step.bytes = bytes;
    m_line.armOrDefer(step, now, XmodemLine::kReplyTimeoutMs);
    return step;
}

XferStep XmodemReceiver::failSinkOpen(bool sendCancel)
{
    return m_line.failWith(XferError::SinkOpenFailed,
        XmodemCodec::tr("Could not create the destination file."), sendCancel);
}

bool XmodemReceiver::openSink()
{
    m_sinkOpen = m_sink && m_sink->open(m_meta);
    return m_sinkOpen;
}

bool XmodemReceiver::sizeReached() const
{
    return m_announcedSize >= 0 && m_bytesReceived >= m_announcedSize;
}

XferProgress XmodemReceiver::progress() const
{
    XferProgress progress;
    progress.bytesDone = m_bytesReceived;
    progress.bytesTotal = m_announcedSize;
    progress.block = m_lastAccepted.value_or(0);
    progress.retries = m_line.totalRetries();
    progress.fileName = m_meta.name;
    return progress;
}
