// Ellipses.
//
// The walk goes from the top and bottom centre outwards and inwards at once, in doubled units so
// that an even size has a centre of two pixels. Its decision variables are 32-bit words that wrap
// and are compared as signed numbers: on very large ellipses they overflow, and the shape that this
// gives is the shape that modules get. Some never come to an end: one 11 wide and 65,537 high.

#include <algorithm>

#include "gfx/bitmap.h"
#include "gfx/draw.h"
#include "gfx/kernels.h"
#include "gfx/patience.h"
#include "gfx/pixel.h"
#include "vm/guard.h"

namespace moxi {

namespace {

i32 Plus(i32 a, i32 b) {
    return static_cast<i32>(static_cast<u32>(a) + static_cast<u32>(b));
}

bool IsNegative(u32 word) {
    return static_cast<i32>(word) < 0;
}

// Puts what the walk draws into the bitmap.
struct Painter {
    const Selection& selection;
    Area clip;
    u32 fillColour;
    BlendColour outlineColour;

    void Fill(i32 left, i32 right, i32 y) const {
        const Area span = Intersect({left, y, i64{right} + 1, i64{y} + 1}, clip);
        if (span.Empty()) {
            return;
        }
        NoteDrawing(static_cast<u64>(span.right - span.left));
        kernels->fill(PixelAt(selection, span.left, y), 0,
                      static_cast<std::size_t>(span.right - span.left), 1, fillColour);
    }
    void Outline(i32 x, i32 y) const {
        if (Intersect({x, y, i64{x} + 1, i64{y} + 1}, clip).Empty()) {
            return;
        }
        BlendPixelAt(PixelAt(selection, x, y), outlineColour);
    }
};

// Faults where the painter would leave the image.
struct Checker {
    const Selection& selection;
    Area clip;

    void Fill(i32 left, i32 right, i32 y) const {
        RequireArea(selection, Intersect({left, y, i64{right} + 1, i64{y} + 1}, clip));
    }
    void Outline(i32 x, i32 y) const { Fill(x, x, y); }
};

template <class Sink>
void WalkEllipse(i32 x, i32 y, i32 w, i32 h, bool filled, const Sink& sink) {
    const i32 evenWidth = w % 2 == 0 ? 1 : 0;
    const i32 evenHeight = h % 2 == 0 ? 1 : 0;
    const u32 halfHeight = static_cast<u32>((i64{h} - evenHeight) / 2);
    i32 left = Plus(x, static_cast<i32>((i64{w} - evenWidth) / 2));
    i32 right = Plus(left, evenWidth);
    i32 top = y;
    i32 bottom = Plus(Plus(y, evenHeight), static_cast<i32>(2 * halfHeight));

    const auto outlinePair = [&](i32 row) {
        sink.Outline(left, row);
        if (left != right) {
            sink.Outline(right, row);
        }
    };
    outlinePair(top);
    if (bottom != top) {
        outlinePair(bottom);
    }

    const u32 doubledWidth = static_cast<u32>(w) - 1 - static_cast<u32>(evenWidth);
    const u32 doubledHeight = static_cast<u32>(h) - 1 - static_cast<u32>(evenHeight);
    const u32 aa = doubledWidth * doubledWidth;
    const u32 bb = doubledHeight * doubledHeight;
    u32 m = halfHeight * aa;
    const u32 p = bb / 2 + bb;
    const u32 q = aa / 2 + aa;
    const u32 r = bb / 2 + bb + aa;
    u32 e1 = bb / 4 + aa / 2 - m;
    u32 e2 = aa / 4 + bb / 2 - (aa / 2) * halfHeight;
    u32 s = 0;
    while (bottom > top) {
        NoteDrawing(kPixelsOfAStep);
        bool fillRows = false;
        if (IsNegative(e2)) {
            e2 += p + s;
            s += bb;
            e1 += s;
            left = Plus(left, -1);
            right = Plus(right, 1);
        } else if (IsNegative(e1)) {
            e2 += r + s - m;
            s += bb;
            e1 += q - m + s;
            m -= aa;
            ++top;
            --bottom;
            left = Plus(left, -1);
            right = Plus(right, 1);
            fillRows = filled;
        } else {
            e1 += q - m;
            m -= aa;
            e2 -= m;
            ++top;
            fillRows = filled && bottom > top;
            --bottom;
        }
        if (fillRows) {
            sink.Fill(Plus(left, 1), Plus(right, -1), top);
            if (top != bottom) {
                sink.Fill(Plus(left, 1), Plus(right, -1), bottom);
            }
        }
        if (bottom >= top) {
            outlinePair(top);
        }
        if (bottom > top) {
            outlinePair(bottom);
        }
    }
}

}  // namespace

void Ellipse(u32 handle, i32 x, i32 y, i32 w, i32 h, u32 fill, u32 frame) {
    const u32 outline = AlphaOf(frame) != 0 ? frame : fill;
    if (w == 0 || h == 0) {
        // Neither the exchange of red and blue nor the dirty rectangle belongs to this line.
        LineWithoutGrowth(handle, x, y, Plus(x, w), Plus(y, h), outline);
        return;
    }
    StartDST(handle);
    const bool filled = AlphaOf(fill) != 0;
    const Area clip = ClipArea(dstSelection);
    if (!clip.Empty()) {
        if (!Reaches(dstSelection, clip)) {
            WalkEllipse(x, y, w, h, filled, Checker{dstSelection, clip});
        }
        WalkEllipse(x, y, w, h, filled,
                    Painter{dstSelection, clip, ExchangeRedBlue(fill),
                            PrepareBlend(ExchangeRedBlue(outline))});
    }
    EndDST();
    // The height is the width as well: modules have come to rely on the area redrawn.
    if (handle == kScreenBitmap) {
        GrowDirtyRect(x, y, Plus(w, 1), Plus(w, 1));
    }
}

}  // namespace moxi
