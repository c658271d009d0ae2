#include "terminal/text/framedlegacydecoder.h"

#include "terminal/text/asciirun.h"
#include "terminal/text/legacytable.h"

#include <QByteArray>
#include <QChar>
#include <algorithm>
#include <cstring>

namespace {

constexpr char16_t kReplacement = u'\uFFFD';
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
    const uchar* in = nullptr;
    const uchar* end = nullptr;
    char16_t* out = nullptr;
    qsizetype invalid = 0;

    void copyAscii() { copyAsciiRun(in, end, out); }

    // Two-byte characters in a row, up to whatever is something else.
    void copyPairs(const LegacyTable& table)
    {
        const uchar* from = in;
        char16_t* to = out;
        while (end - from >= 2 && from[0] >= 0x80) {
            const char16_t unit = table.pair(from[0], from[1]);
            if (unit == LegacyTable::kOdd)
                break;
            *to++ = unit;
            from += 2;
        }
        in = from;
        out = to;
    }

    void takeSingleBytes(const LegacyTable& table)
    {
        char16_t* const first = out;
        out = std::transform(in, end, first, [&table](uchar byte) { return table.single(byte); });
        in = end;
        invalid += std::count(first, out, kReplacement);
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

qsizetype FramedLegacyDecoder::decodeTo(QByteArrayView bytes, QString& text)
{
    if (bytes.isEmpty())
        return 0;
    QByteArray joined;
    if (m_heldSize > 0) {
        joined.reserve(m_heldSize + bytes.size());
        joined.append(m_held.data(), m_heldSize).append(bytes);
        bytes = joined;
    }
    const qsizetype before = text.size();
    text.resize(before + bytes.size());
    auto* const begin = reinterpret_cast<char16_t*>(text.data());
    const auto* const in = reinterpret_cast<const uchar*>(bytes.data());
    Cursor cursor{in, in + bytes.size(), begin + before};
    decodeSpan(cursor);

    m_heldSize = cursor.end - cursor.in;
    std::memcpy(m_held.data(), cursor.in, std::size_t(m_heldSize));
    if (cursor.out != begin + text.size())
        text.truncate(cursor.out - begin);
    m_invalidSequences += cursor.invalid;
    return cursor.invalid;
}

void FramedLegacyDecoder::reset()
{
    m_heldSize = 0;
    m_invalidSequences = 0;
}

void FramedLegacyDecoder::decodeSpan(Cursor& cursor) const
{
    if (!m_table.framing().hasLeads())
        cursor.takeSingleBytes(m_table);
    while (cursor.in < cursor.end) {
        const uchar byte = *cursor.in;
        if (byte < 0x80) {
            cursor.copyAscii();
            continue;
        }
        cursor.copyPairs(m_table);
        if (cursor.in == cursor.end || *cursor.in < 0x80)
            continue;
        if (!m_table.isLead(*cursor.in)) {
            cursor.put(m_table.single(*cursor.in));
            ++cursor.in;
        } else if (cursor.end - cursor.in < 2 || !takeOdd(cursor)) {
            return;
        }
    }
}

bool FramedLegacyDecoder::takeOdd(Cursor& cursor) const
{
    const uchar trail = cursor.in[1];
    if (trail < LegacyTable::kTrailLow || trail == 0x7F) {
        if (m_table.framing().fourByteForm && isDigit(trail))
            return takeFourBytes(cursor);
        cursor.put(kReplacement);
        ++cursor.in;
        return true;
    }
    const QString units = m_table.oddPair(cursor.in[0], trail);
    for (const QChar unit : units)
        cursor.put(unit.unicode());
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
