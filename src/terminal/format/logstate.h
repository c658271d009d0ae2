#pragma once

#include "terminal/format/displaystate.h"

// What the formatter remembers of the text recorded so far. It is kept apart from the view's:
// recording starts and ends on its own, and a cleared view does not end a line of the log.
struct LogState
{
    DisplayState line;
};
