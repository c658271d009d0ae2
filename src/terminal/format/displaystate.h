#pragma once

#include "terminal/format/rxortx.h"

#include <QDateTime>

// What the formatter remembers of the text shown so far. Owned by the pane's receive pipeline and
// changed by MessageCodec only; a fresh one belongs to an empty view.
struct DisplayState
{
    bool endsWithLineFeed = true;            // the next character starts a display line
    QDateTime lastReceived;                  // time of the last received record
    QDateTime lastRecord;                    // time of the last record of any direction
    RXorTx lineDirection = RXorTx::Received; // of the display line that is not finished yet
    // A pause was seen in front of a record that showed nothing yet (the first bytes of a
    // character): the line feed is still owed.
    bool gapPending = false;
};
