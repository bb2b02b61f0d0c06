#pragma once
// The window comes back where it was when the game was played last. One file in the state folder
// holds the places of all games, a line each: `X Y WIDTH HEIGHT NAME`, the newest last. A game that
// places its window itself is left alone.

#include <optional>
#include <string>
#include <vector>

#include "desktop/desktop.h"

namespace moxi {

// Reads the place of the game of this name; with "" for the file nothing is remembered.
void ReadWindowPlace(const std::string& file, const std::string& game);
// Once the window is shown and the game has begun: moves it there with `setFrame`, as the user
// would, onto a screen that is there.
void RestoreWindowPlace(void (*setFrame)(WindowFrame frame));
// Remembers where the window is now. The first for the moment before it fills the screen, the
// second for the moment before it goes: a window that is lost in full screen keeps the first place.
void NoteWindowPlace();
void NoteLastWindowPlace();
// Writes where the window is, or was when that was noted last.
void SaveWindowPlace();

// --- Parts of it, for tests.

constexpr size_t kMostPlaces = 500;

std::optional<WindowFrame> FindPlace(const std::string& places, const std::string& game);
// The lines with this one as the last; without any of the game when there is no frame.
std::string WithPlace(const std::string& places, const std::string& game,
                      const std::optional<WindowFrame>& frame);
// The frame itself when its upper edge can be reached on one of the screens, else one on the main
// screen, made smaller where it must.
WindowFrame OnAScreen(WindowFrame frame, const std::vector<Screen>& screens);

void ResetWindowPlace();

}  // namespace moxi
