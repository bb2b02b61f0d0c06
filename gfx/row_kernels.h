#pragma once
// Inner loops of text and images over rows of pixels, as vector code where the processor has it.
// They are not in the record of gfx/kernels.h: they are short enough that the vector library's own
// plain code serves processors without vectors, and nobody chooses between sets of them.

#include <cstddef>

#include "base/types.h"

namespace moxi {

// A byte for each pixel of an area; the stride is the distance of its rows.
struct CoverageRows {
    const u8* bytes;
    std::size_t stride;
    std::size_t columns, rows;
};

// Lays a colour (alpha 255) over the pixels of an area whose rows are `stride` bytes apart, over
// each as far as its coverage byte says: with coverage c a byte becomes
// (colour * c + old * (255 - c)) / 255.
void LayRows(u8* pixels, std::size_t stride, const CoverageRows& coverage, u32 colour);

// Whether `count` pixels all have alpha 255.
bool IsOpaqueRow(const u8* pixels, std::size_t count);

// Copies pixels up to the first few among which one has not alpha 255, and returns how many. With
// `streams` the copy goes past the caches, which is faster for pictures larger than these.
std::size_t CopyOpaque(u8* to, const u8* from, std::size_t count, bool streams);

// Copies `count` pixels and exchanges bytes 0 and 2 of each.
void CopyExchanged(u8* to, const u8* from, std::size_t count);

}  // namespace moxi
