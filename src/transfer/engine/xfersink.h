#pragma once

#include "transfer/engine/xferfilemeta.h"

#include <QByteArrayView>

// The file being received, as the engine sees it. Each call says whether it succeeded; after a
// failure the engine ends the transfer and calls nothing more.
class XferSink
{
public:
    virtual ~XferSink() = default;

    // Once per transfer, before the first write.
    virtual bool open(const XferFileMeta& meta) = 0;
    // Appends. The view is valid only during the call.
    virtual bool write(QByteArrayView bytes) = 0;
    // Makes the file final, at most once. `expectedSize` is what the sender announced, -1 when
    // it announced nothing.
    virtual bool commit(qint64 expectedSize) = 0;

protected:
    XferSink() = default;
    Q_DISABLE_COPY_MOVE(XferSink)
};
