#pragma once

namespace moxi {

// The text engine on Pango, Cairo, HarfBuzz and fontconfig.

// Fills the textEngine record. To be called before the locale is set. Nothing is loaded until the
// first font is made.
void StartPangoText();

// Releases what the engine keeps; every font must have been released. For tests.
void ResetPangoText();

}  // namespace moxi
