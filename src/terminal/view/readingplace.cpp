#include "terminal/view/readingplace.h"

#include <algorithm>

bool ReadingPlace::isAtBottom() const
{
    return m_follows && (!m_held || top().from() >= lastTop().from());
}

TextRow ReadingPlace::top() const
{
    if (m_follows && !m_held)
        return lastTop();
    // Down by a page as far as there are rows, and back.
    return m_flow.moved(m_flow.moved(m_flow.rowAt(m_top), m_pageRows - 1), 1 - m_pageRows);
}

TextRow ReadingPlace::lastTop() const
{
    return m_flow.moved(m_flow.rowAt(m_store.endPosition()), 1 - m_pageRows);
}

void ReadingPlace::scrollTo(qint64 position)
{
    m_top = std::clamp(position, m_store.firstPosition(), m_store.endPosition());
    m_follows = m_flow.rowAt(m_top).from() >= lastTop().from();
}

void ReadingPlace::scrollBy(qint64 rows)
{
    scrollTo(m_flow.moved(top(), rows).from());
}

void ReadingPlace::stay()
{
    m_top = top().from();
    m_follows = false;
}

void ReadingPlace::hold(qint64 top)
{
    m_top = std::max(top, m_store.firstPosition());
    m_held = true;
}

void ReadingPlace::settle()
{
    m_top = std::max(m_top, m_store.firstPosition());
    // Nothing is left that the reader could have been at.
    if (m_store.firstPosition() == m_store.endPosition())
        m_follows = true;
}
