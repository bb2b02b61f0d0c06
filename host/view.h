#pragma once
// The content view: shows the screen bitmap and takes the input events.

#include <string>

#include "desktop/desktop.h"
#include "gfx/present.h"

namespace moxi {

extern ViewBuffer viewBuffer;  // what the view shows

// What a surface of the host's shows in the view's place, for screenshots; no pixels when none
// does.
extern ViewPixels surfacePixels;

// The whole view as the game shows it.
ViewPixels ShownPixels();

struct moxiView {
    static void init();
    static void frameDidChange();
    static void drawRect(ViewRect rect);
    // Defined in host/menu, which takes its own keys before the module sees them.
    static void keyDown(u8 code, const std::string& text);
    static void keyUp(u8 code, const std::string& text);
    static void flagsChanged(bool shift, bool command, bool option);
};

// Asks for a redraw of the screen's dirty rectangle, which becomes empty; false when it was. Called
// on another thread it has the main thread do so, later.
bool FlushDirtyRect();

// Writes what the view shows as an RGB PNG; false when the file cannot be written.
bool WriteScreenshot(const std::string& path);

void ResetView();

}  // namespace moxi
