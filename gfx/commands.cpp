#include "gfx/commands.h"

#include "gfx/alpha.h"
#include "gfx/bitmap.h"
#include "gfx/blit.h"
#include "gfx/colour.h"
#include "gfx/draw.h"
#include "sys/dispatch.h"
#include "sys/param.h"

namespace {

enum Command : u32 {
    kPolyline = 0,
    kRectangle = 1,
    kLoadImage = 2,
    kBlit = 3,
    kFreeBitmap = 4,
    kSetAlpha = 5,
    kGetPixel = 6,
    kBlendPixel = 7,
    kScaledBlit = 8,
    kSaveImage = 9,
    kRgbToHsv = 10,
    kHsvToRgb = 11,
    kGetBitmapInfo = 12,
    kSetClip = 13,
    kSetLinePattern = 14,
    kAdjustColours = 15,
    kDrawText = 16,
    kHueSquare = 17,
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
        case kBlit:
            Blit(word(0), number(1), number(2), word(3), number(4), number(5), number(6), number(7),
                 word(8) != 0, number(9), number(10));
            break;
        case kSetAlpha:
            SetResult64(SetAlpha(word(0), number(1), number(2), number(3), number(4),
                                 Load<i64>(arguments + 20), word(7)));
            break;
        case kFreeBitmap: FreeBitmap(word(0)); break;
        case kGetPixel: SetResult(GetPixel(word(0), number(1), number(2))); break;
        case kBlendPixel: BlendPixel(word(0), number(1), number(2), word(3)); break;
        case kScaledBlit:
            BlitScaled({word(0), number(1), number(2), number(3), number(4), word(5), number(6),
                        number(7), number(8), number(9), number(10), number(11)});
            break;
        case kSaveImage:
            SetResult(word(2) > kLastFormat
                          ? 0
                          : gfxSlots.saveImage(word(0), TextArgument(arguments, 1), word(2)));
            break;
        case kRgbToHsv: SetResult(RgbToHsv(word(0))); break;
        case kHsvToRgb: SetResult(HsvToRgb(word(0))); break;
        case kGetBitmapInfo: GetBitmapInfo(word(0), word(1)); break;
        case kSetClip: SetClip(word(0), number(1), number(2), number(3), number(4), word(5)); break;
        case kSetLinePattern: SetResult(SetLinePattern(word(0))); break;
        case kAdjustColours:
            AdjustColours(word(0), number(1), number(2), number(3), number(4), number(5), number(6),
                          number(7), number(8));
            break;
        case kDrawText: SetResult(gfxSlots.drawText(arguments)); break;
        case kHueSquare:
            HueSquare(word(0), number(1), number(2), number(3), number(4), word(5) & 0xFF);
            break;
        case kEllipse:
            Ellipse(word(0), number(1), number(2), number(3), number(4), word(5), word(6));
            break;
        case kCreateBitmap: SetResult(CreateBitmap(word(0), word(1))); break;
        default: ReportUnknownCommand();
    }
}
