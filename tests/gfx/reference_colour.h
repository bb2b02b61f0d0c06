#pragma once
// The hue square and the colour adjustment for the yardstick.

#include <cmath>

#include "tests/gfx/reference_bitmap.h"

namespace moxi {

namespace reference {

// NaN, which a side of one pixel gives, becomes 0.
inline u32 ToByte(double level) {
    return std::isnan(level) ? 0 : static_cast<u32>(level);
}

inline void HueSquare(World& world, const Bitmap& bitmap, bool screen, i32 x, i32 y, i32 w, i32 h,
                      u32 hue) {
    const i32 columns = std::abs(w);
    const i32 rows = std::abs(h);
    if (w != 0 && h != 0) {
        i32 hd = 167 - static_cast<i32>(hue);
        if (hd < 0) {
            hd += 252;
        }
        const double p = hd / 42.0;
        const int i = static_cast<int>(std::floor(p));
        const double f = p - i;
        for (i32 j = 0; j < rows; ++j) {
            const double value = static_cast<double>(h < 0 ? rows - 1 - j : j) / (rows - 1);
            const u32 v = ToByte(value * 255);
            for (i32 c = 0; c < columns; ++c) {
                if (!bitmap.InClip(x + c, y + j)) {
                    continue;
                }
                const double sat = static_cast<double>(w < 0 ? columns - 1 - c : c) / (columns - 1);
                u32 pixel = Join(v, v, v, 255);
                if (!(sat == 0)) {
                    const u32 pp = ToByte((1 - sat) * value * 255);
                    const u32 qq = ToByte((1 - sat * f) * value * 255);
                    const u32 tt = ToByte((1 - sat * (1 - f)) * value * 255);
                    if (i == 0) {
                        pixel = Join(pp, tt, v, 255);
                    }
                    if (i == 1) {
                        pixel = Join(pp, v, qq, 255);
                    }
                    if (i == 2) {
                        pixel = Join(tt, v, pp, 255);
                    }
                    if (i == 3) {
                        pixel = Join(v, qq, pp, 255);
                    }
                    if (i == 4) {
                        pixel = Join(v, pp, tt, 255);
                    }
                    if (i == 5) {
                        pixel = Join(qq, pp, v, 255);
                    }
                }
                bitmap.Write(x + c, y + j, pixel);
            }
        }
    }
    if (screen) {
        Grow(world, x, y, columns, rows);
    }
}

struct AdjustArguments {
    i32 x, y, w, h, hue, sat, bright, contrast;
};

inline u32 Adjusted(u32 pixel, const AdjustArguments& args) {
    const Bytes old = Split(pixel);
    const i32 b0 = static_cast<i32>(old.b[0]);
    const i32 b1 = static_cast<i32>(old.b[1]);
    const i32 b2 = static_cast<i32>(old.b[2]);
    const i32 v = std::max(b0, std::max(b1, b2));
    i32 h = 0;
    i32 s = 0;
    if (v != 0) {
        const i32 d = v - std::min(b0, std::min(b1, b2));
        s = d * 255 / v;
        if (s != 0) {
            const i32 c0 = (v - b0) * 255 / d;
            const i32 c1 = (v - b1) * 255 / d;
            const i32 c2 = (v - b2) * 255 / d;
            if (b2 == v) {
                h = (c0 - c1) / 6;
            } else if (b1 == v) {
                h = (c2 - c0) / 6 + 85;
            } else {
                h = (c1 - c2) / 6 + 171;
            }
        }
    }
    const i32 nh = args.hue >= 0 ? args.hue : h;
    const i32 ns = std::max(args.sat >= 0 ? args.sat : s, 0);
    i32 nv = v;
    if (args.contrast != 0) {
        nv = v + (v - 128) * args.contrast / 255;
    }
    if (args.bright != 0) {
        nv = nv + nv * args.bright / 255;
    }
    nv = std::min(std::max(nv, 0), 255);
    const i32 s8 = ns & 255;
    if (s8 == 0) {
        const u32 grey = static_cast<u32>(nv);
        return Join(grey, grey, grey, old.b[3]);
    }
    const i32 h8 = nh & 255;
    const i32 i = (h8 & 252) < 252 ? h8 / 42 : 0;
    const i32 f = h8 - h8 / 42 * 42;
    const u32 fall = static_cast<u32>(f != 0 ? (62730 - 6 * f * s8) * nv / 62730 : nv);
    const u32 p = static_cast<u32>((255 - s8) * nv / 255);
    const u32 rise = static_cast<u32>(((6 * f - 246) * s8 + 62730) * nv / 67830);
    const u32 top = static_cast<u32>(nv);
    if (i == 0) {
        return Join(top, rise, p, old.b[3]);
    }
    if (i == 1) {
        return Join(fall, top, p, old.b[3]);
    }
    if (i == 2) {
        return Join(p, top, rise, old.b[3]);
    }
    if (i == 3) {
        return Join(p, fall, top, old.b[3]);
    }
    if (i == 4) {
        return Join(rise, p, top, old.b[3]);
    }
    return Join(top, p, fall, old.b[3]);
}

inline void AdjustColours(World& world, const Bitmap& bitmap, bool screen,
                          const AdjustArguments& args) {
    const i32 left = std::max(args.x, bitmap.clipX);
    const i32 top = std::max(args.y, bitmap.clipY);
    const i32 w1 = args.x < bitmap.clipX ? args.w - (bitmap.clipX - args.x) : args.w;
    const i32 h1 = args.y < bitmap.clipY ? args.h - (bitmap.clipY - args.y) : args.h;
    const i32 clipRight = bitmap.clipX + bitmap.clipWidth;
    const i32 clipBottom = bitmap.clipY + bitmap.clipHeight;
    const i32 width = left + w1 < clipRight ? w1 : clipRight - left;
    const i32 height = top + h1 < clipBottom ? h1 : clipBottom - top;
    if (width < 1 || height < 1) {
        return;
    }
    for (i32 row = top; row < top + height; ++row) {
        for (i32 column = left; column < left + width; ++column) {
            bitmap.Write(column, row, Adjusted(bitmap.Read(column, row), args));
        }
    }
    if (screen) {
        Grow(world, left, top, width, height);
    }
}

}  // namespace reference

}  // namespace moxi
