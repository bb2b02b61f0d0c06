#pragma once
// The keys, buttons and modifier keys that are held, and which of them the game knows of. A key
// that the game has been told to be up, because it was paused, stays so until it is pressed anew.

#include <string>

#include "base/types.h"
#include "desktop/events.h"

namespace moxi {

struct Modifiers {
    bool shift = false;
    bool command = false;
    bool option = false;
};

bool KeyIsHeld(u8 code);

// Each returns whether the event is the game's. `forGame` says whether it may be.
bool NoteKeyDown(u8 code, const std::string& text, bool forGame);
bool NoteKeyUp(u8 code);
bool NoteMouseDown(u32 button, bool forGame);
bool NoteMouseUp(u32 button);
void NotePointer(i32 x, i32 y);
void NoteModifiers(Modifiers held);
Modifiers HeldModifiers();

// Tells the game that everything is up.
void ReleaseHeldInput(const DesktopEvents& game);

void ResetHeldInput();

}  // namespace moxi
