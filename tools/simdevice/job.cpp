#include "simdevice/job.h"

#include "simdevice/crc32.h"

#include <QStringBuilder>

#include <algorithm>

namespace simdevice {

void Job::produce(QByteArray* /*output*/, qsizetype /*room*/, qint64 /*nowMs*/) {}

qsizetype Job::swallow(QByteArrayView /*bytes*/, qint64 /*nowMs*/)
{
    return 0;
}

qint64 Job::nextTimeoutMs(qint64 /*nowMs*/) const
{
    return -1;
}

DumpJob::DumpJob(qint64 count)
    : m_count(count)
{}

void DumpJob::produce(QByteArray* output, qsizetype room, qint64 /*nowMs*/)
{
    for (qsizetype end = qMin<qint64>(room, m_count - m_sent); end > 0; --end) {
        output->append(static_cast<char>(m_sent++ & 0xFF));
    }
}

qint64 DumpJob::nextTimeoutMs(qint64 /*nowMs*/) const
{
    return 0;
}

QByteArray DumpJob::summary() const
{
    return {};
}

FloodJob::FloodJob(qint64 rate, qint64 seconds, qint64 nowMs)
    : m_rate(rate)
    , m_total(rate * seconds)
    , m_lastMs(nowMs)
{}

qint64 FloodJob::burst() const
{
    return kLineLength + m_rate * kBurstMs / 1000;
}

void FloodJob::produce(QByteArray* output, qsizetype room, qint64 nowMs)
{
    m_creditMilliBytes = std::min(burst() * 1000, m_creditMilliBytes + (nowMs - m_lastMs) * m_rate);
    m_lastMs = nowMs;
    while (!done() && nextLength() * 1000 <= m_creditMilliBytes && nextLength() <= room) {
        const auto length = nextLength();
        QByteArray line = QByteArray::number(m_sent).rightJustified(10, '0') + ' ';
        const auto first = m_sent / kLineLength;
        while (line.size() < kLineLength) {
            line.append(static_cast<char>('A' + (first + line.size()) % 26));
        }
        line.truncate(qMax<qint64>(0, length - 2));
        output->append(line).append(length > 1 ? "\r\n" : "\n");
        m_sent += length;
        m_creditMilliBytes -= length * 1000;
        room -= length;
    }
}

qint64 FloodJob::nextTimeoutMs(qint64 nowMs) const
{
    const auto missing = nextLength() * 1000 - m_creditMilliBytes;
    const auto due = m_lastMs + (std::max<qint64>(missing, 0) + m_rate - 1) / m_rate;
    return std::max(kTickMs, due - nowMs);
}

QByteArray FloodJob::summary() const
{
    return "+FLOOD: " + QByteArray::number(m_sent) + " bytes sent";
}

GapJob::GapJob(qint64 gapMs, qint64 nowMs)
    : m_resumeMs(nowMs + gapMs)
{}

void GapJob::produce(QByteArray* output, qsizetype /*room*/, qint64 nowMs)
{
    if (m_step == 0) {
        output->append("+GAP: first half");
        m_step = 1;
    }
    if (m_step == 1 && nowMs >= m_resumeMs) {
        output->append(", second half\r\n");
        m_step = 2;
    }
}

qint64 GapJob::nextTimeoutMs(qint64 nowMs) const
{
    return std::max<qint64>(0, m_resumeMs - nowMs);
}

SinkJob::SinkJob(qint64 count, qint64 nowMs)
    : m_count(count)
    , m_lastMs(nowMs)
{}

void SinkJob::produce(QByteArray* /*output*/, qsizetype /*room*/, qint64 nowMs)
{
    m_silent = nowMs - m_lastMs >= kSilenceMs;
}

qint64 SinkJob::nextTimeoutMs(qint64 nowMs) const
{
    return std::max<qint64>(0, m_lastMs + kSilenceMs - nowMs);
}

qsizetype SinkJob::swallow(QByteArrayView bytes, qint64 nowMs)
{
    m_lastMs = nowMs;
    const auto taken = qMin<qint64>(bytes.size(), m_count - m_taken);
    m_crc = crc32(m_crc, bytes.first(taken));
    m_taken += taken;
    return taken;
}

QByteArray SinkJob::summary() const
{
    return "+SINK: " + QByteArray::number(m_taken) + ","
           + QByteArray::number(m_crc, 16).toUpper().rightJustified(8, '0');
}

} // namespace simdevice
