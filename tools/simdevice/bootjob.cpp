#include "simdevice/bootjob.h"

#include "simdevice/crc32.h"

#include <utility>

namespace simdevice {

bool Image::open(const XferFileMeta& /*meta*/)
{
    m_bytes.clear();
    return true;
}

bool Image::write(QByteArrayView bytes)
{
    m_bytes.append(bytes);
    return true;
}

bool Image::commit(qint64 expectedSize)
{
    if (expectedSize >= 0) {
        m_bytes.truncate(expectedSize);
    }
    return true;
}

BootJob::BootJob(Direction direction, XferProtocol protocol, Image& image, qint64 nowMs)
    : m_direction(direction)
    , m_image(image)
    , m_codec(
          direction == Direction::Receive ? XmodemCodec::Role::Receiver : XmodemCodec::Role::Sender,
          protocol, XferConfig::kLongBlock)
{
    m_codec.setSink(&image);
    m_codec.setSource(&image);
    m_codec.setReceiveLimit(Image::kMaxBytes);
    take(m_codec.begin({QStringLiteral("image.bin"), image.size(), 0}, nowMs));
}

void BootJob::take(const XferStep& step)
{
    m_pending += step.bytes;
    m_over = m_over || step.done || step.failed;
    if (step.failed) {
        m_failure = step.message;
    }
}

void BootJob::produce(QByteArray* output, qsizetype room, qint64 nowMs)
{
    if (m_draining && output->isEmpty()) {
        m_draining = false;
        take(m_codec.onEgressDrained(nowMs));
    }
    if (!m_draining && !m_over) {
        take(m_codec.tick(nowMs));
    }
    if (!m_pending.isEmpty() && room >= m_pending.size()) {
        output->append(std::exchange(m_pending, {}));
        m_draining = true;
    }
}

qsizetype BootJob::swallow(QByteArrayView bytes, qint64 nowMs)
{
    if (!m_over) {
        take(m_codec.receive(bytes, nowMs));
    }
    return bytes.size();
}

qint64 BootJob::nextTimeoutMs(qint64 nowMs) const
{
    return m_draining ? -1 : m_pending.isEmpty() ? m_codec.remainingMs(nowMs) : 0;
}

QByteArray BootJob::summary() const
{
    const QByteArray name = m_direction == Direction::Receive ? "+BOOT: " : "+READ: ";
    if (!m_failure.isEmpty()) {
        return name + m_failure.toUtf8();
    }
    return name + QByteArray::number(m_image.size()) + " bytes, CRC-32 "
           + QByteArray::number(crc32(0, m_image.bytes()), 16).rightJustified(8, '0').toUpper();
}

} // namespace simdevice
