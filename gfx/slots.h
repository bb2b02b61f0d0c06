#pragma once
// What drawing needs from higher rooms: function slots with harmless defaults, written only by
// app/wiring.cpp and by tests.

#include "base/types.h"

namespace moxi {

struct GfxSlots {
    // Commands of group 5 whose text engine and image codecs are wired in at start-up. Addresses
    // are module addresses; the results go to R14.
    u32 (*drawText)(u32 block);
    u32 (*loadImage)(const char* name);
    u32 (*saveImage)(u32 handle, const char* name, u32 format);
    // Called when the text bitmap is made.
    void (*emptyFontCache)();
    // Asked from time to time by drawing that never ends by design or may take very long. The host
    // serves the close button there; the answer false abandons the drawing.
    bool (*stillRunning)();
};

inline constinit GfxSlots gfxSlots = {
    .drawText = [](u32) { return u32{0}; },
    .loadImage = [](const char*) { return u32{0}; },
    .saveImage = [](u32, const char*, u32) { return u32{0}; },
    .emptyFontCache = [] {},
    .stillRunning = [] { return true; },
};

}  // namespace moxi
