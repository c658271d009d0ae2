#pragma once

#include "simdevice/bootjob.h"
#include "simdevice/lineeditor.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

#include <array>
#include <memory>

namespace simdevice {

/// What the simulated device says and does: an engine without port, timer or clock.
///
/// States: idle (lines are read, echoed and executed; a sensor line falls due every interval) and
/// working on one Job, which a command starts and which ends by itself or by "AT+STOP". While a job
/// runs the sensor is silent, so that what the job sends can be counted exactly.
///
/// The owner calls feed() with what arrived and advance() when nextTimeoutMs() has passed or when
/// output was taken; after each call it writes output() and reports with consume() what went out.
/// Time is monotonic milliseconds and never runs backwards.
class Shell final
{
    Q_DISABLE_COPY_MOVE(Shell)

public:
    struct Options
    {
        bool sensor = true;
        int sensorIntervalMs = 200; ///< kMinSensorIntervalMs to kMaxSensorIntervalMs
    };

    /// Most bytes that output() holds. Below kReplyReserve bytes of room no command is read.
    static constexpr qsizetype kOutputCapacity = 32'768;
    static constexpr qsizetype kReplyReserve = 8'192;
    static constexpr int kMinSensorIntervalMs = 10;
    static constexpr int kMaxSensorIntervalMs = 60'000;
    /// With more bytes than this not yet read by anybody, sensor lines wait: who opens the port
    /// after an hour wants to see the device now, not an hour of history.
    static constexpr qsizetype kSensorBacklog = 1024;
    /// A sensor line does not break into a command being typed until the keys have rested this
    /// long.
    static constexpr qint64 kTypingPauseMs = 3000;

    explicit Shell(Options options);
    ~Shell();

    /// Power-on or "ATZ": settings as constructed, line and job dropped, banner.
    void reset(qint64 nowMs);

    /// Returns how many bytes were taken, from the front. Fewer than all while a job that does not
    /// listen is running or while the output has no room for a reply.
    qsizetype feed(QByteArrayView bytes, qint64 nowMs);

    /// Produces what is due. `unread`: bytes already sent that no client has read yet.
    void advance(qint64 nowMs, qsizetype unread);

    const QByteArray& output() const { return m_output; }
    void consume(qsizetype count) { m_output.remove(0, count); }

    /// Milliseconds until advance() has something to do, 0 or more; -1 when only input or room for
    /// output can change anything.
    qint64 nextTimeoutMs(qint64 nowMs) const;

private:
    using Arguments = QList<QByteArray>;
    struct Command;
    static const std::array<Command, 16> kCommands;

    /// Jobs and sensor leave twice the reserve free: commands are answered even while they wait.
    qsizetype roomForData() const { return kOutputCapacity - 2 * kReplyReserve - m_output.size(); }
    bool hasRoomForReply() const { return kOutputCapacity - m_output.size() >= kReplyReserve; }
    bool hasRoomForJob() const { return roomForData() >= FloodJob::kLineLength; }
    void feedLine(char byte, qint64 nowMs);
    void execute(const QByteArray& line, qint64 nowMs);
    void reply(const QByteArray& text);
    void finishJob();
    void advanceSensor(qint64 nowMs, qsizetype unread);

    // Commands: false is answered with the command's usage as a "+CME ERROR".
    bool attention(const Arguments& arguments, qint64 nowMs);
    bool identify(const Arguments& arguments, qint64 nowMs);
    bool echoOff(const Arguments& arguments, qint64 nowMs);
    bool echoOn(const Arguments& arguments, qint64 nowMs);
    bool restart(const Arguments& arguments, qint64 nowMs);
    bool help(const Arguments& arguments, qint64 nowMs);
    bool echoText(const Arguments& arguments, qint64 nowMs);
    bool sensor(const Arguments& arguments, qint64 nowMs);
    bool dump(const Arguments& arguments, qint64 nowMs);
    bool flood(const Arguments& arguments, qint64 nowMs);
    bool stop(const Arguments& arguments, qint64 nowMs);
    bool gap(const Arguments& arguments, qint64 nowMs);
    bool sink(const Arguments& arguments, qint64 nowMs);
    bool utf8(const Arguments& arguments, qint64 nowMs);
    bool boot(const Arguments& arguments, qint64 nowMs);
    bool readImage(const Arguments& arguments, qint64 nowMs);

    const Options m_initial; ///< sanitized: the interval is in range
    Options m_options;
    LineEditor m_editor;
    Image m_image; ///< stays over a restart, as flash memory does
    std::unique_ptr<Job> m_job;
    QByteArray m_output; ///< at most kOutputCapacity bytes
    qint64 m_bootMs = 0;
    qint64 m_nextSensorMs = 0;
    qint64 m_lastInputMs = 0;
    qint64 m_samples = 0;
};

} // namespace simdevice
