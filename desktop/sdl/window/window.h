#pragma once
// The one window (game_window.h): geometry, full screen, minimising, closing.

#include <SDL_events.h>

#include <optional>

#include "base/types.h"
#include "desktop/desktop.h"

namespace moxi {

// Functions of the desktop record.
void CreateGameWindow(WindowFrame content);
void ShowGameWindow();
void MinimizeGameWindow();
WindowFrame GameWindowFrame();
void SetGameWindowFrame(WindowFrame frame);
ViewSize CurrentViewSize();
bool IsFullScreen();
// Between windowWillStartLiveResize and windowDidEndLiveResize.
bool IsInLiveResize();
void ToggleFullScreen();
void SetViewScale(const ViewScale& wanted);
std::optional<bool> FittedScreen();
void SetFittedScreen(bool whole);

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
