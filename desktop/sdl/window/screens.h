#pragma once
// The screens, main screen first.

#include <SDL_video.h>

#include <vector>

#include "desktop/desktop.h"
#include "desktop/sdl/window/geometry.h"

namespace moxi {

std::vector<Screen> Screens();
// The main screen in SDL's coordinates.
ScreenArea MainScreenArea();
// The screen that holds the window, or most of it.
ScreenArea ScreenAreaOf(SDL_Window* window);

void HandleDisplayEvent();
// Tells the application when the screens are no longer what they were. Looks at them after a
// display event and twice a second, because not every change is reported.
void TellScreenChanges();
void StartScreens();

// Pixels of a side of what the desktop takes for one of a plain screen: 1 or more, no more than
// leaves room for the smallest window of a game on a screen of this size. On Wayland it is 1, since
// the compositor enlarges by itself.
i32 DesktopDensity(const ScreenArea& mainScreen);
// The same in quarters, for boxes.
double BoxDensity(const ScreenArea& mainScreen);

}  // namespace moxi
