#pragma once
// The game stands still: the virtual machine gets no time and no events, its clock and its timers
// stop, the music waits. When it goes on, for the game no time has passed.

#include "base/types.h"
#include "desktop/events.h"

namespace moxi {

enum class PauseReason : u8 {
    Panel,
    Inactive,  // the window has not the keyboard, and the player wants it so
};

// What the game believes to be held is released first, and delivered. False before the game has
// begun, when it is about to end, and while it runs.
bool Pause(PauseReason reason);
// The game goes on when no other reason is left. It is told of what has become of the window
// meanwhile.
void Resume(PauseReason reason);
bool IsPaused();

// Handlers in front of the game's own: while it is paused, input goes to the surface that is open
// or nowhere, and what happens to the window is told afterwards. The player's key map is applied.
DesktopEvents Gated(const DesktopEvents& handlers);

// For the host tick: the game stands still once it has been told of the releases.
void StandStillWhenTold();

void ResetPause();

}  // namespace moxi
