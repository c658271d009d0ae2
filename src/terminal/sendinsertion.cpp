#include "terminal/sendinsertion.h"

#include "app/settings/formatsetting.h"
#include "terminal/format/messagecodec.h"
#include "terminal/text/wiretextcodecregistry.h"

#include <algorithm>

namespace {

bool isPrintableAscii(char c)
{
    return c >= 0x20 && c < 0x7F;
}

QString joined(const QString& hexText, const QByteArray& bytes)
{
    const bool apart = !hexText.isEmpty() && !hexText.endsWith(u' ') && !hexText.endsWith(u'\n');
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
