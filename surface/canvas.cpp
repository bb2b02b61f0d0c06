#include "surface/canvas.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "base/utf8.h"
#include "desktop/text_engine.h"

namespace moxi {

namespace {

struct Area {
    i32 left, top, right, bottom;
};

// The pixels that a box touches, within the clip.
Area Touched(const Canvas& canvas, const Box& box) {
    const double left = std::max({box.x, canvas.clip.x, 0.0});
    const double top = std::max({box.y, canvas.clip.y, 0.0});
    const double right =
        std::min({box.x + box.width, canvas.clip.x + canvas.clip.width, double(canvas.width)});
    const double bottom =
        std::min({box.y + box.height, canvas.clip.y + canvas.clip.height, double(canvas.height)});
    if (!(left < right && top < bottom)) {
        return {0, 0, 0, 0};
    }
    return {static_cast<i32>(std::floor(left)), static_cast<i32>(std::floor(top)),
            static_cast<i32>(std::ceil(right)), static_cast<i32>(std::ceil(bottom))};
}

u8* PixelAt(Canvas& canvas, i32 x, i32 y) {
    return canvas.pixels.data() + 4 * (static_cast<size_t>(y) * static_cast<size_t>(canvas.width) +
                                       static_cast<size_t>(x));
}

// `part` is 0 to 256.
void Blend(u8* pixel, Colour colour, u32 part) {
    pixel[0] = static_cast<u8>((pixel[0] * (256 - part) + colour.red * part) >> 8);
    pixel[1] = static_cast<u8>((pixel[1] * (256 - part) + colour.green * part) >> 8);
    pixel[2] = static_cast<u8>((pixel[2] * (256 - part) + colour.blue * part) >> 8);
}

u32 Part(double coverage, double alpha) {
    return static_cast<u32>(std::lrint(std::clamp(coverage * alpha, 0.0, 1.0) * 256));
}

// How far the point is from the edge of the box with round corners; negative inside.
double Distance(const Box& box, double radius, double x, double y) {
    const double across = std::fabs(x - (box.x + box.width / 2)) - box.width / 2 + radius;
    const double down = std::fabs(y - (box.y + box.height / 2)) - box.height / 2 + radius;
    return std::hypot(std::max(across, 0.0), std::max(down, 0.0)) +
           std::min(std::max(across, down), 0.0) - radius;
}

// Draws each pixel of the box as far as `coverage`, 0 to 1, of its distance from the edge says.
template <class Coverage>
void DrawByDistance(Canvas& canvas, const Box& box, double radius, Colour colour,
                    Coverage coverage) {
    const Area area = Touched(canvas, box);
    radius = std::clamp(radius, 0.0, std::min(box.width, box.height) / 2);
    for (i32 y = area.top; y < area.bottom; ++y) {
        for (i32 x = area.left; x < area.right; ++x) {
            const double covered = coverage(Distance(box, radius, x + 0.5, y + 0.5));
            if (covered > 0) {
                Blend(PixelAt(canvas, x, y), colour, Part(covered, colour.alpha));
            }
        }
    }
}

// --- Text

struct FontKey {
    double size;
    bool bold;
    bool operator<(const FontKey& other) const {
        return size != other.size ? size < other.size : bold < other.bold;
    }
};

// A few sizes are in use at a time; they change with the window's size.
constexpr size_t kMostFonts = 16;
// Never destroyed: at the end of the process the fonts are the text engine's to forget, whose own
// state may be gone by then.
std::map<FontKey, TextFont*>& fonts = *new std::map<FontKey, TextFont*>;

TextFont* FontOf(const TextLook& look) {
    const FontKey key = {std::max(1.0, std::round(look.size * 4) / 4), look.bold};
    if (const auto found = fonts.find(key); found != fonts.end()) {
        return found->second;
    }
    if (fonts.size() >= kMostFonts) {
        for (const auto& [old, font] : fonts) {
            textEngine.releaseFont(font);
        }
        fonts.clear();
    }
    TextFont* const font = textEngine.makeFont({FontFamily::Helvetica, look.bold, false}, key.size);
    fonts[key] = font;
    return font;
}

// What the text engine takes.
std::string Drawable(std::string_view text) {
    std::string valid;
    while (!text.empty()) {
        const u8 lead = static_cast<u8>(text[0]);
        const size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        const std::string_view character = text.substr(0, length);
        const bool whole = character.size() == length && IsUtf8(character);
        if (lead != 0) {
            valid += whole ? character : "\xEF\xBF\xBD";
        }
        text.remove_prefix(whole ? length : 1);
    }
    return valid;
}

void DrawCoverage(Canvas& canvas, double x, double y, const TextPicture& picture, Colour colour) {
    if (picture.coverage == nullptr) {
        return;
    }
    const i32 left = static_cast<i32>(std::lrint(x)) + picture.left;
    const i32 top = static_cast<i32>(std::lrint(y)) + picture.top;
    const Area area =
        Touched(canvas, {double(left), double(top), double(picture.width), double(picture.height)});
    for (i32 row = area.top; row < area.bottom; ++row) {
        const u8* const coverage =
            picture.coverage + static_cast<size_t>(row - top) * picture.stride;
        for (i32 column = area.left; column < area.right; ++column) {
            const u8 covered = coverage[column - left];
            if (covered != 0) {
                Blend(PixelAt(canvas, column, row), colour, Part(covered / 255.0, colour.alpha));
            }
        }
    }
}

// The longest beginning that is as wide at most, whole characters.
std::string_view Beginning(TextFont* font, std::string_view text, double width) {
    const TextFit fit = textEngine.fit(font, text, width);
    return fit.whole ? text : text.substr(0, fit.overflow);
}

}  // namespace

bool Contains(const Box& box, double x, double y) {
    return x >= box.x && y >= box.y && x < box.x + box.width && y < box.y + box.height;
}

Box Inset(const Box& box, double by) {
    return {box.x + by, box.y + by, std::max(0.0, box.width - 2 * by),
            std::max(0.0, box.height - 2 * by)};
}

void ResizeCanvas(Canvas& canvas, i32 width, i32 height) {
    canvas.width = std::max(width, 0);
    canvas.height = std::max(height, 0);
    canvas.pixels.assign(4 * static_cast<size_t>(canvas.width) * static_cast<size_t>(canvas.height),
                         0);
    canvas.clip = {0, 0, double(canvas.width), double(canvas.height)};
}

void FillBox(Canvas& canvas, const Box& box, Colour colour) {
    FillRoundBox(canvas, box, 0, colour);
}

void FillRoundBox(Canvas& canvas, const Box& box, double radius, Colour colour) {
    const auto coverage = [](double distance) { return std::clamp(0.5 - distance, 0.0, 1.0); };
    // Only what is near the edge is smoothed.
    const double edge = std::clamp(radius, 1.0, std::max(1.0, box.height / 2));
    const Box top = {box.x, box.y, box.width, std::ceil(box.y + edge) - box.y};
    const double bottomStart = std::max(std::floor(box.y + box.height - edge), top.y + top.height);
    const Box clip = canvas.clip;
    const auto within = [&](const Box& part) {
        canvas.clip = {std::max(clip.x, part.x - 1), std::max(clip.y, part.y), 0, 0};
        canvas.clip.width = std::min(clip.x + clip.width, part.x + part.width + 1) - canvas.clip.x;
        canvas.clip.height = std::min(clip.y + clip.height, part.y + part.height) - canvas.clip.y;
        DrawByDistance(canvas, box, radius, colour, coverage);
        canvas.clip = clip;
    };
    within({box.x, std::floor(top.y), box.width, top.y + top.height - std::floor(top.y)});
    within({box.x, bottomStart, box.width, std::ceil(box.y + box.height) - bottomStart});
    const Box middle = {box.x, top.y + top.height, box.width, bottomStart - top.y - top.height};
    const Area area = Touched(canvas, middle);
    const u32 whole = Part(1, colour.alpha);
    for (i32 y = area.top; y < area.bottom; ++y) {
        for (i32 x = area.left; x < area.right; ++x) {
            const bool inside = x >= box.x && x + 1 <= box.x + box.width;
            const double covered =
                std::min(x + 1.0, box.x + box.width) - std::max<double>(x, box.x);
            Blend(PixelAt(canvas, x, y), colour, inside ? whole : Part(covered, colour.alpha));
        }
    }
}

void DrawRoundBorder(Canvas& canvas, const Box& box, double radius, double thickness,
                     Colour colour) {
    DrawByDistance(canvas, box, radius, colour, [thickness](double distance) {
        return std::clamp(0.5 - distance, 0.0, 1.0) -
               std::clamp(0.5 - distance - thickness, 0.0, 1.0);
    });
}

void DrawPicture(Canvas& canvas, const Box& box, const RgbaPicture& picture) {
    if (picture.width <= 0 || picture.height <= 0) {
        return;
    }
    const Area area = Touched(canvas, box);
    const double acrossStep = picture.width / box.width;
    const double downStep = picture.height / box.height;
    // A picture that is made smaller is looked at in several places a pixel.
    const i32 samples =
        std::clamp(static_cast<i32>(std::ceil(std::max(acrossStep, downStep))), 1, 8);
    for (i32 y = area.top; y < area.bottom; ++y) {
        for (i32 x = area.left; x < area.right; ++x) {
            u32 sums[4] = {};
            for (i32 sample = 0; sample < samples * samples; ++sample) {
                const i32 aside = sample % samples;
                const i32 below = sample / samples;
                const double across = (x + (aside + 0.5) / samples - box.x) * acrossStep;
                const double down = (y + (below + 0.5) / samples - box.y) * downStep;
                const i32 column = std::clamp(static_cast<i32>(across), 0, picture.width - 1);
                const i32 row = std::clamp(static_cast<i32>(down), 0, picture.height - 1);
                const u8* const from =
                    picture.pixels.data() +
                    4 * (static_cast<size_t>(row) * static_cast<size_t>(picture.width) +
                         static_cast<size_t>(column));
                for (u32 channel = 0; channel < 3; ++channel) {
                    sums[channel] += u32{from[channel]} * from[3];
                }
                sums[3] += from[3];
            }
            if (sums[3] == 0) {
                continue;
            }
            const Colour colour = {static_cast<u8>(sums[0] / sums[3]),
                                   static_cast<u8>(sums[1] / sums[3]),
                                   static_cast<u8>(sums[2] / sums[3])};
            Blend(PixelAt(canvas, x, y), colour, Part(sums[3] / (255.0 * samples * samples), 1));
        }
    }
}

void Darken(Canvas& canvas, double by) {
    const u32 rest = 256 - Part(by, 1);
    for (u8& byte : canvas.pixels) {
        byte = static_cast<u8>((byte * rest) >> 8);
    }
}

double TextWidth(const TextLook& look, std::string_view text) {
    const std::string valid = Drawable(text);
    return valid.empty() ? 0 : textEngine.measure(FontOf(look), valid);
}

void PaintText(Canvas& canvas, double x, double y, double width, const TextLook& look,
               std::string_view text, Colour colour) {
    std::string valid = Drawable(text);
    if (valid.empty() || width < 1) {
        return;
    }
    TextFont* const font = FontOf(look);
    if (!textEngine.fit(font, valid, width).whole) {
        constexpr std::string_view kDots = "\xE2\x80\xA6";
        const double dots = textEngine.measure(font, kDots);
        valid = std::string(Beginning(font, valid, width - dots)).append(kDots);
    }
    const i32 columns = static_cast<i32>(std::ceil(width + look.size));
    DrawCoverage(canvas, x, y, textEngine.draw(font, valid, false, columns), colour);
}

std::vector<std::string> WrapText(const TextLook& look, std::string_view text, double width) {
    const std::string valid = Drawable(text);
    std::string_view rest = valid;
    std::vector<std::string> lines;
    while (!rest.empty()) {
        std::string_view line = Beginning(FontOf(look), rest, width);
        if (line.size() < rest.size()) {
            // The blank that follows the line's last word may stand beyond its end.
            const size_t blank = rest.substr(0, line.size() + 1).find_last_of(' ');
            if (blank != std::string_view::npos && blank > 0) {
                line = rest.substr(0, blank);
            }
        }
        if (line.empty()) {
            line = rest.substr(0, 1 + rest.substr(1).find_first_not_of("\x80\x81\x82\x83"));
        }
        lines.emplace_back(line);
        rest.remove_prefix(line.size());
        while (!rest.empty() && rest[0] == ' ') {
            rest.remove_prefix(1);
        }
    }
    return lines;
}

}  // namespace moxi
