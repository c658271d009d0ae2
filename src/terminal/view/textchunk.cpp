#include "terminal/view/textchunk.h"

#include <algorithm>
#include <cstring>

namespace {

bool isLatin1(QStringView text)
{
    constexpr qsizetype kStep = sizeof(quint64) / sizeof(char16_t);
    constexpr quint64 kHighBytes = 0xFF00'FF00'FF00'FF00U;
    quint64 seen = 0;
    qsizetype i = 0;
    for (; i + kStep <= text.size(); i += kStep) {
        quint64 four = 0;
        std::memcpy(&four, text.utf16() + i, sizeof four);
        seen |= four;
    }
    for (; i < text.size(); ++i)
        seen |= text.at(i).unicode();
    return (seen & kHighBytes) == 0;
}

} // namespace

TextChunk::TextChunk() = default;

qsizetype TextChunk::append(QStringView text, QRgb color, bool bytes)
{
    const qsizetype start = size();
    const QStringView taken = text.first(std::min(text.size(), kCapacity - start));
    if (taken.isEmpty())
        return 0;
    if (m_runs.empty() || m_runs.back().color != color || m_runs.back().bytes != bytes)
        m_runs.push_back({static_cast<quint16>(start), bytes, color});
    if (!m_wide && !isLatin1(taken))
        widen();
    if (m_wide)
        m_utf16.append(taken);
    else {
        m_latin1.reserve(kCapacity);
        m_latin1.append(taken.toLatin1());
    }
    noteLineFeeds(taken, start);
    if (isFull()) {
        m_lineFeeds.shrink_to_fit();
        m_runs.shrink_to_fit();
    }
    return taken.size();
}

void TextChunk::copyTo(QString& text, qsizetype from, qsizetype count) const
{
    if (m_wide)
        text.append(QStringView(m_utf16).mid(from, count));
    else
        text.append(QLatin1StringView(m_latin1).mid(from, count));
}

void TextChunk::noteLineFeeds(QStringView text, qsizetype start)
{
    for (qsizetype at = text.indexOf(u'\n'); at >= 0; at = text.indexOf(u'\n', at + 1))
        m_lineFeeds.push_back(static_cast<quint16>(start + at));
}

void TextChunk::widen()
{
    m_wide = true;
    m_utf16 = QString::fromLatin1(m_latin1);
    m_latin1 = {};
    m_utf16.reserve(kCapacity);
}
