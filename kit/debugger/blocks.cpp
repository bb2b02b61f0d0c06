#include "kit/debugger/blocks.h"

#include <algorithm>
#include <vector>

#include "base/log.h"
#include "gfx/bitmap.h"
#include "gfx/png_write.h"
#include "host/queue.h"
#include "host/session.h"
#include "kit/debugger/names.h"
#include "kit/debugger/terminal.h"
#include "kit/module_memory.h"
#include "vm/heap.h"

namespace moxi {

namespace {

constexpr i64 kMostPixels = i64{1} << 26;  // of a picture to be saved

// --- The heap

struct Total {
    u32 blocks = 0;
    u64 bytes = 0;
};

const char* ListName(HeapList list) {
    switch (list) {
        case HeapList::Freed: return "freed";
        case HeapList::Allocated: return "allocated";
        case HeapList::Locked: return "locked";
        case HeapList::Unused: break;
    }
    return "unused";
}

void ShowBlockRow(u32 handle) {
    const HeapRecord& block = heapPtrs[handle];
    std::string row = FormatText("%6u  %8.8X  %10u  %10u  %s", handle, block.offset, block.size,
                                 block.requested, ListName(block.list));
    if (block.list == HeapList::Locked) {
        row += FormatText(", %u lock%s until SP is above 0x%8.8X", block.lockCount,
                          block.lockCount == 1 ? "" : "s", block.lockSP);
    }
    Say(row);
}

void ShowBlockHead() {
    Say("handle   address       bytes       asked");
}

void ShowTotals() {
    Total totals[4];
    for (const HeapRecord& block : heapPtrs) {
        Total& total = totals[static_cast<u32>(block.list) & 3];
        ++total.blocks;
        total.bytes += block.size;
    }
    Say(FormatText("heap %8.8X, %u bytes, %u of them handed out so far", heapStart, heapSize,
                   heapFree - heapStart));
    for (const HeapList list : {HeapList::Allocated, HeapList::Locked, HeapList::Freed}) {
        const Total& total = totals[static_cast<u32>(list)];
        Say(FormatText("%-10s %5u block%s, %llu bytes", ListName(list), total.blocks,
                       total.blocks == 1 ? "" : "s", static_cast<unsigned long long>(total.bytes)));
    }
    Say(FormatText("%-10s %5u handles", "unused", totals[0].blocks));
}

// --- Bitmaps

bool FindBitmap(u32 handle, Selection& selection) {
    if (handle == kScreenBitmap || handle == kTextBitmap) {
        selection = PeekHostBitmap(handle);
        return selection.pixels != nullptr;
    }
    return handle < kHeapHandles && heapPtrs[handle].list >= HeapList::Allocated &&
           PeekModuleBitmap(handle, selection);
}

u32 PixelHandle(const Selection& selection) {
    return Peek<u32>(selection.record + kRecordPixels).value_or(0);
}

// A module lays out other blocks of 32 bytes, too; the pixels tell a bitmap from them.
bool LooksLikeBitmap(u32 handle, Selection& selection) {
    if (heapPtrs[handle].requested != kRecordSize || !FindBitmap(handle, selection)) {
        return false;
    }
    const HeapRecord& pixels = heapPtrs[PixelHandle(selection)];
    return selection.width > 0 && selection.height > 0 && pixels.list >= HeapList::Allocated &&
           selection.stride >= i64{selection.width} * kBytesPerPixel &&
           i64{selection.stride} * selection.height <= pixels.requested &&
           Reaches(selection, BitmapArea(selection));
}

void ShowBitmapRow(const Selection& bitmap) {
    std::string row = bitmap.handle == kTextBitmap ? FormatText("0x%8.8X", bitmap.handle)
                                                   : FormatText("%10u", bitmap.handle);
    row +=
        FormatText("  %d x %d, stride %d, clip %d, %d, %d x %d, ", bitmap.width, bitmap.height,
                   bitmap.stride, bitmap.clipX, bitmap.clipY, bitmap.clipWidth, bitmap.clipHeight);
    if (bitmap.host) {
        row += bitmap.handle == kScreenBitmap ? "the screen" : "the text bitmap";
    } else {
        row += FormatText("pixels %u at 0x%8.8X", PixelHandle(bitmap), bitmap.pixelAddress);
    }
    Say(row);
}

void SayNoBitmap(u32 handle) {
    Say(FormatText("0x%X is no bitmap", handle));
}

}  // namespace

void ShowHeap(u32 count) {
    ShowTotals();
    std::vector<u32> handles;
    for (u32 handle = 0; handle < kHeapHandles; ++handle) {
        if (heapPtrs[handle].list != HeapList::Unused) {
            handles.push_back(handle);
        }
    }
    std::sort(handles.begin(), handles.end(), [](u32 a, u32 b) {
        return heapPtrs[a].offset != heapPtrs[b].offset ? heapPtrs[a].offset < heapPtrs[b].offset
                                                        : a < b;
    });
    if (!handles.empty()) {
        ShowBlockHead();
    }
    const size_t shown = std::min<size_t>(handles.size(), count);
    for (size_t i = 0; i < shown; ++i) {
        ShowBlockRow(handles[i]);
    }
    if (shown < handles.size()) {
        Say(FormatText("and %zu more", handles.size() - shown));
    }
}

void ShowHeapBlock(u32 handle) {
    if (handle >= kHeapHandles || heapPtrs[handle].list == HeapList::Unused) {
        Say(FormatText("0x%X is no handle of a block", handle));
        return;
    }
    ShowBlockHead();
    ShowBlockRow(handle);
}

void ShowBitmaps() {
    Selection bitmap;
    for (const u32 handle : {kScreenBitmap, kTextBitmap}) {
        if (FindBitmap(handle, bitmap)) {
            ShowBitmapRow(bitmap);
        }
    }
    for (u32 handle = 1; handle < kHeapHandles; ++handle) {
        if (LooksLikeBitmap(handle, bitmap)) {
            ShowBitmapRow(bitmap);
        }
    }
}

void ShowBitmap(u32 handle) {
    Selection bitmap;
    if (!FindBitmap(handle, bitmap)) {
        return SayNoBitmap(handle);
    }
    ShowBitmapRow(bitmap);
    if (!bitmap.host && !LooksLikeBitmap(handle, bitmap)) {
        Say("the record may be none of a bitmap");
    }
}

void SaveBitmap(u32 handle, const std::string& path) {
    Selection bitmap;
    if (!FindBitmap(handle, bitmap)) {
        return SayNoBitmap(handle);
    }
    const Area area = BitmapArea(bitmap);
    if (area.Empty() || area.right * area.bottom > kMostPixels || !Reaches(bitmap, area)) {
        Say(FormatText("bitmap 0x%X: %d x %d with stride %d is no picture", handle, bitmap.width,
                       bitmap.height, bitmap.stride));
        return;
    }
    // Rows of a module's bitmap may follow one another in any order.
    std::vector<u8> pixels;
    const size_t rowBytes = static_cast<size_t>(area.right) * kBytesPerPixel;
    for (i64 y = 0; y < area.bottom; ++y) {
        const u8* const row = PixelAt(bitmap, 0, y);
        pixels.insert(pixels.end(), row, row + rowBytes);
    }
    const bool written =
        WritePngFile(path, pixels.data(), static_cast<u32>(bitmap.width),
                     static_cast<u32>(bitmap.height), static_cast<u32>(rowBytes), PngFormat::Rgba);
    Say(path +
        (written ? FormatText(": %d x %d", bitmap.width, bitmap.height) : ": cannot be written"));
}

void ShowQueue() {
    const u32 length = QueueLength();
    Say(FormatText("%u message%s wait%s%s", length, length == 1 ? "" : "s", length == 1 ? "s" : "",
                   inputSuspended ? ", delivery is suspended" : ""));
    for (u32 i = 0; i < length; ++i) {
        const Message& message = QueuedMessage(i);
        Say(DescribeMessage(message.command, message.p1, message.p2, message.p3));
    }
}

}  // namespace moxi
