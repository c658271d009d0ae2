#pragma once

#include "terminal/format/rxortx.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

// One chunk of traffic on its way to the receive view and the data log, as it was queued.
struct rxData
{
    QDateTime time; // local, taken when the chunk was queued
    RXorTx direction = RXorTx::Received;
    QByteArray bytes;
    // The bytes are a line about the port (UTF-8) and no traffic.
    bool status = false;
    // A later slice of a record that was cut for its size: no pause lies in front of it, and it is
    // no record of its own for the rule of the lone line feed.
    bool continuation = false;
    // Not for the view, or cleared from it before it was shown; a log keeps it.
    bool hidden = false;
    QString peer; // key of the client or sender, empty when there is only one
};
