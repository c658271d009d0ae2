#pragma once

#include <QByteArrayView>
#include <QString>

// Turns a stream of bytes into text, chunk by chunk. A character whose bytes are cut between two
// chunks comes out whole with the second one, so that any cutting of a stream gives the text that
// the stream gives in one piece. Bytes that are no character become U+FFFD and are counted.
//
// A byte order mark is a character of the wire like any other: it comes out as U+FEFF, at the
// start of a stream too.
//
// Owner: one decoder per direction (and per peer) of a pane, made by WireTextCodecRegistry.
// Memory between calls: the bytes of one unfinished character.
class WireTextDecoder
{
public:
    struct Result
    {
        QString text;
        qsizetype invalidSequences = 0; // met in this chunk
    };

    WireTextDecoder() = default;
    virtual ~WireTextDecoder() = default;
    Q_DISABLE_COPY_MOVE(WireTextDecoder)

    // Appends the text of the chunk and gives the number of invalid sequences met in it. A serial
    // line delivers a few bytes at a time: a caller that appends chunk after chunk to one text
    // pays for the memory of none of them.
    virtual qsizetype decodeTo(QByteArrayView bytes, QString& text) = 0;
    // The same as a text of its own.
    [[nodiscard]] Result decode(QByteArrayView bytes)
    {
        Result result;
        result.invalidSequences = decodeTo(bytes, result.text);
        return result;
    }
    // Drops held bytes and state and counts from zero again.
    virtual void reset() = 0;
    // All invalid sequences since the start or the last reset().
    [[nodiscard]] qint64 invalidSequenceCount() const { return m_invalidSequences; }

protected:
    qint64 m_invalidSequences = 0;
};
