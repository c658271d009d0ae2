#pragma once

#include "terminal/text/wiretextdecoder.h"

#include <QByteArray>
#include <QChar>

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

    [[nodiscard]] Result decode(QByteArrayView bytes) override;
    void reset() override;

private:
    struct Cursor;
    void decodeSpan(Cursor& cursor) const;
    // Each takes one character at the cursor; false when its bytes are not all there yet.
    [[nodiscard]] bool takeMultiByte(Cursor& cursor) const;
    [[nodiscard]] bool takeFourBytes(Cursor& cursor) const;
    static void takeInvalidLead(Cursor& cursor);

    const LegacyTable& m_table;
    QByteArray m_held; // the first bytes of a character, at most 3
};
