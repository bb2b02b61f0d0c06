#include "gfx/draw_text.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "base/utf8.h"
#include "gfx/bitmap.h"
#include "gfx/blit.h"
#include "gfx/kernels.h"
#include "gfx/pixel.h"
#include "gfx/row_kernels.h"
#include "gfx/tiling.h"
#include "sys/param.h"

namespace moxi {

namespace {

// The background of slanted text is wider than its box, but not wider than this.
constexpr i64 kWidestSlantedBackground = 2048;
constexpr i32 kSlantPart = 6;  // of the height, by which slanted text counts as wider

struct Request {
    u32 destination;
    i32 x, y, width, height;
    u32 flags, background, colour;

    bool Has(u32 flag) const { return (flags & flag) != 0; }
    // The background is a colour that covers what was there.
    bool Covers() const { return AlphaOf(background) == 255; }
};

// What is drawn of a text: its first bytes, and how many UTF-16 units count as used.
struct Line {
    std::string_view drawn;
    u32 units;
};

constexpr Line kNothing = {};

// --- Which characters

Line CutAtCharacter(std::string_view text, std::size_t overflow) {
    const std::string_view fitting = text.substr(0, overflow);
    return {fitting, CountUnits(fitting)};
}

Line CutAtSpace(std::string_view text, std::size_t overflow, bool cutWithoutSpace) {
    if (overflow == 0) {
        return kNothing;
    }
    // The overflowing character itself may be the space.
    const std::size_t space = text.substr(0, overflow + 1).rfind(' ');
    const std::size_t last = space == std::string_view::npos ? 0 : space;
    if (last == 0 && cutWithoutSpace) {
        return CutAtCharacter(text, overflow);
    }
    // Ends with the space, which is left for the next line; without one the first character is
    // drawn, and none is used.
    const std::string_view drawn = text.substr(0, last + CharacterLength(text, last));
    if (drawn == " ") {
        return kNothing;
    }
    return {drawn, CountUnits(text.substr(0, last))};
}

Line ChooseLine(const Request& request, std::string_view text, const TextFit& fit) {
    if (fit.whole) {
        return {text, CountUnits(text)};
    }
    return request.Has(kTextWrap) ? CutAtSpace(text, fit.overflow, request.Has(kTextCut))
                                  : CutAtCharacter(text, fit.overflow);
}

TextFit FitText(const Request& request, TextFont* font, std::string_view text) {
    if (request.Has(kTextCut | kTextWrap)) {
        return textEngine.fit(font, text, request.width);
    }
    return {true, 0};
}

// --- Pixels of the text bitmap

void FillColumns(i64 left, i64 right, i32 rows, u32 colour) {
    right = std::min(right, i64{textBitmap.width});
    if (left >= right) {
        return;
    }
    kernels->fill(textBitmap.pixels + left * i64{kBytesPerPixel}, textBitmap.stride,
                  static_cast<std::size_t>(right - left), static_cast<std::size_t>(rows),
                  colour | 0xFF000000);
}

void MakeOpaque(i64 columns, i32 rows) {
    columns = std::min(columns, i64{textBitmap.width});
    for (i32 y = 0; y < rows; ++y) {
        u8* const row = textBitmap.pixels + static_cast<std::size_t>(y) * textBitmap.stride;
        for (i64 x = 0; x < columns; ++x) {
            row[x * kBytesPerPixel + 3] = 255;
        }
    }
}

// Whether every pixel of a part of the bitmap is opaque, so that a copy of it covers everything.
bool IsOpaque(u32 handle, const Area& area) {
    if (handle == kTextBitmap) {
        return false;  // it is what is being drawn on
    }
    StartSRC(handle);
    bool opaque = Reaches(srcSelection, area);
    for (i64 y = area.top; opaque && y < area.bottom; ++y) {
        opaque = IsOpaqueRow(PixelAt(srcSelection, area.left, y),
                             static_cast<std::size_t>(area.right - area.left));
    }
    EndSRC();
    return opaque;
}

// Faults where reading the area for a copy would.
void RequireReadable(u32 handle, const Area& area) {
    StartSRC(handle);
    if (!srcSelection.host) {
        RequireArea(srcSelection, area);
    }
    EndSRC();
}

// --- Drawing

// Lays the colour's bytes 0-2 over the pixels of `area` as far as the picture covers them: with
// coverage c each byte becomes (colour * c + old * (255 - c)) / 255, alpha with 255 for the colour.
// The picture's column 0 and row 0 lie at column 0 and row `baseline` of the bitmap; the area lies
// in the bitmap.
void LayPicture(const HostBitmap& bitmap, const TextPicture& picture, i32 baseline, u32 colour,
                const Area& area) {
    if (picture.coverage == nullptr) {
        return;
    }
    const i64 top = i64{baseline} + picture.top;
    const Area covered = Intersect(
        area, {picture.left, top, i64{picture.left} + picture.width, top + picture.height});
    if (covered.Empty()) {
        return;
    }
    const CoverageRows coverage = {
        picture.coverage + (covered.top - top) * static_cast<i64>(picture.stride) +
            (covered.left - picture.left),
        picture.stride, static_cast<std::size_t>(covered.right - covered.left),
        static_cast<std::size_t>(covered.bottom - covered.top)};
    LayRows(bitmap.pixels + covered.top * bitmap.stride + covered.left * i64{kBytesPerPixel},
            static_cast<std::size_t>(bitmap.stride), coverage, colour | 0xFF000000);
}

struct Drawing {
    const Request& request;
    i32 rows;  // of the box, as far as the text bitmap has them
    TextPicture picture;
    i32 baseline;

    void LayText(const Area& area) const {
        LayPicture(textBitmap, picture, baseline, request.colour, area);
    }
};

Area TextBitmapArea() {
    return {0, 0, textBitmap.width, textBitmap.height};
}

// The first background: the colour (whatever its alpha) or what the destination shows.
void PaintFirstBackground(const Request& r, i32 rows, i64 fromColumn) {
    if (r.background != kNoBackground) {
        const i64 right = r.Has(kTextItalic)
                              ? std::min(i64{r.width} + rows, kWidestSlantedBackground)
                              : i64{r.width};
        FillColumns(fromColumn, right, rows, r.background);
    } else if (fromColumn == 0) {
        Blit(kTextBitmap, 0, 0, r.destination, r.x, r.y, r.width, rows, false, 0, 0);
    } else {
        // The second background hides it, but a box outside the image is a fault all the same.
        const Area read = {0, 0, std::min(i64{r.width}, i64{textBitmap.width}), rows};
        RequireReadable(r.destination, Moved(read, r.x, r.y));
    }
}

// The first drawing, except for what the second one will hide: `hidden` columns of the box's rows.
void DrawFirst(const Drawing& drawing, i64 hidden) {
    PaintFirstBackground(drawing.request, drawing.rows, hidden);
    if (hidden == 0) {
        drawing.LayText(TextBitmapArea());
        return;
    }
    drawing.LayText({hidden, 0, textBitmap.width, drawing.rows});
    drawing.LayText({0, drawing.rows, textBitmap.width, textBitmap.height});
}

struct Placement {
    i32 x;
    i32 width;  // columns to copy
};

Placement Place(const Request& r, i32 width) {
    const auto moved = [&](i32 by) {
        return static_cast<i32>(static_cast<u32>(r.x) + static_cast<u32>(by));
    };
    if (r.Has(kTextCentred)) {
        return {moved((r.width - width) / 2), width};
    }
    if (r.Has(kTextRight)) {
        return {moved(r.width - width), width};
    }
    return {r.x, std::min(r.width, width)};
}

// Draws again, over the background that is to be seen, and copies that to the destination.
void DrawSecondAndCopy(const Drawing& drawing, const Placement& place) {
    const Request& r = drawing.request;
    const i64 columns = std::min(i64{place.width}, i64{textBitmap.width});
    const Area target = {place.x, r.y, place.x + columns, i64{r.y} + drawing.rows};
    const i64 hidden = r.destination == kTextBitmap ? 0
                       : r.Covers()                 ? std::min(i64{r.width}, i64{textBitmap.width})
                       : IsOpaque(r.destination, target) ? columns
                                                         : 0;
    DrawFirst(drawing, hidden);
    if (r.Covers()) {
        // kNoBackground comes here too: opaque white.
        FillColumns(0, r.width, drawing.rows, r.background);
    } else {
        Blit(kTextBitmap, 0, 0, r.destination, place.x, r.y, place.width, drawing.rows, false, 0,
             0);
    }
    drawing.LayText(TextBitmapArea());
    if (hidden < columns) {
        MakeOpaque(columns, drawing.rows);
    }
    Blit(r.destination, place.x, r.y, kTextBitmap, 0, 0, place.width, drawing.rows, false, 0, 0);
}

i32 Truncate(double value) {
    return static_cast<i32>(std::clamp(value, -2147483648.0, 2147483647.0));
}

u32 DrawValidText(const Request& r, i32 rows, TextFont* font, std::string_view text) {
    const TextFit fit = FitText(r, font, text);
    const Line line = ChooseLine(r, text, fit);
    if (line.drawn.empty()) {
        PaintFirstBackground(r, rows, 0);
        return 0;
    }
    const i32 slant = r.Has(kTextItalic) && line.units > 0 ? rows / kSlantPart : 0;
    const i32 width = Truncate(std::trunc(textEngine.measure(font, line.drawn)) + slant);
    // The baseline, counted from the text bitmap's bottom, lies on a whole row.
    const i32 bitmapRows = static_cast<i32>(textBitmap.height);
    const TextLine fontLine = textEngine.line(font);
    const i32 above = Truncate(bitmapRows - fontLine.height + fontLine.descent);
    const Drawing drawing = {r, rows,
                             textEngine.draw(font, line.drawn, r.Has(kTextUnderline),
                                             static_cast<i32>(textBitmap.width)),
                             bitmapRows - above};
    if (r.Has(kTextMeasureOnly)) {
        DrawFirst(drawing, 0);
    } else {
        DrawSecondAndCopy(drawing, Place(r, width));
    }
    return (static_cast<u32>(width) << 16) + WalkCharacters(text, line.units);
}

}  // namespace

u32 DrawText(u32 block) {
    const auto number = [block](u32 index) { return static_cast<i32>(Argument(block, index)); };
    const Request request = {Argument(block, 0), number(2),         number(3),
                             number(4),          number(5),         Argument(block, 6),
                             Argument(block, 7), Argument(block, 8)};
    const i32 rows = std::min(request.height, static_cast<i32>(textBitmap.height));
    if (request.width <= 0 || rows <= 0) {
        return 0;
    }
    const std::string_view text = TextArgument(block, 1);
    if (text.empty()) {
        return 0;
    }
    TextFont* const font = FontFor(rows, request.flags);
    if (!IsUtf8(text)) {
        return 0;
    }
    return DrawValidText(request, rows, font, text);
}

}  // namespace moxi
