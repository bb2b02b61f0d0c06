#include "surface/controls.h"

#include <algorithm>
#include <cmath>

#include "base/log.h"

namespace moxi {

namespace {

// A surface of this many pixels shows a unit as a pixel.
constexpr double kPlainWidth = 1280;
constexpr double kPlainHeight = 720;
constexpr double kLargestScale = 6;
constexpr double kLargeText = 1.35;

const char* RoleName(Role role) {
    switch (role) {
        case Role::Heading: return "heading";
        case Role::Label: return "label";
        case Role::Note: return "note";
        case Role::Button: return "button";
        case Role::Tab: return "tab";
        case Role::Slider: return "slider";
        case Role::Check: return "check";
        case Role::Choice: return "choice";
        case Role::Row: return "row";
        case Role::Field: return "field";
    }
    return "";
}

// Names of games come from anywhere and may hold line feeds; each control has one line.
std::string Quote(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            quoted += '\\';
        }
        quoted += c;
    }
    return WithoutControls(quoted) + "\"";
}

std::string ShownValue(const Control& control) {
    switch (control.role) {
        case Role::Check: return control.on ? "on" : "off";
        default: return control.value;
    }
}

bool IsSeen(const Surface& surface, const Control& control) {
    if (control.part != Part::Body) {
        return true;
    }
    const Box place = PlaceOf(surface, control);
    return place.y + place.height > surface.view.y &&
           place.y < surface.view.y + surface.view.height;
}

void ClampScroll(Surface& surface) {
    surface.scroll =
        std::clamp(surface.scroll, 0.0, std::max(0.0, surface.bodyHeight - surface.view.height));
}

}  // namespace

double SurfaceScale(i32 width, i32 height, bool largeText, double least) {
    const double room = std::min(width / kPlainWidth, height / kPlainHeight);
    // In quarters, so that lines stay crisp while a window is being sized.
    const double scale =
        std::clamp(std::floor(room * 4) / 4, std::min(least, kLargestScale), kLargestScale);
    return largeText ? scale * kLargeText : scale;
}

void BeginControls(Surface& surface, i32 width, i32 height, double scale) {
    const Control* const focused = FindControl(surface, surface.focus);
    surface.caret = focused != nullptr ? focused->caret : std::string::npos;
    surface.controls.clear();
    surface.scale = scale;
    surface.width = width / scale;
    surface.height = height / scale;
}

Control& AddControl(Surface& surface, Role role, const std::string& id, const std::string& name) {
    Control& control = surface.controls.emplace_back();
    control.role = role;
    control.id = id;
    control.name = name;
    return control;
}

void EndControls(Surface& surface) {
    const Control* const focused = FindControl(surface, surface.focus);
    if (focused == nullptr || !TakesFocus(*focused)) {
        surface.focus.clear();
        for (const Control& control : surface.controls) {
            if (!TakesFocus(control) || control.part == Part::Head) {
                continue;
            }
            surface.focus = control.id;
            break;
        }
    }
    for (Control& control : surface.controls) {
        const bool isFocused = control.id == surface.focus;
        control.caret =
            std::min(isFocused ? surface.caret : std::string::npos, control.value.size());
    }
    ClampScroll(surface);
}

Control* FindControl(Surface& surface, const std::string& id) {
    if (id.empty()) {
        return nullptr;
    }
    const auto found = std::find_if(surface.controls.begin(), surface.controls.end(),
                                    [&id](const Control& control) { return control.id == id; });
    return found != surface.controls.end() ? &*found : nullptr;
}

bool TakesFocus(const Control& control) {
    return control.enabled && control.role != Role::Heading && control.role != Role::Label &&
           control.role != Role::Note;
}

void Focus(Surface& surface, const std::string& id) {
    const Control* const control = FindControl(surface, id);
    if (control == nullptr || !TakesFocus(*control)) {
        return;
    }
    surface.focus = id;
    Reveal(surface, *control);
}

Box PlaceOf(const Surface& surface, const Control& control) {
    if (control.part != Part::Body) {
        return control.box;
    }
    return {control.box.x + surface.view.x, control.box.y + surface.view.y - surface.scroll,
            control.box.width, control.box.height};
}

void Reveal(Surface& surface, const Control& control) {
    if (control.part != Part::Body) {
        return;
    }
    // With a little of what is beside it.
    constexpr double kMargin = 8;
    const double top = control.box.y - kMargin;
    const double bottom = control.box.y + control.box.height + kMargin;
    surface.scroll = std::max(surface.scroll, bottom - surface.view.height);
    surface.scroll = std::min(surface.scroll, top);
    ClampScroll(surface);
}

std::string DumpControls(const Surface& surface) {
    const auto pixels = [&surface](double units) {
        return static_cast<int>(std::lrint(units * surface.scale));
    };
    std::string text = FormatText("surface %s %dx%d\n", Quote(surface.title).c_str(),
                                  pixels(surface.width), pixels(surface.height));
    for (const Control& control : surface.controls) {
        const Box place = PlaceOf(surface, control);
        text += RoleName(control.role);
        text += " " + (control.id.empty() ? "-" : WithoutControls(control.id)) + " " +
                Quote(control.name);
        const std::string value = ShownValue(control);
        if (!value.empty()) {
            text += " value " + Quote(value);
        }
        if (!control.detail.empty()) {
            text += " detail " + Quote(control.detail);
        }
        text += FormatText(" at %d,%d %dx%d", pixels(place.x), pixels(place.y), pixels(place.width),
                           pixels(place.height));
        if (control.on && control.role != Role::Check) {
            text += " chosen";
        }
        if (!control.enabled) {
            text += " disabled";
        }
        if (!IsSeen(surface, control)) {
            text += " out-of-view";
        }
        if (control.id == surface.focus && TakesFocus(control)) {
            text += " focused";
        }
        text += "\n";
    }
    return text;
}

}  // namespace moxi
