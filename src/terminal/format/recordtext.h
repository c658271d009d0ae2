#pragma once

#include "terminal/format/displayrecord.h"
#include "terminal/format/displaystate.h"

#include <QString>

class WireTextDecoder;

// How a record becomes text. View and log give different stamps and are alike in all else.
struct RecordStyle
{
    using MakeStamp = QString (*)(const QDateTime& time, const QString& pattern);

    qint32 messageFormat = 0; // MessageFormat of the record's direction
    bool breaksAtPause = false;
    qint32 pauseMs = 0; // a longer one ends the line
    bool stamped = false;
    QString stampPattern;
    MakeStamp makeStamp = nullptr; // of a stamped style; line ends in the stamp are ignored
};

// The rules of MessageCodec::appendForUi() and appendForLog().
void appendRecordText(const rxData& record, const RecordStyle& style, DisplayState& state,
    WireTextDecoder& decoder, QString& text);
