#pragma once

#include "settings/formatsetting.h"
#include "terminal/format/messagecodec.h"
#include "terminal/format/sendmodes.h"
#include "terminal/port/displaysinkstub.h"
#include "terminal/port/runstate.h"
#include "terminal/text/ansiescapefilter.h"
#include "terminal/text/wiretextcodecregistry.h"

#include <map>

using namespace Qt::Literals::StringLiterals;

// The rules of the received road said as simply as they can be, one record and one character at a
// time: every chunk is a record of its own, nothing is cut, joined, batched or kept back. Decoders,
// escape filter and replaced characters are the program's own, which have tests of their own.
class ReceiveModel final
{
public:
    ReceiveModel() { setFormat({}); }

    void setFormat(const FormatSetting& next)
    {
        const bool encodings = next.receiveEncoding != format.receiveEncoding
                               || next.sendEncoding != format.sendEncoding;
        const bool wasText = isText();
        format = next;
        if (encodings)
            decoders.clear();
        if (encodings || isText() != wasText)
            filters.clear();
        trim();
    }
    void ingest(const QByteArray& bytes, const QString& peer, const QDateTime& now)
    {
        if (state == RunState::Paused && peer.isEmpty())
            hold += bytes;
        else
            push(bytes, RXorTx::Received, peer, now);
    }
    void push(const QByteArray& bytes, RXorTx direction, const QString& peer, const QDateTime& now)
    {
        if (direction == RXorTx::Received)
            received += bytes.size();
        const bool filtered = direction == RXorTx::Received && isText();
        AnsiEscapeFilter& filter = filters[peer];
        filter.setSingleByteIntroducers(format.receiveEncoding == u"ISO-8859-1");
        const QByteArray left = filtered ? filter.process(bytes) : bytes;
        if (!left.isEmpty())
            queue.append({now, direction, left, false, false, peer});
    }
    void start(const QDateTime& now)
    {
        if (state == RunState::Stopped)
            resetDecoders();
        const bool resumed = state == RunState::Paused;
        state = RunState::Running;
        if (resumed)
            push(std::exchange(hold, {}), RXorTx::Received, {}, now);
    }
    void pause() { state = state == RunState::Running ? RunState::Paused : state; }
    void stop(const QDateTime& now)
    {
        if (state == RunState::Stopped)
            return;
        finishing = state == RunState::Running ? queue.size() : 0;
        state = RunState::Stopped;
        push(std::exchange(hold, {}), RXorTx::Received, {}, now);
    }
    void clear()
    {
        text.clear();
        endsWithLineFeed = true;
        gapPending = false;
        lastRecord = {};
        lineDirection = RXorTx::Received;
        removed = 0;
        received = 0;
        resetDecoders();
    }
    void drain()
    {
        appended.clear();
        if (state == RunState::Paused)
            return;
        qsizetype count = state == RunState::Running ? queue.size() : std::exchange(finishing, 0);
        for (; count > 0; --count)
            show(queue.takeFirst());
        trim();
    }

    [[nodiscard]] RunState runState() const { return state; }

    QString text;
    QList<StringSink::Append> appended; // by the last drain, neighbours of one colour in one piece
    QString digits;                     // ever appended that stand for bytes
    qint64 received = 0;
    qint64 removed = 0;

private:
    [[nodiscard]] bool isText() const
    {
        return format.receiveMsgFormat == int(MessageFormat::Text);
    }
    void trim()
    {
        while (text.size() > format.displayBufferSize) {
            qsizetype front = format.displayBufferSize / 2;
            front += text.at(front).isLowSurrogate() ? 1 : 0;
            text.remove(0, front);
            removed += front;
        }
    }
    void resetDecoders()
    {
        decoders.clear();
        filters.clear();
    }
    QString decoded(const rxData& record)
    {
        const bool isRx = record.direction == RXorTx::Received;
        if ((isRx ? format.receiveMsgFormat : format.sendMsgFormat) != int(MessageFormat::Text)) {
            const QString shown = QString::fromLatin1(record.bytes.toHex(' ').toUpper()) + u' ';
            digits += shown;
            return shown;
        }
        auto& decoder = decoders[isRx ? u"Rx"_s + record.peer : u"Tx"_s];
        if (!decoder)
            decoder = WireTextCodecRegistry::createDecoder(
                isRx ? format.receiveEncoding : format.sendEncoding);
        return MessageCodec::sanitizeText(decoder->decode(record.bytes).text);
    }
    void show(const rxData& record)
    {
        QString characters = decoded(record);
        if (format.rxAutoFeedLine && !endsWithLineFeed && lastRecord.isValid()
            && lastRecord.msecsTo(record.time) > format.autoFeedInterval)
            gapPending = true;
        lastRecord = record.time;
        if (record.bytes.size() == 1 && characters == u"\n"_s && endsWithLineFeed)
            return;
        characters.remove(u'\r');
        const bool isRx = record.direction == RXorTx::Received;
        for (const QChar c : std::as_const(characters)) {
            const bool turned = format.displayMsgTime && record.direction != lineDirection;
            if (!endsWithLineFeed && (gapPending || turned))
                append(u"\n"_s, isRx);
            if (endsWithLineFeed && format.displayMsgTime)
                append(
                    record.time.toString(isRx ? format.rxTimeFormat : format.txTimeFormat), isRx);
            gapPending = false;
            lineDirection = record.direction;
            append(c, isRx);
        }
    }
    void append(const QString& piece, bool isRx)
    {
        std::optional<QColor> color;
        if (format.formatDisplayColor)
            color = isRx ? format.receiveTextColor : format.sendTextColor;
        if (appended.isEmpty() || appended.constLast().color != color)
            appended.append({QString(), color});
        appended.last().text += piece;
        text += piece;
        endsWithLineFeed = piece.endsWith(u'\n');
    }

    FormatSetting format;
    RunState state = RunState::Stopped;
    QList<rxData> queue;
    qsizetype finishing = 0;
    QByteArray hold;
    std::map<QString, AnsiEscapeFilter> filters;
    std::map<QString, std::unique_ptr<WireTextDecoder>> decoders;
    bool endsWithLineFeed = true;
    bool gapPending = false;
    QDateTime lastRecord;
    RXorTx lineDirection = RXorTx::Received;
};
