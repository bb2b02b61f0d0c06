#include "desktop/sdl/window/geometry_tracker.h"

#include <algorithm>

#include "desktop/common/timers.h"

namespace moxi {

namespace {

bool SamePosition(const ScreenArea& a, const ScreenArea& b) {
    return a.x == b.x && a.y + a.height == b.y + b.height;
}

bool SameCorner(const ScreenArea& a, const ScreenArea& b) {
    return a.x == b.x && a.y == b.y;
}

bool SameSize(const ScreenArea& a, const ScreenArea& b) {
    return a.width == b.width && a.height == b.height;
}

GeometryChange Compare(const ScreenArea& before, const ScreenArea& after) {
    return {!SamePosition(before, after), !SameSize(before, after)};
}

}  // namespace

GeometryChange AskGeometry(GeometryTracker& tracker, const ScreenArea& asked, u64 now) {
    const GeometryChange change = Compare(tracker.known, asked);
    tracker.outlived.push_back({tracker.known, now + kEchoNanoseconds});
    tracker.known = asked;
    HoldNews(tracker, now);
    return change;
}

void HoldNews(GeometryTracker& tracker, u64 now) {
    tracker.heldUntil = now + kHoldNanoseconds;
}

GeometryChange ObserveGeometry(GeometryTracker& tracker, const ScreenArea& actual, u64 now) {
    if (now < tracker.heldUntil) {
        return {};
    }
    tracker.heldUntil = 0;
    std::erase_if(tracker.outlived, [now](const auto& each) { return each.until <= now; });

    // Reports speak of the top-left corner, so that is what tells an old position.
    ScreenArea news = tracker.known;
    const auto isLate = [&tracker](const ScreenArea& area,
                                   bool (*same)(const ScreenArea&, const ScreenArea&)) {
        return std::any_of(tracker.outlived.begin(), tracker.outlived.end(),
                           [&](const auto& each) { return same(each.area, area); });
    };
    if (!SameSize(actual, tracker.known) && !isLate(actual, SameSize)) {
        news.width = actual.width;
        news.height = actual.height;
    }
    if (!SameCorner(actual, tracker.known) && !isLate(actual, SameCorner)) {
        news.x = actual.x;
        news.y = actual.y;
    }
    const GeometryChange change = Compare(tracker.known, news);
    tracker.known = news;
    return change;
}

u64 NextObservation(const GeometryTracker& tracker) {
    if (tracker.heldUntil != 0) {
        return tracker.heldUntil;
    }
    u64 next = kNever;
    for (const auto& each : tracker.outlived) {
        next = std::min(next, each.until);
    }
    return next;
}

namespace {

bool IsInPieces(FrameWatch& watch, const Placement& placement, const Borders& known,
                const ScreenArea& reported) {
    const bool fits = WithBorders(placement.content, placement.borders) == placement.frame;
    watch.framesFit = watch.framesFit || fits;
    const bool differs = placement.borders != known;
    if (!watch.framesFit) {
        return differs;
    }
    // Reports of the content come later than the borders can be asked for.
    return !fits || (differs && reported != placement.content);
}

}  // namespace

bool IsFrameChanging(FrameWatch& watch, const Placement& placement, const Borders& known,
                     const ScreenArea& reported, u64 now) {
    if (!IsInPieces(watch, placement, known, reported)) {
        watch.waitUntil = 0;
        return false;
    }
    if (watch.waitUntil == 0) {
        watch.waitUntil = now + (watch.framesFit ? kFrameNanoseconds : kBordersNanoseconds);
    }
    watch.nextLook = std::min(now + kFrameLookNanoseconds, watch.waitUntil);
    if (now < watch.waitUntil) {
        return true;
    }
    // A window that is rolled up has a frame like that for as long as it pleases the user.
    watch.framesFit = false;
    watch.waitUntil = 0;
    return false;
}

u64 NextFrameLook(const FrameWatch& watch) {
    return watch.waitUntil != 0 ? watch.nextLook : kNever;
}
}  // namespace moxi
