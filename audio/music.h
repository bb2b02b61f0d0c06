#pragma once
// Background music: one piece at a time, a Standard MIDI File of the resources folder. A piece is
// never repeated by the host; when it has come to its end the module is told and may start it
// again.

#include "base/types.h"

namespace moxi {

// A piece was started and neither stopped nor finished.
extern bool musicPlaying;

// Stops the music and starts this piece. A leading "../MUSIC" of the name loses its "../". A name
// that leads nowhere is silence; a file that is damaged gives a line in the system log. In both
// cases `musicPlaying` stays clear.
void PlayMusic(const char* name);

// The same, and keeps the name for ReplayMusic (its first 1,023 bytes).
void PlayNamedMusic(const char* name);

// Plays the piece that was named last, from its start. Silence before any was named.
void ReplayMusic();

// Silences the music at once; no end is reported.
void StopMusic();

// Called by every host tick. True when the piece has just come to its end, one beat after its
// longest track; the music is stopped then.
bool PollMusic();

// For tests.
void ResetMusic();

}  // namespace moxi
