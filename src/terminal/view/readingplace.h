#pragma once

#include "terminal/view/textflow.h"

// Where the reader is: at the bottom, which moves with the text, or at a place, which stays the
// top row whatever arrives, until it is removed at the front. Only scrolling leads from one to the
// other: a view that is taller for a while, or has smaller letters, shows the last page instead of
// empty rows but keeps the place.
class ReadingPlace final
{
public:
    // Both must outlive this object.
    ReadingPlace(const TextStore& store, TextFlow& flow)
        : m_store(store)
        , m_flow(flow)
    {}

    // Rows that are seen whole, at least 1.
    void setPageRows(int rows) { m_pageRows = qMax(rows, 1); }
    [[nodiscard]] int pageRows() const { return m_pageRows; }

    [[nodiscard]] bool isAtBottom() const;
    [[nodiscard]] TextRow top() const;

    // While the rows are held, that is when the hold ends.
    void scrollToEnd() { m_follows = true; }
    // The row of a position becomes the top one, or the last page is shown.
    void scrollTo(qint64 position);
    void scrollBy(qint64 rows);
    // What is shown now stays, whatever arrives.
    void stay();
    // Between hold() and release() only scrolling moves the rows, so that what a person points at
    // stays under the pointer while text arrives. `top` is where the rows are held.
    void hold(qint64 top);
    void release() { m_held = false; }
    // To be called when text was removed.
    void settle();

private:
    [[nodiscard]] TextRow lastTop() const;

    const TextStore& m_store;
    TextFlow& m_flow;
    int m_pageRows = 1;
    bool m_follows = true;
    bool m_held = false;
    qint64 m_top = 0;
};
