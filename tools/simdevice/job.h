#pragma once

#include <QByteArray>
#include <QByteArrayView>

namespace simdevice {

/// Something that a command starts and that goes on after it: it produces output as room and time
/// allow, swallows input, or both, until it is done. No clock inside; `nowMs` is monotonic.
class Job
{
    Q_DISABLE_COPY_MOVE(Job)

public:
    Job() = default;
    virtual ~Job() = default;

    /// Appends at most `room` bytes to `output`.
    virtual void produce(QByteArray* output, qsizetype room, qint64 nowMs);

    /// Takes payload bytes from the front and returns their number. Only called when swallows().
    virtual qsizetype swallow(QByteArrayView bytes, qint64 nowMs);
    virtual bool swallows() const { return false; }

    /// Commands are still read while it runs, to end it with "AT+STOP".
    virtual bool listens() const { return false; }

    virtual bool done() const = 0;

    /// Milliseconds until produce() has something to do; -1 when time alone changes nothing.
    virtual qint64 nextTimeoutMs(qint64 nowMs) const;

    /// Result line for the client, sent before OK, also after "AT+STOP".
    virtual QByteArray summary() const = 0;
};

/// "AT+DUMP": `count` bytes that run through all 256 values from 0, again and again.
class DumpJob final : public Job
{
public:
    explicit DumpJob(qint64 count);

    void produce(QByteArray* output, qsizetype room, qint64 nowMs) override;
    bool done() const override { return m_sent == m_count; }
    qint64 nextTimeoutMs(qint64 nowMs) const override;
    QByteArray summary() const override;

private:
    const qint64 m_count;
    qint64 m_sent = 0;
};

/// "AT+FLOOD": numbered text lines at a steady rate, rate times seconds bytes in all.
///
/// Credit grows with time and is spent by whole lines (the last one is cut so that the total is
/// exact). Credit is capped at `kBurstMs` worth of bytes plus a line: after a pause in which the
/// reader was slow, the flood goes on at its rate instead of making up for lost time. So no span of
/// t milliseconds carries more than rate * t / 1000 bytes plus that cap.
class FloodJob final : public Job
{
public:
    static constexpr qint64 kLineLength = 64; ///< with CR LF
    static constexpr qint64 kBurstMs = 50;
    static constexpr qint64 kTickMs = 5;

    /// `rate` in bytes per second and `seconds`, both above 0.
    FloodJob(qint64 rate, qint64 seconds, qint64 nowMs);

    void produce(QByteArray* output, qsizetype room, qint64 nowMs) override;
    bool listens() const override { return true; }
    bool done() const override { return m_sent == m_total; }
    qint64 nextTimeoutMs(qint64 nowMs) const override;
    QByteArray summary() const override;

    /// Most bytes that can leave at once.
    qint64 burst() const;

private:
    qint64 nextLength() const { return qMin(kLineLength, m_total - m_sent); }

    const qint64 m_rate;
    const qint64 m_total;
    qint64 m_sent = 0;
    qint64 m_creditMilliBytes = 0; ///< bytes times 1000, so that low rates do not lose fractions
    qint64 m_lastMs;
};

/// "AT+GAP": half a line, silence, the other half.
class GapJob final : public Job
{
public:
    GapJob(qint64 gapMs, qint64 nowMs);

    void produce(QByteArray* output, qsizetype room, qint64 nowMs) override;
    bool done() const override { return m_step == 2; }
    qint64 nextTimeoutMs(qint64 nowMs) const override;
    QByteArray summary() const override { return {}; }

private:
    const qint64 m_resumeMs;
    int m_step = 0;
};

/// "AT+SINK": swallows `count` bytes and reports their number and CRC-32. Ends early, with the
/// smaller number, when nothing has come for `silenceMs`: the way out for who asked for too many.
class SinkJob final : public Job
{
public:
    static constexpr qint64 kSilenceMs = 30'000;

    SinkJob(qint64 count, qint64 nowMs);

    void produce(QByteArray* output, qsizetype room, qint64 nowMs) override;
    qsizetype swallow(QByteArrayView bytes, qint64 nowMs) override;
    bool swallows() const override { return true; }
    bool done() const override { return m_taken == m_count || m_silent; }
    qint64 nextTimeoutMs(qint64 nowMs) const override;
    QByteArray summary() const override;

private:
    const qint64 m_count;
    qint64 m_taken = 0;
    qint64 m_lastMs;
    bool m_silent = false;
    quint32 m_crc = 0;
};

} // namespace simdevice
