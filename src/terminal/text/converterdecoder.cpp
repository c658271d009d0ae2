#include "terminal/text/converterdecoder.h"

#include "terminal/text/asciirun.h"

#include <algorithm>

namespace {

// Stateless: what is incomplete at the end of a call is wrong, since the caller keeps unfinished
// characters. ConvertInitialBom: a byte order mark on the wire is shown, not swallowed.
constexpr QStringConverter::Flags kFlags =
    QStringConverter::Flag::Stateless | QStringConverter::Flag::ConvertInitialBom;

constexpr bool isContinuation(char byte)
{
    return (uchar(byte) & 0xC0) == 0x80;
}

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

// Bytes of the character that a UTF-8 lead byte opens; 1 for every other byte.
constexpr qsizetype sequenceLength(char lead)
{
    const auto byte = uchar(lead);
    if (byte < 0xC2 || byte > 0xF4)
        return 1;
    if (byte < 0xE0)
        return 2;
    return byte < 0xF0 ? 3 : 4;
}

// Length of the unfinished character at the end.
qsizetype unfinishedTail(QByteArrayView bytes)
{
    const qsizetype most = std::min<qsizetype>(3, bytes.size());
    for (qsizetype length = 1; length <= most; ++length) {
        const char byte = bytes[bytes.size() - length];
        if (!isContinuation(byte))
            return sequenceLength(byte) > length ? length : 0;
    }
    return 0;
}

} // namespace

// The system's encoding is UTF-8 on every Unix that Qt 6 runs on, whatever the locale says.
ConverterDecoder::ConverterDecoder(QStringConverter::Encoding encoding)
    : m_decoder(encoding, kFlags)
    , m_utf8(encoding != QStringConverter::Latin1)
{}

qsizetype ConverterDecoder::decodeTo(QByteArrayView bytes, QString& text)
{
    return m_utf8 ? decodeUtf8(bytes, text) : decodeLatin1(bytes, text);
}

qsizetype ConverterDecoder::decodeLatin1(QByteArrayView bytes, QString& text)
{
    const auto* const in = reinterpret_cast<const uchar*>(bytes.data());
    std::copy_n(in, bytes.size(), lengthened(text, bytes.size()));
    return 0;
}

qsizetype ConverterDecoder::decodeUtf8(QByteArrayView bytes, QString& text)
{
    const qsizetype before = text.size();
    // No byte gives more than one code unit.
    char16_t* out = lengthened(text, m_heldSize + bytes.size());
    char16_t* const begin = out - before;
    if (m_heldSize == 0) {
        const auto* in = reinterpret_cast<const uchar*>(bytes.data());
        const uchar* const end = in + bytes.size();
        copyAsciiRun(in, end, out);
        if (in == end)
            return 0;
        bytes = QByteArrayView(in, end - in);
    }
    const qsizetype invalidBefore = m_decoder.invalidCount();
    text.truncate(convertRest(out, bytes) - begin);
    const qsizetype invalid = m_decoder.invalidCount() - invalidBefore;
    m_invalidSequences += invalid;
    return invalid;
}

char16_t* ConverterDecoder::convertRest(char16_t* out, QByteArrayView bytes)
{
    if (m_heldSize > 0)
        out = finishHeld(out, bytes);
    if (m_heldSize == 0) {
        m_heldSize = unfinishedTail(bytes);
        std::copy_n(bytes.end() - m_heldSize, m_heldSize, m_held.begin());
        bytes.chop(m_heldSize);
    }
    return bytes.isEmpty() ? out : m_decoder.appendUnits(out, bytes);
}

// Takes the bytes that belong to the held character off the front of `bytes`, and decodes it once
// they are all there or once a byte shows that they will not come.
char16_t* ConverterDecoder::finishHeld(char16_t* out, QByteArrayView& bytes)
{
    const qsizetype length = sequenceLength(m_held.front());
    while (m_heldSize < length && !bytes.isEmpty() && isContinuation(bytes.front())) {
        m_held[std::size_t(m_heldSize++)] = bytes.front();
        bytes = bytes.sliced(1);
    }
    if (m_heldSize < length && bytes.isEmpty())
        return out;
    out = m_decoder.appendUnits(out, QByteArrayView(m_held.data(), m_heldSize));
    m_heldSize = 0;
    return out;
}

void ConverterDecoder::reset()
{
    m_decoder.resetState();
    m_heldSize = 0;
    m_invalidSequences = 0;
}
