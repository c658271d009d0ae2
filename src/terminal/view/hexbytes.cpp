#include "terminal/view/hexbytes.h"

namespace {

int digitOf(QChar c)
{
    if (c >= u'0' && c <= u'9')
        return c.unicode() - u'0';
    if (c >= u'A' && c <= u'F')
        return c.unicode() - u'A' + 10;
    return -1;
}

} // namespace

QByteArray bytesOfHexText(QStringView text)
{
    constexpr int base = 16;
    QByteArray bytes;
    qsizetype start = 0;
    for (qsizetype i = 0; i <= text.size(); ++i) {
        if (i < text.size() && text.at(i) != u' ' && text.at(i) != u'\n')
            continue;
        if (i - start == 2) {
            const int high = digitOf(text.at(start));
            const int low = digitOf(text.at(start + 1));
            if (high >= 0 && low >= 0)
                bytes.append(static_cast<char>(high * base + low));
        }
        start = i + 1;
    }
    return bytes;
}
