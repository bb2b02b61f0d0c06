#pragma once
// A gamepad as keys and pointer. What a control does is the player's choice (`pad.CONTROL =
// ACTION`); a stick pushed beyond the middle is a key that is held, and keys repeat as on a
// keyboard. What it makes goes to desktopEvents, as if it came from there.

#include <map>
#include <string>
#include <string_view>

#include "desktop/pad.h"

namespace moxi {

// True while the pad tells desktopEvents of keys or of the pointer. A recording leaves these out:
// it holds the events of the pad itself, which make the same keys when they are played.
extern bool padIsActing;

// Handlers of desktopEvents.
void PadButtonChanged(PadButton button, bool down);
void PadAxisChanged(PadAxis axis, double value);  // -1..1; what is beyond is taken for the limit

// The modifier keys of the keyboard, to which the pad's own are added.
void FlagsChangedBesidePad(bool shift, bool command, bool option);

// A control: a button's name, "lefttrigger", "righttrigger", or a direction of a stick such as
// "leftx-" (left) or "righty+" (down).
bool IsPadControl(std::string_view name);
// An action: a key (host/key_names.h), "shift", "command", "option", "mouse-left", "mouse-right",
// "mouse-middle", "panel", "none"; for a direction of a stick also "pointer".
bool IsPadAction(std::string_view name);
// What the control does unless the player says otherwise.
std::string DefaultPadAction(std::string_view control);

// The player's choices, actions by control, in the names above; an entry with any other name is
// ignored. A map that differs from the one before releases everything that the pad holds.
void UsePadMap(const std::map<std::string, std::string>& choices);
// While the host shows something of its own the pad moves about in that, whatever the player has
// chosen for the game. Lets go of everything held.
void UseSurfacePadMap(bool use);

// Lets go of everything that the pad holds. A control that is still down does nothing more until
// it is released.
void ReleasePad();

void ResetGamepad();

}  // namespace moxi
