#pragma once

#include "terminal/format/displayrecord.h"
#include "terminal/format/displaystate.h"

#include <QString>

class WireTextDecoder;

// How a record becomes text. View and log give different stamps, and the log keeps what the view
// cannot show.
struct RecordStyle
{
    // More of a stamp is neither drawn nor logged: one stands on every line, and a flood of line
    // feeds would make megabytes of a long one out of kilobytes.
    static constexpr qsizetype kMaxStampLength = 64;

    using MakeStamp = QString (*)(const QDateTime& time, const QString& pattern);

    qint32 messageFormat = 0; // MessageFormat of the record's direction
    // Control characters as they came, CR and line feeds of their own included, instead of what a
    // view makes of them.
    bool asReceived = false;
    bool breaksAtPause = false;
    qint32 pauseMs = 0; // a longer one ends the line
    bool stamped = false;
    QString stampPattern;
    MakeStamp makeStamp = nullptr; // of a stamped style; line ends in the stamp are ignored
};

// The rules of MessageCodec::appendForUi() and appendForLog().
void appendRecordText(const rxData& record, const RecordStyle& style, DisplayState& state,
    WireTextDecoder& decoder, QString& text);
