#pragma once

#include "terminal/text/wiretextdecoder.h"

#include <array>

class LegacyTable;

// Decodes the single-byte, double-byte and GB18030 encodings. It finds the characters itself: a
// lead byte with a possible second byte is one character whatever the code table holds; a lead
// byte that nothing can follow becomes U+FFFD alone, and the byte behind it is looked at again, so
// that a broken character never takes a line end with it. What a character means is the table's.
//
// Invalid sequences are the broken leads and the U+FFFD that the code table answers with.
class FramedLegacyDecoder final : public WireTextDecoder
{
public:
    // The table must outlive the decoder.
    explicit FramedLegacyDecoder(const LegacyTable& table);

    qsizetype decodeTo(QByteArrayView bytes, QString& text) override;
    void reset() override;

private:
    struct Cursor;
    // Decodes up to the end or to a character whose bytes are not all there.
    void decodeSpan(Cursor& cursor) const;
    // Each takes one character at the cursor, of which two bytes are there; false when the others
    // are not.
    [[nodiscard]] bool takeOdd(Cursor& cursor) const;
    [[nodiscard]] bool takeFourBytes(Cursor& cursor) const;

    const LegacyTable& m_table;
    std::array<char, 4> m_held{};
    qsizetype m_heldSize = 0; // the first bytes of a character, at most 3
};
