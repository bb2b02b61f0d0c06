// Lines and the line pattern.

#include <algorithm>
#include <bit>

#include "gfx/bitmap.h"
#include "gfx/draw.h"
#include "gfx/kernels.h"
#include "gfx/patience.h"
#include "gfx/pixel.h"
#include "vm/guard.h"

namespace moxi {

namespace {

constexpr u32 kSolidLine = 0xFFFFFFFF;

constinit u32 linePattern = kSolidLine;

// Bit 31 decides about a position; the pattern rotates left by one.
bool TakePatternBit(u32& pattern) {
    const bool plot = pattern >> 31 != 0;
    pattern = std::rotl(pattern, 1);
    return plot;
}

// Consecutive positions of a line: position i is at (x, y) + i steps on the major axis, and
// on the minor axis one step more each time the error gets positive.
struct Walk {
    i64 x, y;
    i64 majorX, majorY;  // step of every position
    i64 minorX, minorY;  // further step when the error is positive
    i64 error, errorStay, errorStep;
    i64 count;
};

template <class Visit>
void WalkLine(Walk walk, Visit visit) {
    constexpr i64 kMostSteps = 4096;
    while (walk.count > 0) {
        const i64 steps = std::min(walk.count, kMostSteps);
        NoteDrawing(static_cast<u64>(steps));
        walk.count -= steps;
        for (i64 step = 0; step < steps; ++step) {
            visit(walk.x, walk.y);
            walk.x += walk.majorX;
            walk.y += walk.majorY;
            if (walk.error >= 1) {
                walk.x += walk.minorX;
                walk.y += walk.minorY;
                walk.error += walk.errorStep;
            } else {
                walk.error += walk.errorStay;
            }
        }
    }
}

// A box around the walk, which moves on the minor axis at most as far as on the major one.
Area BoxAround(const Walk& walk, const Area& clip) {
    const i64 steps = walk.count - 1;
    const i64 spanX = (walk.majorX + walk.minorX) * steps;
    const i64 spanY = (walk.majorY + walk.minorY) * steps;
    const Area box = {walk.x + std::min<i64>(spanX, 0), walk.y + std::min<i64>(spanY, 0),
                      walk.x + std::max<i64>(spanX, 0) + 1, walk.y + std::max<i64>(spanY, 0) + 1};
    // A single point need not lie inside the clip; everything longer does.
    return steps == 0 ? box : Intersect(box, clip);
}

// Faults where plotting the positions of a walk would leave the image.
void RequireWalk(const Selection& selection, const Walk& walk, u32& pattern) {
    if (walk.count <= 0) {
        return;
    }
    if (Reaches(selection, BoxAround(walk, ClipArea(selection)))) {
        pattern = std::rotl(pattern, static_cast<int>(walk.count % 32));
        return;
    }
    WalkLine(walk, [&](i64 x, i64 y) {
        if (TakePatternBit(pattern)) {
            RequireArea(selection, {x, y, x + 1, y + 1});
        }
    });
}

// Draws the positions of a walk, all of which may be plotted.
void PlotWalk(const Selection& selection, const Walk& walk, u32 colour) {
    if (walk.count <= 0) {
        return;
    }
    if (!Reaches(selection, BoxAround(walk, ClipArea(selection)))) {
        if (selection.host) {
            // Only a single point gets here, in a row that the bitmap does not have.
            TakePatternBit(linePattern);
            return;
        }
        u32 pattern = linePattern;
        RequireWalk(selection, walk, pattern);
    }
    const BlendColour blend = PrepareBlend(colour);
    if (walk.majorX == 1 && walk.minorY == 0 && linePattern == kSolidLine) {
        NoteDrawing(static_cast<u64>(walk.count));
        kernels->fill(PixelAt(selection, walk.x, walk.y), 0, static_cast<std::size_t>(walk.count),
                      1, colour);
        return;
    }
    u32 pattern = linePattern;
    WalkLine(walk, [&](i64 x, i64 y) {
        if (TakePatternBit(pattern)) {
            BlendPixelAt(PixelAt(selection, x, y), blend);
        }
    });
    linePattern = pattern;
}

// The positions first..last of the straight run from `start` towards `end` on one axis, cut to
// [low, high] each on the side that it can be cut from. They may end before they begin.
struct Run {
    i64 start, end, step;
    i64 Count() const { return std::max<i64>((end - start) * step + 1, 0); }
};

Run CutRun(i64 start, i64 end, i64 low, i64 high) {
    if (start <= end) {
        return {std::max(start, low), std::min(end, high), 1};
    }
    return {std::min(start, high), std::max(end, low), -1};
}

// Position i of a diagonal has made (2 * minor * i + major - 1) / (2 * major) minor steps; the
// first position that has made at least `steps` of them.
i64 FirstWithMinorSteps(i64 steps, i64 major, i64 minor) {
    if (steps <= 0) {
        return 0;
    }
    const WideInt needed = WideInt{2} * major * steps - major + 1;
    return static_cast<i64>((needed + WideInt{2} * minor - 1) / (WideInt{2} * minor));
}

struct ClippedAxis {
    i64 start, length, step, low, high;  // low and high: the clip's first and last position
    // The number of steps after which the axis enters the clip, and leaves it.
    i64 Enter() const { return step > 0 ? low - start : start - high; }
    i64 Leave() const { return (step > 0 ? high - start : start - low) + 1; }
};

// The part of a diagonal inside the clip.
Walk ClipDiagonal(const ClippedAxis& major, const ClippedAxis& minor, bool xIsMajor) {
    const i64 first = std::max(
        {i64{0}, major.Enter(), FirstWithMinorSteps(minor.Enter(), major.length, minor.length)});
    i64 end = std::min(major.length + 1, major.Leave());
    const i64 minorLeave = minor.Leave();
    if (minorLeave <= 0) {
        end = 0;
    } else {
        end = std::min(end, FirstWithMinorSteps(minorLeave, major.length, minor.length));
    }
    if (first >= end) {
        return {};
    }
    const WideInt reached = WideInt{2} * minor.length * first;
    const i64 minorSteps =
        static_cast<i64>((reached + major.length - 1) / (WideInt{2} * major.length));
    const i64 error = static_cast<i64>(reached + WideInt{2} * minor.length - major.length -
                                       WideInt{2} * major.length * minorSteps);
    const i64 a = major.start + major.step * first;
    const i64 b = minor.start + minor.step * minorSteps;
    Walk walk = {};
    walk.x = xIsMajor ? a : b;
    walk.y = xIsMajor ? b : a;
    (xIsMajor ? walk.majorX : walk.majorY) = major.step;
    (xIsMajor ? walk.minorY : walk.minorX) = minor.step;
    walk.error = error;
    walk.errorStay = 2 * minor.length;
    walk.errorStep = 2 * (minor.length - major.length);
    walk.count = end - first;
    return walk;
}

i32 Difference(i64 a, i64 b) {
    return static_cast<i32>(static_cast<u32>(a) - static_cast<u32>(b));
}

struct Growth {
    i32 x, y, w, h;
};

// The positions of a line that may be plotted, and what the dirty rectangle grows by; false for a
// line that does not even do that.
bool MakeWalk(const Selection& selection, i32 x1, i32 y1, i32 x2, i32 y2, Walk& walk,
              Growth& growth) {
    const Area clip = ClipArea(selection);
    const bool rowInside = y1 >= clip.top && y1 < clip.bottom;
    const bool columnInside = x1 >= clip.left && x1 < clip.right;
    if (x1 != x2 && y1 != y2) {
        const i64 dx = i64{x2} - x1;
        const i64 dy = i64{y2} - y1;
        const ClippedAxis x = {x1, std::abs(dx), dx > 0 ? 1 : -1, clip.left, clip.right - 1};
        const ClippedAxis y = {y1, std::abs(dy), dy > 0 ? 1 : -1, clip.top, clip.bottom - 1};
        const bool xIsMajor = x.length >= y.length;
        walk = ClipDiagonal(xIsMajor ? x : y, xIsMajor ? y : x, xIsMajor);
        growth = {x1, y1, Difference(x2, x1), Difference(y2, y1)};
    } else if (x1 != x2) {
        if (!rowInside) {
            return false;
        }
        const Run run = CutRun(x1, x2, clip.left, clip.right - 1);
        walk = {run.start, y1, run.step, 0, 0, 0, 0, 0, 0, run.Count()};
        growth = {static_cast<i32>(run.start), y1, Difference(run.end, run.start), 1};
    } else if (y1 != y2) {
        if (!columnInside) {
            return false;
        }
        const Run run = CutRun(y1, y2, clip.top, clip.bottom - 1);
        walk = {x1, run.start, 0, run.step, 0, 0, 0, 0, 0, run.Count()};
        growth = {x1, static_cast<i32>(run.start), 1, Difference(run.end, run.start)};
    } else {
        // A single point is not tested against the clip's rows.
        if (!columnInside) {
            return false;
        }
        walk = {x1, y1, 0, 0, 0, 0, 0, 0, 0, 1};
        growth = {x1, y1, 1, 0};
    }
    return true;
}

bool DrawLine(u32 handle, i32 x1, i32 y1, i32 x2, i32 y2, u32 colour, Growth& growth) {
    StartDST(handle);
    Walk walk = {};
    const bool drawn = MakeWalk(dstSelection, x1, y1, x2, y2, walk, growth);
    if (drawn) {
        PlotWalk(dstSelection, walk, colour);
    }
    EndDST();
    return drawn;
}

}  // namespace

void LineWithoutGrowth(u32 handle, i32 x1, i32 y1, i32 x2, i32 y2, u32 colour) {
    Growth growth = {};
    DrawLine(handle, x1, y1, x2, y2, colour, growth);
}

void Line(u32 handle, i32 x1, i32 y1, i32 x2, i32 y2, u32 colour) {
    Growth growth = {};
    const bool drawn = DrawLine(handle, x1, y1, x2, y2, colour, growth);
    if (drawn && handle == kScreenBitmap) {
        GrowDirtyRect(growth.x, growth.y, growth.w, growth.h);
    }
}

void RequireLine(const Selection& selection, const LineEnds& ends, u32& pattern) {
    Walk walk = {};
    Growth growth = {};
    if (MakeWalk(selection, ends.x1, ends.y1, ends.x2, ends.y2, walk, growth)) {
        RequireWalk(selection, walk, pattern);
    }
}

u32 LinePattern() {
    return linePattern;
}

u32 SetLinePattern(u32 pattern) {
    const u32 former = linePattern;
    linePattern = pattern;
    return former;
}

void ResetLinePattern() {
    linePattern = kSolidLine;
}

}  // namespace moxi
