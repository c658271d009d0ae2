#pragma once

#include "terminal/view/textflow.h"

// Where the reader is: at the bottom, which moves with the text, or at a place, which stays the
// top row whatever arrives, until it is removed at the front.
class ReadingPlace final
{
public:
    // Both must outlive this object.
    ReadingPlace(const TextStore& store, TextFlow& flow)
        : store_(store)
        , flow_(flow)
    {}

    // Rows that are seen whole, at least 1.
    void setPageRows(int rows) { pageRows_ = qMax(rows, 1); }
    [[nodiscard]] int pageRows() const { return pageRows_; }

    [[nodiscard]] bool isAtBottom() const { return follows_; }
    [[nodiscard]] TextRow top() const;

    void scrollToEnd() { follows_ = true; }
    // The row of a position becomes the top one, or the last page is shown.
    void scrollTo(qint64 position);
    void scrollBy(qint64 rows);
    // To be called when text was removed, and when rows or the page have changed.
    void settle();

private:
    [[nodiscard]] TextRow lastTop() const;

    const TextStore& store_;
    TextFlow& flow_;
    int pageRows_ = 1;
    bool follows_ = true;
    qint64 top_ = 0;
};
