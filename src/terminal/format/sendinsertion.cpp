#include "terminal/format/sendinsertion.h"

#include "settings/formatsetting.h"
#include "terminal/format/messagecodec.h"
#include "terminal/text/hexvalue.h"
#include "terminal/text/wiretextcodecregistry.h"

#include <algorithm>

namespace {

bool isPrintableAscii(char c)
{
    return c >= 0x20 && c < 0x7F;
}

// Hexadecimal text and the bytes behind it. A lone character at its end, which is not sent, would
// become half of a byte and goes.
QString joined(QString hexText, const QByteArray& bytes)
{
    if (GetHexValue(hexText + u' ').size() > GetHexValue(hexText).size())
        hexText.chop(1);
    const bool apart = !hexText.isEmpty() && !hexText.endsWith(u' ');
    return hexText + (apart ? QStringLiteral(" ") : QString()) + MessageCodec::toHexString(bytes);
}

} // namespace

SendInsertion SendInsertion::append(
    const QString& text, bool hexadecimal, const FormatSetting& format, const QByteArray& bytes)
{
    if (hexadecimal) {
        // Behind a comment everything is comment, so the bytes go in front of it.
        const qsizetype comment = text.indexOf(QStringLiteral("//"));
        if (comment < 0)
            return {joined(text, bytes), true, {}};
        return {joined(text.first(comment), bytes) + text.sliced(comment), true, {}};
    }
    if (std::all_of(bytes.cbegin(), bytes.cend(), isPrintableAscii))
        return {text + QString::fromLatin1(bytes), false, {}};
    const auto encoded = WireTextCodecRegistry::encode(text, format.sendEncoding);
    if (!encoded.ok)
        return {text, false, encoded.error};
    return {joined(MessageCodec::toHexString(encoded.bytes), bytes), true, {}};
}
