#pragma once
// The keys, buttons and modifier keys that are held, and which of them the game knows of. A key
// that the game has been told to be up, because it was paused, stays so until it is pressed anew.

#include <optional>
#include <string>

#include "base/types.h"
#include "desktop/events.h"
#include "host/key_map.h"

namespace moxi {

struct Modifiers {
    bool shift = false;
    bool command = false;
    bool option = false;
};

bool KeyIsHeld(u8 code);

// Each returns whether the event is the game's. `forGame` says whether it may be.
// `played` is what the game is told of the key.
bool NoteKeyDown(u8 code, const PlayedKey& played, bool forGame);
// The key that is up for the game; nothing when it is none of its business.
std::optional<PlayedKey> NoteKeyUp(u8 code, const std::string& text);
bool NoteMouseDown(u32 button, bool forGame);
bool NoteMouseUp(u32 button);
bool NotePadButton(PadButton button, bool down, bool forGame);
// Who gets the position of a stick or a trigger. One that was held while the game was paused or
// resumed is nobody's until it is let go.
enum class AxisOwner : u8 { Game, Surface, Nobody };
AxisOwner NotePadAxis(PadAxis axis, double value, bool forGame);
void NotePointer(i32 x, i32 y);
void NoteModifiers(Modifiers held);
Modifiers HeldModifiers();

// Tells the game that everything is up.
void ReleaseHeldInput(const DesktopEvents& game);

void ResetHeldInput();

}  // namespace moxi
