#pragma once

#include <QElapsedTimer>
#include <QTimer>

#include <algorithm>
#include <vector>

// How long the event loop is held: a timer of 1 ms, and how much too late it comes.
class LoopProbe final
{
public:
    LoopProbe()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] {
            m_lateMs.push_back(std::max(0.0, double(m_clock.nsecsElapsed()) / 1e6 - 1));
            m_clock.start();
        });
        m_clock.start();
        m_timer.start(1);
    }

    [[nodiscard]] std::vector<double> lateMs() const { return m_lateMs; }

    // What a part of the values, from 0 to 1, does not exceed.
    static double percentile(std::vector<double> values, double part)
    {
        if (values.empty())
            return 0;
        std::ranges::sort(values);
        return values[std::min(values.size() - 1, std::size_t(double(values.size()) * part))];
    }

private:
    QTimer m_timer;
    QElapsedTimer m_clock;
    std::vector<double> m_lateMs;
};
