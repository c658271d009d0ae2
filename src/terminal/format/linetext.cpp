#include "terminal/format/linetext.h"

#include <QStringView>
#include <algorithm>

// QString::remove() looks at character after character; between two CRs there is a whole line.
void removeCarriageReturns(QString& text)
{
    qsizetype from = text.indexOf(u'\r');
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

QString stampedLines(const QString& text, const QString& stamp)
{
    QString stamped;
    stamped.reserve(text.size() + text.count(u'\n') * stamp.size());
    qsizetype from = 0;
    while (from < text.size()) {
        const qsizetype lineFeed = text.indexOf(u'\n', from);
        const qsizetype end = lineFeed < 0 ? text.size() : lineFeed + 1;
        stamped += QStringView(text).sliced(from, end - from);
        if (end < text.size())
            stamped += stamp;
        from = end;
    }
    return stamped;
}
