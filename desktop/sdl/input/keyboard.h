#pragma once
// Keys, modifiers and text of the window.

#include <SDL_events.h>

namespace moxi {

void HandleKeyDown(const SDL_KeyboardEvent& event);
void HandleKeyUp(const SDL_KeyboardEvent& event);
void HandleTextInput(const SDL_TextInputEvent& event);
// The window has lost the keyboard: releases every key and modifier that the application holds.
void ReleaseHeldKeys();
void ResetSdlKeyboard();

}  // namespace moxi
