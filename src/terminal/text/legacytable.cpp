#include "terminal/text/legacytable.h"

#include <QTextCodec>
#include <QtEndian>

namespace {

constexpr qsizetype kLongestDecoding = 2; // code units a two-byte character may become

// Asks the codec for one character at a time. The line feed behind it makes the codec finish with
// the character, whatever it is.
class CharacterQuery final
{
public:
    explicit CharacterQuery(const QTextCodec& codec)
        : m_codec(codec)
    {}

    // Never empty.
    QString operator()(QByteArrayView character)
    {
        const QByteArray probe = character.toByteArray() + '\n';
        QString text = m_codec.toUnicode(probe.constData(), int(probe.size()), &m_state);
        text.chop(text.endsWith(u'\n') ? 1 : 0);
        return text.isEmpty() ? QString(QChar::ReplacementCharacter) : text;
    }

private:
    const QTextCodec& m_codec;
    QTextCodec::ConverterState m_state;
};

} // namespace

LegacyTable::LegacyTable(const QTextCodec& codec, const LegacyFraming& framing)
    : m_framing(framing)
{
    buildSingles(codec);
    if (framing.hasLeads())
        buildPairs(codec);
    if (framing.fourByteForm)
        buildFourBytes(codec);
}

void LegacyTable::buildSingles(const QTextCodec& codec)
{
    CharacterQuery query(codec);
    for (int byte = 0; byte < 256; ++byte) {
        const auto index = std::size_t(byte);
        m_lead[index] = m_framing.isLead(uchar(byte));
        if (byte < 0x80) {
            m_single[index] = char16_t(byte);
        } else if (!m_lead[index]) {
            const char character = char(byte);
            const QString text = query(QByteArrayView(&character, 1));
            m_single[index] = text.size() == 1 ? text.front().unicode() : u'\uFFFD';
        }
    }
}

void LegacyTable::buildPairs(const QTextCodec& codec)
{
    CharacterQuery query(codec);
    m_pairs.assign(pairIndex(0xFF, 0xFF) + 1, kOdd);
    for (int lead = 0x80; lead < 0x100; ++lead) {
        if (!m_lead[std::size_t(lead)])
            continue;
        for (int trail = kTrailLow; trail < 0x100; ++trail) {
            if (trail == 0x7F)
                continue;
            const std::array<char, 2> character{char(lead), char(trail)};
            const QString text = query(QByteArrayView(character)).left(kLongestDecoding);
            const std::size_t index = pairIndex(uchar(lead), uchar(trail));
            if (text.size() == 1 && text.front() != QChar::ReplacementCharacter)
                m_pairs[index] = text.front().unicode();
            else if (text.size() > 1)
                m_oddPairs.insert(index, text);
        }
    }
}

QString LegacyTable::oddPair(unsigned char lead, unsigned char trail) const
{
    return m_oddPairs.value(pairIndex(lead, trail), QString(QChar::ReplacementCharacter));
}

void LegacyTable::buildFourBytes(const QTextCodec& codec)
{
    CharacterQuery query(codec);
    m_fourBytes.resize(kFourByteCount);
    for (int linear = 0; linear < kFourByteCount; ++linear) {
        const std::array<char, 4> character{char(0x81 + linear / 12600),
            char(0x30 + linear / 1260 % 10), char(0x81 + linear / 10 % 126),
            char(0x30 + linear % 10)};
        const QString text = query(QByteArrayView(character));
        m_fourBytes[std::size_t(linear)] = text.size() == 1 ? text.front().unicode() : u'\uFFFD';
    }
}
