#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <array>
#include <vector>

class QTextCodec;

// Which bytes start a character of a legacy encoding, and how long the character is.
struct LegacyFraming
{
    unsigned char firstLeadLow = 1; // an empty range: no lead bytes
    unsigned char firstLeadHigh = 0;
    unsigned char secondLeadLow = 1;
    unsigned char secondLeadHigh = 0;
    bool fourByteForm = false; // GB18030

    [[nodiscard]] constexpr bool hasLeads() const { return firstLeadLow <= firstLeadHigh; }
    [[nodiscard]] constexpr bool isLead(unsigned char byte) const
    {
        return (byte >= firstLeadLow && byte <= firstLeadHigh)
               || (byte >= secondLeadLow && byte <= secondLeadHigh);
    }
};

// What each character of a legacy encoding decodes to, asked of the codec once and then looked up:
// independent of where a stream was cut. Bytes below 0x80 are ASCII whatever the codec says (the
// Shift_JIS of some systems exchanges 0x1A, 0x1C and 0x7F, which on a wire are the control
// characters they always are).
//
// Built on the first use of an encoding, 64 KiB (GB18030 140 KiB), shared by its decoders and kept
// for the program's life.
class LegacyTable final
{
public:
    static constexpr int kTrailLow = 0x40;       // lowest second byte of a two-byte character
    static constexpr int kFourByteCount = 39420; // four-byte characters of the BMP, linear order
    // Stands in the pair table for all that is not plainly one character: second bytes that form
    // none, pairs that the code table lacks, pairs that decode to more than one code unit.
    static constexpr char16_t kOdd = 0;

    LegacyTable(const QTextCodec& codec, const LegacyFraming& framing);

    [[nodiscard]] const LegacyFraming& framing() const { return m_framing; }
    [[nodiscard]] bool isLead(unsigned char byte) const { return m_lead[byte]; }
    // For bytes that are no lead.
    [[nodiscard]] char16_t single(unsigned char byte) const { return m_single[byte]; }
    // `lead` is a byte of 0x80 and above, `trail` any byte; kOdd when `lead` is no lead byte.
    [[nodiscard]] char16_t pair(unsigned char lead, unsigned char trail) const
    {
        return m_pairs[pairIndex(lead, trail)];
    }
    // What a pair means for which pair() gives kOdd and whose trail may follow a lead: one or two
    // code units, U+FFFD among them.
    [[nodiscard]] QString oddPair(unsigned char lead, unsigned char trail) const;
    // `linear` counts the four-byte characters from 81 30 81 30 on; U+FFFD outside of the BMP's.
    [[nodiscard]] char16_t fourByte(qsizetype linear) const
    {
        return linear < kFourByteCount ? m_fourBytes[std::size_t(linear)] : u'\uFFFD';
    }

private:
    static constexpr std::size_t pairIndex(unsigned char lead, unsigned char trail)
    {
        return (std::size_t(lead & 0x7F) << 8) | trail;
    }
    void buildSingles(const QTextCodec& codec);
    void buildPairs(const QTextCodec& codec);
    void buildFourBytes(const QTextCodec& codec);

    LegacyFraming m_framing;
    std::array<bool, 256> m_lead{};
    std::array<char16_t, 256> m_single{};
    std::vector<char16_t> m_pairs;
    std::vector<char16_t> m_fourBytes;
    QHash<std::size_t, QString> m_oddPairs;
};
