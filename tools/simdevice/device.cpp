#include "simdevice/device.h"

#include <algorithm>

namespace simdevice {

Device::Device(Shell::Options options, QObject* parent)
    : QObject(parent)
    , m_shell(options)
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &Device::pump);
    connect(&m_terminal, &PseudoTerminal::readable, this, &Device::pump);
    connect(&m_terminal, &PseudoTerminal::writable, this, &Device::pump);
    m_clock.start();
}

Device::~Device() = default;

bool Device::start(const QString& linkPath, QString* error)
{
    stop();
    if (!m_terminal.open(error)
        || (!linkPath.isEmpty() && !m_link.set(linkPath, m_terminal.slavePath(), error))) {
        stop();
        return false;
    }
    m_shell.consume(m_shell.output().size());
    m_shell.reset(m_clock.elapsed());
    pump();
    return true;
}

void Device::stop()
{
    m_link.remove();
    m_terminal.close();
    m_timer.stop();
    m_input.clear();
}

void Device::pump()
{
    const auto now = m_clock.elapsed();
    m_input.append(m_terminal.read(kInputCapacity - m_input.size()));
    bool moved = true;
    while (moved) {
        m_shell.advance(now, m_terminal.unread());
        const auto taken = m_shell.feed(m_input, now);
        m_input.remove(0, taken);
        const auto sent = m_terminal.write(m_shell.output());
        m_shell.consume(sent);
        moved = taken > 0 || sent > 0;
    }
    m_terminal.setReading(m_input.size() < kInputCapacity);
    const auto wait = m_shell.nextTimeoutMs(now);
    if (wait >= 0) {
        m_timer.start(static_cast<int>(std::min<qint64>(wait, Shell::kMaxSensorIntervalMs)));
    } else {
        m_timer.stop();
    }
}

} // namespace simdevice
