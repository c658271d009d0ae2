#pragma once

#include <QString>

// The names of the 256 codes of a byte: the control codes of ISO 6429 (ECMA-48) with their short
// names, the printable ones as the Unicode Character Database (Unicode License) names them,
// ISO-8859-1 from 160 on.
struct AsciiName
{
    QString abbreviation; // empty for a printable character
    QString name;
};

// `code` is 0 to 255.
[[nodiscard]] const AsciiName& asciiName(int code);
