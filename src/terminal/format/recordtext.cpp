#include "terminal/format/recordtext.h"

#include "terminal/format/linetext.h"
#include "terminal/format/messagecodec.h"
#include "terminal/format/sendmodes.h"

#include <QDebug>

using namespace Qt::Literals::StringLiterals;

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

} // namespace

QString recordText(
    const rxData& record, RecordStyle style, DisplayState& state, WireTextDecoder& decoder)
{
    if (record.bytes.isEmpty())
        return {};
    QString text = style.messageFormat == int(MessageFormat::Hexadecimal)
                       ? MessageCodec::toHexString(record.bytes)
                       : MessageCodec::decodeWireText(record.bytes, decoder);
    noteTime(record, style, state);
    // Not a line feed in front of a character whose other bytes are still to come.
    const bool loneLineFeed = record.bytes.size() == 1 && text == "\n"_L1;
    if (loneLineFeed && state.endsWithLineFeed && !record.continuation) {
        qDebug("Skip feed for isEndWithLineFeed");
        return {};
    }
    removeCarriageReturns(text);
    if (text.isEmpty())
        return {};

    const bool otherLine = style.stamped && record.direction != state.lineDirection;
    const bool breaksLine = !state.endsWithLineFeed && (state.gapPending || otherLine);
    if (style.stamped) {
        // A stamp is part of one line, whatever was typed into its pattern.
        style.stamp.removeIf([](QChar c) { return c == u'\r' || c == u'\n'; });
        text = stampedLines(text, style.stamp);
        if (state.endsWithLineFeed || breaksLine)
            text.prepend(style.stamp);
    }
    if (breaksLine)
        text.prepend(u'\n');
    state.gapPending = false;
    state.lineDirection = record.direction;
    state.endsWithLineFeed = text.endsWith(u'\n');
    return text;
}
