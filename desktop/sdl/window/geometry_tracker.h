#pragma once
// What the application has been told of the window's geometry, and which of the desktop's reports
// are news to it. The desktop reports late: after we asked for a geometry, reports of older ones
// still arrive, and the echo of the request itself.
//
// Position and size are judged separately, because they can be reported separately.

#include <vector>

#include "desktop/sdl/window/geometry.h"

namespace moxi {

struct GeometryTracker {
    struct Outlived {
        ScreenArea area;
        u64 until;  // nanoseconds; later it counts as a change like any other
    };

    ScreenArea known;                // content area that the application was told or asked for
    std::vector<Outlived> outlived;  // geometries that a request has taken the place of
    u64 heldUntil = 0;               // a request is being answered; 0 when none is
};

struct GeometryChange {
    bool moved = false;    // the content's bottom-left corner
    bool resized = false;  // the content's size
};

// How long after a request nothing is news. A change of the user's that came just before it is
// being undone then and is reported all the same; one that came just after it is still there
// afterwards.
constexpr u64 kHoldNanoseconds = 100'000'000;
// How long reports of an outlived geometry are taken for late ones.
constexpr u64 kEchoNanoseconds = 500'000'000;

// The application asks for `asked`. Answers what changes for it.
GeometryChange AskGeometry(GeometryTracker& tracker, const ScreenArea& asked, u64 now);
// The request has been given to the desktop only now.
void HoldNews(GeometryTracker& tracker, u64 now);
// The desktop shows `actual`. Answers what is news, and `known` then holds it.
GeometryChange ObserveGeometry(GeometryTracker& tracker, const ScreenArea& actual, u64 now);
// When ObserveGeometry is to be called again without a report; kNever (common/timers.h) for never.
u64 NextObservation(const GeometryTracker& tracker);

// Where the window manager has the window, as of one moment.
struct Placement {
    ScreenArea content;
    Borders borders;   // around it, as the window manager says
    ScreenArea frame;  // the window that the content lies in, if only in itself
};

// A window manager changes frame, content and borders one after the other, and on a busy machine
// much can happen between. What is to be seen meanwhile is neither the window before nor the one
// after; frames that fit their content tell when it is over.
struct FrameWatch {
    bool framesFit = false;  // at the last look the frame fitted its content and borders
    u64 waitUntil = 0;       // a change is under way; 0 when none is
    u64 nextLook = 0;        // meaningful with waitUntil
};

// How long a window manager may take from the first part of a change to the last.
constexpr u64 kFrameNanoseconds = 1'000'000'000;
// The same for window managers whose frames are larger than what is seen of them, and tell nothing.
constexpr u64 kBordersNanoseconds = 30'000'000;
constexpr u64 kFrameLookNanoseconds = 5'000'000;

// Whether a change is under way and had better not be told: `known` are the borders that have been
// told, `reported` the content that the desktop's reports speak of. When it is, ask again at
// NextFrameLook or earlier.
bool IsFrameChanging(FrameWatch& watch, const Placement& placement, const Borders& known,
                     const ScreenArea& reported, u64 now);
// kNever (common/timers.h) when no change is under way.
u64 NextFrameLook(const FrameWatch& watch);
}  // namespace moxi
