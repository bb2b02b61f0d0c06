#pragma once
// What a desktop tells the application: one record of handlers, called on the main thread by the
// desktop implementation and filled by app/wiring.cpp. Positions of the pointer are whole view
// points with the origin at the view's top-left corner, y downwards.

#include <string>

#include "base/types.h"
#include "desktop/desktop.h"
#include "desktop/pad.h"

namespace moxi {

struct DesktopEvents {
    // --- Application
    void (*didFinishLaunching)();
    bool (*shouldTerminate)();  // false: the program goes on
    void (*willTerminate)();
    void (*willBecomeActive)();
    void (*didResignActive)();  // the window has lost the keyboard, and everything held is released
    void (*screensChanged)();
    // The user ends the program while the application is busy in a handler and does not answer.
    // Comes from another thread, and the process ends when it returns.
    void (*willEndByForce)();

    // --- Window
    bool (*windowShouldClose)();  // false: the window stays
    void (*windowWillClose)();
    void (*windowDidResize)();
    void (*windowDidMove)();
    void (*windowDidMiniaturize)();
    void (*windowDidDeminiaturize)();
    void (*windowWillEnterFullScreen)();
    void (*windowDidEnterFullScreen)();
    void (*windowWillExitFullScreen)();
    void (*windowDidExitFullScreen)();
    void (*windowWillStartLiveResize)();
    void (*windowDidEndLiveResize)();
    void (*viewFrameDidChange)();

    // --- View
    // This part of the view has to be drawn anew, in the coordinates of view rectangles.
    void (*drawRect)(ViewRect rect);

    // --- Input. `code` is a positional virtual key code 0..127; `text` is UTF-8, empty for none.
    void (*keyDown)(u8 code, const std::string& text);
    void (*keyUp)(u8 code, const std::string& text);
    // Text that an input method commits without a key press, at most 8 bytes.
    void (*textInput)(const std::string& text);
    void (*flagsChanged)(bool shift, bool command, bool option);
    // `button`: 0 left, 1 right, 2 middle, 3 and up the others.
    void (*mouseDown)(u32 button, i32 x, i32 y, i32 clicks);
    void (*mouseUp)(u32 button, i32 x, i32 y);
    void (*mouseMoved)(i32 x, i32 y);
    void (*mouseDragged)(u32 button, i32 x, i32 y);
    // One notch of the wheel is a delta of 0.1. Positive when what is seen moves right or down.
    void (*scrollWheel)(double deltaX, double deltaY, i32 x, i32 y);
    // The user has dropped a file or folder on the window.
    void (*fileDropped)(const std::string& path);
    // Only changes are told. When a pad is taken away, or the window loses the keyboard, every
    // button that was down goes up and every axis goes back to 0.
    void (*padButton)(PadButton button, bool down);
    void (*padAxis)(PadAxis axis, double value);  // -1..1, a trigger 0..1

    // --- Scripts
    // Another program has put this text on the clipboard, where desktop.clipboardText finds it.
    void (*clipboardDidChange)(const std::string& text);
    // As drawRect, but nobody has asked for a redraw of this rectangle.
    void (*expose)(ViewRect rect);
    // Puts a message of this command and these parameters into the module's queue.
    void (*post)(u32 command, u32 p1, u32 p2, u32 p3);
    // Writes what the view shows to a PNG file at `path`; false when it cannot be written.
    bool (*screenshot)(const std::string& path);
};

inline constinit DesktopEvents desktopEvents = {
    .didFinishLaunching = [] {},
    .shouldTerminate = [] { return true; },
    .willTerminate = [] {},
    .willBecomeActive = [] {},
    .didResignActive = [] {},
    .screensChanged = [] {},
    .willEndByForce = [] {},
    .windowShouldClose = [] { return true; },
    .windowWillClose = [] {},
    .windowDidResize = [] {},
    .windowDidMove = [] {},
    .windowDidMiniaturize = [] {},
    .windowDidDeminiaturize = [] {},
    .windowWillEnterFullScreen = [] {},
    .windowDidEnterFullScreen = [] {},
    .windowWillExitFullScreen = [] {},
    .windowDidExitFullScreen = [] {},
    .windowWillStartLiveResize = [] {},
    .windowDidEndLiveResize = [] {},
    .viewFrameDidChange = [] {},
    .drawRect = [](ViewRect) {},
    .keyDown = [](u8, const std::string&) {},
    .keyUp = [](u8, const std::string&) {},
    .textInput = [](const std::string&) {},
    .flagsChanged = [](bool, bool, bool) {},
    .mouseDown = [](u32, i32, i32, i32) {},
    .mouseUp = [](u32, i32, i32) {},
    .mouseMoved = [](i32, i32) {},
    .mouseDragged = [](u32, i32, i32) {},
    .scrollWheel = [](double, double, i32, i32) {},
    .fileDropped = [](const std::string&) {},
    .padButton = [](PadButton, bool) {},
    .padAxis = [](PadAxis, double) {},
    .clipboardDidChange = [](const std::string&) {},
    .expose = [](ViewRect) {},
    .post = [](u32, u32, u32, u32) {},
    .screenshot = [](const std::string&) { return false; },
};

}  // namespace moxi
