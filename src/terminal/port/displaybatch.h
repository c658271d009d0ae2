#pragma once

#include "terminal/port/displaysink.h"

// Text of one ink on its way to one append: few large appends cost far less than many.
struct DisplayBatch
{
    QString text;
    Ink ink = Ink::Plain;
    QList<HexSpan> bytes; // in the text

    // The last characters of the text stand for bytes.
    void noteBytes(qsizetype characters)
    {
        const qsizetype from = text.size() - characters;
        if (!bytes.isEmpty() && bytes.constLast().to == from)
            bytes.last().to = text.size();
        else
            bytes.append({from, text.size()});
    }
};
