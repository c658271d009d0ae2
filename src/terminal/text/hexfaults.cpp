#include "terminal/text/hexfaults.h"

#include "terminal/text/hexvalue.h"

namespace {

bool isDigit(QChar character)
{
    const char16_t code = character.unicode();
    return code == u'0' || (code <= 0xFF && ConvertHexChar(char(code)) > 0);
}

// Neighbours are one fault, so that their mark has no gaps.
void mark(QList<HexFault>& faults, qsizetype at)
{
    const qsizetype gap = faults.isEmpty() ? at : at - faults.last().begin - faults.last().length;
    if (!faults.isEmpty() && (gap == 0 || faults.size() == HexLine::kMostFaults))
        faults.last().length += gap + 1;
    else
        faults.append({at, 1});
}

} // namespace

HexLine hexFaults(QStringView line, HexPlace begin, bool last)
{
    if (begin == HexPlace::Comment)
        return {{}, HexPlace::Comment};
    const qsizetype comment = line.indexOf(u"//");
    const qsizetype end = comment < 0 ? line.size() : comment;
    const HexPlace behind = comment < 0 ? HexPlace::SecondOfBreak : HexPlace::Comment;
    HexLine result{{}, behind};
    qsizetype i = 0;
    if (begin == HexPlace::SecondOfBreak) {
        if (end > 0)
            mark(result.faults, i++);
        else if (comment < 0)
            return {{}, HexPlace::PairStart}; // this line's break is the second
    }
    while (i < end) {
        if (line[i] == u' ') {
            ++i;
            continue;
        }
        const bool pair = i + 1 < end;
        if (!pair || !isDigit(line[i]))
            mark(result.faults, i);
        if (pair && !isDigit(line[i + 1]))
            mark(result.faults, i + 1);
        if (!pair && comment < 0 && !last)
            result.end = HexPlace::PairStart; // the line break is the second
        i += 2;
    }
    return result;
}
