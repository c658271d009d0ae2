#include "terminal/view/linecuts.h"

#include <algorithm>

namespace {

// A letter with more marks than this is not language; it is cut like anything else.
constexpr qint64 longestCluster = 32;
constexpr qint64 longestWord = 64;

bool joinsPrevious(QChar c)
{
    constexpr char16_t zeroWidthJoiner = 0x200D;
    return c.isMark() || c.isLowSurrogate() || c == QChar(zeroWidthJoiner);
}

} // namespace

void LineCuts::setLength(qint64 length, bool atBlanks)
{
    length_ = std::clamp<qint64>(length, 1, longestSegment);
    atBlanks_ = atBlanks;
}

TextSegment LineCuts::segmentAt(qint64 position) const
{
    position = std::clamp(position, store_.firstPosition(), store_.endPosition());
    const qint64 line = store_.lineAt(position);
    qint64 index = (position - store_.lineStart(line)) / length_;
    TextSegment segment = segmentOf(line, index);
    while (position < segment.from || segment.from > segment.to)
        segment = segmentOf(line, --index);
    while (position >= segment.to && !segment.endsLine)
        segment = segmentOf(line, ++index);
    return segment;
}

std::optional<TextSegment> LineCuts::next(const TextSegment& segment) const
{
    if (!segment.endsLine)
        return segmentAt(segment.to);
    if (segment.line >= store_.lastLine())
        return std::nullopt;
    return segmentAt(segment.to + 1);
}

std::optional<TextSegment> LineCuts::previous(const TextSegment& segment) const
{
    if (segment.from <= store_.firstPosition())
        return std::nullopt;
    return segmentAt(segment.from - 1);
}

// `from` beyond `to` says that the line has no such segment.
TextSegment LineCuts::segmentOf(qint64 line, qint64 index) const
{
    const qint64 start = store_.lineStart(line);
    const qint64 end = store_.lineEnd(line);
    TextSegment segment{start, end, line, true};
    if (index > 0) {
        segment.from = cut(start, index);
        // A line ends with text, not with an empty segment behind it.
        if (segment.from >= end)
            return {end + 1, end, line, true};
    }
    if (end - start > length_) {
        const qint64 to = cut(start, index + 1);
        segment.endsLine = to >= end;
        segment.to = std::min(to, end);
    }
    segment.from = std::max(segment.from, store_.firstPosition());
    return segment;
}

qint64 LineCuts::cut(qint64 lineStart, qint64 index) const
{
    const qint64 position = lineStart + index * length_;
    return atBlanks_ ? behindBlank(position) : behindCluster(position);
}

qint64 LineCuts::behindBlank(qint64 position) const
{
    const qint64 lowest = position - std::min(longestWord, length_ - 1);
    for (qint64 at = position; at > lowest; --at) {
        if (store_.characterAt(at - 1) == u' ')
            return at;
    }
    return behindCluster(position);
}

qint64 LineCuts::behindCluster(qint64 position) const
{
    const qint64 last = position + longestCluster;
    qint64 at = position;
    while (at < last && joinsPrevious(store_.characterAt(at)))
        ++at;
    if (at == last && store_.characterAt(at).isLowSurrogate())
        ++at;
    return at;
}
