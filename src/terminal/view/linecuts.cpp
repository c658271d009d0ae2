#include "terminal/view/linecuts.h"

#include <algorithm>

namespace {

// A letter with more marks than this is not language; it is cut like anything else.
constexpr qint64 kLongestCluster = 32;
constexpr qint64 kLongestWord = 64;

bool joinsPrevious(QChar c)
{
    constexpr char16_t kZeroWidthJoiner = 0x200D;
    return c.isMark() || c.isLowSurrogate() || c == QChar(kZeroWidthJoiner);
}

} // namespace

void LineCuts::setLength(qint64 length, bool atBlanks)
{
    m_length = std::clamp<qint64>(length, 1, kLongestSegment);
    m_atBlanks = atBlanks;
}

TextSegment LineCuts::segmentAt(qint64 position) const
{
    position = std::clamp(position, m_store.firstPosition(), m_store.endPosition());
    const qint64 line = m_store.lineAt(position);
    qint64 index = (position - m_store.lineStart(line)) / m_length;
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
    if (segment.line >= m_store.lastLine())
        return std::nullopt;
    return segmentAt(segment.to + 1);
}

std::optional<TextSegment> LineCuts::previous(const TextSegment& segment) const
{
    if (segment.from <= m_store.firstPosition())
        return std::nullopt;
    return segmentAt(segment.from - 1);
}

// `from` beyond `to` says that the line has no such segment.
TextSegment LineCuts::segmentOf(qint64 line, qint64 index) const
{
    const qint64 start = m_store.lineStart(line);
    const qint64 end = m_store.lineEnd(line);
    TextSegment segment{start, end, line, true};
    if (index > 0) {
        segment.from = cut(start, index);
        // A line ends with text, not with an empty segment behind it.
        if (segment.from >= end)
            return {end + 1, end, line, true};
    }
    if (end - start > m_length) {
        const qint64 to = cut(start, index + 1);
        segment.endsLine = to >= end;
        segment.to = std::min(to, end);
    }
    segment.from = std::max(segment.from, m_store.firstPosition());
    return segment;
}

qint64 LineCuts::cut(qint64 lineStart, qint64 index) const
{
    const qint64 position = lineStart + index * m_length;
    return m_atBlanks ? behindBlank(position) : behindCluster(position);
}

qint64 LineCuts::behindBlank(qint64 position) const
{
    const qint64 lowest = position - std::min(kLongestWord, m_length - 1);
    for (qint64 at = position; at > lowest; --at) {
        if (m_store.characterAt(at - 1) == u' ')
            return at;
    }
    return behindCluster(position);
}

qint64 LineCuts::behindCluster(qint64 position) const
{
    const qint64 last = position + kLongestCluster;
    qint64 at = position;
    while (at < last && joinsPrevious(m_store.characterAt(at)))
        ++at;
    if (at == last && m_store.characterAt(at).isLowSurrogate())
        ++at;
    return at;
}
