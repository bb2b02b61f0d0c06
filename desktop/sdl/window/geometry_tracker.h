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
        Area area;
        u64 until;  // nanoseconds; later it counts as a change like any other
    };

    Area known;                      // content area that the application was told or asked for
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
GeometryChange AskGeometry(GeometryTracker& tracker, const Area& asked, u64 now);
// The request has been given to the desktop only now.
void HoldNews(GeometryTracker& tracker, u64 now);
// The desktop shows `actual`. Answers what is news, and `known` then holds it.
GeometryChange ObserveGeometry(GeometryTracker& tracker, const Area& actual, u64 now);
// When ObserveGeometry is to be called again without a report; kNever (timers.h) for never.
u64 NextObservation(const GeometryTracker& tracker);

}  // namespace moxi
