#pragma once
// What drawing needs from higher rooms, filled only by app/wiring.cpp and by tests.

namespace moxi {

struct GfxSlots {
    // Asked from time to time by drawing that never ends by design or may take very long. The host
    // serves the close button there; the answer false abandons the drawing.
    bool (*stillRunning)();
};

inline constinit GfxSlots gfxSlots = {
    .stillRunning = [] { return true; },
};

}  // namespace moxi
