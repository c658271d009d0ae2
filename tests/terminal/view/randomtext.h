#pragma once

#include <QRandomGenerator>
#include <QString>
#include <array>

// Text as devices send it, good and bad: letters, line feeds, tabs, combining marks, characters
// beyond U+FFFF, lone surrogates, a line separator, and now and then a run without any line feed.
class RandomText
{
public:
    explicit RandomText(quint32 seed, bool wellFormed = false)
        : m_random(seed)
        , m_wellFormed(wellFormed)
    {}

    int below(int bound) { return m_random.bounded(bound); }

    QString next(int length, const QString& letters = QStringLiteral("abcA .\t"))
    {
        QString text;
        const bool lines = below(4) != 0;
        while (text.size() < length) {
            const int kind = below(60);
            if (kind == 0)
                text += QStringLiteral("e\u0301\u0323");
            else if (kind == 1)
                text += QStringLiteral("\U0001F600");
            else if (kind == 2 && !m_wellFormed)
                text += QChar(below(2) == 0 ? 0xD83D : 0xDE00);
            else if (kind == 3)
                text += QChar(QChar::LineSeparator);
            else if (kind < 6 && lines)
                text += QChar(u'\n');
            else
                text += letters.at(below(static_cast<int>(letters.size())));
        }
        return text;
    }

private:
    QRandomGenerator m_random;
    bool m_wellFormed;
};
