#include "host/gamepad.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <span>

#include "desktop/desktop.h"
#include "desktop/events.h"
#include "host/key_names.h"
#include "host/mouse.h"
#include "host/surface.h"
#include "host/view.h"

namespace moxi {

constinit bool padIsActing = false;

namespace {

enum class ActionKind : u8 { None, Key, Shift, Command, Option, Mouse, Pointer, Panel };

struct Action {
    ActionKind kind = ActionKind::None;
    u8 code = 0;  // a key's code, a mouse button's number

    bool operator==(const Action&) const = default;
};

// --- Controls: the buttons, then these.

constexpr std::string_view kFurtherControls[] = {
    "lefttrigger", "righttrigger", "leftx-",  "leftx+",  "lefty-",
    "lefty+",      "rightx-",      "rightx+", "righty-", "righty+"};
constexpr u32 kFirstTrigger = kPadButtonCount;
constexpr u32 kFirstDirection = kPadButtonCount + 2;
constexpr u32 kControlCount = kPadButtonCount + std::size(kFurtherControls);
using ActionTable = std::array<Action, kControlCount>;

constexpr u32 kNoControl = kControlCount;

u32 ControlNamed(std::string_view name) {
    if (const auto button = PadButtonNamed(name)) {
        return static_cast<u32>(*button);
    }
    for (u32 i = 0; i < std::size(kFurtherControls); ++i) {
        if (kFurtherControls[i] == name) {
            return kPadButtonCount + i;
        }
    }
    return kNoControl;
}

bool IsDirection(u32 control) {
    return control >= kFirstDirection;
}

// --- Actions

struct ActionName {
    std::string_view name;
    Action action;
};

constexpr ActionName kActionNames[] = {
    {"none", {ActionKind::None}},
    {"shift", {ActionKind::Shift}},
    {"command", {ActionKind::Command}},
    {"option", {ActionKind::Option}},
    {"mouse-left", {ActionKind::Mouse, 0}},
    {"mouse-right", {ActionKind::Mouse, 1}},
    {"mouse-middle", {ActionKind::Mouse, 2}},
    {"pointer", {ActionKind::Pointer}},
    {"panel", {ActionKind::Panel}},
};

std::optional<Action> ActionNamed(std::string_view name) {
    for (const ActionName& each : kActionNames) {
        if (each.name == name) {
            return each.action;
        }
    }
    if (const auto code = KeyNamed(name)) {
        return Action{ActionKind::Key, *code};
    }
    return std::nullopt;
}

struct Choice {
    std::string_view control;
    std::string_view action;
};

// Return, on A, confirms; Space, on X, is the second key of most games.
constexpr Choice kEverywhere[] = {
    {"a", "return"},     {"b", "escape"},    {"x", "space"},       {"y", "tab"},
    {"back", "escape"},  {"guide", "panel"}, {"start", "return"},  {"dpup", "up"},
    {"dpdown", "down"},  {"dpleft", "left"}, {"dpright", "right"}, {"leftx-", "left"},
    {"leftx+", "right"}, {"lefty-", "up"},   {"lefty+", "down"},
};

// Pointing and clicking can be done with either hand.
constexpr Choice kInGames[] = {
    {"rightstick", "mouse-left"}, {"rightshoulder", "mouse-left"}, {"leftshoulder", "mouse-right"},
    {"rightx-", "pointer"},       {"rightx+", "pointer"},          {"righty-", "pointer"},
    {"righty+", "pointer"},
};

// The host's own surfaces know these keys.
constexpr Choice kOnSurfaces[] = {
    {"rightx-", "left"},      {"rightx+", "right"},           {"righty-", "page-up"},
    {"righty+", "page-down"}, {"rightshoulder", "page-down"}, {"leftshoulder", "page-up"},
};

// The choices that hold everywhere, then those given.
ActionTable TableOf(std::span<const Choice> choices) {
    ActionTable table;
    const auto add = [&table](const Choice& choice) {
        table[ControlNamed(choice.control)] = ActionNamed(choice.action).value();
    };
    for (const Choice& choice : kEverywhere) {
        add(choice);
    }
    for (const Choice& choice : choices) {
        add(choice);
    }
    return table;
}

// --- State

ActionTable gameActions = TableOf(kInGames);
const ActionTable surfaceActions = TableOf(kOnSurfaces);
constinit bool onSurface = false;

std::array<bool, kControlCount> pressed = {};  // the control is down
std::array<Action, kControlCount> held = {};   // what it does meanwhile
std::array<double, kPadAxisCount> axes = {};

struct Flags {
    bool shift = false;
    bool command = false;
    bool option = false;
};
constinit Flags keyboardFlags;

// The key that repeats is the one that was pressed last.
constexpr u64 kRepeatDelayMicroseconds = 500'000;
constexpr u64 kRepeatMicroseconds = 33'000;
constinit std::optional<u8> repeatingKey;
constinit TimerId repeatTimer = 0;

// How far a stick is pushed to press a key, and how far back it has to come to release it.
constexpr double kPressed = 0.5;
constexpr double kReleased = 0.35;
// Sticks that nobody touches stand up to so far from the middle.
constexpr double kDeadZone = 0.2;

constexpr u64 kPointerMicroseconds = 16'000;
// A stick pushed all the way carries the pointer over the view's longer side in so many steps.
constexpr double kPointerSteps = 75;
constinit TimerId pointerTimer = 0;
constinit double fineX = 0;  // where the pointer is, with fractions
constinit double fineY = 0;

// Sets `padIsActing` as long as it lives.
struct Acting {
    Acting() : before(padIsActing) { padIsActing = true; }
    ~Acting() { padIsActing = before; }
    Acting(const Acting&) = delete;
    Acting& operator=(const Acting&) = delete;
    bool before;
};

bool Holds(ActionKind kind) {
    return std::any_of(held.begin(), held.end(),
                       [kind](const Action& action) { return action.kind == kind; });
}

bool Holds(const Action& action) {
    return std::find(held.begin(), held.end(), action) != held.end();
}

bool ShiftIsHeld() {
    return keyboardFlags.shift || Holds(ActionKind::Shift);
}

void StopTimer(TimerId& timer) {
    if (timer != 0) {
        desktop.stopTimer(timer);
    }
    timer = 0;
}

// --- Keys

void StopRepeating() {
    StopTimer(repeatTimer);
    repeatingKey.reset();
}

// While a surface is open the game may stand still and its timers with it; keys repeat there too.
TimerId StartRepeatTimer(u64 microseconds, void (*handler)()) {
    return onSurface ? desktop.startSurfaceTimer(microseconds, handler)
                     : desktop.startTimer(microseconds, handler);
}

void RepeatKey() {
    if (!repeatingKey) {
        return;
    }
    const Acting acting;
    desktopEvents.keyDown(*repeatingKey, TextOfKey(*repeatingKey, ShiftIsHeld()));
}

void StartRepeating(u8 code) {
    StopRepeating();
    repeatingKey = code;
    repeatTimer = StartRepeatTimer(kRepeatDelayMicroseconds, [] {
        StopTimer(repeatTimer);
        repeatTimer = StartRepeatTimer(kRepeatMicroseconds, RepeatKey);
        RepeatKey();
    });
}

void TellModifiers() {
    // FlagsChangedBesidePad, which answers this, adds the modifier keys that the pad holds.
    desktopEvents.flagsChanged(keyboardFlags.shift, keyboardFlags.command, keyboardFlags.option);
}

// --- The pointer

ViewSize PointerRoom() {
    const ViewSize view = desktop.viewSize();
    return {std::max(view.width, 1), std::max(view.height, 1)};
}

// The lowest number of a mouse button that the pad holds.
std::optional<u32> HeldMouseButton() {
    std::optional<u32> lowest;
    for (const Action& action : held) {
        if (action.kind == ActionKind::Mouse && (!lowest || action.code < *lowest)) {
            lowest = action.code;
        }
    }
    return lowest;
}

// How far one axis pushes the pointer: nothing in a direction that has another action, and nothing
// within the dead zone.
double Push(u32 negativeDirection, PadAxis axis) {
    const double value = axes[static_cast<u32>(axis)];
    const u32 control = negativeDirection + (value > 0 ? 1 : 0);
    const Action action = onSurface ? Action{} : gameActions[control];
    return action.kind == ActionKind::Pointer ? value : 0;
}

struct Direction {
    double x = 0;
    double y = 0;
};

// Slow near the middle, so that small things can be hit.
Direction PointerSpeed(double x, double y) {
    const double length = std::hypot(x, y);
    if (length <= kDeadZone) {
        return {};
    }
    const double pushed = (std::min(length, 1.0) - kDeadZone) / (1 - kDeadZone);
    return {x / length * pushed * pushed, y / length * pushed * pushed};
}

Direction PointerDirection() {
    const Direction left = PointerSpeed(Push(kFirstDirection, PadAxis::LeftX),
                                        Push(kFirstDirection + 2, PadAxis::LeftY));
    const Direction right = PointerSpeed(Push(kFirstDirection + 4, PadAxis::RightX),
                                         Push(kFirstDirection + 6, PadAxis::RightY));
    return {left.x + right.x, left.y + right.y};
}

void MovePointer() {
    const Direction direction = PointerDirection();
    if (direction.x == 0 && direction.y == 0) {
        return StopTimer(pointerTimer);
    }
    const ViewSize room = PointerRoom();
    const double step = std::max(room.width, room.height) / kPointerSteps;
    // A mouse may have moved it meanwhile.
    if (std::floor(fineX) != pointerX) {
        fineX = pointerX + 0.5;
    }
    if (std::floor(fineY) != pointerY) {
        fineY = pointerY + 0.5;
    }
    fineX = std::clamp(fineX + direction.x * step, 0.0, room.width - 0.5);
    fineY = std::clamp(fineY + direction.y * step, 0.0, room.height - 0.5);
    const i32 x = static_cast<i32>(std::floor(fineX));
    const i32 y = static_cast<i32>(std::floor(fineY));
    if (x == pointerX && y == pointerY) {
        return;
    }
    const Acting acting;
    desktop.movePointer(x, y);
    if (const auto button = HeldMouseButton()) {
        desktopEvents.mouseDragged(*button, x, y);
    } else {
        desktopEvents.mouseMoved(x, y);
    }
}

void FollowSticks() {
    const Direction direction = PointerDirection();
    const bool moves = direction.x != 0 || direction.y != 0;
    if (moves && pointerTimer == 0) {
        pointerTimer = desktop.startTimer(kPointerMicroseconds, MovePointer);
    }
    if (!moves) {
        StopTimer(pointerTimer);
    }
}

// --- Controls

// The control that opens the panel closes it too, though surfaces have actions of their own.
Action ActionOf(u32 control) {
    const Action action = gameActions[control];
    return onSurface && action.kind != ActionKind::Panel ? surfaceActions[control] : action;
}

void Press(u32 control) {
    const Action action = ActionOf(control);
    // Two controls of one action press it once.
    const bool isNew = action.kind != ActionKind::None && !Holds(action);
    held[control] = action;
    if (!isNew) {
        return;
    }
    // Not `Acting`: the panel releases what is held, keys of the keyboard among it, and a recording
    // has to hold that.
    if (action.kind == ActionKind::Panel) {
        return hostSlots.togglePanel();
    }
    const Acting acting;
    switch (action.kind) {
        case ActionKind::Key:
            StartRepeating(action.code);
            desktopEvents.keyDown(action.code, TextOfKey(action.code, ShiftIsHeld()));
            break;
        case ActionKind::Shift:
        case ActionKind::Command:
        case ActionKind::Option: TellModifiers(); break;
        case ActionKind::Mouse: desktopEvents.mouseDown(action.code, pointerX, pointerY, 1); break;
        case ActionKind::None:
        case ActionKind::Pointer:
        case ActionKind::Panel: break;
    }
}

void Release(u32 control) {
    const Action action = held[control];
    held[control] = {};
    if (action.kind == ActionKind::None || Holds(action)) {
        return;
    }
    const Acting acting;
    switch (action.kind) {
        case ActionKind::Key:
            if (repeatingKey == action.code) {
                StopRepeating();
            }
            desktopEvents.keyUp(action.code, TextOfKey(action.code, ShiftIsHeld()));
            break;
        case ActionKind::Shift:
        case ActionKind::Command:
        case ActionKind::Option: TellModifiers(); break;
        case ActionKind::Mouse: desktopEvents.mouseUp(action.code, pointerX, pointerY); break;
        case ActionKind::None:
        case ActionKind::Pointer:
        case ActionKind::Panel: break;
    }
}

void SetControl(u32 control, bool down) {
    if (pressed[control] == down) {
        return;
    }
    pressed[control] = down;
    if (down) {
        Press(control);
    } else {
        Release(control);
    }
}

// Presses the control at kPressed and releases it at kReleased; in between it stays what it is.
void PushControl(u32 control, double value) {
    if (value >= kPressed) {
        SetControl(control, true);
    }
    if (value < kReleased) {
        SetControl(control, false);
    }
}

}  // namespace

void PadButtonChanged(PadButton button, bool down) {
    SetControl(static_cast<u32>(button), down);
}

void PadAxisChanged(PadAxis axis, double value) {
    value = std::clamp(value, -1.0, 1.0);
    const u32 index = static_cast<u32>(axis);
    axes[index] = value;
    const u32 firstTrigger = static_cast<u32>(PadAxis::LeftTrigger);
    if (index >= firstTrigger) {
        return PushControl(kFirstTrigger + index - firstTrigger, value);
    }
    const u32 negative = kFirstDirection + 2 * index;
    // First the direction that the stick has left: if both stand for one key, the key is released
    // and pressed again.
    PushControl(value < 0 ? negative + 1 : negative, 0);
    PushControl(value < 0 ? negative : negative + 1, std::abs(value));
    FollowSticks();
}

void FlagsChangedBesidePad(bool shift, bool command, bool option) {
    keyboardFlags = {shift, command, option};
    moxiView::flagsChanged(shift || Holds(ActionKind::Shift), command || Holds(ActionKind::Command),
                           option || Holds(ActionKind::Option));
}

bool IsPadControl(std::string_view name) {
    return ControlNamed(name) != kNoControl;
}

bool IsPadAction(std::string_view name) {
    return ActionNamed(name).has_value();
}

std::string DefaultPadAction(std::string_view control) {
    const std::span<const Choice> tables[] = {kEverywhere, kInGames};
    for (const std::span<const Choice> choices : tables) {
        for (const Choice& choice : choices) {
            if (choice.control == control) {
                return std::string(choice.action);
            }
        }
    }
    return "none";
}

void UsePadMap(const std::map<std::string, std::string>& choices) {
    ActionTable actions = TableOf(kInGames);
    for (const auto& [name, chosen] : choices) {
        const u32 control = ControlNamed(name);
        const auto action = ActionNamed(chosen);
        if (control == kNoControl || !action) {
            continue;
        }
        if (action->kind == ActionKind::Pointer && !IsDirection(control)) {
            continue;
        }
        actions[control] = *action;
    }
    // The same map comes again whenever any preference changes; what is held stays so.
    if (actions == gameActions) {
        return;
    }
    ReleasePad();
    gameActions = actions;
}

void UseSurfacePadMap(bool use) {
    ReleasePad();
    // A stick that is pushed just now would go on to push the pointer.
    axes = {};
    onSurface = use;
}

void ReleasePad() {
    StopRepeating();
    StopTimer(pointerTimer);
    for (u32 control = 0; control < kControlCount; ++control) {
        Release(control);
    }
}

void ResetGamepad() {
    repeatTimer = pointerTimer = 0;
    repeatingKey.reset();
    gameActions = TableOf(kInGames);
    onSurface = padIsActing = false;
    pressed = {};
    held = {};
    axes = {};
    keyboardFlags = {};
    fineX = fineY = 0;
}

}  // namespace moxi
