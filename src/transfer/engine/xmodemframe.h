#pragma once

#include "transfer/engine/xferfilemeta.h"

#include <QByteArray>
#include <QByteArrayView>
#include <optional>

// The bytes of XMODEM and YMODEM (Forsberg, "XMODEM/YMODEM Protocol Reference", 1988): how a
// block, a header and a cancellation look on the line. Stateless.
namespace XmodemFrame {

constexpr char kSoh = 0x01; // a block of 128 bytes follows
constexpr char kStx = 0x02; // a block of 1024 bytes follows
constexpr char kEot = 0x04;
constexpr char kAck = 0x06;
constexpr char kNak = 0x15;
constexpr char kCan = 0x18;
constexpr char kSub = 0x1A;        // padding of the last block
constexpr char kStartCrc = 'C';    // the receiver asks for CRC-16 blocks
constexpr char kStartStream = 'G'; // the same, without acknowledgements

constexpr qsizetype kShortData = 128;
constexpr qsizetype kLongData = 1024;
constexpr qsizetype kHeadBytes = 3; // SOH or STX, number, complement
constexpr qsizetype kMaxNameBytes = 100;

constexpr qsizetype trailerBytes(bool useCrc)
{
    return useCrc ? 2 : 1;
}

// CRC-16/XMODEM: polynomial 0x1021, initial value 0, not reflected, no final XOR.
quint16 crc16(QByteArrayView data);
// Sum of the bytes modulo 256.
quint8 checksum(QByteArrayView data);

// Head, data and trailer. Data of at most 128 bytes goes behind SOH, more behind STX; the caller
// pads it to 128 or 1024.
QByteArray frameBlock(quint8 number, QByteArrayView data, bool useCrc);
// `trailer` holds exactly the CRC, high byte first, or exactly the checksum of `data`.
bool trailerOk(QByteArrayView data, QByteArrayView trailer, bool useCrc);

// The 128 data bytes of YMODEM's block 0: name (UTF-8, its first 100 bytes), NUL, size in decimal,
// modification time in octal, NUL, padding.
QByteArray buildHeaderBlock(const XferFileMeta& meta);
// 128 NUL bytes: no further file.
QByteArray buildTerminatorBlock();
// The inverse of buildHeaderBlock(). An empty name means the end of the batch; fields that do not
// parse stay unknown. Nothing when the block holds no NUL and so no name.
std::optional<XferFileMeta> parseHeaderBlock(QByteArrayView data);

// Eight CAN to stop the peer, eight BS to wipe them from a screen that shows them.
QByteArray cancelSequence();

} // namespace XmodemFrame
