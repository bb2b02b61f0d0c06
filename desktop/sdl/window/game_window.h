#pragma once
// The one window as such: its handle, title and icon. window.h makes it, shows it and moves it.

#include <SDL_video.h>

#include "base/types.h"

namespace moxi {

// Null before the window is made and after it has gone. Written by window.cpp alone.
extern constinit SDL_Window* gameWindow;

bool IsGameWindow(u32 sdlWindowId);
const char* GameWindowTitle();

// Functions of the desktop record. The title may be set before there is a window.
void SetGameWindowTitle(const char* utf8);
void SetGameWindowIcon(const u8* pixels, u32 width, u32 height);

}  // namespace moxi
