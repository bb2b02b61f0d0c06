#pragma once
// Arithmetic of single pixels. Every division by 255 truncates, and each product is divided on its
// own before the sum.

#include "base/bytes.h"
#include "base/types.h"

namespace moxi {

// value / 255 for 0 <= value <= 65535.
constexpr u32 Div255(u32 value) {
    return (value * 0x8081U) >> 23;
}

constexpr u32 AlphaOf(u32 colour) {
    return colour >> 24;
}

constexpr u32 ByteOf(u32 word, u32 index) {
    return word >> (8 * index) & 0xFF;
}

constexpr u32 PackBytes(u32 b0, u32 b1, u32 b2, u32 b3) {
    return b0 | b1 << 8 | b2 << 16 | b3 << 24;
}

// A colour prepared for blending: each byte times the alpha over 255 (the alpha byte times itself),
// and what remains of the old pixel, 0..255. No byte of the sum exceeds 255.
struct BlendColour {
    u32 part;
    u32 keep;
};

constexpr BlendColour PrepareBlend(u32 colour) {
    const u32 a = AlphaOf(colour);
    return {PackBytes(Div255(ByteOf(colour, 0) * a), Div255(ByteOf(colour, 1) * a),
                      Div255(ByteOf(colour, 2) * a), Div255(a * a)),
            255 - a};
}

// The pixel after `blend` has been laid over it.
constexpr u32 BlendOver(u32 old, BlendColour blend) {
    const u32 kept =
        PackBytes(Div255(ByteOf(old, 0) * blend.keep), Div255(ByteOf(old, 1) * blend.keep),
                  Div255(ByteOf(old, 2) * blend.keep), Div255(ByteOf(old, 3) * blend.keep));
    return blend.part + kept;
}

inline void BlendPixelAt(u8* pixel, BlendColour blend) {
    StoreBytes<u32>(pixel, BlendOver(LoadBytes<u32>(pixel), blend));
}

// The same colour with byte 0 and byte 2 exchanged.
constexpr u32 ExchangeRedBlue(u32 colour) {
    return (colour & 0xFF00FF00) | (colour & 0xFF) << 16 | (colour >> 16 & 0xFF);
}

}  // namespace moxi
