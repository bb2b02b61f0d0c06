#pragma once
// The host's own surfaces as the rooms below see them: what one is told while it is open, and how
// the panel is opened from here.

#include <string>

#include "base/types.h"

namespace moxi {

enum class SurfaceInputKind : u8 { KeyDown, Text, PointerMove, PointerDown, PointerUp, Wheel };

// One event for a surface. A gamepad's come as those of keys. Positions are pixels of the surface,
// with the origin at its top-left corner.
struct SurfaceInput {
    SurfaceInputKind kind = SurfaceInputKind::PointerMove;
    u8 code = 0;            // keys: the positional virtual key code
    std::string text = {};  // keys: what the key types, "" for none; texts: the text
    bool shift = false;
    bool command = false;
    bool option = false;
    i32 x = 0;
    i32 y = 0;
    u32 button = 0;    // 0 left, 1 right, 2 middle
    double wheel = 0;  // notches, up is positive
};

struct SurfaceHandlers {
    // Closes it at once.
    void (*close)();
    void (*input)(const SurfaceInput& input);
    // Draws it and shows it.
    void (*draw)();
};

// The surface that is open, null when none is: it has the view's place and the input. Whoever opens
// one sets it and takes it back (surface/panel).
inline constinit const SurfaceHandlers* openSurface = nullptr;

// What this room needs from the one above it. Written only by app/ and by tests.
struct HostSlots {
    // Opens the panel, or closes it when it is open.
    void (*togglePanel)();
};

inline constinit HostSlots hostSlots = {.togglePanel = [] {}};

}  // namespace moxi
