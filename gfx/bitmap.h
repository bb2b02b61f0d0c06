#pragma once
// Bitmaps: the screen bitmap, the text bitmap and the module's bitmaps, the selections through
// which every primitive reaches pixels, and the dirty rectangle of the screen.
//
// A pixel is four bytes in the order red, green, blue, alpha; as a word it is
// alpha << 24 | blue << 16 | green << 8 | red. Rows run from the top down.

#include <algorithm>

#include "base/types.h"
#include "vm/fault.h"
#include "vm/machine.h"

namespace moxi {

// --- Handles

constexpr u32 kScreenBitmap = 0;
constexpr u32 kTextBitmap = 0xFFFFFFFE;
constexpr u32 kNoBitmap = 0xFFFFFFFF;  // nothing is selected
// Any other value is the heap handle of a bitmap record: eight words in the module's heap.

constexpr u32 kBytesPerPixel = 4;

constexpr u32 kRecordWidth = 0;
constexpr u32 kRecordHeight = 4;
constexpr u32 kRecordStride = 8;
constexpr u32 kRecordClip = 12;  // x, y, width, height
constexpr u32 kRecordPixels = 28;
constexpr u32 kRecordSize = 32;

// --- Host bitmaps

// Pixels in host memory, which the module cannot address. `pixels` starts on a multiple of 64.
struct HostBitmap {
    u8* pixels;
    u32 width, height, stride;
    i32 clipX, clipY, clipWidth, clipHeight;
    u32 reserved;
};

extern HostBitmap screenBitmap;
extern HostBitmap textBitmap;

// --- Module bitmaps

// A bitmap record and its pixel block in the module's heap; the pixels are not cleared. Returns the
// record's handle. The heap's own checks are the only ones.
u32 CreateBitmap(u32 width, u32 height);

// Frees pixels and record. The screen bitmap cannot be freed: handle 0 does nothing.
void FreeBitmap(u32 handle);

// --- Selections

// The selected bitmap. For a module bitmap the fields are those of its record, which the module may
// have filled with anything, so they are signed and promise nothing: primitives ask Reaches()
// before they touch pixels.
struct Selection {
    u32 handle;        // kNoBitmap when nothing is selected
    bool host;         // screen or text bitmap
    u32 record;        // address of the record of the module bitmap selected last
    u8* pixels;        // host bitmaps: the first pixel
    u32 pixelAddress;  // module bitmaps: the image address of the first pixel
    i32 width, height, stride;
    i32 clipX, clipY, clipWidth, clipHeight;
};

extern Selection dstSelection;
extern Selection srcSelection;

// StartDST ends the process when a destination is selected already. A bad handle is a memory fault
// after the heap's report; a record without pixels is reported and handle 0's block is used.
void StartDST(u32 handle);
void EndDST();
void StartSRC(u32 handle);
void EndSRC();

// Both selections. A bitmap that is both is locked once, and unlocked once.
void StartDSTSRC(u32 source, u32 destination);
void EndDSTSRC();

// What selecting a module bitmap would give, without locks and reports: for operations in several
// steps that look first whether all of them stay in the image. False for host bitmaps and where
// selecting would fail.
bool PeekModuleBitmap(u32 handle, Selection& selection);
// What selecting the screen or the text bitmap would give.
Selection PeekHostBitmap(u32 handle);

// --- Pixels of a selection

// Columns [left, right) of rows [top, bottom).
struct Area {
    i64 left, top, right, bottom;
    bool Empty() const { return left >= right || top >= bottom; }
};

inline Area Intersect(const Area& a, const Area& b) {
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom)};
}

// The bitmap's own area, and its clip rectangle.
inline Area BitmapArea(const Selection& selection) {
    return {0, 0, selection.width, selection.height};
}
inline Area ClipArea(const Selection& selection) {
    return {selection.clipX, selection.clipY, i64{selection.clipX} + selection.clipWidth,
            i64{selection.clipY} + selection.clipHeight};
}

// Products of two numbers of a record do not fit 64 bits: rows and strides of 2^31 come from
// modules that mean harm.
__extension__ using WideInt = __int128;

// The bytes of a non-empty area, from the lowest one to the end, are in the image.
template <class Int>
[[gnu::always_inline]] inline bool IsInImage(const Selection& selection, const Area& area) {
    // The stride may be negative, so the lowest row is the first or the last one.
    const Int firstRow = Int{area.top} * selection.stride;
    const Int lastRow = Int{area.bottom - 1} * selection.stride;
    const Int lowest =
        selection.pixelAddress + std::min(firstRow, lastRow) + Int{area.left} * kBytesPerPixel;
    const Int end =
        selection.pixelAddress + std::max(firstRow, lastRow) + Int{area.right} * kBytesPerPixel;
    return lowest >= 0 && end <= Int{imageSize};
}

// The same for areas of any size; out of line, because hardly any area needs it.
bool IsFarAreaInImage(const Selection& selection, const Area& area);

// Whether every pixel of a non-empty area lies in the image, or in the host bitmap.
inline bool Reaches(const Selection& selection, const Area& area) {
    if (selection.host) {
        return area.left >= 0 && area.top >= 0 && area.right <= selection.width &&
               area.bottom <= selection.height;
    }
    const bool isUsual = ((area.left | area.top | area.right | area.bottom) >> 30) == 0;
    return isUsual ? IsInImage<i64>(selection, area) : IsFarAreaInImage(selection, area);
}

// Ends the host with a memory fault unless the area is empty or reached.
inline void RequireArea(const Selection& selection, const Area& area) {
    if (!area.Empty() && !Reaches(selection, area)) {
        MemoryFault();
    }
}

// The bytes of pixel (x, y), which must be reached.
inline u8* PixelAt(const Selection& selection, i64 x, i64 y) {
    const i64 offset = y * selection.stride + x * i64{kBytesPerPixel};
    return selection.host ? selection.pixels + offset : image + (selection.pixelAddress + offset);
}

// --- Dirty rectangle

// The part of the screen bitmap that changed since the last flush; right and bottom are exclusive.
// It may extend past the bitmap. Empty is 30000, 30000, -1, -1.
struct DirtyRect {
    i32 left, top, right, bottom;
};

extern DirtyRect dirtyRect;

// Off until the main window has been shown, so drawing during start-up never grows the rectangle.
extern bool dirtyTracking;

// Adds a rectangle, while tracking is on. A negative width or height extends to the other side.
void GrowDirtyRect(i32 x, i32 y, i32 w, i32 h);
void ResetDirtyRect();

// --- Life

// Sets the state of this file to that of a new process; the host bitmaps' memory is gfx/screen's.
void ResetBitmaps();

}  // namespace moxi
