#pragma once

#include "terminal/text/wiretextdecoder.h"

#include <QStringConverter>
#include <array>

// Decodes the encodings that Qt's own converters know (UTF-8, Latin-1, the system's), with their
// text: each byte that begins no character is one U+FFFD.
//
// The loop is its own because a line at the wrong speed sends bytes that are no text, for which
// Qt's converter takes several times as long, and because that of Qt 6.4 loses the first byte of
// the next chunk when that byte shows the kept ones to be no character (C2, then "A", gave U+FFFD
// and no "A").
class ConverterDecoder final : public WireTextDecoder
{
public:
    explicit ConverterDecoder(QStringConverter::Encoding encoding);

    qsizetype decodeTo(QByteArrayView bytes, QString& text) override;
    void reset() override;

private:
    struct Cursor;

    static void decodeLatin1(QByteArrayView bytes, QString& text);
    [[nodiscard]] qsizetype decodeUtf8(QByteArrayView bytes, QString& text);
    // Decodes what is held, with the bytes that belong to it; gives how many those are.
    [[nodiscard]] qsizetype finishHeld(Cursor& cursor, QByteArrayView bytes);

    bool m_utf8; // otherwise Latin-1: each byte is its code unit
    std::array<uchar, 4> m_held{};
    qsizetype m_heldSize = 0; // the first bytes of a character, at most 3
};
