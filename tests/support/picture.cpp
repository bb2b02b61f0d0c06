#include "tests/support/picture.h"

#include <spng.h>

#include "tests/support/headless_run.h"

namespace moxi {

namespace {

constexpr u32 kNoColour = 0xFFFFFFFF;

}  // namespace

u32 Picture::At(u32 x, u32 y) const {
    if (x >= width || y >= height) {
        return kNoColour;
    }
    const u8* const pixel = rgb.data() + size_t{3} * (size_t{y} * width + x);
    return static_cast<u32>(pixel[0]) << 16 | static_cast<u32>(pixel[1]) << 8 | pixel[2];
}

u32 Picture::Colour(u32 x, u32 y, u32 columns, u32 rows) const {
    const u32 colour = At(x, y);
    for (u32 row = y; row < y + rows; ++row) {
        for (u32 column = x; column < x + columns; ++column) {
            if (At(column, row) != colour) {
                return kNoColour;
            }
        }
    }
    return colour;
}

Picture ReadPicture(const std::string& path) {
    const std::string file = ReadTextFile(path);
    spng_ctx* const context = spng_ctx_new(0);
    spng_ihdr header = {};
    size_t size = 0;
    Picture picture;
    if (spng_set_png_buffer(context, file.data(), file.size()) == 0 &&
        spng_get_ihdr(context, &header) == 0 &&
        spng_decoded_image_size(context, SPNG_FMT_RGB8, &size) == 0) {
        picture.rgb.resize(size);
        if (spng_decode_image(context, picture.rgb.data(), size, SPNG_FMT_RGB8, 0) == 0) {
            picture.width = header.width;
            picture.height = header.height;
        }
    }
    spng_ctx_free(context);
    return picture;
}

}  // namespace moxi
