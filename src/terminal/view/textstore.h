#pragma once

#include "terminal/view/textchunk.h"
#include "terminal/view/textsource.h"

#include <QList>
#include <deque>

// From one position up to another.
struct TextRange
{
    qint64 from = 0;
    qint64 to = 0;

    bool operator==(const TextRange&) const = default;
};

// Text of one colour, from one position up to another.
struct ColorRun
{
    qint64 from = 0;
    qint64 to = 0;
    QRgb color = TextChunk::kNoColor;

    bool operator==(const ColorRun&) const = default;
};

// The text of a receive view: grows at its end, loses characters at its front, knows its lines, its
// colours and which of its digits are bytes of the hexadecimal display. Positions are absolute
// (textsource.h); so are lines, which are numbered by the line feeds in front of them since the
// first character ever appended.
//
// Held in chunks, all full but the last: appending costs by what is appended, removing by the
// chunks that go, reading by what is read, and a line of ten million characters costs no more than
// a million short ones. Memory: one byte for a character of ISO 8859-1, two bytes for others, two
// for each line feed, 8 for each change of colour and each switch between bytes and other text, and
// a chunk that is removed in part. The owner bounds the text.
class TextStore final : public TextSource
{
public:
    // `bytes` says that the text is digits that stand for bytes (HexSpan).
    void append(QStringView text, QRgb color = TextChunk::kNoColor, bool bytes = false);
    // Positions outside of what is held mean its ends.
    void removeUpTo(qint64 position);
    // The position itself, or the next one where it lies within a surrogate pair.
    [[nodiscard]] qint64 behindPair(qint64 position) const;

    [[nodiscard]] qint64 firstPosition() const override { return m_first; }
    [[nodiscard]] qint64 endPosition() const override { return m_end; }
    [[nodiscard]] QString textAt(qint64 position, qint64 count) const override;
    // U+0000 outside of what is held.
    [[nodiscard]] QChar characterAt(qint64 position) const;

    [[nodiscard]] qint64 firstLine() const { return m_firstLine; }
    [[nodiscard]] qint64 lastLine() const { return m_lineFeeds; }
    // Line that holds a position; a line feed belongs to the line that it ends.
    [[nodiscard]] qint64 lineAt(qint64 position) const;
    // Where a held line starts, or, of the first one, started before its front was removed.
    [[nodiscard]] qint64 lineStart(qint64 line) const;
    // Position of its line feed, of the last line the end of the text.
    [[nodiscard]] qint64 lineEnd(qint64 line) const;

    // The runs of [from, to), without gaps, ascending.
    [[nodiscard]] QList<ColorRun> colorsIn(qint64 from, qint64 to) const;
    // Where bytes stand in [from, to), ascending; neighbours are one range.
    [[nodiscard]] QList<TextRange> bytesIn(qint64 from, qint64 to) const;

    // Calls visit(position) for each line feed in [from, to), ascending.
    template<typename Visitor>
    void visitLineFeeds(qint64 from, qint64 to, Visitor&& visit) const;

private:
    struct Part
    {
        TextChunk chunk;
        qint64 start = 0;
        qint64 lineFeedsBefore = 0;
    };

    [[nodiscard]] const Part& partAt(qint64 position) const;
    [[nodiscard]] qint64 lineFeedPosition(qint64 number) const;
    // Calls visit(range, run) for each run of each chunk in [from, to), ascending, without gaps.
    template<typename Visitor>
    void visitRuns(qint64 from, qint64 to, Visitor&& visit) const;

    std::deque<Part> m_parts;
    qint64 m_first = 0;
    qint64 m_end = 0;
    qint64 m_firstLine = 0;
    qint64 m_firstLineStart = 0;
    qint64 m_lineFeeds = 0; // ever appended
};

template<typename Visitor>
void TextStore::visitLineFeeds(qint64 from, qint64 to, Visitor&& visit) const
{
    from = qMax(from, m_first);
    to = qMin(to, m_end);
    while (from < to) {
        const Part& part = partAt(from);
        const qint64 partEnd = qMin(to, part.start + part.chunk.size());
        const std::vector<quint16>& feeds = part.chunk.lineFeeds();
        auto feed = std::lower_bound(feeds.begin(), feeds.end(), from - part.start);
        for (; feed != feeds.end() && part.start + *feed < partEnd; ++feed)
            visit(part.start + *feed);
        from = partEnd;
    }
}
