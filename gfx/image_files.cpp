#include "gfx/image_files.h"

#include <algorithm>
#include <cstring>

#include "base/log.h"
#include "gfx/bitmap.h"
#include "sys/files.h"
#include "vm/heap.h"
#include "vm/machine.h"

namespace moxi {

namespace {

constexpr u32 kProbeSize = 20;  // a shorter file is no picture
constexpr u8 kPngSignature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

// The freed block that AllocHeap(size) would take, but for the block `taken`; -1 when it would
// carve a new one.
i32 ReusableBlock(u32 size, i32 taken) {
    const u64 limit = u64{size} + std::min(size, u32{1024});
    for (i32 i = heapListHeads[static_cast<u32>(HeapList::Freed)]; i >= 0;
         i = heapPtrs[static_cast<u32>(i)].next) {
        const u32 blockSize = heapPtrs[static_cast<u32>(i)].size;
        if (i != taken && size <= blockSize && blockSize < limit) {
            return i;
        }
    }
    return -1;
}

// The number of unused handles, counted no further than 2.
u32 UnusedHandles() {
    const i32 first = heapListHeads[static_cast<u32>(HeapList::Unused)];
    if (first < 0) {
        return 0;
    }
    return heapPtrs[static_cast<u32>(first)].next < 0 ? 1 : 2;
}

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
    const u64 room = u64{heapStart} + heapSize - heapFree;
    if (height != 0 && row > 0xFFFFFFFF / height) {
        return false;
    }
    const u32 size = static_cast<u32>(row * height);
    const i32 record = ReusableBlock(kRecordSize, -1);
    const bool reusesPixels = ReusableBlock(size, record) >= 0;
    const u32 handles = (record < 0 ? 1U : 0U) + (reusesPixels ? 0U : 1U);
    const u64 bytes = (record < 0 ? u64{kRecordSize} : 0) + (reusesPixels ? 0 : u64{size});
    return handles <= UnusedHandles() && bytes <= room;
}

u32 CreateBitmapIfItFits(u32 width, u32 height) {
    return BitmapFitsHeap(width, height) ? CreateBitmap(width, height) : 0;
}

u8* PixelsOfNewBitmap(u32 handle, u64 bytes) {
    const u32 pixelHandle = Load<u32>(GetHeapAdr(handle) + kRecordPixels);
    return CheckedRange(GetHeapAdr(pixelHandle), bytes);
}

}  // namespace moxi
