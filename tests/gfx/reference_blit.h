#pragma once
// Blits, the scaled blit and Set alpha for the yardstick.

#include "tests/gfx/reference_bitmap.h"

namespace moxi {

namespace reference {

struct BlitArguments {
    i32 dx, dy, sx, sy, w, h;
    bool invert;
    i32 right, bottom;
};

inline i32 Limit(i32 limit, i32 start, i32 size) {
    return limit != 0 ? limit - start : size;
}

// Never called where inverted copies would go on for ever.
inline void Blit(World& world, const Bitmap& to, bool screen, const Bitmap& from,
                 const BlitArguments& args) {
    i32 tileY = args.dy;
    do {
        i32 tileX = args.dx;
        do {
            for (i32 row = 0; row < args.h; ++row) {
                for (i32 column = 0; column < args.w; ++column) {
                    const i32 x = tileX + column;
                    const i32 y = tileY + row;
                    if (!to.InClip(x, y)) {
                        continue;
                    }
                    if (args.right != 0 && x >= args.right) {
                        continue;
                    }
                    if (args.bottom != 0 && y >= args.bottom) {
                        continue;
                    }
                    const Bytes s = Split(from.Read(args.sx + column, args.sy + row));
                    const u32 a = s.b[3];
                    if (a == 0) {
                        continue;
                    }
                    const Bytes o = Split(to.Read(x, y));
                    u32 r[4];
                    for (int i = 0; i < 3; ++i) {
                        const u32 c = args.invert ? 255 - s.b[i] : s.b[i];
                        r[i] = c * a / 255 + o.b[i] * (255 - a) / 255;
                    }
                    r[3] = std::min(o.b[3] + a, 255U);
                    to.Write(x, y, Join(r[0], r[1], r[2], r[3]));
                }
            }
            tileX += args.w;
        } while (args.w > 0 && !args.invert && args.right != 0 && tileX < args.right);
        tileY += args.h;
    } while (args.h > 0 && args.bottom != 0 && tileY < args.bottom);
    if (screen) {
        Grow(world, args.dx, args.dy, Limit(args.right, args.dx, args.w),
             Limit(args.bottom, args.dy, args.h));
    }
}

struct ScaledArguments {
    i32 dx, dy, dw, dh, sx, sy, sw, sh, right, bottom;
};

inline u32 Average(const Bitmap& from, i32 x0, i32 y0, i32 x1, i32 y1) {
    const u32 first = from.Read(x0 >> 5, y0 >> 5);
    if (y0 >= y1 || x1 <= x0) {
        return first;
    }
    const i64 area = (i64{x1} - x0) * (i64{y1} - y0);
    i64 sums[4] = {};
    bool same[4] = {true, true, true, true};
    for (i32 y = y0; y < y1;) {
        const i32 bandEnd = std::min((y / 32 - (y % 32 < 0 ? 1 : 0)) * 32 + 32, y1);
        for (i32 x = x0; x < x1;) {
            const i32 cellEnd = std::min((x / 32 - (x % 32 < 0 ? 1 : 0)) * 32 + 32, x1);
            const u32 pixel = from.Read(x >> 5, y >> 5);
            const i64 weight = i64{cellEnd - x} * (bandEnd - y);
            for (int i = 0; i < 4; ++i) {
                const u32 channel = Split(pixel).b[i];
                sums[i] += channel * weight / area;
                if (channel != Split(first).b[i]) {
                    same[i] = false;
                }
            }
            x = cellEnd;
        }
        y = bandEnd;
    }
    u32 r[4];
    for (int i = 0; i < 4; ++i) {
        r[i] = same[i] ? Split(first).b[i] : static_cast<u32>(std::min<i64>(sums[i], 255));
    }
    return Join(r[0], r[1], r[2], r[3]);
}

inline void ScaledBlit(World& world, const Bitmap& to, bool screen, const Bitmap& from,
                       const ScaledArguments& args) {
    if (args.dw < 1 || args.dh < 1 || args.sw < 1 || args.sh < 1) {
        return;
    }
    if (args.dw == args.sw && args.dh == args.sh) {
        Blit(
            world, to, screen, from,
            {args.dx, args.dy, args.sx, args.sy, args.dw, args.dh, false, args.right, args.bottom});
        return;
    }
    i32 tileY = args.dy;
    do {
        i32 tileX = args.dx;
        do {
            for (i32 r = 0; r < args.dh; ++r) {
                for (i32 c = 0; c < args.dw; ++c) {
                    const i32 x = tileX + c;
                    const i32 y = tileY + r;
                    if (!to.InClip(x, y)) {
                        continue;
                    }
                    if (args.right != 0 && x >= args.right) {
                        continue;
                    }
                    if (args.bottom != 0 && y >= args.bottom) {
                        continue;
                    }
                    const u32 result = Average(from, c * args.sw * 32 / args.dw + args.sx * 32,
                                               r * args.sh * 32 / args.dh + args.sy * 32,
                                               (c + 1) * args.sw * 32 / args.dw + args.sx * 32,
                                               (r + 1) * args.sh * 32 / args.dh + args.sy * 32);
                    if (Split(result).b[3] != 0) {
                        to.Write(x, y, Blended(to.Read(x, y), result));
                    }
                }
            }
            tileX += args.dw;
        } while (args.right != 0 && tileX < args.right);
        tileY += args.dh;
    } while (args.bottom != 0 && tileY < args.bottom);
    if (screen) {
        Grow(world, args.dx, args.dy, Limit(args.right, args.dx, args.dw),
             Limit(args.bottom, args.dy, args.dh));
    }
}

inline u64 SetAlpha(World& world, const Bitmap& bitmap, bool screen, i32 x, i32 y, i32 w, i32 h,
                    i64 selector, u32 alpha) {
    const i32 left = std::max(x, bitmap.clipX);
    const i32 top = std::max(y, bitmap.clipY);
    const i32 clipRight = bitmap.clipX + bitmap.clipWidth;
    const i32 clipBottom = bitmap.clipY + bitmap.clipHeight;
    const i32 width = left + w > clipRight ? clipRight - left : w;
    const i32 height = top + h > clipBottom ? clipBottom - top : h;
    alpha &= 255;
    u64 count = 0;
    for (i32 row = top; row < top + height; ++row) {
        for (i32 column = left; column < left + width; ++column) {
            const u32 pixel = bitmap.Read(column, row);
            const Bytes p = Split(pixel);
            bool replace = false;
            u32 result = Join(p.b[0], p.b[1], p.b[2], alpha);
            if (selector == -1) {
                replace = p.b[3] != alpha;
            } else if (selector == -2) {
                replace = p.b[3] != 0;
            } else if (selector == -3) {
                replace = p.b[3] == 255;
            } else {
                const Bytes key = Split(static_cast<u32>(selector));
                replace = p.b[0] == key.b[0] && p.b[1] == key.b[1] && p.b[2] == key.b[2];
                result = Join(key.b[2], key.b[1], key.b[0], alpha);
            }
            if (!replace) {
                continue;
            }
            bitmap.Write(column, row, result);
            ++count;
        }
    }
    if (screen) {
        Grow(world, left, top, width, height);
    }
    return count;
}

}  // namespace reference

}  // namespace moxi
