#include "terminal/port/repeatsender.h"

#include "settings/settingscodec.h"

#include <QDebug>
#include <algorithm>
#include <utility>

RepeatSender::RepeatSender(Pane pane, QObject* parent)
    : QObject(parent)
    , m_pane(std::move(pane))
    , m_timer(this)
{
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setInterval(1000);
    connect(&m_timer, &QTimer::timeout, this, &RepeatSender::tick);
}

RepeatSender::~RepeatSender() = default;

void RepeatSender::setInterval(qint32 interval, qint32 unit)
{
    const qint64 wanted = SettingsCodec::sendIntervalToMs(interval, unit);
    const int ms = static_cast<int>(std::clamp<qint64>(wanted, kMinIntervalMs, kMaxIntervalMs));
    // Setting the same interval would put off the tick that is due.
    if (ms == m_timer.interval())
        return;
    m_timer.setInterval(ms);
    qDebug() << "Update sendTimer interval to" << ms;
}

void RepeatSender::setEnabled(bool on)
{
    if (std::exchange(m_enabled, on) == on)
        return;
    if (!on)
        m_timer.stop();
    else if (m_state != RunState::Stopped)
        m_timer.start();
}

void RepeatSender::paneStarted()
{
    m_lineIndex = 0;
    m_state = RunState::Running;
    if (m_enabled && !m_timer.isActive())
        m_timer.start();
}

void RepeatSender::paneHalted(RunState state)
{
    m_state = state;
    m_timer.stop();
}

void RepeatSender::tick()
{
    if (!m_enabled || !m_pane.isOpen())
        return;
    if (m_pane.pendingBytes() > 0) {
        if (!std::exchange(m_skipTold, true))
            Q_EMIT skipped();
        return;
    }
    m_skipTold = false;
    QString message = m_pane.text();
    if (m_lineByLine) {
        const QStringList lines = message.split(u'\n');
        message = lines.at(m_lineIndex % lines.size());
        ++m_lineIndex;
    }
    if (!message.isEmpty())
        m_pane.send(message);
}
