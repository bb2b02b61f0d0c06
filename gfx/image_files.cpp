#include "gfx/image_files.h"

#include <cstring>

#include "base/log.h"
#include "gfx/bitmap.h"
#include "sys/files.h"
#include "vm/heap.h"
#include "vm/heap_room.h"
#include "vm/machine.h"

namespace moxi {

namespace {

constexpr u32 kProbeSize = 20;  // a shorter file is no picture
constexpr u8 kPngSignature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

}  // namespace

u32 LoadImage(const char* name) {
    u8 start[kProbeSize];
    const u32 file = OpenFile(name, kOpenRead);
    if (file == kNoFile) {
        SystemLog(FormatText("picture %s: cannot be read", name));
        return 0;
    }
    const u32 count = ReadFile(file, start, kProbeSize);
    CloseFile(file);
    if (count < kProbeSize) {
        return 0;
    }
    if (start[0] == 'B' && start[1] == 'M') {
        return LoadBmp(name);
    }
    if (std::memcmp(start, kPngSignature, sizeof kPngSignature) == 0) {
        return LoadPng(name);
    }
    return 0;
}

u32 SaveImage(u32 handle, const char* name, u32 format) {
    switch (format) {
        case kFormatBmp: return SaveBmp(handle, name);
        case kFormatPng: return SavePng(handle, name);
        default: return 0;
    }
}

bool BitmapFitsHeap(u32 width, u32 height) {
    const u64 row = u64{width} * kBytesPerPixel;
    return (height == 0 || row <= 0xFFFFFFFF / height) &&
           HeapHasRoomFor(kRecordSize, static_cast<u32>(row * height));
}

u32 CreateBitmapIfItFits(u32 width, u32 height) {
    return BitmapFitsHeap(width, height) ? CreateBitmap(width, height) : 0;
}

u8* PixelsOfNewBitmap(u32 handle, u64 bytes) {
    const u32 pixelHandle = Load<u32>(GetHeapAdr(handle) + kRecordPixels);
    return CheckedRange(GetHeapAdr(pixelHandle), bytes);
}

}  // namespace moxi
