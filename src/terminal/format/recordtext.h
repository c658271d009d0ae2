#pragma once

#include "terminal/format/displayrecord.h"
#include "terminal/format/displaystate.h"

#include <QString>

class WireTextDecoder;

// How a record becomes text. View and log give different stamps and are alike in all else.
struct RecordStyle
{
    qint32 messageFormat = 0; // MessageFormat of the record's direction
    bool breaksAtPause = false;
    qint32 pauseMs = 0; // a longer one ends the line
    bool stamped = false;
    QString stamp; // line ends in it are ignored
};

// The rules of MessageCodec::decodeForUi() and decodeForLog().
[[nodiscard]] QString recordText(
    const rxData& record, RecordStyle style, DisplayState& state, WireTextDecoder& decoder);
