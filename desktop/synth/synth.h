#pragma once
// The synthesiser: FluidSynth with a General MIDI SoundFont, in steps of 64 frames. Once it has
// been loaded, none of the functions below allocates, locks or waits, so that an audio callback may
// call them. One thread at a time.

#include <string>
#include <vector>

#include "desktop/audio_out.h"

namespace moxi {

constexpr u32 kSynthStep = 64;  // frames

struct Synth;

// The paths of the SoundFonts to try, in order. Only `option` when it is not empty; else the files
// that the environment variable SDL_SOUNDFONTS lists (separated by ":" or ";"), then what the
// distribution's folders hold, the distribution's default first.
std::vector<std::string> SoundFontCandidates(const std::string& option);

// Makes a synthesiser with the first SoundFont that can be loaded, which may take seconds. Null,
// and one line in the system log, when there is none. The caller deletes it. Any thread.
Synth* LoadSynth(const std::string& soundFontOption);
void DeleteSynth(Synth* synth);  // null is ignored

// Silences every note and sets every channel to what General MIDI starts with.
void ResetSynth(Synth& synth);

// Plays an event of the piece now; its `frame` is not looked at. Messages for which the synthesiser
// would allocate memory (for its tuning tables) are left out.
void PlayEvent(Synth& synth, const MusicPiece& piece, const MusicEvent& event);

// Renders the next kSynthStep frames into `left` and `right`; samples are about -1..1.
void RenderStep(Synth& synth, float* left, float* right);

}  // namespace moxi
