#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

// The strict reading of hexadecimal for calculators: pairs of digits with white space anywhere,
// and the place of the first fault.
struct HexParseResult
{
    QByteArray bytes;             // what was read before a fault
    bool ok = false;              // all of the text was digits in pairs and white space
    qsizetype errorPosition = -1; // index of the wrong character, or the length when incomplete
    bool incomplete = false;      // the text ended between the two digits of a byte
};

[[nodiscard]] HexParseResult parseHex(QStringView text);
// The text to show for a result that is not ok, positions counted from 1; empty for an ok one.
[[nodiscard]] QString hexErrorMessage(const HexParseResult& result);
