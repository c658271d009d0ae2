#include "terminal/view/softbreaks.h"

#include <algorithm>

namespace {

// A letter with more marks than this is not language; it is cut like anything else.
constexpr int longestCluster = 32;

bool joinsPrevious(QChar c)
{
    constexpr char16_t zeroWidthJoiner = 0x200D;
    return c.isMark() || c.isLowSurrogate() || c == QChar(zeroWidthJoiner);
}

qsizetype clusterEnd(const QString& text, qsizetype at)
{
    const qsizetype last = std::min(at + longestCluster, text.size());
    while (at < last && joinsPrevious(text[at]))
        ++at;
    if (at < text.size() && text[at].isLowSurrogate())
        ++at;
    return at;
}

} // namespace

QString SoftBreaks::fold(const QString& text, qint64 position, qint64 rowLength)
{
    QString folded;
    qsizetype copied = 0;
    qsizetype at = 0;
    while (at < text.size()) {
        qsizetype lineEnd = text.indexOf(u'\n', at);
        if (lineEnd < 0)
            lineEnd = text.size();
        while (rowLength + lineEnd - at > rowLimit) {
            const qsizetype cut = clusterEnd(text, at + std::max<qint64>(rowLimit - rowLength, 0));
            if (cut >= lineEnd)
                break;
            folded += QStringView(text).mid(copied, cut - copied);
            folded += u'\n';
            cuts_.push_back(position + cut);
            copied = at = cut;
            rowLength = 0;
        }
        at = lineEnd + 1;
        rowLength = 0;
    }
    if (folded.isEmpty())
        return text;
    return folded += QStringView(text).mid(copied);
}

void SoftBreaks::unfold(QString& piece, qint64 position) const
{
    QString text;
    qsizetype copied = 0;
    qsizetype earlierCuts = 0;
    for (auto cut = std::ranges::upper_bound(cuts_, position); cut != cuts_.cend(); ++cut) {
        const qsizetype at = *cut - position + earlierCuts;
        if (at >= piece.size())
            break;
        text += QStringView(piece).mid(copied, at - copied);
        copied = at + 1;
        ++earlierCuts;
    }
    if (earlierCuts > 0)
        piece = text += QStringView(piece).mid(copied);
}

void SoftBreaks::removeUpTo(qint64 position)
{
    cuts_.erase(cuts_.cbegin(), std::ranges::upper_bound(cuts_, position));
    first_ = position;
}

qint64 SoftBreaks::startInDocument(qint64 position) const
{
    return position - first_ + (std::ranges::upper_bound(cuts_, position) - cuts_.cbegin());
}

qint64 SoftBreaks::endInDocument(qint64 position) const
{
    return position - first_ + (std::ranges::lower_bound(cuts_, position) - cuts_.cbegin());
}

qint64 SoftBreaks::toPosition(qint64 character) const
{
    // Cuts ascend and so do the characters they stand at; the bound is the number of those passed.
    qint64 low = 0;
    qint64 high = count();
    while (low < high) {
        const qint64 middle = (low + high) / 2;
        if (cuts_[static_cast<std::size_t>(middle)] - first_ + middle < character)
            low = middle + 1;
        else
            high = middle;
    }
    return character - low + first_;
}
