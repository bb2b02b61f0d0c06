#pragma once
// The host's own surfaces as the rooms below see them: what they are told, and how one is opened.
// The panel fills the record; without one nothing happens.

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

struct SurfaceSlots {
    // Opens the panel, or closes it when it is open.
    void (*togglePanel)();
    // Closes what is open at once.
    void (*close)();
    // Whether a surface is open: it has the view's place and the input then.
    bool (*isOpen)();
    void (*input)(const SurfaceInput& input);
    // Draws the surface and shows it.
    void (*draw)();
};

inline constinit SurfaceSlots surfaceSlots = {
    .togglePanel = [] {},
    .close = [] {},
    .isOpen = [] { return false; },
    .input = [](const SurfaceInput&) {},
    .draw = [] {},
};

}  // namespace moxi
