#include "surface/apply.h"

#include "desktop/audio_out.h"
#include "desktop/desktop.h"
#include "host/gamepad.h"
#include "host/key_map.h"
#include "host/preferences.h"
#include "host/view_scale.h"

namespace moxi {

void ApplyPreferences() {
    audioOut.setVolumes(preferences.musicVolume, preferences.soundVolume);
    audioOut.setMuted(preferences.mute);
    desktop.askBeforeUrls(preferences.askBeforeOpening);
    desktop.setViewScale(ViewScaleOf(preferences));
    UseKeyMap(preferences.keyMap);
    UsePadMap(preferences.padMap);
}

void ApplyPreferencesToShelf() {
    // The shelf takes whatever size its window has: it is no picture that could be fitted.
    ViewScale scale = ViewScaleOf(preferences);
    if (scale.kind != ViewScale::Kind::Steps) {
        scale.kind = ViewScale::Kind::Automatic;
    }
    desktop.setViewScale(scale);
}

}  // namespace moxi
