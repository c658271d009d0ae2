#pragma once

#include "terminal/view/textstore.h"

#include <optional>

// A piece of one line that is laid out at once.
struct TextSegment
{
    qint64 from = 0;
    qint64 to = 0; // where its line feed stands when it ends its line
    qint64 line = 0;
    bool endsLine = true;

    [[nodiscard]] qint64 length() const { return to - from; }
    bool operator==(const TextSegment&) const = default;
};

// Cuts lines into segments, because laying out costs by the whole length of what is laid out and a
// device may send megabytes without a line feed. Nothing is stored: where a cut lies follows from
// the place where the line started and from the few characters around the cut, so that text which
// arrives or leaves moves none of the others.
class LineCuts final
{
public:
    static constexpr qint64 kLongestSegment = 2048;

    // The store must outlive this object.
    explicit LineCuts(const TextStore& store)
        : m_store(store)
    {}

    // Length of a segment, 1 to kLongestSegment: a multiple of the columns of a row leaves no row
    // half empty. `atBlanks` moves a cut behind the nearest blank in front of it.
    void setLength(qint64 length, bool atBlanks);

    // The segment that holds a position; the end of a line belongs to its last one.
    [[nodiscard]] TextSegment segmentAt(qint64 position) const;
    [[nodiscard]] std::optional<TextSegment> next(const TextSegment& segment) const;
    [[nodiscard]] std::optional<TextSegment> previous(const TextSegment& segment) const;

private:
    [[nodiscard]] TextSegment segmentOf(qint64 line, qint64 index) const;
    [[nodiscard]] qint64 cut(qint64 lineStart, qint64 index) const;
    [[nodiscard]] qint64 behindBlank(qint64 position) const;
    [[nodiscard]] qint64 behindCluster(qint64 position) const;

    const TextStore& m_store;
    qint64 m_length = kLongestSegment;
    bool m_atBlanks = false;
};
