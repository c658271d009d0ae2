#pragma once

#include "transfer/engine/xferfilemeta.h"
#include "transfer/engine/xferstep.h"

#include <QByteArrayView>
#include <QtGlobal>
#include <optional>

class XferSink;
class XmodemLine;

// The receiving role: asks for the transfer, checks every block and writes it to the sink. Its
// rules stand in xmodemreceiver.cpp. Owned by XmodemCodec, works on the codec's line; the sink is
// the session's.
class XmodemReceiver final
{
public:
    explicit XmodemReceiver(XmodemLine& line);
    ~XmodemReceiver() = default;

    void setSink(XferSink* sink) { m_sink = sink; }
    void setReceiveLimit(qint64 bytes) { m_receiveLimit = bytes; }

    XferStep begin(const XferFileMeta& meta, qint64 now);
    // Consumes the input until a frame is incomplete or something has to be written.
    XferStep receiverPump(qint64 now);
    // The deadline has passed.
    XferStep receiverTick(qint64 now);
    XferProgress progress() const;

private:
    XferStep takeControl(char byte, qint64 now);
    bool followedByOtherThan(char first, char second) const;
    std::optional<XferStep> takeFrame(qint64 now);
    XferStep rejectFrame(std::optional<quint8> number, qsizetype length, qint64 now);
    XferStep rejectBlock(qint64 now);
    XferStep receiverAcceptBlock(quint8 number, QByteArrayView data, qint64 now);
    XferStep acceptHeader(QByteArrayView data, qint64 now);
    XferStep acceptData(quint8 number, QByteArrayView data, qint64 now);
    XferStep receiverHandleEot(qint64 now);
    XferStep retryHandshake(qint64 now);
    XferStep repeatRequest(qint64 now);

    XferStep sendStart(qint64 now);
    XferStep acknowledge(qint64 now);
    XferStep acknowledgeRepetition(qint64 now);
    XferStep ignoreRepetition(qint64 now);
    bool crossed() const;
    void noteAnswer(qint64 now);
    void addDebris(qsizetype bytes);
    XferStep replyWithStart(qint64 now);
    XferStep reply(const QByteArray& bytes, qint64 now);
    XferStep failSinkOpen(bool sendCancel);
    bool openSink();
    bool sizeReached() const;

    XmodemLine& m_line;
    XferSink* m_sink = nullptr;
    bool m_sinkOpen = false;
    XferFileMeta m_meta;
    qint64 m_announcedSize = -1; // from a YMODEM header
    qint64 m_receiveLimit = 0;
    qint64 m_bytesReceived = 0;
    quint8 m_blockNumber = 0; // the one expected next
    std::optional<quint8> m_lastAccepted;
    qsizetype m_debris = 0; // unusable bytes since the last good block, up to a block's worth
    bool m_requestedAgain = false;        // a time-out's NAK is out and nothing has answered it
    std::optional<qint64> m_answeredAt;   // when the first block came behind such a NAK
    std::optional<qint64> m_frameBeganAt; // when the head at the front of the input came
    qint32 m_handshakeAttempts = 0;
    qint64 m_startedAt = 0;

    Q_DISABLE_COPY_MOVE(XmodemReceiver)
};
