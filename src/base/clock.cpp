#include "base/clock.h"

#include <QElapsedTimer>

qint64 monotonicMs()
{
    static const QElapsedTimer timer = [] {
        QElapsedTimer started;
        started.start();
        return started;
    }();
    return timer.elapsed();
}

QDateTime localTimeNow()
{
    static QDateTime now;
    static qint64 nowMs = 0;
    if (const qint64 ms = QDateTime::currentMSecsSinceEpoch(); ms != nowMs) {
        nowMs = ms;
        now = QDateTime::fromMSecsSinceEpoch(ms);
    }
    return now;
}
