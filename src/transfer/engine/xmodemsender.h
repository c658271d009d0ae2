#pragma once

#include "transfer/engine/xferfilemeta.h"
#include "transfer/engine/xferstep.h"

#include <QByteArray>
#include <QtGlobal>

class XferSource;
class XmodemLine;

// The sending role: follows the receiver's start character, cuts the source into blocks and keeps
// the last frame for resending. Its rules stand in xmodemsender.cpp. Owned by XmodemCodec, works on
// the codec's line; the source is the session's.
class XmodemSender final
{
public:
    XmodemSender(XmodemLine& line, qint32 blockSizeOption);
    ~XmodemSender() = default;

    void setSource(XferSource* source) { m_source = source; }

    XferStep begin(const XferFileMeta& meta, qint64 now);
    // Consumes the input until it is empty or something has to be written.
    XferStep senderPump(qint64 now);
    // The deadline has passed.
    XferStep senderTick(qint64 now);
    XferProgress progress() const;

private:
    enum class Sent { Nothing, Header, Data, Eot, BatchEnd };

    bool answersNothing(char byte);
    XferStep onByte(char byte, qint64 now);
    XferStep onReply(char byte, qint64 now);
    XferStep onAck(qint64 now);
    XferStep senderStartFile(qint64 now);
    XferStep senderEmitNextBlock(qint64 now);
    XferStep sendEot(qint64 now);
    XferStep sendBatchEnd(qint64 now);
    XferStep advance(qint64 now);
    XferStep transmit(const QByteArray& frame, Sent kind, qint64 now);
    XferStep resend(qint64 now);
    XferStep failRead();
    XferStep failStreaming();
    qsizetype blockSize(qint64 remaining) const;

    XmodemLine& m_line;
    const qint32 m_blockSizeOption;
    XferSource* m_source = nullptr;
    XferFileMeta m_meta;
    QByteArray m_lastFrame; // at most one frame of 1029 bytes
    Sent m_lastSentKind = Sent::Nothing;
    qsizetype m_lastBlockDataLen = 0; // file bytes in the last block, without padding
    qint64 m_bytesSent = 0;           // acknowledged file offset
    quint8 m_blockNumber = 0;
    qint32 m_timedOutResends = 0; // of the last frame
    qint32 m_surplusAcks = 0;     // that repetitions of the frame before may still bring
    bool m_acksOnlyEots = false;  // a streaming receiver that answered the header with "G" alone

    Q_DISABLE_COPY_MOVE(XmodemSender)
};
