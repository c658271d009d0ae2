#include "terminal/text/converterdecoder.h"

#include "terminal/text/asciirun.h"

#include <QChar>
#include <QtEndian>
#include <algorithm>
#include <bit>

namespace {

constexpr bool isContinuation(uchar byte)
{
    return (byte & 0xC0) == 0x80;
}

// Bytes of the character that a byte from 0x80 on opens (RFC 3629); 1 for one that opens none.
constexpr auto kSequenceLengths = [] {
    std::array<quint8, 128> lengths{};
    for (int byte = 0x80; byte <= 0xFF; ++byte) {
        const bool lead = byte >= 0xC2 && byte <= 0xF4;
        lengths[std::size_t(byte - 0x80)] = quint8(!lead         ? 1
                                                   : byte < 0xE0 ? 2
                                                   : byte < 0xF0 ? 3
                                                                 : 4);
    }
    return lengths;
}();

// Makes room for so many code units at the end of the text; gives where they begin. The first way
// is QString::resize() without the call, which takes a third of the time of a short chunk.
char16_t* lengthened(QString& text, qsizetype units)
{
    auto& d = text.data_ptr();
    const qsizetype size = d.size + units;
    if (!d.needsDetach() && d.constAllocatedCapacity() - d.freeSpaceAtBegin() > size) {
        d.size = size;
        d.data()[size] = u'\0';
        return d.data() + size - units;
    }
    text.resize(size);
    return reinterpret_cast<char16_t*>(text.data()) + size - units;
}

} // namespace

// The output has room for one code unit per input byte, and no character needs more.
struct ConverterDecoder::Cursor
{
    const uchar* in = nullptr;
    const uchar* end = nullptr;
    char16_t* out = nullptr;
    qsizetype invalid = 0;

    // Up to the end or to a character whose bytes are not all there.
    void takeAll()
    {
        while (in < end) {
            if (*in < 0x80) {
                copyAsciiRun(in, end, out);
                continue;
            }
            const qsizetype invalidBefore = invalid;
            if (!takeCharacter())
                return;
            if (invalid > invalidBefore)
                takeNoise();
        }
    }

    // Behind a byte that began no character: eight bytes at once, for in noise the kind of the next
    // byte cannot be guessed, and asking for it byte by byte takes several times as long. A byte is
    // looked at more closely only when it opens a character and continuations follow it. Returns
    // where text seems to go on and before the last nine bytes.
    void takeNoise()
    {
        while (end - in >= 10) {
            const auto first = qFromLittleEndian<quint64>(in);
            const auto second = qFromLittleEndian<quint64>(in + 1);
            const auto third = qFromLittleEndian<quint64>(in + 2);
            // The bits that tell the kinds apart are moved to the highest one of their byte.
            const quint64 opens = first & first << 1;
            const quint64 opensTwo = ~(first << 2);
            const quint64 continued =
                second & ~(second << 1) & (opensTwo | (third & ~(third << 1)));
            const int bytes = std::countr_zero(opens & continued & kHighBits) / 8;
            for (int i = 0; i < 8; ++i)
                out[i] = in[i] < 0x80 ? char16_t(in[i]) : char16_t(QChar::ReplacementCharacter);
            const quint64 taken = bytes == 8 ? kHighBits : kHighBits & ~(~quint64{0} << 8 * bytes);
            invalid += qsizetype(((first & taken) >> 7) * 0x0101010101010101U >> 56);
            in += bytes;
            out += bytes;
            const bool text = bytes == 0 || (first & kHighBits) == 0;
            if (text || (bytes < 8 && !takeCharacter()))
                return;
        }
    }

    // The byte at the cursor is 0x80 or above. False when bytes of its character are still to come.
    bool takeCharacter()
    {
        const qsizetype length = kSequenceLengths[*in - 0x80U];
        const qsizetype left = end - in;
        if (length > left) {
            if (std::all_of(in + 1, end, isContinuation))
                return false;
        } else if (take(length)) {
            return true;
        }
        *out++ = QChar::ReplacementCharacter;
        ++in;
        ++invalid;
        return true;
    }

    // One character of so many bytes, unless they are none: overlong forms, halves of a surrogate
    // pair and what lies past the last code point.
    bool take(qsizetype length)
    {
        const auto bits = [this](qsizetype at) { return char32_t(in[at] & 0x3F); };
        char32_t code = 0;
        bool valid = false;
        if (length == 2) {
            code = char32_t(in[0] & 0x1F) << 6 | bits(1);
            valid = isContinuation(in[1]);
        } else if (length == 3) {
            code = char32_t(in[0] & 0x0F) << 12 | bits(1) << 6 | bits(2);
            valid = isContinuation(in[1]) && isContinuation(in[2]) && code >= 0x800
                    && !QChar::isSurrogate(code);
        } else if (length == 4) {
            code = char32_t(in[0] & 0x07) << 18 | bits(1) << 12 | bits(2) << 6 | bits(3);
            valid = isContinuation(in[1]) && isContinuation(in[2]) && isContinuation(in[3])
                    && code >= 0x10000 && code <= QChar::LastValidCodePoint;
        }
        if (!valid)
            return false;
        if (QChar::requiresSurrogates(code)) {
            *out++ = QChar::highSurrogate(code);
            *out++ = QChar::lowSurrogate(code);
        } else {
            *out++ = char16_t(code);
        }
        in += length;
        return true;
    }
};

// The system's encoding is UTF-8 on every Unix that Qt 6 runs on, whatever the locale says.
ConverterDecoder::ConverterDecoder(QStringConverter::Encoding encoding)
    : m_utf8(encoding != QStringConverter::Latin1)
{}

qsizetype ConverterDecoder::decodeTo(QByteArrayView bytes, QString& text)
{
    if (m_utf8)
        return decodeUtf8(bytes, text);
    decodeLatin1(bytes, text);
    return 0;
}

void ConverterDecoder::decodeLatin1(QByteArrayView bytes, QString& text)
{
    const auto* const in = reinterpret_cast<const uchar*>(bytes.data());
    std::copy_n(in, bytes.size(), lengthened(text, bytes.size()));
}

qsizetype ConverterDecoder::decodeUtf8(QByteArrayView bytes, QString& text)
{
    const qsizetype before = text.size();
    Cursor cursor;
    cursor.out = lengthened(text, m_heldSize + bytes.size());
    char16_t* const begin = cursor.out - before;
    if (m_heldSize > 0)
        bytes = bytes.sliced(finishHeld(cursor, bytes));
    if (m_heldSize == 0) {
        cursor.in = reinterpret_cast<const uchar*>(bytes.data());
        cursor.end = cursor.in + bytes.size();
        cursor.takeAll();
        m_heldSize = cursor.end - cursor.in;
        std::copy(cursor.in, cursor.end, m_held.begin());
    }
    if (cursor.out != begin + text.size())
        text.truncate(cursor.out - begin);
    m_invalidSequences += cursor.invalid;
    return cursor.invalid;
}

qsizetype ConverterDecoder::finishHeld(Cursor& cursor, QByteArrayView bytes)
{
    // No character is longer than four bytes, and one at least is held.
    std::array<uchar, 6> joined{};
    const qsizetype ahead = std::min<qsizetype>(bytes.size(), 3);
    std::copy_n(m_held.begin(), m_heldSize, joined.begin());
    std::copy_n(bytes.begin(), ahead, joined.begin() + m_heldSize);
    const uchar* const behindHeld = joined.data() + m_heldSize;
    cursor.in = joined.data();
    cursor.end = behindHeld + ahead;
    while (cursor.in < behindHeld) {
        if (!cursor.takeCharacter()) {
            m_heldSize = cursor.end - cursor.in;
            std::copy(cursor.in, cursor.end, m_held.begin());
            return ahead;
        }
    }
    m_heldSize = 0;
    return cursor.in - behindHeld;
}

void ConverterDecoder::reset()
{
    m_heldSize = 0;
    m_invalidSequences = 0;
}
