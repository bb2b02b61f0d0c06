// How the controls of a surface look.

#include <algorithm>
#include <cmath>

#include "surface/controls.h"
#include "surface/shapes.h"

namespace moxi {

namespace {

constexpr Colour kPanel = {24, 27, 33};
constexpr Colour kPanelEdge = {58, 64, 76};
constexpr Colour kText = {233, 236, 241};
constexpr Colour kQuietText = {160, 168, 181};
constexpr Colour kDisabledText = {104, 111, 122};
constexpr Colour kAccent = {112, 174, 255};
constexpr Colour kOnAccent = {13, 20, 32};
constexpr Colour kFill = {43, 48, 58};
constexpr Colour kHotFill = {54, 60, 72};
constexpr Colour kRowFill = {33, 37, 45};
constexpr Colour kTrack = {66, 73, 86};
constexpr Colour kKnob = {245, 247, 250};

struct Painter {
    Canvas& canvas;
    const Surface& surface;

    Box Pixels(const Box& box) const {
        const double s = surface.scale;
        // Edges on whole pixels are sharp.
        const double left = std::round(box.x * s);
        const double top = std::round(box.y * s);
        return {left, top, std::round((box.x + box.width) * s) - left,
                std::round((box.y + box.height) * s) - top};
    }
    void Round(const Box& box, double radius, Colour colour) const {
        FillRoundBox(canvas, Pixels(box), radius * surface.scale, colour);
    }
    void Border(const Box& box, double radius, double thickness, Colour colour) const {
        DrawRoundBorder(canvas, Pixels(box), radius * surface.scale,
                        std::max(1.0, thickness * surface.scale), colour);
    }
    // One line in the middle of the box's height.
    void Text(const Box& box, TextLook look, const std::string& text, Colour colour,
              double align = 0) const {
        const double s = surface.scale;
        const double width = std::min(TextWidth(look, text), box.width);
        const double x = box.x + (box.width - width) * align;
        // Capitals and small letters are in the middle together.
        const double y = box.y + box.height / 2 + look.size * 0.36;
        PaintText(canvas, x * s, y * s, (box.x + box.width - x) * s + 1,
                  {.size = look.size * s, .bold = look.bold}, text, colour);
    }
    void Lines(const Box& box, TextLook look, const Control& control, Colour colour) const {
        const double line = look.size * kLineHeight;
        const double all = static_cast<double>(control.lines.size()) * line;
        double y = box.y + (box.height - all) / 2;
        for (const std::string& text : control.lines) {
            // What was measured at one scale may be a little wider at another.
            Text({box.x, y, box.width + kPad, line}, look, text, colour);
            y += line;
        }
    }
};

bool Is(const std::string& id, const Control& control) {
    return !id.empty() && id == control.id;
}

Colour TextColour(const Control& control) {
    return control.enabled ? kText : kDisabledText;
}

void PaintArrow(const Painter& painter, const Box& box, i32 step, Colour colour) {
    painter.Text(box, {.size = kTextSize + 3}, step < 0 ? "\xE2\x80\xB9" : "\xE2\x80\xBA", colour,
                 0.5);
}

void PaintName(const Painter& painter, const Control& control, const Box& place,
               double valueWidth) {
    Box box = {place.x + kPad, place.y, NameWidth(place, valueWidth), place.height};
    const bool below = control.role == Role::Slider || control.role == Role::Choice;
    if (below && IsStacked(place)) {
        box.height = place.height - kControlHeight + 8;
    }
    painter.Lines(box, {.size = kTextSize}, control, TextColour(control));
}

void PaintSlider(const Painter& painter, const Control& control, const Box& place) {
    const Box value = ValuePart(place);
    const Box way = SliderWay(place);
    PaintName(painter, control, place, IsStacked(place) ? 0 : value.width + kPad);
    const double middle = way.y + way.height / 2;
    const double at = way.x + way.width * control.percent / 100;
    painter.Round({way.x, middle - 2, way.width, 4}, 2, kTrack);
    if (control.percent > 0) {
        painter.Round({way.x, middle - 2, at - way.x, 4}, 2,
                      control.enabled ? kAccent : kDisabledText);
    }
    painter.Round({at - 8, middle - 8, 16, 16}, 8, control.enabled ? kKnob : kDisabledText);
    painter.Text({value.x + value.width - kValueText, value.y, kValueText, value.height},
                 {.size = kTextSize}, control.value, control.enabled ? kQuietText : kDisabledText,
                 1);
}

void PaintCheck(const Painter& painter, const Control& control, const Box& place) {
    PaintName(painter, control, place, kSwitchWidth + kPad);
    const Box box = SwitchOf(place);
    const Colour fill = control.on ? kAccent : kTrack;
    painter.Round(box, box.height / 2, control.enabled ? fill : kFill);
    const double knob = box.height - 6;
    const double x = control.on ? box.x + box.width - knob - 3 : box.x + 3;
    const Colour knobColour = control.on ? kOnAccent : kKnob;
    painter.Round({x, box.y + 3, knob, knob}, knob / 2,
                  control.enabled ? knobColour : kDisabledText);
}

void PaintChoice(const Painter& painter, const Control& control, const Box& place) {
    const Box value = ValuePart(place);
    PaintName(painter, control, place, IsStacked(place) ? 0 : value.width + kPad);
    painter.Round(value, kRadius, kFill);
    const Colour arrow = control.enabled ? kAccent : kDisabledText;
    PaintArrow(painter, ChoiceArrow(place, -1), -1, arrow);
    PaintArrow(painter, ChoiceArrow(place, 1), 1, arrow);
    painter.Text({value.x + kArrow, value.y, value.width - 2 * kArrow, value.height},
                 {.size = kTextSize}, control.value, TextColour(control), 0.5);
}

void PaintButton(const Painter& painter, const Control& control, const Box& place) {
    const bool hot = Is(painter.surface.hot, control);
    Box box = place;
    if (control.part == Part::Body) {
        box = Inset(place, 2);
    }
    painter.Round(box, kRadius, hot ? kHotFill : kFill);
    painter.Text({box.x + kPad / 2, box.y, box.width - kPad, box.height}, {.size = kTextSize},
                 control.name, TextColour(control), 0.5);
}

void PaintTab(const Painter& painter, const Control& control, const Box& place) {
    const bool hot = Is(painter.surface.hot, control);
    if (control.on || hot) {
        painter.Round(place, kRadius, control.on ? kFill : kRowFill);
    }
    painter.Text(place, {.size = kTextSize, .bold = false}, control.name,
                 control.on ? kText : kQuietText, 0.5);
    if (control.on) {
        painter.Round({place.x + kPad, place.y + place.height - 3, place.width - 2 * kPad, 2}, 1,
                      kAccent);
    }
}

// The picture as large as it fits into the box, in the middle.
void PaintPicture(const Painter& painter, const Box& box, const RgbaPicture& picture) {
    if (picture.width <= 0 || picture.height <= 0) {
        return;
    }
    const double scale = std::min(box.width / picture.width, box.height / picture.height);
    const double width = picture.width * scale;
    const double height = picture.height * scale;
    DrawPicture(painter.canvas,
                painter.Pixels({box.x + (box.width - width) / 2, box.y + (box.height - height) / 2,
                                width, height}),
                picture);
}

void PaintCard(const Painter& painter, const Control& control, const Box& place) {
    const bool hot = Is(painter.surface.hot, control);
    painter.Round(place, kRadius, hot ? kHotFill : kRowFill);
    constexpr double kTexts = 68;
    constexpr double kEdge = 8;
    const Box box = {place.x + kEdge, place.y + kEdge, place.width - 2 * kEdge,
                     place.height - kTexts - kEdge};
    if (control.picture != nullptr) {
        PaintPicture(painter, box, *control.picture);
    }
    const double x = place.x + kEdge + 2;
    const double width = place.width - 2 * kEdge - 4;
    double y = place.y + place.height - kTexts + 4;
    painter.Text({x, y, width, 22}, {.size = kTextSize, .bold = true}, control.name, kText);
    y += 22;
    if (!control.value.empty()) {
        painter.Text({x, y, width, 18}, {.size = kSmallTextSize}, control.value, kQuietText);
        y += 18;
    }
    painter.Text({x, y, width, 18}, {.size = kSmallTextSize}, control.detail, kQuietText);
}

void PaintRow(const Painter& painter, const Control& control, const Box& place) {
    if (control.card) {
        return PaintCard(painter, control, place);
    }
    if (control.on || Is(painter.surface.hot, control)) {
        painter.Round(place, kRadius, control.on ? kHotFill : kRowFill);
    }
    double x = place.x + kPad;
    if (control.picture != nullptr && control.picture->height > 0) {
        const double room = place.height - 12;
        const double ratio = double(control.picture->width) / control.picture->height;
        const double width = std::min(room * ratio, room * 1.6);
        const double height = width / ratio;
        DrawPicture(painter.canvas,
                    painter.Pixels({x, place.y + (place.height - height) / 2, width, height}),
                    *control.picture);
        x += room * 1.6 + kPad;
    }
    const double value =
        control.value.empty() ? 0 : TextWidth({.size = kSmallTextSize}, control.value) + kPad;
    const double width = place.x + place.width - kPad - value - x;
    const bool two = !control.detail.empty();
    const double line = kTextSize * kLineHeight + 2;
    const double top = place.y + (place.height - (two ? 2 * line : line)) / 2;
    painter.Text({x, top, width, line}, {.size = kTextSize}, control.name, TextColour(control));
    if (two) {
        painter.Text({x, top + line, width, line}, {.size = kSmallTextSize}, control.detail,
                     kQuietText);
    }
    painter.Text({place.x + place.width - kPad - value, place.y, value, place.height},
                 {.size = kSmallTextSize}, control.value, kQuietText, 1);
}

void PaintField(const Painter& painter, const Control& control, const Box& place) {
    Box box = {place.x, place.y + place.height - kControlHeight, place.width, kControlHeight};
    painter.Lines({place.x + kPad, place.y, place.width - 2 * kPad, place.height - kControlHeight},
                  {.size = kTextSize}, control, kText);
    box = {box.x + kPad, box.y + 2, box.width - 2 * kPad, box.height - 4};
    painter.Round(box, kRadius, kRowFill);
    painter.Border(box, kRadius, 1, kTrack);
    const Box inner = {box.x + 8, box.y, box.width - 16, box.height};
    const TextLook look = {.size = kTextSize};
    const bool focused = Is(painter.surface.focus, control);
    const size_t caret = std::min(control.caret, control.value.size());
    const double before = TextWidth(look, control.value.substr(0, caret));
    // The caret stays in sight.
    const double shift = std::max(0.0, before - inner.width + 2);
    const Box clip = painter.canvas.clip;
    const Box seen = painter.Pixels(inner);
    const double top = std::max(clip.y, seen.y);
    painter.canvas.clip = {seen.x, top, seen.width,
                           std::min(clip.y + clip.height, seen.y + seen.height) - top};
    if (control.value.empty() && !control.detail.empty()) {
        painter.Text(inner, look, control.detail, kDisabledText);
    } else {
        painter.Text({inner.x - shift, inner.y, focused ? 1e5 : inner.width, inner.height}, look,
                     control.value, TextColour(control));
    }
    if (focused) {
        painter.Round({inner.x + before - shift, inner.y + 7, 1.5, inner.height - 14}, 0, kAccent);
    }
    painter.canvas.clip = clip;
}

void PaintFocus(const Painter& painter, const Control& control, const Box& place) {
    if (!painter.surface.showsFocus || !Is(painter.surface.focus, control)) {
        return;
    }
    if (!TakesFocus(control)) {
        return;
    }
    painter.Border(place, kRadius, 2, kAccent);
}

void PaintControl(const Painter& painter, const Control& control) {
    const Box place = PlaceOf(painter.surface, control);
    const Box inner = {place.x + kPad, place.y, place.width - 2 * kPad, place.height};
    const bool lit = Is(painter.surface.hot, control) &&
                     (control.role == Role::Slider || control.role == Role::Check ||
                      control.role == Role::Choice);
    if (lit) {
        painter.Round(place, kRadius, kRowFill);
    }
    switch (control.role) {
        case Role::Heading:
            painter.Lines({inner.x, inner.y + 6, inner.width, inner.height - 6},
                          {.size = kTextSize, .bold = true}, control, kText);
            break;
        case Role::Label:
        case Role::Note: painter.Lines(inner, {.size = kSmallTextSize}, control, kQuietText); break;
        case Role::Button: PaintButton(painter, control, place); break;
        case Role::Tab: PaintTab(painter, control, place); break;
        case Role::Slider: PaintSlider(painter, control, place); break;
        case Role::Check: PaintCheck(painter, control, place); break;
        case Role::Choice: PaintChoice(painter, control, place); break;
        case Role::Row: PaintRow(painter, control, place); break;
        case Role::Field: PaintField(painter, control, place); break;
    }
    PaintFocus(painter, control, place);
}

// How much there is to scroll, and where it stands.
void PaintScrollBar(const Painter& painter) {
    const Surface& surface = painter.surface;
    if (surface.bodyHeight <= surface.view.height + 0.5) {
        return;
    }
    const double part = surface.view.height / surface.bodyHeight;
    const double height = std::max(16.0, surface.view.height * part);
    const double way = surface.view.height - height;
    const double at = surface.scroll / (surface.bodyHeight - surface.view.height);
    painter.Round({surface.view.x + surface.view.width + 3, surface.view.y + way * at, 4, height},
                  2, kTrack);
}

}  // namespace

void PaintSurface(const Surface& surface, Canvas& canvas) {
    const Painter painter = {canvas, surface};
    if (surface.frame.width > 0) {
        painter.Round(surface.frame, 14, kPanel);
        painter.Border(surface.frame, 14, 1, kPanelEdge);
    }
    if (surface.titleBox.width > 0) {
        painter.Text(surface.titleBox, {.size = kTitleSize, .bold = true}, surface.title, kText);
    }
    const Box whole = canvas.clip;
    for (const Control& control : surface.controls) {
        if (control.part == Part::Body) {
            const Box view = painter.Pixels(surface.view);
            const Box place = painter.Pixels(PlaceOf(surface, control));
            if (place.y + place.height < view.y || place.y > view.y + view.height) {
                continue;
            }
            canvas.clip = view;
        }
        PaintControl(painter, control);
        canvas.clip = whole;
    }
    PaintScrollBar(painter);
}

}  // namespace moxi
