#include "surface/form.h"

#include <algorithm>

#include "surface/shapes.h"

namespace moxi {

namespace {

constexpr double kWidest = 640;
constexpr double kHighest = 470;
constexpr double kLeastForHeadAndFoot = 250;
constexpr double kRowGap = 2;
constexpr double kTabHeight = 32;
constexpr double kTitleHeight = 44;
constexpr double kButtonHeight = 34;

// Around the panel, and inside it: small windows have no room to give away.
double Margin(const Surface& surface) {
    return std::clamp(std::min(surface.width, surface.height) / 20, 4.0, 24.0);
}

double Padding(const Box& frame) {
    return std::clamp(frame.width / 28, 8.0, 20.0);
}

// --- The head: the title, and tabs in as many lines as they need

double TabWidth(const Control& tab) {
    return TextWidth({.size = kTextSize}, tab.name) + 2 * kPad;
}

double LayOutTabs(Surface& surface, const Box& room) {
    double x = room.x;
    double y = room.y;
    bool any = false;
    for (Control& control : surface.controls) {
        if (control.part != Part::Head) {
            continue;
        }
        const double width = std::min(TabWidth(control), room.width);
        if (any && x + width > room.x + room.width) {
            x = room.x;
            y += kTabHeight + kRowGap;
        }
        control.box = {x, y, width, kTabHeight};
        x += width + 4;
        any = true;
    }
    return any ? y + kTabHeight - room.y : 0;
}

// --- The foot: buttons from the right to the left, in as many lines as they need

double LayOutFoot(Surface& surface, const Box& room) {
    double x = room.x + room.width;
    double y = 0;
    bool any = false;
    for (Control& control : surface.controls) {
        if (control.part != Part::Foot) {
            continue;
        }
        const double text = TextWidth({.size = kTextSize}, control.name);
        const double width = std::min(std::max(text + 2.5 * kPad, 84.0), room.width);
        if (any && x - width < room.x) {
            x = room.x + room.width;
            y += kButtonHeight + 6;
        }
        control.box = {x - width, y, width, kButtonHeight};
        x -= width + 8;
        any = true;
    }
    return any ? y + kButtonHeight : 0;
}

// --- The body

double LinesHeight(const Control& control, double size) {
    return static_cast<double>(control.lines.size()) * size * kLineHeight;
}

void LayOutBodyControl(Control& control, double y, double width) {
    control.box = {0, y, width, kControlHeight};
    const TextLook look = {.size = kTextSize};
    switch (control.role) {
        case Role::Heading:
            control.lines =
                WrapText({.size = kTextSize, .bold = true}, control.name, width - 2 * kPad);
            control.box.height = LinesHeight(control, kTextSize) + 16;
            return;
        case Role::Note:
        case Role::Label:
            control.lines = WrapText({.size = kSmallTextSize}, control.name, width - 2 * kPad);
            control.box.height = LinesHeight(control, kSmallTextSize) + 8;
            return;
        case Role::Slider:
        case Role::Choice: {
            const bool stacked = IsStacked(control.box);
            const double value = stacked ? 0 : ValuePart(control.box).width + kPad;
            control.lines = WrapText(look, control.name, NameWidth(control.box, value));
            const double name = LinesHeight(control, kTextSize) + 14;
            control.box.height =
                stacked ? name + kControlHeight - 10 : std::max(name, kControlHeight);
            return;
        }
        case Role::Check:
            control.lines =
                WrapText(look, control.name, NameWidth(control.box, kSwitchWidth + kPad));
            control.box.height = std::max(LinesHeight(control, kTextSize) + 14, kControlHeight);
            return;
        case Role::Field: {
            control.lines = WrapText(look, control.name, width - 2 * kPad);
            control.box.height = LinesHeight(control, kTextSize) + 10 + kControlHeight;
            return;
        }
        default: control.lines = WrapText(look, control.name, width - 2 * kPad); return;
    }
}

// Tabs stand beside each other here, too.
double LayOutBody(Surface& surface, double width) {
    double y = 0;
    double x = 0;
    for (Control& control : surface.controls) {
        if (control.part != Part::Body) {
            continue;
        }
        if (control.role == Role::Tab) {
            const double tab = std::min(TabWidth(control), width);
            if (x > 0 && x + tab > width) {
                x = 0;
                y += kTabHeight + kRowGap;
            }
            control.box = {x, y, tab, kTabHeight};
            x += tab + 4;
            continue;
        }
        if (x > 0) {
            y += kTabHeight + 8;
        }
        x = 0;
        LayOutBodyControl(control, y, width);
        y += control.box.height + kRowGap;
    }
    return std::max(0.0, y - kRowGap);
}

}  // namespace

void LayOutForm(Surface& surface) {
    const double margin = Margin(surface);
    // Where there is hardly any room everything scrolls.
    if (surface.height - 2 * margin < kLeastForHeadAndFoot) {
        for (Control& control : surface.controls) {
            control.part = Part::Body;
        }
    }
    Box frame = {0, 0, std::min(kWidest, surface.width - 2 * margin), 0};
    frame.x = (surface.width - frame.width) / 2;
    const double padding = Padding(frame);
    const double inner = frame.width - 2 * padding;
    const double tabs = LayOutTabs(surface, {frame.x + padding, 0, inner, 0});
    const double foot = LayOutFoot(surface, {frame.x + padding, 0, inner, 0});
    surface.bodyHeight = LayOutBody(surface, inner);
    const double most = std::min(kHighest, surface.height - 2 * margin);
    // Where there is hardly any room the title goes first.
    const bool titled = most > 260;
    const double head = (titled ? kTitleHeight : padding) + tabs + 8;
    const double around = head + foot + (foot > 0 ? 2 * padding : padding);
    // The same for every page, so that tabs stay where they are.
    frame.height = most;
    frame.y = (surface.height - frame.height) / 2;
    surface.frame = frame;
    surface.titleBox = titled ? Box{frame.x + padding, frame.y, inner, kTitleHeight} : Box{};
    surface.view = {frame.x + padding, frame.y + head, inner,
                    std::max(20.0, frame.height - around)};
    for (Control& control : surface.controls) {
        if (control.part == Part::Head) {
            control.box.y += frame.y + (titled ? kTitleHeight : padding);
        }
        if (control.part == Part::Foot) {
            control.box.y += frame.y + frame.height - padding - foot;
        }
    }
    EndControls(surface);
}

}  // namespace moxi
