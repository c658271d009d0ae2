#include "terminal/view/readingplace.h"

#include <algorithm>

TextRow ReadingPlace::top() const
{
    return follows_ ? lastTop() : flow_.rowAt(top_);
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

void ReadingPlace::settle()
{
    if (!follows_)
        scrollTo(top_);
}
