#include "terminal/format/linetext.h"

#include <QStringView>
#include <algorithm>

// QString::remove() looks at character after character; between two CRs there is a whole line.
void removeCarriageReturns(QString& text, qsizetype from)
{
    from = text.indexOf(u'\r', from);
    if (from < 0)
        return;
    QChar* const units = text.data();
    qsizetype kept = from;
    while (from < text.size()) {
        const qsizetype next = text.indexOf(u'\r', from + 1);
        const qsizetype end = next < 0 ? text.size() : next;
        std::copy(units + from + 1, units + end, units + kept);
        kept += end - from - 1;
        from = end;
    }
    text.truncate(kept);
}

void stampLines(QString& text, qsizetype from, const QString& stamp, bool atFront)
{
    const qsizetype length = text.size() - from;
    const qsizetype inside = length - (text.endsWith(u'\n') ? 1 : 0);
    const qsizetype stamps =
        QStringView(text).sliced(from, inside).count(u'\n') + (atFront ? 1 : 0);
    if (stamps == 0)
        return;
    // The lines move to the end of the room that they and their stamps need, and come back from
    // there one by one.
    const qsizetype growth = stamps * stamp.size();
    text.resize(text.size() + growth);
    QChar* const begin = text.data() + from;
    std::copy_backward(begin, begin + length, begin + growth + length);
    const QStringView lines(begin + growth, length);
    QChar* out = atFront ? std::copy(stamp.begin(), stamp.end(), begin) : begin;
    for (qsizetype at = 0; at < length;) {
        const qsizetype lineFeed = lines.indexOf(u'\n', at);
        const qsizetype end = lineFeed < 0 ? length : lineFeed + 1;
        out = std::copy(lines.begin() + at, lines.begin() + end, out);
        if (end < length)
            out = std::copy(stamp.begin(), stamp.end(), out);
        at = end;
    }
}
