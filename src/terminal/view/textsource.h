#pragma once

#include <QString>

// Read access to a text that grows at its end and loses characters at its front. Positions are
// absolute: the number of characters (UTF-16 code units) that came before, counted from the first
// one ever appended. They only grow, so a position stays right, or falls below firstPosition(),
// whatever is appended or removed meanwhile. A line feed ends a line and counts one.
class TextSource
{
public:
    virtual ~TextSource() = default;

    // Position of the first character still held; also the number of characters removed so far.
    [[nodiscard]] virtual qint64 firstPosition() const = 0;
    // Position after the last character.
    [[nodiscard]] virtual qint64 endPosition() const = 0;
    // The text of [position, position + count), cut to what is held. Costs by its length only.
    [[nodiscard]] virtual QString textAt(qint64 position, qint64 count) const = 0;
};
