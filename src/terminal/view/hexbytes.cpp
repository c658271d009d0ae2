#include "terminal/view/hexbytes.h"

#include "terminal/view/textstore.h"

namespace {

int digitOf(QChar c)
{
    return c <= u'9' ? c.unicode() - u'0' : c.unicode() - u'A' + 10;
}

// Digits and blanks only; the first and the last group may be cut.
void appendBytes(QByteArray& bytes, QStringView digits)
{
    constexpr int kBase = 16;
    while (!digits.isEmpty()) {
        qsizetype length = digits.indexOf(u' ');
        if (length < 0)
            length = digits.size();
        if (length == 2)
            bytes.append(static_cast<char>(digitOf(digits[0]) * kBase + digitOf(digits[1])));
        digits = digits.sliced(qMin(length + 1, digits.size()));
    }
}

} // namespace

QByteArray hexBytesIn(const TextStore& store, qint64 from, qint64 to)
{
    QByteArray bytes;
    for (const TextRange& range : store.bytesIn(from, to))
        appendBytes(bytes, store.textAt(range.from, range.to - range.from));
    return bytes;
}
