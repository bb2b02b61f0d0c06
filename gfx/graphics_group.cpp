#include "gfx/graphics_group.h"

#include "gfx/alpha.h"
#include "gfx/bitmap.h"
#include "gfx/blit.h"
#include "gfx/colour.h"
#include "gfx/draw.h"
#include "gfx/draw_text.h"
#include "gfx/image_files.h"
#include "sys/dispatch.h"
#include "sys/param.h"
#include "sys/services.h"

namespace moxi {

namespace {

constexpr u32 kLastFormat = 1;  // of image files: 0 is BMP, 1 is PNG

}  // namespace

void SysGraphicsGroup(u32 sub, u32 arguments) {
    const auto word = [arguments](u32 index) { return Argument(arguments, index); };
    const auto number = [arguments](u32 index) {
        return static_cast<i32>(Argument(arguments, index));
    };
    switch (kGraphicsServices | (sub & 0xFF)) {
        case SYS_POLYLINE: Polyline(word(0), word(1), word(2), word(3)); break;
        case SYS_RECTANGLE:
            Rectangle(word(0), number(1), number(2), number(3), number(4), word(5), word(6));
            break;
        case SYS_LOAD_IMAGE: SetResult(LoadImage(TextArgument(arguments, 0))); break;
        case SYS_BLIT:
            Blit(word(0), number(1), number(2), word(3), number(4), number(5), number(6), number(7),
                 word(8) != 0, number(9), number(10));
            break;
        case SYS_SET_ALPHA:
            SetResult64(SetAlpha(word(0), number(1), number(2), number(3), number(4),
                                 Load<i64>(arguments + 20), word(7)));
            break;
        case SYS_FREE_BITMAP: FreeBitmap(word(0)); break;
        case SYS_GET_PIXEL: SetResult(GetPixel(word(0), number(1), number(2))); break;
        case SYS_BLEND_PIXEL: BlendPixel(word(0), number(1), number(2), word(3)); break;
        case SYS_SCALED_BLIT:
            BlitScaled({word(0), number(1), number(2), number(3), number(4), word(5), number(6),
                        number(7), number(8), number(9), number(10), number(11)});
            break;
        case SYS_SAVE_IMAGE:
            SetResult(word(2) > kLastFormat
                          ? 0
                          : SaveImage(word(0), TextArgument(arguments, 1), word(2)));
            break;
        case SYS_RGB_TO_HSV: SetResult(RgbToHsv(word(0))); break;
        case SYS_HSV_TO_RGB: SetResult(HsvToRgb(word(0))); break;
        case SYS_BITMAP_INFO: GetBitmapInfo(word(0), word(1)); break;
        case SYS_SET_CLIP:
            SetClip(word(0), number(1), number(2), number(3), number(4), word(5));
            break;
        case SYS_LINE_PATTERN: SetResult(SetLinePattern(word(0))); break;
        case SYS_ADJUST_COLOURS:
            AdjustColours(word(0), number(1), number(2), number(3), number(4), number(5), number(6),
                          number(7), number(8));
            break;
        case SYS_DRAW_TEXT: SetResult(DrawText(arguments)); break;
        case SYS_HUE_SQUARE:
            HueSquare(word(0), number(1), number(2), number(3), number(4), word(5) & 0xFF);
            break;
        case SYS_ELLIPSE:
            Ellipse(word(0), number(1), number(2), number(3), number(4), word(5), word(6));
            break;
        case SYS_NEW_BITMAP: SetResult(CreateBitmap(word(0), word(1))); break;
        default: ReportUnknownCommand();
    }
}

}  // namespace moxi
