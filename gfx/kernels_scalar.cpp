// The inner loops in plain C++: what every processor can run, and what the others are held to.

#include <algorithm>

#include "gfx/kernels.h"
#include "gfx/kernels_pixel.h"

namespace moxi {

namespace {

void Fill(u8* pixels, i64 stride, std::size_t count, std::size_t rows, u32 colour) {
    const BlendColour blend = PrepareBlend(colour);
    for (; rows != 0; --rows, pixels += stride) {
        if (AlphaOf(colour) == 255) {
            for (std::size_t i = 0; i < count; ++i) {
                StoreBytes<u32>(pixels + 4 * i, colour);
            }
        } else {
            for (std::size_t i = 0; i < count; ++i) {
                BlendPixelAt(pixels + 4 * i, blend);
            }
        }
    }
}

template <bool kInverted>
void Blend(u8* to, i64 toStride, const u8* from, i64 fromStride, std::size_t count,
           std::size_t rows) {
    for (; rows != 0; --rows, to += toStride, from += fromStride) {
        for (std::size_t i = 0; i < count; ++i) {
            BlitPixel<kInverted>(to + 4 * i, LoadBytes<u32>(from + 4 * i));
        }
    }
}

void Compose(u8* to, const u32* colours, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        ComposePixel(to + 4 * i, colours[i]);
    }
}

u64 Replace(u8* row, std::size_t count, const Replacement& replacement) {
    u64 changed = 0;
    for (std::size_t i = 0; i < count; ++i) {
        changed += ReplacePixel(row + 4 * i, replacement) ? 1 : 0;
    }
    return changed;
}

void Adjust(u8* row, std::size_t count, const Adjustment& adjustment) {
    for (std::size_t i = 0; i < count; ++i) {
        AdjustPixel(row + 4 * i, adjustment);
    }
}

void HueRow(u8* row, const HueColumns& columns, std::size_t count, f64 value,
            const HueOrder& order) {
    for (std::size_t i = 0; i < count; ++i) {
        HuePixel(row + 4 * i, columns.low[i], columns.moving[i], value, order);
    }
}

void Average(u32* out, const BoxColumns& columns, std::size_t count, const BoxRow& row) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = AverageBox(columns.columns[i], row);
    }
}

}  // namespace

// Defined in this file, so that the compiler does not see the values when it compiles the vector
// loops: it would make them anew from numbers within each loop.
constinit const BlendBytes blendBytes = {
    {1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0},
    {1, 0, 1, 0, 1, 0, 1, 255, 1, 0, 1, 0, 1, 0, 1, 255},
    {1, 255, 1, 255, 1, 255, 1, 255, 1, 255, 1, 255, 1, 255, 1, 255},
    {0, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0, 255},
    {0, 0, 2, 2, 4, 4, 6, 6, 8, 8, 10, 10, 12, 12, 14, 14},
    {1, 1, 3, 3, 5, 5, 7, 7, 9, 9, 11, 11, 13, 13, 15, 15},
    {128, 3, 128, 3, 128, 7, 128, 7, 128, 11, 128, 11, 128, 15, 128, 15},
    {128, 3, 128, 3, 128, 3, 128, 128, 128, 7, 128, 7, 128, 7, 128, 128},
    {128, 11, 128, 11, 128, 11, 128, 128, 128, 15, 128, 15, 128, 15, 128, 128},
};

const Kernels scalarKernels = {
    .name = "scalar",
    .fill = Fill,
    .blend = Blend<false>,
    .blendInverted = Blend<true>,
    .compose = Compose,
    .replace = Replace,
    .adjust = Adjust,
    .hueRow = HueRow,
    .average = Average,
};

}  // namespace moxi
