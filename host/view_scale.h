#pragma once
// What the player has chosen for the view's scale, as the desktop takes it.

#include "desktop/desktop.h"
#include "host/preferences.h"

namespace moxi {

inline ViewScale ViewScaleOf(const Preferences& chosen) {
    ViewScale scale;
    scale.smooth = chosen.filter == ScaleFilter::Smooth;
    switch (chosen.scale) {
        case kScaleAutomatic: break;
        case kScaleFit: scale.kind = ViewScale::Kind::Fit; break;
        case kScaleFitFractional: scale.kind = ViewScale::Kind::FitFractions; break;
        default: scale.kind = ViewScale::Kind::Steps; scale.steps = static_cast<i32>(chosen.scale);
    }
    return scale;
}

}  // namespace moxi
