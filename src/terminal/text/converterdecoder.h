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

    [[nodiscard]] Result decode(QByteArrayView bytes) override;
    void reset() override;

private:
    // The converter's count of invalid sequences is protected.
    class CountingDecoder final : public QStringDecoder
    {
    public:
        using QStringDecoder::QStringDecoder;
        [[nodiscard]] qsizetype invalidCount() const { return state.invalidChars; }
    };

    [[nodiscard]] QChar* finishHeld(QChar* out, QByteArrayView& bytes);

    CountingDecoder m_decoder;
    bool m_multiByte; // UTF-8: characters of more than one byte exist
    std::array<char, 4> m_held{};
    qsizetype m_heldSize = 0; // at most 3 between calls
};
