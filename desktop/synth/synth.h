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

// The SoundFonts to try, in order: the option alone when it is given; else the files of the
// SDL_SOUNDFONTS list (separated by ":" or ";"); then what the distribution's folders hold, its
// chosen default first.
std::vector<std::string> SoundFontCandidates(const std::string& option);

// Loads the first SoundFont that can be loaded, which takes its time. Null, and one line in the
// system log, when there is none. Any thread.
Synth* LoadSynth(const std::string& soundFontOption);
void DeleteSynth(Synth* synth);  // null is ignored

// Silence, and every channel as General MIDI wants it.
void ResetSynth(Synth& synth);

// Plays an event now. Messages that the synthesiser could not answer without allocating memory (its
// tuning tables) are left out.
void PlayEvent(Synth& synth, const MusicPiece& piece, const MusicEvent& event);

// The next kSynthStep frames, about -1..1.
void RenderStep(Synth& synth, float* left, float* right);

}  // namespace moxi
