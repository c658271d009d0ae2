#include "terminal/pane/activityblink.h"

int ActivityBlink::flash()
{
    if (m_running) {
        m_blinkAgain = true;
        return 0;
    }
    m_running = true;
    m_lit = true;
    return kOnMs;
}

int ActivityBlink::timerEnded()
{
    if (m_lit) {
        m_lit = false;
        m_running = m_blinkAgain;
        return m_running ? kOffMs : 0;
    }
    m_running = m_blinkAgain;
    m_lit = m_blinkAgain;
    m_blinkAgain = false;
    return m_running ? kOnMs : 0;
}
