#include "terminal/port/ratemeter.h"

#include <QLocale>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;

qint64 RateMeter::sample(qint64 total, qint64 nowMs)
{
    if (m_count > 0 && total < m_samples.at(m_count - 1).total)
        m_count = 0;
    if (m_count == kMaxSamples)
        dropFront();
    m_samples.at(m_count++) = {total, nowMs};
    // One sample at or before the window's edge stays, so that the window is covered.
    while (m_count > 2 && m_samples.at(1).ms <= nowMs - kWindowMs)
        dropFront();
    const Sample& oldest = m_samples.front();
    const qint64 elapsedMs = nowMs - oldest.ms;
    return elapsedMs > 0 ? (total - oldest.total) * 1000 / elapsedMs : 0;
}

void RateMeter::dropFront()
{
    std::move(m_samples.begin() + 1, m_samples.begin() + m_count, m_samples.begin());
    --m_count;
}

QString byteRateText(qint64 bytesPerSecond)
{
    const QLocale locale;
    if (bytesPerSecond < 1000)
        return locale.toString(bytesPerSecond) + " B/s"_L1;
    return locale.formattedDataSize(bytesPerSecond, 1, QLocale::DataSizeSIFormat) + "/s"_L1;
}
