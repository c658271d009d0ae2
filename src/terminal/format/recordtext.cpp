#include "terminal/format/recordtext.h"

#include "terminal/format/linetext.h"
#include "terminal/format/messagecodec.h"
#include "terminal/format/sanitizetext.h"
#include "terminal/format/sendmodes.h"
#include "terminal/text/wiretextdecoder.h"

#include <QDebug>

namespace {

// Advances the times of the state and notes a pause that ends the line.
void noteTime(const rxData& record, const RecordStyle& style, DisplayState& state)
{
    if (style.breaksAtPause && !record.continuation && !state.endsWithLineFeed
        && state.lastRecord.isValid() && state.lastRecord.msecsTo(record.time) > style.pauseMs)
        state.gapPending = true;
    state.lastRecord = record.time;
    if (record.direction == RXorTx::Received)
        state.lastReceived = record.time;
}

const QString& stampOf(const rxData& record, const RecordStyle& style, DisplayState::Stamp& last)
{
    if (last.time != record.time || last.pattern != style.stampPattern) {
        last = {record.time, style.stampPattern, style.makeStamp(record.time, style.stampPattern)};
        // A stamp is part of one line, whatever was typed into its pattern.
        last.text.removeIf([](QChar c) { return c == u'\r' || c == u'\n'; });
        last.text.truncate(RecordStyle::kMaxStampLength);
    }
    return last.text;
}

// As the format says, with the line ends as they were sent.
void appendBytes(
    const rxData& record, const RecordStyle& style, WireTextDecoder& decoder, QString& text)
{
    const qsizetype begin = text.size();
    if (style.messageFormat == int(MessageFormat::Hexadecimal)) {
        MessageCodec::appendHexString(record.bytes, text);
        return;
    }
    decoder.decodeTo(record.bytes, text);
    if (!style.asReceived)
        sanitize(text, begin);
}

} // namespace

void appendRecordText(const rxData& record, const RecordStyle& style, DisplayState& state,
    WireTextDecoder& decoder, QString& text)
{
    if (record.bytes.isEmpty())
        return;
    const qsizetype begin = text.size();
    appendBytes(record, style, decoder, text);
    noteTime(record, style, state);
    // Not a line feed in front of a character whose other bytes are still to come.
    const bool loneLineFeed =
        record.bytes.size() == 1 && text.size() == begin + 1 && text.back() == u'\n';
    if (loneLineFeed && state.endsWithLineFeed && !record.continuation && !style.asReceived) {
        qDebug("Skip feed for isEndWithLineFeed");
        text.truncate(begin);
        return;
    }
    if (!style.asReceived)
        removeCarriageReturns(text, begin);
    if (text.size() == begin)
        return;

    const bool otherLine = style.stamped && record.direction != state.lineDirection;
    const bool breaksLine = !state.endsWithLineFeed && (state.gapPending || otherLine);
    if (style.stamped)
        stampLines(
            text, begin, stampOf(record, style, state.stamp), state.endsWithLineFeed || breaksLine);
    if (breaksLine)
        text.insert(begin, u'\n');
    state.gapPending = false;
    state.lineDirection = record.direction;
    state.endsWithLineFeed = text.endsWith(u'\n');
}
