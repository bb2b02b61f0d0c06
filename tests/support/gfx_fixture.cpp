#include "tests/support/gfx_fixture.h"

#include "desktop/desktop.h"
#include "gfx/kernels.h"
#include "gfx/screen.h"
#include "vm/heap.h"
#include "vm/machine.h"

namespace moxi {

void StartGfxBench(u32 imageBytes, u32 screenWidth, u32 screenHeight) {
    StartVmBench();
    ResetGraphics();
    MakeImage(imageBytes, 512, kTestHeapStart);
    InitHeapTable();
    AllocHeap(4);
    ASSERT_TRUE(CreateScreenBitmap(screenWidth, screenHeight));
}

void EndGfxBench() {
    ResetGraphics();
    desktop.endIsForced = [] { return false; };
    kernels = &scalarKernels;
    EndVmBench();
}

u32 RecordAddress(u32 handle) {
    return GetHeapAdr(handle);
}

u32 PixelAddress(u32 handle) {
    return GetHeapAdr(Load<u32>(RecordAddress(handle) + kRecordPixels));
}

u32 MakeBitmap(u32 width, u32 height, u32 pixel) {
    const u32 handle = CreateBitmap(width, height);
    for (u32 i = 0; i < width * height; ++i) {
        Store<u32>(PixelAddress(handle) + 4 * i, pixel);
    }
    return handle;
}

void SetPixel(u32 handle, i32 x, i32 y, u32 pixel) {
    if (handle == kScreenBitmap || handle == kTextBitmap) {
        const HostBitmap& bitmap = handle == kScreenBitmap ? screenBitmap : textBitmap;
        StoreBytes<u32>(bitmap.pixels + y * static_cast<i64>(bitmap.stride) + i64{4} * x, pixel);
        return;
    }
    const u32 stride = Load<u32>(RecordAddress(handle) + kRecordStride);
    Store<u32>(PixelAddress(handle) + static_cast<u32>(y) * stride + 4 * static_cast<u32>(x),
               pixel);
}

}  // namespace moxi
