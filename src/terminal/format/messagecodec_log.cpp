#include "settings/formatsetting.h"
#include "terminal/format/logstate.h"
#include "terminal/format/messagecodec.h"
#include "terminal/format/recordtext.h"
#include "terminal/format/timestamppattern.h"

void MessageCodec::appendForLog(const rxData& record, const FormatSetting& format, LogState& state,
    WireTextDecoder& decoder, QString& text)
{
    if (record.status) {
        text += decodeStatus(record.bytes, state.line);
        return;
    }
    RecordStyle style;
    style.messageFormat =
        record.direction == RXorTx::Received ? format.receiveMsgFormat : format.sendMsgFormat;
    style.asReceived = true;
    style.breaksAtPause = format.rxAutoFeedLine;
    style.pauseMs = format.autoFeedInterval;
    style.stamped = format.logTimestampEnabled;
    style.stampPattern = format.logTimestampFormat;
    style.makeStamp = decode_timestamp;
    appendRecordText(record, style, state.line, decoder, text);
}

QString MessageCodec::decodeForLog(
    const rxData& record, const FormatSetting& format, LogState& state, WireTextDecoder& decoder)
{
    QString text;
    appendForLog(record, format, state, decoder, text);
    return text;
}
