#pragma once

#include "terminal/view/textsource.h"

// A text source that is a plain string.
class StringSource final : public TextSource
{
public:
    [[nodiscard]] qint64 firstPosition() const override { return m_first; }
    [[nodiscard]] qint64 endPosition() const override { return m_first + m_text.size(); }
    [[nodiscard]] QString textAt(qint64 position, qint64 count) const override
    {
        return m_text.mid(position - m_first, count);
    }

    void append(const QString& text) { m_text += text; }
    void trim(qint64 count)
    {
        m_text.remove(0, count);
        m_first += count;
    }
    [[nodiscard]] const QString& text() const { return m_text; }

private:
    QString m_text;
    qint64 m_first = 0;
};
