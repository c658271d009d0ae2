#pragma once

#include <QString>
#include <QStringList>

// The texts that were sent from one pane, newest first and each once. A plain value; its owner
// stores it with the session.
class SendHistory final
{
public:
    // An insertion first trims to this length, so that the list can hold one more.
    static constexpr qsizetype kTrimLength = 256;
    static constexpr qsizetype kMaxEntries = kTrimLength + 1;
    // Longer entries are listed by their first characters (UTF-16 code units).
    static constexpr qsizetype kLabelLength = 80;

    // Puts the text at the front; an equal entry moves there. Empty texts are no entries.
    void add(const QString& text);
    // Takes over a stored list, newest first, up to the bound.
    void setEntries(const QStringList& entries);
    void clear() { m_entries.clear(); }

    [[nodiscard]] const QStringList& entries() const { return m_entries; }
    // What a list shows for each entry, in the order of entries().
    [[nodiscard]] QStringList labels() const;
    // The whole entry behind a label; empty for an index out of range.
    [[nodiscard]] QString entryAt(qsizetype index) const { return m_entries.value(index); }

private:
    QStringList m_entries; // at most kMaxEntries
};
