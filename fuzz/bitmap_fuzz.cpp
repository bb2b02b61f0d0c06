// Bitmap records that a module has spoilt, under all graphics commands with any arguments. Each
// command comes back or ends in the machine's fault, and no byte is touched that is neither the
// image's nor a host bitmap's.

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdlib>
#include <cstring>

#include "desktop/desktop.h"
#include "desktop/folders.h"
#include "desktop/pango/pango_engine.h"
#include "fuzz/confine.h"
#include "gfx/bitmap.h"
#include "gfx/draw.h"
#include "gfx/draw_text.h"
#include "gfx/fonts.h"
#include "gfx/graphics_group.h"
#include "gfx/image_files.h"
#include "gfx/screen.h"
#include "sys/files.h"
#include "vm/guard.h"
#include "vm/heap.h"
#include "vm/machine.h"
#include "vm/slots.h"

namespace moxi {

namespace {

constexpr u32 kImageSize = 8192;
constexpr u32 kHeapStart = 1024;
constexpr u32 kBlock = 600;  // of arguments
constexpr u32 kText = 700;
constexpr u32 kPoints = 760;
constexpr u32 kWords = 12;
constexpr u32 kMostCommands = 16;
constexpr u32 kDrawingLooks = 2;

struct RunEnded {};

constinit u32 looks = 0;
constinit u32 command = 0;

void StartMachine() {
    ResetGraphics();
    std::memset(image, 0, kImageSize);
    heapStart = kHeapStart;
    heapSize = kImageSize - kHeapStart;
    heapPointerCount = 0;
    InitHeapTable();
    AllocHeap(4);
    if (!CreateScreenBitmap(40, 30)) {
        std::abort();
    }
    std::memcpy(image + kText, "A.BMP", 6);
    SetLinePattern(0xFFFFFFFF);
    looks = 0;
}

u32 Word(FuzzedDataProvider& input, u32 handle) {
    switch (input.ConsumeIntegralInRange<u32>(0, 7)) {
        case 0: return input.ConsumeIntegral<u32>();
        case 1: return input.PickValueInArray<u32>({0, kTextBitmap, handle, handle + 2});
        case 2: return input.PickValueInArray<u32>({kText, kPoints, kHeapStart, kImageSize - 8});
        case 3: return input.ConsumeIntegralInRange<u32>(0, 64);
        case 4: return static_cast<u32>(-input.ConsumeIntegralInRange<i32>(0, 64));
        default:
            return input.PickValueInArray<u32>({0x3FFFFFFF, 0x40000000, 0x7FFFFFFE, 0x7FFFFFFF,
                                                0x80000000, 0x80000001, 0xC0000000, 0xFFFFFFFE,
                                                0xFFFFFFFF, 0x10000, 8, 9});
    }
}

u32 Stride(FuzzedDataProvider& input) {
    const u32 stride = input.PickValueInArray<u32>({32, 0, 0xFFFFFFE0, 160, 0x10000, 0xFFFF0000,
                                                    0x3FFFFFFF, 0x40000000, 0xC0000000, 0x7FFFFFFF,
                                                    0x80000000, 0x7FFFFFFC, 0x80000004});
    return stride;
}

void Spoil(FuzzedDataProvider& input, u32 handle) {
    const u32 record = heapPtrs[handle].offset;
    const u32 pixels = Load<u32>(record + kRecordPixels);
    for (u32 i = 0; i < 8; ++i) {
        Store<u32>(record + 4 * i, Word(input, handle));
    }
    Store<u32>(record + kRecordStride, Stride(input));
    if (input.ConsumeIntegralInRange<u32>(0, 7) != 0) {
        Store<u32>(record + kRecordPixels, pixels);
    }
}

void RunCommand(FuzzedDataProvider& input, u32 handle) {
    command = input.ConsumeIntegralInRange<u32>(0, 20);
    for (u32 i = 0; i < kWords; ++i) {
        Store<u32>(kBlock + 4 * i, Word(input, handle));
    }
    for (u32 i = 0; i < 8; ++i) {
        Store<u32>(kPoints + 4 * i, Word(input, handle));
    }
    if (input.ConsumeIntegralInRange<u32>(0, 3) != 0) {
        Store<u32>(kBlock, handle);
    }
    if (command == 2) {
        Store<u32>(kBlock, kText);
    }
    if (command == 9 || command == 16) {
        Store<u32>(kBlock + 4, kText);
    }
    RunGuarded([] { SysGraphicsGroup(command, kBlock); });
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    confine::Confine(*argc, *argv);
    folders.dataOverride = folders.resources = confine::folder + "/data";
    InitFolders();
    AllocateImage(kImageSize);
    StartPangoText();
    desktop.endIsForced = [] { return ++looks >= kDrawingLooks; };
    vmSlots.endProcess = [](int) { throw RunEnded(); };
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    StartMachine();
    try {
        const u32 handle = CreateBitmap(8, 8);
        CreateBitmap(8, 8);
        for (u32 i = 0; i < kMostCommands && input.remaining_bytes() != 0; ++i) {
            if (i == 0 || input.ConsumeBool()) {
                Spoil(input, handle);
            }
            RunCommand(input, handle);
        }
    } catch (const RunEnded&) {
        // The end of the process in real life.
    }
    return 0;
}

}  // namespace moxi
