#pragma once

#include <QString>

struct rxData;

// Where a pane's receive pipeline hands what it shows, to be recorded. The pipeline has none while
// nothing records.
class TrafficLog
{
public:
    // Each piece of each record, in the order of the view and filtered as there.
    virtual void logRecord(const rxData& record) = 0;
    // Characters that are not finished yet belong to a stream that has ended.
    virtual void resetTextDecoders() = 0;
    // The peer left and all it sent was logged.
    virtual void forgetPeer(const QString& peer) = 0;

protected:
    // The pipeline does not own it.
    ~TrafficLog() = default;
};
