#include "terminal/view/readingplace.h"

#include <algorithm>

bool ReadingPlace::isAtBottom() const
{
    return follows_ && (!held_ || top().from() >= lastTop().from());
}

TextRow ReadingPlace::top() const
{
    if (follows_ && !held_)
        return lastTop();
    // Down by a page as far as there are rows, and back.
    return flow_.moved(flow_.moved(flow_.rowAt(top_), pageRows_ - 1), 1 - pageRows_);
}

TextRow ReadingPlace::lastTop() const
{
    return flow_.moved(flow_.rowAt(store_.endPosition()), 1 - pageRows_);
}

void ReadingPlace::scrollTo(qint64 position)
{
    top_ = std::clamp(position, store_.firstPosition(), store_.endPosition());
    follows_ = flow_.rowAt(top_).from() >= lastTop().from();
}

void ReadingPlace::scrollBy(qint64 rows)
{
    scrollTo(flow_.moved(top(), rows).from());
}

void ReadingPlace::stay()
{
    top_ = top().from();
    follows_ = false;
}

void ReadingPlace::hold(qint64 top)
{
    top_ = std::max(top, store_.firstPosition());
    held_ = true;
}

void ReadingPlace::settle()
{
    top_ = std::max(top_, store_.firstPosition());
    // Nothing is left that the reader could have been at.
    if (store_.firstPosition() == store_.endPosition())
        follows_ = true;
}
