#include "terminal/format/messagecodec.h"

#include "settings/formatsetting.h"
#include "terminal/format/linetext.h"
#include "terminal/format/recordtext.h"
#include "terminal/format/sanitizetext.h"
#include "terminal/text/crccatalog.h"
#include "terminal/text/hexvalue.h"
#include "terminal/text/wiretextcodecregistry.h"

#include <QtEndian>
#include <algorithm>
#include <array>
#include <functional>
#include <numeric>
#include <string_view>

using namespace Qt::Literals::StringLiterals;

namespace {

// Texts and byte arrays alike: `lf` and `cr` are the line-ending characters of the type.
template<typename Text, typename Char>
Text withLineEnding(Text text, int mode, Char lf, Char cr)
{
    switch (LineEndingMode(mode)) {
    case LineEndingMode::None:
    case LineEndingMode::Lf:
        break;
    case LineEndingMode::Cr:
        text.replace(lf, cr);
        break;
    case LineEndingMode::CrLf:
    case LineEndingMode::LfCr: {
        const bool crFirst = LineEndingMode(mode) == LineEndingMode::CrLf;
        const std::array<Char, 2> ending{crFirst ? cr : lf, crFirst ? lf : cr};
        text.replace(Text(1, lf), Text(ending.data(), 2));
        break;
    }
    }
    return text;
}

// What a byte is shown as, a blank behind it.
constexpr auto kHexGroups = [] {
    constexpr std::u16string_view kDigits = u"0123456789ABCDEF";
    std::array<std::array<char16_t, 3>, 256> groups{};
    for (std::size_t byte = 0; byte < groups.size(); ++byte)
        groups[byte] = {kDigits[byte >> 4], kDigits[byte & 0xF], u' '};
    return groups;
}();

template<typename Sum>
void appendLittleEndian(QByteArray& bytes, Sum sum)
{
    const Sum wire = qToLittleEndian(sum);
    bytes.append(reinterpret_cast<const char*>(&wire), sizeof wire);
}

EncodeSendResult encodeHexadecimal(const QString& text, const FormatSetting& format)
{
    const qsizetype comment = text.indexOf("//"_L1);
    EncodeSendResult result;
    result.bytes = GetHexValue(text.left(comment));
    result.displayText = text;
    if (format.formatSend) {
        result.displayText = MessageCodec::toHexString(result.bytes);
        if (comment >= 0)
            result.displayText += text.sliced(comment);
    }
    result.bytes = MessageCodec::appendChecksum(result.bytes, format.sendChecksum);
    result.ok = true;
    return result;
}

EncodeSendResult encodeText(const QString& text, const FormatSetting& format)
{
    QString message = text;
    if (format.txLineEndingMode != int(LineEndingMode::None)) {
        if (!message.endsWith(u'\n'))
            message += u'\n';
        message = MessageCodec::applyLineEnding(message, format.txLineEndingMode);
    }
    const WireTextCodecRegistry::EncodeResult encoded =
        WireTextCodecRegistry::encode(message, format.sendEncoding);
    EncodeSendResult result;
    result.displayText = text;
    result.error = encoded.error;
    result.ok = encoded.ok;
    if (result.ok)
        result.bytes = MessageCodec::appendChecksum(encoded.bytes, format.sendChecksum);
    return result;
}

} // namespace

QString MessageCodec::toHexString(QByteArrayView bytes)
{
    QString text;
    appendHexString(bytes, text);
    return text;
}

void MessageCodec::appendHexString(QByteArrayView bytes, QString& text)
{
    const qsizetype begin = text.size();
    text.resize(begin + bytes.size() * 3);
    auto* out = reinterpret_cast<char16_t*>(text.data()) + begin;
    for (const char byte : bytes)
        out = std::copy_n(kHexGroups[uchar(byte)].begin(), 3, out);
}

QString MessageCodec::insertTimeStamp(const QString& text, const QString& stamp)
{
    QString lines = text;
    lines.replace("\r\n"_L1, "\n"_L1).replace("\n\r"_L1, "\n"_L1);
    stampLines(lines, 0, stamp, false);
    return lines;
}

QString MessageCodec::sanitizeText(QString text)
{
    sanitize(text);
    return text;
}

QString MessageCodec::decodeWireText(QByteArrayView bytes, WireTextDecoder& decoder)
{
    return sanitizeText(decoder.decode(bytes).text);
}

void MessageCodec::appendForUi(const rxData& record, const FormatSetting& format,
    DisplayState& state, WireTextDecoder& decoder, QString& text)
{
    const bool received = record.direction == RXorTx::Received;
    RecordStyle style;
    style.messageFormat = received ? format.receiveMsgFormat : format.sendMsgFormat;
    style.breaksAtPause = format.rxAutoFeedLine;
    style.pauseMs = format.autoFeedInterval;
    style.stamped = format.displayMsgTime;
    style.stampPattern = received ? format.rxTimeFormat : format.txTimeFormat;
    style.makeStamp = [](const QDateTime& time, const QString& pattern) {
        return time.toString(pattern);
    };
    appendRecordText(record, style, state, decoder, text);
}

QString MessageCodec::decodeForUi(const rxData& record, const FormatSetting& format,
    DisplayState& state, WireTextDecoder& decoder)
{
    QString text;
    appendForUi(record, format, state, decoder, text);
    return text;
}

QString MessageCodec::decodeStatus(QByteArrayView bytes, DisplayState& state)
{
    QString text = sanitizeText(QString::fromUtf8(bytes));
    text.replace("\r\n"_L1, "\n"_L1).replace(u'\r', u'\n');
    if (!state.endsWithLineFeed)
        text.prepend(u'\n');
    state.endsWithLineFeed = text.endsWith(u'\n');
    return text;
}

EncodeSendResult MessageCodec::encodeSend(
    const QString& text, bool hexadecimal, const FormatSetting& format)
{
    if (text.isEmpty()) {
        EncodeSendResult nothing;
        nothing.ok = true;
        return nothing;
    }
    return hexadecimal ? encodeHexadecimal(text, format) : encodeText(text, format);
}

QString MessageCodec::applyLineEnding(const QString& text, int mode)
{
    return withLineEnding(text, mode, QChar(u'\n'), QChar(u'\r'));
}

QByteArray MessageCodec::applyLineEnding(const QByteArray& bytes, int mode)
{
    return withLineEnding(bytes, mode, '\n', '\r');
}

QByteArray MessageCodec::appendChecksum(const QByteArray& bytes, int mode)
{
    using enum CrcCatalog::Algorithm;
    QByteArray framed = bytes;
    if (bytes.isEmpty())
        return framed;
    switch (ChecksumMode(mode)) {
    case ChecksumMode::None:
        break;
    case ChecksumMode::Sum8:
        framed += char(std::accumulate(bytes.begin(), bytes.end(), 0U) & 0xFF);
        break;
    case ChecksumMode::Xor8:
        framed += char(std::accumulate(bytes.begin(), bytes.end(), 0, std::bit_xor<>()) & 0xFF);
        break;
    case ChecksumMode::Crc8:
        framed += char(CrcCatalog::calculate(Crc8, bytes));
        break;
    case ChecksumMode::Crc16Modbus:
        appendLittleEndian(framed, quint16(CrcCatalog::calculate(Crc16Modbus, bytes)));
        break;
    case ChecksumMode::Crc32:
        appendLittleEndian(framed, quint32(CrcCatalog::calculate(Crc32, bytes)));
        break;
    }
    return framed;
}

QByteArray MessageCodec::fromHexString(const QString& text)
{
    return GetHexValue(text);
}

QByteArray MessageCodec::terminalEnterBytes(int mode)
{
    const bool known = mode >= int(LineEndingMode::Cr) && mode <= int(LineEndingMode::LfCr);
    return applyLineEnding("\n"_ba, known ? mode : int(LineEndingMode::Cr));
}
