#pragma once
// Puts preferences into effect.

namespace moxi {

// Tells everybody what holds now: sound, keys, gamepad, scale, addresses.
void ApplyPreferences();
// The same where no game runs: the scale alone is the shelf's.
void ApplyPreferencesToShelf();

}  // namespace moxi
