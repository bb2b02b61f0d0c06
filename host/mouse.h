#pragma once
// Mouse and wheel events of the view. Positions are whole view points, origin top-left.

#include "base/types.h"

namespace moxi {

extern i32 pointerX;  // the last position that any event had
extern i32 pointerY;

// `button`: 0 left, 1 right, 2 middle, 3 and up the others. A press without a click is ignored.
void MouseDown(u32 button, i32 x, i32 y, i32 clicks);
void MouseUp(u32 button, i32 x, i32 y);
// Moves are posted only while the module is idle and nothing is queued, else they are dropped.
void MouseMoved(i32 x, i32 y);
// Each tenth of a delta is a step, at most seven steps an event and axis.
void ScrollWheel(double deltaX, double deltaY, i32 x, i32 y);

void ResetMouse();

}  // namespace moxi
