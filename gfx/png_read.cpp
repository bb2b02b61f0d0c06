#include "gfx/png_read.h"

#include <spng.h>

#include <memory>

namespace moxi {

bool ReadPng(std::string_view bytes, u32 largestSide, PngPicture& picture) {
    constexpr size_t kLargestChunk = 1 << 20;
    const std::unique_ptr<spng_ctx, void (*)(spng_ctx*)> decoder(spng_ctx_new(0), spng_ctx_free);
    if (decoder == nullptr) {
        return false;
    }
    spng_set_image_limits(decoder.get(), largestSide, largestSide);
    spng_set_chunk_limits(decoder.get(), kLargestChunk, kLargestChunk);
    spng_ihdr header;
    size_t size = 0;
    if (spng_set_png_buffer(decoder.get(), bytes.data(), bytes.size()) != 0 ||
        spng_get_ihdr(decoder.get(), &header) != 0 ||
        spng_decoded_image_size(decoder.get(), SPNG_FMT_RGBA8, &size) != 0) {
        return false;
    }
    picture.width = header.width;
    picture.height = header.height;
    picture.pixels.resize(size);
    return spng_decode_image(decoder.get(), picture.pixels.data(), size, SPNG_FMT_RGBA8,
                             SPNG_DECODE_TRNS) == 0;
}

}  // namespace moxi
