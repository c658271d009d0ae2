#include "terminal/text/hexparser.h"

#include <QCoreApplication>

namespace {

// -1 for a character that is no digit.
int hexDigit(char16_t character)
{
    if (character >= u'0' && character <= u'9')
        return character - u'0';
    const auto lower = char16_t(character | 0x20);
    return lower >= u'a' && lower <= u'f' ? lower - u'a' + 10 : -1;
}

} // namespace

HexParseResult parseHex(QStringView text)
{
    HexParseResult result;
    int high = -1;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i].isSpace())
            continue;
        const int digit = hexDigit(text[i].unicode());
        if (digit < 0) {
            result.errorPosition = i;
            return result;
        }
        if (high < 0) {
            high = digit;
        } else {
            result.bytes.append(char(high * 16 + digit));
            high = -1;
        }
    }
    result.ok = high < 0;
    result.incomplete = !result.ok;
    if (result.incomplete)
        result.errorPosition = text.size();
    return result;
}

QString hexErrorMessage(const HexParseResult& result)
{
    if (result.ok)
        return {};
    if (result.incomplete)
        return QCoreApplication::translate("HexParser", "Hex input must contain complete bytes.");
    return QCoreApplication::translate("HexParser", "Invalid hex character at position %1.")
        .arg(result.errorPosition + 1);
}
