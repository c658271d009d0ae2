#pragma once

#include "terminal/text/wiretextdecoder.h"

#include <QStringConverter>
#include <array>

// Decodes the encodings that Qt's own converters know (UTF-8, Latin-1, the system's).
//
// The unfinished character at a chunk's end is kept here, not in the converter: Qt 6.4's UTF-8
// converter loses the first byte of the next chunk when that byte shows the kept ones to be no
// character (C2, then "A", gave U+FFFD and no "A").
class ConverterDecoder final : public WireTextDecoder
{
public:
    explicit ConverterDecoder(QStringConverter::Encoding encoding);

    qsizetype decodeTo(QByteArrayView bytes, QString& text) override;
    void reset() override;

private:
    // The converter's count of invalid sequences is protected.
    class CountingDecoder final : public QStringDecoder
    {
    public:
        using QStringDecoder::QStringDecoder;
        [[nodiscard]] qsizetype invalidCount() const { return state.invalidChars; }
        [[nodiscard]] char16_t* appendUnits(char16_t* out, QByteArrayView bytes)
        {
            return reinterpret_cast<char16_t*>(
                appendToBuffer(reinterpret_cast<QChar*>(out), bytes));
        }
    };

    [[nodiscard]] static qsizetype decodeLatin1(QByteArrayView bytes, QString& text);
    [[nodiscard]] qsizetype decodeUtf8(QByteArrayView bytes, QString& text);
    // What is held and what does not begin with ASCII; gives the end of what was written.
    [[nodiscard]] char16_t* convertRest(char16_t* out, QByteArrayView bytes);
    [[nodiscard]] char16_t* finishHeld(char16_t* out, QByteArrayView& bytes);

    CountingDecoder m_decoder;
    bool m_utf8; // otherwise Latin-1: each byte is its code unit
    std::array<char, 4> m_held{};
    qsizetype m_heldSize = 0; // at most 3 between calls
};
