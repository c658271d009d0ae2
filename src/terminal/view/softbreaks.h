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
    static constexpr qint64 rowLimit = 2048;

    // Returns the text with a line feed put in at every cut and notes the cuts. `position` is
    // where the text will stand, `rowLength` how long the last row is already. A cut never parts
    // a surrogate pair, nor a letter from its combining marks unless there are dozens of them.
    [[nodiscard]] QString fold(const QString& text, qint64 position, qint64 rowLength);
    // Takes the row breaks out of a piece of the document that starts at a position.
    void unfold(QString& piece, qint64 position) const;
    // The document's first character is now the one at `position`.
    void removeUpTo(qint64 position);

    // Characters that the document has more than the text.
    [[nodiscard]] qint64 count() const { return static_cast<qint64>(cuts_.size()); }
    // Document character at a position: after a cut that stands there (a range starts here), or
    // before it (a range ends here).
    [[nodiscard]] qint64 startInDocument(qint64 position) const;
    [[nodiscard]] qint64 endInDocument(qint64 position) const;
    [[nodiscard]] qint64 toPosition(qint64 character) const;

private:
    std::deque<qint64> cuts_; // ascending; each stands in front of the character at its position
    qint64 first_ = 0;        // position of the document's first character
};
