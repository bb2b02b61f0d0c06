#pragma once
// The screens, main screen first.

#include <SDL_events.h>

#include <vector>

#include "desktop/desktop.h"
#include "desktop/sdl/geometry.h"

std::vector<Screen> Screens();
// The main screen in SDL's coordinates.
Area MainScreenArea();
// The screen that holds the window, or most of it.
Area ScreenAreaOf(SDL_Window* window);

void HandleDisplayEvent(const SDL_DisplayEvent& event);
// Tells the application when the screens are no longer what they were. Cheap when nothing was
// reported.
void TellScreenChanges();
void StartScreens();
