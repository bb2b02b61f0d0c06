#pragma once
// Buttons, motion and wheel of the window.

#include <SDL_events.h>

#include "base/types.h"

namespace moxi {

void HandleMouseButton(const SDL_MouseButtonEvent& event);
void HandleMouseMotion(const SDL_MouseMotionEvent& event);
void HandleMouseWheel(const SDL_MouseWheelEvent& event);
// The window has lost the pointer's buttons: releases every one that the application holds.
void ReleaseHeldButtons();
bool AnyButtonHeld();
// Function of the desktop record.
void MovePointer(i32 x, i32 y);
void ResetSdlMouse();

// desktop.h's number of an SDL button: 0 left, 1 right, 2 middle, 3 and up the others.
u32 ButtonNumber(u8 sdlButton);

// Adds a movement of the wheel, in notches, to what earlier ones left over; answers the whole
// notches and keeps the rest.
i32 WholeNotches(double& leftOver, double notches);
// A notch is a delta of 0.1.
double WheelDelta(i32 notches);

}  // namespace moxi
