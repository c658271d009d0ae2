#pragma once

#include "simdevice/job.h"
#include "transfer/engine/xfersink.h"
#include "transfer/engine/xfersource.h"
#include "transfer/engine/xmodemcodec.h"

namespace simdevice {

/// A file in memory, as the boot loader of a small device has it.
class Image final : public XferSink, public XferSource
{
public:
    /// What the device has room for.
    static constexpr qint64 kMaxBytes = 16'777'216;

    bool open(const XferFileMeta& meta) override;
    bool write(QByteArrayView bytes) override;
    bool commit(qint64 expectedSize) override;

    qint64 size() const override { return m_bytes.size(); }
    QByteArray read(qint64 offset, qint64 length) override { return m_bytes.mid(offset, length); }
    bool readFailed() const override { return false; }
    bool stillIntact() const override { return true; }

    const QByteArray& bytes() const { return m_bytes; }
    void setBytes(const QByteArray& bytes) { m_bytes = bytes; }

private:
    QByteArray m_bytes;
};

/// "AT+BOOT" and "AT+READ": takes a new image by XMODEM or YMODEM, or gives the one that it has.
///
/// The engine is the program's own, from the other end. Its output counts as gone when the shell's
/// output has been taken.
class BootJob final : public Job
{
public:
    enum class Direction { Receive, Send };

    BootJob(Direction direction, XferProtocol protocol, Image& image, qint64 nowMs);

    void produce(QByteArray* output, qsizetype room, qint64 nowMs) override;
    qsizetype swallow(QByteArrayView bytes, qint64 nowMs) override;
    bool swallows() const override { return true; }
    bool done() const override { return m_over && m_pending.isEmpty(); }
    qint64 nextTimeoutMs(qint64 nowMs) const override;
    QByteArray summary() const override;

private:
    void take(const XferStep& step);

    const Direction m_direction;
    Image& m_image;
    XmodemCodec m_codec;
    QByteArray m_pending; ///< at most a frame
    QString m_failure;
    bool m_draining = false; ///< a frame has been handed to the shell
    bool m_over = false;
};

} // namespace simdevice
