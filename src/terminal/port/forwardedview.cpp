#include "terminal/port/forwardedview.h"

#include <QLocale>
#include <utility>

bool ForwardedView::shows(qint64 bytes, qint64 nowMs)
{
    if (!m_use.show)
        return false;
    if (nowMs - m_windowMs >= kWindowMs) {
        // The window before this one was a whole second, or nothing at all came since.
        const bool quiet =
            m_windowBytes <= m_use.muteBytesPerSec || nowMs - m_windowMs >= 2 * kWindowMs;
        if (m_muted && quiet && bytes <= m_use.muteBytesPerSec) {
            m_muted = false;
            m_text = tr("%1 that passed a bridge are not shown.")
                         .arg(QLocale().formattedDataSize(std::exchange(m_mutedBytes, 0)));
        }
        m_windowMs = nowMs;
        m_windowBytes = 0;
    }
    m_windowBytes += bytes;
    if (!m_muted && m_windowBytes > m_use.muteBytesPerSec) {
        m_muted = true;
        m_text = tr("More than %1 a second pass a bridge: they are not shown.")
                     .arg(QLocale().formattedDataSize(m_use.muteBytesPerSec));
    }
    if (m_muted)
        m_mutedBytes += bytes;
    return !m_muted;
}

QString ForwardedView::takeText()
{
    return std::exchange(m_text, {});
}
