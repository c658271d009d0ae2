#include "transfer/engine/xferconfig.h"

#include <algorithm>

XferConfig XferConfig::sanitized() const
{
    XferConfig result = *this;
    if (protocol < XferProtocol::Xmodem || protocol > XferProtocol::YmodemG) {
        result.protocol = XferProtocol::Xmodem;
    }
    result.direction = direction == XferReceive ? XferReceive : XferSend;
    result.blockSizeOption = blockSizeOption == kShortBlock ? kShortBlock : kLongBlock;
    result.receiveLimit = std::max<qint64>(receiveLimit, 0);
    return result;
}
