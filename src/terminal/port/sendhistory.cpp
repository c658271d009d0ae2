#include "terminal/port/sendhistory.h"

void SendHistory::add(const QString& text)
{
    if (text.isEmpty())
        return;
    if (m_entries.size() > kTrimLength)
        m_entries.removeLast();
    m_entries.removeAll(text);
    m_entries.prepend(text);
}

void SendHistory::setEntries(const QStringList& entries)
{
    m_entries = entries.mid(0, kMaxEntries);
}

QStringList SendHistory::labels() const
{
    QStringList labels;
    labels.reserve(m_entries.size());
    for (const QString& entry : m_entries)
        labels.append(entry.left(kLabelLength));
    return labels;
}
