#pragma once
// The screens, main screen first.

#include <SDL_video.h>

#include <vector>

#include "desktop/desktop.h"
#include "desktop/sdl/window/geometry.h"

namespace moxi {

std::vector<Screen> Screens();
// The main screen in SDL's coordinates.
Area MainScreenArea();
// The screen that holds the window, or most of it.
Area ScreenAreaOf(SDL_Window* window);

void HandleDisplayEvent();
// Tells the application when the screens are no longer what they were. Looks at them after a
// display event and twice a second, because not every change is reported.
void TellScreenChanges();
void StartScreens();

}  // namespace moxi
