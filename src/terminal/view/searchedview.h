#pragma once

#include "terminal/view/textsource.h"

#include <QList>
#include <utility>
#include <vector>

class QWidget;

// What the find bar needs of a view: its text, what can be seen of it, and marks in it.
class SearchedView : public TextSource
{
public:
    struct Highlight
    {
        qint64 position = 0;
        qint64 length = 0;
        bool current = false;
    };

    [[nodiscard]] virtual QWidget& widget() = 0;
    [[nodiscard]] virtual qint64 selectionLength() const = 0;
    [[nodiscard]] virtual QString selectedText() const = 0;
    // Positions of the first and after the last character that can be seen (whole lines).
    [[nodiscard]] virtual std::pair<qint64, qint64> visibleRange() const = 0;
    // The characters that can be seen, row by row, ascending.
    [[nodiscard]] virtual std::vector<std::pair<qint64, qint64>> visibleSpans() const = 0;
    // Marks text until the next call; meant for visible text only.
    virtual void setHighlights(const QList<Highlight>& highlights) = 0;
    // Scrolls only when the text is not in sight, then to the middle.
    virtual void showPosition(qint64 position, qint64 length) = 0;
};
