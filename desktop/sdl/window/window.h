#pragma once
// The one window: geometry, full screen, minimising, closing.

#include <SDL_events.h>

#include "base/types.h"
#include "desktop/desktop.h"

namespace moxi {

// Functions of the desktop record.
void CreateGameWindow(WindowFrame content);
void SetGameWindowTitle(const char* utf8);
void SetGameWindowIcon(const u8* pixels, u32 width, u32 height);
void ShowGameWindow();
void MinimizeGameWindow();
WindowFrame GameWindowFrame();
void SetGameWindowFrame(WindowFrame frame);
ViewSize CurrentViewSize();
bool IsFullScreen();
// Between windowWillStartLiveResize and windowDidEndLiveResize.
bool IsInLiveResize();
void ToggleFullScreen();

SDL_Window* GameWindow();  // null before it is made and after it has been closed
const char* GameWindowTitle();
bool IsGameWindow(u32 sdlWindowId);

void HandleWindowEvent(const SDL_WindowEvent& event);
// Gives the desktop what the application asked for, tells the application what the desktop did.
void SettleWindow();
// When SettleWindow is to be called again though nothing was reported.
u64 NextSettling();
// Removes the window for good.
void DestroyGameWindow();
// When it has been lost: SDL would wait for ever for what the server says of a lost window.
void ForgetGameWindow();

}  // namespace moxi
