#pragma once
// Audio out without a device: music passes silently with the virtual clock, sounds are checked and
// end at once. On request what would have been heard is rendered into a WAV file, with the same
// renderer as on the real desktop and the same samples on every run.

#include "desktop/synth/options.h"

namespace moxi {

// Fills the audioOut record; sound goes by the clock of `desktop`. A render file that cannot be
// written gives a line in the system log.
void StartHeadlessAudio(const AudioOptions& options);

}  // namespace moxi
