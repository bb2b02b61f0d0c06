#pragma once

namespace moxi {

// The text engine on Pango, Cairo, HarfBuzz and fontconfig.

// Fills the text engine's record. Nothing is loaded until the first font is made.
void StartPangoText();

// Releases what the engine keeps; every font must have been released. For tests.
void ResetPangoText();

}  // namespace moxi
