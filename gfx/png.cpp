// PNG files of the module.

#include <spng.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "gfx/bitmap.h"
#include "gfx/image_files.h"
#include "gfx/row_kernels.h"
#include "sys/files.h"
#include "sys/system_calls.h"

namespace moxi {

namespace {

constexpr u32 kLargestSide = 67108864;
// What the chunks beside the picture may take. A few kilobytes can unpack to gigabytes.
constexpr std::size_t kLargestChunk = 0x7FFFFFFF;
constexpr std::size_t kMostChunkBytes = 64 << 20;

struct FreeContext {
    void operator()(spng_ctx* context) const { spng_ctx_free(context); }
};
using Context = std::unique_ptr<spng_ctx, FreeContext>;

struct ReleaseBlock {
    void operator()(u8* block) const { systemCalls.release(block); }
};
using Pixels = std::unique_ptr<u8, ReleaseBlock>;

struct Picture {
    u32 width = 0;
    u32 height = 0;
    Pixels pixels;
};

int ReadStream(spng_ctx*, void* user, void* destination, size_t length) {
    if (length == 0) {
        return 0;
    }
    const u32 file = *static_cast<const u32*>(user);
    const u32 count = static_cast<u32>(length);
    return ReadFile(file, destination, count) == count ? 0 : SPNG_IO_EOF;
}

// Everything but making the bitmap, so that a broken file leaves the heap as it was.
bool Decode(spng_ctx* decoder, Picture& picture) {
    spng_set_crc_action(decoder, SPNG_CRC_USE, SPNG_CRC_USE);
    spng_set_image_limits(decoder, kLargestSide, kLargestSide);
    spng_set_chunk_limits(decoder, kLargestChunk, kMostChunkBytes);
    spng_ihdr header;
    if (spng_get_ihdr(decoder, &header) != 0) {
        return false;
    }
    spng_plte palette;
    const int paletteResult = spng_get_plte(decoder, &palette);
    if (paletteResult != 0 && paletteResult != SPNG_ECHUNKAVAIL) {
        return false;
    }
    std::size_t size = 0;
    if (spng_decoded_image_size(decoder, SPNG_FMT_RGBA8, &size) != 0) {
        return false;
    }
    if (!BitmapFitsHeap(header.width, header.height)) {
        return false;
    }
    picture.width = header.width;
    picture.height = header.height;
    picture.pixels.reset(static_cast<u8*>(systemCalls.allocate(size)));
    return picture.pixels != nullptr &&
           spng_decode_image(decoder, picture.pixels.get(), size, SPNG_FMT_RGBA8, 0) == 0;
}

// The file's bytes in the encoder's buffer; false when the picture cannot be encoded.
bool Encode(spng_ctx* encoder, const Selection& selection) {
    spng_set_option(encoder, SPNG_ENCODE_TO_BUFFER, 1);
    spng_ihdr header = {};
    header.width = static_cast<u32>(selection.width);
    header.height = static_cast<u32>(selection.height);
    header.bit_depth = 8;
    header.color_type = SPNG_COLOR_TYPE_TRUECOLOR_ALPHA;
    if (spng_set_ihdr(encoder, &header) != 0) {
        return false;
    }
    // The rows are taken as one block without gaps.
    if (selection.stride != selection.width * i64{kBytesPerPixel}) {
        return false;
    }
    if (spng_encode_image(encoder, nullptr, 0, SPNG_FMT_PNG,
                          SPNG_ENCODE_PROGRESSIVE | SPNG_ENCODE_FINALIZE) != 0) {
        return false;
    }
    const std::size_t pixels = header.width;
    std::vector<u8> row(pixels * kBytesPerPixel);
    int result = 0;
    for (i32 y = 0; y < selection.height && result == 0; ++y) {
        CopyExchanged(row.data(), PixelAt(selection, 0, y), pixels);
        result = spng_encode_row(encoder, row.data(), row.size());
    }
    return result == SPNG_EOI;
}

bool WriteEncoded(spng_ctx* encoder, const char* name) {
    std::size_t size = 0;
    int error = 0;
    const std::unique_ptr<void, void (*)(void*)> bytes(spng_get_png_buffer(encoder, &size, &error),
                                                       std::free);
    if (bytes == nullptr || error != 0) {
        return false;
    }
    const u32 file = OpenToReplace(name);
    if (file == kNoFile) {
        return false;
    }
    const bool written = WriteFile(file, bytes.get(), static_cast<u32>(size)) == size;
    CloseFile(file);
    return written;
}

}  // namespace

u32 LoadPng(const char* name) {
    u32 file = OpenFile(name, kOpenRead);
    if (file == kNoFile) {
        return 0;
    }
    Picture picture;
    {
        const Context decoder(spng_ctx_new(0));
        const bool decoded = decoder != nullptr &&
                             spng_set_png_stream(decoder.get(), ReadStream, &file) == 0 &&
                             Decode(decoder.get(), picture);
        CloseFile(file);
        if (!decoded) {
            return 0;
        }
    }
    const u32 handle = CreateBitmap(picture.width, picture.height);
    const u64 bytes = u64{picture.width} * picture.height * kBytesPerPixel;
    std::memcpy(PixelsOfNewBitmap(handle, bytes), picture.pixels.get(), bytes);
    return handle;
}

u32 SavePng(u32 handle, const char* name) {
    StartSRC(handle);
    bool written = false;
    if (srcSelection.width != 0 && srcSelection.height != 0) {
        RequireArea(srcSelection, BitmapArea(srcSelection));
        const Context encoder(spng_ctx_new(SPNG_CTX_ENCODER));
        written = encoder != nullptr && Encode(encoder.get(), srcSelection) &&
                  WriteEncoded(encoder.get(), name);
    }
    EndSRC();
    return written ? 1 : 0;
}

}  // namespace moxi
