// What input does to the controls of a surface.

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "base/utf8.h"
#include "desktop/desktop.h"
#include "surface/controls.h"
#include "surface/shapes.h"

namespace moxi {

namespace {

// Virtual key codes.
constexpr u8 kReturn = 0x24;
constexpr u8 kTab = 0x30;
constexpr u8 kSpace = 0x31;
constexpr u8 kBackspace = 0x33;
constexpr u8 kEscape = 0x35;
constexpr u8 kKeypadEnter = 0x4C;
constexpr u8 kHome = 0x73;
constexpr u8 kPageUp = 0x74;
constexpr u8 kDelete = 0x75;
constexpr u8 kEnd = 0x77;
constexpr u8 kPageDown = 0x79;
constexpr u8 kLeft = 0x7B;
constexpr u8 kRight = 0x7C;
constexpr u8 kDown = 0x7D;
constexpr u8 kUp = 0x7E;

constexpr i32 kSliderStep = 5;
constexpr double kWheelStep = 48;  // units a notch

// --- Focus

void MoveFocusInOrder(Surface& surface, i32 step) {
    std::vector<const Control*> order;
    for (const Control& control : surface.controls) {
        if (TakesFocus(control)) {
            order.push_back(&control);
        }
    }
    if (order.empty()) {
        return;
    }
    const auto now = std::find_if(order.begin(), order.end(), [&surface](const Control* control) {
        return control->id == surface.focus;
    });
    const size_t count = order.size();
    size_t next = step > 0 ? 0 : count - 1;
    if (now != order.end()) {
        next =
            (static_cast<size_t>(now - order.begin()) + count + static_cast<size_t>(step)) % count;
    }
    Focus(surface, order[next]->id);
}

// Where a control lies for the arrow keys: the head above all of the body, the foot below.
Box PlaceForArrows(const Surface& surface, const Control& control) {
    Box place = control.box;
    if (control.part == Part::Body) {
        place.x += surface.view.x;
        place.y += surface.view.y;
    }
    if (control.part == Part::Foot) {
        place.y += surface.bodyHeight;
    }
    return place;
}

// How far the control lies in this direction, or nothing when it does not.
std::optional<double> WayTo(const Box& from, const Box& to, i32 across, i32 down) {
    const auto gap = [](double start, double size, double otherStart, double otherSize) {
        return std::max({otherStart - (start + size), start - (otherStart + otherSize), 0.0});
    };
    const double middleAcross = (to.x + to.width / 2) - (from.x + from.width / 2);
    const double middleDown = (to.y + to.height / 2) - (from.y + from.height / 2);
    const double aside = across != 0 ? gap(from.y, from.height, to.y, to.height)
                                     : gap(from.x, from.width, to.x, to.width);
    const double ahead = across != 0 ? middleAcross * across : middleDown * down;
    const double away = across != 0 ? gap(from.x, from.width, to.x, to.width)
                                    : gap(from.y, from.height, to.y, to.height);
    // Beside each other is not ahead.
    if (ahead <= 0.5 || (away <= 0 && aside > 0)) {
        return {};
    }
    if (across != 0 && aside > 0) {
        return {};
    }
    const double off = across != 0 ? std::fabs(middleDown) : std::fabs(middleAcross) / 8;
    return ahead + 2 * aside + off;
}

// Where there is little room the tabs have several rows, and go on from one to the next.
const Control* TabBeside(const Surface& surface, const Control& tab, i32 step) {
    const Control* before = nullptr;
    for (const Control& control : surface.controls) {
        if (control.role != Role::Tab) {
            continue;
        }
        if (&control == &tab && step < 0) {
            return before;
        }
        if (before == &tab) {
            return &control;
        }
        before = &control;
    }
    return nullptr;
}

void MoveFocusBy(Surface& surface, i32 across, i32 down) {
    const Control* const now = FindControl(surface, surface.focus);
    if (now == nullptr) {
        return MoveFocusInOrder(surface, across + down);
    }
    const Box from = PlaceForArrows(surface, *now);
    const Control* best = nullptr;
    double shortest = 0;
    for (const Control& control : surface.controls) {
        if (!TakesFocus(control) || &control == now) {
            continue;
        }
        const auto way = WayTo(from, PlaceForArrows(surface, control), across, down);
        if (!way || (best != nullptr && *way >= shortest)) {
            continue;
        }
        best = &control;
        shortest = *way;
    }
    if (best == nullptr && across != 0) {
        best = TabBeside(surface, *now, across);
    }
    if (best != nullptr) {
        return Focus(surface, best->id);
    }
    // There may be something to read beyond the last control.
    if (down != 0) {
        surface.scroll = down > 0 ? std::max(0.0, surface.bodyHeight - surface.view.height) : 0;
    }
}

void ScrollPage(Surface& surface, i32 down) {
    const double most = std::max(0.0, surface.bodyHeight - surface.view.height);
    surface.scroll = std::clamp(surface.scroll + down * surface.view.height * 0.85, 0.0, most);
    // The focus comes along.
    const Control* best = nullptr;
    for (const Control& control : surface.controls) {
        if (!TakesFocus(control) || control.part != Part::Body) {
            continue;
        }
        const bool seen =
            control.box.y >= surface.scroll &&
            control.box.y + control.box.height <= surface.scroll + surface.view.height;
        if (seen && (best == nullptr || down > 0)) {
            best = &control;
        }
    }
    if (best != nullptr) {
        surface.focus = best->id;
    }
}

// --- Values

Want SetSlider(Control& control, double percent) {
    const u32 value = static_cast<u32>(std::lrint(std::clamp(percent, 0.0, 100.0)));
    if (value == control.percent) {
        return {};
    }
    control.percent = value;
    return {.kind = WantKind::Change, .id = control.id};
}

Want StepValue(Control& control, i32 step) {
    if (control.role == Role::Choice) {
        return {.kind = WantKind::Change, .id = control.id, .step = step};
    }
    // To the next multiple, so that any value leads to round ones.
    const i32 now = static_cast<i32>(control.percent);
    const i32 whole = step > 0 ? now / kSliderStep * kSliderStep
                               : (now + kSliderStep - 1) / kSliderStep * kSliderStep;
    return SetSlider(control, whole + step * kSliderStep);
}

Want Activate(Control& control) {
    switch (control.role) {
        case Role::Check:
            control.on = !control.on;
            return {.kind = WantKind::Change, .id = control.id};
        case Role::Choice: return StepValue(control, 1);
        case Role::Button:
        case Role::Tab:
        case Role::Row:
        case Role::Field: return {.kind = WantKind::Press, .id = control.id};
        default: return {};
    }
}

// --- Fields

size_t CharacterBefore(const std::string& text, size_t at) {
    return at == 0 ? 0 : CharacterStart(text, at - 1);
}

size_t CharacterAfter(const std::string& text, size_t at) {
    return at == text.size() ? at : CharacterEnd(text, at);
}

bool IsPrintable(const std::string& text) {
    return !text.empty() && static_cast<u8>(text[0]) >= 0x20 && text[0] != 0x7F;
}

Want Insert(Control& field, const std::string& text) {
    std::string line;
    for (const char c : text) {
        if (static_cast<u8>(c) >= 0x20 && c != 0x7F) {
            line += c;
        }
    }
    if (line.empty()) {
        return {};
    }
    field.value.insert(field.caret, line);
    field.caret += line.size();
    return {.kind = WantKind::Change, .id = field.id};
}

Want Erase(Control& field, size_t from, size_t to) {
    if (from == to) {
        return {};
    }
    field.value.erase(from, to - from);
    field.caret = from;
    return {.kind = WantKind::Change, .id = field.id};
}

// Nothing when the key is not the field's.
std::optional<Want> HandleFieldKey(Control& field, const SurfaceInput& input) {
    field.caret = std::min(field.caret, field.value.size());
    if (input.command) {
        if (input.text != "v" && input.text != "V") {
            return {};
        }
        return Insert(field, desktop.clipboardText().value_or(""));
    }
    switch (input.code) {
        case kLeft: field.caret = CharacterBefore(field.value, field.caret); return Want{};
        case kRight: field.caret = CharacterAfter(field.value, field.caret); return Want{};
        case kHome: field.caret = 0; return Want{};
        case kEnd: field.caret = field.value.size(); return Want{};
        case kBackspace:
            return Erase(field, CharacterBefore(field.value, field.caret), field.caret);
        case kDelete: return Erase(field, field.caret, CharacterAfter(field.value, field.caret));
        default: break;
    }
    if (IsPrintable(input.text)) {
        return Insert(field, input.text);
    }
    return {};
}

// --- Keys

bool HasValue(const Control* control) {
    return control != nullptr && (control->role == Role::Slider || control->role == Role::Choice);
}

// From one tab to the next by the arrow keys: its page is seen at once.
Want PressTab(Surface& surface) {
    const Control* const focused = FindControl(surface, surface.focus);
    if (focused == nullptr || focused->role != Role::Tab || focused->on) {
        return {};
    }
    return {.kind = WantKind::Press, .id = focused->id};
}

Want HandleKey(Surface& surface, const SurfaceInput& input) {
    surface.showsFocus = true;
    Control* const focused = FindControl(surface, surface.focus);
    if (focused != nullptr && focused->role == Role::Field) {
        if (const auto want = HandleFieldKey(*focused, input)) {
            return *want;
        }
    }
    switch (input.code) {
        case kEscape: return {.kind = WantKind::Leave};
        case kTab: MoveFocusInOrder(surface, input.shift ? -1 : 1); return {};
        case kUp: MoveFocusBy(surface, 0, -1); return {};
        case kDown: MoveFocusBy(surface, 0, 1); return {};
        case kLeft:
        case kRight: {
            const i32 step = input.code == kRight ? 1 : -1;
            if (HasValue(focused)) {
                return StepValue(*focused, step);
            }
            MoveFocusBy(surface, step, 0);
            return PressTab(surface);
        }
        case kPageUp: ScrollPage(surface, -1); return {};
        case kPageDown: ScrollPage(surface, 1); return {};
        case kHome:
        case kEnd:
            if (focused != nullptr && focused->role == Role::Slider) {
                return SetSlider(*focused, input.code == kHome ? 0 : 100);
            }
            surface.focus.clear();
            MoveFocusInOrder(surface, input.code == kHome ? 1 : -1);
            return {};
        case kReturn:
        case kKeypadEnter: return focused != nullptr ? Activate(*focused) : Want{};
        case kDelete:
            if (focused == nullptr || focused->role != Role::Row) {
                return {};
            }
            return {.kind = WantKind::Delete, .id = focused->id};
        default: break;
    }
    if (input.command || input.option) {
        return {};
    }
    if (input.code == kSpace && focused != nullptr) {
        return Activate(*focused);
    }
    if (input.code == kBackspace || IsPrintable(input.text)) {
        return {.kind = WantKind::Type, .text = input.text};
    }
    return {};
}

Want HandleText(Surface& surface, const std::string& text) {
    Control* const focused = FindControl(surface, surface.focus);
    if (focused != nullptr && focused->role == Role::Field) {
        focused->caret = std::min(focused->caret, focused->value.size());
        return Insert(*focused, text);
    }
    return {.kind = WantKind::Type, .text = text};
}

// --- The pointer

Control* ControlAt(Surface& surface, double x, double y) {
    for (Control& control : surface.controls) {
        if (!TakesFocus(control)) {
            continue;
        }
        if (control.part == Part::Body && !Contains(surface.view, x, y)) {
            continue;
        }
        if (Contains(PlaceOf(surface, control), x, y)) {
            return &control;
        }
    }
    return nullptr;
}

Want DragSlider(const Surface& surface, Control& slider, double x) {
    const Box way = SliderWay(PlaceOf(surface, slider));
    return SetSlider(slider, (x - way.x) / way.width * 100);
}

Want HandlePress(Surface& surface, double x, double y) {
    surface.showsFocus = false;
    Control* const control = ControlAt(surface, x, y);
    surface.grabbed = control != nullptr ? control->id : "";
    if (control == nullptr) {
        return {};
    }
    surface.focus = control->id;
    if (control->role != Role::Slider) {
        return {};
    }
    const Box way = SliderWay(PlaceOf(surface, *control));
    // A press on a slider beside the knob's way gives it the focus and changes nothing.
    constexpr double kKnob = 12;
    if (x < way.x - kKnob) {
        surface.grabbed.clear();
        return {};
    }
    return DragSlider(surface, *control, x);
}

Want HandleRelease(Surface& surface, double x, double y) {
    const std::string grabbed = std::exchange(surface.grabbed, "");
    Control* const control = ControlAt(surface, x, y);
    if (control == nullptr || control->id != grabbed) {
        return {};
    }
    if (control->role == Role::Choice) {
        const Box arrow = ChoiceArrow(PlaceOf(surface, *control), -1);
        return StepValue(*control, Contains(arrow, x, y) ? -1 : 1);
    }
    return control->role == Role::Slider ? Want{} : Activate(*control);
}

Want HandleMove(Surface& surface, double x, double y) {
    Control* const under = ControlAt(surface, x, y);
    surface.hot = under != nullptr ? under->id : "";
    Control* const grabbed = FindControl(surface, surface.grabbed);
    if (grabbed == nullptr || grabbed->role != Role::Slider) {
        return {};
    }
    return DragSlider(surface, *grabbed, x);
}

}  // namespace

Want HandleInput(Surface& surface, const SurfaceInput& input) {
    const double x = input.x / surface.scale;
    const double y = input.y / surface.scale;
    switch (input.kind) {
        case SurfaceInputKind::KeyDown: return HandleKey(surface, input);
        case SurfaceInputKind::Text: return HandleText(surface, input.text);
        case SurfaceInputKind::PointerMove: return HandleMove(surface, x, y);
        case SurfaceInputKind::PointerDown:
            return input.button == 0 ? HandlePress(surface, x, y) : Want{};
        case SurfaceInputKind::PointerUp:
            return input.button == 0 ? HandleRelease(surface, x, y) : Want{};
        case SurfaceInputKind::Wheel: {
            const double most = std::max(0.0, surface.bodyHeight - surface.view.height);
            surface.scroll = std::clamp(surface.scroll - input.wheel * kWheelStep, 0.0, most);
            return HandleMove(surface, x, y);
        }
    }
    return {};
}

}  // namespace moxi
