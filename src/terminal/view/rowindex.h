#pragma once

#include "terminal/view/textstore.h"

#include <deque>

// How many rows stand in front of a place, for the scroll bar: counted as if every character took
// one column, which is exact for ASCII and near enough elsewhere. The view itself is exact about
// the rows it shows and asks this only where the bar's handle is.
//
// A mark every `spacing` characters keeps what was counted, so a question looks through the line
// feeds of one stretch only, and new text is counted once. Bounded by the text: one mark for each
// stretch of it.
class RowIndex final
{
public:
    // The store must outlive this object.
    explicit RowIndex(const TextStore& store)
        : m_store(store)
    {}

    // Characters in a row; counts anew from here.
    void setRowLength(qint64 characters);

    // Rows of the text in front of the row of a held position.
    [[nodiscard]] qint64 rowAt(qint64 position);
    // Where about that row starts.
    [[nodiscard]] qint64 positionAt(qint64 row);

private:
    static constexpr qint64 kSpacing = 65'536;

    // What is known at one place: rows of the lines that ended before it, start of the open line.
    struct Mark
    {
        qint64 rows = 0;
        qint64 lineStart = 0;
    };

    void update();
    void moveFront();
    [[nodiscard]] Mark advanced(Mark mark, qint64 from, qint64 to) const;
    [[nodiscard]] qint64 rowsOf(qint64 length) const;
    // The front of the text is number 0, then come the marks.
    [[nodiscard]] Mark markAt(qint64 number) const;
    [[nodiscard]] qint64 placeOf(qint64 number) const;
    [[nodiscard]] qint64 rowAtMark(qint64 number) const;

    const TextStore& m_store;
    qint64 m_rowLength = 1;
    Mark m_front;
    qint64 m_frontPosition = -1; // none yet
    qint64 m_base = 0;           // multiple of the spacing, at or before the front
    std::deque<Mark> m_marks;    // one at every multiple behind the base
};
