#pragma once
// Sizes of controls, and where their parts lie: drawing and input agree on them here.

#include "surface/canvas.h"

namespace moxi {

constexpr double kTextSize = 15;
constexpr double kSmallTextSize = 13;
constexpr double kTitleSize = 19;
constexpr double kLineHeight = 1.3;  // of the text's size
constexpr double kPad = 12;          // between a control's edge and what it shows
constexpr double kRadius = 8;
constexpr double kControlHeight = 38;
// Where a control is narrower, its value stands below its name.
constexpr double kStackedBelow = 330;
constexpr double kValueText = 52;  // room for a slider's value
constexpr double kSwitchWidth = 40;
constexpr double kSwitchHeight = 22;
constexpr double kArrow = 30;

inline bool IsStacked(const Box& place) {
    return place.width < kStackedBelow;
}

// Where a slider or a choice shows its value.
inline Box ValuePart(const Box& place) {
    if (IsStacked(place)) {
        return {place.x + kPad, place.y + place.height - kControlHeight + 2, place.width - 2 * kPad,
                kControlHeight - 6};
    }
    const double width = place.width / 2;
    return {place.x + place.width - width - kPad, place.y + 4, width, place.height - 8};
}

// How far the name of a control reaches to the right, in units.
inline double NameWidth(const Box& place, double valueWidth) {
    return place.width - 2 * kPad - valueWidth;
}

// Where a slider's knob moves.
inline Box SliderWay(const Box& place) {
    const Box value = ValuePart(place);
    return {value.x + 10, value.y, value.width - kValueText - 20, value.height};
}

// The arrow of a choice that leads to the value before (-1) or the next one (1).
inline Box ChoiceArrow(const Box& place, int step) {
    const Box value = ValuePart(place);
    return {step < 0 ? value.x : value.x + value.width - kArrow, value.y, kArrow, value.height};
}

inline Box SwitchOf(const Box& place) {
    return {place.x + place.width - kPad - kSwitchWidth,
            place.y + (place.height - kSwitchHeight) / 2, kSwitchWidth, kSwitchHeight};
}

}  // namespace moxi
