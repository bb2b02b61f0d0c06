#include "gfx/bitmap.h"

#include <algorithm>

#include "vm/diagnostics.h"
#include "vm/heap.h"
#include "vm/machine.h"

namespace moxi {

namespace {

constexpr DirtyRect kEmptyDirtyRect = {30000, 30000, -1, -1};
// The record while none has been selected: an address beyond every image, so that its use is a
// memory fault.
constexpr u32 kNoRecord = 0xFFFFFFFF;
constexpr Selection kNoSelection = {kNoBitmap, false, kNoRecord, nullptr, 0, 0, 0, 0, 0, 0, 0, 0};

}  // namespace

constinit HostBitmap screenBitmap = {};
constinit HostBitmap textBitmap = {};
constinit Selection dstSelection = kNoSelection;
constinit Selection srcSelection = kNoSelection;
constinit DirtyRect dirtyRect = kEmptyDirtyRect;
constinit bool dirtyTracking = false;

namespace {

void ReadHostBitmap(Selection& selection) {
    const HostBitmap& bitmap = selection.handle == kScreenBitmap ? screenBitmap : textBitmap;
    selection.pixels = bitmap.pixels;
    selection.pixelAddress = 0;
    selection.width = static_cast<i32>(bitmap.width);
    selection.height = static_cast<i32>(bitmap.height);
    selection.stride = static_cast<i32>(bitmap.stride);
    selection.clipX = bitmap.clipX;
    selection.clipY = bitmap.clipY;
    selection.clipWidth = bitmap.clipWidth;
    selection.clipHeight = bitmap.clipHeight;
}

void ReadRecord(Selection& selection, u32 record, u32 pixelAddress) {
    selection.record = record;
    selection.pixels = nullptr;
    selection.pixelAddress = pixelAddress;
    selection.width = Load<i32>(record + kRecordWidth);
    selection.height = Load<i32>(record + kRecordHeight);
    selection.stride = Load<i32>(record + kRecordStride);
    selection.clipX = Load<i32>(record + kRecordClip);
    selection.clipY = Load<i32>(record + kRecordClip + 4);
    selection.clipWidth = Load<i32>(record + kRecordClip + 8);
    selection.clipHeight = Load<i32>(record + kRecordClip + 12);
}

void Select(Selection& selection, u32 handle, const char* alreadyStarted, const char* noPixels) {
    if (selection.handle != kNoBitmap) {
        ShowFatalMessage(alreadyStarted);
        EndProcess(1);
    }
    selection.handle = handle;
    selection.host = handle == kScreenBitmap || handle == kTextBitmap;
    if (selection.host) {
        ReadHostBitmap(selection);
        return;
    }
    const u32 record = static_cast<u32>(LockHeapPtr(handle) - image);
    CheckedRange(record, kRecordSize);
    const u32 pixelHandle = Load<u32>(record + kRecordPixels);
    if (pixelHandle == 0) {
        ShowFatalMessage(noPixels);
    }
    ReadRecord(selection, record, static_cast<u32>(LockHeapPtr(pixelHandle) - image));
}

void Release(Selection& selection) {
    if (static_cast<i32>(selection.handle) > 0) {
        // The record is read again: drawing may have changed it.
        UnlockHeapPtr(Load<u32>(selection.record + kRecordPixels));
        UnlockHeapPtr(selection.handle);
    }
    selection.handle = kNoBitmap;
}

}  // namespace

u32 CreateBitmap(u32 width, u32 height) {
    const u32 stride = width * kBytesPerPixel;
    const u32 handle = AllocHeap(kRecordSize);
    const u32 pixelHandle = AllocHeap(stride * height);
    const u32 record = static_cast<u32>(LockHeapPtr(handle) - image);
    const u32 words[8] = {width, height, stride, 0, 0, width, height, pixelHandle};
    for (u32 i = 0; i < 8; ++i) {
        Store<u32>(record + 4 * i, words[i]);
    }
    UnlockHeapPtr(handle);
    return handle;
}

void FreeBitmap(u32 handle) {
    if (handle == kScreenBitmap) {
        return;
    }
    const u32 record = static_cast<u32>(LockHeapPtr(handle) - image);
    CheckedRange(record, kRecordSize);
    const u32 pixelHandle = Load<u32>(record + kRecordPixels);
    UnlockHeapPtr(handle);
    if (pixelHandle != 0) {
        FreeHeap(pixelHandle);
    }
    FreeHeap(handle);
}

void StartDST(u32 handle) {
    Select(dstSelection, handle, "StartDST() already started", "StartDST: hBM==0");
}

void EndDST() {
    Release(dstSelection);
}

void StartSRC(u32 handle) {
    Select(srcSelection, handle, "StartSRC() already started", "StartSRC: hBM==0");
}

void EndSRC() {
    Release(srcSelection);
}

void StartDSTSRC(u32 source, u32 destination) {
    StartDST(destination);
    if (source != destination) {
        StartSRC(source);
        return;
    }
    const u32 formerRecord = srcSelection.record;
    srcSelection = dstSelection;
    if (srcSelection.host) {
        srcSelection.record = formerRecord;
    }
}

void EndDSTSRC() {
    const bool shared = dstSelection.handle == srcSelection.handle;
    if (!shared) {
        EndSRC();
    }
    EndDST();
    srcSelection.handle = kNoBitmap;
}

bool PeekModuleBitmap(u32 handle, Selection& selection) {
    if (handle == kScreenBitmap || handle >= kHeapHandles) {
        return false;
    }
    const u32 record = heapPtrs[handle].offset;
    if (u64{record} + kRecordSize > imageSize) {
        return false;
    }
    const u32 pixelHandle = Load<u32>(record + kRecordPixels);
    if (pixelHandle >= kHeapHandles) {
        return false;
    }
    selection = kNoSelection;
    selection.handle = handle;
    ReadRecord(selection, record, heapPtrs[pixelHandle].offset);
    return true;
}

Selection PeekHostBitmap(u32 handle) {
    Selection selection = kNoSelection;
    selection.handle = handle;
    selection.host = true;
    ReadHostBitmap(selection);
    return selection;
}

bool IsFarAreaInImage(const Selection& selection, const Area& area) {
    return IsInImage<WideInt>(selection, area);
}

void GrowDirtyRect(i32 x, i32 y, i32 w, i32 h) {
    if (!dirtyTracking) {
        return;
    }
    // Sums wrap: the rectangle comes from the module and may be anything.
    const auto add = [](i32 a, i32 b) {
        return static_cast<i32>(static_cast<u32>(a) + static_cast<u32>(b));
    };
    const auto size = [](i32 a) { return a < 0 ? static_cast<i32>(0U - static_cast<u32>(a)) : a; };
    const i32 left = w < 0 ? add(x, w) : x;
    const i32 top = h < 0 ? add(y, h) : y;
    dirtyRect.left = std::min(dirtyRect.left, left);
    dirtyRect.top = std::min(dirtyRect.top, top);
    dirtyRect.right = std::max(dirtyRect.right, add(left, size(w)));
    dirtyRect.bottom = std::max(dirtyRect.bottom, add(top, size(h)));
}

void ResetDirtyRect() {
    dirtyRect = kEmptyDirtyRect;
}

void ResetBitmaps() {
    screenBitmap = textBitmap = {};
    dstSelection = srcSelection = kNoSelection;
    dirtyRect = kEmptyDirtyRect;
    dirtyTracking = false;
}

}  // namespace moxi
