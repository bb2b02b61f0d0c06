#pragma once
// A gamepad as MOXI sees it. All pads that are connected act as one: a button is down while it is
// down on any of them, and an axis has the value of the pad on which it is moved furthest.

#include <optional>
#include <string_view>

#include "base/types.h"

namespace moxi {

enum class PadButton : u8 {
    A,
    B,
    X,
    Y,
    Back,
    Guide,
    Start,
    LeftStick,
    RightStick,
    LeftShoulder,
    RightShoulder,
    DpUp,
    DpDown,
    DpLeft,
    DpRight,
};

// A stick's axis goes from -1 to 1, where right and down are positive; a trigger goes from 0 to 1.
enum class PadAxis : u8 { LeftX, LeftY, RightX, RightY, LeftTrigger, RightTrigger };

// The names that scripts and preferences use, in the order of the enumerations.
inline constexpr std::string_view kPadButtonNames[] = {"a",
                                                       "b",
                                                       "x",
                                                       "y",
                                                       "back",
                                                       "guide",
                                                       "start",
                                                       "leftstick",
                                                       "rightstick",
                                                       "leftshoulder",
                                                       "rightshoulder",
                                                       "dpup",
                                                       "dpdown",
                                                       "dpleft",
                                                       "dpright"};
inline constexpr std::string_view kPadAxisNames[] = {"leftx",  "lefty",       "rightx",
                                                     "righty", "lefttrigger", "righttrigger"};
inline constexpr u32 kPadButtonCount = std::size(kPadButtonNames);
inline constexpr u32 kPadAxisCount = std::size(kPadAxisNames);

constexpr std::string_view NameOf(PadButton button) {
    return kPadButtonNames[static_cast<u32>(button)];
}
constexpr std::string_view NameOf(PadAxis axis) {
    return kPadAxisNames[static_cast<u32>(axis)];
}

// The button or axis of a name, in lower case; nothing for a name that there is not.
constexpr std::optional<PadButton> PadButtonNamed(std::string_view name) {
    for (u32 i = 0; i < kPadButtonCount; ++i) {
        if (kPadButtonNames[i] == name) {
            return static_cast<PadButton>(i);
        }
    }
    return std::nullopt;
}

constexpr std::optional<PadAxis> PadAxisNamed(std::string_view name) {
    for (u32 i = 0; i < kPadAxisCount; ++i) {
        if (kPadAxisNames[i] == name) {
            return static_cast<PadAxis>(i);
        }
    }
    return std::nullopt;
}

}  // namespace moxi
