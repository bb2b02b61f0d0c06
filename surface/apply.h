#pragma once
// Preferences that hold at once.

namespace moxi {

// Tells everybody what holds now: sound, keys, gamepad, scale, addresses.
void ApplyPreferences();

}  // namespace moxi
