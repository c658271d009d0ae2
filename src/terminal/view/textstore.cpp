#include "terminal/view/textstore.h"

#include <algorithm>

void TextStore::append(QStringView text, QRgb color, bool bytes)
{
    while (!text.isEmpty()) {
        if (m_parts.empty() || m_parts.back().chunk.isFull()) {
            m_parts.emplace_back();
            m_parts.back().start = m_end;
            m_parts.back().lineFeedsBefore = m_lineFeeds;
        }
        Part& last = m_parts.back();
        const qsizetype taken = last.chunk.append(text, color, bytes);
        m_lineFeeds = last.lineFeedsBefore + static_cast<qint64>(last.chunk.lineFeeds().size());
        m_end += taken;
        text = text.sliced(taken);
    }
}

void TextStore::removeUpTo(qint64 position)
{
    if (position <= m_first)
        return;
    position = std::min(position, m_end);
    const qint64 line = lineAt(position);
    m_firstLineStart = lineStart(line);
    m_firstLine = line;
    m_first = position;
    while (!m_parts.empty() && m_parts.front().start + m_parts.front().chunk.size() <= m_first)
        m_parts.pop_front();
}

qint64 TextStore::behindPair(qint64 position) const
{
    const bool within =
        characterAt(position).isLowSurrogate() && characterAt(position - 1).isHighSurrogate();
    return within ? position + 1 : position;
}

QString TextStore::textAt(qint64 position, qint64 count) const
{
    const qint64 from = std::clamp(position, m_first, m_end);
    const qint64 held = m_end - from;
    const qint64 wanted = count - (from - position);
    const qint64 to = from + std::clamp<qint64>(wanted, 0, held);
    QString text;
    text.reserve(to - from);
    for (qint64 at = from; at < to;) {
        const Part& part = partAt(at);
        const qint64 partEnd = std::min(to, part.start + part.chunk.size());
        part.chunk.copyTo(text, at - part.start, partEnd - at);
        at = partEnd;
    }
    return text;
}

QChar TextStore::characterAt(qint64 position) const
{
    if (position < m_first || position >= m_end)
        return {};
    const Part& part = partAt(position);
    return part.chunk.at(position - part.start);
}

const TextStore::Part& TextStore::partAt(qint64 position) const
{
    const qint64 index = (position - m_parts.front().start) / TextChunk::kCapacity;
    return m_parts[static_cast<std::size_t>(index)];
}

qint64 TextStore::lineAt(qint64 position) const
{
    if (position >= m_end)
        return m_lineFeeds;
    if (position <= m_first)
        return m_firstLine;
    const Part& part = partAt(position);
    const std::vector<quint16>& feeds = part.chunk.lineFeeds();
    return part.lineFeedsBefore
           + (std::ranges::lower_bound(feeds, position - part.start) - feeds.begin());
}

qint64 TextStore::lineStart(qint64 line) const
{
    return line <= m_firstLine ? m_firstLineStart : lineFeedPosition(line - 1) + 1;
}

qint64 TextStore::lineEnd(qint64 line) const
{
    return line >= m_lineFeeds ? m_end : lineFeedPosition(line);
}

// The line feed that has `number` others in front of it.
qint64 TextStore::lineFeedPosition(qint64 number) const
{
    const auto after = std::ranges::upper_bound(m_parts, number, {}, &Part::lineFeedsBefore);
    const Part& part = *std::prev(after);
    const auto index = static_cast<std::size_t>(number - part.lineFeedsBefore);
    return part.start + part.chunk.lineFeeds()[index];
}

template<typename Visitor>
void TextStore::visitRuns(qint64 from, qint64 to, Visitor&& visit) const
{
    from = std::max(from, m_first);
    to = std::min(to, m_end);
    while (from < to) {
        const Part& part = partAt(from);
        const qint64 partEnd = std::min(to, part.start + part.chunk.size());
        const std::vector<TextChunk::Run>& runs = part.chunk.runs();
        auto next = std::ranges::upper_bound(runs, from - part.start, {}, &TextChunk::Run::start);
        while (from < partEnd) {
            const TextChunk::Run& run = *std::prev(next);
            const qint64 runEnd =
                next == runs.end() ? partEnd : std::min(partEnd, part.start + next++->start);
            visit(TextRange{from, runEnd}, run);
            from = runEnd;
        }
    }
}

QList<ColorRun> TextStore::colorsIn(qint64 from, qint64 to) const
{
    QList<ColorRun> colors;
    visitRuns(from, to, [&colors](const TextRange& range, const TextChunk::Run& run) {
        if (!colors.isEmpty() && colors.constLast().color == run.color)
            colors.last().to = range.to;
        else
            colors.append({range.from, range.to, run.color});
    });
    return colors;
}

QList<TextRange> TextStore::bytesIn(qint64 from, qint64 to) const
{
    QList<TextRange> bytes;
    visitRuns(from, to, [&bytes](const TextRange& range, const TextChunk::Run& run) {
        if (!run.bytes)
            return;
        if (!bytes.isEmpty() && bytes.constLast().to == range.from)
            bytes.last().to = range.to;
        else
            bytes.append(range);
    });
    return bytes;
}
