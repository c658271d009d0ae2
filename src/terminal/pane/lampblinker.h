#pragma once

#include "terminal/pane/activityblink.h"

#include <QTimer>
#include <functional>

// One activity lamp in time: the blink rules with the timer they need. Owned by the pane; `show`
// lights and darkens the lamp.
class LampBlinker final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LampBlinker)

public:
    explicit LampBlinker(std::function<void(bool lit)> show, QObject* parent = nullptr)
        : QObject(parent)
        , m_show(std::move(show))
    {
        m_timer.setSingleShot(true);
        m_timer.setTimerType(Qt::PreciseTimer);
        connect(&m_timer, &QTimer::timeout, this, [this] { follow(m_blink.timerEnded()); });
    }

    ~LampBlinker() override = default;

    // Traffic went by.
    void flash() { follow(m_blink.flash()); }

    // Dark, until the next traffic.
    void rest()
    {
        m_timer.stop();
        m_blink.reset();
        m_show(false);
    }

private:
    void follow(int timerMs)
    {
        m_show(m_blink.isLit());
        if (timerMs > 0)
            m_timer.start(timerMs);
    }

    std::function<void(bool)> m_show;
    ActivityBlink m_blink;
    QTimer m_timer;
};
