#pragma once
// The one window: the geometry that the module asks for, what the desktop reports of it, and the
// messages that this makes.

#include "base/types.h"
#include "desktop/desktop.h"

namespace moxi {

// Desktop points, origin bottom-left. x and y are signed where they are applied.
struct WindowGeometry {
    u32 x;
    u32 y;
    u32 width;
    u32 height;
    bool fullScreen;
};

// --- State

extern WindowGeometry requestedGeometry;
extern WindowGeometry lastGoodGeometry;  // the last frame read with a width and a height
extern u32 windowedWidth;                // the size reported when full screen ends
extern u32 windowedHeight;
extern bool fullScreenTransition;  // from before full screen is entered until it is left
extern bool miniaturized;
extern bool programmaticResize;  // while set, window notifications post nothing
extern bool modulePlacesWindow;  // the module has asked for a geometry
extern bool titleGuard;          // while the title is set: notifications post nothing either

// --- Operations

// The sum of all screens' widths and the greatest screen height.
ViewSize ComputeDesktopExtent();

// Makes the window asked for real: a zero size takes the last good geometry, a size below
// 600 x 400 becomes 600 x 400 at (30, 20). Nothing is applied before the launch is complete.
void ApplyWindowGeometry();

// The window's frame and full-screen state; in full screen the windowed frame. False, with
// nothing answered, before the launch is complete.
bool ReadWindowGeometry(WindowGeometry& geometry);

void ResetWindow();

// --- What the desktop reports

struct moxiWindow {
    static bool windowShouldClose();
    static void windowWillClose();
    static void didResizeNotification();
    static void didMoveNotification();
    static void didMiniaturizeNotification();
    static void didDeminiaturizeNotification();
    static void willEnterFullScreenNotification();
    static void didEnterFullScreenNotification();
    static void willExitFullScreenNotification();
    static void didExitFullScreenNotification();
    static void willStartLiveResizeNotification();
    static void didEndLiveResizeNotification();
    static void didFrameChangeNotification();
};

}  // namespace moxi
