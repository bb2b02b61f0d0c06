#include "desktop/sdl/window/box_layout.h"

#include <algorithm>
#include <cmath>

namespace moxi {

constexpr i32 kMargin = 20;
constexpr i32 kSignSize = 48;
constexpr i32 kGap = 16;
constexpr i32 kMessageWidth = 420;
constexpr i32 kSmallestButton = 88;
constexpr i32 kButtonPadding = 16;
constexpr i32 kButtonGap = 12;
constexpr i32 kLargestFont = 15;
constexpr i32 kSmallestFont = 9;

namespace {
struct Colour {
    double red;
    double green;
    double blue;
};
}  // namespace

constexpr Colour kBackground = {0.945, 0.945, 0.945};
constexpr Colour kText = {0.1, 0.1, 0.1};
constexpr Colour kButtonFace = {0.99, 0.99, 0.99};
constexpr Colour kButtonPressed = {0.78, 0.84, 0.93};
constexpr Colour kButtonFrame = {0.25, 0.45, 0.75};
constexpr Colour kSignFace = {1.0, 0.8, 0.1};
constexpr Colour kSignFrame = {0.55, 0.4, 0.0};

namespace {

PangoLayout* NewText(cairo_t* context, const std::string& text, double fontSize, i32 width) {
    PangoLayout* layout = pango_cairo_create_layout(context);
    PangoFontDescription* font = pango_font_description_from_string("Sans");
    pango_font_description_set_absolute_size(font, fontSize * PANGO_SCALE);
    pango_layout_set_font_description(layout, font);
    pango_font_description_free(font);
    if (width > 0) {
        pango_layout_set_width(layout, width * PANGO_SCALE);
        pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
        // Addresses and file names are broken as they are.
        PangoAttrList* attributes = pango_attr_list_new();
        pango_attr_list_insert(attributes, pango_attr_insert_hyphens_new(FALSE));
        pango_layout_set_attributes(layout, attributes);
        pango_attr_list_unref(attributes);
    }
    // Text that is no UTF-8 would not be shown at all.
    char* valid = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
    pango_layout_set_text(layout, valid, -1);
    g_free(valid);
    return layout;
}

ScreenArea Measure(cairo_t* context, const std::string& text, double fontSize, i32 width) {
    PangoLayout* layout = NewText(context, text, fontSize, width);
    ScreenArea area;
    pango_layout_get_pixel_size(layout, &area.width, &area.height);
    g_object_unref(layout);
    return area;
}

BoxLayout LayOut(cairo_t* context, const std::string& message,
                 const std::vector<std::string>& buttons, i32 widest, double fontSize) {
    BoxLayout box;
    box.fontSize = fontSize;
    box.sign = {kMargin, kMargin, kSignSize, kSignSize};
    const i32 textLeft = kMargin + kSignSize + kGap;
    const i32 textWidth = std::clamp(widest - textLeft - kMargin, 40, kMessageWidth);
    const ScreenArea text = Measure(context, message, fontSize, textWidth);
    box.message = {textLeft, kMargin, std::min(text.width, textWidth), text.height};

    i32 rowWidth = -kButtonGap;
    i32 rowHeight = 0;
    for (const std::string& button : buttons) {
        const ScreenArea label = Measure(context, button, fontSize, 0);
        const ScreenArea face = {0, 0, std::max(label.width + 2 * kButtonPadding, kSmallestButton),
                                 label.height + 14};
        rowWidth += face.width + kButtonGap;
        rowHeight = std::max(rowHeight, face.height);
        box.buttons.push_back(face);
    }
    box.width = std::max(textLeft + std::max(box.message.width, 200), kMargin + rowWidth) + kMargin;
    const i32 rowTop = kMargin + std::max(box.message.height, kSignSize) + kGap;
    i32 right = box.width - kMargin;
    for (ScreenArea& button : box.buttons) {
        button.x = right - button.width;
        button.y = rowTop;
        right = button.x - kButtonGap;
    }
    box.height = rowTop + rowHeight + kMargin;
    return box;
}

}  // namespace

BoxLayout LayOutBox(const std::string& message, const std::vector<std::string>& buttons, i32 widest,
                    i32 highest, double scale) {
    widest = static_cast<i32>(widest / scale);
    highest = static_cast<i32>(highest / scale);
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, 1, 1);
    cairo_t* context = cairo_create(surface);
    // Text is measured as it will be drawn, since its widths depend on that.
    cairo_scale(context, scale, scale);
    BoxLayout box;
    for (i32 size = kLargestFont; size >= kSmallestFont; --size) {
        box = LayOut(context, message, buttons, widest, size);
        if (box.height <= highest) {
            break;
        }
    }
    cairo_destroy(context);
    cairo_surface_destroy(surface);
    if (box.height > highest) {
        // Text that is too long even so loses its end and not the buttons.
        const i32 excess = box.height - highest;
        box.message.height = std::max(box.message.height - excess, kSignSize);
        for (ScreenArea& button : box.buttons) {
            button.y -= excess;
        }
        box.height = highest;
    }
    box.scale = scale;
    return box;
}

namespace {

void SetColour(cairo_t* context, const Colour& colour) {
    cairo_set_source_rgb(context, colour.red, colour.green, colour.blue);
}

void DrawSign(cairo_t* context, const ScreenArea& area) {
    const double left = area.x + 3;
    const double right = area.x + area.width - 3;
    const double top = area.y + 4;
    const double bottom = area.y + area.height - 5;
    const double middle = (left + right) / 2;
    cairo_set_line_join(context, CAIRO_LINE_JOIN_ROUND);
    cairo_move_to(context, middle, top);
    cairo_line_to(context, right, bottom);
    cairo_line_to(context, left, bottom);
    cairo_close_path(context);
    SetColour(context, kSignFace);
    cairo_fill_preserve(context);
    SetColour(context, kSignFrame);
    cairo_set_line_width(context, 3);
    cairo_stroke(context);

    // The exclamation mark.
    SetColour(context, kText);
    cairo_set_line_cap(context, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_width(context, 5);
    cairo_move_to(context, middle, top + 14);
    cairo_line_to(context, middle, bottom - 13);
    cairo_stroke(context);
    cairo_arc(context, middle, bottom - 6, 2.8, 0, 6.2832);
    cairo_fill(context);
}

// Edges lie between whole pixels at any scale, so that they are sharp.
void DrawButtonFace(cairo_t* context, const ScreenArea& area, double scale, bool pressed,
                    bool hasFocus) {
    const double left = std::round(area.x * scale);
    const double top = std::round(area.y * scale);
    const double right = std::round((area.x + area.width) * scale);
    const double bottom = std::round((area.y + area.height) * scale);
    const double line = std::round(scale);
    cairo_save(context);
    cairo_identity_matrix(context);
    cairo_rectangle(context, left + line / 2, top + line / 2, right - left - line,
                    bottom - top - line);
    SetColour(context, pressed ? kButtonPressed : kButtonFace);
    cairo_fill_preserve(context);
    SetColour(context, kButtonFrame);
    cairo_set_line_width(context, hasFocus ? 3 * line : line);
    cairo_stroke(context);
    cairo_restore(context);
}

void DrawLabel(cairo_t* context, const ScreenArea& area, const std::string& text, double fontSize) {
    PangoLayout* layout = NewText(context, text, fontSize, 0);
    i32 width = 0;
    i32 height = 0;
    pango_layout_get_pixel_size(layout, &width, &height);
    SetColour(context, kText);
    const i32 left = area.x + (area.width - width) / 2;
    const i32 top = area.y + (area.height - height) / 2;
    cairo_move_to(context, left, top);
    pango_cairo_show_layout(context, layout);
    g_object_unref(layout);
}

}  // namespace

void DrawBox(cairo_surface_t* surface, const BoxLayout& layout, const std::string& message,
             const std::vector<std::string>& buttons, int focus, int pressed) {
    cairo_t* context = cairo_create(surface);
    cairo_scale(context, layout.scale, layout.scale);
    SetColour(context, kBackground);
    cairo_paint(context);
    DrawSign(context, layout.sign);

    cairo_save(context);
    const ScreenArea& area = layout.message;
    cairo_rectangle(context, area.x, area.y, area.width + 1, area.height);
    cairo_clip(context);
    PangoLayout* text = NewText(context, message, layout.fontSize, area.width + 1);
    SetColour(context, kText);
    cairo_move_to(context, area.x, area.y);
    pango_cairo_show_layout(context, text);
    g_object_unref(text);
    cairo_restore(context);

    for (std::size_t i = 0; i < buttons.size(); ++i) {
        DrawButtonFace(context, layout.buttons[i], layout.scale, static_cast<int>(i) == pressed,
                       static_cast<int>(i) == focus);
        DrawLabel(context, layout.buttons[i], buttons[i], layout.fontSize);
    }
    cairo_destroy(context);
    cairo_surface_flush(surface);
}

void DrawFrame(cairo_surface_t* surface) {
    cairo_t* context = cairo_create(surface);
    SetColour(context, kButtonFrame);
    cairo_set_line_width(context, 2);
    cairo_rectangle(context, 1, 1, cairo_image_surface_get_width(surface) - 2,
                    cairo_image_surface_get_height(surface) - 2);
    cairo_stroke(context);
    cairo_destroy(context);
    cairo_surface_flush(surface);
}

int ButtonAt(const BoxLayout& layout, i32 x, i32 y) {
    const double unitX = x / layout.scale;
    const double unitY = y / layout.scale;
    for (std::size_t i = 0; i < layout.buttons.size(); ++i) {
        const ScreenArea& button = layout.buttons[i];
        if (unitX >= button.x && unitX < button.x + button.width && unitY >= button.y &&
            unitY < button.y + button.height) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

}  // namespace moxi
