#pragma once

#include <QString>
#include <deque>

// Where the view cuts a line that has no line feed into rows, and the arithmetic between the
// positions of the text (absolute, textsource.h) and the characters of the document that draws
// it, in which every such cut is one character more. Bounded by the text: one entry for each
// rowLimit characters.
class SoftBreaks
{
public:
    // Longest row in UTF-16 code units. Appending lays the last row out anew, so this bounds what
    // a single append costs when the device sends no line feeds.
    static constexpr qint64 rowLimit = 4096;

    // Returns the text with a line feed put in at every cut and notes the cuts. `position` is
    // where the text will stand, `rowLength` how long the last row is already. Never cuts a
    // surrogate pair; cuts between a letter and its combining marks only when there are dozens.
    [[nodiscard]] QString fold(const QString& text, qint64 position, qint64 rowLength);
    // Forgets the cuts at and before a position, which becomes the document's first character.
    void removeUpTo(qint64 position);
    void clear(qint64 position);

    // Cuts within (from, to).
    [[nodiscard]] std::deque<qint64>::const_iterator firstAfter(qint64 position) const;
    [[nodiscard]] std::deque<qint64>::const_iterator end() const { return cuts_.cend(); }
    [[nodiscard]] qint64 count() const { return static_cast<qint64>(cuts_.size()); }

    // Document character of a position (after the cut when one is there), and back.
    [[nodiscard]] qint64 toDocument(qint64 position) const;
    [[nodiscard]] qint64 toPosition(qint64 character) const;

private:
    std::deque<qint64> cuts_; // ascending positions; each cut stands in front of its position
    qint64 first_ = 0;        // position of the document's first character
};
