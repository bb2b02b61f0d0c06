#include "gfx/png_write.h"

#include <spng.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "base/output_files.h"

namespace moxi {

namespace {

// Rows without gaps, in the file's own pixel size.
std::vector<u8> PackRows(const u8* pixels, u32 width, u32 height, u32 stride, u32 channels) {
    std::vector<u8> packed;
    packed.reserve(size_t{width} * height * channels);
    for (u32 row = 0; row < height; ++row) {
        const u8* const line = pixels + size_t{row} * stride;
        for (u32 column = 0; column < width; ++column) {
            packed.insert(packed.end(), line + size_t{column} * 4,
                          line + size_t{column} * 4 + channels);
        }
    }
    return packed;
}

bool WriteWholeFile(const std::string& path, const void* data, size_t size) {
    std::FILE* const file = outputFiles.open(path);
    if (file == nullptr) {
        return false;
    }
    const bool written = std::fwrite(data, 1, size, file) == size;
    const bool closed = std::fclose(file) == 0;
    if (!written || !closed) {
        outputFiles.remove(path);
    }
    return written && closed;
}

}  // namespace

bool WritePngFile(const std::string& path, const u8* pixels, u32 width, u32 height, u32 stride,
                  PngFormat format) {
    if (width == 0 || height == 0) {
        return false;
    }
    const bool alpha = format == PngFormat::Rgba;
    const std::vector<u8> rows = PackRows(pixels, width, height, stride, alpha ? 4 : 3);
    const std::unique_ptr<spng_ctx, void (*)(spng_ctx*)> encoder(spng_ctx_new(SPNG_CTX_ENCODER),
                                                                 spng_ctx_free);
    if (encoder == nullptr) {
        return false;
    }
    spng_set_option(encoder.get(), SPNG_ENCODE_TO_BUFFER, 1);
    spng_ihdr header = {};
    header.width = width;
    header.height = height;
    header.bit_depth = 8;
    header.color_type = alpha ? SPNG_COLOR_TYPE_TRUECOLOR_ALPHA : SPNG_COLOR_TYPE_TRUECOLOR;
    if (spng_set_ihdr(encoder.get(), &header) != 0) {
        return false;
    }
    if (spng_encode_image(encoder.get(), rows.data(), rows.size(), SPNG_FMT_PNG,
                          SPNG_ENCODE_FINALIZE) != 0) {
        return false;
    }
    size_t size = 0;
    int error = 0;
    const std::unique_ptr<void, void (*)(void*)> png(
        spng_get_png_buffer(encoder.get(), &size, &error), std::free);
    return png != nullptr && error == 0 && WriteWholeFile(path, png.get(), size);
}

}  // namespace moxi
