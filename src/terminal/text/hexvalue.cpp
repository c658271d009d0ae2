#include "terminal/text/hexvalue.h"

#include <QStringView>

namespace {

int digitValue(char16_t digit)
{
    return digit <= 0xFF ? ConvertHexChar(char(digit)) : 0;
}

template<typename Bytes>
Bytes lenientBytes(QStringView text)
{
    Bytes bytes;
    bytes.reserve(text.size() / 2);
    for (qsizetype i = 0; i < text.size();) {
        if (text[i] == u' ') {
            ++i;
            continue;
        }
        if (i + 1 == text.size())
            break;
        const int byte = digitValue(text[i].unicode()) * 16 + digitValue(text[i + 1].unicode());
        bytes.append(typename Bytes::value_type(byte));
        i += 2;
    }
    return bytes;
}

} // namespace

QByteArray GetHexValue(const QString& text)
{
    return lenientBytes<QByteArray>(text);
}

QList<quint8> GetHexValueArray(const QString& text)
{
    return lenientBytes<QList<quint8>>(text);
}

int ConvertHexChar(char digit)
{
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    return 0;
}
