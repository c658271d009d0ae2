#pragma once

#include "terminal/port/displaysink.h"

#include <QList>

// A display that is one string, and remembers how it was told.
class StringSink final : public DisplaySink
{
public:
    struct Append
    {
        QString text;
        Ink ink = Ink::Plain;
        bool operator==(const Append&) const = default;
    };

    void append(const QString& appended, Ink ink, const QList<HexSpan>& spans) override
    {
        text += appended;
        appends.append({appended, ink});
        for (const HexSpan& span : spans)
            digits += QStringView(appended).sliced(span.from, span.to - span.from);
    }
    void trimFront(qint64 characters) override
    {
        longest = qMax<qint64>(longest, text.size());
        if (characters < text.size() && text.at(characters).isLowSurrogate())
            ++characters; // the texts of the tests hold whole pairs
        text.remove(0, characters);
        trims.append(characters);
    }
    void clearText() override { text.clear(); }
    qint64 textLength() const override { return text.size(); }
    void forceScrollToEnd() override { ++forcedScrolls; }

    QString text;
    QList<Append> appends;
    QString digits; // that stand for bytes
    QList<qint64> trims;
    qint64 longest = 0; // text before a trim
    int forcedScrolls = 0;
};
