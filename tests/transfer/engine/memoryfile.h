#pragma once

#include "transfer/engine/xfersink.h"
#include "transfer/engine/xfersource.h"

#include "terminal/text/chunking.h"

#include <QByteArray>

// A file to send, in memory, with the ways in which a real one fails.
class MemorySource final : public XferSource
{
public:
    explicit MemorySource(const QByteArray& content = {})
        : bytes(content)
    {}

    qint64 size() const override { return bytes.size(); }
    QByteArray read(qint64 offset, qint64 length) override
    {
        return bytes.mid(offset, qMin<qint64>(length, longestRead));
    }
    bool readFailed() const override { return failing; }
    bool stillIntact() const override { return intact; }

    QByteArray bytes;
    qint64 longestRead = 4096;
    bool failing = false;
    bool intact = true;
};

// A file being received, in memory, with the ways in which a real one fails.
class MemorySink final : public XferSink
{
public:
    bool open(const XferFileMeta& meta) override
    {
        ++opened;
        openedWith = meta;
        return !openFails;
    }
    bool write(QByteArrayView data) override
    {
        bytes.append(data);
        return !writeFails;
    }
    bool commit(qint64 expectedSize) override
    {
        ++committed;
        committedSize = expectedSize;
        return !commitFails;
    }

    QByteArray bytes;
    XferFileMeta openedWith;
    qint64 committedSize = -2;
    int opened = 0;
    int committed = 0;
    bool openFails = false;
    bool writeFails = false;
    bool commitFails = false;
};
