#pragma once

#include <QByteArray>

// The file being sent, as the engine sees it: random access and two questions about its health.
class XferSource
{
public:
    virtual ~XferSource() = default;

    // Bytes to send, fixed for the transfer.
    virtual qint64 size() const = 0;
    // Up to `length` bytes from `offset`. Fewer than the size promises counts as a failed read.
    virtual QByteArray read(qint64 offset, qint64 length) = 0;
    // Whether the last read() met an error.
    virtual bool readFailed() const = 0;
    // Whether the file is unchanged since it was opened.
    virtual bool stillIntact() const = 0;

protected:
    XferSource() = default;
    Q_DISABLE_COPY_MOVE(XferSource)
};
