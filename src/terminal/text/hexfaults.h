#pragma once

#include <QList>
#include <QStringView>

// Where a line of hexadecimal begins, for the lenient reading of GetHexValue: its pairs go on
// across line breaks.
enum class HexPlace {
    PairStart,
    SecondOfBreak, // the line break before was the first of a pair
    Comment,       // behind "//", where nothing is read
};

// Characters of a line that do not reach the device as a person would read them.
struct HexFault
{
    qsizetype begin = 0;
    qsizetype length = 0;

    friend bool operator==(const HexFault&, const HexFault&) = default;
};

struct HexLine
{
    static constexpr qsizetype kMostFaults = 64;

    // In order and apart. From the last of kMostFaults on all is one fault up to the last that
    // there is: a text layout takes time with the square of its marks.
    QList<HexFault> faults;
    HexPlace end = HexPlace::PairStart;
};

// The faults of one line, without its line break: what is no digit and counts 0, a digit that is
// paired with a line break, and a lone last character, which is dropped. `last` says that no line
// follows.
[[nodiscard]] HexLine hexFaults(QStringView line, HexPlace begin, bool last);
