#pragma once
// What a player can choose for the host (host/preferences.h).

#include <map>
#include <string>

#include "base/types.h"

namespace moxi {

// How much the view is enlarged: a number of whole steps, or one of these.
constexpr u32 kScaleAutomatic = 0;  // as the desktop's density asks for
constexpr u32 kMostScale = 16;
constexpr u32 kScaleFit = 100;            // as many whole steps as the screen has room for
constexpr u32 kScaleFitFractional = 101;  // up to the screen's edge, by fractions of a step

enum class ScaleFilter : u8 { Sharp, Smooth };

struct Preferences {
    u32 musicVolume = 100;  // percent of the amplitude
    u32 soundVolume = 100;
    bool mute = false;
    bool fullScreen = false;  // games start in full screen
    u32 scale = kScaleAutomatic;
    ScaleFilter filter = ScaleFilter::Sharp;
    bool pauseWhenInactive = false;
    bool askBeforeOpening = true;
    std::string screenshotFolder;  // "" for the user's pictures folder; for all games alike
    bool reducedMotion = false;    // of the host's own surfaces
    bool largeText = false;
    // What a key or a control of the gamepad plays as, by their names; what is missing is as ever.
    std::map<std::string, std::string> keyMap;
    std::map<std::string, std::string> padMap;
};

}  // namespace moxi
