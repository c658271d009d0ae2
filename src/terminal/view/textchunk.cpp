#include "terminal/view/textchunk.h"

#include <algorithm>
#include <cstring>

namespace {

bool isLatin1(QStringView text)
{
    constexpr qsizetype step = sizeof(quint64) / sizeof(char16_t);
    constexpr quint64 highBytes = 0xFF00'FF00'FF00'FF00U;
    quint64 seen = 0;
    qsizetype i = 0;
    for (; i + step <= text.size(); i += step) {
        quint64 four = 0;
        std::memcpy(&four, text.utf16() + i, sizeof four);
        seen |= four;
    }
    for (; i < text.size(); ++i)
        seen |= text.at(i).unicode();
    return (seen & highBytes) == 0;
}

} // namespace

TextChunk::TextChunk() = default;

qsizetype TextChunk::append(QStringView text, QRgb color, bool bytes)
{
    const qsizetype start = size();
    const QStringView taken = text.first(std::min(text.size(), capacity - start));
    if (taken.isEmpty())
        return 0;
    if (runs_.empty() || runs_.back().color != color || runs_.back().bytes != bytes)
        runs_.push_back({static_cast<quint16>(start), bytes, color});
    if (!wide_ && !isLatin1(taken))
        widen();
    if (wide_)
        utf16_.append(taken);
    else {
        latin1_.reserve(capacity);
        latin1_.append(taken.toLatin1());
    }
    noteLineFeeds(taken, start);
    if (isFull()) {
        lineFeeds_.shrink_to_fit();
        runs_.shrink_to_fit();
    }
    return taken.size();
}

void TextChunk::copyTo(QString& text, qsizetype from, qsizetype count) const
{
    if (wide_)
        text.append(QStringView(utf16_).mid(from, count));
    else
        text.append(QLatin1StringView(latin1_).mid(from, count));
}

void TextChunk::noteLineFeeds(QStringView text, qsizetype start)
{
    for (qsizetype at = text.indexOf(u'\n'); at >= 0; at = text.indexOf(u'\n', at + 1))
        lineFeeds_.push_back(static_cast<quint16>(start + at));
}

void TextChunk::widen()
{
    wide_ = true;
    utf16_ = QString::fromLatin1(latin1_);
    latin1_ = {};
    utf16_.reserve(capacity);
}
