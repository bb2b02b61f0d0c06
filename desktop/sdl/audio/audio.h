#pragma once
// Audio out on the real desktop. A worker opens SDL_mixer's device when something is to be heard
// for the first time, loads the SoundFont ahead of time for a game that comes with music, and
// decodes sounds. The device's callback renders; it shares nothing with other threads but single
// pointers and numbers that are exchanged whole (audio_mailbox.h), so neither side ever waits for
// the other.

#include "desktop/synth/options.h"

namespace moxi {

// Fills the audioOut record. No thread and no device exists before it is needed.
void StartSdlAudio(const AudioOptions& options);

}  // namespace moxi
