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

// A volume on its way to where it was set: at once it would click.
struct Volume {
    float target = 1;  // 0 to 1, a factor of the amplitude
    float now = 1;
};

struct Renderer {
    Synth* synth = nullptr;      // null: the music advances in silence
    bool synthIsComing = false;  // the music waits at its start until the synthesiser is there
    bool muted = false;
    bool paused = false;  // music and sound wait where they are
    Volume musicVolume;
    Volume soundVolume;

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

    Volume volume;   // of the whole: 0 or 1 as `muted` and `paused` say
    float gain = 1;  // of the limiter
};

// The volumes of the player's choice, 0 to 100 percent of the amplitude, from the start of a run.
void StartVolumes(Renderer& renderer, u32 music, u32 sound);

// The same later, on the way to where they are set.
void SetVolumes(Renderer& renderer, u32 music, u32 sound);

// Cuts what is playing and plays `piece`; null stops. The piece must live until another call.
void SetMusic(Renderer& renderer, const MusicPiece* piece);
// The same for the sound, which must live until another call.
void SetSound(Renderer& renderer, const Sound* sound);

// Renders the next `frames` frames into `out`, two samples each.
void Render(Renderer& renderer, i16* out, u32 frames);

}  // namespace moxi
