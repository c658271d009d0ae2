#pragma once

#include <QByteArray>
#include <QString>

// Why a transfer ended. The values are stable: logs and summaries carry them as numbers.
enum class XferError : qint32 {
    None = 0,
    NoHandshake = 1,       // the peer never started within 60 s
    RetriesExhausted = 2,  // ten retries failed, or any error under YMODEM-G
    RemoteCancel = 3,      // two consecutive CAN bytes arrived
    LocalCancel = 4,       // cancel() was called
    ConnectionLost = 5,    // the connection was closed or lost; raised by the session
    SourceReadFailed = 8,  // reading the file being sent failed or gave too little
    SourceChanged = 9,     // the file being sent changed during the transfer
    SinkOpenFailed = 10,   // the destination file could not be created
    SinkWriteFailed = 11,  // writing received data failed
    SinkCommitFailed = 12, // the received file could not be finalised
    LimitExceeded = 14,    // more arrived, or was offered, than the receive limit allows
    OutOfStep = 16,        // a block number out of sequence, or a malformed YMODEM header
};

// What the owner of a transfer engine has to do after a call: write `bytes`, report them written
// with onEgressDrained(), and call tick() after `waitMs`.
struct XferStep
{
    QByteArray bytes;    // to write now; at most one frame, may be empty
    bool done = false;   // the transfer completed
    bool failed = false; // the transfer ended in failure or cancellation
    XferError error = XferError::None;
    QString message;    // user-facing text of the failure
    qint32 waitMs = -1; // until the next tick(); -1 stops the timer
};

struct XferProgress
{
    qint64 bytesDone = 0;   // acknowledged (sending) or written to the sink (receiving)
    qint64 bytesTotal = -1; // -1 when unknown
    qint32 block = 0;       // the number being sent, or the last one accepted
    qint32 retries = 0;     // over the whole transfer
    QString fileName;
};
