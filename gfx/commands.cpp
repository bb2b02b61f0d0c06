#include "gfx/commands.h"

#include "gfx/bitmap.h"
#include "gfx/draw.h"
#include "sys/dispatch.h"
#include "sys/param.h"

namespace {

enum Command : u32 {
    kPolyline = 0,
    kRectangle = 1,
    kLoadImage = 2,
    kFreeBitmap = 4,
    kGetPixel = 6,
    kBlendPixel = 7,
    kSaveImage = 9,
    kGetBitmapInfo = 12,
    kSetClip = 13,
    kSetLinePattern = 14,
    kDrawText = 16,
    kEllipse = 18,
    kCreateBitmap = 19,
};

constexpr u32 kLastFormat = 1;  // of image files: 0 is BMP, 1 is PNG

}  // namespace

void SysGraphicsGroup(u32 sub, u32 arguments) {
    const auto word = [arguments](u32 index) { return Argument(arguments, index); };
    const auto number = [arguments](u32 index) {
        return static_cast<i32>(Argument(arguments, index));
    };
    switch (sub & 0xFF) {
        case kPolyline: Polyline(word(0), word(1), word(2), word(3)); break;
        case kRectangle:
            Rectangle(word(0), number(1), number(2), number(3), number(4), word(5), word(6));
            break;
        case kLoadImage: SetResult(gfxSlots.loadImage(TextArgument(arguments, 0))); break;
        case kFreeBitmap: FreeBitmap(word(0)); break;
        case kGetPixel: SetResult(GetPixel(word(0), number(1), number(2))); break;
        case kBlendPixel: BlendPixel(word(0), number(1), number(2), word(3)); break;
        case kSaveImage:
            SetResult(word(2) > kLastFormat
                          ? 0
                          : gfxSlots.saveImage(word(0), TextArgument(arguments, 1), word(2)));
            break;
        case kGetBitmapInfo: GetBitmapInfo(word(0), word(1)); break;
        case kSetClip: SetClip(word(0), number(1), number(2), number(3), number(4), word(5)); break;
        case kSetLinePattern: SetResult(SetLinePattern(word(0))); break;
        case kDrawText: SetResult(gfxSlots.drawText(arguments)); break;
        case kEllipse:
            Ellipse(word(0), number(1), number(2), number(3), number(4), word(5), word(6));
            break;
        case kCreateBitmap: SetResult(CreateBitmap(word(0), word(1))); break;
        default: ReportUnknownCommand();
    }
}
