#pragma once

#include <QString>

// What one end tells the other about a file, as far as the protocol can carry it.
struct XferFileMeta
{
    QString name;     // without directory; empty when unknown
    qint64 size = -1; // bytes; -1 when unknown
    qint64 mtime = 0; // seconds since the Unix epoch; 0 when unknown

    bool operator==(const XferFileMeta&) const = default;
};
