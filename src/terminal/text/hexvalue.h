#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

// The lenient reading of hexadecimal that the send editor uses: it never rejects anything. The
// text is read in pairs of characters; a blank where a pair would start is skipped, a character
// above U+00FF there counts as the digit 0, the second character of a pair is taken whatever it
// is, a lone last character is dropped. A character that is no digit counts 0, so "1 2" is the
// single byte 0x10 and "12 34" are 0x12 0x34. The result never exceeds half the text's length.
[[nodiscard]] QByteArray GetHexValue(const QString& text);
[[nodiscard]] QList<quint8> GetHexValueArray(const QString& text);
// 0 to 15 for a hexadecimal digit of either case, 0 for everything else.
[[nodiscard]] int ConvertHexChar(char digit);
