#include "terminal/text/wiretextcodecregistry.h"

#include "terminal/text/converterdecoder.h"
#include "terminal/text/framedlegacydecoder.h"
#include "terminal/text/legacytable.h"

#include <QHash>
#include <QStringConverter>
#include <QTextCodec>
#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

enum class Engine { Converter, Legacy };

struct Row
{
    QLatin1StringView name; // as shown
    Engine engine;
    QStringConverter::Encoding converter; // of Engine::Converter
    const char* codec;                    // name of Engine::Legacy's codec, "" for the other
    LegacyFraming framing;
    QLatin1StringView aliases; // separated by blanks
};

constexpr LegacyFraming kSingleByte{};
constexpr LegacyFraming kDoubleByte{0x81, 0xFE, 1, 0, false};
constexpr LegacyFraming kGb18030{0x81, 0xFE, 1, 0, true};
constexpr LegacyFraming kShiftJis{0x81, 0x9F, 0xE0, 0xFC, false};

constexpr Row converterRow(
    QLatin1StringView name, QStringConverter::Encoding encoding, QLatin1StringView aliases)
{
    return {name, Engine::Converter, encoding, "", kSingleByte, aliases};
}

constexpr Row legacyRow(QLatin1StringView name, const char* codec, const LegacyFraming& framing,
    QLatin1StringView aliases)
{
    return {name, Engine::Legacy, QStringConverter::Utf8, codec, framing, aliases};
}

constexpr std::array kRows{
    converterRow("UTF-8"_L1, QStringConverter::Utf8, "65001 cp65001"_L1),
    legacyRow("GB18030"_L1, "GB18030", kGb18030, "54936 cp54936"_L1),
    legacyRow("GBK"_L1, "GBK", kDoubleByte, "936 cp936 ms936 windows-936"_L1),
    legacyRow("GB2312"_L1, "GB2312", kDoubleByte, "euc-cn csgb2312 cp20936 20936 chinese"_L1),
    legacyRow("Big5"_L1, "Big5", kDoubleByte, "950 cp950 csbig5"_L1),
    legacyRow("Shift-JIS"_L1, "Shift_JIS", kShiftJis,
        "sjis ms_kanji 932 cp932 windows-31j csshiftjis"_L1),
    legacyRow(
        "EUC-KR"_L1, "EUC-KR", kDoubleByte, "949 cp949 windows-949 ks_c_5601-1987 cseuckr"_L1),
    converterRow("ISO-8859-1"_L1, QStringConverter::Latin1, "latin1 l1 819 cp819 iec_8859-1"_L1),
    legacyRow("Windows-1252"_L1, "windows-1252", kSingleByte, "1252 cp1252"_L1),
    converterRow("System"_L1, QStringConverter::System, "locale"_L1),
};

QString foldName(QStringView name)
{
    QString folded = name.toString().toLower();
    folded.removeIf([](QChar c) { return c == u' ' || c == u'-' || c == u'_'; });
    return folded;
}

const QHash<QString, qsizetype>& aliasIndex()
{
    static const QHash<QString, qsizetype> index = [] {
        QHash<QString, qsizetype> built;
        for (qsizetype i = 0; i < qsizetype(kRows.size()); ++i) {
            const Row& row = kRows[std::size_t(i)];
            built.insert(foldName(QString(row.name)), i);
            if (row.engine == Engine::Legacy)
                built.insert(foldName(QString::fromLatin1(row.codec)), i);
            const QStringList aliases = QString(row.aliases).split(u' ');
            for (const QString& alias : aliases)
                built.insert(foldName(alias), i);
        }
        return built;
    }();
    return index;
}

// -1 for an unknown name.
qsizetype indexOf(QStringView name)
{
    return aliasIndex().value(foldName(name), -1);
}

const Row& rowFor(QStringView name)
{
    return kRows[std::size_t(std::max<qsizetype>(0, indexOf(name)))];
}

std::size_t indexOf(const Row& row)
{
    return std::size_t(&row - kRows.data());
}

// Null when the row has no codec or the system lacks it. Looking a codec up by name takes long
// enough to be felt once per message, so it is done once.
const QTextCodec* legacyCodec(const Row& row)
{
    static const auto codecs = [] {
        std::array<const QTextCodec*, kRows.size()> found{};
        for (const Row& each : kRows) {
            if (each.engine == Engine::Legacy)
                found[indexOf(each)] = QTextCodec::codecForName(each.codec);
        }
        return found;
    }();
    return codecs[indexOf(row)];
}

bool isAvailable(const Row& row)
{
    return row.engine == Engine::Converter || legacyCodec(row) != nullptr;
}

const LegacyTable& legacyTable(const Row& row, const QTextCodec& codec)
{
    static std::array<std::unique_ptr<const LegacyTable>, kRows.size()> tables;
    auto& table = tables[indexOf(row)];
    if (!table)
        table = std::make_unique<const LegacyTable>(codec, row.framing);
    return *table;
}

std::unique_ptr<WireTextDecoder> decoderFor(const Row& row)
{
    if (row.engine == Engine::Converter)
        return std::make_unique<ConverterDecoder>(row.converter);
    if (const QTextCodec* const codec = legacyCodec(row))
        return std::make_unique<FramedLegacyDecoder>(legacyTable(row, *codec));
    return std::make_unique<ConverterDecoder>(QStringConverter::Utf8);
}

// Length of the run at the front that is all ASCII or all not.
qsizetype runLength(QStringView text)
{
    const bool ascii = text.front().unicode() < 0x80;
    const auto end = std::find_if(
        text.begin(), text.end(), [ascii](QChar c) { return (c.unicode() < 0x80) != ascii; });
    return end - text.begin();
}

// Whatever the encoding cannot hold becomes something else. ASCII stays ASCII in all of them,
// also where a codec exchanges control characters.
QByteArray encodeLossy(const Row& row, QStringView text)
{
    if (row.engine == Engine::Converter)
        return QStringEncoder(row.converter, QStringConverter::Flag::Stateless).encode(text);
    const QTextCodec* const codec = legacyCodec(row);
    QByteArray bytes;
    while (codec != nullptr && !text.isEmpty()) {
        const QStringView run = text.first(runLength(text));
        bytes += run.front().unicode() < 0x80 ? run.toLatin1() : codec->fromUnicode(run);
        text = text.sliced(run.size());
    }
    return bytes;
}

// Codecs differ in how they tell about characters they lack, and some do not tell; that the bytes
// mean the text is what counts.
bool means(const Row& row, const QByteArray& bytes, QStringView text)
{
    return isAvailable(row) && decoderFor(row)->decode(bytes).text == text;
}

// The first code point that cannot be encoded alone, empty when each can.
QString firstUnencodable(const Row& row, QStringView text)
{
    while (!text.isEmpty()) {
        const bool pair = text.size() > 1 && text[0].isHighSurrogate() && text[1].isLowSurrogate();
        const QStringView codePoint = text.first(pair ? 2 : 1);
        if (!means(row, encodeLossy(row, codePoint), codePoint))
            return codePoint.toString();
        text = text.sliced(codePoint.size());
    }
    return {};
}

} // namespace

QString WireTextCodecRegistry::defaultEncoding()
{
    return kRows.front().name;
}

QStringList WireTextCodecRegistry::supportedEncodings()
{
    QStringList names;
    for (const Row& row : kRows) {
        if (isAvailable(row))
            names.append(row.name);
    }
    return names;
}

QString WireTextCodecRegistry::normalizeName(const QString& name)
{
    return rowFor(name).name;
}

bool WireTextCodecRegistry::isSupported(const QString& name)
{
    return indexOf(name) >= 0;
}

WireTextCodecRegistry::EncodeResult WireTextCodecRegistry::encode(
    QStringView text, QStringView encodingName)
{
    const Row& row = rowFor(encodingName);
    QByteArray bytes = encodeLossy(row, text);
    if (means(row, bytes, text))
        return {std::move(bytes), true, {}};

    const QString character = isAvailable(row) ? firstUnencodable(row, text) : QString();
    if (character.isEmpty()) {
        return {{}, false,
            tr("This message cannot be encoded as %1. Change the encoding or edit the message.")
                .arg(row.name)};
    }
    return {{}, false,
        tr("The character '%1' cannot be encoded as %2. Change the encoding or edit the message.")
            .arg(character, QString(row.name))};
}

std::unique_ptr<WireTextDecoder> WireTextCodecRegistry::createDecoder(QStringView encodingName)
{
    return decoderFor(rowFor(encodingName));
}
