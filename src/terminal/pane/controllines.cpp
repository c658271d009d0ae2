#include "terminal/pane/controllines.h"

#include "terminal/pane/controllinerow.h"

#include <QElapsedTimer>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int messageMs = 5000;

BreakKey::Clock systemClock()
{
    QElapsedTimer timer;
    timer.start();
    return [timer] { return timer.elapsed(); };
}

} // namespace

ControlLines::ControlLines(ControlLineRow& row, Settings& settings,
    std::function<LineDriver*()> driver, BreakKey::Clock clock)
    : m_row(row)
    , m_settings(settings)
    , m_driver(std::move(driver))
    , m_clock(std::move(clock))
    , m_transferOwnsPane([] { return false; })
    , m_break([this](bool on) { return applyBreakLine(on); }, m_clock)
    , m_sentBlink([this](bool lit) { m_row.setSending(lit); })
    , m_receivedBlink([this](bool lit) { m_row.setReceiving(lit); })
{
    m_pollTimer.setInterval(kPollIntervalMs);
    connect(&m_pollTimer, &QTimer::timeout, this, &ControlLines::onControlLinePollTick);
    wireRow();
    wireBreak();
}

ControlLines::ControlLines(
    ControlLineRow& row, Settings& settings, std::function<LineDriver*()> driver)
    : ControlLines(row, settings, std::move(driver), systemClock())
{}

ControlLines::~ControlLines() = default;

void ControlLines::wireRow()
{
    connect(&m_row, &ControlLineRow::shownChanged, this, [this](bool shown) {
        if (shown) {
            m_pollTimer.start();
            refresh();
        } else {
            m_pollTimer.stop();
        }
    });
    connect(&m_row, &ControlLineRow::toggleRequested, this,
        [this](SerialLine line) { toggleRequestedControlLine(line == SerialLine::Dtr); });
    connect(&m_row, &ControlLineRow::breakPressed, this, &ControlLines::pressBreak);
    connect(&m_row, &ControlLineRow::breakReleased, this, &ControlLines::requestBreakRelease);
}

void ControlLines::wireBreak()
{
    connect(&m_break, &BreakKey::pressed, this, [this] {
        m_sentBlink.rest();
        m_row.setBreakActive(true);
        m_row.setBreakCaption(true);
        refresh();
    });
    connect(&m_break, &BreakKey::released, this, [this] {
        m_row.setBreakActive(false);
        refresh();
    });
    connect(&m_break, &BreakKey::captionExpired, this, &ControlLines::restoreTxCaption);
}

void ControlLines::restoreTxCaption()
{
    m_row.setBreakCaption(false);
}

ModemLines ControlLines::modemState() const
{
    LineDriver* driver = m_driver();
    return driver ? driver->inputs() : ModemLines();
}

void ControlLines::onControlLinePollTick()
{
    refresh();
}

void ControlLines::pollIfDue()
{
    if (!m_pollTimer.isActive() && m_clock() - m_lookedMs >= kPollIntervalMs)
        refresh();
}

void ControlLines::refresh()
{
    m_lookedMs = m_clock();
    LineReport report;
    LineDriver* driver = m_driver();
    if (driver) {
        report.inputs = driver->inputs();
        report.sight = driver->sight();
        report.rts = driver->output(SerialLine::Rts, m_settings);
        report.dtr = driver->output(SerialLine::Dtr, m_settings);
    }
    report.inBreak = m_break.isActive();
    if (m_row.isVisible())
        showLamps(driver, report);
    setReport(report);
}

void ControlLines::showLamps(LineDriver* driver, const LineReport& report)
{
    showToolTips();
    if (!driver) {
        m_row.clearLines();
        return;
    }
    // Requested levels are of interest before the port is open, too.
    m_row.setOutput(SerialLine::Rts, report.rts);
    m_row.setOutput(SerialLine::Dtr, report.dtr);
    if (report.sight == LineDriver::Sight::All)
        m_row.setInputs(report.inputs);
    else
        m_row.clearInputs();
}

void ControlLines::setReport(const LineReport& report)
{
    if (m_report == report)
        return;
    m_report = report;
    Q_EMIT reportChanged(m_report);
}

void ControlLines::showToolTips()
{
    const LineDriver* driver = m_driver();
    const bool inert = driver && !driver->inertReason(SerialLine::Break, m_settings).isEmpty();
    QString activity = tr("Lights while data is being sent or received");
    if (inert) {
        activity = u"%1. %2"_s.arg(activity,
            tr("Clear \"Keep the remote port's own config\" to drive RTS, DTR and Break from "
               "here."));
    }
    m_row.setToolTips(driver && !inert ? driver->breakHint() : activity, activity);
}

void ControlLines::toggleRequestedControlLine(bool dtr)
{
    const SerialLine line = dtr ? SerialLine::Dtr : SerialLine::Rts;
    if (refusedByTransfer() || explainInertControlLine(line))
        return;
    bool& level = dtr ? m_settings.dtrOn : m_settings.rtsOn;
    level = !level;
    Q_EMIT levelRequested();
    tell(m_driver()->drive(line, m_settings));
    refresh();
}

bool ControlLines::explainInertControlLine(SerialLine line)
{
    const LineDriver* driver = m_driver();
    const QString reason =
        driver ? driver->inertReason(line, m_settings)
               : tr("Control lines belong to a serial port. This connection does not have one.");
    if (reason.isEmpty())
        return false;
    Q_EMIT statusMessage(reason, messageMs);
    return true;
}

bool ControlLines::refusedByTransfer()
{
    if (!m_transferOwnsPane())
        return false;
    Q_EMIT statusMessage(tr("A file transfer is using this port. Changing the control lines would "
                            "interrupt it."),
        messageMs);
    return true;
}

void ControlLines::pressBreak()
{
    if (!refusedByTransfer() && !explainInertControlLine(SerialLine::Break))
        m_break.pressBreak();
}

bool ControlLines::applyBreakLine(bool on)
{
    LineDriver* driver = m_breakDriver ? m_breakDriver : m_driver();
    if (!driver)
        return false;
    const LineDriver::Answer answer = driver->setBreak(on);
    tell(answer);
    m_breakDriver = on && answer.done ? driver : nullptr;
    return answer.done;
}

void ControlLines::tell(const LineDriver::Answer& answer)
{
    if (!answer.text.isEmpty())
        Q_EMIT statusMessage(answer.text, answer.timeoutMs);
}

void ControlLines::flashActivityLed(Activity activity)
{
    if (activity == Activity::Received)
        m_receivedBlink.flash();
    else if (!m_break.isActive())
        m_sentBlink.flash();
}
