#pragma once
// The yardstick for the drawing code: every primitive once more, pixel by pixel, written to be
// read. This file holds what they draw on: a copy of the module image and of the host bitmaps.

#include <algorithm>
#include <vector>

#include "base/bytes.h"
#include "gfx/bitmap.h"

namespace moxi {

namespace reference {

// Thrown where a primitive needs a byte outside the image.
struct Fault {};

struct HostPixels {
    std::vector<u8> bytes;
    i32 width = 0, height = 0;
    i32 clipX = 0, clipY = 0, clipWidth = 0, clipHeight = 0;
};

struct World {
    std::vector<u8> image;
    HostPixels screen, text;
    DirtyRect dirty = {30000, 30000, -1, -1};
    bool tracking = false;
    u32 linePattern = 0xFFFFFFFF;
};

// A bitmap as a primitive sees it. Host bitmaps are transparent black outside, and writes there
// are lost; module bitmaps are whatever the address leads to.
struct Bitmap {
    std::vector<u8>* bytes;
    bool host;
    i64 base;
    i32 width, height, stride;
    i32 clipX, clipY, clipWidth, clipHeight;

    bool Contains(i64 x, i64 y) const { return x >= 0 && x < width && y >= 0 && y < height; }
    bool InClip(i64 x, i64 y) const {
        return x >= clipX && x < i64{clipX} + clipWidth && y >= clipY &&
               y < i64{clipY} + clipHeight;
    }
    std::size_t Offset(i64 x, i64 y) const {
        const i64 offset = base + y * stride + x * 4;
        if (offset < 0 || offset + 4 > static_cast<i64>(bytes->size())) {
            throw Fault{};
        }
        return static_cast<std::size_t>(offset);
    }
    u32 Read(i64 x, i64 y) const {
        if (host && !Contains(x, y)) {
            return 0;
        }
        return LoadBytes<u32>(bytes->data() + Offset(x, y));
    }
    void Write(i64 x, i64 y, u32 pixel) const {
        if (host && !Contains(x, y)) {
            return;
        }
        StoreBytes<u32>(bytes->data() + Offset(x, y), pixel);
    }
};

// The record's address is the heap's business: `recordAddress` and `pixelAddress` tell it.
inline Bitmap OpenHost(HostPixels& pixels) {
    return {&pixels.bytes,    true,          0,
            pixels.width,     pixels.height, 4 * pixels.width,
            pixels.clipX,     pixels.clipY,  pixels.clipWidth,
            pixels.clipHeight};
}

inline Bitmap OpenModule(World& world, u32 recordAddress, u32 pixelAddress) {
    const auto word = [&](u32 index) {
        return LoadBytes<i32>(world.image.data() + recordAddress + 4 * index);
    };
    return {&world.image, false,   pixelAddress, word(0), word(1),
            word(2),      word(3), word(4),      word(5), word(6)};
}

inline void Grow(World& world, i32 x, i32 y, i32 w, i32 h) {
    if (!world.tracking) {
        return;
    }
    const i32 x0 = w < 0 ? x + w : x;
    const i32 y0 = h < 0 ? y + h : y;
    const i32 x1 = x0 + (w < 0 ? -w : w);
    const i32 y1 = y0 + (h < 0 ? -h : h);
    if (x0 < world.dirty.left) {
        world.dirty.left = x0;
    }
    if (y0 < world.dirty.top) {
        world.dirty.top = y0;
    }
    if (x1 > world.dirty.right) {
        world.dirty.right = x1;
    }
    if (y1 > world.dirty.bottom) {
        world.dirty.bottom = y1;
    }
}

// --- Pixels as four bytes

struct Bytes {
    u32 b[4];
};

inline Bytes Split(u32 pixel) {
    return {{pixel & 255, pixel / 256 & 255, pixel / 65536 & 255, pixel / 16777216}};
}

inline u32 Join(u32 b0, u32 b1, u32 b2, u32 b3) {
    return b0 + b1 * 256 + b2 * 65536 + b3 * 16777216;
}

// Lays a colour over an old pixel, the alpha byte like the others.
inline u32 Blended(u32 old, u32 colour) {
    const Bytes o = Split(old);
    const Bytes c = Split(colour);
    const u32 a = c.b[3];
    u32 r[4];
    for (int i = 0; i < 3; ++i) {
        r[i] = c.b[i] * a / 255 + o.b[i] * (255 - a) / 255;
    }
    r[3] = a * a / 255 + o.b[3] * (255 - a) / 255;
    return Join(r[0], r[1], r[2], r[3]);
}

}  // namespace reference

}  // namespace moxi
