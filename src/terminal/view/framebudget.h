#pragma once

#include <QtGlobal>

// Shares the time for drawing among all receive views of the process, so that many ports that
// talk at once leave the processor to the bytes and the event loop to the person.
//
// A view that has something new books its next frame; it may book one at a time. Frames of views
// that are busy together are booked one after the other, each with a distance that keeps drawing
// at `kSharedPart` of the time. A view that is busy alone, and the one in which the person types,
// do not wait for others. A view knows only what its own rows take; its scroll bar and the window
// around it take more than that again, which the shared part allows for. Times are microseconds of
// any one steady clock.
class FrameBudget final
{
public:
    static constexpr qint64 kFrameUs = 16'000;        // no view draws more often
    static constexpr qint64 kTypedFrameUs = 32'000;   // the same while others are busy, too
    static constexpr qint64 kLongestWaitUs = 400'000; // no view waits longer
    static constexpr int kAlonePart = 2;              // one of so many parts of the time
    static constexpr int kSharedPart = 12;

    struct View
    {
        const void* id = nullptr;
        qint64 lastUs = 0; // when its last frame began
        qint64 tookUs = 0; // what that one took
        bool typedIn = false;
    };

    // When the view may draw, now or later.
    qint64 book(const View& view, qint64 nowUs);

    // Books with the budget that all views share; the clock of both is nowUs().
    static int msUntilFrame(const View& view);
    static qint64 nowUs();

private:
    qint64 m_freeUs = 0; // everything until then is booked
    const void* m_lastId = nullptr;
};
