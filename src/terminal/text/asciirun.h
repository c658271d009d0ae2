#pragma once

#include <QtEndian>
#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

// The highest bit of each of eight bytes: no ASCII has one.
inline constexpr quint64 kHighBits = 0x8080808080808080U;

// Copies bytes below 0x80 from `in` to `out` as code units, up to the first other byte or `end`,
// and moves both behind what was copied. `out` has room for `end - in` units; those behind the
// copied ones are written over.
//
// Most of what devices say is ASCII in every encoding, and much of it comes a few bytes at a time.
inline void copyAsciiRun(const uchar*& in, const uchar* end, char16_t*& out)
{
    while (end - in >= 32) {
        std::array<quint64, 4> words{};
        std::memcpy(words.data(), in, sizeof words);
        if (((words[0] | words[1] | words[2] | words[3]) & kHighBits) != 0)
            break;
        // From the copy: `in` might alias `out`, and the loop would not become vector code.
        const auto bytes = std::bit_cast<std::array<uchar, 32>>(words);
        std::copy(bytes.begin(), bytes.end(), out);
        in += 32;
        out += 32;
    }
    while (end - in >= 8) {
        const int ascii = std::countr_zero(qFromLittleEndian<quint64>(in) & kHighBits) / 8;
        for (int i = 0; i < 8; ++i)
            out[i] = in[i];
        in += ascii;
        out += ascii;
        if (ascii < 8)
            return;
    }
    while (in < end && *in < 0x80)
        *out++ = *in++;
}
