#pragma once
// What the command line says about sound.

#include <string>

namespace moxi {

struct AudioOptions {
    bool mute = false;       // no device is opened
    std::string soundFont;   // "" looks for one
    std::string renderFile;  // headless: where to write what would have been heard; "" for nowhere
};

}  // namespace moxi
