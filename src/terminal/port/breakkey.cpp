#include "terminal/port/breakkey.h"

#include <utility>

BreakKey::BreakKey(std::function<bool(bool)> apply, Clock clock, QObject* parent)
    : QObject(parent)
    , m_apply(std::move(apply))
    , m_clock(std::move(clock))
{
    for (QTimer* timer : {&m_releaseTimer, &m_captionTimer}) {
        timer->setSingleShot(true);
        // A coarse timer may be early, and the break too short.
        timer->setTimerType(Qt::PreciseTimer);
    }
    connect(&m_releaseTimer, &QTimer::timeout, this, &BreakKey::releaseBreak);
    connect(&m_captionTimer, &QTimer::timeout, this, &BreakKey::captionExpired);
}

BreakKey::~BreakKey() = default;

void BreakKey::pressBreak()
{
    m_releaseTimer.stop();
    m_captionTimer.stop();
    if (!m_apply(true)) {
        // Pressed once more while the line was still held from before, or the caption still shown.
        if (m_hold.isActive())
            releaseBreak();
        else
            Q_EMIT captionExpired();
        return;
    }
    m_hold.press(m_clock());
    Q_EMIT pressed();
}

void BreakKey::requestBreakRelease()
{
    if (!m_hold.isActive())
        return;
    if (const int delayMs = m_hold.releaseDelayMs(m_clock()); delayMs > 0)
        m_releaseTimer.start(delayMs);
    else
        releaseBreak();
}

void BreakKey::releaseBreak()
{
    m_releaseTimer.stop();
    if (!m_hold.isActive())
        return;
    m_apply(false);
    m_hold.release();
    Q_EMIT released();
    if (const int delayMs = m_hold.captionDelayMs(m_clock()); delayMs > 0)
        m_captionTimer.start(delayMs);
    else
        Q_EMIT captionExpired();
}
