#pragma once
// A gamepad as MOXI sees it. However many are connected, they are one: a button is down while it is
// down on any of them, an axis stands where the one stands that is moved furthest.

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

// Right and down are positive; a trigger goes from 0 to 1.
enum class PadAxis : u8 { LeftX, LeftY, RightX, RightY, LeftTrigger, RightTrigger };

// In the order of the enumerations, as scripts and preferences write them.
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
