#pragma once

#include "terminal/view/displaysink.h"

#include <QList>

// A display that is one string, and remembers how it was told.
class StringSink final : public DisplaySink
{
public:
    struct Append
    {
        QString text;
        std::optional<QColor> color;
        bool operator==(const Append&) const = default;
    };

    void appendText(const QString& appended, const std::optional<QColor>& color) override
    {
        text += appended;
        appends.append({appended, color});
    }
    void trimFront(qint64 characters) override
    {
        text.remove(0, characters);
        trims.append(characters);
    }
    void clearText() override { text.clear(); }
    qint64 textLength() const override { return text.size(); }
    void forceScrollToEnd() override { ++forcedScrolls; }

    QString text;
    QList<Append> appends;
    QList<qint64> trims;
    int forcedScrolls = 0;
};
