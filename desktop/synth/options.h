#pragma once
// What the command line says about sound.

#include <string>

#include "base/types.h"

namespace moxi {

struct AudioOptions {
    bool mute = false;   // no device is opened
    bool muted = false;  // nothing is heard until the player switches this off
    u32 musicVolume =
        100;  // percent of the amplitude, 0 to 100; the player's own, no module sees it
    u32 soundVolume = 100;   // the same for sounds
    std::string soundFont;   // path of a SoundFont; "" looks for one
    std::string renderFile;  // headless: where to write what would have been heard; "" for nowhere
};

}  // namespace moxi
