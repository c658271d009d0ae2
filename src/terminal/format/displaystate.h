#pragma once

#include "terminal/format/rxortx.h"

#include <QDateTime>
#include <QString>

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

    // The last stamp that was made. Pieces of one record and records of one millisecond share it,
    // and making one takes longer than making the text of a short record.
    struct Stamp
    {
        QDateTime time;
        QString pattern;
        QString text;
    };
    Stamp stamp;
};
