#pragma once

#include <QtGlobal>

// The five protocol variants, in the order in which lists offer them and settings store them.
enum class XferProtocol : qint32 {
    Xmodem = 0,    // 128-byte blocks, 8-bit checksum
    XmodemCrc = 1, // 128-byte blocks, CRC-16
    Xmodem1K = 2,  // 1024-byte blocks, CRC-16
    Ymodem = 3,    // header block with name, size and time, then as XMODEM-1K
    YmodemG = 4,   // as YMODEM, streaming without an acknowledgement per block
};

enum XferDirection : qint32 {
    XferSend = 0,
    XferReceive = 1,
};

constexpr bool xferIsYmodem(XferProtocol protocol)
{
    return protocol == XferProtocol::Ymodem || protocol == XferProtocol::YmodemG;
}

// What a person chooses for one transfer.
struct XferConfig
{
    static constexpr qint32 kShortBlock = 128;
    static constexpr qint32 kLongBlock = 1024;

    XferProtocol protocol = XferProtocol::Xmodem;
    XferDirection direction = XferSend;
    qint32 blockSizeOption = kLongBlock; // kShortBlock forces 128-byte blocks
    qint64 receiveLimit = 0;             // bytes; 0 means no limit

    // The same choice with every field inside its range: an unknown protocol becomes plain XMODEM,
    // an unknown direction sending, a block size that is not 128 becomes 1024, a negative limit 0.
    XferConfig sanitized() const;

    bool operator==(const XferConfig&) const = default;
};
