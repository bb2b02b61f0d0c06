#pragma once
// The controls of a surface: a plain list, made anew by its owner whenever something changes. Each
// has an id that stays the same, a name for people and a box. The list takes input by keyboard,
// pointer, wheel and gamepad (whose events come as those of keys) and says what the player wants;
// the owner does it.
//
// All lengths are units: pixels of the surface divided by its scale. Boxes of controls that scroll
// count from the top of what scrolls.

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "base/types.h"
#include "host/surface.h"
#include "surface/canvas.h"

namespace moxi {

enum class Role : u8 {
    Heading,  // these three take no focus
    Label,
    Note,  // smaller, in several lines
    Button,
    Tab,
    Slider,
    Check,
    Choice,
    Row,    // of a list: a picture, a name and a line below it
    Field,  // a line of text
};

// Where a control belongs: what lies in the head and in the foot does not scroll.
enum class Part : u8 { Head, Body, Foot };

struct Control {
    Role role = Role::Label;
    std::string id;
    std::string name;
    std::string value = {};   // a slider's, choice's and row's as it is shown; a field's text
    std::string detail = {};  // a row's second line
    std::shared_ptr<const RgbaPicture> picture = {};
    u32 percent = 0;  // of a slider
    bool on = false;  // a check; the chosen tab or row
    bool enabled = true;
    bool card = false;  // a row whose picture stands above its texts
    Part part = Part::Body;
    Box box = {};
    std::vector<std::string> lines = {};  // of a note, and of a name that needs several
    size_t caret = 0;                     // of a field, in bytes
};

struct Surface {
    std::string title;
    std::deque<Control> controls;  // a control stays where it is when others are added
    double scale = 1;              // pixels a unit
    double width = 0;              // of the whole
    double height = 0;
    Box frame;     // what is drawn as a panel; empty for none
    Box titleBox;  // where the title stands; empty for nowhere
    Box view;      // what scrolls is seen here
    double bodyHeight = 0;
    double scroll = 0;
    std::string focus;       // id; "" for none
    std::string hot;         // under the pointer
    std::string grabbed;     // pressed by the pointer
    bool showsFocus = true;  // the keyboard was used last
    size_t caret = 0;        // of the focused field, while controls are made anew
};

enum class WantKind : u8 {
    Nothing,
    Press,   // a button, tab or row
    Change,  // a slider's `percent`, a check's `on`, a choice by `step`, a field's `value`
    Delete,  // the key on a row
    Type,    // text that no field takes
    Leave,   // Escape
};

// What the player wants of a control. The control has the new percent, value or `on` already.
struct Want {
    WantKind kind = WantKind::Nothing;
    std::string id = {};
    i32 step = 0;           // of a choice: 1 the next one, -1 the one before
    std::string text = {};  // typed
};

// The scale that a surface of so many pixels is readable at, `least` or more. `largeText` makes all
// of it larger.
double SurfaceScale(i32 width, i32 height, bool largeText, double least = 1);

// Begins a new list of controls; focus and scroll stay. The size is in pixels.
void BeginControls(Surface& surface, i32 width, i32 height, double scale);
// The control may be filled in until the next list begins.
Control& AddControl(Surface& surface, Role role, const std::string& id, const std::string& name);
// Ends it, when all boxes are set: the focus is where it was, or on the first control.
void EndControls(Surface& surface);

// Null when there is none of this id.
Control* FindControl(Surface& surface, const std::string& id);
bool TakesFocus(const Control& control);
void Focus(Surface& surface, const std::string& id);
// Where the control is on the surface, in units.
Box PlaceOf(const Surface& surface, const Control& control);
// Scrolls until all of the control is seen, as far as there is room.
void Reveal(Surface& surface, const Control& control);

Want HandleInput(Surface& surface, const SurfaceInput& input);

void PaintSurface(const Surface& surface, Canvas& canvas);

// The controls as text, one a line: role, id, name, value, place in pixels, state.
// Control characters are written as \x0A.
std::string DumpControls(const Surface& surface);

}  // namespace moxi
