#pragma once
// Which of the host's surfaces is seen.

#include <string>

#include "surface/controls.h"

namespace moxi {

// Shows the surface as it is drawn on the canvas. Both must live until another is shown or none is.
void ShowSurface(const Surface& surface, const Canvas& canvas);
void HideSurfaces();

// The controls that are seen, as text; "" when no surface is shown.
std::string DumpShownControls();

// The surface that is open is to be drawn anew.
void RequestSurfaceRedraw();

}  // namespace moxi
