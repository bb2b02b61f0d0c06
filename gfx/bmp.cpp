// BMP files.

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "base/bytes.h"
#include "gfx/bitmap.h"
#include "gfx/image_files.h"
#include "gfx/row_kernels.h"
#include "sys/files.h"
#include "sys/system_calls.h"

namespace moxi {

namespace {

constexpr u32 kFileHeaderSize = 14;
constexpr u32 kInfoHeaderSize = 40;
constexpr u32 kHeadersSize = kFileHeaderSize + kInfoHeaderSize;
constexpr u32 kPixelsPerMetre = 2947;
constexpr u32 kPieceSize = 1U << 20;   // that rows are written in
constexpr u32 kFirstBlock = 1U << 22;  // memory for pixel data to start with

struct FileCloser {
    u32 handle;
    ~FileCloser() { CloseFile(handle); }
};

struct SystemBlock {
    u8* bytes = nullptr;
    SystemBlock() = default;
    ~SystemBlock() { systemCalls.release(bytes); }
    SystemBlock(const SystemBlock&) = delete;
    SystemBlock& operator=(const SystemBlock&) = delete;

    // Makes it `size` bytes and keeps the first `used`; false when there is not enough memory.
    bool Grow(std::size_t used, std::size_t size) {
        u8* const larger = static_cast<u8*>(systemCalls.allocate(std::max<std::size_t>(size, 1)));
        if (larger == nullptr) {
            return false;
        }
        std::copy(bytes, bytes + used, larger);
        systemCalls.release(bytes);
        bytes = larger;
        return true;
    }
};

// --- Loading

struct Headers {
    u32 fileSize;
    u32 pixelOffset;
    u32 width, height;
    u32 bitsPerPixel;
    u32 compression;
    u32 imageSize;
};

// Reads and drops bytes; false when the file ends before.
bool SkipBytes(u32 file, u32 count) {
    if (ReadableBytes(file, count) < count) {
        return false;
    }
    u8 dropped[4096];
    while (count > 0) {
        const u32 part = std::min<u32>(count, sizeof dropped);
        if (ReadFile(file, dropped, part) < part) {
            return false;
        }
        count -= part;
    }
    return true;
}

bool ReadHeaders(u32 file, Headers& headers) {
    u8 start[kFileHeaderSize];
    if (ReadFile(file, start, kFileHeaderSize) < kFileHeaderSize) {
        return false;
    }
    if (start[0] != 'B' || start[1] != 'M') {
        return false;
    }
    headers.fileSize = LoadBytes<u32>(start + 2);
    headers.pixelOffset = LoadBytes<u32>(start + 10);
    // The info header is everything before the pixels. Fields that it is too short for are 0.
    const u32 infoSize = headers.pixelOffset - kFileHeaderSize;
    std::array<u8, kInfoHeaderSize> info = {};
    const u32 part = std::min(infoSize, kInfoHeaderSize);
    if (ReadFile(file, info.data(), part) < part || !SkipBytes(file, infoSize - part)) {
        return false;
    }
    headers.width = LoadBytes<u32>(info.data() + 4);
    headers.height = LoadBytes<u32>(info.data() + 8);
    headers.bitsPerPixel = LoadBytes<u16>(info.data() + 14);
    headers.compression = LoadBytes<u32>(info.data() + 16);
    headers.imageSize = LoadBytes<u32>(info.data() + 20);
    return true;
}

// Where the rows of the picture lie in the file's pixel data.
struct Rows {
    u64 stride;
    u64 bytes;  // of one row that are used
    bool withAlpha;
};

Rows RowsOf(const Headers& headers) {
    u64 imageSize = headers.imageSize;
    // A header without an image size counts as one of a 24-bit picture, whatever the picture has.
    const u64 usualStride = (u64{headers.width} * 3 + 3) / 4 * 4;
    if (imageSize == 0) {
        imageSize = usualStride * headers.height;
    }
    const bool withAlpha = headers.bitsPerPixel > 24;
    return {headers.height == 0 ? 0 : imageSize / headers.height,
            u64{headers.width} * (withAlpha ? 4 : 3), withAlpha};
}

// Reads `count` bytes and keeps the first `kept` of them in `block`; false when the file ends
// before. Memory is taken for what arrives, not for what a header claims.
bool ReadPixelData(u32 file, u32 count, u32 kept, SystemBlock& block) {
    u32 size = std::min(kept, kFirstBlock);
    u32 used = 0;
    if (!block.Grow(0, size)) {
        return false;
    }
    while (true) {
        if (ReadFile(file, block.bytes + used, size - used) < size - used) {
            return false;
        }
        used = size;
        if (used == kept) {
            break;
        }
        size = static_cast<u32>(std::min<u64>(kept, u64{size} * 2));
        if (!block.Grow(used, size)) {
            return false;
        }
    }
    return SkipBytes(file, count - kept);
}

void ConvertRow(u8* to, const u8* from, u32 width, bool withAlpha) {
    if (withAlpha) {
        CopyExchanged(to, from, width);
        return;
    }
    for (u32 x = 0; x < width; ++x, to += 4, from += 3) {
        StoreBytes<u32>(to, u32{from[2]} | u32{from[1]} << 8 | u32{from[0]} << 16 | 0xFF000000);
    }
}

// Rows that the data does not hold whole are made up with zero bytes.
void ConvertPicture(u8* pixels, const Headers& headers, const Rows& rows, const u8* data,
                    u64 size) {
    if (headers.width == 0) {
        return;  // any number of empty rows
    }
    std::vector<u8> cutRow;
    for (u32 row = 0; row < headers.height; ++row) {
        u8* const to = pixels + u64{headers.height - 1 - row} * headers.width * kBytesPerPixel;
        const u64 start = rows.stride * row;
        if (start + rows.bytes <= size) {
            ConvertRow(to, data + start, headers.width, rows.withAlpha);
            continue;
        }
        cutRow.assign(rows.bytes, 0);
        if (start < size) {
            std::copy(data + start, data + size, cutRow.begin());
        }
        ConvertRow(to, cutRow.data(), headers.width, rows.withAlpha);
    }
}

// --- Saving

void MakeHeaders(u8* bytes, const Selection& selection) {
    const u32 width = static_cast<u32>(selection.width);
    const u32 height = static_cast<u32>(selection.height);
    const u32 imageSize = static_cast<u32>(selection.stride) * height;
    std::fill(bytes, bytes + kHeadersSize, u8{0});
    bytes[0] = 'B';
    bytes[1] = 'M';
    StoreBytes<u32>(bytes + 2, imageSize + kHeadersSize);
    StoreBytes<u32>(bytes + 10, kHeadersSize);
    u8* const info = bytes + kFileHeaderSize;
    StoreBytes<u32>(info, kInfoHeaderSize);
    StoreBytes<u32>(info + 4, width);
    StoreBytes<u32>(info + 8, height);
    StoreBytes<u16>(info + 12, 1);
    StoreBytes<u16>(info + 14, 32);
    StoreBytes<u32>(info + 20, imageSize);
    StoreBytes<u32>(info + 24, kPixelsPerMetre);
    StoreBytes<u32>(info + 28, kPixelsPerMetre);
}

bool WriteAll(u32 file, const u8* bytes, u32 count) {
    return WriteFile(file, bytes, count) == count;
}

// Rows from the bottom up, several in each write.
bool WriteRows(u32 file, const Selection& selection) {
    if (selection.height <= 0 || selection.stride <= 0) {
        return true;
    }
    const u32 stride = static_cast<u32>(selection.stride);
    const std::size_t pixels = std::min<std::size_t>(
        stride / kBytesPerPixel, static_cast<u32>(std::max(0, selection.width)));
    const u32 rowsAtOnce = std::max<u32>(1, kPieceSize / stride);
    // Kept for the next picture: fresh memory would cost as much as a third of the writing.
    static std::vector<u8> piece;
    piece.resize(std::size_t{stride} * std::min(rowsAtOnce, static_cast<u32>(selection.height)));
    for (i64 bottom = selection.height; bottom > 0;) {
        const i64 top = std::max<i64>(0, bottom - rowsAtOnce);
        u8* to = piece.data();
        for (i64 y = bottom - 1; y >= top; --y, to += stride) {
            const u8* const from = PixelAt(selection, 0, y);
            CopyExchanged(to, from, pixels);
            std::copy(from + pixels * kBytesPerPixel, from + stride, to + pixels * kBytesPerPixel);
        }
        if (!WriteAll(file, piece.data(), static_cast<u32>(bottom - top) * stride)) {
            return false;
        }
        bottom = top;
    }
    return true;
}

// Faults unless whole rows of `stride` bytes lie in the image.
void RequireRows(const Selection& selection) {
    RequireArea(selection, BitmapArea(selection));
    if (selection.host || selection.height <= 0 || selection.stride <= 0) {
        return;
    }
    CheckedRange(selection.pixelAddress,
                 static_cast<u64>(selection.stride) * static_cast<u64>(selection.height));
}

}  // namespace

u32 LoadBmp(const char* name) {
    const FileCloser file = {OpenFile(name, kOpenRead)};
    Headers headers;
    if (!ReadHeaders(file.handle, headers)) {
        return 0;
    }
    if (headers.bitsPerPixel < 24 || headers.compression != 0) {
        return 0;
    }
    const u32 handle = CreateBitmapIfItFits(headers.width, headers.height);
    if (handle == 0) {
        return 0;
    }
    const Rows rows = RowsOf(headers);
    const u32 count = headers.fileSize - headers.pixelOffset;
    const u64 used = headers.height == 0 ? 0 : rows.stride * (headers.height - 1) + rows.bytes;
    const u32 kept = static_cast<u32>(std::min<u64>(count, used));
    if (ReadableBytes(file.handle, count) < count) {
        FreeBitmap(handle);
        return 0;
    }
    SystemBlock data;
    if (!ReadPixelData(file.handle, count, kept, data)) {
        FreeBitmap(handle);
        return 0;
    }
    u8* const pixels =
        PixelsOfNewBitmap(handle, u64{headers.width} * headers.height * kBytesPerPixel);
    ConvertPicture(pixels, headers, rows, data.bytes, kept);
    return handle;
}

u32 SaveBmp(u32 handle, const char* name) {
    const FileCloser file = {OpenToReplace(name)};
    if (file.handle == kNoFile) {
        return 0;
    }
    StartSRC(handle);
    u8 headers[kHeadersSize];
    MakeHeaders(headers, srcSelection);
    bool written = WriteAll(file.handle, headers, kFileHeaderSize) &&
                   WriteAll(file.handle, headers + kFileHeaderSize, kInfoHeaderSize);
    if (written) {
        RequireRows(srcSelection);
        written = WriteRows(file.handle, srcSelection);
    }
    EndSRC();
    return written ? 1 : 0;
}

}  // namespace moxi
