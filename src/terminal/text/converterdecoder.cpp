#include "terminal/text/converterdecoder.h"

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
    , m_multiByte(encoding != QStringConverter::Latin1)
{}

WireTextDecoder::Result ConverterDecoder::decode(QByteArrayView bytes)
{
    if (bytes.isEmpty())
        return {};
    const qsizetype invalidBefore = m_decoder.invalidCount();
    Result result;
    result.text =
        QString(m_decoder.requiredSpace(m_heldSize) + m_decoder.requiredSpace(bytes.size()),
            Qt::Uninitialized);
    QChar* const begin = result.text.data();
    QChar* out = begin;
    if (m_heldSize > 0)
        out = finishHeld(out, bytes);
    if (m_multiByte && m_heldSize == 0) {
        m_heldSize = unfinishedTail(bytes);
        std::copy_n(bytes.end() - m_heldSize, m_heldSize, m_held.begin());
        bytes.chop(m_heldSize);
    }
    if (!bytes.isEmpty())
        out = m_decoder.appendToBuffer(out, bytes);
    result.text.truncate(out - begin);
    result.invalidSequences = m_decoder.invalidCount() - invalidBefore;
    m_invalidSequences += result.invalidSequences;
    return result;
}

// Takes the bytes that belong to the held character off the front of `bytes`, and decodes it once
// they are all there or once a byte shows that they will not come.
QChar* ConverterDecoder::finishHeld(QChar* out, QByteArrayView& bytes)
{
    const qsizetype length = sequenceLength(m_held.front());
    while (m_heldSize < length && !bytes.isEmpty() && isContinuation(bytes.front())) {
        m_held[std::size_t(m_heldSize++)] = bytes.front();
        bytes = bytes.sliced(1);
    }
    if (m_heldSize < length && bytes.isEmpty())
        return out;
    out = m_decoder.appendToBuffer(out, QByteArrayView(m_held.data(), m_heldSize));
    m_heldSize = 0;
    return out;
}

void ConverterDecoder::reset()
{
    m_decoder.resetState();
    m_heldSize = 0;
    m_invalidSequences = 0;
}
