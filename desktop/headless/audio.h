#pragma once
// Audio out without a device: music passes silently with the virtual clock; sounds are only checked
// and end at once. On request, what would have been heard is rendered into a WAV file, with the
// renderer of the real desktop, and with the same samples on every run.

#include "desktop/synth/options.h"

namespace moxi {

// Fills the audioOut record. Sound goes by desktop.nanoseconds, so that record has to be filled by
// the time of the first call. A render file that cannot be written gives a line in the system log.
void StartHeadlessAudio(const AudioOptions& options);

}  // namespace moxi
