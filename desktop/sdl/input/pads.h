#pragma once
// Gamepads, as SDL knows them: connected and taken away at any time, joined to one.

#include <SDL_events.h>

#include "base/types.h"

namespace moxi {

// Main thread, once SDL has started. A machine without pads pays for it with a look now and then.
void StartPads();
void StopPads();

// Tells what the pads have done since the last look, if it is time for one.
void LookAtPads(u64 now);
u64 NextPadLook();

// Handles one of the few pad events that come among the window's. False for another event.
bool HandlePadEvent(const SDL_Event& event);

// The window has lost the keyboard, and with it the pads: lets go of everything they hold.
void ReleasePads();

}  // namespace moxi
