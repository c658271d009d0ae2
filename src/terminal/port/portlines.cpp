#include "terminal/port/portlines.h"

#include <utility>

PortLines::PortLines(
    const Settings& settings, std::function<LineDriver*()> driver, MonotonicClock clock)
    : m_settings(settings)
    , m_driver(std::move(driver))
    , m_clock(std::move(clock))
{
    m_pollTimer.setInterval(kPollIntervalMs);
    connect(&m_pollTimer, &QTimer::timeout, this, &PortLines::refresh);
    m_releaseTimer.setSingleShot(true);
    // A coarse timer may be early, and the break too short.
    m_releaseTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_releaseTimer, &QTimer::timeout, this, &PortLines::releaseBreak);
}

PortLines::~PortLines() = default;

ModemLines PortLines::modemState() const
{
    LineDriver* driver = m_driver();
    return driver ? driver->inputs() : ModemLines();
}

void PortLines::refresh()
{
    m_lookedMs = m_clock();
    LineReport report;
    if (LineDriver* driver = m_driver()) {
        report.hasLines = true;
        report.inputs = driver->inputs();
        report.sight = driver->sight();
        report.rts = driver->output(SerialLine::Rts, m_settings);
        report.dtr = driver->output(SerialLine::Dtr, m_settings);
    }
    report.inBreak = m_breakDriver != nullptr;
    if (std::exchange(m_report, report) != report)
        Q_EMIT reportChanged(m_report);
}

void PortLines::refreshIfOld()
{
    if (!m_pollTimer.isActive() && m_clock() - m_lookedMs >= kPollIntervalMs)
        refresh();
}

void PortLines::setWatched(bool on)
{
    m_watchers += on ? 1 : -1;
    if (m_watchers == 0)
        m_pollTimer.stop();
    else if (!m_pollTimer.isActive())
        m_pollTimer.start();
    if (on)
        refresh();
}

bool PortLines::explainInertControlLine(SerialLine line)
{
    const LineDriver* driver = m_driver();
    const QString reason =
        !m_refusal.isEmpty() ? m_refusal
        : driver             ? driver->inertReason(line, m_settings)
                 : tr("Control lines belong to a serial port. This connection does not have one.");
    if (reason.isEmpty())
        return false;
    Q_EMIT noticed(Notice::info(reason, kMessageMs));
    return true;
}

bool PortLines::isInert() const
{
    const LineDriver* driver = m_driver();
    return driver && !driver->inertReason(SerialLine::Break, m_settings).isEmpty();
}

QString PortLines::breakHint() const
{
    const LineDriver* driver = m_driver();
    return driver ? driver->breakHint() : QString();
}

void PortLines::tell(const LineDriver::Answer& answer)
{
    if (!answer.text.isEmpty())
        Q_EMIT noticed(Notice::info(answer.text, answer.timeoutMs));
}

// A press that fails changes nothing, also while the line is still held from the one before.
void PortLines::pressBreak()
{
    if (explainInertControlLine(SerialLine::Break))
        return;
    m_releaseTimer.stop();
    if (applyBreakLine(true))
        m_pressedMs = m_clock();
    else if (m_breakDriver)
        requestBreakRelease();
    refresh();
}

void PortLines::requestBreakRelease()
{
    if (!m_breakDriver)
        return;
    // The clock tells whole milliseconds. Without one more the break may be a part of one short.
    const qint64 rest = m_pressedMs + kMinimumBreakMs + 1 - m_clock();
    if (rest > 0)
        m_releaseTimer.start(int(qMin<qint64>(rest, kMinimumBreakMs + 1)));
    else
        releaseBreak();
}

void PortLines::releaseBreak()
{
    m_releaseTimer.stop();
    if (!m_breakDriver)
        return;
    applyBreakLine(false);
    m_breakDriver = nullptr;
    refresh();
}

// A break ends on the line that it began on, whatever is open by now.
bool PortLines::applyBreakLine(bool on)
{
    LineDriver* driver = m_breakDriver ? m_breakDriver : m_driver();
    if (!driver)
        return false;
    const LineDriver::Answer answer = driver->setBreak(on);
    tell(answer);
    if (on && answer.done)
        m_breakDriver = driver;
    return answer.done;
}
