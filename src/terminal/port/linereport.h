#pragma once

#include "terminal/port/linedriver.h"

#include <QList>
#include <QStringList>

#include <optional>

// The control lines of a pane at one moment, in short: what a line of text has room for.
struct LineReport
{
    bool hasLines = false; // the connection ends in a serial port, open or not
    LineDriver::Sight sight = LineDriver::Sight::None;
    LineDriver::Level rts; // what is asked for while nothing can be seen
    LineDriver::Level dtr;
    ModemLines inputs;    // with Sight::All
    bool inBreak = false; // this program holds the line in break

    // Something is known of the lines.
    [[nodiscard]] bool isSeen() const
    {
        return sight == LineDriver::Sight::Outputs || sight == LineDriver::Sight::All;
    }
    [[nodiscard]] bool isEmpty() const { return !isSeen() && !inBreak; }
    friend bool operator==(const LineReport&, const LineReport&) = default;
};

// A name in the short form of a report.
struct LineMark
{
    QString name;
    bool high = false;
    bool alert = false; // a break

    friend bool operator==(const LineMark&, const LineMark&) = default;
};

// "BRK" during a break, then outputs and inputs in the order of the lamps. An output whose level
// the far end has not confirmed bears a question mark.
[[nodiscard]] QList<LineMark> lineMarks(const LineReport& report);
// The same in words, one entry a line: "RTS: high".
[[nodiscard]] QStringList lineWords(const LineReport& report);
