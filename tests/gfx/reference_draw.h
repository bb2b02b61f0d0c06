#pragma once
// Pixels, lines, rectangles and ellipses for the yardstick. `screen` says that the bitmap is the
// screen, whose dirty rectangle grows.

#include <cstdlib>

#include "tests/gfx/reference_bitmap.h"

namespace moxi {

namespace reference {

inline void BlendPixel(World& world, const Bitmap& bitmap, bool screen, i32 x, i32 y, u32 colour) {
    if (bitmap.Contains(x, y)) {
        bitmap.Write(x, y, Blended(bitmap.Read(x, y), colour));
    }
    if (screen) {
        Grow(world, x, y, 1, 1);
    }
}

inline u32 GetPixel(const Bitmap& bitmap, i32 x, i32 y) {
    return bitmap.Contains(x, y) ? bitmap.Read(x, y) : 0;
}

// A position of a line that may be plotted.
inline void PlotPosition(World& world, const Bitmap& bitmap, i32 x, i32 y, u32 colour) {
    if (world.linePattern >= 0x80000000) {
        bitmap.Write(x, y, Blended(bitmap.Read(x, y), colour));
        world.linePattern = world.linePattern * 2 + 1;
    } else {
        world.linePattern = world.linePattern * 2;
    }
}

inline void Line(World& world, const Bitmap& bitmap, bool screen, i32 x1, i32 y1, i32 x2, i32 y2,
                 u32 colour) {
    const i32 clipRight = bitmap.clipX + bitmap.clipWidth - 1;
    const i32 clipBottom = bitmap.clipY + bitmap.clipHeight - 1;
    const bool column = x1 >= bitmap.clipX && x1 <= clipRight;
    const bool row = y1 >= bitmap.clipY && y1 <= clipBottom;
    if (x1 == x2 && y1 == y2) {
        if (!column) {
            return;
        }
        PlotPosition(world, bitmap, x1, y1, colour);
        if (screen) {
            Grow(world, x1, y1, 1, 0);
        }
    } else if (y1 == y2) {
        if (!row) {
            return;
        }
        if (x1 < x2) {
            const i32 start = std::max(x1, bitmap.clipX);
            const i32 end = std::min(x2, clipRight);
            for (i32 x = start; x <= end; ++x) {
                PlotPosition(world, bitmap, x, y1, colour);
            }
            if (screen) {
                Grow(world, start, y1, end - start, 1);
            }
        } else {
            const i32 start = std::min(x1, clipRight);
            const i32 end = std::max(x2, bitmap.clipX);
            for (i32 x = start; x >= end; --x) {
                PlotPosition(world, bitmap, x, y1, colour);
            }
            if (screen) {
                Grow(world, start, y1, end - start, 1);
            }
        }
    } else if (x1 == x2) {
        if (!column) {
            return;
        }
        if (y1 < y2) {
            const i32 start = std::max(y1, bitmap.clipY);
            const i32 end = std::min(y2, clipBottom);
            for (i32 y = start; y <= end; ++y) {
                PlotPosition(world, bitmap, x1, y, colour);
            }
            if (screen) {
                Grow(world, x1, start, 1, end - start);
            }
        } else {
            const i32 start = std::min(y1, clipBottom);
            const i32 end = std::max(y2, bitmap.clipY);
            for (i32 y = start; y >= end; --y) {
                PlotPosition(world, bitmap, x1, y, colour);
            }
            if (screen) {
                Grow(world, x1, start, 1, end - start);
            }
        }
    } else {
        const i32 dx = std::abs(x2 - x1);
        const i32 dy = std::abs(y2 - y1);
        const i32 sx = x2 > x1 ? 1 : -1;
        const i32 sy = y2 > y1 ? 1 : -1;
        const i32 major = std::max(dx, dy);
        const i32 minor = std::min(dx, dy);
        i32 error = 2 * minor - major;
        i32 x = x1;
        i32 y = y1;
        for (i32 i = 0; i <= major; ++i) {
            if (bitmap.InClip(x, y)) {
                PlotPosition(world, bitmap, x, y, colour);
            }
            (dx >= dy ? x : y) += dx >= dy ? sx : sy;
            if (error >= 1) {
                (dx >= dy ? y : x) += dx >= dy ? sy : sx;
                error += 2 * (minor - major);
            } else {
                error += 2 * minor;
            }
        }
        if (screen) {
            Grow(world, x1, y1, x2 - x1, y2 - y1);
        }
    }
}

inline void Rectangle(World& world, const Bitmap& bitmap, bool screen, i32 x, i32 y, i32 w, i32 h,
                      u32 fill, u32 frame) {
    const bool framed = frame >= 0x01000000;
    if (fill >= 0x01000000) {
        const i32 inset = framed ? 1 : 0;
        for (i32 row = y + inset; row < y + h - inset; ++row) {
            for (i32 column = x + inset; column < x + w - inset; ++column) {
                if (bitmap.InClip(column, row)) {
                    bitmap.Write(column, row, Blended(bitmap.Read(column, row), fill));
                }
            }
        }
    }
    if (framed) {
        const i32 right = x + w - 1;
        const i32 bottom = y + h - 1;
        Line(world, bitmap, screen, x, y, right, y, frame);
        Line(world, bitmap, screen, right, y, right, bottom, frame);
        Line(world, bitmap, screen, right, bottom, x, bottom, frame);
        Line(world, bitmap, screen, x, bottom, x, y, frame);
    }
    if (screen) {
        Grow(world, x, y, w, h);
    }
}

inline void Ellipse(World& world, const Bitmap& bitmap, bool screen, i32 x, i32 y, i32 w, i32 h,
                    u32 fill, u32 frame) {
    u32 outline = frame >= 0x01000000 ? frame : fill;
    if (w == 0 || h == 0) {
        Line(world, bitmap, false, x, y, x + w, y + h, outline);
        return;
    }
    const auto exchanged = [](u32 colour) {
        const Bytes c = Split(colour);
        return Join(c.b[2], c.b[1], c.b[0], c.b[3]);
    };
    const bool filled = fill >= 0x01000000;
    outline = exchanged(outline);
    const u32 inside = exchanged(fill);
    const auto plot = [&](i32 px, i32 py, u32 colour) {
        if (bitmap.InClip(px, py)) {
            bitmap.Write(px, py, Blended(bitmap.Read(px, py), colour));
        }
    };

    const i32 ew = w % 2 == 0 ? 1 : 0;
    const i32 eh = h % 2 == 0 ? 1 : 0;
    const i32 cx = x + (w - ew) / 2;
    const i32 rx = cx + ew;
    i32 t = y;
    i32 b = y + eh + 2 * ((h - eh) / 2);
    const u32 aa = static_cast<u32>((w - 1 - ew) * (w - 1 - ew));
    const u32 bb = static_cast<u32>((h - 1 - eh) * (h - 1 - eh));
    const u32 half = static_cast<u32>((h - eh) / 2);
    plot(cx, t, outline);
    if (ew == 1) {
        plot(rx, t, outline);
    }
    if (b != t) {
        plot(cx, b, outline);
        if (ew == 1) {
            plot(rx, b, outline);
        }
    }
    u32 m = half * aa;
    const u32 p = bb / 2 + bb;
    const u32 q = aa / 2 + aa;
    u32 e1 = bb / 4 + aa / 2 - m;
    u32 e2 = aa / 4 + bb / 2 - aa / 2 * half;
    const u32 r = bb / 2 + bb + aa;
    u32 s = 0;
    i32 lx = cx;
    i32 rxx = rx;
    const auto fillRow = [&](i32 row) {
        for (i32 column = lx + 1; column <= rxx - 1; ++column) {
            plot(column, row, inside);
        }
    };
    while (b > t) {
        if (static_cast<i32>(e2) < 0) {
            const u32 next = s + bb;
            lx -= 1;
            e2 += p + s;
            e1 += next;
            rxx += 1;
            s = next;
        } else if (static_cast<i32>(e1) < 0) {
            const u32 next = e2 + (r + s) - m;
            s += bb;
            e1 = e1 + q - m + s;
            m -= aa;
            t += 1;
            b -= 1;
            lx -= 1;
            rxx += 1;
            e2 = next;
            if (filled) {
                fillRow(t);
                if (t != b) {
                    fillRow(b);
                }
            }
        } else {
            const i32 oldBottom = b;
            e1 += q - m;
            m -= aa;
            t += 1;
            b -= 1;
            e2 -= m;
            if (filled && oldBottom > t) {
                fillRow(t);
                if (t != b) {
                    fillRow(b);
                }
            }
        }
        if (b >= t) {
            plot(lx, t, outline);
            if (lx != rxx) {
                plot(rxx, t, outline);
            }
            if (b > t) {
                plot(lx, b, outline);
                if (lx != rxx) {
                    plot(rxx, b, outline);
                }
            }
        }
    }
    if (screen) {
        Grow(world, x, y, w + 1, w + 1);
    }
}

}  // namespace reference

}  // namespace moxi
