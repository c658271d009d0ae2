#pragma once

#include "terminal/view/linecuts.h"
#include "terminal/view/rowlayout.h"

#include <memory>
#include <unordered_map>

// A row of the text as it is shown.
struct TextRow
{
    TextSegment segment;
    std::shared_ptr<const RowLayout> layout;
    int row = 0; // of the segment

    [[nodiscard]] qint64 from() const { return segment.from + layout->rowStart(row); }
    [[nodiscard]] qint64 to() const { return segment.from + layout->rowEnd(row); }
    [[nodiscard]] bool endsLine() const
    {
        return segment.endsLine && row + 1 == layout->rowCount();
    }
    [[nodiscard]] int offsetOf(qint64 position) const
    {
        return static_cast<int>(position - segment.from);
    }
};

// The text as rows: finds the row of a position and walks from row to row. Lays out only what it
// is asked for, and keeps the layouts of what was asked for last.
class TextFlow final
{
public:
    // Characters of plain text, or what takes as much memory, in one half of the kept layouts. A
    // large screen full of lines that are not wrapped can have as many; of wrapped ones it has a
    // few thousand.
    static constexpr qint64 kKeptCost = 262'144;

    // The store must outlive this object.
    explicit TextFlow(const TextStore& store)
        : m_store(store)
        , m_cuts(store)
    {}

    void setStyle(const std::shared_ptr<const RowStyle>& style);
    [[nodiscard]] const RowStyle& style() const { return *m_style; }

    // The row that holds a position; a held one next to a position that is not.
    [[nodiscard]] TextRow rowAt(qint64 position);
    // False, and no change, at the ends of the text.
    bool goNext(TextRow& row);
    bool goPrevious(TextRow& row);
    // `count` rows further, or back when it is negative; as far as there are rows.
    [[nodiscard]] TextRow moved(TextRow row, qint64 count);

private:
    struct Kept
    {
        qint64 to = 0;
        std::shared_ptr<const RowLayout> layout;
    };

    [[nodiscard]] std::shared_ptr<const RowLayout> layoutOf(const TextSegment& segment);

    const TextStore& m_store;
    LineCuts m_cuts;
    std::shared_ptr<const RowStyle> m_style;
    // By where the segment starts. When the newer half is full, it becomes the older one, and what
    // nobody asked for since the last time is gone.
    std::unordered_map<qint64, Kept> m_newer;
    std::unordered_map<qint64, Kept> m_older;
    qint64 m_cost = 0; // of the newer ones
};
