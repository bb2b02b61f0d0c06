#pragma once
// The inner loops, one record of functions for each instruction set. All of them give the same
// bytes; ChooseKernels() takes the fastest that the processor runs.
//
// Areas are `rows` rows of `count` pixels of four bytes; a stride is the distance of rows in bytes
// and may be negative. Addresses need no alignment. Rows are worked on from the first to the last,
// each from left to right in blocks of at most kKernelBlock bytes: what a block reads is read
// before the block is written.

#include <cstddef>
#include <vector>

#include "base/types.h"

namespace moxi {

constexpr std::size_t kKernelBlock = 256;

// Changes pixels whose masked word equals (or differs from) a value to (pixel & keep) | set.
struct Replacement {
    u32 mask, value;
    bool whenEqual;
    u32 keep, set;
};

// New hue and saturation (negative: keep each pixel's own), and the change of the value.
struct Adjustment {
    i32 hue, saturation, brightness, contrast;
};

// A row of the saturation and value square: two bytes of a pixel are factor * value * 255, one
// factor falling with the saturation and the other one moving between, the third byte is the value
// itself. The order gives the bit at which each of them starts.
struct HueColumns {
    const f64* low;
    const f64* moving;
};
struct HueOrder {
    u32 low, moving, value;
};

// A row of averages: each output pixel covers `cells` source pixels of each of `bands` source rows.
// The weights are in 1/32 of a pixel; those between the first and the last are 32. A box without
// cells or bands is the pixel that it lies in.
constexpr std::size_t kBoxColumns = 64;
struct BoxColumn {
    i64 offset;  // of the first cell, from the row's pixels
    u32 cells, first, last, width;
};
// Each weight over the box's width.
struct BoxParts {
    f64 first[kBoxColumns], middle[kBoxColumns], last[kBoxColumns];
};
struct BoxColumns {
    BoxColumn columns[kBoxColumns];
    BoxParts parts;
};
struct BoxRow {
    const u8* pixels;
    i64 stride;
    u32 bands, first, last, height;
};

struct Kernels {
    const char* name;

    // Blends a colour over every pixel.
    void (*fill)(u8* pixels, i64 stride, std::size_t count, std::size_t rows, u32 colour);
    // Lays source pixels over the destination; alpha is added. The second one inverts the source.
    void (*blend)(u8* to, i64 toStride, const u8* from, i64 fromStride, std::size_t count,
                  std::size_t rows);
    void (*blendInverted)(u8* to, i64 toStride, const u8* from, i64 fromStride, std::size_t count,
                          std::size_t rows);
    // Blends a row of colours, each with its own alpha, over a row.
    void (*compose)(u8* to, const u32* colours, std::size_t count);
    // Returns the number of pixels changed.
    u64 (*replace)(u8* row, std::size_t count, const Replacement& replacement);
    void (*adjust)(u8* row, std::size_t count, const Adjustment& adjustment);
    void (*hueRow)(u8* row, const HueColumns& columns, std::size_t count, f64 value,
                   const HueOrder& order);
    // `count` is at most kBoxColumns.
    void (*average)(u32* out, const BoxColumns& columns, std::size_t count, const BoxRow& row);
};

extern const Kernels scalarKernels;

// What every processor runs that this was compiled for.
const Kernels* BaselineKernels();

// The ones in use: the scalar ones until ChooseKernels.
extern const Kernels* kernels;

// Everything that this processor runs, the fastest first, the scalar ones last.
std::vector<const Kernels*> AvailableKernels();

void ChooseKernels();

}  // namespace moxi
