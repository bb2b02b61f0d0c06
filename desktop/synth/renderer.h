#pragma once
// What is heard: music, one sound and the fading ends of what was cut off, mixed into 16-bit stereo
// at kAudioRate. Belongs to whoever renders (the audio callback, or the headless desktop): nothing
// here allocates, locks or waits, and nothing is shared.

#include "base/types.h"
#include "desktop/audio_out.h"
#include "desktop/synth/synth.h"

namespace moxi {

// What is cut off fades within these frames (6 ms), so that it does not click.
constexpr u32 kFadeFrames = 256;

// A decoded sound, left and right samples in turn.
struct Sound {
    std::vector<i16> samples;
};

struct Renderer {
    Synth* synth = nullptr;      // null: the music advances in silence
    bool synthIsComing = false;  // the music waits at its start until the synthesiser is there
    bool muted = false;

    // --- For the renderer alone
    const MusicPiece* piece = nullptr;
    size_t nextEvent = 0;
    u64 synthFrame = 0;  // start of the step that is rendered next
    u64 musicFrame = 0;  // frames of the piece that have been handed out
    u32 stepUsed = kSynthStep;
    float step[2][kSynthStep] = {};

    const Sound* sound = nullptr;
    size_t soundFrame = 0;

    u32 fadeUsed = kFadeFrames;
    float fade[2][kFadeFrames] = {};

    float volume = 1;  // on its way to 0 or 1 as `muted` says
    float gain = 1;    // of the limiter
};

// Cuts what is playing and plays `piece`; null stops. The piece must live until another call.
void SetMusic(Renderer& renderer, const MusicPiece* piece);
// The same for the sound, which must live until another call.
void SetSound(Renderer& renderer, const Sound* sound);

// Renders the next `frames` frames into `out`, two samples each.
void Render(Renderer& renderer, i16* out, u32 frames);

}  // namespace moxi
