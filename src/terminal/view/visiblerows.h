#pragma once

#include "terminal/view/textflow.h"

#include <QRect>

// The rows in sight, from the top of a viewport to its bottom, and what lies where. Points are in
// pixels from the left end of the rows and from the top of the viewport.
class VisibleRows final
{
public:
    // Above the first row; the owner keeps the same to the left.
    static constexpr int kMargin = 4;

    // Takes as many rows as the height shows, the last one perhaps in part; at least one.
    void collect(const TextRow& top, TextFlow& flow, int height);

    [[nodiscard]] const std::vector<TextRow>& rows() const { return m_rows; }
    // From the start of the segment of the first row to the end of the last one's.
    [[nodiscard]] std::pair<qint64, qint64> range() const;
    // What of each row lies between two x, from its first to after its last character; whole rows
    // where letters run in more than one direction.
    [[nodiscard]] std::vector<std::pair<qint64, qint64>> spansBetween(
        double left, double right) const;
    // Number of the row that holds a position, -1 when it is not in sight.
    [[nodiscard]] int indexOf(qint64 position) const;
    [[nodiscard]] int topOf(int index) const { return kMargin + index * m_rowHeight; }
    [[nodiscard]] int rowHeight() const { return m_rowHeight; }
    // Place between characters next to a point, and the character under it.
    [[nodiscard]] qint64 caretAt(QPoint point) const;
    [[nodiscard]] qint64 characterAt(QPoint point) const;
    // Null when the position is not in sight.
    [[nodiscard]] QRect caretArea(qint64 position) const;

    // Whether every letter stays within its row; those of other fonts may reach over it.
    [[nodiscard]] bool allPlain() const;

    // What the picture of rows needs to become that of others: all of it moves up by so many rows,
    // down when negative, and then these stretches of it are drawn anew.
    struct Change
    {
        struct Rows
        {
            int first = 0;
            int count = 0;
        };
        int up = 0;
        std::vector<Rows> stale; // ascending
    };
    // Both in the same style, in a viewport of that height. A text that only grows at its end and
    // shrinks at its front looks the same wherever it has the same segments.
    [[nodiscard]] Change changeSince(const VisibleRows& before, int height) const;

private:
    static constexpr int kCaretWidth = 2;

    [[nodiscard]] const TextRow& rowUnder(int y) const;

    std::vector<TextRow> m_rows;
    int m_rowHeight = 1;
};
