#include "gfx/draw.h"

#include <algorithm>

#include "gfx/bitmap.h"
#include "gfx/kernels.h"
#include "gfx/patience.h"
#include "gfx/pixel.h"
#include "vm/machine.h"

namespace moxi {

namespace {

void FillArea(const Selection& selection, const Area& area, u32 colour) {
    if (area.Empty()) {
        return;
    }
    RequireArea(selection, area);
    ForEachBand(area, [&](const Area& band) {
        kernels->fill(PixelAt(selection, band.left, band.top), selection.stride,
                      static_cast<std::size_t>(band.right - band.left),
                      static_cast<std::size_t>(band.bottom - band.top), colour);
    });
}

i32 Add(i32 a, i32 b) {
    return static_cast<i32>(static_cast<u32>(a) + static_cast<u32>(b));
}

}  // namespace

u32 GetPixel(u32 handle, i32 x, i32 y) {
    StartSRC(handle);
    u32 pixel = 0;
    if (x >= 0 && x < srcSelection.width && y >= 0 && y < srcSelection.height) {
        RequireArea(srcSelection, {x, y, i64{x} + 1, i64{y} + 1});
        pixel = LoadBytes<u32>(PixelAt(srcSelection, x, y));
    }
    EndSRC();
    return pixel;
}

void BlendPixel(u32 handle, i32 x, i32 y, u32 colour) {
    StartSRC(handle);
    if (x >= 0 && x < srcSelection.width && y >= 0 && y < srcSelection.height) {
        RequireArea(srcSelection, {x, y, i64{x} + 1, i64{y} + 1});
        BlendPixelAt(PixelAt(srcSelection, x, y), PrepareBlend(colour));
    }
    EndSRC();
    if (handle == kScreenBitmap) {
        GrowDirtyRect(x, y, 1, 1);
    }
}

void Polyline(u32 handle, u32 points, u32 count, u32 colour) {
    if (count == 1) {
        return;
    }
    // A count of 0 wraps; no image holds that many points.
    const u64 pointCount = count == 0 ? u64{1} << 32 : count;
    CheckedRange(points, pointCount * 8);
    const auto ends = [points](u32 i) {
        const u32 point = points + 8 * i;
        return LineEnds{Load<i32>(point), Load<i32>(point + 4), Load<i32>(point + 8),
                        Load<i32>(point + 12)};
    };
    Selection selection;
    if (PeekModuleBitmap(handle, selection)) {
        u32 pattern = LinePattern();
        for (u32 i = 0; i + 1 < count; ++i) {
            NoteDrawing(kPixelsOfAStep);
            RequireLine(selection, ends(i), pattern);
        }
    }
    for (u32 i = 0; i + 1 < count; ++i) {
        NoteDrawing(kPixelsOfAStep);
        const LineEnds line = ends(i);
        Line(handle, line.x1, line.y1, line.x2, line.y2, colour);
    }
}

void Rectangle(u32 handle, i32 x, i32 y, i32 w, i32 h, u32 fill, u32 frame) {
    const bool framed = AlphaOf(frame) != 0;
    const i32 right = Add(Add(x, w), -1);
    const i32 bottom = Add(Add(y, h), -1);
    const LineEnds sides[4] = {
        {x, y, right, y}, {right, y, right, bottom}, {right, bottom, x, bottom}, {x, bottom, x, y}};
    Selection selection;
    if (framed && PeekModuleBitmap(handle, selection)) {
        u32 pattern = LinePattern();
        for (const LineEnds& side : sides) {
            RequireLine(selection, side, pattern);
        }
    }
    if (AlphaOf(fill) != 0) {
        StartDST(handle);
        const i64 inset = framed ? 1 : 0;
        const Area area = {x + inset, y + inset, i64{x} + w - inset, i64{y} + h - inset};
        FillArea(dstSelection, Intersect(area, ClipArea(dstSelection)), fill);
        EndDST();
    }
    if (framed) {
        for (const LineEnds& side : sides) {
            Line(handle, side.x1, side.y1, side.x2, side.y2, frame);
        }
    }
    if (handle == kScreenBitmap) {
        GrowDirtyRect(x, y, w, h);
    }
}

void SetClip(u32 handle, i32 x, i32 y, i32 w, i32 h, u32 save) {
    StartSRC(handle);
    if (save != 0) {
        CheckedRange(save, 16);
        Store<i32>(save, srcSelection.clipX);
        Store<i32>(save + 4, srcSelection.clipY);
        Store<i32>(save + 8, srcSelection.clipWidth);
        Store<i32>(save + 12, srcSelection.clipHeight);
    }
    const i32 newX = std::min(std::max(x, 0), srcSelection.width);
    const i32 newY = std::min(std::max(y, 0), srcSelection.height);
    const i32 newWidth = std::max(std::min(w, srcSelection.width - newX), 0);
    const i32 newHeight = std::max(std::min(h, srcSelection.height - newY), 0);
    if (handle == kScreenBitmap) {
        screenBitmap.clipX = newX;
        screenBitmap.clipY = newY;
        screenBitmap.clipWidth = newWidth;
        screenBitmap.clipHeight = newHeight;
    } else {
        // The text bitmap has no record: its clip goes to the record selected last as a source,
        // wherever that lay.
        const u32 record = srcSelection.record;
        CheckedRange(record, kRecordSize);
        Store<i32>(record + kRecordClip, newX);
        Store<i32>(record + kRecordClip + 4, newY);
        Store<i32>(record + kRecordClip + 8, newWidth);
        Store<i32>(record + kRecordClip + 12, newHeight);
    }
    EndSRC();
}

void GetBitmapInfo(u32 handle, u32 out) {
    StartSRC(handle);
    CheckedRange(out, 24);
    const i32 words[6] = {srcSelection.width, srcSelection.height,    srcSelection.clipX,
                          srcSelection.clipY, srcSelection.clipWidth, srcSelection.clipHeight};
    for (u32 i = 0; i < 6; ++i) {
        Store<i32>(out + 4 * i, words[i]);
    }
    EndSRC();
}

}  // namespace moxi
