#pragma once
// Gamepads, as SDL knows them: connected and taken away at any time, joined to one.

#include <SDL_events.h>

#include "base/types.h"

namespace moxi {

// Main thread, once SDL has started. Without pads nothing comes of it but a look now and then.
void StartPads();
void StopPads();

// Tells what the pads have done since the last look, if it is time for one.
void LookAtPads(u64 now);
u64 NextPadLook();

// For what comes with the other events, which is little. False for an event that is none of a pad.
bool HandlePadEvent(const SDL_Event& event);

// The window has lost the keyboard, and with it the pads: lets go of everything they hold.
void ReleasePads();

}  // namespace moxi
