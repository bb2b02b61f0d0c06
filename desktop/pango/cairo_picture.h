#pragma once
// Drawing with Cairo into a plain array of coverage bytes.

#include <cairo.h>

#include <cstring>
#include <vector>

#include "base/types.h"

// Calls `draw` with a Cairo context of width x height coverage pixels, all clear, and copies what
// it drew to `bytes`, rows of `rowBytes`. Without memory nothing is drawn.
template <class Draw>
void DrawCoverage(std::vector<u8>& bytes, std::size_t rowBytes, i32 width, i32 height,
                  const Draw& draw) {
    cairo_surface_t* const surface = cairo_image_surface_create(CAIRO_FORMAT_A8, width, height);
    cairo_t* const cairo = cairo_create(surface);
    draw(cairo);
    cairo_destroy(cairo);
    cairo_surface_flush(surface);
    const u8* const data = cairo_image_surface_get_data(surface);
    if (data != nullptr) {
        const int stride = cairo_image_surface_get_stride(surface);
        for (i32 row = 0; row < height; ++row) {
            std::memcpy(bytes.data() + static_cast<std::size_t>(row) * rowBytes,
                        data + static_cast<std::ptrdiff_t>(row) * stride, static_cast<u32>(width));
        }
    }
    cairo_surface_destroy(surface);
}
