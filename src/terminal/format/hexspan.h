#pragma once

#include <QtGlobal>

// A part of a text in which every three characters, two digits and a blank, stand for a byte.
struct HexSpan
{
    qsizetype from = 0;
    qsizetype to = 0;

    bool operator==(const HexSpan&) const = default;
};
