#pragma once
// What the host needs from the music and from the program around it, until app/wiring.cpp fills
// the slots: silence, and no screenshots.

#include <string>

namespace moxi {

struct HostSlots {
    // Looks at the music's position; true when it has just reached its end.
    bool (*pollMusic)();
    void (*stopMusic)();
    void (*toggleMute)();
};

inline constinit HostSlots hostSlots = {
    .pollMusic = [] { return false; },
    .stopMusic = [] {},
    .toggleMute = [] {},
};

}  // namespace moxi
