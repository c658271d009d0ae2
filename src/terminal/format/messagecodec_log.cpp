#include "app/settings/formatsetting.h"
#include "terminal/format/logstate.h"
#include "terminal/format/messagecodec.h"
#include "terminal/format/recordtext.h"
#include "terminal/format/timestamppattern.h"

QString MessageCodec::decodeForLog(
    const rxData& record, const FormatSetting& format, LogState& state, WireTextDecoder& decoder)
{
    if (record.transferStatus)
        return decodeTransferStatus(record.bytes, state.line, decoder);
    RecordStyle style;
    style.messageFormat =
        record.direction == RXorTx::Received ? format.receiveMsgFormat : format.sendMsgFormat;
    style.breaksAtPause = format.rxAutoFeedLine;
    style.pauseMs = format.autoFeedInterval;
    style.stamped = format.logTimestampEnabled;
    if (style.stamped)
        style.stamp = decode_timestamp(record.time, format.logTimestampFormat);
    return recordText(record, std::move(style), state.line, decoder);
}
