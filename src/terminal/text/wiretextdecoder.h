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

    [[nodiscard]] virtual Result decode(QByteArrayView bytes) = 0;
    // Drops held bytes and state and counts from zero again.
    virtual void reset() = 0;
    // All invalid sequences since the start or the last reset().
    [[nodiscard]] qint64 invalidSequenceCount() const { return m_invalidSequences; }

protected:
    qint64 m_invalidSequences = 0;
};
