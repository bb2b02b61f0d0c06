#include "desktop/pango/glyph_pictures.h"

#include <cairo-ft.h>
#include <pango/pangocairo.h>
#include <pango/pangofc-font.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include FT_OUTLINE_H
#include FT_SYNTHESIS_H

namespace moxi {

namespace {

constexpr std::size_t kMostBytes = 32 << 20;  // of all pictures
constexpr i32 kLargestSide = 16384;           // of a glyph
constexpr int kFtPixel = 64;                  // FreeType's units in a pixel

std::size_t allBytes = 0;
std::vector<GlyphPictures*> allPictures;

// Gives the picture its box, in pixels, and room for its coverage. False, with no room, when the
// box is empty or too large.
bool SetBox(GlyphPicture& picture, i32 left, i32 top, i32 right, i32 bottom) {
    if (right <= left || bottom <= top || right - left > kLargestSide ||
        bottom - top > kLargestSide) {
        return false;
    }
    picture.left = left;
    picture.top = top;
    picture.width = right - left;
    picture.height = bottom - top;
    picture.stride =
        (static_cast<std::size_t>(picture.width) + kGlyphBlock - 1) / kGlyphBlock * kGlyphBlock;
    picture.coverage.resize(picture.stride * static_cast<std::size_t>(picture.height));
    allBytes += picture.coverage.size();
    return true;
}

// The coverage that stands for a pixel with a colour of its own (premultiplied), as the whole text
// is drawn in one colour. Dark parts count in full and white ones a quarter, so that the eyes of a
// face stand out and a white dove is still seen.
u8 CoverageOf(u32 alpha, u32 red, u32 green, u32 blue) {
    const u32 luminance = (red * 54 + green * 183 + blue * 19) / 256;
    return static_cast<u8>(alpha - std::min(alpha, luminance * 3 / 4));
}

// --- Outlines

void FillOutline(FT_GlyphSlot slot, GlyphPicture& picture) {
    FT_Outline& outline = slot->outline;
    FT_BBox box;
    FT_Outline_Get_CBox(&outline, &box);
    const auto down = [](FT_Pos at) { return at >> 6; };
    const auto up = [](FT_Pos at) { return (at + kFtPixel - 1) >> 6; };
    if (!SetBox(picture, static_cast<i32>(down(box.xMin)), static_cast<i32>(-up(box.yMax)),
                static_cast<i32>(up(box.xMax)), static_cast<i32>(-down(box.yMin)))) {
        return;
    }
    FT_Outline_Translate(&outline, FT_Pos{-picture.left} * kFtPixel,
                         FT_Pos{picture.top + picture.height} * kFtPixel);
    FT_Bitmap bitmap = {};
    bitmap.rows = static_cast<unsigned>(picture.height);
    bitmap.width = static_cast<unsigned>(picture.width);
    bitmap.pitch = static_cast<int>(picture.stride);
    bitmap.buffer = picture.coverage.data();
    bitmap.num_grays = 256;
    bitmap.pixel_mode = FT_PIXEL_MODE_GRAY;
    FT_Outline_Get_Bitmap(slot->library, &outline, &bitmap);
}

// Takes the picture of a glyph that FreeType has put together from coloured outlines.
void TakeColours(FT_GlyphSlot slot, GlyphPicture& picture) {
    const FT_Bitmap& bitmap = slot->bitmap;
    const i32 left = slot->bitmap_left;
    const i32 top = -slot->bitmap_top;
    if (!SetBox(picture, left, top, left + static_cast<i32>(bitmap.width),
                top + static_cast<i32>(bitmap.rows))) {
        return;
    }
    for (i32 row = 0; row < picture.height; ++row) {
        const u8* from = bitmap.buffer + static_cast<std::ptrdiff_t>(row) * bitmap.pitch;
        u8* const into = picture.coverage.data() + static_cast<std::size_t>(row) * picture.stride;
        for (i32 x = 0; x < picture.width; ++x, from += 4) {
            into[x] = CoverageOf(from[3], from[2], from[1], from[0]);
        }
    }
}

enum class Kind : u8 { Outline, Colours, Other };

// Draws a glyph whose origin lies `phase` quarters of a pixel to the right of its pixel, and says
// of what kind it is: `Other`, and not drawn, when it has no outlines, neither plain nor coloured.
Kind DrawWithFreeType(const GlyphPictures& pictures, u32 glyph, i32 phase, GlyphPicture& picture) {
    FT_Face const face = cairo_ft_scaled_font_lock_face(pictures.scaled);
    if (face == nullptr) {
        return Kind::Other;
    }
    Kind kind = Kind::Other;
    const FT_Int32 plain = FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP;
    FT_GlyphSlot const slot = face->glyph;
    if (pictures.colours && FT_Load_Glyph(face, glyph, plain | FT_LOAD_COLOR) == 0 &&
        slot->format == FT_GLYPH_FORMAT_OUTLINE &&
        FT_Render_Glyph(slot, FT_RENDER_MODE_NORMAL) == 0 &&
        slot->bitmap.pixel_mode == FT_PIXEL_MODE_BGRA) {
        TakeColours(slot, picture);
        kind = Kind::Colours;
    } else if (FT_Load_Glyph(face, glyph, plain) == 0 && slot->format == FT_GLYPH_FORMAT_OUTLINE) {
        if (pictures.thickened) {
            FT_GlyphSlot_Embolden(slot);
        }
        FT_Outline_Translate(&slot->outline, FT_Pos{phase} * kFtPixel / kGlyphPhases, 0);
        FillOutline(slot, picture);
        kind = Kind::Outline;
    }
    cairo_ft_scaled_font_unlock_face(pictures.scaled);
    return kind;
}

// --- Everything else

// Gives the picture the box of the glyph's ink, with a pixel more on each side: a scaled bitmap
// reaches beyond the extents that Pango tells.
bool SetBoxOfInk(const GlyphPictures& pictures, u32 glyph, GlyphPicture& picture) {
    constexpr double kPixel = PANGO_SCALE;
    PangoRectangle ink;
    pango_font_get_glyph_extents(pictures.font, glyph, &ink, nullptr);
    if (ink.width <= 0 || ink.height <= 0) {
        return false;
    }
    return SetBox(picture, static_cast<i32>(std::floor(ink.x / kPixel)) - 1,
                  static_cast<i32>(std::floor(ink.y / kPixel)) - 1,
                  static_cast<i32>(std::ceil((ink.x + ink.width) / kPixel)) + 1,
                  static_cast<i32>(std::ceil((ink.y + ink.height) / kPixel)) + 1);
}

void DrawWithPango(const GlyphPictures& pictures, u32 glyph, GlyphPicture& picture) {
    if (pictures.font == nullptr || !SetBoxOfInk(pictures, glyph, picture)) {
        return;
    }
    cairo_surface_t* const surface =
        cairo_image_surface_create(CAIRO_FORMAT_ARGB32, picture.width, picture.height);
    cairo_t* const cairo = cairo_create(surface);
    PangoGlyphString* const string = pango_glyph_string_new();
    pango_glyph_string_set_size(string, 1);
    string->glyphs[0] = {};
    string->glyphs[0].glyph = glyph;
    cairo_move_to(cairo, -picture.left, -picture.top);
    pango_cairo_show_glyph_string(cairo, pictures.font, string);
    pango_glyph_string_free(string);
    cairo_destroy(cairo);
    cairo_surface_flush(surface);
    const u8* const data = cairo_image_surface_get_data(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    for (i32 row = 0; data != nullptr && row < picture.height; ++row) {
        u8* const into = picture.coverage.data() + static_cast<std::size_t>(row) * picture.stride;
        for (i32 x = 0; x < picture.width; ++x) {
            u32 pixel = 0;
            const std::ptrdiff_t at = std::ptrdiff_t{row} * stride + std::ptrdiff_t{x} * 4;
            std::memcpy(&pixel, data + at, sizeof pixel);
            into[x] = CoverageOf(pixel >> 24, pixel >> 16 & 255, pixel >> 8 & 255, pixel & 255);
        }
    }
    cairo_surface_destroy(surface);
}

// The glyph's outline, drawn at `phase` quarters of a pixel. Null when the glyph has no plain
// outline and has to stand at a whole pixel.
const GlyphPicture* OutlineAt(GlyphPictures& pictures, u32 glyph, i32 phase) {
    if (!pictures.outlines || (glyph & PANGO_GLYPH_UNKNOWN_FLAG) != 0) {
        return nullptr;
    }
    if (glyph >= pictures.byGlyph.size()) {
        pictures.byGlyph.resize(std::size_t{glyph} + 1);
    }
    auto& phases = pictures.byGlyph[glyph];
    if (phases != nullptr && (*phases)[static_cast<u32>(phase)].drawn) {
        return &(*phases)[static_cast<u32>(phase)];
    }
    if (pictures.atWholePixels.contains(glyph)) {
        return nullptr;
    }
    GlyphPicture picture;
    picture.drawn = true;
    if (DrawWithFreeType(pictures, glyph, phase, picture) != Kind::Outline) {
        if (picture.width > 0) {
            pictures.atWholePixels.emplace(glyph, std::move(picture));
        }
        return nullptr;
    }
    if (phases == nullptr) {
        phases = std::make_unique<std::array<GlyphPicture, kGlyphPhases>>();
    }
    return &((*phases)[static_cast<u32>(phase)] = std::move(picture));
}

const GlyphPicture& AtWholePixel(GlyphPictures& pictures, u32 glyph) {
    GlyphPicture& picture = pictures.atWholePixels[glyph];
    if (!picture.drawn) {
        picture.drawn = true;
        DrawWithPango(pictures, glyph, picture);
    }
    return picture;
}

// --- Adding them up

// Glyphs are added a block of bytes at a time, so a picture's bytes end with room for one.
using Block = u8 __attribute__((vector_size(kGlyphBlock)));

// Adds kGlyphBlock bytes to as many others; no sum goes beyond 255.
void AddBytes(u8* target, const u8* source) {
    Block a;
    Block b;
    std::memcpy(&a, target, sizeof a);
    std::memcpy(&b, source, sizeof b);
    const Block sum = a + b;
    const Block most = sum | reinterpret_cast<Block>(sum < a);
    std::memcpy(target, &most, sizeof most);
}

void AddWholeGlyph(const GlyphPicture& from, i32 firstRow, i32 endRow, u8* target, i32 stride) {
    // Rows are added up to their stride: the zeros beyond the glyph's width change nothing. The
    // stride is copied out of the record, as the compiler would read that again after each store.
    const std::size_t width = from.stride;
    const u8* source = from.coverage.data() + static_cast<std::size_t>(firstRow) * width;
    for (i32 row = firstRow; row < endRow; ++row, source += width, target += stride) {
        for (std::size_t x = 0; x < width; x += kGlyphBlock) {
            AddBytes(target + x, source + x);
        }
    }
}

void AddGlyph(const PlacedGlyph& glyph, const TextPicture& into, std::vector<u8>& bytes) {
    const GlyphPicture& from = *glyph.picture;
    const i32 first = std::max(0, into.left - glyph.left);
    const i32 end = std::min(from.width, into.left + into.width - glyph.left);
    const i32 firstRow = std::max(0, into.top - glyph.top);
    const i32 endRow = std::min(from.height, into.top + into.height - glyph.top);
    if (first >= end || firstRow >= endRow) {
        return;
    }
    u8* target = bytes.data() +
                 static_cast<std::ptrdiff_t>(glyph.top + firstRow - into.top) * into.width +
                 (glyph.left - into.left);
    if (first == 0 && end == from.width) {
        AddWholeGlyph(from, firstRow, endRow, target, into.width);
        return;
    }
    for (i32 row = firstRow; row < endRow; ++row, target += into.width) {
        const u8* const source = from.coverage.data() + static_cast<std::size_t>(row) * from.stride;
        for (i32 x = first; x < end; ++x) {
            target[x] = static_cast<u8>(std::min(255, target[x] + source[x]));
        }
    }
}

// The farthest place in pixels: one beyond it is moved to it, which is still outside of every
// picture.
constexpr i64 kFarthest = i64{1} << 30;

i32 ToPixel(i64 pixels) {
    return static_cast<i32>(std::clamp(pixels, -kFarthest, kFarthest));
}

}  // namespace

void StartGlyphPictures(GlyphPictures& pictures, cairo_scaled_font_t* plainFace) {
    pictures.scaled = cairo_scaled_font_reference(plainFace);
    pictures.outlines = true;
    allPictures.push_back(&pictures);
}

void StartGlyphPictures(GlyphPictures& pictures, PangoFont* font) {
    StartGlyphPictures(pictures, pango_cairo_font_get_scaled_font(PANGO_CAIRO_FONT(font)));
    pictures.font = PANGO_FONT(g_object_ref(font));
    FcPattern* const pattern = pango_fc_font_get_pattern(PANGO_FC_FONT(font));
    const auto flag = [pattern](const char* name) {
        FcBool value = FcFalse;
        return FcPatternGetBool(pattern, name, 0, &value) == FcResultMatch && value != FcFalse;
    };
    pictures.outlines = pictures.scaled != nullptr && flag(FC_OUTLINE);
    pictures.colours = flag(FC_COLOR);
    pictures.thickened = flag(FC_EMBOLDEN);
}

void EndGlyphPictures(GlyphPictures& pictures) {
    if (pictures.scaled == nullptr && pictures.font == nullptr) {
        return;
    }
    std::erase(allPictures, &pictures);
    const auto forget = [](const GlyphPicture& one) { allBytes -= one.coverage.size(); };
    for (const auto& phases : pictures.byGlyph) {
        if (phases != nullptr) {
            std::for_each(phases->begin(), phases->end(), forget);
        }
    }
    for (const auto& [glyph, picture] : pictures.atWholePixels) {
        forget(picture);
    }
    cairo_scaled_font_destroy(pictures.scaled);
    if (pictures.font != nullptr) {
        g_object_unref(pictures.font);
    }
    pictures = {};
}

PlacedGlyph PlaceGlyph(GlyphPictures& pictures, u32 glyph, i64 x, i64 y) {
    constexpr i64 kQuarter = PANGO_SCALE / kGlyphPhases;
    const i32 top = ToPixel((y + PANGO_SCALE / 2) >> 10);
    const i64 quarter = (x + kQuarter / 2) >> 8;
    if (const GlyphPicture* const outline =
            OutlineAt(pictures, glyph, static_cast<i32>(quarter & (kGlyphPhases - 1)))) {
        return {outline, ToPixel(quarter >> 2) + outline->left, top + outline->top};
    }
    const GlyphPicture& picture = AtWholePixel(pictures, glyph);
    return {&picture, ToPixel((x + PANGO_SCALE / 2) >> 10) + picture.left, top + picture.top};
}

void TrimGlyphPictures() {
    if (allBytes <= kMostBytes) {
        return;
    }
    allBytes = 0;
    for (GlyphPictures* const pictures : allPictures) {
        pictures->byGlyph.clear();
        pictures->atWholePixels.clear();
    }
}

TextPicture AddGlyphs(const std::vector<PlacedGlyph>& glyphs, i32 columns, i32 rows,
                      std::vector<u8>& bytes) {
    i32 left = columns;
    i32 right = 0;
    i32 top = rows;
    i32 bottom = -rows;
    for (const PlacedGlyph& glyph : glyphs) {
        if (glyph.picture->width == 0) {
            continue;
        }
        const i32 glyphRight = glyph.left + glyph.picture->width;
        const i32 glyphBottom = glyph.top + glyph.picture->height;
        if (glyph.left >= columns || glyphRight <= 0 || glyph.top >= rows || glyphBottom <= -rows) {
            continue;
        }
        left = std::min(left, glyph.left);
        right = std::max(right, glyphRight);
        top = std::min(top, glyph.top);
        bottom = std::max(bottom, glyphBottom);
    }
    left = std::max(left, 0);
    right = std::min(right, columns);
    top = std::max(top, -rows);
    bottom = std::min(bottom, rows);
    if (left >= right || top >= bottom) {
        return {};
    }
    const TextPicture picture = {
        nullptr, static_cast<std::size_t>(right - left), left, top, right - left, bottom - top};
    bytes.assign(picture.stride * static_cast<std::size_t>(picture.height) + kGlyphBlock, 0);
    for (const PlacedGlyph& glyph : glyphs) {
        AddGlyph(glyph, picture, bytes);
    }
    return picture;
}

}  // namespace moxi
