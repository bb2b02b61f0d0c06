#pragma once
// Service group 6: music (audio/music.h), and sound effects: WAV files of the resources folder, one
// at a time.

#include "base/types.h"

namespace moxi {

// Plays the file once, in place of the sound that is playing. A file that cannot be read or
// decoded ends that sound too, and gives a line in the system log.
void PlaySound(const char* name);

// How long the sound lasts, in milliseconds and with a margin of 200, by its header; 0 for a file
// that is missing or no uncompressed WAV file. A leading "../MUSIC" of the name loses its "../".
u32 SoundLength(const char* name);

// The handler of the dispatcher. Unknown sub-commands (5 and above) do nothing.
void SysSoundGroup(u32 sub, u32 arguments);

}  // namespace moxi
