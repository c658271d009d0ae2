#include "terminal/text/framedlegacydecoder.h"

#include "terminal/text/legacytable.h"

#include <QByteArray>
#include <QChar>
#include <QtEndian>
#include <cstring>

namespace {

constexpr char16_t kReplacement = u'\uFFFD';
constexpr uchar kLowestTrail = 0x40;
// 84 31 A4 37 is how GB18030 writes U+FFFD itself: a character, not a fault.
constexpr qsizetype kEncodedReplacement = 39417;

constexpr bool isDigit(uchar byte)
{
    return byte >= '0' && byte <= '9';
}

} // namespace

// The output has room for one code unit per input byte, and no character needs more.
struct FramedLegacyDecoder::Cursor
{
    const uchar* in;
    const uchar* end;
    char16_t* out;
    qsizetype invalid = 0;

    void copyAscii()
    {
        constexpr quint64 highBits = 0x8080808080808080U;
        while (end - in >= 8 && (qFromUnaligned<quint64>(in) & highBits) == 0) {
            for (int i = 0; i < 8; ++i)
                out[i] = in[i];
            in += 8;
            out += 8;
        }
        while (in < end && *in < 0x80)
            *out++ = *in++;
    }

    void put(char16_t unit)
    {
        invalid += unit == kReplacement ? 1 : 0;
        *out++ = unit;
    }
};

FramedLegacyDecoder::FramedLegacyDecoder(const LegacyTable& table)
    : m_table(table)
{}

WireTextDecoder::Result FramedLegacyDecoder::decode(QByteArrayView bytes)
{
    QByteArray joined;
    if (m_heldSize > 0) {
        joined.reserve(m_heldSize + bytes.size());
        joined.append(m_held.data(), m_heldSize).append(bytes);
        bytes = joined;
    }
    Result result;
    result.text = QString(bytes.size(), Qt::Uninitialized);
    auto* const begin = reinterpret_cast<char16_t*>(result.text.data());
    const auto* const in = reinterpret_cast<const uchar*>(bytes.data());
    Cursor cursor{in, in + bytes.size(), begin};
    decodeSpan(cursor);

    m_heldSize = cursor.end - cursor.in;
    std::memcpy(m_held.data(), cursor.in, std::size_t(m_heldSize));
    result.text.truncate(cursor.out - begin);
    result.invalidSequences = cursor.invalid;
    m_invalidSequences += cursor.invalid;
    return result;
}

void FramedLegacyDecoder::reset()
{
    m_heldSize = 0;
    m_invalidSequences = 0;
}

void FramedLegacyDecoder::decodeSpan(Cursor& cursor) const
{
    while (cursor.in < cursor.end) {
        if (*cursor.in < 0x80)
            cursor.copyAscii();
        else if (!m_table.isLead(*cursor.in))
            cursor.put(m_table.single(*cursor.in++));
        else if (!takeMultiByte(cursor))
            return;
    }
}

bool FramedLegacyDecoder::takeMultiByte(Cursor& cursor) const
{
    if (cursor.end - cursor.in < 2)
        return false;
    const uchar lead = cursor.in[0];
    const uchar trail = cursor.in[1];
    if (trail < kLowestTrail || trail == 0x7F) {
        if (m_table.framing().fourByteForm && isDigit(trail))
            return takeFourBytes(cursor);
        cursor.put(kReplacement);
        ++cursor.in;
        return true;
    }
    const char16_t unit = m_table.pair(lead, trail);
    if (unit != LegacyTable::kOdd) {
        cursor.put(unit);
    } else {
        const QString units = m_table.oddPair(lead, trail);
        for (const QChar odd : units)
            cursor.put(odd.unicode());
    }
    cursor.in += 2;
    return true;
}

bool FramedLegacyDecoder::takeFourBytes(Cursor& cursor) const
{
    if (cursor.end - cursor.in < 4)
        return false;
    const uchar* const b = cursor.in;
    if (b[2] < 0x81 || b[2] == 0xFF || !isDigit(b[3])) {
        cursor.put(kReplacement);
        ++cursor.in;
        return true;
    }
    const auto inPlane = (b[1] - 0x30) * 1260 + (b[2] - 0x81) * 10 + (b[3] - 0x30);
    const char32_t codePoint =
        b[0] >= 0x90 ? char32_t((b[0] - 0x90) * 12600 + inPlane + 0x10000) : 0;
    const qsizetype linear = (b[0] - 0x81) * 12600 + inPlane;
    if (codePoint != 0 && codePoint <= QChar::LastValidCodePoint) {
        *cursor.out++ = QChar::highSurrogate(codePoint);
        *cursor.out++ = QChar::lowSurrogate(codePoint);
    } else if (linear == kEncodedReplacement) {
        *cursor.out++ = kReplacement;
    } else {
        cursor.put(m_table.fourByte(linear));
    }
    cursor.in += 4;
    return true;
}
