#pragma once

#include <QString>

// A font as a record keeps it: what was asked for, whether or not this machine has it. Where it is
// drawn it becomes a font that exists, see resolveDisplayFont().
struct DisplayFont
{
    QString family; // empty for the machine's own monospace family
    qint32 pointSize = 12;
    qint32 weight = 400; // 1 to 1000, 400 is plain and 700 bold

    friend bool operator==(const DisplayFont&, const DisplayFont&) = default;
};
