#pragma once
// The event script of the headless desktop: one desktop event a line, `TIME NAME ARGUMENTS`.

#include <string>
#include <vector>

#include "desktop/desktop.h"
#include "desktop/pad.h"

namespace moxi {

enum class ScriptEventKind : u8 {
    KeyDown,
    KeyUp,
    Modifiers,
    MouseDown,
    MouseUp,
    MouseMove,
    MouseDrag,
    Scroll,
    PadButton,
    PadAxis,
    Resize,
    LiveResizeStart,
    LiveResizeEnd,
    Move,
    Minimize,
    Restore,
    FullScreenOn,
    FullScreenOff,
    Activate,
    Deactivate,
    Expose,
    Close,
    Quit,
    Screens,
    Clipboard,
    Drop,
    Post,
    Screenshot,
};

struct ScriptEvent {
    u64 milliseconds = 0;
    ScriptEventKind kind = ScriptEventKind::Activate;
    std::string text;       // key text, clipboard text or file name
    i64 numbers[4] = {};    // codes, buttons, positions and sizes, in the order of the line
    double deltas[4] = {};  // scroll: DX DY; expose: X Y W H; pad-axis: the value
    bool shift = false;     // modifiers
    bool command = false;
    bool option = false;
    PadButton padButton = PadButton::A;
    PadAxis padAxis = PadAxis::LeftX;
    bool down = false;  // pad-button
    std::vector<ViewSize> screens;
};

// Parses a whole script into `events`, whose times never go backwards. An empty result means
// success; else it is "LINE: what is wrong", and `events` holds those of the lines before.
std::string ParseScript(const std::string& text, std::vector<ScriptEvent>& events);

// Parses "WxH[,WxH..]" with sizes from 1 to 32767. False for anything else; `sizes` is then not to
// be used.
bool ParseScreenSizes(const std::string& text, std::vector<ViewSize>& sizes);

// The text in double quotes with the script's escapes, as it stands in a script.
std::string QuoteScriptText(const std::string& text);

}  // namespace moxi
